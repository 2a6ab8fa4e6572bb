// Entry points of the vector tiers for the sums of many Gaussians against one
// shared observation when the grouping of a row's terms is free (the
// multi-mixture scores and distances): the same batches as the ordered
// four-rows kernels (scoring/simd/gauss_rows.h), with the source shared.
//
// Each row's terms (d * d) * var are added in eight lanes, a short last
// chunk by partial loads that read nothing past the row, and the lanes are
// folded; the row's result is init - sum for float and double rows and
// init + sum for 16-bit rows converted to float, as in the ordered kernels.
// The observation is loaded once for four rows. Without an order to keep,
// nothing goes one element at a time, whatever the rows' alignment.
//
// AVX-512 hosts run the AVX2 code: sixteen-lane rows measured slower here, as
// short rows (39 dimensions) waste most of a second sixteen-lane chunk.
#pragma once

#include <stdint.h>

#include "scoring/simd/gauss_rows.h"

namespace vsp {

#define VSP_MULTIMIX_ROWS_DECLS                          \
  void sharedSrcSums(const RowBatch<float, float>& b);   \
  void sharedSrcSums(const RowBatch<double, double>& b); \
  void sharedSrcSums(const RowBatch<int16_t, float>& b);

namespace sse2 {
VSP_MULTIMIX_ROWS_DECLS
}
namespace avx2 {
VSP_MULTIMIX_ROWS_DECLS
}

#undef VSP_MULTIMIX_ROWS_DECLS

}  // namespace vsp
