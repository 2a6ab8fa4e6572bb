// scale32(n) and scale64(n): the exact power 2^(-n), from constant tables
// with a clamped index.
//
// scale32 covers n = -128 .. 150: +inf at -128, exact powers (down to the
// smallest denormal) from -127 to 149, zero at 150. scale64 is assembled
// from 64 single-precision fine factors 2^(-k) and 34 coarse double powers
// 2^(1087 - 64h), slot 0 holding +inf; so it is +inf at -1024, exact from
// -1023 down to 2^-1074 and zero beyond. The index arithmetic is done in 64
// bits, so n = scaleFactor + 1 cannot overflow on the way in.
#pragma once

#include "frame/base.h"

VSP_NS_BEGIN

namespace scale_detail {

struct Table32 {
  float v[279];  // index n + 128
};
struct Table64 {
  float fine[64];     // 2^(-k)
  double coarse[34];  // 2^(1087 - 64h), h >= 1; +inf at h = 0
};

constexpr float pow2f(int e) {
  float r = 1.0f;
  for (int i = 0; i < e; ++i) r *= 2.0f;
  for (int i = 0; i > e; --i) r *= 0.5f;
  return r;
}
constexpr double pow2d(int e) {
  double r = 1.0;
  for (int i = 0; i < e; ++i) r *= 2.0;
  for (int i = 0; i > e; --i) r *= 0.5;
  return r;
}
constexpr Table32 makeTable32() {
  Table32 t{};
  t.v[0] = __builtin_huge_valf();
  for (int n = -127; n <= 149; ++n) t.v[n + 128] = pow2f(-n);
  t.v[278] = 0.0f;
  return t;
}
constexpr Table64 makeTable64() {
  Table64 t{};
  for (int k = 0; k < 64; ++k) t.fine[k] = pow2f(-k);
  t.coarse[0] = __builtin_huge_val();
  for (int h = 1; h < 34; ++h) t.coarse[h] = pow2d(1087 - 64 * h);
  return t;
}

inline constexpr Table32 kTable32 = makeTable32();
inline constexpr Table64 kTable64 = makeTable64();

}  // namespace scale_detail

VSP_ALWAYS_INLINE float scale32(int64_t n) {
  if (n < -128) n = -128;
  if (n > 150) n = 150;
  return scale_detail::kTable32.v[n + 128];
}

VSP_ALWAYS_INLINE double scale64(int64_t n) {
  if (n < -1024) n = -1024;
  if (n > 1087) n = 1087;
  const int64_t c = n + 1087;
  return double(scale_detail::kTable64.fine[c & 63]) * scale_detail::kTable64.coarse[c >> 6];
}

VSP_NS_END
