// What the multi-mixture and distance families share: the sums of many
// Gaussians against one observation, whose grouping is free in these
// families, so they take the free-order kernels of the vector tiers.
#pragma once

#include "frame/cpu.h"
#include "scoring/gauss_block.h"
#include "scoring/simd/multimix_rows.h"

VSP_NS_BEGIN

struct FreeOrderSums {
  template <class In, class Acc>
  static void run(Tier tier, const RowBatch<In, Acc>& b) {
    tier >= Tier::Avx2 ? avx2::sharedSrcSums(b) : sse2::sharedSrcSums(b);
  }
  // The exact integer sums have no order to keep in the first place.
  static void run(Tier tier, const RowBatch<int16_t, int64_t>& b) { rowSums(tier, b); }
};

VSP_NS_END
