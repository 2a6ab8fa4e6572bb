// Scalar definitions of the multi-row Gaussian sums, written from the
// documented orders, for the tests of the block and mixture families.
#pragma once

#include <cmath>
#include <cstdint>
#include <cstring>

namespace vsptest {

template <class T, class In>
T termOf(const In* s, const In* m, const In* v, int64_t i) {
  const T d = T(s[i]) - T(m[i]);
  return v ? (d * d) * T(v[i]) : d * d;
}

// The lane folds: single precision as two sets of four, added, then
// (c0 + c2) + (c1 + c3); double as four sets of two, added pairwise.
inline float foldRef(const float* a) {
  const float c0 = a[0] + a[4], c1 = a[1] + a[5], c2 = a[2] + a[6], c3 = a[3] + a[7];
  return (c0 + c2) + (c1 + c3);
}
inline double foldRef(const double* a) {
  return ((a[0] + a[2]) + (a[4] + a[6])) + ((a[1] + a[3]) + (a[5] + a[7]));
}

// A row's accumulator: from `init`, terms taken one by one up to the 16-byte
// boundary of var (mean without var) when `aligned` (from the first element
// otherwise), then rounds of 8 lanes folded and taken at once, then the rest
// one by one. Rows too short for a round take every term one by one.
template <class T, class In>
T rowAccRef(const In* s, const In* m, const In* v, int n, T init, bool aligned, bool subtract) {
  int p = 0;
  if (aligned) {
    const uintptr_t a = reinterpret_cast<uintptr_t>(v ? v : m);
    p = a % sizeof(In) ? -1 : int(((16 - a % 16) % 16) / sizeof(In));
  }
  T acc = init;
  auto take = [&](T x) { acc = subtract ? acc - x : acc + x; };
  int i = 0;
  if (p >= 0 && n >= p + 8) {
    for (; i < p; ++i) take(termOf<T>(s, m, v, i));
    T lanes[8] = {};
    const int rounds = (n - p) / 8;
    for (int r = 0; r < rounds; ++r)
      for (int k = 0; k < 8; ++k) lanes[k] += termOf<T>(s, m, v, i + 8 * r + k);
    take(foldRef(lanes));
    i += 8 * rounds;
  }
  for (; i < n; ++i) take(termOf<T>(s, m, v, i));
  return acc;
}

// The exact integer sum, wrapping in 64 bits.
inline int64_t rowSumRef16(const int16_t* s, const int16_t* m, const int16_t* v, int n) {
  uint64_t sum = 0;
  for (int i = 0; i < n; ++i) {
    const int64_t d = int64_t(s[i]) - m[i];
    sum += uint64_t(d * d * (v ? v[i] : 1));
  }
  return int64_t(sum);
}

inline int64_t shiftRef(int64_t v, int64_t n) {
  if (n > 0) return v >> (n & 63);
  if (n < 0) return int64_t(uint64_t(v) << ((-n) & 63));
  return v;
}
inline int32_t wrap32(int64_t v) { return int32_t(uint32_t(uint64_t(v))); }
inline int64_t clamp32(int64_t v) {
  return v < INT32_MIN ? INT32_MIN : v > INT32_MAX ? INT32_MAX : v;
}

}  // namespace vsptest
