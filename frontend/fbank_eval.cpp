// Filter bank evaluation: one value per filter from a spectrum, or from a
// time signal that the bank transforms first (vspFBankTransformInput).
#include "frame/check.h"
#include "frame/fixed.h"
#include "frontend/fbank.h"
#include "frontend/fft.h"

VSP_NS_BEGIN

namespace {

// The two runs of filter j, clipped (fbankRun) to the rows and to the
// spectrum's bins 0 .. topBin.
struct FilterRuns {
  FBankRun rise, fall;
};
template <class State>
FilterRuns runsOf(const State* s, int32_t j, int64_t topBin) {
  const int64_t c0 = s->centers[j - 1], c1 = s->centers[j], c2 = s->centers[j + 1];
  return {fbankRun(c0, c1, c0, s->riseCap, topBin),
          fbankRun(c1 + 1, c2, c1 + 1, s->fallCap, topBin)};
}

// The highest bin a filter may read: the last centre, within the N/2 + 1
// bins of the spectrum. For centres that pass the validation this is the
// last centre itself.
template <class State>
int64_t topBinOf(const State* s, int64_t bins) {
  const int64_t last = s->centers[int64_t(s->filterCount) + 1];
  return last < bins - 1 ? last : bins - 1;
}

// Float: one sum over each side in ascending bin order, then their sum.
void filter32f(const VspFBankState_32f* s, const float* x, float* dst, int64_t topBin) {
  for (int32_t j = 1; j <= s->filterCount; ++j) {
    const FilterRuns r = runsOf(s, j, topBin);
    const float* rise = s->riseRows[j - 1];
    const float* fall = s->fallRows[j - 1];
    float a = 0.0f, b = 0.0f;
    for (int64_t k = r.rise.first; k <= r.rise.last; ++k) a += rise[k - r.rise.base] * x[k];
    for (int64_t k = r.fall.first; k <= r.fall.last; ++k) b += fall[k - r.fall.base] * x[k];
    dst[j - 1] = a + b;
  }
}

// Integer products: in 64 bits, or in 32 bits with wrap-around and then
// sign-extended (vspsEvalFBank_16s_Sfs on the transform path).
struct Product64 {
  static int64_t mul(int32_t w, int64_t x) { return int64_t(w) * x; }
};
struct Product32Wrap {
  static int64_t mul(int32_t w, int64_t x) { return wrapMul32(w, low32(x)); }
};
inline int16_t saturateTo(int16_t*, int64_t v) { return sat16(v); }
inline int32_t saturateTo(int32_t*, int64_t v) { return sat32(v); }

// One 64-bit accumulator over both sides, shifted by `shift` (only its low
// six bits count) and saturated to the output type.
template <class Product, class X, class Out>
void filterInt(const VspFBankState_16s* s, const X* x, Out* dst, int64_t shift, int64_t topBin) {
  for (int32_t j = 1; j <= s->filterCount; ++j) {
    const FilterRuns r = runsOf(s, j, topBin);
    const int32_t* rise = s->riseRows[j - 1];
    const int32_t* fall = s->fallRows[j - 1];
    int64_t acc = 0;
    for (int64_t k = r.rise.first; k <= r.rise.last; ++k)
      acc = wrapAdd64(acc, Product::mul(rise[k - r.rise.base], x[k]));
    for (int64_t k = r.fall.first; k <= r.fall.last; ++k)
      acc = wrapAdd64(acc, Product::mul(fall[k - r.fall.base], x[k]));
    dst[j - 1] = saturateTo(dst, shiftByScale64(acc, shift));
  }
}

template <class State>
VspStatus checkEval(const void* src, const void* dst, const State* s) {
  if (anyNull(src, dst, s) || !s->centers) return vspStatusNullPointer;
  if (!s->centersReady) return vspStatusFilterBankNotReady;
  // Pieces that only a failed construction can lack; such an object is
  // never ready through its constructor.
  if (!s->riseRows || !s->fallRows) return vspStatusNullPointer;
  if ((s->flags & vspFBankTransformInput) && (!s->fftSpec || !s->fftWork))
    return vspStatusNullPointer;
  return vspStatusOk;
}

// The transform's own work area, behind the 2N + 20 elements.
inline void* transformWork(void* fftWork, int64_t n) {
  return static_cast<unsigned char*>(fftWork) + fbankWorkBytes(n, 0);
}

VspStatus eval32f(const float* src, float* dst, VspFBankState_32f* s) {
  const VspStatus st = checkEval(src, dst, s);
  if (st != vspStatusOk) return st;
  const int64_t n = s->fftLen, topBin = topBinOf(s, n / 2 + 1);
  if (!(s->flags & vspFBankTransformInput)) {
    filter32f(s, src, dst, topBin);
    return vspStatusOk;
  }
  // The complex form at the start of the work buffer, the magnitudes behind
  // it. The transform cannot fail here (its object and work are the bank's);
  // its status would be ignored.
  const VspFftSpec_32f* fftObj = static_cast<const VspFftSpec_32f*>(s->fftSpec);
  float* work = static_cast<float*>(s->fftWork);
  float* mags = work + fbankMagnitudeOffset(n);
  fftForwardComplexForm(src, work, fftObj, fftObj->workSize > 0 ? transformWork(work, n) : nullptr);
  fftMagnitude(work, mags, int32_t(n / 2 + 1));
  filter32f(s, mags, dst, topBin);
  return vspStatusOk;
}

// `WrapOnTransform`: the 16-bit member's 32-bit products on the transform path.
template <bool WrapOnTransform, class Out>
VspStatus eval16s(const int16_t* src, Out* dst, VspFBankState_16s* s, int32_t scaleFactor) {
  const VspStatus st = checkEval(src, dst, s);
  if (st != vspStatusOk) return st;
  const int64_t n = s->fftLen, topBin = topBinOf(s, n / 2 + 1);
  const int64_t shift = int64_t(scaleFactor) + s->coeffShift;
  if (!(s->flags & vspFBankTransformInput)) {
    filterInt<Product64>(s, src, dst, shift, topBin);
    return vspStatusOk;
  }
  // Each magnitude at 64 times its size: the transform gives eight times the
  // spectrum, the magnitude eight times that.
  const VspFftSpec_16s* fftObj = static_cast<const VspFftSpec_16s*>(s->fftSpec);
  int32_t* work = static_cast<int32_t*>(s->fftWork);
  int32_t* mags = work + fbankMagnitudeOffset(n);
  fftForward_16s(src, work, fftObj, -3, transformWork(work, n));
  fftMagnitudeScaled_32s(work, mags, int32_t(n / 2 + 1), -3);
  if (WrapOnTransform)
    filterInt<Product32Wrap>(s, mags, dst, shift + 6, topBin);
  else
    filterInt<Product64>(s, mags, dst, shift + 6, topBin);
  return vspStatusOk;
}

// Weights in Q30: each product loses 8 bits before it is added, each side has
// its own sum, and the total is scaled and rounded half up from Q22.
VspStatus eval32s(const int32_t* src, int32_t* dst, const VspFBankState_32s* s,
                  int32_t scaleFactor) {
  if (anyNull(src, dst, s)) return vspStatusNullPointer;
  if (scaleFactor < -31 || scaleFactor > 31) return vspStatusOutOfRange;
  if (!s->centers || !s->riseRows || !s->fallRows) return vspStatusNullPointer;
  const int64_t topBin = topBinOf(s, s->binCount);
  for (int32_t j = 1; j <= s->filterCount; ++j) {
    const FilterRuns r = runsOf(s, j, topBin);
    const int32_t* rise = s->riseRows[j - 1];
    const int32_t* fall = s->fallRows[j - 1];
    int64_t up = 0, down = 0;
    for (int64_t k = r.rise.first; k <= r.rise.last; ++k)
      up = wrapAdd64(up, sar64(int64_t(rise[k - r.rise.base]) * src[k], 8));
    for (int64_t k = r.fall.first; k <= r.fall.last; ++k)
      down = wrapAdd64(down, sar64(int64_t(fall[k - r.fall.base]) * src[k], 8));
    int64_t total = wrapAdd64(up, down);
    if (scaleFactor >= 0)
      total = sar64(total, uint32_t(scaleFactor));
    else
      total = total < (int64_t(1) << (63 + scaleFactor)) ? shl64(total, uint32_t(-scaleFactor))
                                                         : INT64_MAX;
    const int64_t v = sar64(total, 22) + (sar64(total, 21) & 1);
    dst[j - 1] = v > INT32_MAX ? INT32_MAX : low32(v);
  }
  return vspStatusOk;
}

}  // namespace

VSP_NS_END

VSP_EXPORT VspStatus vspsEvalFBank_32f(const Vsp32f* src, Vsp32f* dst, VspFBankState_32f* state) {
  return vsp::eval32f(src, dst, state);
}
VSP_EXPORT VspStatus vspsEvalFBank_16s_Sfs(const Vsp16s* src, Vsp16s* dst, VspFBankState_16s* state,
                                           Vsp32s scaleFactor) {
  return vsp::eval16s<true>(src, dst, state, scaleFactor);
}
VSP_EXPORT VspStatus vspsEvalFBank_16s32s_Sfs(const Vsp16s* src, Vsp32s* dst,
                                              VspFBankState_16s* state, Vsp32s scaleFactor) {
  return vsp::eval16s<false>(src, dst, state, scaleFactor);
}
VSP_EXPORT VspStatus vspsEvalFBank_32s_Sfs(const Vsp32s* src, Vsp32s* dst,
                                           const VspFBankState_32s* state, Vsp32s scaleFactor) {
  return vsp::eval32s(src, dst, state, scaleFactor);
}
