// The scalar path of the real transform: the reference that every vector
// tier must match bit for bit, and the path of lengths too short for a tier.
#include "frontend/simd/fft_kernels.h"

namespace vsp {
namespace scalar {

#define VSP_FFT_VECTOR V1
#include "frontend/simd/fft_kernels_impl.h"

void fftMagnitudePairs(const float* src, float* dst, int64_t count) {
  for (int64_t k = 0; k < count; ++k) {
    const double re = src[2 * k], im = src[2 * k + 1];
    dst[k] = float(__builtin_sqrt(re * re + im * im));
  }
}

}  // namespace scalar
}  // namespace vsp
