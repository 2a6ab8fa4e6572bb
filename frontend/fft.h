// The library's internal real transform of power-of-two length N = 2^order,
// order 0 to 27. No export reaches it directly: the filter banks, the
// autocorrelation of linear prediction and the LP spectrum call it.
//
// Usage (float):
//
//   int32_t specSize, initSize, workSize;
//   fftSpecGetSize(order, normFlag, hint, &specSize, &initSize, &workSize);
//   VspFftSpec_32f* fftObj;
//   fftSpecInit(&fftObj, order, normFlag, hint, block, nullptr);  // in caller memory
//     or fftSpecInitAlloc(&fftObj, order, normFlag, hint);        // vspMalloc, owned
//   fftForwardComplexForm(src, dst, fftObj, work);                // any number of times
//   fftSpecFree(fftObj);                                          // both kinds
//
// - `block` holds specSize bytes; the object is built at its first 32-byte
//   boundary. Construction needs no temporary buffer (initSize is 0) and an
//   init buffer, if given, is not touched.
// - `work` holds workSize bytes and is used from its first 32-byte boundary.
//   A null `work` makes the call take its own from vspMalloc when workSize is
//   above 0 (up to N = 2048 it is 0: the call works on its stack). A call
//   with a work buffer never allocates. Transforms only read the object, so
//   one object may serve several threads, each with its own work buffer.
// - normFlag: 1 forward times 1/N, 2 inverse times 1/N, 4 both times
//   1/sqrt(N), 8 neither. `hint` is stored and changes nothing.
// - Input and output may be the same array.
//
// Forms, for real input x[0..N-1] and X[k] = sum x[n] exp(-2 pi i nk / N):
// - complex form, N + 2 floats: Re X[k] at 2k, Im X[k] at 2k + 1 for
//   k = 0 .. N/2 (positions 1 and N + 1 are 0); for N = 1 two floats.
// - half-complex form, N floats: Re X[0], Re X[1], Im X[1], ...,
//   Re X[N/2 - 1], Im X[N/2 - 1], Re X[N/2] (for N = 1 the one value).
// The inverse takes the half-complex form back to N reals:
// x[n] = sum over all N bins of X[k] exp(+2 pi i nk / N), times its factor.
//
// The _16s object wraps a float object for the integer front end
// fftForward_16s, which the 16-bit filter banks use.
#pragma once

#include "frame/base.h"
#include "frame/cpu.h"

struct VspFftSpec_32f {
  int32_t tag;  // kFftTag32f while alive, 0 once released
  int32_t order;
  int32_t scaleForward;  // non-zero: the forward transform is scaled
  int32_t scaleInverse;  // non-zero: the inverse transform is scaled
  float scale;           // 1/N or 1/sqrt(N) when either is set, else 1
  int32_t hint;
  int32_t workSize;     // bytes of work memory per call, 0 if none
  int32_t owned;        // 1: release frees the object's block
  const float* tables;  // see frontend/fft_tables.h; the constant tables up to N = 32
};

struct VspFftSpec_16s {
  int32_t tag;  // kFftTag16s ("OAMC" as a little-endian word) while alive
  int32_t order;
  int32_t hint;
  int32_t workSize;  // the inner object's, plus room for N + 2 floats
  int32_t owned;
  VspFftSpec_32f* inner;
};

VSP_NS_BEGIN

constexpr int32_t kFftTag32f = 6;
constexpr int32_t kFftTag16s = 0x434D414F;
constexpr int32_t kFftMaxOrder = 27;  // N below 2^28

// ---- Float objects ----------------------------------------------------------

VspStatus fftSpecGetSize(int32_t order, int32_t normFlag, int32_t hint, int32_t* specSize,
                         int32_t* initBufferSize, int32_t* workSize);
VspStatus fftSpecInit(VspFftSpec_32f** specOut, int32_t order, int32_t normFlag, int32_t hint,
                      void* specMemory, void* initBuffer);
