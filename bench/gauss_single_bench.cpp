// Single-observation scoring beside a plain scalar loop. Each pair shares
// its data; the "ratio" counter is scalar time over library time.
#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdint>
#include <vector>

#include "bench_util.h"
#include "vspsr.h"

namespace {

template <class T>
struct Model {
  std::vector<T> src, mean, var;
  explicit Model(int n) : src(n), mean(n), var(n) {
    for (int i = 0; i < n; ++i) {
      src[i] = T(((i * 37) % 23) - 11);
      mean[i] = T(((i * 11) % 17) - 8);
      var[i] = T(1 + (i % 5));
    }
  }
};

// Plain loops, written as a user would, for the comparison.
__attribute__((noinline)) float scalar32f(const float* s, const float* m, const float* v, int n,
                                          float g) {
  float sum = 0;
  for (int i = 0; i < n; ++i) {
    const float d = s[i] - m[i];
    sum += d * d * v[i];
  }
  return g - 0.5f * sum;
}
__attribute__((noinline)) double scalar64f(const double* s, const double* m, const double* v, int n,
                                           double g) {
  double sum = 0;
  for (int i = 0; i < n; ++i) {
    const double d = s[i] - m[i];
    sum += d * d * v[i];
  }
  return g - 0.5 * sum;
}
__attribute__((noinline)) int32_t scalar16s(const int16_t* s, const int16_t* m, const int16_t* v,
                                            int n, int32_t g, int sf) {
  int64_t sum = 0;
  for (int i = 0; i < n; ++i) {
    const int64_t d = int64_t(s[i]) - m[i];
    sum += d * d * v[i];
  }
  const int64_t r = int64_t(g) - (sum >> (sf + 1));
  return r < INT32_MIN ? INT32_MIN : r > INT32_MAX ? INT32_MAX : int32_t(r);
}

void BM_LogGaussSingle_32f(benchmark::State& st) {
  const int n = int(st.range(0));
  Model<float> md(n);
  float out = 0;
  const double lib = vspbench::timePerCall([&] {
    vspsLogGaussSingle_32f(md.src.data(), md.mean.data(), md.var.data(), n, &out, 1.0f);
    benchmark::DoNotOptimize(out);
  });
  const double ref = vspbench::timePerCall([&] {
    out = scalar32f(md.src.data(), md.mean.data(), md.var.data(), n, 1.0f);
    benchmark::DoNotOptimize(out);
  });
  for (auto _ : st) {
    vspsLogGaussSingle_32f(md.src.data(), md.mean.data(), md.var.data(), n, &out, 1.0f);
    benchmark::DoNotOptimize(out);
  }
  st.counters["ratio"] = ref / lib;
}
void BM_LogGaussSingle_64f(benchmark::State& st) {
  const int n = int(st.range(0));
  Model<double> md(n);
  double out = 0;
  const double lib = vspbench::timePerCall([&] {
    vspsLogGaussSingle_64f(md.src.data(), md.mean.data(), md.var.data(), n, &out, 1.0);
    benchmark::DoNotOptimize(out);
  });
  const double ref = vspbench::timePerCall([&] {
    out = scalar64f(md.src.data(), md.mean.data(), md.var.data(), n, 1.0);
    benchmark::DoNotOptimize(out);
  });
  for (auto _ : st) {
    vspsLogGaussSingle_64f(md.src.data(), md.mean.data(), md.var.data(), n, &out, 1.0);
    benchmark::DoNotOptimize(out);
  }
  st.counters["ratio"] = ref / lib;
}
void BM_LogGaussSingle_16s32s_Sfs(benchmark::State& st) {
  const int n = int(st.range(0));
  Model<int16_t> md(n);
  int32_t out = 0;
  const double lib = vspbench::timePerCall([&] {
    vspsLogGaussSingle_16s32s_Sfs(md.src.data(), md.mean.data(), md.var.data(), n, &out, 1, 4);
    benchmark::DoNotOptimize(out);
  });
  const double ref = vspbench::timePerCall([&] {
    out = scalar16s(md.src.data(), md.mean.data(), md.var.data(), n, 1, 4);
    benchmark::DoNotOptimize(out);
  });
  for (auto _ : st) {
    vspsLogGaussSingle_16s32s_Sfs(md.src.data(), md.mean.data(), md.var.data(), n, &out, 1, 4);
    benchmark::DoNotOptimize(out);
  }
  st.counters["ratio"] = ref / lib;
}

BENCHMARK(BM_LogGaussSingle_32f)->Arg(13)->Arg(39)->Arg(256);
BENCHMARK(BM_LogGaussSingle_64f)->Arg(13)->Arg(39)->Arg(256);
BENCHMARK(BM_LogGaussSingle_16s32s_Sfs)->Arg(13)->Arg(39)->Arg(256);

}  // namespace
