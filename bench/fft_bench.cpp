// The internal real transform beside FFTW's single-precision real-to-complex
// plan (FFTW_MEASURE, where installed) and a plain radix-2 transform; and the
// filter bank evaluation on the transform path beside the same steps built
// from FFTW and from plain loops. Counters are peer time over library time,
// from medians: above 1 the library is faster.
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdint>
#include <vector>

#include "bench_util.h"
#include "frontend/fft.h"
#include "vspsr.h"

#ifdef VSP_BENCH_HAVE_FFTW
#include <fftw3.h>
#endif

namespace {

std::vector<float> frame(int n) {
  std::vector<float> x(n);
  for (int i = 0; i < n; ++i) x[i] = float(std::sin(0.37 * i) + 0.25 * std::cos(1.91 * i));
  return x;
}

// A textbook iterative radix-2 transform of the real frame as a complex one,
// with precomputed twiddles and bit-reversed order.
class PlainRadix2 {
 public:
  explicit PlainRadix2(int n) : n_(n), wr_(n / 2), wi_(n / 2), rev_(n), re_(n), im_(n) {
    for (int k = 0; k < n / 2; ++k) {
      wr_[k] = float(std::cos(2.0 * M_PI * k / n));
      wi_[k] = float(-std::sin(2.0 * M_PI * k / n));
    }
    int bitsN = 0;
    while ((1 << bitsN) < n) ++bitsN;
    for (int i = 0; i < n; ++i) {
      int r = 0;
      for (int b = 0; b < bitsN; ++b) r |= ((i >> b) & 1) << (bitsN - 1 - b);
      rev_[i] = r;
    }
  }
  __attribute__((noinline)) void run(const float* x, float* out) {
    for (int i = 0; i < n_; ++i) re_[rev_[i]] = x[i], im_[rev_[i]] = 0.0f;
    for (int len = 2; len <= n_; len <<= 1) {
      const int half = len / 2, stride = n_ / len;
      for (int i = 0; i < n_; i += len)
        for (int k = 0; k < half; ++k) {
          const float wr = wr_[k * stride], wi = wi_[k * stride];
          const int a = i + k, b = a + half;
          const float br = re_[b] * wr - im_[b] * wi, bi = re_[b] * wi + im_[b] * wr;
          re_[b] = re_[a] - br, im_[b] = im_[a] - bi;
          re_[a] += br, im_[a] += bi;
        }
    }
    for (int k = 0; k <= n_ / 2; ++k) out[2 * k] = re_[k], out[2 * k + 1] = im_[k];
  }

 private:
  int n_;
  std::vector<float> wr_, wi_;
  std::vector<int> rev_;
  std::vector<float> re_, im_;
};

#ifdef VSP_BENCH_HAVE_FFTW
// FFTW's single-precision real-to-complex plan of a frame, measured.
class FftwFrame {
 public:
  explicit FftwFrame(const std::vector<float>& x)
      : n_(int(x.size())), in_(fftwf_alloc_real(n_)), bins_(fftwf_alloc_complex(n_ / 2 + 1)) {
    plan_ = fftwf_plan_dft_r2c_1d(n_, in_, bins_, FFTW_MEASURE);
    for (int i = 0; i < n_; ++i) in_[i] = x[i];
  }
  ~FftwFrame() {
    fftwf_destroy_plan(plan_);
    fftwf_free(in_);
    fftwf_free(bins_);
  }
  const float* run() {
    fftwf_execute(plan_);
    return reinterpret_cast<const float*>(bins_);
  }

 private:
  int n_;
  float* in_;
  fftwf_complex* bins_;
  fftwf_plan plan_;
};
#endif

void BM_RealTransform(benchmark::State& st) {
  const int order = int(st.range(0)), n = 1 << order;
  const std::vector<float> x = frame(n);
  std::vector<float> out(n + 2);
  VspFftSpec_32f* fftObj = nullptr;
  vsp::fftSpecInitAlloc(&fftObj, order, 8, 0);
  auto lib = [&] {
    vsp::fftForwardComplexForm(x.data(), out.data(), fftObj, nullptr);
    benchmark::DoNotOptimize(out.data());
  };
  const double tLib = vspbench::timePerCall(lib);
  PlainRadix2 plain(n);
  st.counters["radix2"] = vspbench::timePerCall([&] {
                            plain.run(x.data(), out.data());
                            benchmark::DoNotOptimize(out.data());
                          }) /
                          tLib;
#ifdef VSP_BENCH_HAVE_FFTW
  FftwFrame fftw(x);
  st.counters["fftw"] = vspbench::timePerCall([&] { benchmark::DoNotOptimize(fftw.run()); }) / tLib;
#endif
  for (auto _ : st) lib();
  vsp::fftSpecFree(fftObj);
}
BENCHMARK(BM_RealTransform)->DenseRange(8, 11)->ArgName("order");

// The peers' filtering: the bank's own weights, read back once, applied to
// the magnitude spectrum of their transform (complex form).
struct PeerBank {
  std::vector<int32_t> c;
  std::vector<std::vector<float>> w;
  std::vector<float> mags;
  PeerBank(const VspFBankState_32f* s, int fc, int n) : c(fc + 2), mags(n / 2 + 1) {
    vspsFBankGetCenters_32f(s, c.data());
    for (int j = 1; j <= fc; ++j) {
      w.emplace_back(c[j + 1] - c[j - 1] + 1);
      vspsFBankGetCoeffs_32f(s, j, w.back().data());
    }
  }
  __attribute__((noinline)) void apply(const float* spectrum, float* dst) {
    for (size_t k = 0; k < mags.size(); ++k) {
      const double re = spectrum[2 * k], im = spectrum[2 * k + 1];
      mags[k] = float(std::sqrt(re * re + im * im));
    }
    for (size_t j = 1; j + 1 < c.size(); ++j) {
      float a = 0;
      for (int k = c[j - 1]; k <= c[j + 1]; ++k) a += w[j - 1][k - c[j - 1]] * mags[k];
      dst[j - 1] = a;
    }
  }
};

void BM_EvalFBank_32f(benchmark::State& st) {
  const int n = 512, fc = 26;
  const std::vector<float> x = frame(n);
  std::vector<float> out(fc), spectrum(n + 2);
  VspFBankState_32f* bank = nullptr;
  int32_t order = 0;
  vspsMelFBankInitAlloc_32f(&bank, &order, n, 16000, 64, 8000, fc, 1127, 700,
                            vspFBankMelWeights | vspFBankTransformInput);
  auto lib = [&] {
    vspsEvalFBank_32f(x.data(), out.data(), bank);
    benchmark::DoNotOptimize(out.data());
  };
  const double tLib = vspbench::timePerCall(lib);
  PeerBank peer(bank, fc, n);
  PlainRadix2 plain(n);
  st.counters["plain"] = vspbench::timePerCall([&] {
                           plain.run(x.data(), spectrum.data());
                           peer.apply(spectrum.data(), out.data());
                           benchmark::DoNotOptimize(out.data());
                         }) /
                         tLib;
#ifdef VSP_BENCH_HAVE_FFTW
  FftwFrame fftw(x);
  st.counters["fftw"] = vspbench::timePerCall([&] {
                          peer.apply(fftw.run(), out.data());
                          benchmark::DoNotOptimize(out.data());
                        }) /
                        tLib;
#endif
  for (auto _ : st) lib();
  vspsFBankFree_32f(bank);
}
BENCHMARK(BM_EvalFBank_32f);

}  // namespace
