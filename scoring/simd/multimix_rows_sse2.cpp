// Baseline tier (SSE2) of the free-order shared-source kernel.
#include <emmintrin.h>

#include "scoring/gauss_sum.h"
#include "scoring/simd/multimix_rows.h"

namespace vsp {
namespace sse2 {
namespace {

#include "scoring/simd/vec_sse2.h"

template <class Acc>
struct VecOf;
template <>
struct VecOf<float> {
  using V8 = F8;
  using V4 = F4;
};
template <>
struct VecOf<double> {
  using V8 = D8;
  using V4 = D4;
};

}  // namespace

#include "scoring/simd/multimix_rows_impl.h"

}  // namespace sse2
}  // namespace vsp
