// AVX2 tier: eight float lanes in one register, eight double lanes in two.
// Only intrinsics and our own tier-local code here: no inline function from
// a shared header may be instantiated under these target flags.
#include <immintrin.h>

#include "scoring/simd/gauss_lanes.h"

namespace vsp {
namespace avx2 {
namespace {

#include "scoring/simd/vec_avx2.h"

template <bool HasVar>
int64_t sumS16Impl(const int16_t* s, const int16_t* m, const int16_t* v, int64_t n) {
  Acc64x8 acc0 = Acc64x8::zero(), acc1 = Acc64x8::zero();
  int64_t i = 0;
  for (; i + 16 <= n; i += 16) {
    const I8 d0 = I8::load(s + i) - I8::load(m + i);
    const I8 d1 = I8::load(s + i + 8) - I8::load(m + i + 8);
    acc0.add(d0, HasVar ? d0 * I8::load(v + i) : d0);
    acc1.add(d1, HasVar ? d1 * I8::load(v + i + 8) : d1);
  }
  uint64_t sum = uint64_t(acc0.total()) + uint64_t(acc1.total());
  for (; i < n; ++i) {
    const int64_t d = int64_t(s[i]) - m[i];
    sum += uint64_t(d * d * (HasVar ? int64_t(v[i]) : 1));
  }
  return int64_t(sum);
}

}  // namespace

#include "scoring/simd/gauss_lanes_impl.h"

int64_t sumS16(const int16_t* s, const int16_t* m, const int16_t* v, int64_t n) {
  return v ? sumS16Impl<true>(s, m, v, n) : sumS16Impl<false>(s, m, v, n);
}

}  // namespace avx2
}  // namespace vsp
