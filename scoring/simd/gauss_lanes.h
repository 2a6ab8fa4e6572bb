// Entry points of the vector tiers for the sums of squared differences.
//
// A "lanes" kernel runs `rounds` rounds of 8 consecutive elements: element
// j of a round is added to lane j of eight running sums, in round order, and
// the eight lane sums are written to `out`. How the lanes are combined is
// the caller's (and fixed by each member), so every tier gives bit-identical
// lanes. `var` null means unit weights.
//
// The float lanes need a single 8-lane chain whatever the tier, so AVX-512
// adds nothing there and runs the AVX2 code. The integer sums are exact and
// free in order; each tier groups them as it likes.
#pragma once

#include <stdint.h>

#define VSP_GAUSS_LANES_DECLS                                                                 \
  void lanesF32(const float* src, const float* mean, const float* var, int64_t rounds,        \
                float* out);                                                                  \
  void lanesS16F(const int16_t* src, const int16_t* mean, const int16_t* var, int64_t rounds, \
                 float* out);                                                                 \
  void lanesF64(const double* src, const double* mean, const double* var, int64_t rounds,     \
                double* out);                                                                 \
  void lanesF32D(const float* src, const float* mean, const float* var, int64_t rounds,       \
                 double* out);                                                                \
  int64_t sumS16(const int16_t* src, const int16_t* mean, const int16_t* var, int64_t n);

namespace vsp {
namespace sse2 {
VSP_GAUSS_LANES_DECLS
}
namespace avx2 {
VSP_GAUSS_LANES_DECLS
}
namespace avx512 {
int64_t sumS16(const int16_t* src, const int16_t* mean, const int16_t* var, int64_t n);
}
}  // namespace vsp
