// The baseline (SSE2) vector kit of the Gaussian kernels: eight lanes of one
// row as two or four registers (F8, D8), one lane per row of a group of four
// (F4, D4), the transpose between them, and partial loads of a row's last
// elements (through a zeroed copy: SSE2 has no masked loads).
//
// Included inside a tier's own unnamed namespace, after <emmintrin.h>.

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
  template <class T>
  static F8 loadPart(const T* p, int n) {
    T buf[8] = {};
    for (int i = 0; i < n; ++i) buf[i] = p[i];
    return load(buf);
  }
  // Lanes [0, na) from a, lanes [na, na + nb) from b, zeros after.
  static F8 loadSplit(const float* a, int na, const float* b, int nb) {
    float buf[8] = {};
    for (int i = 0; i < na; ++i) buf[i] = a[i];
    for (int i = 0; i < nb; ++i) buf[na + i] = b[i];
    return load(buf);
  }
  void store(float* p) const {
    _mm_storeu_ps(p, lo);
    _mm_storeu_ps(p + 4, hi);
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
  static D8 loadPart(const double* p, int n) {
    double buf[8] = {};
    for (int i = 0; i < n; ++i) buf[i] = p[i];
    return load(buf);
  }
  static D8 loadSplit(const double* a, int na, const double* b, int nb) {
    double buf[8] = {};
    for (int i = 0; i < na; ++i) buf[i] = a[i];
    for (int i = 0; i < nb; ++i) buf[na + i] = b[i];
    return load(buf);
  }
  void store(double* p) const {
    for (int i = 0; i < 4; ++i) _mm_storeu_pd(p + 2 * i, r[i]);
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

// One lane per row of a group of four.
#include "scoring/simd/vec_f4.h"

// Rows 0 and 1 in lo, rows 2 and 3 in hi.
struct D4 {
  static constexpr int kLanes = 4;
  __m128d lo, hi;
  static D4 load(const double* p) { return {_mm_loadu_pd(p), _mm_loadu_pd(p + 2)}; }
  static D4 load(const float* p) {
    const __m128 x = _mm_loadu_ps(p);
    return {_mm_cvtps_pd(x), _mm_cvtps_pd(_mm_movehl_ps(x, x))};
  }
  void store(double* p) const {
    _mm_storeu_pd(p, lo);
    _mm_storeu_pd(p + 2, hi);
  }
  void store(float* p) const {
    _mm_storeu_ps(p, _mm_movelh_ps(_mm_cvtpd_ps(lo), _mm_cvtpd_ps(hi)));
  }
};
inline D4 operator+(D4 a, D4 b) { return {_mm_add_pd(a.lo, b.lo), _mm_add_pd(a.hi, b.hi)}; }
inline D4 operator-(D4 a, D4 b) { return {_mm_sub_pd(a.lo, b.lo), _mm_sub_pd(a.hi, b.hi)}; }
inline D4 operator*(D4 a, D4 b) { return {_mm_mul_pd(a.lo, b.lo), _mm_mul_pd(a.hi, b.hi)}; }

// The lane operations of the shared pair step (scoring/logadd.h). Ordered
// comparisons: a NaN compares false, as in scalar code.
struct D4Mask {
  __m128d lo, hi;
};
inline D4Mask operator<(D4 a, D4 b) { return {_mm_cmplt_pd(a.lo, b.lo), _mm_cmplt_pd(a.hi, b.hi)}; }
inline D4Mask operator>(D4 a, D4 b) { return {_mm_cmpgt_pd(a.lo, b.lo), _mm_cmpgt_pd(a.hi, b.hi)}; }
inline D4 splat(D4, double x) { return {_mm_set1_pd(x), _mm_set1_pd(x)}; }
inline __m128d blend(__m128d m, __m128d a, __m128d b) {
  return _mm_or_pd(_mm_and_pd(m, a), _mm_andnot_pd(m, b));
}
inline D4 select(D4Mask m, D4 a, D4 b) {
  return {blend(m.lo, a.lo, b.lo), blend(m.hi, a.hi, b.hi)};
}
inline bool allOf(D4Mask m) { return (_mm_movemask_pd(m.lo) & _mm_movemask_pd(m.hi)) == 3; }
inline D4 negate(D4 x) {
  const __m128d sign = _mm_set1_pd(-0.0);
  return {_mm_xor_pd(x.lo, sign), _mm_xor_pd(x.hi, sign)};
}
template <size_t N>
inline D4 pick(D4Mask r0, D4Mask r1, const double (&t)[3][N], int k) {
  return select(r0, splat(D4{}, t[0][k]), select(r1, splat(D4{}, t[1][k]), splat(D4{}, t[2][k])));
}

// Lane k of rows 0..3 into column k.
inline void transpose4(__m128 a, __m128 b, __m128 c, __m128 d, F4* out) {
  const __m128 t0 = _mm_unpacklo_ps(a, b), t1 = _mm_unpackhi_ps(a, b);
  const __m128 t2 = _mm_unpacklo_ps(c, d), t3 = _mm_unpackhi_ps(c, d);
  out[0].v = _mm_movelh_ps(t0, t2);
  out[1].v = _mm_movehl_ps(t2, t0);
  out[2].v = _mm_movelh_ps(t1, t3);
  out[3].v = _mm_movehl_ps(t3, t1);
}
inline void columns(const F8 r[4], F4 c[8]) {
  transpose4(r[0].lo, r[1].lo, r[2].lo, r[3].lo, c);
  transpose4(r[0].hi, r[1].hi, r[2].hi, r[3].hi, c + 4);
}
inline void columns(const D8 r[4], D4 c[8]) {
  for (int k = 0; k < 4; ++k) {
    c[2 * k] = {_mm_unpacklo_pd(r[0].r[k], r[1].r[k]), _mm_unpacklo_pd(r[2].r[k], r[3].r[k])};
    c[2 * k + 1] = {_mm_unpackhi_pd(r[0].r[k], r[1].r[k]), _mm_unpackhi_pd(r[2].r[k], r[3].r[k])};
  }
}
