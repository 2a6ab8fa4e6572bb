// Shared by the front-end tests: the direct DFT, the Mel scale, and a filter
// bank read back through its Get functions.
#pragma once

#include <cmath>
#include <complex>
#include <vector>

#include "frontend/fbank.h"
#include "support/harness.h"

namespace vsptest {

// X[k] for k = 0 .. N/2 by the direct sum, in double.
template <class T>
std::vector<std::complex<double>> directDft(const std::vector<T>& x) {
  const size_t n = x.size();
  std::vector<std::complex<double>> w(n), X(n / 2 + 1);
  for (size_t j = 0; j < n; ++j) w[j] = std::polar(1.0, -2 * M_PI * double(j) / double(n));
  for (size_t k = 0; k <= n / 2; ++k)
    for (size_t i = 0; i < n; ++i) X[k] += double(x[i]) * w[i * k % n];
  return X;
}

constexpr float kMelMul = 1127.0f, kMelDiv = 700.0f;

inline double melOf(double f, double mul = kMelMul, double div = kMelDiv) {
  return mul * std::log(1 + f / div);
}

// The centres, and each filter's weights over bins c[j-1] .. c[j+1] in one
// run (rising side, then falling side), as the Get functions give them.
struct BankRead {
  std::vector<int32_t> c;
  std::vector<std::vector<float>> w;
  float at(int j, int k) const { return w[size_t(j) - 1][size_t(k - c[size_t(j) - 1])]; }
};

template <class State, class GetC, class GetW>
BankRead readBankWith(const State* s, GetC getC, GetW getW) {
  BankRead r;
  r.c.resize(size_t(s->filterCount) + 2);
  EXPECT_EQ(getC(s, r.c.data()), vspStatusOk);
  for (int j = 1; j <= s->filterCount; ++j) {
    r.w.emplace_back(size_t(std::max(r.c[j + 1] - r.c[j - 1] + 1, 0)));
    EXPECT_EQ(getW(s, j, r.w.back().data()), vspStatusOk);
  }
  return r;
}
inline BankRead readBank(const VspFBankState_32f* s) {
  return readBankWith(s, vspsFBankGetCenters_32f, vspsFBankGetCoeffs_32f);
}
inline BankRead readBank(const VspFBankState_16s* s) {
  return readBankWith(s, vspsFBankGetCenters_16s, vspsFBankGetCoeffs_16s);
}

}  // namespace vsptest
