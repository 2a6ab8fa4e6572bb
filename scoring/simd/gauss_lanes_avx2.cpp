// AVX2 tier: eight float lanes in one register, eight double lanes in two.
// Only intrinsics and our own tier-local code here: no inline function from
// a shared header may be instantiated under these target flags.
#include <immintrin.h>

#include "scoring/simd/gauss_lanes.h"

namespace vsp {
namespace avx2 {
namespace {

struct F8 {
  __m256 v;
  static F8 zero() { return {_mm256_setzero_ps()}; }
  static F8 load(const float* p) { return {_mm256_loadu_ps(p)}; }
  static F8 load(const int16_t* p) {
    return {_mm256_cvtepi32_ps(
        _mm256_cvtepi16_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p))))};
  }
  // Two sets of four added, then (c0 + c2) + (c1 + c3).
  float fold() const {
    const __m128 c = _mm_add_ps(_mm256_castps256_ps128(v), _mm256_extractf128_ps(v, 1));
    const __m128 t = _mm_add_ps(c, _mm_movehl_ps(c, c));
    return _mm_cvtss_f32(_mm_add_ss(t, _mm_shuffle_ps(t, t, 1)));
  }
};
inline F8 operator+(F8 a, F8 b) { return {_mm256_add_ps(a.v, b.v)}; }
inline F8 operator-(F8 a, F8 b) { return {_mm256_sub_ps(a.v, b.v)}; }
inline F8 operator*(F8 a, F8 b) { return {_mm256_mul_ps(a.v, b.v)}; }

struct D8 {
  __m256d lo, hi;
  static D8 zero() { return {_mm256_setzero_pd(), _mm256_setzero_pd()}; }
  static D8 load(const double* p) { return {_mm256_loadu_pd(p), _mm256_loadu_pd(p + 4)}; }
  static D8 load(const float* p) {
    return {_mm256_cvtps_pd(_mm_loadu_ps(p)), _mm256_cvtps_pd(_mm_loadu_ps(p + 4))};
  }
  // Four sets of two: ((s0 + s1) + (s2 + s3)), then lane 0 + lane 1.
  double fold() const {
    const __m128d x = _mm_add_pd(_mm256_castpd256_pd128(lo), _mm256_extractf128_pd(lo, 1));
    const __m128d y = _mm_add_pd(_mm256_castpd256_pd128(hi), _mm256_extractf128_pd(hi, 1));
    const __m128d z = _mm_add_pd(x, y);
    return _mm_cvtsd_f64(_mm_add_sd(z, _mm_unpackhi_pd(z, z)));
  }
};
inline D8 operator+(D8 a, D8 b) { return {_mm256_add_pd(a.lo, b.lo), _mm256_add_pd(a.hi, b.hi)}; }
inline D8 operator-(D8 a, D8 b) { return {_mm256_sub_pd(a.lo, b.lo), _mm256_sub_pd(a.hi, b.hi)}; }
inline D8 operator*(D8 a, D8 b) { return {_mm256_mul_pd(a.lo, b.lo), _mm256_mul_pd(a.hi, b.hi)}; }

// Eight int16 as eight int32.
inline __m256i load8x16(const int16_t* p) {
  return _mm256_cvtepi16_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p)));
}

// d * w for eight 32-bit lanes, as two vectors of four 64-bit products
// (even lanes, odd lanes). Both factors fit 32 bits: |d| < 2^17 and
// |d * var| < 2^31.
inline __m256i mulAdd64(__m256i acc, __m256i d, __m256i w) {
  acc = _mm256_add_epi64(acc, _mm256_mul_epi32(d, w));
  return _mm256_add_epi64(acc,
                          _mm256_mul_epi32(_mm256_srli_epi64(d, 32), _mm256_srli_epi64(w, 32)));
}

template <bool HasVar>
int64_t sumS16Impl(const int16_t* s, const int16_t* m, const int16_t* v, int64_t n) {
  __m256i acc0 = _mm256_setzero_si256(), acc1 = _mm256_setzero_si256();
  int64_t i = 0;
  for (; i + 16 <= n; i += 16) {
    const __m256i d0 = _mm256_sub_epi32(load8x16(s + i), load8x16(m + i));
    const __m256i d1 = _mm256_sub_epi32(load8x16(s + i + 8), load8x16(m + i + 8));
    __m256i w0 = d0, w1 = d1;
    if constexpr (HasVar) {
      w0 = _mm256_mullo_epi32(d0, load8x16(v + i));
      w1 = _mm256_mullo_epi32(d1, load8x16(v + i + 8));
    }
    acc0 = mulAdd64(acc0, d0, w0);
    acc1 = mulAdd64(acc1, d1, w1);
  }
  acc0 = _mm256_add_epi64(acc0, acc1);
  alignas(32) int64_t lanes[4];
  _mm256_store_si256(reinterpret_cast<__m256i*>(lanes), acc0);
  uint64_t sum = uint64_t(lanes[0]) + uint64_t(lanes[1]) + uint64_t(lanes[2]) + uint64_t(lanes[3]);
  for (; i < n; ++i) {
    const int64_t d = int64_t(s[i]) - m[i];
    sum += uint64_t(d * d * (HasVar ? int64_t(v[i]) : 1));
  }
  return int64_t(sum);
}

}  // namespace

#include "scoring/simd/gauss_lanes_impl.h"

int64_t sumS16(const int16_t* s, const int16_t* m, const int16_t* v, int64_t n) {
  return v ? sumS16Impl<true>(s, m, v, n) : sumS16Impl<false>(s, m, v, n);
}

}  // namespace avx2
}  // namespace vsp
