// Entry points of the vector tiers for the cosine transform's dot products.
//
// dctDots: for j below `count`, out[j] = mul[j] * (rows[j] . src), where the
// dot product runs over `blocks` blocks of 8 elements read from src and, when
// `tail` is not null, one more block read from tail (a zero-padded copy of
// src's last partial block). Each row is eight running sums, two groups of
// four, added and folded as (c0 + c2) + (c1 + c3); every tier uses this same
// order, so every tier gives the same bits. Rows must hold the blocks read,
// zero padding included.
#pragma once

#include <stdint.h>

#define VSP_DCT_DOTS_DECLS                                                                    \
  void dctDots(const float* src, const float* tail, int64_t blocks, const float* const* rows, \
               const float* mul, int32_t count, float* out);

namespace vsp {
namespace sse2 {
VSP_DCT_DOTS_DECLS
}
namespace avx2 {
VSP_DCT_DOTS_DECLS
}
}  // namespace vsp
