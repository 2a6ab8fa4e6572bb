// AVX2 tier of the real transform: eight float lanes.
#include <immintrin.h>

#include "frontend/simd/fft_kernels.h"

namespace vsp {
namespace avx2 {
namespace {

struct V8 {
  __m256 v;
  static constexpr int W = 8;
  static V8 load(const float* p) { return {_mm256_loadu_ps(p)}; }
  static V8 set1(float f) { return {_mm256_set1_ps(f)}; }
  void store(float* p) const { _mm256_storeu_ps(p, v); }
};
inline V8 operator+(V8 a, V8 b) { return {_mm256_add_ps(a.v, b.v)}; }
inline V8 operator-(V8 a, V8 b) { return {_mm256_sub_ps(a.v, b.v)}; }
inline V8 operator*(V8 a, V8 b) { return {_mm256_mul_ps(a.v, b.v)}; }
inline V8 reverse(V8 a) {
  return {_mm256_permutevar8x32_ps(a.v, _mm256_setr_epi32(7, 6, 5, 4, 3, 2, 1, 0))};
}
inline void loadDeinterleave2(const float* p, V8& even, V8& odd) {
  const __m256 a = _mm256_loadu_ps(p), b = _mm256_loadu_ps(p + 8);
  const __m256 lo = _mm256_permute2f128_ps(a, b, 0x20), hi = _mm256_permute2f128_ps(a, b, 0x31);
  even.v = _mm256_shuffle_ps(lo, hi, _MM_SHUFFLE(2, 0, 2, 0));
  odd.v = _mm256_shuffle_ps(lo, hi, _MM_SHUFFLE(3, 1, 3, 1));
}
inline void storeInterleave2(float* p, V8 a, V8 b) {
  const __m256 lo = _mm256_unpacklo_ps(a.v, b.v), hi = _mm256_unpackhi_ps(a.v, b.v);
  _mm256_storeu_ps(p, _mm256_permute2f128_ps(lo, hi, 0x20));
  _mm256_storeu_ps(p + 8, _mm256_permute2f128_ps(lo, hi, 0x31));
}
inline void storeInterleave4x1(float* p, V8 a, V8 b, V8 c, V8 d) {
  const __m256 t0 = _mm256_unpacklo_ps(a.v, b.v), t1 = _mm256_unpackhi_ps(a.v, b.v);
  const __m256 t2 = _mm256_unpacklo_ps(c.v, d.v), t3 = _mm256_unpackhi_ps(c.v, d.v);
  const __m256 u0 = _mm256_shuffle_ps(t0, t2, _MM_SHUFFLE(1, 0, 1, 0));
  const __m256 u1 = _mm256_shuffle_ps(t0, t2, _MM_SHUFFLE(3, 2, 3, 2));
  const __m256 u2 = _mm256_shuffle_ps(t1, t3, _MM_SHUFFLE(1, 0, 1, 0));
  const __m256 u3 = _mm256_shuffle_ps(t1, t3, _MM_SHUFFLE(3, 2, 3, 2));
  _mm256_storeu_ps(p, _mm256_permute2f128_ps(u0, u1, 0x20));
  _mm256_storeu_ps(p + 8, _mm256_permute2f128_ps(u2, u3, 0x20));
  _mm256_storeu_ps(p + 16, _mm256_permute2f128_ps(u0, u1, 0x31));
  _mm256_storeu_ps(p + 24, _mm256_permute2f128_ps(u2, u3, 0x31));
}
inline void storeInterleave4x4(float* p, V8 a, V8 b, V8 c, V8 d) {
  _mm256_storeu_ps(p, _mm256_permute2f128_ps(a.v, b.v, 0x20));
  _mm256_storeu_ps(p + 8, _mm256_permute2f128_ps(c.v, d.v, 0x20));
  _mm256_storeu_ps(p + 16, _mm256_permute2f128_ps(a.v, b.v, 0x31));
  _mm256_storeu_ps(p + 24, _mm256_permute2f128_ps(c.v, d.v, 0x31));
}

inline __m128 magnitude4(__m128 re, __m128 im) {
  const __m256d r = _mm256_cvtps_pd(re), i = _mm256_cvtps_pd(im);
  return _mm256_cvtpd_ps(_mm256_sqrt_pd(_mm256_add_pd(_mm256_mul_pd(r, r), _mm256_mul_pd(i, i))));
}
inline V8 magnitudes(V8 re, V8 im) {
  const __m128 lo = magnitude4(_mm256_castps256_ps128(re.v), _mm256_castps256_ps128(im.v));
  const __m128 hi = magnitude4(_mm256_extractf128_ps(re.v, 1), _mm256_extractf128_ps(im.v, 1));
  return {_mm256_insertf128_ps(_mm256_castps128_ps256(lo), hi, 1)};
}

}  // namespace

#define VSP_FFT_VECTOR V8
#include "frontend/simd/fft_kernels_impl.h"

}  // namespace avx2
}  // namespace vsp
