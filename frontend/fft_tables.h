// Twiddle tables of the real transform of length N = 2^order, and their
// layout. One builder serves two uses: the constant tables of the short
// lengths (N up to 32, evaluated at compile time) and the tables that a
// transform object computes at creation for every longer length.
//
// The transform is a complex transform of length M = N / 2 over the packed
// input z[n] = x[2n] + i x[2n+1], run as radix-4 Stockham stages (a last
// radix-2 stage when log2 M is odd), followed by a pass that splits the
// packed spectrum into the real one. Its tables, in this order:
//
//   stage t = 0, 1, ... with n = M / 4^t >= 4 and m = n / 4:
//       six arrays of m floats: Re w^p, Im w^p, Re w^2p, Im w^2p, Re w^3p,
//       Im w^3p for w = exp(-2 pi i / n) and p = 0 .. m-1;
//   for M >= 16, the stride-4 stage (t = 1) again, each value repeated four
//       times (six arrays of M / 4), for vector tiers wider than four lanes;
//   the split pass: cos(2 pi k / N) and -sin(2 pi k / N) for k = 0 .. M/2.
#pragma once

#include "frame/base.h"

VSP_NS_BEGIN

struct FftTableLayout {
  int64_t m;           // complex length N / 2 (0 for N = 1)
  int32_t stageCount;  // radix-4 stages
  int64_t stage[14];   // offset of each stage's six arrays
  int64_t second;      // offset of the repeated stride-4 stage, -1 if none
  int64_t postCos;
  int64_t postSin;
  int64_t floats;  // the whole table
};

constexpr FftTableLayout fftTableLayout(int32_t order) {
  FftTableLayout l{};
  l.m = order > 0 ? int64_t(1) << (order - 1) : 0;
  l.second = -1;
  if (l.m == 0) return l;
  int64_t off = 0;
  for (int64_t n = l.m; n >= 4; n /= 4) {
    l.stage[l.stageCount++] = off;
    off += 6 * (n / 4);
  }
  if (l.m >= 16) {
    l.second = off;
    off += 6 * (l.m / 4);
  }
  l.postCos = off;
  off += l.m / 2 + 1;
  l.postSin = off;
  off += l.m / 2 + 1;
  l.floats = off;
  return l;
}

// cos and sin of 2 pi j / n for a power of two n. The angle is folded into
// the first octant, so that quarter turns come out exact and no argument
// beyond pi/4 reaches the library functions.
constexpr void unitRoot(int64_t j, int64_t n, double* c, double* s) {
  const int64_t d = n < 8 ? 8 : n;  // a common denominator divisible by 8
  j = ((j % n) + n) % n * (d / n);
  const int64_t quarter = d / 4;
  const int64_t quadrant = j / quarter;
  const int64_t r = j - quadrant * quarter;
  constexpr double kTwoPi = 6.283185307179586476925286766559;
  double cr = 1.0, sr = 0.0;
  if (r != 0) {
    if (2 * r <= quarter) {
      cr = __builtin_cos(kTwoPi * double(r) / double(d));
      sr = __builtin_sin(kTwoPi * double(r) / double(d));
    } else {
      const int64_t t = quarter - r;
      cr = __builtin_sin(kTwoPi * double(t) / double(d));
      sr = __builtin_cos(kTwoPi * double(t) / double(d));
    }
  }
  switch (quadrant) {
    case 0:
      *c = cr, *s = sr;
      break;
    case 1:
      *c = -sr, *s = cr;
      break;
    case 2:
      *c = -cr, *s = -sr;
      break;
    default:
      *c = sr, *s = -cr;
      break;
  }
}

// Fills the tables of `order` (at least 1) into t[0 .. layout.floats).
constexpr void fftFillTables(float* t, int32_t order) {
  const FftTableLayout l = fftTableLayout(order);
  int64_t n = l.m;
  for (int32_t st = 0; st < l.stageCount; ++st, n /= 4) {
    const int64_t m = n / 4;
    float* a = t + l.stage[st];
    for (int64_t p = 0; p < m; ++p)
      for (int64_t k = 1; k <= 3; ++k) {
        double c = 0, s = 0;
        unitRoot(k * p, n, &c, &s);
        a[(2 * k - 2) * m + p] = float(c);
        a[(2 * k - 1) * m + p] = float(-s);
      }
  }
  if (l.second >= 0) {
    const int64_t len = l.m / 4, m = l.m / 16;
    const float* from = t + l.stage[1];
    float* a = t + l.second;
    for (int64_t c = 0; c < 6; ++c)
      for (int64_t i = 0; i < len; ++i) a[c * len + i] = from[c * m + i / 4];
  }
  const int64_t bigN = 2 * l.m;
  for (int64_t k = 0; k <= l.m / 2; ++k) {
    double c = 0, s = 0;
    unitRoot(k, bigN, &c, &s);
    t[l.postCos + k] = float(c);
    t[l.postSin + k] = float(-s);
  }
}

// The short lengths keep their tables in the library's constant data, so
// that their transform objects carry none.
constexpr int32_t kFftSmallMaxOrder = 5;

struct FftSmallTables {
  float t[kFftSmallMaxOrder + 1][80];
};

constexpr FftSmallTables makeFftSmallTables() {
  FftSmallTables s{};
  for (int32_t o = 1; o <= kFftSmallMaxOrder; ++o) fftFillTables(s.t[o], o);
  return s;
}

static_assert(fftTableLayout(kFftSmallMaxOrder).floats <= 80, "small tables fit their rows");

inline constexpr FftSmallTables kFftSmallTables = makeFftSmallTables();

VSP_NS_END
