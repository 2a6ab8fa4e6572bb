// Streaming deltas and second derivatives beside a plain scalar loop that
// computes the same utterance in one pass with clamped frame indices.
// Counters are scalar time over library time.
#include <benchmark/benchmark.h>

#include <cmath>
#include <vector>

#include "bench_util.h"
#include "vspsr.h"

namespace {

constexpr int kWidth = 13, kStep = 3 * kWidth;

// As a user would write it: statics, then deltas, then second derivatives.
__attribute__((noinline)) void scalarDeltaDelta(const float* src, int frames, float* dst, float ds,
                                                float dds) {
  auto at = [frames](int t) { return t < 0 ? 0 : t >= frames ? frames - 1 : t; };
  for (int t = 0; t < frames; ++t)
    for (int c = 0; c < kWidth; ++c) dst[t * kStep + c] = src[t * kWidth + c];
  for (int b = 1; b <= 2; ++b) {
    const float s = b == 1 ? ds : dds;
    for (int t = 0; t < frames; ++t)
      for (int c = 0; c < kWidth; ++c) {
        auto x = [&](int k) { return dst[at(t + k) * kStep + (b - 1) * kWidth + c]; };
        dst[t * kStep + b * kWidth + c] = ((x(1) - x(-1)) + 2.0f * (x(2) - x(-2))) * s;
      }
  }
}

void BM_DeltaDelta_Win2_32f_D2(benchmark::State& state) {
  const int frames = int(state.range(0));
  std::vector<float> src(size_t(frames) * kWidth), dst(size_t(frames) * kStep);
  for (size_t i = 0; i < src.size(); ++i) src[i] = float(std::sin(0.01 * double(i)));
  auto lib = [&] {
    vspsDeltaDelta_Win2_32f_D2(src.data(), kWidth, dst.data(), kStep, frames, 0.1f, 0.1f,
                               vspDeltaBegin | vspDeltaEnd);
    benchmark::DoNotOptimize(dst.data());
  };
  const double tLib = vspbench::timePerCall(lib);
  state.counters["scalar_ratio"] = vspbench::timePerCall([&] {
                                     scalarDeltaDelta(src.data(), frames, dst.data(), 0.1f, 0.1f);
                                     benchmark::DoNotOptimize(dst.data());
                                   }) /
                                   tLib;
  for (auto _ : state) lib();
}

BENCHMARK(BM_DeltaDelta_Win2_32f_D2)->Arg(6)->Arg(20)->Arg(100)->Arg(1000);

}  // namespace
