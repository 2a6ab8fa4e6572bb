// Common ground of every translation unit of the library.
//
// Internal code lives in namespace vsp, inside an inline namespace named
// after the vector tier the unit is compiled for (VSP_TIER, set by the build
// for the AVX2 and AVX-512 units). Templates and inline functions from shared
// headers therefore get distinct symbols per tier: the linker can never fold
// an AVX2-compiled copy into the baseline path.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include "vspsr.h"

#ifndef VSP_TIER
#define VSP_TIER tier_base
#endif

#define VSP_NS_BEGIN \
  namespace vsp {    \
  inline namespace VSP_TIER {
#define VSP_NS_END \
  }                \
  }

// Exported entry points: C linkage, default visibility (everything else is
// hidden by the build).
#define VSP_EXPORT extern "C" VSP_API

// Sanitizer builds may define this as plain inline to keep compile times sane.
#ifndef VSP_ALWAYS_INLINE
#define VSP_ALWAYS_INLINE inline __attribute__((always_inline))
#endif
#define VSP_LIKELY(x) __builtin_expect(!!(x), 1)
#define VSP_UNLIKELY(x) __builtin_expect(!!(x), 0)
