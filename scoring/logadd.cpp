// Log-domain addition, subtraction and sums over a vector, in single and
// double precision and on scaled integers.
//
// These check the size before the pointers. They run per element in scalar
// double precision: the block families call the same pair step per row, and
// the tables keep exp and ln out of the additions.
#include <math.h>

#include "frame/check.h"
#include "frame/fixed.h"
#include "frame/scale.h"
#include "scoring/logadd.h"

VSP_NS_BEGIN

namespace {

// ---- Element forms -------------------------------------------------------------
//
// Floats are their own real value. Integers are read as I * 2^(-scaleFactor)
// in double, and stored back divided by the same factor, clamped in double
// and truncated.
struct Real32 {
  using T = float;
  static double in(float v, double) { return double(v); }
  static float out(double r, double) { return float(r); }
};
struct Real64 {
  using T = double;
  static double in(double v, double) { return v; }
  static double out(double r, double) { return r; }
};
struct Scaled16 {
  using T = int16_t;
  static double in(int16_t v, double s) { return double(v) * s; }
  static int16_t out(double r, double s) { return f64ToS16Sat(r / s); }
};
struct Scaled32 {
  using T = int32_t;
  static double in(int32_t v, double s) { return double(v) * s; }
  static int32_t out(double r, double s) { return f64ToS32Sat(r / s); }
};

// The hint's paths, as steps on real values.
template <class Poly, class Floor>
struct PolyPath {
  static double step(double a, double b) { return logadd::pairStep<Poly, Floor>(a, b); }
  static double fold(double run, double x) { return logadd::foldStep<Poly, Floor>(run, x); }
};
struct TablePathReal {
  static double step(double a, double b) { return logadd::tableStepReal(a, b); }
};
// The single-precision table path works on the floats themselves.
struct TablePath32 {
  static double step(double a, double b) { return logadd::tableStep32(float(a), float(b)); }
};

template <class E, class Path>
void logAddRun(const typename E::T* src, typename E::T* srcDst, int32_t len, double s) {
  for (int32_t i = 0; i < len; ++i)
    srcDst[i] = E::out(Path::step(E::in(src[i], s), E::in(srcDst[i], s)), s);
}

// FastPath and SlowPath are the hint's two paths; an unknown hint does
// nothing and is no failure.
template <class E, class SlowPath, class FastPath>
VspStatus logAdd(const typename E::T* src, typename E::T* srcDst, int32_t len, int32_t sf,
                 VspHint hint) {
  if (len < 1) return vspStatusBadSize;
  if (anyNull(src, srcDst)) return vspStatusNullPointer;
  const double s = scale64(sf);
  if (hint == vspHintDefault || hint == vspHintAccurate)
    logAddRun<E, SlowPath>(src, srcDst, len, s);
  else if (hint == vspHintFast)
    logAddRun<E, FastPath>(src, srcDst, len, s);
  return vspStatusOk;
}

// A left fold from src[0]; one element is copied as it is. Single precision
// rounds the running value after each step (RoundRun); the others keep it in
// double.
template <class E, class Step, bool RoundRun>
VspStatus logSum(const typename E::T* src, typename E::T* dst, int32_t len, int32_t sf) {
  if (len < 1) return vspStatusBadSize;
  if (anyNull(src, dst)) return vspStatusNullPointer;
  if (len == 1) {
    dst[0] = src[0];
    return vspStatusOk;
  }
  const double s = scale64(sf);
  double run = E::in(src[0], s);
  for (int32_t i = 1; i < len; ++i) {
    run = Step::fold(run, E::in(src[i], s));
    if (RoundRun) run = double(float(run));
  }
  dst[0] = E::out(run, s);
  return vspStatusOk;
}

// ---- Subtraction ------------------------------------------------------------------
//
// The minuend must be the larger: every element is tested before any is
// written. Floats form d in their own precision; the integer members form it
// in single precision on the raw integers times scale32(scaleFactor) and add
// the logarithm to the raw src (so the log term counts integer units).
struct SubFloat32 {
  using T = float;
  static constexpr double kLimit = 1.0057e-37;
  static bool notSmaller(float s, float d) { return d - s >= 0; }
  static double diff(float s, float d, int32_t) { return double(d - s); }
  static double floorOf(float s) { return logadd::FloorMax32::apply(double(s)); }
  static double floorValue() { return -4.5e6; }
  static double cut() { return logadd::Poly32::kCut; }
  static float out(double r) { return float(r); }
};
struct SubFloat64 {
  using T = double;
  static constexpr double kLimit = 2.45e-308;
  static bool notSmaller(double s, double d) { return d - s >= 0; }
  static double diff(double s, double d, int32_t) { return d - s; }
  static double floorOf(double s) { return logadd::Floor64::apply(s); }
  static double floorValue() { return -1e10; }
  static double cut() { return logadd::Poly64::kCut; }
  static double out(double r) { return r; }
};
template <class I>
struct SubInt {
  using T = I;
  static constexpr double kLimit = 1.0057e-37;
  static bool notSmaller(I s, I d) { return int64_t(d) - int64_t(s) >= 0; }
  static double diff(I s, I d, int32_t sf) { return double((float(d) - float(s)) * scale32(sf)); }
  static double floorOf(I s) { return logadd::FloorMax32::apply(double(s)); }
  static double floorValue() { return -4.5e6; }
  static double cut() { return logadd::Poly32::kCut; }
  // Clamped to 32 bits in both members; the 16-bit one keeps the low half.
  static I out(double r) {
    const int32_t v = f64ToS32Sat(r);
    if constexpr (sizeof(I) == 2) return low16(v);
    return v;
  }
};

template <class P>
VspStatus logSub(const typename P::T* src, typename P::T* srcDst, int32_t len, int32_t sf) {
  if (len < 1) return vspStatusBadSize;
  if (anyNull(src, srcDst)) return vspStatusNullPointer;
  // A NaN difference passes; integers are compared exactly.
  for (int32_t i = 0; i < len; ++i)
    if (P::notSmaller(src[i], srcDst[i])) return vspStatusBadValue;
  for (int32_t i = 0; i < len; ++i) {
    const double d = P::diff(src[i], srcDst[i], sf);
    double r;
    if (d < P::cut()) {
      r = P::floorOf(src[i]);
    } else {
      const double v = 1.0 - exp(d);
      r = v <= P::kLimit ? P::floorValue() : double(src[i]) + log(v);
    }
    srcDst[i] = P::out(r);
  }
  return vspStatusOk;
}

using Poly32Floor = PolyPath<logadd::Poly32, logadd::FloorMax32>;
using Poly64Floor = PolyPath<logadd::Poly64, logadd::Floor64>;
using Poly32Bare = PolyPath<logadd::Poly32, logadd::NoFloor>;
using Poly32Single = PolyPath<logadd::Poly32, logadd::FloorThroughSingle>;

}  // namespace

