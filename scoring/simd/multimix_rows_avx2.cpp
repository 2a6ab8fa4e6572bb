// AVX2 tier of the free-order shared-source kernel.
#include <immintrin.h>

#include "scoring/gauss_sum.h"
#include "scoring/simd/multimix_rows.h"

#define VSP_ROWS_KIT "scoring/simd/vec_avx2.h"
namespace vsp::avx2 {
#include "scoring/simd/multimix_rows_impl.h"
}  // namespace vsp::avx2
