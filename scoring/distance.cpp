// Distances between feature vectors and Gaussians, between two Gaussians,
// and the small vector steps that prepare values for the scoring loop.
//
// The weighted distances run on the scoring kernels: four rows a pass, the
// shared vector loaded once. In the Gaussian pairs, variances are true
// variances, not inverse ones.
#include <math.h>

#include "frame/check.h"
#include "frame/fixed.h"
#include "frame/rows.h"
#include "scoring/gauss_multimix.h"

VSP_NS_BEGIN

namespace {

// ---- Weighted squared distances --------------------------------------------------------
//
// The row kernels subtract every term from the accumulator's start. Started
// at zero, that is the negated sum (rounding is symmetric in sign), and
// 0 - acc turns it back with a zero distance positive. Frames against one
// Gaussian keep the single-observation order, so each distance is exactly
// what the single-observation member gives; many Gaussians against one
// frame take the free-order kernels.
template <class T>
struct DistScore {
  using In = T;
  using Acc = T;
  using Out = T;
  using G = T;
  explicit DistScore(int32_t) {}
  T init(T) const { return T(0); }
  T score(T acc, T) const { return T(0) - acc; }
};

// Many frames, one Gaussian.
template <class T, class Rows>
VspStatus mahDistRun(Rows src, const T* mean, const T* var, int32_t width, T* dst, int32_t height) {
  if (anyNull(mean, var, dst)) return vspStatusNullPointer;
  if (width < 1 || height < 1) return vspStatusBadSize;
  scoreFrames<Store>(hostTier(), DistScore<T>(0), src, mean, var, width, dst, height, T(0));
  return vspStatusOk;
}
template <class T>
VspStatus mahDistD2(const T* src, int32_t step, const T* mean, const T* var, int32_t width, T* dst,
                    int32_t height) {
  if (badStep(width, step)) return vspStatusBadStep;
  if (src == nullptr) return vspStatusNullPointer;
  return mahDistRun(steppedRows(src, step), mean, var, width, dst, height);
}
template <class T>
VspStatus mahDistD2L(const T* const* src, const T* mean, const T* var, int32_t width, T* dst,
                     int32_t height) {
  if (src == nullptr) return vspStatusNullPointer;
  return mahDistRun(pointerRows(src), mean, var, width, dst, height);
}

// One frame, many Gaussians.
template <class T, class Rows>
VspStatus mahDistMixRun(Rows means, Rows vars, const T* src, int32_t width, T* dst, int32_t count) {
  if (anyNull(src, dst)) return vspStatusNullPointer;
  if (width < 1 || count < 1) return vspStatusBadSize;
  scoreModels<DistScore<T>, FreeOrderSums>(hostTier(), DistScore<T>(0), src, means, vars, true,
                                           width, nullptr, count,
                                           [dst](int32_t k, T d) { dst[k] = d; });
  return vspStatusOk;
}
template <class T>
VspStatus mahDistMixD2(const T* means, const T* vars, int32_t step, const T* src, int32_t width,
                       T* dst, int32_t count) {
  if (badStep(width, step)) return vspStatusBadStep;
  if (anyNull(means, vars)) return vspStatusNullPointer;
  return mahDistMixRun(steppedRows(means, step), steppedRows(vars, step), src, width, dst, count);
}
template <class T>
VspStatus mahDistMixD2L(const T* const* means, const T* const* vars, const T* src, int32_t width,
                        T* dst, int32_t count) {
  if (anyNull(means, vars)) return vspStatusNullPointer;
  return mahDistMixRun(pointerRows(means), pointerRows(vars), src, width, dst, count);
}

// ---- Bhattacharyya distance of two diagonal Gaussians ---------------------------------------
//
// T is the precision of the pass: float (each logarithm taken in double and
// narrowed) or double. Log variances come from the caller (SLog) or are
// computed here.

// Element by element, in ascending order: a negative value anywhere in the
// element is reported before a near-zero one, and an element is settled
// before the next is looked at. The means are tested as the variances are.
template <class Out>
VspStatus bhatValidate(const float* m1, const float* v1, const float* m2, const float* v2,
                       int32_t len, Out* dst) {
  for (int32_t i = 0; i < len; ++i) {
    const float q[4] = {m1[i], v1[i], m2[i], v2[i]};
    if (q[0] < 0 || q[1] < 0 || q[2] < 0 || q[3] < 0) {
      *dst = Out(__builtin_nan(""));
      return vspWarningNegativeInLog;
    }
    for (float x : q)
      if (fabsf(x) < 1e-6f) {
        *dst = Out(__builtin_inf());
        return vspWarningZeroInLog;
      }
  }
  return vspStatusOk;
}

template <class T>
VSP_ALWAYS_INLINE T lnOf(double x) {
  return T(log(x));
}

template <class T, bool SumLogs, class Out>
VspStatus bhatDist(const float* m1, const float* v1, const float* m2, const float* v2, int32_t len,
                   Out* dst, float sumLogVar1, float sumLogVar2) {
  if (anyNull(m1, v1, m2, v2, dst)) return vspStatusNullPointer;
  if (len < 1) return vspStatusBadSize;
  const VspStatus st = bhatValidate(m1, v1, m2, v2, len, dst);
  if (st != vspStatusOk) return st;
  T a = 0, l = 0;  // l: the log-determinant part, or the sum of ln(s / 2) with SumLogs
  for (int32_t i = 0; i < len; ++i) {
    const T s = T(v1[i]) + T(v2[i]);
    const T d = T(m1[i]) - T(m2[i]);
    a += d * d / s;
    if (SumLogs)
      l += lnOf<T>(double(s) * 0.5);
    else
      l = (lnOf<T>(double(s) * 0.5) + l) - (lnOf<T>(v1[i]) + lnOf<T>(v2[i])) * T(0.5);
  }
  if (SumLogs) a -= T(sumLogVar1) + T(sumLogVar2);
  *dst = Out(a * T(0.25) + l * T(0.5));
  return vspStatusOk;
}

// ---- What a merge of two weighted Gaussians costs ------------------------------------------
//
// The moment-matched merge's variance, element by element in double; the
// total weight and the weighted constants in the element type.
template <class T>
VspStatus gaussianDist(const T* m1, const T* v1, const T* m2, const T* v2, int32_t len, T* dst,
                       T w1, T g1, T w2, T g2) {
  if (len < 1) return vspStatusBadSize;
  if (anyNull(m1, v1, m2, v2, dst)) return vspStatusNullPointer;
  const T w = w1 + w2;
  const double wd = w, w1d = w1, w2d = w2;
  double s = 0;
  for (int32_t i = 0; i < len; ++i) {
    const double a = m1[i], b = m2[i];
    const double p = (a * a + double(v1[i])) * w1d;
    const double m = (w1d * a + w2d * b) / wd;
    const double v = (p + (b * b + double(v2[i])) * w2d) / wd - m * m;
    if (v == 0) {
      *dst = T(__builtin_inf());
      return vspWarningZeroInLog;
    }
    if (v < 0) {
      *dst = T(__builtin_nan(""));
      return vspWarningNegativeInLog;
    }
    s -= log(v);
  }
  const T weighted = w1 * g1 + w2 * g2;
  *dst = T(double(weighted) - wd * (double(len) * 1.8378770664093 + s));  // ln(2 pi)
  return vspStatusOk;
}

// ---- Output-probability precomputation and language-model scaling ---------------------------

// src - halved / 2: in the element type for floats; for integers the halving
// rounds half up, all in 32 bits with wrap-around and no saturation.
VSP_ALWAYS_INLINE float minusHalf(float s, float h) { return s - h * 0.5f; }
VSP_ALWAYS_INLINE double minusHalf(double s, double h) { return s - h * 0.5; }
VSP_ALWAYS_INLINE int32_t minusHalf(int32_t s, int32_t h) {
  return wrapSub32(s, sar32(wrapAdd32(h, 1), 1));
}

template <class T>
VspStatus outProbPreCalc(const T* src, const T* halved, T* dst, int32_t len) {
  if (anyNull(src, halved, dst)) return vspStatusNullPointer;
  if (len < 1) return vspStatusBadSize;
  for (int32_t i = 0; i < len; ++i) dst[i] = minusHalf(src[i], halved[i]);
  return vspStatusOk;
}

VSP_ALWAYS_INLINE float mulAdd(float x, float mul, float add) { return x * mul + add; }
VSP_ALWAYS_INLINE int32_t mulAdd(int32_t x, int32_t mul, int32_t add) {
  return wrapAdd32(wrapMul32(x, mul), add);
}

// The floor wins unless the score compares greater, so a NaN score gives
// the floor.
template <class In, class Out>
VspStatus scaleLM(const In* src, Out* dst, int32_t len, In floorValue, In mul, Out add) {
  if (anyNull(src, dst)) return vspStatusNullPointer;
  if (len < 1) return vspStatusBadSize;
  for (int32_t i = 0; i < len; ++i)
    dst[i] = mulAdd(Out(src[i] > floorValue ? src[i] : floorValue), Out(mul), add);
  return vspStatusOk;
}

}  // namespace

