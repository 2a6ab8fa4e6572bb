// AVX-512 tier of the real transform: sixteen float lanes.
#include <immintrin.h>

#include "frontend/simd/fft_kernels.h"

namespace vsp {
namespace avx512 {
namespace {

struct V16 {
  __m512 v;
  static constexpr int W = 16;
  static V16 load(const float* p) { return {_mm512_loadu_ps(p)}; }
  static V16 set1(float f) { return {_mm512_set1_ps(f)}; }
  void store(float* p) const { _mm512_storeu_ps(p, v); }
};
inline V16 operator+(V16 a, V16 b) { return {_mm512_add_ps(a.v, b.v)}; }
inline V16 operator-(V16 a, V16 b) { return {_mm512_sub_ps(a.v, b.v)}; }
inline V16 operator*(V16 a, V16 b) { return {_mm512_mul_ps(a.v, b.v)}; }
// The zero-masking form: GCC 12's plain one passes an "undefined" vector that
// its own flow analysis then reports as uninitialized in sanitizer builds.
inline V16 reverse(V16 a) {
  return {_mm512_maskz_permutexvar_ps(
      __mmask16(0xFFFF), _mm512_setr_epi32(15, 14, 13, 12, 11, 10, 9, 8, 7, 6, 5, 4, 3, 2, 1, 0),
      a.v)};
}
inline void loadDeinterleave2(const float* p, V16& even, V16& odd) {
  const __m512 a = _mm512_loadu_ps(p), b = _mm512_loadu_ps(p + 16);
  even.v = _mm512_permutex2var_ps(
      a, _mm512_setr_epi32(0, 2, 4, 6, 8, 10, 12, 14, 16, 18, 20, 22, 24, 26, 28, 30), b);
  odd.v = _mm512_permutex2var_ps(
      a, _mm512_setr_epi32(1, 3, 5, 7, 9, 11, 13, 15, 17, 19, 21, 23, 25, 27, 29, 31), b);
}
inline __m512i zipLow() {
  return _mm512_setr_epi32(0, 16, 1, 17, 2, 18, 3, 19, 4, 20, 5, 21, 6, 22, 7, 23);
}
inline __m512i zipHigh() {
  return _mm512_setr_epi32(8, 24, 9, 25, 10, 26, 11, 27, 12, 28, 13, 29, 14, 30, 15, 31);
}
inline void storeInterleave2(float* p, V16 a, V16 b) {
  _mm512_storeu_ps(p, _mm512_permutex2var_ps(a.v, zipLow(), b.v));
  _mm512_storeu_ps(p + 16, _mm512_permutex2var_ps(a.v, zipHigh(), b.v));
}
inline void storeInterleave4x1(float* p, V16 a, V16 b, V16 c, V16 d) {
  // Pairs (a, b) and (c, d) first, then the pairs zipped as 64-bit units.
  const __m512d ab0 = _mm512_castps_pd(_mm512_permutex2var_ps(a.v, zipLow(), b.v));
  const __m512d ab1 = _mm512_castps_pd(_mm512_permutex2var_ps(a.v, zipHigh(), b.v));
  const __m512d cd0 = _mm512_castps_pd(_mm512_permutex2var_ps(c.v, zipLow(), d.v));
  const __m512d cd1 = _mm512_castps_pd(_mm512_permutex2var_ps(c.v, zipHigh(), d.v));
  const __m512i lo = _mm512_setr_epi64(0, 8, 1, 9, 2, 10, 3, 11);
  const __m512i hi = _mm512_setr_epi64(4, 12, 5, 13, 6, 14, 7, 15);
  _mm512_storeu_pd(p, _mm512_permutex2var_pd(ab0, lo, cd0));
  _mm512_storeu_pd(p + 16, _mm512_permutex2var_pd(ab0, hi, cd0));
  _mm512_storeu_pd(p + 32, _mm512_permutex2var_pd(ab1, lo, cd1));
  _mm512_storeu_pd(p + 48, _mm512_permutex2var_pd(ab1, hi, cd1));
}
inline void storeInterleave4x4(float* p, V16 a, V16 b, V16 c, V16 d) {
  // A 4 x 4 transpose of 128-bit blocks.
  const __m512 t0 = _mm512_shuffle_f32x4(a.v, b.v, _MM_SHUFFLE(1, 0, 1, 0));
  const __m512 t1 = _mm512_shuffle_f32x4(c.v, d.v, _MM_SHUFFLE(1, 0, 1, 0));
  const __m512 t2 = _mm512_shuffle_f32x4(a.v, b.v, _MM_SHUFFLE(3, 2, 3, 2));
  const __m512 t3 = _mm512_shuffle_f32x4(c.v, d.v, _MM_SHUFFLE(3, 2, 3, 2));
  _mm512_storeu_ps(p, _mm512_shuffle_f32x4(t0, t1, _MM_SHUFFLE(2, 0, 2, 0)));
  _mm512_storeu_ps(p + 16, _mm512_shuffle_f32x4(t0, t1, _MM_SHUFFLE(3, 1, 3, 1)));
  _mm512_storeu_ps(p + 32, _mm512_shuffle_f32x4(t2, t3, _MM_SHUFFLE(2, 0, 2, 0)));
  _mm512_storeu_ps(p + 48, _mm512_shuffle_f32x4(t2, t3, _MM_SHUFFLE(3, 1, 3, 1)));
}

inline __m256 magnitude8(__m256 re, __m256 im) {
  const __m512d r = _mm512_cvtps_pd(re), i = _mm512_cvtps_pd(im);
  return _mm512_cvtpd_ps(_mm512_sqrt_pd(_mm512_add_pd(_mm512_mul_pd(r, r), _mm512_mul_pd(i, i))));
}
inline V16 magnitudes(V16 re, V16 im) {
  const __m256 lo = magnitude8(_mm512_castps512_ps256(re.v), _mm512_castps512_ps256(im.v));
  const __m256 hi = magnitude8(_mm512_extractf32x8_ps(re.v, 1), _mm512_extractf32x8_ps(im.v, 1));
  return {_mm512_insertf32x8(_mm512_castps256_ps512(lo), hi, 1)};
}

}  // namespace

#define VSP_FFT_VECTOR V16
#include "frontend/simd/fft_kernels_impl.h"

}  // namespace avx512
}  // namespace vsp
