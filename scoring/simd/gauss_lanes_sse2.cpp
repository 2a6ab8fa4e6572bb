// Baseline tier (SSE2, every x86-64): eight lanes as two or four registers.
#include <emmintrin.h>

#include "scoring/simd/gauss_lanes.h"

namespace vsp {
namespace sse2 {
namespace {

#include "scoring/simd/vec_sse2.h"

}  // namespace

#include "scoring/simd/gauss_lanes_impl.h"

// SSE2 has no signed 32x32->64 multiply; the scalar loop is exact and the
// compiler schedules it well.
int64_t sumS16(const int16_t* s, const int16_t* m, const int16_t* v, int64_t n) {
  uint64_t sum = 0;
  for (int64_t i = 0; i < n; ++i) {
    const int64_t d = int64_t(s[i]) - m[i];
    sum += uint64_t(d * d * (v ? int64_t(v[i]) : 1));
  }
  return int64_t(sum);
}

}  // namespace sse2
}  // namespace vsp
