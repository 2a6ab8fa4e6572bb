// The cosine transform and lifter beside a plain scalar loop over the same
// table, OpenBLAS's matrix-vector product and FFTW's DCT-II (each followed by
// the lifter), where installed. Counters are peer time over library time.
#include <benchmark/benchmark.h>

#include <cmath>
#include <vector>

#include "bench_util.h"
#include "vspsr.h"

#ifdef VSP_BENCH_HAVE_OPENBLAS
#include <cblas.h>
#endif
#ifdef VSP_BENCH_HAVE_FFTW
#include <fftw3.h>
#endif

namespace {

struct Setup {
  int n, cep;
  std::vector<float> src, table, lifter, dst;
  VspDCTLifterState_32f* st = nullptr;
  Setup(int n_, int cep_)
      : n(n_), cep(cep_), src(n_), table(size_t(n_) * cep_), lifter(cep_), dst(n_) {
    for (int k = 0; k < n; ++k) src[k] = float(std::log(1.5 + std::sin(0.3 * k)));
    for (int i = 0; i < cep; ++i) {
      for (int k = 0; k < n; ++k)
        table[size_t(i) * n + k] = float(std::cos((k + 0.5) * (i + 1) * M_PI / n));
      lifter[i] = float(1.0 + std::sin((i + 1) * M_PI / 22) * 11.0);
    }
    vspsDCTLifterInitAlloc_32f(&st, n, cep, 22, 1.0f);
  }
  ~Setup() { vspsDCTLifterFree_32f(st); }
};

// As a user would write it, with the table precomputed.
__attribute__((noinline)) void scalarDct(const float* src, const float* table, const float* lifter,
                                         int n, int cep, float* dst) {
  for (int i = 0; i < cep; ++i) {
    float sum = 0;
    for (int k = 0; k < n; ++k) sum += table[i * n + k] * src[k];
    dst[i] = lifter[i] * sum;
  }
}

void BM_DCTLifter_32f(benchmark::State& state) {
  Setup s(int(state.range(0)), int(state.range(1)));
  auto lib = [&] {
    vspsDCTLifter_32f(s.src.data(), s.dst.data(), s.st);
    benchmark::DoNotOptimize(s.dst.data());
  };
  const double tLib = vspbench::timePerCall(lib);
  state.counters["scalar_ratio"] =
      vspbench::timePerCall([&] {
        scalarDct(s.src.data(), s.table.data(), s.lifter.data(), s.n, s.cep, s.dst.data());
        benchmark::DoNotOptimize(s.dst.data());
      }) /
      tLib;
#ifdef VSP_BENCH_HAVE_OPENBLAS
  state.counters["openblas_ratio"] =
      vspbench::timePerCall([&] {
        cblas_sgemv(CblasRowMajor, CblasNoTrans, s.cep, s.n, 1.0f, s.table.data(), s.n,
                    s.src.data(), 1, 0.0f, s.dst.data(), 1);
        for (int i = 0; i < s.cep; ++i) s.dst[i] *= s.lifter[i];
        benchmark::DoNotOptimize(s.dst.data());
      }) /
      tLib;
#endif
#ifdef VSP_BENCH_HAVE_FFTW
  // DCT-II of the whole frame: all n outputs (each twice ours), lifter on cep.
  std::vector<float> in(s.src), out(s.n);
  fftwf_plan plan = fftwf_plan_r2r_1d(s.n, in.data(), out.data(), FFTW_REDFT10, FFTW_MEASURE);
  std::copy(s.src.begin(), s.src.end(), in.begin());
  state.counters["fftw_ratio"] = vspbench::timePerCall([&] {
                                   fftwf_execute(plan);
                                   for (int i = 0; i < s.cep; ++i)
                                     s.dst[i] = 0.5f * s.lifter[i] * out[i + 1];
                                   benchmark::DoNotOptimize(s.dst.data());
                                 }) /
                                 tLib;
  fftwf_destroy_plan(plan);
#endif
  for (auto _ : state) lib();
}

BENCHMARK(BM_DCTLifter_32f)->Args({23, 12})->Args({26, 13})->Args({40, 20})->Args({64, 30});

}  // namespace