VSP_NS_END

using namespace vsp;

// clang-format off
VSP_EXPORT VspStatus vspsLogAdd_32f(const Vsp32f* s, Vsp32f* sd, Vsp32s n, VspHint h) { return logAdd<Real32, Poly32Floor, TablePath32>(s, sd, n, 0, h); }
VSP_EXPORT VspStatus vspsLogAdd_64f(const Vsp64f* s, Vsp64f* sd, Vsp32s n, VspHint h) { return logAdd<Real64, Poly64Floor, Poly64Floor>(s, sd, n, 0, h); }
VSP_EXPORT VspStatus vspsLogAdd_16s_Sfs(const Vsp16s* s, Vsp16s* sd, Vsp32s n, Vsp32s sf, VspHint h) { return logAdd<Scaled16, Poly32Bare, TablePathReal>(s, sd, n, sf, h); }
VSP_EXPORT VspStatus vspsLogAdd_32s_Sfs(const Vsp32s* s, Vsp32s* sd, Vsp32s n, Vsp32s sf, VspHint h) { return logAdd<Scaled32, Poly32Bare, TablePathReal>(s, sd, n, sf, h); }

VSP_EXPORT VspStatus vspsLogSub_32f(const Vsp32f* s, Vsp32f* sd, Vsp32s n) { return logSub<SubFloat32>(s, sd, n, 0); }
VSP_EXPORT VspStatus vspsLogSub_64f(const Vsp64f* s, Vsp64f* sd, Vsp32s n) { return logSub<SubFloat64>(s, sd, n, 0); }
VSP_EXPORT VspStatus vspsLogSub_16s_Sfs(const Vsp16s* s, Vsp16s* sd, Vsp32s n, Vsp32s sf) { return logSub<SubInt<Vsp16s>>(s, sd, n, sf); }
VSP_EXPORT VspStatus vspsLogSub_32s_Sfs(const Vsp32s* s, Vsp32s* sd, Vsp32s n, Vsp32s sf) { return logSub<SubInt<Vsp32s>>(s, sd, n, sf); }

VSP_EXPORT VspStatus vspsLogSum_32f(const Vsp32f* s, Vsp32f* d, Vsp32s n) { return logSum<Real32, Poly32Floor, true>(s, d, n, 0); }
VSP_EXPORT VspStatus vspsLogSum_64f(const Vsp64f* s, Vsp64f* d, Vsp32s n) { return logSum<Real64, Poly64Floor, false>(s, d, n, 0); }
VSP_EXPORT VspStatus vspsLogSum_16s_Sfs(const Vsp16s* s, Vsp16s* d, Vsp32s n, Vsp32s sf) { return logSum<Scaled16, Poly32Single, false>(s, d, n, sf); }
VSP_EXPORT VspStatus vspsLogSum_32s_Sfs(const Vsp32s* s, Vsp32s* d, Vsp32s n, Vsp32s sf) { return logSum<Scaled32, Poly32Single, false>(s, d, n, sf); }
// clang-format on
