// The AVX2 vector kit of the Gaussian kernels: eight lanes of one row (F8,
// D8), one lane per row of a group of four (F4, D4), the transpose between
// them, and loads of a row's last elements that read nothing past its end.
//
// Included inside a tier's own unnamed namespace, after <immintrin.h>, by
// the units compiled with AVX2 (or wider) flags.

// Masks for the partial loads: kMask32 + 8 - n and kMask64 + 4 - n select
// the first n lanes.
alignas(32) constexpr int32_t kMask32[16] = {-1, -1, -1, -1, -1, -1, -1, -1,
                                             0,  0,  0,  0,  0,  0,  0,  0};
alignas(32) constexpr int64_t kMask64[8] = {-1, -1, -1, -1, 0, 0, 0, 0};

inline __m256i mask32x8(int n) {
  return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(kMask32 + 8 - n));
}
inline __m128i mask32x4(int n) {
  return _mm_loadu_si128(reinterpret_cast<const __m128i*>(kMask32 + 8 - n));
}
inline __m256i mask64x4(int n) {
  return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(kMask64 + 4 - n));
}

// Eight int16 as eight int32.
inline __m256i load8x16(const int16_t* p) {
  return _mm256_cvtepi16_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p)));
}
// The first n (0 to 8) int16 as int32, zeros after: pairs by a masked 32-bit
// load, an odd last element on its own.
inline __m256i load8x16Part(const int16_t* p, int n) {
  __m128i x = _mm_maskload_epi32(reinterpret_cast<const int*>(p), mask32x4(n >> 1));
  if (n & 1) {
    const __m128i lane = _mm_andnot_si128(mask32x4(n >> 1), mask32x4((n >> 1) + 1));
    x = _mm_or_si128(x, _mm_and_si128(_mm_set1_epi32(uint16_t(p[n - 1])), lane));
  }
  return _mm256_cvtepi16_epi32(x);
}

