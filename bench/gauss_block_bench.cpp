// Block and mixture scoring for a 39-dimensional model of 512 components,
// beside a plain scalar loop and the usual expanded form through OpenBLAS
// sgemm (where installed). Counters: frames per second of each column,
// "vs_scalar" (scalar time over library time, target 8 or more) and
// "vs_sgemm" (library time over sgemm time, target 2 or less).
// Each column's time is the best of three medians of seven runs.
//
// The scalar loops and the sgemm columns fold scores with the library's own
// pair step, so that every column computes the same result by the same
// log-add and the ratios measure the scoring itself.
#include <benchmark/benchmark.h>

#include <cmath>
#include <algorithm>
#include <cstdint>
#include <vector>

#include "bench_util.h"
#include "scoring/logadd.h"
#include "vspsr.h"

#ifdef VSP_BENCH_HAVE_OPENBLAS
#include <cblas.h>
#endif

namespace {

constexpr int kDim = 39, kComponents = 512, kFrames = 1000;

// A deterministic model and block of frames with a realistic spread of
// scores: unit-scale means, inverse variances from 0.5 to 2, constants with
// the usual normalising term, and frames drawn from the mixture (a random
// component's mean plus noise of its variance), so that each frame lies
// near a few components and far from most.
struct Data {
  std::vector<float> frames, means, vars, g;
  std::vector<int16_t> frames16, means16, vars16;
  std::vector<int32_t> g32;
  Data()
      : frames(kFrames * kDim),
        means(kComponents * kDim),
        vars(kComponents * kDim),
        g(kComponents),
        frames16(frames.size()),
        means16(means.size()),
        vars16(vars.size()),
        g32(kComponents) {
    uint32_t s = 12345;
    auto next = [&] { return (s = s * 1664525u + 1013904223u) >> 8; };
    auto unit = [&] { return float(next() % 100000) / 50000.0f - 1.0f; };
    for (auto& x : means) x = unit();
    for (auto& x : vars) x = 1.25f + 0.75f * unit();
    for (int f = 0; f < kFrames; ++f) {
      const int c = int(next() % kComponents);
      for (int i = 0; i < kDim; ++i) {
        // A sum of three uniforms: roughly normal, of variance 1 / var.
        const float noise = (unit() + unit() + unit()) / std::sqrt(vars[c * kDim + i]);
        frames[f * kDim + i] = means[c * kDim + i] + noise;
      }
    }
    for (int c = 0; c < kComponents; ++c) {
      double logDet = 0;
      for (int i = 0; i < kDim; ++i) logDet += std::log(vars[c * kDim + i]);
      g[c] = float(-0.5 * kDim * std::log(2 * M_PI) + 0.5 * logDet - std::log(kComponents));
      g32[c] = int32_t(g[c] * 64);
    }
    for (size_t i = 0; i < frames.size(); ++i) frames16[i] = int16_t(frames[i] * 256);
    for (size_t i = 0; i < means.size(); ++i) means16[i] = int16_t(means[i] * 256);
    for (size_t i = 0; i < vars.size(); ++i) vars16[i] = int16_t(vars[i] * 16);
  }
};
const Data& data() {
  static const Data d;
  return d;
}

// ---- Scalar loops, written as a user would ---------------------------------------------

__attribute__((noinline)) float scalarScore(const float* x, const float* m, const float* v,
                                            float g) {
  float sum = 0;
  for (int i = 0; i < kDim; ++i) {
    const float d = x[i] - m[i];
    sum += d * d * v[i];
  }
  return g - 0.5f * sum;
}
float pairStep(float run, float score) {
  return float(vsp::logadd::add32(double(run), double(score)));
}

void scalarAdd(const Data& d, float* dst) {
  for (int c = 0; c < kComponents; ++c)
    for (int f = 0; f < kFrames; ++f)
      dst[f] = pairStep(
          dst[f], scalarScore(&d.frames[f * kDim], &d.means[c * kDim], &d.vars[c * kDim], d.g[c]));
}
float scalarMixture(const Data& d, const float* x) {
  float run = scalarScore(x, &d.means[0], &d.vars[0], d.g[0]);
  for (int c = 1; c < kComponents; ++c)
    run = pairStep(run, scalarScore(x, &d.means[c * kDim], &d.vars[c * kDim], d.g[c]));
  return run;
}
void scalarInt(const Data& d, int32_t* dst, int c, int sf) {
  for (int f = 0; f < kFrames; ++f) {
    int64_t sum = 0;
    for (int i = 0; i < kDim; ++i) {
      const int64_t x = int64_t(d.frames16[f * kDim + i]) - d.means16[c * kDim + i];
      sum += x * x * d.vars16[c * kDim + i];
    }
    int64_t sh = sum >> (sf + 1);
    if (sh > INT32_MAX) sh = INT32_MAX;
    dst[f] = int32_t(uint32_t(d.g32[c]) - uint32_t(sh));
  }
}

// ---- The expanded form: scores = g' - 0.5 x^2 . v + x . (m v) as one sgemm -------------

#ifdef VSP_BENCH_HAVE_OPENBLAS
struct Expanded {
  std::vector<float> b, g0, a, c;  // b: 2*dim x components; a: frames x 2*dim
  explicit Expanded(const Data& d) : b(2 * kDim * kComponents), g0(kComponents) {
    openblas_set_num_threads(1);  // the library runs on the caller's one thread
    for (int c = 0; c < kComponents; ++c) {
      double mm = 0;
      for (int i = 0; i < kDim; ++i) {
        const float m = d.means[c * kDim + i], v = d.vars[c * kDim + i];
        b[i * kComponents + c] = -0.5f * v;
        b[(kDim + i) * kComponents + c] = m * v;
        mm += double(m) * m * v;
      }
      g0[c] = float(d.g[c] - 0.5 * mm);
    }
  }
  // Scores of `frames` frames into c (frames x components).
  template <class T>
  void scores(const T* x, int frames, float scale) {
    a.resize(size_t(frames) * 2 * kDim);
    c.resize(size_t(frames) * kComponents);
    for (int f = 0; f < frames; ++f)
      for (int i = 0; i < kDim; ++i) {
        const float v = float(x[f * kDim + i]) * scale;
        a[f * 2 * kDim + i] = v * v;
        a[f * 2 * kDim + kDim + i] = v;
      }
    for (int f = 0; f < frames; ++f)
      for (int k = 0; k < kComponents; ++k) c[size_t(f) * kComponents + k] = g0[k];
    cblas_sgemm(CblasRowMajor, CblasNoTrans, CblasNoTrans, frames, kComponents, 2 * kDim, 1.0f,
                a.data(), 2 * kDim, b.data(), kComponents, 1.0f, c.data(), kComponents);
  }
};
#endif

// The machine is shared: the best of three medians.
template <class F>
double timed(F&& f) {
  double best = vspbench::timePerCall(f);
  for (int i = 0; i < 2; ++i) best = std::min(best, vspbench::timePerCall(f));
  return best;
}

void report(benchmark::State& st, double lib, double scalar, double peer, double framesPerCall) {
  st.counters["lib_fps"] = framesPerCall / lib;
  st.counters["scalar_fps"] = framesPerCall / scalar;
  st.counters["vs_scalar"] = scalar / lib;
  if (peer > 0) {
    st.counters["sgemm_fps"] = framesPerCall / peer;
    st.counters["vs_sgemm"] = lib / peer;
  }
}

// 1000 frames against 512 components, one call per component.
void BM_LogGaussAdd_32f_D2(benchmark::State& st) {
  const Data& d = data();
  std::vector<float> dst(kFrames);
  auto lib = [&] {
    std::fill(dst.begin(), dst.end(), -4.5e6f);
    for (int c = 0; c < kComponents; ++c)
      vspsLogGaussAdd_32f_D2(d.frames.data(), kDim, &d.means[c * kDim], &d.vars[c * kDim], kDim,
                             dst.data(), kFrames, d.g[c]);
    benchmark::DoNotOptimize(dst.data());
  };
  const double tLib = timed(lib);
  const double tScalar = timed([&] {
    std::fill(dst.begin(), dst.end(), -4.5e6f);
    scalarAdd(d, dst.data());
    benchmark::DoNotOptimize(dst.data());
  });
  double tPeer = 0, tScores = 0;
#ifdef VSP_BENCH_HAVE_OPENBLAS
  Expanded ex(d);
  tScores = timed([&] {
    ex.scores(d.frames.data(), kFrames, 1.0f);
    benchmark::DoNotOptimize(ex.c.data());
  });
  tPeer = timed([&] {
    ex.scores(d.frames.data(), kFrames, 1.0f);
    std::fill(dst.begin(), dst.end(), -4.5e6f);
    for (int c = 0; c < kComponents; ++c)
      for (int f = 0; f < kFrames; ++f)
        dst[f] = pairStep(dst[f], ex.c[size_t(f) * kComponents + c]);
    benchmark::DoNotOptimize(dst.data());
  });
#endif
  for (auto _ : st) lib();
  report(st, tLib, tScalar, tPeer, kFrames);
  if (tScores > 0) {
    // The score matrix alone, without the log-add that the library's result
    // includes.
    st.counters["sgemm_scores_fps"] = kFrames / tScores;
    st.counters["vs_sgemm_scores"] = tLib / tScores;
  }
}

// One frame against the 512-component mixture per call.
void BM_LogGaussMixture_32f_D2(benchmark::State& st) {
  const Data& d = data();
  float out = 0;
  int f = 0;
  auto lib = [&] {
    vspsLogGaussMixture_32f_D2(&d.frames[f * kDim], d.means.data(), d.vars.data(), kComponents,
                               kDim, kDim, d.g.data(), &out);
    f = (f + 1) % kFrames;
    benchmark::DoNotOptimize(out);
  };
  const double tLib = timed(lib);
  const double tScalar = timed([&] {
    out = scalarMixture(d, &d.frames[f * kDim]);
    f = (f + 1) % kFrames;
    benchmark::DoNotOptimize(out);
  });
  double tPeer = 0;
#ifdef VSP_BENCH_HAVE_OPENBLAS
  Expanded ex(d);
  tPeer = timed([&] {
    ex.scores(&d.frames[f * kDim], 1, 1.0f);
    float run = ex.c[0];
    for (int c = 1; c < kComponents; ++c) run = pairStep(run, ex.c[c]);
    out = run;
    f = (f + 1) % kFrames;
    benchmark::DoNotOptimize(out);
  });
#endif
  // The ascending fold alone, over each frame's finished scores: the same
  // chain of pair steps, each waiting for the last. No kernel can run the
  // whole call faster than this, so "vs_scalar_cap" (scalar time over it)
  // bounds what any scoring speed-up can show against the scalar loop.
  std::vector<float> scores(size_t(kFrames) * kComponents);
  for (int g = 0; g < kFrames; ++g)
    for (int c = 0; c < kComponents; ++c)
      scores[size_t(g) * kComponents + c] =
          scalarScore(&d.frames[g * kDim], &d.means[c * kDim], &d.vars[c * kDim], d.g[c]);
  const double tFold = timed([&] {
    vspsLogSum_32f(&scores[size_t(f) * kComponents], &out, kComponents);
    f = (f + 1) % kFrames;
    benchmark::DoNotOptimize(out);
  });
  for (auto _ : st) lib();
  report(st, tLib, tScalar, tPeer, 1);
  st.counters["fold_share"] = tFold / tLib;
  st.counters["vs_scalar_cap"] = tScalar / tFold;
}

// 1000 frames against 512 components in 16-bit fixed point, one call per
// component; the sgemm column computes the float score matrix of the same
// data (its conversion from 16 bits included).
void BM_LogGauss_16s32s_D2Sfs(benchmark::State& st) {
  const Data& d = data();
  std::vector<int32_t> dst(size_t(kFrames) * kComponents);
  const int sf = 10;
  auto lib = [&] {
    for (int c = 0; c < kComponents; ++c)
      vspsLogGauss_16s32s_D2Sfs(d.frames16.data(), kDim, &d.means16[c * kDim], &d.vars16[c * kDim],
                                kDim, &dst[size_t(c) * kFrames], kFrames, d.g32[c], sf);
    benchmark::DoNotOptimize(dst.data());
  };
  const double tLib = timed(lib);
  const double tScalar = timed([&] {
    for (int c = 0; c < kComponents; ++c) scalarInt(d, &dst[size_t(c) * kFrames], c, sf);
    benchmark::DoNotOptimize(dst.data());
  });
  double tPeer = 0;
#ifdef VSP_BENCH_HAVE_OPENBLAS
  Expanded ex(d);
  tPeer = timed([&] {
    ex.scores(d.frames16.data(), kFrames, 1.0f / 256);
    benchmark::DoNotOptimize(ex.c.data());
  });
#endif
  for (auto _ : st) lib();
  report(st, tLib, tScalar, tPeer, kFrames);
}

BENCHMARK(BM_LogGaussAdd_32f_D2)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_LogGaussMixture_32f_D2)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_LogGauss_16s32s_D2Sfs)->Unit(benchmark::kMillisecond);

}  // namespace
