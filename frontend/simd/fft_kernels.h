// Entry points of the real transform's kernels, one set per vector tier and
// a plain scalar set (the reference for the tiers and the path of the short
// lengths).
//
// Every kernel computes the same operations in the same order on each
// element, so all paths give bit-identical results; a path only needs a
// minimum complex length (fftKernelMinM) to have whole vectors in every
// stage.
//
// `scratch` holds 2N floats (four arrays of M = N / 2) and is 64-byte
// aligned by the caller. Input and output may be the same array: the input
// is read completely before the output is written.
#pragma once

#include <stdint.h>

namespace vsp {

// The tables of one length, resolved to pointers (see frontend/fft_tables.h).
struct FftPlan {
  int64_t m;  // complex length N / 2, at least 1
  int32_t stageCount;
  const float* stage[14];
  const float* second;  // null below M = 16
  const float* postCos;
  const float* postSin;
};

}  // namespace vsp

#define VSP_FFT_KERNEL_DECLS                                                                \
  /* N reals to the complex form (N + 2 floats) or the half-complex form (N floats), */     \
  /* every output multiplied by scale. */                                                   \
  void fftForwardReal(const FftPlan& plan, const float* src, float* dst, float* scratch,    \
                      float scale, bool halfComplex);                                       \
  /* The half-complex form back to N reals, unnormalised (times N) and then times scale. */ \
  void fftInverseReal(const FftPlan& plan, const float* src, float* dst, float* scratch,    \
                      float scale);                                                         \
  /* dst[k] = float(sqrt(double(re)^2 + double(im)^2)) for `count` pairs. */                \
  void fftMagnitudePairs(const float* src, float* dst, int64_t count);

namespace vsp {
namespace scalar {
VSP_FFT_KERNEL_DECLS
}
namespace sse2 {
VSP_FFT_KERNEL_DECLS
}
namespace avx2 {
VSP_FFT_KERNEL_DECLS
}
namespace avx512 {
VSP_FFT_KERNEL_DECLS
}
}  // namespace vsp
