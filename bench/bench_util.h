// Helpers shared by the benchmarks: a median-of-runs timer for the side by
// side ratios, so that one noisy run on a shared machine does not decide.
#pragma once

#include <algorithm>
#include <chrono>
#include <vector>

namespace vspbench {

// Median over 7 runs of the time of one call, in seconds; each run repeats
// the call until it has taken about 2 ms.
template <class F>
double timePerCall(F&& f) {
  using clock = std::chrono::steady_clock;
  long reps = 1;
  for (;;) {
    const auto t0 = clock::now();
    for (long i = 0; i < reps; ++i) f();
    const double s = std::chrono::duration<double>(clock::now() - t0).count();
    if (s > 2e-3 || reps > (1L << 30)) break;
    reps *= 2;
  }
  std::vector<double> runs;
  for (int r = 0; r < 7; ++r) {
    const auto t0 = clock::now();
    for (long i = 0; i < reps; ++i) f();
    runs.push_back(std::chrono::duration<double>(clock::now() - t0).count() / double(reps));
  }
  std::nth_element(runs.begin(), runs.begin() + 3, runs.end());
  return runs[3];
}

}  // namespace vspbench