VspStatus fftSpecInitAlloc(VspFftSpec_32f** specOut, int32_t order, int32_t normFlag, int32_t hint);
VspStatus fftSpecGetWorkSize(const VspFftSpec_32f* fftObj, int32_t* workSize);
// Clears the tag and frees the block if the object owns it; a released
// object (or any other tag) gives vspStatusBadContext.
VspStatus fftSpecFree(VspFftSpec_32f* fftObj);

// ---- Float transforms -------------------------------------------------------
//
// Checks: null fftObj, then its tag (vspStatusBadContext), then null src or
// dst; vspStatusNoMemory if work is null and the call's own allocation fails.

VspStatus fftForwardComplexForm(const float* src, float* dst, const VspFftSpec_32f* fftObj,
                                void* work);
VspStatus fftForwardHalfComplex(const float* src, float* dst, const VspFftSpec_32f* fftObj,
                                void* work);
VspStatus fftInverseHalfComplex(const float* src, float* dst, const VspFftSpec_32f* fftObj,
                                void* work);

// dst[k] = float(sqrt(double(re)^2 + double(im)^2)) over `count` pairs of
// complexSrc (complex form). vspStatusBadSize for count below 1.
VspStatus fftMagnitude(const float* complexSrc, float* dst, int32_t count);

// ---- 16-bit objects and the integer front end ---------------------------------

VspStatus fftSpecGetSize_16s(int32_t order, int32_t normFlag, int32_t hint, int32_t* specSize,
                             int32_t* initBufferSize, int32_t* workSize);
VspStatus fftSpecInit_16s(VspFftSpec_16s** specOut, int32_t order, int32_t normFlag, int32_t hint,
                          void* specMemory, void* initBuffer);
VspStatus fftSpecInitAlloc_16s(VspFftSpec_16s** specOut, int32_t order, int32_t normFlag,
                               int32_t hint);
VspStatus fftSpecGetWorkSize_16s(const VspFftSpec_16s* fftObj, int32_t* workSize);
VspStatus fftSpecFree_16s(VspFftSpec_16s* fftObj);

// N samples to the complex form in 32 bits: the unscaled transform times
// 2^(-scaleFactor), rounded to nearest (ties to even) and saturated. N + 2
// values. Always needs work memory (workSize of the object).
VspStatus fftForward_16s(const int16_t* src, int32_t* dst, const VspFftSpec_16s* fftObj,
                         int32_t scaleFactor, void* work);

// Magnitudes of `count` 32-bit pairs, in double, times 2^(-scaleFactor):
// scaleFactor up to 0 rounds half up and saturates at 2147483647; 1 to 32
// rounds to nearest with ties to even; 33 and above gives zeros.
VspStatus fftMagnitudeScaled_32s(const int32_t* complexSrc, int32_t* dst, int32_t count,
                                 int32_t scaleFactor);

// ---- Paths, for tests and benchmarks ---------------------------------------------
//
// The scalar path and each vector tier give bit-identical results; a tier
// serves lengths from fftPathMinOrder(path) up, the scalar path all of them.
enum class FftPath : int { Scalar = 0, Sse2 = 1, Avx2 = 2, Avx512 = 3 };
FftPath fftHostPath();
int32_t fftPathMinOrder(FftPath path);

enum class FftKind : int { ForwardComplexForm, ForwardHalfComplex, InverseHalfComplex };
// The transform of a live object on a chosen path, with the object's factor,
// on the stack or vspMalloc'd scratch. vspStatusBadSize if the path cannot
// serve the length.
VspStatus fftTransformOnPath(FftPath path, FftKind kind, const float* src, float* dst,
                             const VspFftSpec_32f* fftObj);
// fftMagnitude on a chosen path (any count on any path).
VspStatus fftMagnitudeOnPath(FftPath path, const float* complexSrc, float* dst, int32_t count);

VSP_NS_END