VSP_NS_END

using namespace vsp;

// clang-format off
VSP_EXPORT VspStatus vspsMahDist_32f_D2(const Vsp32f* s, Vsp32s st, const Vsp32f* m, const Vsp32f* v, Vsp32s w, Vsp32f* d, Vsp32s h) { return mahDistD2(s, st, m, v, w, d, h); }
VSP_EXPORT VspStatus vspsMahDist_32f_D2L(const Vsp32f* const* s, const Vsp32f* m, const Vsp32f* v, Vsp32s w, Vsp32f* d, Vsp32s h) { return mahDistD2L(s, m, v, w, d, h); }
VSP_EXPORT VspStatus vspsMahDist_64f_D2(const Vsp64f* s, Vsp32s st, const Vsp64f* m, const Vsp64f* v, Vsp32s w, Vsp64f* d, Vsp32s h) { return mahDistD2(s, st, m, v, w, d, h); }
VSP_EXPORT VspStatus vspsMahDist_64f_D2L(const Vsp64f* const* s, const Vsp64f* m, const Vsp64f* v, Vsp32s w, Vsp64f* d, Vsp32s h) { return mahDistD2L(s, m, v, w, d, h); }
VSP_EXPORT VspStatus vspsMahDistMultiMix_32f_D2(const Vsp32f* m, const Vsp32f* v, Vsp32s st, const Vsp32f* s, Vsp32s w, Vsp32f* d, Vsp32s n) { return mahDistMixD2(m, v, st, s, w, d, n); }
VSP_EXPORT VspStatus vspsMahDistMultiMix_32f_D2L(const Vsp32f* const* m, const Vsp32f* const* v, const Vsp32f* s, Vsp32s w, Vsp32f* d, Vsp32s n) { return mahDistMixD2L(m, v, s, w, d, n); }
VSP_EXPORT VspStatus vspsMahDistMultiMix_64f_D2(const Vsp64f* m, const Vsp64f* v, Vsp32s st, const Vsp64f* s, Vsp32s w, Vsp64f* d, Vsp32s n) { return mahDistMixD2(m, v, st, s, w, d, n); }
VSP_EXPORT VspStatus vspsMahDistMultiMix_64f_D2L(const Vsp64f* const* m, const Vsp64f* const* v, const Vsp64f* s, Vsp32s w, Vsp64f* d, Vsp32s n) { return mahDistMixD2L(m, v, s, w, d, n); }

