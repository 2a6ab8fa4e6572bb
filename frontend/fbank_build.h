// How filter bank objects are built: the element-type policies, the layout
// of a bank's pieces, the centres of each kind of bank and the triangle
// weights. Used by the constructors in fbank.cpp; the Aurora banks may use
// the row and weight helpers.
#pragma once

#include "frame/fixed.h"
#include "frontend/fbank.h"
#include "frontend/fft.h"

VSP_NS_BEGIN

// ---- Element-type policies -------------------------------------------------------------

struct FBank32f {
  using State = VspFBankState_32f;
  using Weight = float;
  using Obj = VspFftSpec_32f;
  static constexpr int32_t kCoeffShift = 0;
  // A ratio of Mel distances.
  static float ratio(float num, float den) { return num / den; }
  // A ratio of bin counts, a / b with 0 < a <= b (or a degenerate run).
  static float binRatio(int64_t a, int64_t b) { return float(a) / float(b); }
  static float clampLow(float w) { return w < 0.0f ? 0.0f : w; }
  static float toFloat(float w) { return w; }
  static float fromFloat(float f) { return f; }
  static VspStatus specGetSize(int32_t order, int32_t* fftObj, int32_t* init, int32_t* work) {
    return fftSpecGetSize(order, 8, 0, fftObj, init, work);
  }
  static VspStatus specInit(Obj** s, int32_t order, void* mem) {
    return fftSpecInit(s, order, 8, 0, mem, nullptr);
  }
  static VspStatus specInitAlloc(Obj** s, int32_t order) {
    return fftSpecInitAlloc(s, order, 8, 0);
  }
  static VspStatus specFree(Obj* s) { return fftSpecFree(s); }
};

struct FBank16s {
  using State = VspFBankState_16s;
  using Weight = int32_t;  // weight times 16384
  using Obj = VspFftSpec_16s;
  static constexpr int32_t kCoeffShift = 14;
  // The float expression times 16384 ahead of the division, truncated.
  static int32_t ratio(float num, float den) { return f32ToS32Clamp((num * 16384.0f) / den); }
  static int32_t binRatio(int64_t a, int64_t b) { return low32((a << 14) / b); }
  static int32_t clampLow(int32_t w) { return w < 0 ? 0 : w; }
  static float toFloat(int32_t w) { return float(w) * 6.1035156e-5f; }
  static int32_t fromFloat(float f) { return f32ToS32Clamp(f * 16384.0f); }
  static VspStatus specGetSize(int32_t order, int32_t* fftObj, int32_t* init, int32_t* work) {
    return fftSpecGetSize_16s(order, 8, 0, fftObj, init, work);
  }
  static VspStatus specInit(Obj** s, int32_t order, void* mem) {
    return fftSpecInit_16s(s, order, 8, 0, mem, nullptr);
  }
  static VspStatus specInitAlloc(Obj** s, int32_t order) {
    return fftSpecInitAlloc_16s(s, order, 8, 0);
  }
  static VspStatus specFree(Obj* s) { return fftSpecFree_16s(s); }
};

// ---- Rows --------------------------------------------------------------------------------

// The rows of one bank as the weight routines see them.
template <class Weight>
struct FBankRows {
  const int32_t* centers;
  Weight** rise;
  Weight** fall;
  int64_t riseCap, fallCap;
};

// Writes filter j's weights: rise(k) for bins riseFrom .. c1, fall(k) for
// c1 + 1 .. c2, each clipped to its row (fbankRun). Rows are zero before.
template <class Weight, class Rise, class Fall>
void fbankFillFilter(const FBankRows<Weight>& b, int32_t j, int64_t riseFrom, Rise rise,
                     Fall fall) {
  const int64_t c0 = b.centers[j - 1], c1 = b.centers[j], c2 = b.centers[j + 1];
  constexpr int64_t kAnyBin = INT64_MAX / 4;
  const FBankRun r = fbankRun(riseFrom, c1, c0, b.riseCap, kAnyBin);
  Weight* rr = b.rise[j - 1];
  for (int64_t k = r.first; k <= r.last; ++k) rr[k - c0] = rise(k, c0, c1, c2);
  const FBankRun f = fbankRun(c1 + 1, c2, c1 + 1, b.fallCap, kAnyBin);
  Weight* fr = b.fall[j - 1];
  for (int64_t k = f.first; k <= f.last; ++k) fr[k - c1 - 1] = fall(k, c0, c1, c2);
}

// Bin weights: rising (k - c0 + 1) / (c1 - c0 + 1), reaching 1 at the centre;
// falling (c2 - k + 1) / (c2 - c1 + 1), never reaching 0.
template <class P, class Weight>
void fbankBinWeights(const FBankRows<Weight>& b, int32_t j, bool clamp) {
  fbankFillFilter(
      b, j, b.centers[j - 1],
      [&](int64_t k, int64_t c0, int64_t c1, int64_t) {
        const Weight w = P::binRatio(k - c0 + 1, c1 - c0 + 1);
        return clamp ? P::clampLow(w) : w;
      },
      [&](int64_t k, int64_t, int64_t c1, int64_t c2) {
        const Weight w = P::binRatio(c2 - k + 1, c2 - c1 + 1);
        return clamp ? P::clampLow(w) : w;
      });
}

// ---- Mel arithmetic ----------------------------------------------------------------------

// The Mel value of a band edge: melMul * ln(float(f / melDiv + 1)), the
// logarithm in double, rounded to float.
inline float fbankMelOfEdge(float f, float melMul, float melDiv) {
  return float(double(melMul) * __builtin_log(double(float(f / melDiv + 1.0f))));
}
// The Mel value of bin k: melMul * ln(k * (sampleRate / N) / melDiv + 1).
inline float fbankMelOfBin(int64_t k, float binHz, float melMul, float melDiv) {
  return float(double(melMul) * __builtin_log(double(float(k) * binHz / melDiv) + 1.0));
}
// A bin position to a centre: truncated (Mel weights) or rounded to nearest
// with ties to even (bin weights), saturating; NaN gives the most negative
// value, as the conversion instructions do.
inline int32_t fbankCentre(float bin, bool nearest) {
  if (nearest) bin = roundHalfEven(bin);
  if (bin >= 2147483648.0f) return INT32_MAX;
  return truncToS32(bin);
}

VSP_NS_END
