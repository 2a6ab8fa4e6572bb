// AVX2 tier of the four-rows-per-pass kernels: a row's eight float lanes in
// one register, its eight double lanes in two, eight 16-bit elements a step
// in the exact integer sums.
#include <immintrin.h>

#include "scoring/gauss_sum.h"
#include "scoring/logadd.h"
#include "scoring/simd/gauss_rows.h"

namespace vsp {
namespace avx2 {
namespace {

#include "scoring/simd/vec_avx2.h"

using Lanes8d = D8;
using LogLanes = D4;
using IntVec = I8;
using IntAcc = Acc64x8;

}  // namespace

#define VSP_ROWS_INT_KIT
#include "scoring/simd/gauss_rows_impl.h"

}  // namespace avx2
}  // namespace vsp
