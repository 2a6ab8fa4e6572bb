// Entry points of the vector tiers for the sums of squared differences.
//
// Each float sum adds the first `prologue` elements one by one, then rounds
// of 8 consecutive elements, element j of a round going to lane j of eight
// running sums in round order; folds the lanes by the member's fixed tree;
// then adds the rest one by one. A negative prologue, or fewer than
// prologue + 8 elements, means every element one by one. Every tier gives
// the same bits. `var` null means unit weights.
//
// The float sums need a single 8-lane chain whatever the tier, so AVX-512
// adds nothing there and runs the AVX2 code. The integer sums are exact and
// free in order; each tier groups them as it likes.
#pragma once

#include <stdint.h>

#define VSP_GAUSS_SUM_DECLS                                                             \
  float sumF32(const float* src, const float* mean, const float* var, int32_t n,        \
               int32_t prologue);                                                       \
  float sumS16F(const int16_t* src, const int16_t* mean, const int16_t* var, int32_t n, \
                int32_t prologue);                                                      \
  double sumF64(const double* src, const double* mean, const double* var, int32_t n,    \
                int32_t prologue);                                                      \
  double sumF32D(const float* src, const float* mean, const float* var, int32_t n,      \
                 int32_t prologue);                                                     \
  int64_t sumS16(const int16_t* src, const int16_t* mean, const int16_t* var, int64_t n);

namespace vsp {
namespace sse2 {
VSP_GAUSS_SUM_DECLS
}
namespace avx2 {
VSP_GAUSS_SUM_DECLS
}
namespace avx512 {
int64_t sumS16(const int16_t* src, const int16_t* mean, const int16_t* var, int64_t n);
}
}  // namespace vsp
