// AVX-512 tier: the exact integer sums, sixteen elements a step. (The float
// lanes have one 8-lane chain whatever the width; they run the AVX2 code.)
#include <immintrin.h>

#include "scoring/simd/gauss_lanes.h"

namespace vsp {
namespace avx512 {
namespace {

inline __m512i load16x16(const int16_t* p) {
  return _mm512_cvtepi16_epi32(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(p)));
}

inline __m512i mulAdd64(__m512i acc, __m512i d, __m512i w) {
  acc = _mm512_add_epi64(acc, _mm512_mul_epi32(d, w));
  return _mm512_add_epi64(acc,
                          _mm512_mul_epi32(_mm512_srli_epi64(d, 32), _mm512_srli_epi64(w, 32)));
}

template <bool HasVar>
int64_t sumS16Impl(const int16_t* s, const int16_t* m, const int16_t* v, int64_t n) {
  __m512i acc0 = _mm512_setzero_si512(), acc1 = _mm512_setzero_si512();
  int64_t i = 0;
  for (; i + 32 <= n; i += 32) {
    const __m512i d0 = _mm512_sub_epi32(load16x16(s + i), load16x16(m + i));
    const __m512i d1 = _mm512_sub_epi32(load16x16(s + i + 16), load16x16(m + i + 16));
    __m512i w0 = d0, w1 = d1;
    if constexpr (HasVar) {
      w0 = _mm512_mullo_epi32(d0, load16x16(v + i));
      w1 = _mm512_mullo_epi32(d1, load16x16(v + i + 16));
    }
    acc0 = mulAdd64(acc0, d0, w0);
    acc1 = mulAdd64(acc1, d1, w1);
  }
  // Masked steps take the tail without reading past the arrays.
  for (; i < n; i += 16) {
    const int64_t left = n - i;
    const __mmask16 k = __mmask16(left >= 16 ? 0xFFFFu : (1u << left) - 1);
    const __m512i d = _mm512_sub_epi32(_mm512_cvtepi16_epi32(_mm256_maskz_loadu_epi16(k, s + i)),
                                       _mm512_cvtepi16_epi32(_mm256_maskz_loadu_epi16(k, m + i)));
    __m512i w = d;
    if constexpr (HasVar)
      w = _mm512_mullo_epi32(d, _mm512_cvtepi16_epi32(_mm256_maskz_loadu_epi16(k, v + i)));
    acc0 = mulAdd64(acc0, d, w);
  }
  return _mm512_reduce_add_epi64(_mm512_add_epi64(acc0, acc1));
}

}  // namespace

int64_t sumS16(const int16_t* s, const int16_t* m, const int16_t* v, int64_t n) {
  return v ? sumS16Impl<true>(s, m, v, n) : sumS16Impl<false>(s, m, v, n);
}

}  // namespace avx512
}  // namespace vsp
