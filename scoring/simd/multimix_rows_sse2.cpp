// Baseline tier (SSE2) of the free-order shared-source kernel.
#include <emmintrin.h>

#include "scoring/gauss_sum.h"
#include "scoring/simd/multimix_rows.h"

#define VSP_ROWS_KIT "scoring/simd/vec_sse2.h"
namespace vsp::sse2 {
#include "scoring/simd/multimix_rows_impl.h"
}  // namespace vsp::sse2
