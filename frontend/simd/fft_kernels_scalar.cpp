// The scalar path of the real transform: the reference that every vector
// tier must match bit for bit, and the path of lengths too short for a tier.
#include "frontend/simd/fft_kernels.h"

namespace vsp {
namespace scalar {

#define VSP_FFT_VECTOR V1
#include "frontend/simd/fft_kernels_impl.h"

}  // namespace scalar
}  // namespace vsp
