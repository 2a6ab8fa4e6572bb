// The direct DFT and seeded random frames, for the transform and filter bank tests.
#pragma once

#include <cmath>
#include <complex>
#include <vector>

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

// n values drawn uniformly from [lo, hi], integers for an integer T.
template <class T>
std::vector<T> randomVector(size_t n, uint64_t seed, double lo, double hi) {
  Rng r(seed);
  std::vector<T> v(n);
  for (T& x : v)
    x = T(std::is_integral_v<T> ? r.integer(int64_t(lo), int64_t(hi)) : r.uniform(lo, hi));
  return v;
}

}  // namespace vsptest
