// AVX-512 tier of the four-rows-per-pass kernels. Float rows keep the AVX2
// layout (their eight lanes are fixed by the order of summation); a row's
// eight double lanes fit one register, and the exact 16-bit sums take
// sixteen elements a step with masked tails.
#include <immintrin.h>

// GCC 12's AVX-512 extract intrinsics start from an "undefined" vector that
// its own -Wuninitialized then reports once inlined: a known false positive.
#pragma GCC diagnostic ignored "-Wuninitialized"

#include "scoring/gauss_sum.h"
#include "scoring/logadd.h"
#include "scoring/simd/gauss_rows.h"

namespace vsp {
namespace avx512 {
namespace {

#include "scoring/simd/vec_avx2.h"

struct Z8 {
  static constexpr int kLanes = 8;
  __m512d v;
  static Z8 zero() { return {_mm512_setzero_pd()}; }
  static Z8 load(const double* p) { return {_mm512_loadu_pd(p)}; }
  static Z8 load(const float* p) { return {_mm512_cvtps_pd(_mm256_loadu_ps(p))}; }
  static Z8 loadPart(const double* p, int n) {
    return {_mm512_maskz_loadu_pd(__mmask8((1u << n) - 1), p)};
  }
  // Lanes [0, na) from a, lanes [na, na + nb) from b (b - na lies in b's
  // array, at or after a), zeros after.
  static Z8 loadSplit(const double* a, int na, const double* b, int nb) {
    const __mmask8 upper = __mmask8(((1u << (na + nb)) - 1) & ~((1u << na) - 1));
    return {_mm512_mask_loadu_pd(loadPart(a, na).v, upper, b - na)};
  }
  void store(double* p) const { _mm512_storeu_pd(p, v); }
  void store(float* p) const { _mm256_storeu_ps(p, _mm512_cvtpd_ps(v)); }
};
inline Z8 operator+(Z8 a, Z8 b) { return {_mm512_add_pd(a.v, b.v)}; }
inline Z8 operator-(Z8 a, Z8 b) { return {_mm512_sub_pd(a.v, b.v)}; }
inline Z8 operator*(Z8 a, Z8 b) { return {_mm512_mul_pd(a.v, b.v)}; }

// The lane operations of the shared pair step (scoring/logadd.h), eight
// lanes with mask registers. Ordered comparisons: a NaN compares false.
struct Z8Mask {
  __mmask8 m;
};
inline Z8Mask operator<(Z8 a, Z8 b) { return {_mm512_cmp_pd_mask(a.v, b.v, _CMP_LT_OQ)}; }
inline Z8Mask operator>(Z8 a, Z8 b) { return {_mm512_cmp_pd_mask(a.v, b.v, _CMP_GT_OQ)}; }
inline Z8 splat(Z8, double x) { return {_mm512_set1_pd(x)}; }
inline Z8 select(Z8Mask m, Z8 a, Z8 b) { return {_mm512_mask_blend_pd(m.m, b.v, a.v)}; }
inline bool allOf(Z8Mask m) { return m.m == 0xFF; }
inline Z8 negate(Z8 x) { return {_mm512_xor_pd(x.v, _mm512_set1_pd(-0.0))}; }
// One permute per entry: each lane's row index (0, 1 or 2) selects from a
// register holding the entry of the three rows.
template <size_t N>
inline Z8 pick(Z8Mask r0, Z8Mask r1, const double (&t)[3][N], int k) {
  const __m512i row = _mm512_mask_blend_epi64(
      r0.m, _mm512_mask_blend_epi64(r1.m, _mm512_set1_epi64(2), _mm512_set1_epi64(1)),
      _mm512_setzero_si512());
  return {_mm512_permutexvar_pd(row, _mm512_setr_pd(t[0][k], t[1][k], t[2][k], 0, 0, 0, 0, 0))};
}
inline void columns(const Z8 r[4], D4 c[8]) {
  transpose4(_mm512_castpd512_pd256(r[0].v), _mm512_castpd512_pd256(r[1].v),
             _mm512_castpd512_pd256(r[2].v), _mm512_castpd512_pd256(r[3].v), c);
  transpose4(_mm512_extractf64x4_pd(r[0].v, 1), _mm512_extractf64x4_pd(r[1].v, 1),
             _mm512_extractf64x4_pd(r[2].v, 1), _mm512_extractf64x4_pd(r[3].v, 1), c + 4);
}

struct I16 {
  static constexpr int kWidth = 16;
  __m512i v;
  static I16 load(const int16_t* p) {
    return {_mm512_cvtepi16_epi32(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(p)))};
  }
  static I16 loadPart(const int16_t* p, int n) {
    return {_mm512_cvtepi16_epi32(_mm256_maskz_loadu_epi16(__mmask16((1u << n) - 1), p))};
  }
};
inline I16 operator-(I16 a, I16 b) { return {_mm512_sub_epi32(a.v, b.v)}; }
inline I16 operator*(I16 a, I16 b) { return {_mm512_mullo_epi32(a.v, b.v)}; }
struct Acc64x16 {
  __m512i v;
  static Acc64x16 zero() { return {_mm512_setzero_si512()}; }
  void add(I16 d, I16 w) {
    v = _mm512_add_epi64(v, _mm512_mul_epi32(d.v, w.v));
    v = _mm512_add_epi64(v,
                         _mm512_mul_epi32(_mm512_srli_epi64(d.v, 32), _mm512_srli_epi64(w.v, 32)));
  }
  // The totals of four accumulators at once: lanes paired, then 128-bit
  // blocks, then the two halves.
  static void totals(const Acc64x16* a, int64_t* out) {
    const __m512i t01 = _mm512_add_epi64(_mm512_unpacklo_epi64(a[0].v, a[1].v),
                                         _mm512_unpackhi_epi64(a[0].v, a[1].v));
    const __m512i t23 = _mm512_add_epi64(_mm512_unpacklo_epi64(a[2].v, a[3].v),
                                         _mm512_unpackhi_epi64(a[2].v, a[3].v));
    const __m512i u = _mm512_add_epi64(_mm512_shuffle_i64x2(t01, t23, 0x44),
                                       _mm512_shuffle_i64x2(t01, t23, 0xEE));
    const __m512i w = _mm512_add_epi64(u, _mm512_shuffle_i64x2(u, u, 0xB1));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out), _mm512_castsi512_si128(w));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out + 2), _mm512_extracti32x4_epi32(w, 2));
  }
};

using Lanes8d = Z8;
using IntVec = I16;
using IntAcc = Acc64x16;
using LogLanes = Z8;

}  // namespace

#define VSP_ROWS_INT_KIT
#include "scoring/simd/gauss_rows_impl.h"

}  // namespace avx512
}  // namespace vsp
