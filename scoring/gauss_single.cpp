// One observation against one diagonal Gaussian: scores and weighted
// distances in every element type, and the direct-variance and
// block-diagonal forms.
#include "scoring/gauss_single.h"

#include "estimation/block_dmatrix.h"
#include "frame/check.h"
#include "frame/cpu.h"
#include "frame/scratch.h"
#include "scoring/gauss_sum.h"

VSP_NS_BEGIN

namespace {

// ---- Plain, IdVar and distance members ----------------------------------------
//
// HasVar false: the member has no var argument (var is passed as null).
template <class Acc, class Finish, bool HasVar, class In, class Out, class G>
VspStatus single(const In* src, const In* mean, const typename NonDeduced<In>::type* var,
                 int32_t len, Out* dst, G g, int32_t sf) {
  if (anyNull(src, mean, dst) || (HasVar && var == nullptr)) return vspStatusNullPointer;
  if (len < 1) return vspStatusBadSize;
  *dst =
      Out(Finish::apply(sumSqOf<Acc>(hostTier(), src, mean, HasVar ? var : nullptr, len), g, sf));
  return vspStatusOk;
}

// ---- Direct variances: the squared difference is divided by var ---------------
//
// Float members divide in double; the Scaled member in single precision. A
// zero variance stops the call with nothing written.
template <class Acc, class Finish, class In, class Out, class G>
VspStatus directVar(const In* src, const In* mean, const In* var, int32_t len, Out* dst, G g,
                    int32_t sf) {
  if (anyNull(src, mean, var, dst)) return vspStatusNullPointer;
  if (len < 1) return vspStatusBadSize;
  Acc sum = 0;
  for (int32_t i = 0; i < len; ++i) {
    if (var[i] == 0) return vspWarningDivideByZero;
    const Acc d = Acc(src[i]) - Acc(mean[i]);
    sum += (d * d) / Acc(var[i]);
  }
  *dst = Out(Finish::apply(sum, g, sf));
  return vspStatusOk;
}

// gConst - sum * (0.5 * scale32(scaleFactor)).
struct FinishDirectScaled {
  static float apply(float sum, float g, int32_t sf) { return g - sum * (0.5f * scale32(sf)); }
};

// The integer direct-variance score: differences gain 8 bits, squares are
// divided with truncation, and the sum is rounded half up as it loses the
// 16 gained bits and the half.
VspStatus directVar16s(const int16_t* src, const int16_t* mean, const int16_t* var, int32_t len,
                       int32_t* dst, int32_t g, int32_t sf) {
  if (anyNull(src, mean, var, dst)) return vspStatusNullPointer;
  if (len < 1) return vspStatusBadSize;
  int64_t sum = 0;
  for (int32_t i = 0; i < len; ++i) {
    if (var[i] == 0) return vspWarningDivideByZero;
    const int64_t d = shl32(int32_t(src[i]) - mean[i], 8);
    sum = wrapAdd64(sum, (d * d) / int64_t(var[i]));
  }
  const int64_t shift = int64_t(sf) + 17;
  if (shift > 0) {
    // The rounding term is formed in 32 bits: at large factors its one bit
    // lands on the sign (or wraps away), exactly as that width dictates.
    const int32_t half = shl32(1, uint32_t(int64_t(sf) + 16));
    sum = sar64(wrapAdd64(sum, half), uint32_t(shift));
  } else if (shift < 0) {
    sum = shl64(sum, uint32_t(-shift));
  }
  *dst = sat32(wrapSub64(g, sum));
  return vspStatusOk;
}

// ---- Block-diagonal inverse covariance ------------------------------------------
//
// For each block: the difference vector e goes to scratch, then each row r
// adds (src[o + r] - mean[o + r]) * dot(row, e). The policy gives the
// element arithmetic of each member.

// Single precision terms, result formed in double.
struct BlockF32 {
  using E = float;
  using Sum = float;
  static constexpr int32_t kExtra = 0;
  static float diff(float s, float m) { return s - m; }
  static float term(float s, float m, float dot, int32_t) { return (s - m) * dot; }
  static float finish(float sum, float g, int32_t) { return float(double(g) - 0.5 * double(sum)); }
};
// Double throughout (the 32f input is widened first).
struct BlockF64 {
  using E = double;
  using Sum = double;
  static constexpr int32_t kExtra = 0;
  static double diff(double s, double m) { return s - m; }
  static double term(double s, double m, double dot, int32_t) { return (s - m) * dot; }
  static double finish(double sum, double g, int32_t) { return g - 0.5 * sum; }
};
// 16-bit members: e saturates to 16 bits; the row difference does not.
struct Block16sBase {
  using E = int16_t;
  using Sum = float;
  static constexpr int32_t kExtra = 1;
  static int16_t diff(int16_t s, int16_t m) { return sat16(int32_t(s) - m); }
};
struct Block16s32s : Block16sBase {
  static float term(int16_t s, int16_t m, float dot, int32_t sf) {
    return float(int32_t(s) - m) * scale32(sf) * dot;
  }
  static int32_t finish(float sum, int32_t g, int32_t) {
    return f32ToS32Branch(float(g) - 0.5f * sum);
  }
};
struct Block16s32f : Block16sBase {
  static float term(int16_t s, int16_t m, float dot, int32_t) {
    return float(int32_t(s) - m) * dot;
  }
  static float finish(float sum, float g, int32_t sf) { return FinishLowScaled::apply(sum, g, sf); }
};

template <class T, class E>
VSP_ALWAYS_INLINE auto blockDot(const T* row, const E* e, int32_t n) {
  if constexpr (sizeof(T) == 2) {
    int64_t dot = 0;
    for (int32_t k = 0; k < n; ++k) dot += int32_t(row[k]) * int32_t(e[k]);
    return float(dot);
  } else {
    E dot = 0;
    for (int32_t k = 0; k < n; ++k) dot += E(row[k]) * e[k];
    return dot;
  }
}

template <class P, class In, class Out, class G>
VspStatus blockDVar(const In* src, const In* mean, const VspBlockDMatrix* m, int32_t len, Out* dst,
                    G g, int32_t sf) {
  if (anyNull(src, mean, m, dst)) return vspStatusNullPointer;
  if (len < 1) return vspStatusBadSize;
  if (len != m->rowCount || len != m->rowCountWide) return vspStatusBadSize;
  // On the stack below 112 dimensions, from vspMalloc from 112 up.
  Scratch<typename P::E, 111 + P::kExtra> e(len + P::kExtra);
  if (!e.ok()) return vspStatusNoMemory;

  using Row = const In*;
  typename P::Sum sum = 0;
  int64_t o = 0, row = 0;
  for (int32_t b = 0; b < m->blockCountWide; ++b) {
    const int32_t size = m->blockSizes[b];
    for (int32_t k = 0; k < size; ++k)
      e.data()[k] = P::diff(typename P::E(src[o + k]), typename P::E(mean[o + k]));
    for (int32_t r = 0; r < size; ++r, ++row) {
      const auto dot = blockDot(static_cast<Row>(m->rows[row]), e.data(), size);
      sum += P::term(typename P::E(src[o + r]), typename P::E(mean[o + r]), dot, sf);
    }
    o += size;
  }
  *dst = P::finish(sum, g, sf);
  return vspStatusOk;
}

}  // namespace

