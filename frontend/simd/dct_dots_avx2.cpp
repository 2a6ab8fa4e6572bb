// AVX2 tier: eight lanes in one register. Only intrinsics and code of this
// unit here: no inline function from a shared header under these flags.
#include <immintrin.h>

#include "frontend/simd/dct_dots.h"

namespace vsp {
namespace avx2 {
namespace {

struct F8 {
  __m256 v;
  static F8 zero() { return {_mm256_setzero_ps()}; }
  static F8 load(const float* p) { return {_mm256_loadu_ps(p)}; }
};
inline F8 operator+(F8 a, F8 b) { return {_mm256_add_ps(a.v, b.v)}; }
inline F8 operator*(F8 a, F8 b) { return {_mm256_mul_ps(a.v, b.v)}; }

// c = lanes 0-3 + lanes 4-7, then (c0 + c2) + (c1 + c3), as the baseline.
inline float fold(F8 a) {
  const __m128 c = _mm_add_ps(_mm256_castps256_ps128(a.v), _mm256_extractf128_ps(a.v, 1));
  const __m128 t = _mm_add_ps(c, _mm_movehl_ps(c, c));
  return _mm_cvtss_f32(_mm_add_ss(t, _mm_shuffle_ps(t, t, 1)));
}

}  // namespace

#include "frontend/simd/dct_dots_impl.h"

}  // namespace avx2
}  // namespace vsp
