// The internal real transform: objects, argument checks, the choice of a
// kernel path, and the integer front end of the 16-bit filter banks.
#include "frontend/fft.h"

#include "frame/check.h"
#include "frame/fixed.h"
#include "frame/scale.h"
#include "frame/scratch.h"
#include "frontend/fft_tables.h"
#include "frontend/simd/fft_kernels.h"

VSP_NS_BEGIN

namespace {

// Up to this order (N = 2048) a call's 2N floats of scratch live on its stack.
constexpr int32_t kStackMaxOrder = 11;
constexpr int64_t kStackFloats = int64_t(2) << kStackMaxOrder;

constexpr int64_t roundUp32(int64_t v) { return (v + 31) & ~int64_t(31); }
inline unsigned char* align32(void* p) {
  const uintptr_t a = reinterpret_cast<uintptr_t>(p);
  return reinterpret_cast<unsigned char*>((a + 31) & ~uintptr_t(31));
}

VspStatus checkOrderAndFlag(int32_t order, int32_t normFlag) {
  if (order < 0 || order > kFftMaxOrder) return vspStatusBadTransformOrder;
  if (normFlag != 1 && normFlag != 2 && normFlag != 4 && normFlag != 8)
    return vspStatusBadTransformFlag;
  return vspStatusOk;
}

// Byte counts. Every block that the caller provides is used from its first
// 32-byte boundary, so each count carries 31 bytes for that.
int64_t tableBytes(int32_t order) {
  return order > kFftSmallMaxOrder ? fftTableLayout(order).floats * 4 : 0;
}
int64_t specBytes32f(int32_t order) {
  return 31 + roundUp32(sizeof(VspFftSpec_32f)) + tableBytes(order);
}
int64_t workBytes32f(int32_t order) {
  return order > kStackMaxOrder ? 31 + (int64_t(2) << order) * 4 : 0;
}
int64_t specBytes16s(int32_t order) {
  return 31 + roundUp32(sizeof(VspFftSpec_16s)) + specBytes32f(order);
}
// The float copy of the frame (N + 2 floats), then the inner object's work.
int64_t frameBytes16s(int32_t order) { return roundUp32(((int64_t(1) << order) + 2) * 4); }
int64_t workBytes16s(int32_t order) { return 31 + frameBytes16s(order) + workBytes32f(order); }

VspFftSpec_32f* build32f(void* memory, int32_t order, int32_t normFlag, int32_t hint,
                         int32_t owned) {
  unsigned char* base = align32(memory);
  VspFftSpec_32f* s = reinterpret_cast<VspFftSpec_32f*>(base);
  const double n = double(int64_t(1) << order);
  s->tag = kFftTag32f;
  s->order = order;
  s->scaleForward = normFlag == 1 || normFlag == 4;
  s->scaleInverse = normFlag == 2 || normFlag == 4;
  s->scale = normFlag == 8 ? 1.0f : float(normFlag == 4 ? 1.0 / __builtin_sqrt(n) : 1.0 / n);
  s->hint = hint;
  s->workSize = int32_t(workBytes32f(order));
  s->owned = owned;
  if (order <= kFftSmallMaxOrder) {
    s->tables = kFftSmallTables.t[order];
  } else {
    float* t = reinterpret_cast<float*>(base + roundUp32(sizeof(VspFftSpec_32f)));
    fftFillTables(t, order);
    s->tables = t;
  }
  return s;
}

VspFftSpec_16s* build16s(void* memory, int32_t order, int32_t normFlag, int32_t hint,
                         int32_t owned) {
  unsigned char* base = align32(memory);
  VspFftSpec_16s* s = reinterpret_cast<VspFftSpec_16s*>(base);
  s->inner = build32f(base + roundUp32(sizeof(VspFftSpec_16s)), order, normFlag, hint, 0);
  s->tag = kFftTag16s;
  s->order = order;
  s->hint = hint;
  s->workSize = int32_t(workBytes16s(order));
  s->owned = owned;
  return s;
}

FftPlan planOf(const VspFftSpec_32f* s) {
  const FftTableLayout l = fftTableLayout(s->order);
  FftPlan p{};
  p.m = l.m;
  p.stageCount = l.stageCount;
  for (int32_t t = 0; t < l.stageCount; ++t) p.stage[t] = s->tables + l.stage[t];
  p.second = l.second >= 0 ? s->tables + l.second : nullptr;
  p.postCos = s->tables + l.postCos;
  p.postSin = s->tables + l.postSin;
  return p;
}

FftPath pathFor(FftPath path, int32_t order) {
  while (path != FftPath::Scalar && order < fftPathMinOrder(path)) path = FftPath(int(path) - 1);
  return path;
}

// One transform on a path that can serve the length, with factor `f`.
void runOnPath(FftPath path, FftKind kind, const VspFftSpec_32f* fftObj, const float* src,
               float* dst, float* scratch, float f) {
  if (fftObj->order == 0) {  // N = 1: the value itself
    dst[0] = src[0] * f;
    if (kind == FftKind::ForwardComplexForm) dst[1] = 0.0f;
    return;
  }
  const FftPlan plan = planOf(fftObj);
  const bool half = kind == FftKind::ForwardHalfComplex;
  const bool inverse = kind == FftKind::InverseHalfComplex;
  switch (path) {
    case FftPath::Avx512:
      inverse ? avx512::fftInverseReal(plan, src, dst, scratch, f)
              : avx512::fftForwardReal(plan, src, dst, scratch, f, half);
      break;
    case FftPath::Avx2:
      inverse ? avx2::fftInverseReal(plan, src, dst, scratch, f)
              : avx2::fftForwardReal(plan, src, dst, scratch, f, half);
      break;
    case FftPath::Sse2:
      inverse ? sse2::fftInverseReal(plan, src, dst, scratch, f)
              : sse2::fftForwardReal(plan, src, dst, scratch, f, half);
      break;
    default:
      inverse ? scalar::fftInverseReal(plan, src, dst, scratch, f)
              : scalar::fftForwardReal(plan, src, dst, scratch, f, half);
      break;
  }
}

float factorOf(const VspFftSpec_32f* fftObj, FftKind kind) {
  const bool scaled =
      kind == FftKind::InverseHalfComplex ? fftObj->scaleInverse != 0 : fftObj->scaleForward != 0;
  return scaled ? fftObj->scale : 1.0f;
}

// Scratch from the stack up to N = 2048, else from `work` (used from its
// first 32-byte boundary) or, without one, from vspMalloc.
VspStatus transformWith(FftPath path, FftKind kind, const float* src, float* dst,
                        const VspFftSpec_32f* fftObj, void* work, float f) {
  alignas(64) float local[kStackFloats];
  if (fftObj->order <= kStackMaxOrder) {
    runOnPath(path, kind, fftObj, src, dst, local, f);
    return vspStatusOk;
  }
  ScratchBlock own(work ? nullptr : vspMalloc(size_t(fftObj->workSize)));
  void* w = work ? work : own.get();
  if (!w) return vspStatusNoMemory;
  runOnPath(path, kind, fftObj, src, dst, reinterpret_cast<float*>(align32(w)), f);
  return vspStatusOk;
}

VspStatus transform(FftKind kind, const float* src, float* dst, const VspFftSpec_32f* fftObj,
                    void* work) {
  if (!fftObj) return vspStatusNullPointer;
  if (fftObj->tag != kFftTag32f) return vspStatusBadContext;
  if (anyNull(src, dst)) return vspStatusNullPointer;
  return transformWith(pathFor(fftHostPath(), fftObj->order), kind, src, dst, fftObj, work,
                       factorOf(fftObj, kind));
}

// The two kinds of object, for the functions that treat them alike.
struct Kind32f {
  using Obj = VspFftSpec_32f;
  static constexpr int32_t kTag = kFftTag32f;
  static int64_t specBytes(int32_t order) { return specBytes32f(order); }
  static int64_t workBytes(int32_t order) { return workBytes32f(order); }
  static Obj* build(void* m, int32_t order, int32_t flag, int32_t hint, int32_t owned) {
    return build32f(m, order, flag, hint, owned);
  }
  static void retire(Obj*) {}
};
struct Kind16s {
  using Obj = VspFftSpec_16s;
  static constexpr int32_t kTag = kFftTag16s;
  static int64_t specBytes(int32_t order) { return specBytes16s(order); }
  static int64_t workBytes(int32_t order) { return workBytes16s(order); }
  static Obj* build(void* m, int32_t order, int32_t flag, int32_t hint, int32_t owned) {
    return build16s(m, order, flag, hint, owned);
  }
  // The inner object lives in the same block: releasing it only clears its tag.
  static void retire(Obj* s) { fftSpecFree(s->inner); }
};

template <class K>
VspStatus specGetSize(int32_t order, int32_t normFlag, int32_t, int32_t* specSize,
                      int32_t* initBufferSize, int32_t* workSize) {
  if (anyNull(specSize, initBufferSize, workSize)) return vspStatusNullPointer;
  const VspStatus st = checkOrderAndFlag(order, normFlag);
  if (st != vspStatusOk) return st;
  *specSize = int32_t(K::specBytes(order));
  *initBufferSize = 0;
  *workSize = int32_t(K::workBytes(order));
  return vspStatusOk;
}

// In caller memory, or (`own`) in a vspMalloc block that the object owns.
template <class K>
VspStatus specInit(typename K::Obj** specOut, int32_t order, int32_t normFlag, int32_t hint,
                   void* memory, bool own) {
  if (!specOut || (!own && !memory)) return vspStatusNullPointer;
  const VspStatus st = checkOrderAndFlag(order, normFlag);
  if (st != vspStatusOk) return st;
  if (own) memory = vspMalloc(size_t(K::specBytes(order)));
  if (!memory) return vspStatusNoMemory;
  *specOut = K::build(memory, order, normFlag, hint, own ? 1 : 0);
  return vspStatusOk;
}

template <class K>
VspStatus specGetWorkSize(const typename K::Obj* fftObj, int32_t* workSize) {
  if (anyNull(fftObj, workSize)) return vspStatusNullPointer;
  if (fftObj->tag != K::kTag) return vspStatusBadContext;
  *workSize = fftObj->workSize;
  return vspStatusOk;
}

// Clears the tag; frees the block if the object owns it (vspMalloc blocks are
// 64-byte aligned, so the object stands at the start of its block).
template <class K>
VspStatus specFree(typename K::Obj* fftObj) {
  if (!fftObj) return vspStatusNullPointer;
  if (fftObj->tag != K::kTag) return vspStatusBadContext;
  fftObj->tag = 0;
  K::retire(fftObj);
  if (fftObj->owned == 1) vspFree(fftObj);
  return vspStatusOk;
}

// Round to nearest, ties to even, saturating; NaN (from an infinite scale
// times a zero bin) gives 0.
inline int32_t roundEvenSat32(float v) {
  const float r = roundHalfEven(v);
  if (r >= 2147483648.0f) return INT32_MAX;
  if (r < -2147483648.0f) return INT32_MIN;
  if (r != r) return 0;
  return int32_t(r);
}

}  // namespace

