// Baseline tier of the real transform: four float lanes (SSE2).
#include <emmintrin.h>

#include "frontend/simd/fft_kernels.h"

namespace vsp {
namespace sse2 {
namespace {

struct V4 {
  __m128 v;
  static constexpr int W = 4;
  static V4 load(const float* p) { return {_mm_loadu_ps(p)}; }
  static V4 set1(float f) { return {_mm_set1_ps(f)}; }
  void store(float* p) const { _mm_storeu_ps(p, v); }
};
inline V4 operator+(V4 a, V4 b) { return {_mm_add_ps(a.v, b.v)}; }
inline V4 operator-(V4 a, V4 b) { return {_mm_sub_ps(a.v, b.v)}; }
inline V4 operator*(V4 a, V4 b) { return {_mm_mul_ps(a.v, b.v)}; }
inline V4 reverse(V4 a) { return {_mm_shuffle_ps(a.v, a.v, _MM_SHUFFLE(0, 1, 2, 3))}; }
inline void loadDeinterleave2(const float* p, V4& even, V4& odd) {
  const __m128 a = _mm_loadu_ps(p), b = _mm_loadu_ps(p + 4);
  even.v = _mm_shuffle_ps(a, b, _MM_SHUFFLE(2, 0, 2, 0));
  odd.v = _mm_shuffle_ps(a, b, _MM_SHUFFLE(3, 1, 3, 1));
}
inline void storeInterleave2(float* p, V4 a, V4 b) {
  _mm_storeu_ps(p, _mm_unpacklo_ps(a.v, b.v));
  _mm_storeu_ps(p + 4, _mm_unpackhi_ps(a.v, b.v));
}
inline void storeInterleave4x1(float* p, V4 a, V4 b, V4 c, V4 d) {
  const __m128 t0 = _mm_unpacklo_ps(a.v, b.v), t1 = _mm_unpackhi_ps(a.v, b.v);
  const __m128 t2 = _mm_unpacklo_ps(c.v, d.v), t3 = _mm_unpackhi_ps(c.v, d.v);
  _mm_storeu_ps(p, _mm_movelh_ps(t0, t2));
  _mm_storeu_ps(p + 4, _mm_movehl_ps(t2, t0));
  _mm_storeu_ps(p + 8, _mm_movelh_ps(t1, t3));
  _mm_storeu_ps(p + 12, _mm_movehl_ps(t3, t1));
}
inline void storeInterleave4x4(float*, V4, V4, V4, V4) {}  // stride 4 holds whole vectors

inline __m128d magnitude2(__m128 re, __m128 im) {
  const __m128d r = _mm_cvtps_pd(re), i = _mm_cvtps_pd(im);
  return _mm_sqrt_pd(_mm_add_pd(_mm_mul_pd(r, r), _mm_mul_pd(i, i)));
}
inline V4 magnitudes(V4 re, V4 im) {
  const __m128 lo = _mm_cvtpd_ps(magnitude2(re.v, im.v));
  const __m128 hi = _mm_cvtpd_ps(magnitude2(_mm_movehl_ps(re.v, re.v), _mm_movehl_ps(im.v, im.v)));
  return {_mm_movelh_ps(lo, hi)};
}

}  // namespace

#define VSP_FFT_VECTOR V4
#include "frontend/simd/fft_kernels_impl.h"

}  // namespace sse2
}  // namespace vsp