VSP_NS_END

using namespace vsp;

// clang-format off
VSP_EXPORT VspStatus vspsLogGaussSingle_32f(const Vsp32f* s, const Vsp32f* m, const Vsp32f* v, Vsp32s n, Vsp32f* d, Vsp32f g) { return single<float, FinishHalf, true>(s, m, v, n, d, g, 0); }
VSP_EXPORT VspStatus vspsLogGaussSingle_32f64f(const Vsp32f* s, const Vsp32f* m, const Vsp32f* v, Vsp32s n, Vsp64f* d, Vsp64f g) { return single<double, FinishHalf, true>(s, m, v, n, d, g, 0); }
VSP_EXPORT VspStatus vspsLogGaussSingle_64f(const Vsp64f* s, const Vsp64f* m, const Vsp64f* v, Vsp32s n, Vsp64f* d, Vsp64f g) { return single<double, FinishHalf, true>(s, m, v, n, d, g, 0); }
VSP_EXPORT VspStatus vspsLogGaussSingle_16s32s_Sfs(const Vsp16s* s, const Vsp16s* m, const Vsp16s* v, Vsp32s n, Vsp32s* d, Vsp32s g, Vsp32s sf) { return single<int64_t, FinishIntSat, true>(s, m, v, n, d, g, sf); }
VSP_EXPORT VspStatus vspsLogGaussSingle_Low_16s32s_Sfs(const Vsp16s* s, const Vsp16s* m, const Vsp16s* v, Vsp32s n, Vsp32s* d, Vsp32s g, Vsp32s sf) { return single<int64_t, FinishIntLow, true>(s, m, v, n, d, g, sf); }
VSP_EXPORT VspStatus vspsLogGaussSingle_Scaled_16s32f(const Vsp16s* s, const Vsp16s* m, const Vsp16s* v, Vsp32s n, Vsp32f* d, Vsp32f g, Vsp32s sf) { return single<float, FinishScaled, true>(s, m, v, n, d, g, sf); }
VSP_EXPORT VspStatus vspsLogGaussSingle_LowScaled_16s32f(const Vsp16s* s, const Vsp16s* m, const Vsp16s* v, Vsp32s n, Vsp32f* d, Vsp32f g, Vsp32s sf) { return single<float, FinishLowScaled, true>(s, m, v, n, d, g, sf); }