// ---- Paths --------------------------------------------------------------------------

FftPath fftHostPath() {
  switch (hostTier()) {
    case Tier::Avx512:
      return FftPath::Avx512;
    case Tier::Avx2:
      return FftPath::Avx2;
    default:
      return FftPath::Sse2;
  }
}

// A tier needs M = N / 2 of at least four vectors.
int32_t fftPathMinOrder(FftPath path) {
  switch (path) {
    case FftPath::Avx512:
      return 7;
    case FftPath::Avx2:
      return 6;
    case FftPath::Sse2:
      return 5;
    default:
      return 0;
  }
}

VspStatus fftTransformOnPath(FftPath path, FftKind kind, const float* src, float* dst,
                             const VspFftSpec_32f* fftObj) {
  if (anyNull(src, dst, fftObj)) return vspStatusNullPointer;
  if (fftObj->tag != kFftTag32f) return vspStatusBadContext;
  if (pathFor(path, fftObj->order) != path) return vspStatusBadSize;
  return transformWith(path, kind, src, dst, fftObj, nullptr, factorOf(fftObj, kind));
}

// ---- Float transforms ------------------------------------------------------------------

VspStatus fftForwardComplexForm(const float* src, float* dst, const VspFftSpec_32f* fftObj,
                                void* work) {
  return transform(FftKind::ForwardComplexForm, src, dst, fftObj, work);
}
VspStatus fftForwardHalfComplex(const float* src, float* dst, const VspFftSpec_32f* fftObj,
                                void* work) {
  return transform(FftKind::ForwardHalfComplex, src, dst, fftObj, work);
}
VspStatus fftInverseHalfComplex(const float* src, float* dst, const VspFftSpec_32f* fftObj,
                                void* work) {
  return transform(FftKind::InverseHalfComplex, src, dst, fftObj, work);
}

