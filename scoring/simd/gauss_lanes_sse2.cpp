// Baseline tier (SSE2, every x86-64): eight lanes as two or four registers.
#include <emmintrin.h>

#include "scoring/simd/gauss_lanes.h"

namespace vsp {
namespace sse2 {
namespace {

struct F8 {
  __m128 lo, hi;
  static F8 zero() { return {_mm_setzero_ps(), _mm_setzero_ps()}; }
  static F8 load(const float* p) { return {_mm_loadu_ps(p), _mm_loadu_ps(p + 4)}; }
  static F8 load(const int16_t* p) {
    const __m128i x = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
    // Sign-extend by placing each value in the high half and shifting back.
    return {_mm_cvtepi32_ps(_mm_srai_epi32(_mm_unpacklo_epi16(x, x), 16)),
            _mm_cvtepi32_ps(_mm_srai_epi32(_mm_unpackhi_epi16(x, x), 16))};
  }
  // Two sets of four added, then (c0 + c2) + (c1 + c3).
  float fold() const {
    const __m128 c = _mm_add_ps(lo, hi);
    const __m128 t = _mm_add_ps(c, _mm_movehl_ps(c, c));
    return _mm_cvtss_f32(_mm_add_ss(t, _mm_shuffle_ps(t, t, 1)));
  }
};
inline F8 operator+(F8 a, F8 b) { return {_mm_add_ps(a.lo, b.lo), _mm_add_ps(a.hi, b.hi)}; }
inline F8 operator-(F8 a, F8 b) { return {_mm_sub_ps(a.lo, b.lo), _mm_sub_ps(a.hi, b.hi)}; }
inline F8 operator*(F8 a, F8 b) { return {_mm_mul_ps(a.lo, b.lo), _mm_mul_ps(a.hi, b.hi)}; }

struct D8 {
  __m128d r[4];
  static D8 zero() {
    return {{_mm_setzero_pd(), _mm_setzero_pd(), _mm_setzero_pd(), _mm_setzero_pd()}};
  }
  static D8 load(const double* p) {
    return {{_mm_loadu_pd(p), _mm_loadu_pd(p + 2), _mm_loadu_pd(p + 4), _mm_loadu_pd(p + 6)}};
  }
  static D8 load(const float* p) {
    const __m128 a = _mm_loadu_ps(p), b = _mm_loadu_ps(p + 4);
    return {{_mm_cvtps_pd(a), _mm_cvtps_pd(_mm_movehl_ps(a, a)), _mm_cvtps_pd(b),
             _mm_cvtps_pd(_mm_movehl_ps(b, b))}};
  }
  // Four sets of two: ((s0 + s1) + (s2 + s3)), then lane 0 + lane 1.
  double fold() const {
    const __m128d z = _mm_add_pd(_mm_add_pd(r[0], r[1]), _mm_add_pd(r[2], r[3]));
    return _mm_cvtsd_f64(_mm_add_sd(z, _mm_unpackhi_pd(z, z)));
  }
};
#define VSP_D8_OP(op, fn)                                                                      \
  inline D8 operator op(D8 a, D8 b) {                                                          \
    return {{fn(a.r[0], b.r[0]), fn(a.r[1], b.r[1]), fn(a.r[2], b.r[2]), fn(a.r[3], b.r[3])}}; \
  }
VSP_D8_OP(+, _mm_add_pd)
VSP_D8_OP(-, _mm_sub_pd)
VSP_D8_OP(*, _mm_mul_pd)
#undef VSP_D8_OP

}  // namespace

#include "scoring/simd/gauss_lanes_impl.h"

// SSE2 has no signed 32x32->64 multiply; the scalar loop is exact and the
// compiler schedules it well.
int64_t sumS16(const int16_t* s, const int16_t* m, const int16_t* v, int64_t n) {
  uint64_t sum = 0;
  for (int64_t i = 0; i < n; ++i) {
    const int64_t d = int64_t(s[i]) - m[i];
    sum += uint64_t(d * d * (v ? int64_t(v[i]) : 1));
  }
  return int64_t(sum);
}

}  // namespace sse2
}  // namespace vsp