VSP_EXPORT VspStatus vspsLogGaussSingle_IdVar_32f(const Vsp32f* s, const Vsp32f* m, Vsp32s n, Vsp32f* d, Vsp32f g) { return single<float, FinishHalf, false>(s, m, nullptr, n, d, g, 0); }
VSP_EXPORT VspStatus vspsLogGaussSingle_IdVar_32f64f(const Vsp32f* s, const Vsp32f* m, Vsp32s n, Vsp64f* d, Vsp64f g) { return single<double, FinishHalf, false>(s, m, nullptr, n, d, g, 0); }
VSP_EXPORT VspStatus vspsLogGaussSingle_IdVar_64f(const Vsp64f* s, const Vsp64f* m, Vsp32s n, Vsp64f* d, Vsp64f g) { return single<double, FinishHalf, false>(s, m, nullptr, n, d, g, 0); }
VSP_EXPORT VspStatus vspsLogGaussSingle_IdVar_16s32s_Sfs(const Vsp16s* s, const Vsp16s* m, Vsp32s n, Vsp32s* d, Vsp32s g, Vsp32s sf) { return single<int64_t, FinishIntSat, false>(s, m, nullptr, n, d, g, sf); }
VSP_EXPORT VspStatus vspsLogGaussSingle_IdVarLow_16s32s_Sfs(const Vsp16s* s, const Vsp16s* m, Vsp32s n, Vsp32s* d, Vsp32s g, Vsp32s sf) { return single<int64_t, FinishIntLow, false>(s, m, nullptr, n, d, g, sf); }
VSP_EXPORT VspStatus vspsLogGaussSingle_IdVarScaled_16s32f(const Vsp16s* s, const Vsp16s* m, Vsp32s n, Vsp32f* d, Vsp32f g, Vsp32s sf) { return single<float, FinishScaled, false>(s, m, nullptr, n, d, g, sf); }
VSP_EXPORT VspStatus vspsLogGaussSingle_IdVarLowScaled_16s32f(const Vsp16s* s, const Vsp16s* m, Vsp32s n, Vsp32f* d, Vsp32f g, Vsp32s sf) { return single<float, FinishLowScaled, false>(s, m, nullptr, n, d, g, sf); }

