// The vector tiers a kernel may run on, and the best one this processor and
// operating system support. The query reads the feature words that the
// compiler runtime fills in at load time, so it costs a few loads and keeps
// no state of ours.
#pragma once

#include "frame/base.h"

VSP_NS_BEGIN

enum class Tier : int { Base = 0, Avx2 = 1, Avx512 = 2 };

inline Tier hostTier() {
  if (__builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
      __builtin_cpu_supports("avx512vl") && __builtin_cpu_supports("avx512dq"))
    return Tier::Avx512;
  if (__builtin_cpu_supports("avx2")) return Tier::Avx2;
  return Tier::Base;
}

VSP_NS_END
