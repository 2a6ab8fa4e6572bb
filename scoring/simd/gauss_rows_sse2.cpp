// Baseline tier (SSE2) of the four-rows-per-pass kernels. The exact 16-bit
// sums have no 64-bit signed multiply here and go row by row.
#include <emmintrin.h>

#include "scoring/gauss_sum.h"
#include "scoring/logadd.h"
#include "scoring/simd/gauss_lanes.h"
#include "scoring/simd/gauss_rows.h"

namespace vsp {
namespace sse2 {
namespace {

#include "scoring/simd/vec_sse2.h"

using Lanes8d = D8;
using LogLanes = D4;

}  // namespace

#include "scoring/simd/gauss_rows_impl.h"

void rowSums(const RowBatch<int16_t, int64_t>& b) {
  for (int32_t r = 0; r < b.rows; ++r)
    b.out[r] = sumS16(b.src[b.sharedSrc ? 0 : r], b.mean[b.sharedModel ? 0 : r],
                      b.var ? b.var[b.sharedModel ? 0 : r] : nullptr, b.width);
}

}  // namespace sse2
}  // namespace vsp