VspStatus fftMagnitudeOnPath(FftPath path, const float* complexSrc, float* dst, int32_t count) {
  if (anyNull(complexSrc, dst)) return vspStatusNullPointer;
  if (count < 1) return vspStatusBadSize;
  switch (path) {
    case FftPath::Avx512:
      avx512::fftMagnitudePairs(complexSrc, dst, count);
      break;
    case FftPath::Avx2:
      avx2::fftMagnitudePairs(complexSrc, dst, count);
      break;
    case FftPath::Sse2:
      sse2::fftMagnitudePairs(complexSrc, dst, count);
      break;
    default:
      scalar::fftMagnitudePairs(complexSrc, dst, count);
      break;
  }
  return vspStatusOk;
}

VspStatus fftMagnitude(const float* complexSrc, float* dst, int32_t count) {
  return fftMagnitudeOnPath(fftHostPath(), complexSrc, dst, count);
}

// ---- Objects -----------------------------------------------------------------------------

VspStatus fftSpecGetSize(int32_t order, int32_t normFlag, int32_t hint, int32_t* specSize,
                         int32_t* initBufferSize, int32_t* workSize) {
  return specGetSize<Kind32f>(order, normFlag, hint, specSize, initBufferSize, workSize);
}
VspStatus fftSpecInit(VspFftSpec_32f** specOut, int32_t order, int32_t normFlag, int32_t hint,
                      void* specMemory, void*) {
  return specInit<Kind32f>(specOut, order, normFlag, hint, specMemory, false);
}
VspStatus fftSpecInitAlloc(VspFftSpec_32f** specOut, int32_t order, int32_t normFlag,
                           int32_t hint) {
  return specInit<Kind32f>(specOut, order, normFlag, hint, nullptr, true);
}
VspStatus fftSpecGetWorkSize(const VspFftSpec_32f* fftObj, int32_t* workSize) {
  return specGetWorkSize<Kind32f>(fftObj, workSize);
}
VspStatus fftSpecFree(VspFftSpec_32f* fftObj) { return specFree<Kind32f>(fftObj); }