VSP_EXPORT VspStatus vspsLogGaussSingle_DirectVar_32f(const Vsp32f* s, const Vsp32f* m, const Vsp32f* v, Vsp32s n, Vsp32f* d, Vsp32f g) { return directVar<double, FinishHalf>(s, m, v, n, d, g, 0); }
VSP_EXPORT VspStatus vspsLogGaussSingle_DirectVar_32f64f(const Vsp32f* s, const Vsp32f* m, const Vsp32f* v, Vsp32s n, Vsp64f* d, Vsp64f g) { return directVar<double, FinishHalf>(s, m, v, n, d, g, 0); }
VSP_EXPORT VspStatus vspsLogGaussSingle_DirectVar_64f(const Vsp64f* s, const Vsp64f* m, const Vsp64f* v, Vsp32s n, Vsp64f* d, Vsp64f g) { return directVar<double, FinishHalf>(s, m, v, n, d, g, 0); }
VSP_EXPORT VspStatus vspsLogGaussSingle_DirectVar_16s32s_Sfs(const Vsp16s* s, const Vsp16s* m, const Vsp16s* v, Vsp32s n, Vsp32s* d, Vsp32s g, Vsp32s sf) { return directVar16s(s, m, v, n, d, g, sf); }
VSP_EXPORT VspStatus vspsLogGaussSingle_DirectVarScaled_16s32f(const Vsp16s* s, const Vsp16s* m, const Vsp16s* v, Vsp32s n, Vsp32f* d, Vsp32f g, Vsp32s sf) { return directVar<float, FinishDirectScaled>(s, m, v, n, d, g, sf); }

VSP_EXPORT VspStatus vspsLogGaussSingle_BlockDVar_32f(const Vsp32f* s, const Vsp32f* m, const VspBlockDMatrix* b, Vsp32s n, Vsp32f* d, Vsp32f g) { return blockDVar<BlockF32>(s, m, b, n, d, g, 0); }
VSP_EXPORT VspStatus vspsLogGaussSingle_BlockDVar_32f64f(const Vsp32f* s, const Vsp32f* m, const VspBlockDMatrix* b, Vsp32s n, Vsp64f* d, Vsp64f g) { return blockDVar<BlockF64>(s, m, b, n, d, g, 0); }
VSP_EXPORT VspStatus vspsLogGaussSingle_BlockDVar_64f(const Vsp64f* s, const Vsp64f* m, const VspBlockDMatrix* b, Vsp32s n, Vsp64f* d, Vsp64f g) { return blockDVar<BlockF64>(s, m, b, n, d, g, 0); }
VSP_EXPORT VspStatus vspsLogGaussSingle_BlockDVar_16s32s_Sfs(const Vsp16s* s, const Vsp16s* m, const VspBlockDMatrix* b, Vsp32s n, Vsp32s* d, Vsp32s g, Vsp32s sf) { return blockDVar<Block16s32s>(s, m, b, n, d, g, sf); }
VSP_EXPORT VspStatus vspsLogGaussSingle_BlockDVarScaled_16s32f(const Vsp16s* s, const Vsp16s* m, const VspBlockDMatrix* b, Vsp32s n, Vsp32f* d, Vsp32f g, Vsp32s sf) { return blockDVar<Block16s32f>(s, m, b, n, d, g, sf); }

VSP_EXPORT VspStatus vspsMahDistSingle_32f(const Vsp32f* s, const Vsp32f* m, const Vsp32f* v, Vsp32s n, Vsp32f* d) { return single<float, FinishSum, true>(s, m, v, n, d, 0.0f, 0); }
VSP_EXPORT VspStatus vspsMahDistSingle_32f64f(const Vsp32f* s, const Vsp32f* m, const Vsp32f* v, Vsp32s n, Vsp64f* d) { return single<double, FinishSum, true>(s, m, v, n, d, 0.0, 0); }
VSP_EXPORT VspStatus vspsMahDistSingle_64f(const Vsp64f* s, const Vsp64f* m, const Vsp64f* v, Vsp32s n, Vsp64f* d) { return single<double, FinishSum, true>(s, m, v, n, d, 0.0, 0); }
VSP_EXPORT VspStatus vspsMahDistSingle_16s32f(const Vsp16s* s, const Vsp16s* m, const Vsp16s* v, Vsp32s n, Vsp32f* d) { return single<float, FinishSum, true>(s, m, v, n, d, 0.0f, 0); }
VSP_EXPORT VspStatus vspsMahDistSingle_16s32s_Sfs(const Vsp16s* s, const Vsp16s* m, const Vsp16s* v, Vsp32s n, Vsp32s* d, Vsp32s sf) { return single<int64_t, FinishIntDist, true>(s, m, v, n, d, 0, sf); }
// clang-format on
