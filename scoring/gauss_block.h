// Scoring many rows at once: a block of frames against one Gaussian, or one
// observation against many Gaussians. The sums come from the four-rows-per-
// pass kernels of the vector tiers (scoring/simd/gauss_rows.h); this header
// turns them into scores and folds the scores into the destination. The
// multi-row families (frame blocks, mixtures, multi-mixtures, distances)
// share it.
#pragma once

#include "frame/base.h"
#include "frame/cpu.h"
#include "frame/fixed.h"
#include "frame/rows.h"
#include "frame/scale.h"
#include "scoring/logadd.h"
#include "scoring/simd/gauss_rows.h"

VSP_NS_BEGIN

// Rows are handed to the tiers in batches of this many.
inline constexpr int32_t kRowBatch = 64;

template <class In, class Acc>
VSP_ALWAYS_INLINE void rowSums(Tier tier, const RowBatch<In, Acc>& b) {
  switch (tier) {
    case Tier::Avx512:
      avx512::rowSums(b);
      break;
    case Tier::Avx2:
      avx2::rowSums(b);
      break;
    default:
      sse2::rowSums(b);
  }
}

// ---- Scores: what a row's accumulator becomes ------------------------------------
//
// A score kind gives the accumulator's start for a Gaussian constant and
// turns the finished accumulator into the score. Each is built once per call
// from the scale factor.

// Float and double rows: the accumulator starts at gConst + gConst, the terms
// are subtracted, and the score is half of what remains: 0.5 * (2g - sum).
template <class T>
struct HalfScore {
  using In = T;
  using Acc = T;
  using Out = T;
  using G = T;
  explicit HalfScore(int32_t) {}
  T init(T g) const { return g + g; }
  T score(T acc, T) const { return T(0.5) * acc; }
};

// 16-bit rows with a float score: gConst - sum * factor, the factor fixed
// per call.
struct FactorScore {
  using In = int16_t;
  using Acc = float;
  using Out = float;
  using G = float;
  float factor;
  float init(float) const { return 0.0f; }
  float score(float sum, float g) const { return g - sum * factor; }
};
struct ScaledScore : FactorScore {
  explicit ScaledScore(int32_t sf) : FactorScore{scale32(int64_t(sf) + 1)} {}
};
struct LowScaledScore : FactorScore {
  explicit LowScaledScore(int32_t sf) : FactorScore{scale32(sf) * 0.5f} {}
};

// 16-bit rows with an integer score: the exact sum shifted by
// scaleFactor + 1 (the half folded into the shift).
struct IntScore {
  using In = int16_t;
  using Acc = int64_t;
  using Out = int32_t;
  using G = int32_t;
  int64_t shift;
  explicit IntScore(int32_t sf) : shift(int64_t(sf) + 1) {}
  int64_t init(int32_t) const { return 0; }
};
// The block members saturate the shifted sum first and then subtract it from
// gConst in 32 bits, wrapping: a huge sum gives gConst - 2147483647.
struct IntClampFirstScore : IntScore {
  using IntScore::IntScore;
  int32_t score(int64_t sum, int32_t g) const {
    return wrapSub32(g, sat32(shiftByScale64(sum, shift)));
  }
};
// The Low members keep the low 32 bits of the 64-bit difference.
struct IntLowScore : IntScore {
  using IntScore::IntScore;
  int32_t score(int64_t sum, int32_t g) const {
    return low32(wrapSub64(g, shiftByScale64(sum, shift)));
  }
};

// ---- Reductions: how a score meets the destination ----------------------------------
//
// Each gives the step for one value, and `finish`, which turns a row of
// accumulators into scores and meets a row of destinations with them.

