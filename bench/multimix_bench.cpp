// One observation against a whole set of Gaussians (39 dimensions, 2,048
// Gaussians in one dense matrix) beside a plain scalar loop over the same
// data; the "ratio" counter is scalar time over library time.
#include <benchmark/benchmark.h>

#include <vector>

#include "bench_util.h"
#include "vspsr.h"

namespace {

struct Models {
  int width, count;
  std::vector<float> src, means, vars, gConsts, dst;
  Models(int w, int n) : width(w), count(n), src(w), means(size_t(w) * n), vars(means.size()) {
    for (int j = 0; j < w; ++j) src[j] = float((j * 37) % 23 - 11) * 0.1f;
    for (size_t i = 0; i < means.size(); ++i) {
      means[i] = float(int(i * 11 % 17) - 8) * 0.1f;
      vars[i] = 1.0f + float(i % 5) * 0.25f;
    }
    gConsts.assign(n, -20.0f);
    dst.assign(n, -1e30f);
  }
};

// The plain loop a user would write; `finish(k, sum)` takes Gaussian k's sum.
template <class Finish>
__attribute__((noinline)) void scalarLoop(const Models& m, Finish&& finish) {
  for (int k = 0; k < m.count; ++k) {
    const float* mean = &m.means[size_t(k) * m.width];
    const float* var = &m.vars[size_t(k) * m.width];
    float sum = 0;
    for (int j = 0; j < m.width; ++j) {
      const float d = m.src[j] - mean[j];
      sum += d * d * var[j];
    }
    finish(k, sum);
  }
}

template <class Lib, class Ref>
void sideBySide(benchmark::State& st, Lib&& lib, Ref&& ref) {
  const double tLib = vspbench::timePerCall(lib);
  const double tRef = vspbench::timePerCall(ref);
  for (auto _ : st) lib();
  st.counters["ratio"] = tRef / tLib;
}

void BM_LogGaussMaxMultiMix_32f_D2(benchmark::State& st) {
  Models m(int(st.range(0)), int(st.range(1)));
  sideBySide(
      st,
      [&] {
        vspsLogGaussMaxMultiMix_32f_D2(m.means.data(), m.vars.data(), m.width, m.src.data(),
                                       m.width, m.gConsts.data(), m.dst.data(), m.count);
        benchmark::DoNotOptimize(m.dst.data());
      },
      [&] {
        scalarLoop(m, [&m](int k, float sum) {
          const float score = m.gConsts[k] - 0.5f * sum;
          if (score > m.dst[k]) m.dst[k] = score;
        });
        benchmark::DoNotOptimize(m.dst.data());
      });
}
void BM_MahDistMultiMix_32f_D2(benchmark::State& st) {
  Models m(int(st.range(0)), int(st.range(1)));
  sideBySide(
      st,
      [&] {
        vspsMahDistMultiMix_32f_D2(m.means.data(), m.vars.data(), m.width, m.src.data(), m.width,
                                   m.dst.data(), m.count);
        benchmark::DoNotOptimize(m.dst.data());
      },
      [&] {
        scalarLoop(m, [&m](int k, float sum) { m.dst[k] = sum; });
        benchmark::DoNotOptimize(m.dst.data());
      });
}

BENCHMARK(BM_LogGaussMaxMultiMix_32f_D2)->Args({39, 2048});
BENCHMARK(BM_MahDistMultiMix_32f_D2)->Args({39, 2048});

}  // namespace