VspStatus fftSpecGetSize_16s(int32_t order, int32_t normFlag, int32_t hint, int32_t* specSize,
                             int32_t* initBufferSize, int32_t* workSize) {
  return specGetSize<Kind16s>(order, normFlag, hint, specSize, initBufferSize, workSize);
}
VspStatus fftSpecInit_16s(VspFftSpec_16s** specOut, int32_t order, int32_t normFlag, int32_t hint,
                          void* specMemory, void*) {
  return specInit<Kind16s>(specOut, order, normFlag, hint, specMemory, false);
}
VspStatus fftSpecInitAlloc_16s(VspFftSpec_16s** specOut, int32_t order, int32_t normFlag,
                               int32_t hint) {
  return specInit<Kind16s>(specOut, order, normFlag, hint, nullptr, true);
}
VspStatus fftSpecGetWorkSize_16s(const VspFftSpec_16s* fftObj, int32_t* workSize) {
  return specGetWorkSize<Kind16s>(fftObj, workSize);
}
VspStatus fftSpecFree_16s(VspFftSpec_16s* fftObj) { return specFree<Kind16s>(fftObj); }

// ---- The integer front end --------------------------------------------------------------

VspStatus fftForward_16s(const int16_t* src, int32_t* dst, const VspFftSpec_16s* fftObj,
                         int32_t scaleFactor, void* work) {
  if (!fftObj) return vspStatusNullPointer;
  if (fftObj->tag != kFftTag16s || !fftObj->inner || fftObj->inner->tag != kFftTag32f)
    return vspStatusBadContext;
  if (anyNull(src, dst)) return vspStatusNullPointer;
  ScratchBlock own(work ? nullptr : vspMalloc(size_t(fftObj->workSize)));
  void* w = work ? work : own.get();
  if (!w) return vspStatusNoMemory;

  const int64_t n = int64_t(1) << fftObj->order;
  float* frame = reinterpret_cast<float*>(align32(w));
  for (int64_t i = 0; i < n; ++i) frame[i] = float(src[i]);
  const VspFftSpec_32f* inner = fftObj->inner;
  void* innerWork = inner->workSize > 0
                        ? static_cast<void*>(reinterpret_cast<unsigned char*>(frame) +
                                             frameBytes16s(fftObj->order))
                        : nullptr;
  // The unscaled transform, whatever the object's factor.
  transformWith(pathFor(fftHostPath(), inner->order), FftKind::ForwardComplexForm, frame, frame,
                inner, innerWork, 1.0f);
  const float f = scale32(scaleFactor);
  const int64_t count = fftObj->order == 0 ? 2 : n + 2;
  for (int64_t i = 0; i < count; ++i) dst[i] = roundEvenSat32(frame[i] * f);
  return vspStatusOk;
}

VspStatus fftMagnitudeScaled_32s(const int32_t* complexSrc, int32_t* dst, int32_t count,
                                 int32_t scaleFactor) {
  if (anyNull(complexSrc, dst)) return vspStatusNullPointer;
  if (count < 1) return vspStatusBadSize;
  if (scaleFactor >= 33) {
    for (int32_t k = 0; k < count; ++k) dst[k] = 0;
    return vspStatusOk;
  }
  // A magnitude of integers is 0 or at least 1, so every factor below -31
  // saturates exactly as -31 does.
  const int32_t e = scaleFactor < -31 ? -31 : scaleFactor;
  const double f = scale64(e);
  for (int32_t k = 0; k < count; ++k) {
    const double re = complexSrc[2 * k], im = complexSrc[2 * k + 1];
    const double sum = __builtin_sqrt(re * re + im * im) * f + 0.5;
    if (e <= 0) {
      dst[k] = sum >= 2147483648.0 ? INT32_MAX : int32_t(sum);
    } else {
      int32_t t = int32_t(sum);  // below 2^31: the magnitude is at most 2^31.5 / 2
      if ((t & 1) && double(t) == sum) --t;
      dst[k] = t;
    }
  }
  return vspStatusOk;
}

VSP_NS_END
