// Sums of squared differences: the prologue of each member, and the tier.
#include "scoring/gauss_sum.h"

#include "scoring/simd/gauss_lanes.h"

VSP_NS_BEGIN

// The float sums run the AVX2 code on AVX-512 hosts (see gauss_lanes.h).
float sumSqAligned32f(Tier tier, const float* s, const float* m, const float* v, int32_t n) {
  const int32_t p = prologueTo16(v ? v : m);
  return tier >= Tier::Avx2 ? avx2::sumF32(s, m, v, n, p) : sse2::sumF32(s, m, v, n, p);
}
double sumSqAligned64f(Tier tier, const double* s, const double* m, const double* v, int32_t n) {
  const int32_t p = prologueTo16(v ? v : m);
  return tier >= Tier::Avx2 ? avx2::sumF64(s, m, v, n, p) : sse2::sumF64(s, m, v, n, p);
}
double sumSqRuns32f64f(Tier tier, const float* s, const float* m, const float* v, int32_t n) {
  return tier >= Tier::Avx2 ? avx2::sumF32D(s, m, v, n, 0) : sse2::sumF32D(s, m, v, n, 0);
}
float sumSqRuns16s32f(Tier tier, const int16_t* s, const int16_t* m, const int16_t* v, int32_t n) {
  return tier >= Tier::Avx2 ? avx2::sumS16F(s, m, v, n, 0) : sse2::sumS16F(s, m, v, n, 0);
}

int64_t sumSq16s(Tier tier, const int16_t* s, const int16_t* m, const int16_t* v, int32_t n) {
  switch (tier) {
    case Tier::Avx512:
      return avx512::sumS16(s, m, v, n);
    case Tier::Avx2:
      return avx2::sumS16(s, m, v, n);
    default:
      return sse2::sumS16(s, m, v, n);
  }
}

VSP_NS_END
