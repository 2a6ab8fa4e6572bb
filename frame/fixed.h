// Every integer rule of the library in one place: saturation, wrap-around,
// scale-factor shifts and float-to-integer conversion. Families call these
// and never open-code a shift or a clamp.
//
// Nothing here relies on signed overflow: wrapping arithmetic goes through
// unsigned types, and conversions from floating point are guarded so that
// out-of-range and NaN inputs give the value the x86 conversion instructions
// give (the "integer indefinite", INT_MIN) instead of undefined behaviour.
#pragma once

#include "frame/base.h"

VSP_NS_BEGIN

// ---- Saturation ------------------------------------------------------------

VSP_ALWAYS_INLINE int16_t sat16(int64_t v) {
  return v < -32768 ? int16_t(-32768) : v > 32767 ? int16_t(32767) : int16_t(v);
}
VSP_ALWAYS_INLINE int32_t sat32(int64_t v) {
  return v < INT32_MIN ? INT32_MIN : v > INT32_MAX ? INT32_MAX : int32_t(v);
}
VSP_ALWAYS_INLINE uint8_t sat8u(int64_t v) {
  return v < 0 ? uint8_t(0) : v > 255 ? uint8_t(255) : uint8_t(v);
}

// ---- Wrap-around -------------------------------------------------------------

// The low 32 (16) bits of v as a signed value.
VSP_ALWAYS_INLINE int32_t low32(int64_t v) { return int32_t(uint32_t(uint64_t(v))); }
VSP_ALWAYS_INLINE int16_t low16(int64_t v) { return int16_t(uint16_t(uint64_t(v))); }

VSP_ALWAYS_INLINE int64_t wrapAdd64(int64_t a, int64_t b) {
  return int64_t(uint64_t(a) + uint64_t(b));
}
VSP_ALWAYS_INLINE int64_t wrapSub64(int64_t a, int64_t b) {
  return int64_t(uint64_t(a) - uint64_t(b));
}
VSP_ALWAYS_INLINE int64_t wrapMul64(int64_t a, int64_t b) {
  return int64_t(uint64_t(a) * uint64_t(b));
}
VSP_ALWAYS_INLINE int32_t wrapAdd32(int32_t a, int32_t b) {
  return int32_t(uint32_t(a) + uint32_t(b));
}
VSP_ALWAYS_INLINE int32_t wrapSub32(int32_t a, int32_t b) {
  return int32_t(uint32_t(a) - uint32_t(b));
}
VSP_ALWAYS_INLINE int32_t wrapMul32(int32_t a, int32_t b) {
  return int32_t(uint32_t(a) * uint32_t(b));
}

// ---- Shifts by a scale factor ------------------------------------------------
//
// A positive count shifts right arithmetically (rounding toward minus
// infinity), a negative one shifts left by its magnitude and may lose high
// bits. The count is taken modulo the accumulator's width, as the hardware
// shift instructions do.

VSP_ALWAYS_INLINE int64_t shl64(int64_t v, uint32_t n) { return int64_t(uint64_t(v) << (n & 63)); }
VSP_ALWAYS_INLINE int64_t sar64(int64_t v, uint32_t n) { return v >> (n & 63); }
VSP_ALWAYS_INLINE int32_t shl32(int32_t v, uint32_t n) { return int32_t(uint32_t(v) << (n & 31)); }
VSP_ALWAYS_INLINE int32_t sar32(int32_t v, uint32_t n) { return v >> (n & 31); }

VSP_ALWAYS_INLINE int64_t shiftByScale64(int64_t v, int64_t n) {
  if (n > 0) return sar64(v, uint32_t(uint64_t(n)));
  if (n < 0) return shl64(v, uint32_t(0u - uint64_t(n)));
  return v;
}
VSP_ALWAYS_INLINE int32_t shiftByScale32(int32_t v, int64_t n) {
  if (n > 0) return sar32(v, uint32_t(uint64_t(n)));
  if (n < 0) return shl32(v, uint32_t(0u - uint64_t(n)));
  return v;
}

// The same shift with the count taken as the factor's low five bits as they
// stand in two's complement (so -1 shifts left by 31), the direction still by
// the factor's sign. Only families whose contract states this form use it.
VSP_ALWAYS_INLINE int32_t shiftByScaleLow5(int32_t v, int64_t n) {
  const uint32_t count = uint32_t(uint64_t(n)) & 31;
  if (n > 0) return sar32(v, count);
  if (n < 0) return shl32(v, count);
  return v;
}

