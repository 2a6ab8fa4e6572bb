// Final steps of the single-observation scores: how a member turns its sum
// of squared differences into a score or a distance. The block, mixture and
// distance families reuse these where their rows repeat this arithmetic.
#pragma once

#include "frame/base.h"
#include "frame/fixed.h"
#include "frame/scale.h"

VSP_NS_BEGIN

// Keeps an argument out of template deduction (so that nullptr can stand for
// a member's missing var).
template <class T>
struct NonDeduced {
  using type = T;
};

// gConst - 0.5 * sum, in the accumulator's precision.
struct FinishHalf {
  template <class Acc, class G>
  static Acc apply(Acc sum, G g, int32_t) {
    return Acc(g) - Acc(0.5) * sum;
  }
};
// 16-bit input, single-precision sum: gConst - sum * scale32(scaleFactor + 1).
struct FinishScaled {
  static float apply(float sum, float g, int32_t sf) { return g - sum * scale32(int64_t(sf) + 1); }
};
// gConst - sum * 0.5 * scale32(scaleFactor), left to right.
struct FinishLowScaled {
  static float apply(float sum, float g, int32_t sf) { return g - sum * 0.5f * scale32(sf); }
};
// 64-bit sum shifted by scaleFactor + 1 (the half folded into the shift);
// the difference from gConst is taken in 64 bits and saturated.
struct FinishIntSat {
  static int32_t apply(int64_t sum, int32_t g, int32_t sf) {
    return sat32(wrapSub64(g, shiftByScale64(sum, int64_t(sf) + 1)));
  }
};
// As FinishIntSat, keeping the low 32 bits of the difference.
struct FinishIntLow {
  static int32_t apply(int64_t sum, int32_t g, int32_t sf) {
    return low32(wrapSub64(g, shiftByScale64(sum, int64_t(sf) + 1)));
  }
};
// Distances: the sum itself.
struct FinishSum {
  template <class Acc, class G>
  static Acc apply(Acc sum, G, int32_t) {
    return sum;
  }
};
// Integer distance: shifted by scaleFactor (no extra 1) and saturated.
struct FinishIntDist {
  static int32_t apply(int64_t sum, int32_t, int32_t sf) { return sat32(shiftByScale64(sum, sf)); }
};

VSP_NS_END
