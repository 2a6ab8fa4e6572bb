// One observation against a whole set of Gaussians (39 dimensions, 2,048
// Gaussians in one dense matrix) beside a plain scalar loop over the same
// data; the "ratio" counter is scalar time over library time.
//
// The two matrices take 640 KB, so every call streams them from L2 (or
// further) at least once. "read_floor" is the time of a bare AVX2 pass that
// only loads both matrices, over the library's time: near 1 means the call
// runs at the cache's bandwidth, and "ratio_cap" (scalar time over that
// floor) is the most any kernel could gain over the scalar loop here.
#include <benchmark/benchmark.h>
#include <immintrin.h>

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

// Loads every float of both matrices once, eight lanes at a time, and
// keeps an OR of them so that nothing is optimised away.
__attribute__((target("avx2"), noinline)) float readBoth(const Models& m) {
  const size_t n = m.means.size();
  __m256 a = _mm256_setzero_ps(), b = _mm256_setzero_ps();
  size_t i = 0;
  for (; i + 8 <= n; i += 8) {
    a = _mm256_or_ps(a, _mm256_loadu_ps(&m.means[i]));
    b = _mm256_or_ps(b, _mm256_loadu_ps(&m.vars[i]));
  }
  float out[8];
  _mm256_storeu_ps(out, _mm256_or_ps(a, b));
  return out[0];
}

template <class Lib, class Ref>
void sideBySide(benchmark::State& st, const Models& m, Lib&& lib, Ref&& ref) {
  const double tLib = vspbench::timePerCall(lib);
  const double tRef = vspbench::timePerCall(ref);
  const double tRead = __builtin_cpu_supports("avx2") ? vspbench::timePerCall([&m] {
    float x = readBoth(m);
    benchmark::DoNotOptimize(x);
  })
                                                      : 0.0;
  for (auto _ : st) lib();
  st.counters["ratio"] = tRef / tLib;
  if (tRead > 0) {
    st.counters["read_floor"] = tRead / tLib;
    st.counters["ratio_cap"] = tRef / tRead;
  }
}

void BM_LogGaussMaxMultiMix_32f_D2(benchmark::State& st) {
  Models m(int(st.range(0)), int(st.range(1)));
  sideBySide(
      st, m,
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
      st, m,
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
