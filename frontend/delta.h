// Delta features, written once over three choices: the element arithmetic
// (float, or 16-bit with 32-bit intermediates and a scale-factor shift), the
// regression window (Win1, Win2, Aurora) with the derivatives a member makes,
// and where the scales come from (scalars or per-column multipliers).
//
// Streaming keeps no state of its own: the rows a window still needs from the
// previous call are the top rows of this call's output, put there by the
// caller. A call writes its statics, then every delta whose window is now
// complete, then every second derivative whose window is. Windows are read
// through row indices clamped to the rows present, which is the "missing
// frame is the nearest one" rule at the true ends of an utterance; away from
// them the ranges below never need the clamp.
#pragma once

#include "frame/base.h"
#include "frame/check.h"
#include "frame/fixed.h"
#include "frame/scale.h"

VSP_NS_BEGIN
namespace delta {

// ---- Element arithmetic ------------------------------------------------------------

// Float: products and differences in single precision.
struct Flt {
  using T = float;
  using Acc = float;
  using S = float;
  static VSP_ALWAYS_INLINE float finish(float raw, float s, int32_t) { return raw * s; }
  static VSP_ALWAYS_INLINE float mulAdd(float acc, int32_t i, float d) {
    return acc + float(i) * d;
  }
};

// 16-bit: differences in 32 bits, times the scale with 32-bit wrap-around,
// shifted by the scale factor without rounding, then saturated.
struct Fix {
  using T = int16_t;
  using Acc = int32_t;
  using S = int16_t;
  static VSP_ALWAYS_INLINE int16_t finish(int32_t raw, int16_t s, int32_t sf) {
    return sat16(shiftByScaleLow5(wrapMul32(raw, s), sf));
  }
  static VSP_ALWAYS_INLINE int32_t mulAdd(int32_t acc, int32_t i, int32_t d) {
    return wrapAdd32(acc, wrapMul32(i, d));
  }
};

// ---- Scales ------------------------------------------------------------------------

template <class S>
struct Scalar {
  S v;
  S at(int32_t) const { return v; }
};
template <class S>
struct PerColumn {
  const S* m;
  S at(int32_t c) const { return m[c]; }
};

// Statics: copied unchanged, or times the first multiplier row (rescaled in
// the 16-bit members like every other product).
struct CopyStatic {
  template <class A>
  static typename A::T at(typename A::T x, int32_t, int32_t) {
    return x;
  }
};
template <class S>
struct MulStatic {
  const S* m;
  template <class A>
  typename A::T at(typename A::T x, int32_t c, int32_t sf) const {
    return A::finish(typename A::Acc(x), m[c], sf);
  }
};

// The scale sets of the two member kinds: scalars (no multiplier pointer),
// or multiplier rows of `width`, one per block.
template <class S>
struct ScalarScales {
  S first, second;
  bool nullArg() const { return false; }
  CopyStatic statics() const { return {}; }
  Scalar<S> forFirst() const { return {first}; }
  Scalar<S> forSecond() const { return {second}; }
};
template <class S>
struct MulScales {
  const S* m;
  int32_t width;
  bool nullArg() const { return m == nullptr; }
  MulStatic<S> statics() const { return {m}; }
  PerColumn<S> forFirst() const { return {m + width}; }
  PerColumn<S> forSecond() const { return {m + 2 * int64_t(width)}; }
};

// ---- Windows -------------------------------------------------------------------------
//
// at(q, c, s, sf): the output for column c, where q[k] (k from -L to L) is
// the row that frame t + k stands for, already clamped.

template <class A>
struct Win1 {
  static constexpr int L = 1;
  using T = typename A::T;
  using Acc = typename A::Acc;
  static VSP_ALWAYS_INLINE T at(const T* const* q, int32_t c, typename A::S s, int32_t sf) {
    return A::finish(Acc(q[1][c]) - Acc(q[-1][c]), s, sf);
  }
};

template <class A>
struct Win2 {
  static constexpr int L = 2;
  using T = typename A::T;
  using Acc = typename A::Acc;
  static VSP_ALWAYS_INLINE T at(const T* const* q, int32_t c, typename A::S s, int32_t sf) {
    const Acc near = Acc(q[1][c]) - Acc(q[-1][c]);
    const Acc far = Acc(q[2][c]) - Acc(q[-2][c]);
    return A::finish(near + Acc(2) * far, s, sf);
  }
};

// Nine-frame regressions. The delta weights are k / 4; in 16 bits they are
// the integers k, and the quarter goes into the shift. The second derivative
// has no such integer form: it is summed in float with the float weights in
// both element types, and the 16-bit result is scaled, clamped and truncated.
inline constexpr float kAuroraDelta[9] = {-1.0f, -0.75f, -0.5f, -0.25f, 0.0f,
                                          0.25f, 0.5f,   0.75f, 1.0f};
inline constexpr float kAuroraSecond[9] = {
    1.0f, 0.25f, -0.285714f, -0.607143f, -0.714286f, -0.607143f, -0.285714f, 0.25f, 1.0f};

template <class A>
struct AuroraDelta {
  static constexpr int L = 4;
  using T = typename A::T;
  static VSP_ALWAYS_INLINE T at(const T* const* q, int32_t c, typename A::S s, int32_t sf) {
    if constexpr (sizeof(T) == sizeof(float)) {
      float acc = 0.0f;
      for (int k = -4; k <= 4; ++k) acc += kAuroraDelta[k + 4] * q[k][c];
      return A::finish(acc, s, sf);
    } else {
      int32_t acc = 0;
      for (int k = -4; k <= 4; ++k) acc += k * int32_t(q[k][c]);
      return sat16(shiftByScaleLow5(wrapMul32(acc, s), int64_t(sf) + 2));
    }
  }
};

template <class A>
struct AuroraSecond {
  static constexpr int L = 4;
  using T = typename A::T;
  static VSP_ALWAYS_INLINE T at(const T* const* q, int32_t c, typename A::S s, int32_t sf) {
    float acc = 0.0f;
    for (int k = -4; k <= 4; ++k) acc += kAuroraSecond[k + 4] * float(q[k][c]);
    if constexpr (sizeof(T) == sizeof(float))
      return A::finish(acc, s, sf);
    else
      return f32ToS16Sat(acc * float(s) * scale32(sf));
  }
};

// ---- What each member makes --------------------------------------------------------
//
// kHistory: rows a continuing call needs above its new ones (and frames that
// vspDeltaBegin consumes). Reach: how many rows past its own an output's
// value depends on, counted in statics; a block is complete up to n - reach.

template <template <class> class Win>
struct DeltaOnly {
  template <class A>
  using First = Win<A>;
  template <class A>
  using Second = Win<A>;  // unused
  static constexpr int L = Win<Flt>::L;
  static constexpr int kBlocks = 2, kHistory = 2 * L, kFirstReach = L;
  static constexpr int kSecondSource = -1, kSecondReach = 0;
  static constexpr bool kFixedWidth = false;
};

// The second derivative is the same window over the deltas.
template <template <class> class Win>
struct DeltaAndSecond {
  template <class A>
  using First = Win<A>;
  template <class A>
  using Second = Win<A>;
  static constexpr int L = Win<Flt>::L;
  static constexpr int kBlocks = 3, kHistory = 3 * L, kFirstReach = L;
  static constexpr int kSecondSource = 1, kSecondReach = 2 * L;
  static constexpr bool kFixedWidth = false;
};

// Both derivatives straight from the statics; 13 columns read from source
// rows of 14.
struct Aurora {
  template <class A>
  using First = AuroraDelta<A>;
  template <class A>
  using Second = AuroraSecond<A>;
  static constexpr int kBlocks = 3, kHistory = 8, kFirstReach = 4;
  static constexpr int kSecondSource = 0, kSecondReach = 4;
  static constexpr bool kFixedWidth = true;
  static constexpr int32_t kWidth = 13, kSrcStep = 14;
};

// ---- The streaming kernel ----------------------------------------------------------------

template <class T>
VSP_ALWAYS_INLINE T* rowOf(T* base, int64_t step, int64_t i) {
  return base + i * step;
}

// One output row: no input row overlaps the output block.
template <class A, class Win, class Scale>
void windowRow(const typename A::T* const* q, typename A::T* __restrict out, int32_t width,
               Scale sc, int32_t sf) {
  for (int32_t c = 0; c < width; ++c) out[c] = Win::at(q, c, sc.at(c), sf);
}

// Block `to` of rows [from, end) from block `source` of the rows around them.
template <class A, class Win, class Scale>
void windowBlock(typename A::T* dst, int64_t step, int64_t rows, int64_t from, int64_t end,
                 int32_t width, int32_t source, int32_t to, Scale sc, int32_t sf) {
  using T = typename A::T;
  constexpr int L = Win::L;
  for (int64_t t = from; t < end; ++t) {
    const T* q[2 * L + 1];
    for (int k = -L; k <= L; ++k) {
      const int64_t i = t + k < 0 ? 0 : t + k >= rows ? rows - 1 : t + k;
      q[k + L] = rowOf(dst, step, i) + int64_t(source) * width;
    }
    windowRow<A, Win>(q + L, rowOf(dst, step, t) + int64_t(to) * width, width, sc, sf);
  }
}

template <class A, class Shape, class Scales>
VspStatus stream(const typename A::T* src, int32_t width, typename A::T* dst, int32_t dstStep,
                 int32_t height, int32_t mode, const Scales& sc, int32_t sf) {
  if (anyNull(src, dst) || sc.nullArg()) return vspStatusNullPointer;
  const bool begin = (mode & vspDeltaBegin) != 0, end = (mode & vspDeltaEnd) != 0;
  if (width < 1 || height < 0 || (height == 0 && !end)) return vspStatusBadSize;
  if (int64_t(dstStep) < int64_t(Shape::kBlocks) * width) return vspStatusBadStep;
  if (begin && height < Shape::kHistory) return vspStatusBadSize;

  int64_t srcStep = width;
  if constexpr (Shape::kFixedWidth) srcStep = Shape::kSrcStep;
  const int64_t step = dstStep;
  const int64_t first = begin ? 0 : Shape::kHistory;  // dst row of src row 0
  const int64_t rows = first + height;

  const auto statics = sc.statics();
  for (int64_t r = 0; r < height; ++r) {
    const typename A::T* in = src + r * srcStep;
    typename A::T* __restrict out = rowOf(dst, step, first + r);
    for (int32_t c = 0; c < width; ++c) out[c] = statics.template at<A>(in[c], c, sf);
  }

  // Rows whose block was completed earlier are left alone; the last `reach`
  // rows wait for more frames unless the utterance ends here.
  auto range = [&](int reach, int64_t* from, int64_t* to) {
    *from = begin ? 0 : Shape::kHistory - reach;
    *to = end ? rows : rows - reach;
  };
  int64_t from, to;
  range(Shape::kFirstReach, &from, &to);
  windowBlock<A, typename Shape::template First<A>>(dst, step, rows, from, to, width, 0, 1,
                                                    sc.forFirst(), sf);
  if constexpr (Shape::kBlocks == 3) {
    range(Shape::kSecondReach, &from, &to);
    windowBlock<A, typename Shape::template Second<A>>(dst, step, rows, from, to, width,
                                                       Shape::kSecondSource, 2, sc.forSecond(), sf);
  }
  return vspStatusOk;
}

// ---- Batch deltas in place -------------------------------------------------------------
//
// Columns go in chunks through a local accumulator so that the sum over the
// window runs across columns and the 16-bit members keep 32-bit sums.
template <class A, class Scale>
VspStatus evalDelta(typename A::T* srcDst, int32_t height, int32_t step, const Scale& sc,
                    bool nullScale, int32_t width, int32_t offset, int32_t window, int32_t sf) {
  using T = typename A::T;
  using Acc = typename A::Acc;
  if (anyNull(srcDst) || nullScale) return vspStatusNullPointer;
  if (height < 1 || width < 1 || window < 1 || offset < 0 || height < 2 * int64_t(window))
    return vspStatusBadSize;
  if (int64_t(step) < int64_t(offset) + 2 * int64_t(width)) return vspStatusBadStep;

  constexpr int32_t kChunk = 64;
  for (int64_t t = 0; t < height; ++t) {
    // Near the start the whole past side is row 0, near the end the whole
    // future side is the last row, even for lags inside the matrix.
    const bool pastIsFirst = t < window, futureIsLast = t >= int64_t(height) - window;
    T* out = rowOf(srcDst, step, t) + offset + width;
    for (int32_t c0 = 0; c0 < width; c0 += kChunk) {
      const int32_t n = width - c0 < kChunk ? width - c0 : kChunk;
      Acc acc[kChunk];
      for (int32_t c = 0; c < n; ++c) acc[c] = Acc(0);
      for (int32_t i = 1; i <= window; ++i) {
        const T* a = rowOf(srcDst, step, futureIsLast ? height - 1 : t + i) + offset + c0;
        const T* b = rowOf(srcDst, step, pastIsFirst ? 0 : t - i) + offset + c0;
        for (int32_t c = 0; c < n; ++c) acc[c] = A::mulAdd(acc[c], i, Acc(a[c]) - Acc(b[c]));
      }
      for (int32_t c = 0; c < n; ++c) out[c0 + c] = A::finish(acc[c], sc.at(c0 + c), sf);
    }
  }
  return vspStatusOk;
}

}  // namespace delta
VSP_NS_END
