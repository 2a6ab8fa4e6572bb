// Sums of squared differences: prologue, vector rounds by tier, fold, tail.
#include "scoring/gauss_sum.h"

#include "frame/fixed.h"
#include "scoring/simd/gauss_lanes.h"

VSP_NS_BEGIN

namespace {

template <class Acc, class In>
VSP_ALWAYS_INLINE Acc term(const In* s, const In* m, const In* v, int64_t i) {
  const Acc d = Acc(s[i]) - Acc(m[i]);
  const Acc t = d * d;
  return v ? t * Acc(v[i]) : t;
}

// Lane kernels by tier. AVX-512 runs the AVX2 lanes (see gauss_lanes.h).
struct LanesF32 {
  static void run(Tier t, const float* s, const float* m, const float* v, int64_t r, float* o) {
    t >= Tier::Avx2 ? avx2::lanesF32(s, m, v, r, o) : sse2::lanesF32(s, m, v, r, o);
  }
};
struct LanesS16F {
  static void run(Tier t, const int16_t* s, const int16_t* m, const int16_t* v, int64_t r,
                  float* o) {
    t >= Tier::Avx2 ? avx2::lanesS16F(s, m, v, r, o) : sse2::lanesS16F(s, m, v, r, o);
  }
};
struct LanesF64 {
  static void run(Tier t, const double* s, const double* m, const double* v, int64_t r, double* o) {
    t >= Tier::Avx2 ? avx2::lanesF64(s, m, v, r, o) : sse2::lanesF64(s, m, v, r, o);
  }
};
struct LanesF32D {
  static void run(Tier t, const float* s, const float* m, const float* v, int64_t r, double* o) {
    t >= Tier::Avx2 ? avx2::lanesF32D(s, m, v, r, o) : sse2::lanesF32D(s, m, v, r, o);
  }
};

VSP_ALWAYS_INLINE float fold(const float* a) { return foldLanes32(a); }
VSP_ALWAYS_INLINE double fold(const double* a) { return foldLanes64(a); }

// `prologue` < 0: no vector path at all.
template <class Lanes, class Acc, class In>
Acc laneSum(Tier tier, const In* s, const In* m, const In* v, int32_t n, int32_t prologue) {
  Acc sum = 0;
  int64_t i = 0;
  if (prologue >= 0 && int64_t(n) >= int64_t(prologue) + 8) {
    for (; i < prologue; ++i) sum += term<Acc>(s, m, v, i);
    const int64_t rounds = (n - i) / 8;
    Acc lanes[8];
    Lanes::run(tier, s + i, m + i, v ? v + i : nullptr, rounds, lanes);
    sum += fold(lanes);
    i += rounds * 8;
  }
  for (; i < n; ++i) sum += term<Acc>(s, m, v, i);
  return sum;
}

}  // namespace

float sumSqAligned32f(Tier tier, const float* s, const float* m, const float* v, int32_t n) {
  return laneSum<LanesF32, float>(tier, s, m, v, n, prologueTo16(v ? v : m));
}
double sumSqAligned64f(Tier tier, const double* s, const double* m, const double* v, int32_t n) {
  return laneSum<LanesF64, double>(tier, s, m, v, n, prologueTo16(v ? v : m));
}
double sumSqRuns32f64f(Tier tier, const float* s, const float* m, const float* v, int32_t n) {
  return laneSum<LanesF32D, double>(tier, s, m, v, n, 0);
}
float sumSqRuns16s32f(Tier tier, const int16_t* s, const int16_t* m, const int16_t* v, int32_t n) {
  return laneSum<LanesS16F, float>(tier, s, m, v, n, 0);
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
