// Baseline tier (SSE2): eight lanes as two registers.
#include <emmintrin.h>

#include "frontend/simd/dct_dots.h"

namespace vsp {
namespace sse2 {
namespace {

struct F8 {
  __m128 lo, hi;
  static F8 zero() { return {_mm_setzero_ps(), _mm_setzero_ps()}; }
  static F8 load(const float* p) { return {_mm_loadu_ps(p), _mm_loadu_ps(p + 4)}; }
};
inline F8 operator+(F8 a, F8 b) { return {_mm_add_ps(a.lo, b.lo), _mm_add_ps(a.hi, b.hi)}; }
inline F8 operator*(F8 a, F8 b) { return {_mm_mul_ps(a.lo, b.lo), _mm_mul_ps(a.hi, b.hi)}; }

// c = lanes 0-3 + lanes 4-7, then (c0 + c2) + (c1 + c3).
inline float fold(F8 a) {
  const __m128 c = _mm_add_ps(a.lo, a.hi);
  const __m128 t = _mm_add_ps(c, _mm_movehl_ps(c, c));
  return _mm_cvtss_f32(_mm_add_ss(t, _mm_shuffle_ps(t, t, 1)));
}

}  // namespace

#include "frontend/simd/dct_dots_impl.h"

}  // namespace sse2
}  // namespace vsp