struct F8 {
  __m256 v;
  static F8 zero() { return {_mm256_setzero_ps()}; }
  static F8 load(const float* p) { return {_mm256_loadu_ps(p)}; }
  static F8 load(const int16_t* p) { return {_mm256_cvtepi32_ps(load8x16(p))}; }
  static F8 loadPart(const float* p, int n) { return {_mm256_maskload_ps(p, mask32x8(n))}; }
  static F8 loadPart(const int16_t* p, int n) { return {_mm256_cvtepi32_ps(load8x16Part(p, n))}; }
  // Lanes [0, na) from a, lanes [na, na + nb) from b, zeros after (na + nb
  // up to 8). b - na must lie in the same array as b, at or after a.
  static F8 loadSplit(const float* a, int na, const float* b, int nb) {
    const __m256i upper = _mm256_andnot_si256(mask32x8(na), mask32x8(na + nb));
    return {_mm256_or_ps(_mm256_maskload_ps(a, mask32x8(na)), _mm256_maskload_ps(b - na, upper))};
  }
  void store(float* p) const { _mm256_storeu_ps(p, v); }
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
  static D8 loadPart(const double* p, int n) {
    const __m256d lo = _mm256_maskload_pd(p, mask64x4(n < 4 ? n : 4));
    return {lo, n > 4 ? _mm256_maskload_pd(p + 4, mask64x4(n - 4)) : _mm256_setzero_pd()};
  }
  // As F8::loadSplit. A half is loaded only where it has lanes to fill, so
  // no address is formed outside the arrays.
  static D8 loadSplit(const double* a, int na, const double* b, int nb) {
    const D8 x = loadPart(a, na);
    const double* c = b - na;
    const int end = na + nb;
    auto part = [&](int from, int to, int base) {  // lanes [from, to) of the half at base
      const __m256i m =
          _mm256_andnot_si256(mask64x4(clampLanes(from - base)), mask64x4(clampLanes(to - base)));
      return _mm256_maskload_pd(c + base, m);
    };
    const __m256d lo = na < 4 ? _mm256_or_pd(x.lo, part(na, end, 0)) : x.lo;
    const __m256d hi = end > 4 ? _mm256_or_pd(x.hi, part(na > 4 ? na : 4, end, 4)) : x.hi;
    return {lo, hi};
  }
  static int clampLanes(int k) { return k < 0 ? 0 : k > 4 ? 4 : k; }
  void store(double* p) const {
    _mm256_storeu_pd(p, lo);
    _mm256_storeu_pd(p + 4, hi);
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

// One lane per row of a group of four.
#include "scoring/simd/vec_f4.h"

struct D4 {
  static constexpr int kLanes = 4;
  __m256d v;
  static D4 load(const double* p) { return {_mm256_loadu_pd(p)}; }
  static D4 load(const float* p) { return {_mm256_cvtps_pd(_mm_loadu_ps(p))}; }
  void store(double* p) const { _mm256_storeu_pd(p, v); }
  void store(float* p) const { _mm_storeu_ps(p, _mm256_cvtpd_ps(v)); }
};
inline D4 operator+(D4 a, D4 b) { return {_mm256_add_pd(a.v, b.v)}; }
inline D4 operator-(D4 a, D4 b) { return {_mm256_sub_pd(a.v, b.v)}; }
inline D4 operator*(D4 a, D4 b) { return {_mm256_mul_pd(a.v, b.v)}; }

// The lane operations of the shared pair step (scoring/logadd.h). Ordered
// comparisons: a NaN compares false, as in scalar code.
struct D4Mask {
  __m256d m;
};
inline D4Mask operator<(D4 a, D4 b) { return {_mm256_cmp_pd(a.v, b.v, _CMP_LT_OQ)}; }
inline D4Mask operator>(D4 a, D4 b) { return {_mm256_cmp_pd(a.v, b.v, _CMP_GT_OQ)}; }
inline D4 splat(D4, double x) { return {_mm256_set1_pd(x)}; }
inline D4 select(D4Mask m, D4 a, D4 b) { return {_mm256_blendv_pd(b.v, a.v, m.m)}; }
inline bool allOf(D4Mask m) { return _mm256_movemask_pd(m.m) == 15; }
inline D4 negate(D4 x) { return {_mm256_xor_pd(x.v, _mm256_set1_pd(-0.0))}; }
template <size_t N>
inline D4 pick(D4Mask r0, D4Mask r1, const double (&t)[3][N], int k) {
  return select(r0, splat(D4{}, t[0][k]), select(r1, splat(D4{}, t[1][k]), splat(D4{}, t[2][k])));
}

// Lane k of rows 0..3 into column k.
inline void columns(const F8 r[4], F4 c[8]) {
  const __m256 t0 = _mm256_unpacklo_ps(r[0].v, r[1].v), t1 = _mm256_unpackhi_ps(r[0].v, r[1].v);
  const __m256 t2 = _mm256_unpacklo_ps(r[2].v, r[3].v), t3 = _mm256_unpackhi_ps(r[2].v, r[3].v);
  const __m256 k0 = _mm256_shuffle_ps(t0, t2, 0x44), k1 = _mm256_shuffle_ps(t0, t2, 0xEE);
  const __m256 k2 = _mm256_shuffle_ps(t1, t3, 0x44), k3 = _mm256_shuffle_ps(t1, t3, 0xEE);
  c[0].v = _mm256_castps256_ps128(k0), c[4].v = _mm256_extractf128_ps(k0, 1);
  c[1].v = _mm256_castps256_ps128(k1), c[5].v = _mm256_extractf128_ps(k1, 1);
  c[2].v = _mm256_castps256_ps128(k2), c[6].v = _mm256_extractf128_ps(k2, 1);
  c[3].v = _mm256_castps256_ps128(k3), c[7].v = _mm256_extractf128_ps(k3, 1);
}
inline void transpose4(__m256d a, __m256d b, __m256d c, __m256d d, D4* out) {
  const __m256d t0 = _mm256_unpacklo_pd(a, b), t1 = _mm256_unpackhi_pd(a, b);
  const __m256d t2 = _mm256_unpacklo_pd(c, d), t3 = _mm256_unpackhi_pd(c, d);
  out[0].v = _mm256_permute2f128_pd(t0, t2, 0x20);
  out[1].v = _mm256_permute2f128_pd(t1, t3, 0x20);
  out[2].v = _mm256_permute2f128_pd(t0, t2, 0x31);
  out[3].v = _mm256_permute2f128_pd(t1, t3, 0x31);
}
inline void columns(const D8 r[4], D4 c[8]) {
  transpose4(r[0].lo, r[1].lo, r[2].lo, r[3].lo, c);
  transpose4(r[0].hi, r[1].hi, r[2].hi, r[3].hi, c + 4);
}

// Exact 16-bit sums: eight int32 lanes, products accumulated in 64 bits.
struct I8 {
  static constexpr int kWidth = 8;
  __m256i v;
  static I8 load(const int16_t* p) { return {load8x16(p)}; }
  static I8 loadPart(const int16_t* p, int n) { return {load8x16Part(p, n)}; }
};
inline I8 operator-(I8 a, I8 b) { return {_mm256_sub_epi32(a.v, b.v)}; }
// Low 32 bits of the products: |d| < 2^17 and |d * var| < 2^31 fit.
inline I8 operator*(I8 a, I8 b) { return {_mm256_mullo_epi32(a.v, b.v)}; }
struct Acc64x8 {
  __m256i v;
  static Acc64x8 zero() { return {_mm256_setzero_si256()}; }
  // d * w for the eight lanes as 64-bit products (even lanes, then odd).
  void add(I8 d, I8 w) {
    v = _mm256_add_epi64(v, _mm256_mul_epi32(d.v, w.v));
    v = _mm256_add_epi64(v,
                         _mm256_mul_epi32(_mm256_srli_epi64(d.v, 32), _mm256_srli_epi64(w.v, 32)));
  }
  int64_t total() const {
    const __m128i h = _mm_add_epi64(_mm256_castsi256_si128(v), _mm256_extracti128_si256(v, 1));
    return _mm_cvtsi128_si64(_mm_add_epi64(h, _mm_unpackhi_epi64(h, h)));
  }
  // The totals of four accumulators at once.
  static void totals(const Acc64x8* a, int64_t* out) {
    const __m256i t01 = _mm256_add_epi64(_mm256_unpacklo_epi64(a[0].v, a[1].v),
                                         _mm256_unpackhi_epi64(a[0].v, a[1].v));
    const __m256i t23 = _mm256_add_epi64(_mm256_unpacklo_epi64(a[2].v, a[3].v),
                                         _mm256_unpackhi_epi64(a[2].v, a[3].v));
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(out),
                        _mm256_add_epi64(_mm256_permute2x128_si256(t01, t23, 0x20),
                                         _mm256_permute2x128_si256(t01, t23, 0x31)));
  }
};