// Half-up rounding shift: adds half of the shifted-out unit, then shifts.
// Used only where a member states a rounding term.
VSP_ALWAYS_INLINE int64_t shiftRoundHalfUp64(int64_t v, uint32_t n) {
  n &= 63;
  if (n == 0) return v;
  return sar64(wrapAdd64(v, int64_t(1) << (n - 1)), n);
}

// ---- Float to integer ---------------------------------------------------------
//
// Truncation toward zero with the x86 out-of-range rule: anything that does
// not fit (or is NaN) becomes INT32_MIN / INT64_MIN. The clamping variants
// below clamp first and then call these, which is the library-wide order
// "scale, clamp, truncate".

VSP_ALWAYS_INLINE int32_t truncToS32(double v) {
  return (v > -2147483649.0 && v < 2147483648.0) ? int32_t(v) : INT32_MIN;
}
VSP_ALWAYS_INLINE int32_t truncToS32(float v) {
  return (v >= -2147483648.0f && v < 2147483648.0f) ? int32_t(v) : INT32_MIN;
}
VSP_ALWAYS_INLINE int64_t truncToS64(double v) {
  return (v >= -9223372036854775808.0 && v < 9223372036854775808.0) ? int64_t(v) : INT64_MIN;
}

// Double results stored to 32 bits: clamp in double to the exact bounds.
VSP_ALWAYS_INLINE int32_t f64ToS32Sat(double v) {
  if (v < -2147483648.0) v = -2147483648.0;
  if (v > 2147483647.0) v = 2147483647.0;
  return truncToS32(v);
}
// Double results stored to 16 bits.
VSP_ALWAYS_INLINE int16_t f64ToS16Sat(double v) {
  if (v < -32768.0) v = -32768.0;
  if (v > 32767.0) v = 32767.0;
  return low16(truncToS32(v));
}
// Single results stored to 16 bits: clamp to -32768.0 .. 32767.0.
VSP_ALWAYS_INLINE int16_t f32ToS16Sat(float v) {
  if (v < -32768.0f) v = -32768.0f;
  if (v > 32767.0f) v = 32767.0f;
  return low16(truncToS32(v));
}
// Single results stored to 32 bits without an overflow branch: clamp to
// -2147483648.0 .. +2147483648.0 and truncate, so that the upper bound itself
// overflows to INT32_MIN.
VSP_ALWAYS_INLINE int32_t f32ToS32Clamp(float v) {
  if (v < -2147483648.0f) v = -2147483648.0f;
  if (v > 2147483648.0f) v = 2147483648.0f;
  return truncToS32(v);
}
// Single results stored to 32 bits with a separate overflow branch: above the
// bound gives INT32_MAX, the bound itself still overflows to INT32_MIN.
VSP_ALWAYS_INLINE int32_t f32ToS32Branch(float v) {
  if (v < -2147483648.0f) return INT32_MIN;
  if (v > 2147483648.0f) return INT32_MAX;
  return truncToS32(v);
}

// Round to nearest with ties away from zero: add or subtract one half, then
// truncate.
VSP_ALWAYS_INLINE double roundHalfAway(double v) { return v >= 0 ? v + 0.5 : v - 0.5; }
VSP_ALWAYS_INLINE float roundHalfAway(float v) { return v >= 0 ? v + 0.5f : v - 0.5f; }

// Round to nearest with ties to even, done by hand so that it does not depend
// on the processor's rounding mode. Values from 2^23 (2^52) up are integers
// already and, like infinities and NaN, come back unchanged.
VSP_ALWAYS_INLINE float roundHalfEven(float v) {
  if (!(v > -8388608.0f && v < 8388608.0f)) return v;
  const int32_t i = int32_t(v);  // toward zero, exact in this range
  const float d = v - float(i);  // exact
  const bool odd = (i & 1) != 0;
  if (d > 0.5f || (d == 0.5f && odd)) return float(i + 1);
  if (d < -0.5f || (d == -0.5f && odd)) return float(i - 1);
  return float(i);
}
VSP_ALWAYS_INLINE double roundHalfEven(double v) {
  if (!(v > -4503599627370496.0 && v < 4503599627370496.0)) return v;
  const int64_t i = int64_t(v);
  const double d = v - double(i);
  const bool odd = (i & 1) != 0;
  if (d > 0.5 || (d == 0.5 && odd)) return double(i + 1);
  if (d < -0.5 || (d == -0.5 && odd)) return double(i - 1);
  return double(i);
}

VSP_NS_END