VSP_EXPORT VspStatus vspsBhatDist_32f(const Vsp32f* m1, const Vsp32f* v1, const Vsp32f* m2, const Vsp32f* v2, Vsp32s n, Vsp32f* d) { return bhatDist<float, false>(m1, v1, m2, v2, n, d, 0, 0); }
VSP_EXPORT VspStatus vspsBhatDist_32f64f(const Vsp32f* m1, const Vsp32f* v1, const Vsp32f* m2, const Vsp32f* v2, Vsp32s n, Vsp64f* d) { return bhatDist<double, false>(m1, v1, m2, v2, n, d, 0, 0); }
VSP_EXPORT VspStatus vspsBhatDistSLog_32f(const Vsp32f* m1, const Vsp32f* v1, const Vsp32f* m2, const Vsp32f* v2, Vsp32s n, Vsp32f* d, Vsp32f l1, Vsp32f l2) { return bhatDist<float, true>(m1, v1, m2, v2, n, d, l1, l2); }
VSP_EXPORT VspStatus vspsBhatDistSLog_32f64f(const Vsp32f* m1, const Vsp32f* v1, const Vsp32f* m2, const Vsp32f* v2, Vsp32s n, Vsp64f* d, Vsp32f l1, Vsp32f l2) { return bhatDist<double, true>(m1, v1, m2, v2, n, d, l1, l2); }

