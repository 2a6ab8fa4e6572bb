// The cosine transform and lifter state, and the dot product kernel under
// the transform (by tier, so that tests can force each one).
#pragma once

#include "frame/base.h"
#include "frame/cpu.h"

// Field order is the documented one. `rows` points at cepstrumLen + 1 row
// pointers; each row is dctLen cosines, zero-padded to a multiple of 8 and
// 64-byte aligned. Row 0 is all ones (it gives C0).
struct VspDCTLifterState_32f {
  int32_t lifterLen;  // -1 in the multiplier variants
  int32_t dctLen;
  int32_t cepstrumLen;
  int32_t hasC0;
  float* lifter;  // cepstrumLen + 1 multipliers, lifter[i] for cepstrum i
  float** rows;
};

// The 16-bit members transform in float: `work` takes the cepstrumLen + 1
// results ahead of conversion, then the widened source frame with its zero
// padding, so that the transform needs no scratch memory.
struct VspDCTLifterState_16s {
  int32_t lifterLen;
  int32_t dctLen;
  int32_t cepstrumLen;
  int32_t hasC0;
  float* lifter;
  float* work;
  float** rows;
};

VSP_NS_BEGIN

// out[j] = mul[j] * (rows[j] . src) for j below count: `blocks` blocks of 8
// from src, then one from `tail` if it is not null (see simd/dct_dots.h).
void dctDots(Tier tier, const float* src, const float* tail, int64_t blocks,
             const float* const* rows, const float* mul, int32_t count, float* out);

VSP_NS_END
