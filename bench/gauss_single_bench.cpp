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

// One pair: the library call and the plain loop over the same model.
template <class T, class Lib, class Ref>
void sideBySide(benchmark::State& st, Lib lib, Ref ref) {
  const int n = int(st.range(0));
  Model<T> md(n);
  const double tLib = vspbench::timePerCall([&] { lib(md, n); });
  const double tRef = vspbench::timePerCall([&] { ref(md, n); });
  for (auto _ : st) lib(md, n);
  st.counters["ratio"] = tRef / tLib;
}

void BM_LogGaussSingle_32f(benchmark::State& st) {
  float out = 0;
  sideBySide<float>(
      st,
      [&](Model<float>& m, int n) {
        vspsLogGaussSingle_32f(m.src.data(), m.mean.data(), m.var.data(), n, &out, 1.0f);
        benchmark::DoNotOptimize(out);
      },
      [&](Model<float>& m, int n) {
        benchmark::DoNotOptimize(out = scalar32f(m.src.data(), m.mean.data(), m.var.data(), n, 1));
      });
}
void BM_LogGaussSingle_64f(benchmark::State& st) {
  double out = 0;
  sideBySide<double>(
      st,
      [&](Model<double>& m, int n) {
        vspsLogGaussSingle_64f(m.src.data(), m.mean.data(), m.var.data(), n, &out, 1.0);
        benchmark::DoNotOptimize(out);
      },
      [&](Model<double>& m, int n) {
        benchmark::DoNotOptimize(out = scalar64f(m.src.data(), m.mean.data(), m.var.data(), n, 1));
      });
}
void BM_LogGaussSingle_16s32s_Sfs(benchmark::State& st) {
  int32_t out = 0;
  sideBySide<int16_t>(
      st,
      [&](Model<int16_t>& m, int n) {
        vspsLogGaussSingle_16s32s_Sfs(m.src.data(), m.mean.data(), m.var.data(), n, &out, 1, 4);
        benchmark::DoNotOptimize(out);
      },
      [&](Model<int16_t>& m, int n) {
        benchmark::DoNotOptimize(out =
                                     scalar16s(m.src.data(), m.mean.data(), m.var.data(), n, 1, 4));
      });
}

BENCHMARK(BM_LogGaussSingle_32f)->Arg(13)->Arg(39)->Arg(256);
BENCHMARK(BM_LogGaussSingle_64f)->Arg(13)->Arg(39)->Arg(256);
BENCHMARK(BM_LogGaussSingle_16s32s_Sfs)->Arg(13)->Arg(39)->Arg(256);

}  // namespace