VSP_EXPORT VspStatus vspsGaussianDist_32f(const Vsp32f* m1, const Vsp32f* v1, const Vsp32f* m2, const Vsp32f* v2, Vsp32s n, Vsp32f* d, Vsp32f w1, Vsp32f g1, Vsp32f w2, Vsp32f g2) { return gaussianDist(m1, v1, m2, v2, n, d, w1, g1, w2, g2); }
VSP_EXPORT VspStatus vspsGaussianDist_64f(const Vsp64f* m1, const Vsp64f* v1, const Vsp64f* m2, const Vsp64f* v2, Vsp32s n, Vsp64f* d, Vsp64f w1, Vsp64f g1, Vsp64f w2, Vsp64f g2) { return gaussianDist(m1, v1, m2, v2, n, d, w1, g1, w2, g2); }

VSP_EXPORT VspStatus vspsOutProbPreCalc_32f(const Vsp32f* s, const Vsp32f* h, Vsp32f* d, Vsp32s n) { return outProbPreCalc(s, h, d, n); }
VSP_EXPORT VspStatus vspsOutProbPreCalc_32f_I(const Vsp32f* s, Vsp32f* sd, Vsp32s n) { return outProbPreCalc<Vsp32f>(s, sd, sd, n); }
VSP_EXPORT VspStatus vspsOutProbPreCalc_32s(const Vsp32s* s, const Vsp32s* h, Vsp32s* d, Vsp32s n) { return outProbPreCalc(s, h, d, n); }
VSP_EXPORT VspStatus vspsOutProbPreCalc_32s_I(const Vsp32s* s, Vsp32s* sd, Vsp32s n) { return outProbPreCalc<Vsp32s>(s, sd, sd, n); }
VSP_EXPORT VspStatus vspsOutProbPreCalc_64f(const Vsp64f* s, const Vsp64f* h, Vsp64f* d, Vsp32s n) { return outProbPreCalc(s, h, d, n); }
VSP_EXPORT VspStatus vspsOutProbPreCalc_64f_I(const Vsp64f* s, Vsp64f* sd, Vsp32s n) { return outProbPreCalc<Vsp64f>(s, sd, sd, n); }

VSP_EXPORT VspStatus vspsScaleLM_32f(const Vsp32f* s, Vsp32f* d, Vsp32s n, Vsp32f f, Vsp32f m, Vsp32f a) { return scaleLM(s, d, n, f, m, a); }
VSP_EXPORT VspStatus vspsScaleLM_16s32s(const Vsp16s* s, Vsp32s* d, Vsp32s n, Vsp16s f, Vsp16s m, Vsp32s a) { return scaleLM(s, d, n, f, m, a); }
// clang-format on