struct Store {
  template <class T>
  static void apply(T& dst, T score) {
    dst = score;
  }
  template <class Score, class Acc, class T, class G>
  static void finish(Tier, const Score& sc, const Acc* acc, G g, T* dst, int32_t n) {
    for (int32_t i = 0; i < n; ++i) dst[i] = sc.score(acc[i], g);
  }
};
// The larger of the two; a tie (or a NaN) keeps the destination.
struct KeepMax {
  template <class T>
  static void apply(T& dst, T score) {
    if (score > dst) dst = score;
  }
  template <class Score, class Acc, class T, class G>
  static void finish(Tier, const Score& sc, const Acc* acc, G g, T* dst, int32_t n) {
    for (int32_t i = 0; i < n; ++i) apply(dst[i], sc.score(acc[i], g));
  }
};
// The log-sum by the polynomial pair step: single-precision data with the
// single-precision coefficients, cut-off and floor in double, narrowed on
// the store; double data with the double-precision step. Rows go through
// the vector tiers, lanes of doubles at a time, bit for bit as one by one.
struct LogAddInto {
  static void apply(float& dst, float score) {
    dst = float(logadd::foldStep<logadd::Poly32, logadd::FloorMax32>(dst, score));
  }
  static void apply(double& dst, double score) {
    dst = logadd::foldStep<logadd::Poly64, logadd::Floor64>(dst, score);
  }
  template <class T>
  static void batch(Tier tier, T* dst, const T* score, int32_t n) {
    switch (tier) {
      case Tier::Avx512:
        avx512::logAddInto(dst, score, n);
        break;
      case Tier::Avx2:
        avx2::logAddInto(dst, score, n);
        break;
      default:
        sse2::logAddInto(dst, score, n);
    }
  }
  template <class Score, class Acc, class T, class G>
  static void finish(Tier tier, const Score& sc, const Acc* acc, G g, T* dst, int32_t n) {
    T scores[kRowBatch];
    for (int32_t i = 0; i < n; ++i) scores[i] = sc.score(acc[i], g);
    batch(tier, dst, scores, n);
  }
};

// ---- Drivers ----------------------------------------------------------------------------

// Row pointers of a batch: the caller's own array for row-pointer input,
// computed from the step otherwise.
template <class T>
VSP_ALWAYS_INLINE const T* const* batchRows(PointerRows<const T> rows, int32_t first, int32_t,
                                            const T**) {
  return rows.rows + first;
}
template <class T>
VSP_ALWAYS_INLINE const T* const* batchRows(SteppedRows<const T> rows, int32_t first, int32_t n,
                                            const T** room) {
  for (int32_t i = 0; i < n; ++i) room[i] = rows[first + i];
  return room;
}

// A block of frames against one Gaussian: each frame's score meets dst[f].
template <class Reduce, class Score, class Rows>
void scoreFrames(Tier tier, const Score& sc, Rows src, const typename Score::In* mean,
                 const typename Score::In* var, int32_t width, typename Score::Out* dst,
                 int32_t height, typename Score::G g) {
  using In = typename Score::In;
  using Acc = typename Score::Acc;
  const In* rows[kRowBatch];
  Acc init[kRowBatch], acc[kRowBatch];
  const Acc start = sc.init(g);
  for (int32_t i = 0; i < kRowBatch; ++i) init[i] = start;
  RowBatch<In, Acc> b{nullptr, &mean, var ? &var : nullptr, init, acc, 0, width, false, true};
  for (int32_t f0 = 0; f0 < height; f0 += kRowBatch) {
    b.rows = height - f0 < kRowBatch ? height - f0 : kRowBatch;
    b.src = batchRows(src, f0, b.rows, rows);
    rowSums(tier, b);
    Reduce::finish(tier, sc, acc, g, dst + f0, b.rows);
  }
}

// The kernel behind a driver: by default the ordered four-rows kernels; a
// family whose order of summation is free may pass a faster one.
struct OrderedSums {
  template <class In, class Acc>
  static void run(Tier tier, const RowBatch<In, Acc>& b) {
    rowSums(tier, b);
  }
};

// One observation against `count` Gaussians (rows of means and vars, vars
// possibly absent): each score is handed to `take(k, score)` in ascending
// order of k. Without constants (null gConsts, as for distances) every
// constant is zero.
template <class Score, class Sums = OrderedSums, class Rows, class Take>
void scoreModels(Tier tier, const Score& sc, const typename Score::In* src, Rows means, Rows vars,
                 bool hasVar, int32_t width, const typename Score::G* gConsts, int32_t count,
                 Take&& take) {
  using In = typename Score::In;
  using Acc = typename Score::Acc;
  using G = typename Score::G;
  const In* mrows[kRowBatch];
  const In* vrows[kRowBatch];
  Acc init[kRowBatch], acc[kRowBatch];
  RowBatch<In, Acc> b{&src, nullptr, nullptr, init, acc, 0, width, true, false};
  for (int32_t k0 = 0; k0 < count; k0 += kRowBatch) {
    b.rows = count - k0 < kRowBatch ? count - k0 : kRowBatch;
    b.mean = batchRows(means, k0, b.rows, mrows);
    if (hasVar) b.var = batchRows(vars, k0, b.rows, vrows);
    for (int32_t i = 0; i < b.rows; ++i) init[i] = sc.init(gConsts ? gConsts[k0 + i] : G(0));
    Sums::run(tier, b);
    for (int32_t i = 0; i < b.rows; ++i)
      take(k0 + i, sc.score(acc[i], gConsts ? gConsts[k0 + i] : G(0)));
  }
}

VSP_NS_END
