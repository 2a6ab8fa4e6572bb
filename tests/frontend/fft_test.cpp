// The internal real transform: against a direct double-precision DFT for
// every order from 0 to 14 in both forms, the inverse round trip, every
// kernel path against the scalar one, the integer front end and the
// objects' statuses.
#include <array>
#include <cmath>
#include <complex>
#include <vector>

#include "frontend/fft.h"
#include "support/harness.h"

namespace {

using namespace vsptest;
using vsp::FftKind;
using vsp::FftPath;

struct Spec {
  VspFftSpec_32f* s = nullptr;
  Spec(int order, int flag) { EXPECT_EQ(vsp::fftSpecInitAlloc(&s, order, flag, 0), vspStatusOk); }
  ~Spec() {
    if (s) vsp::fftSpecFree(s);
  }
};

// X[k] for k = 0 .. N/2 by the direct sum, in double.
std::vector<std::complex<double>> directDft(const std::vector<float>& x) {
  const size_t n = x.size();
  std::vector<double> c(n), s(n);
  for (size_t j = 0; j < n; ++j) {
    const double a = 2.0 * M_PI * double(j) / double(n);
    c[j] = std::cos(a), s[j] = -std::sin(a);
  }
  std::vector<std::complex<double>> X(n / 2 + 1);
  for (size_t k = 0; k <= n / 2; ++k) {
    double re = 0, im = 0;
    for (size_t i = 0; i < n; ++i) {
      const size_t j = (i * k) % n;
      re += x[i] * c[j], im += x[i] * s[j];
    }
    X[k] = {re, im};
  }
  return X;
}

std::vector<float> randomFrame(size_t n, uint64_t seed) {
  Rng rng(seed);
  std::vector<float> x(n);
  rng.fill(x.data(), n, [&] { return rng.uniformf(-1.0f, 1.0f); });
  return x;
}

// Float rounding of a transform grows with log2 N and the size of the bins.
double bound(int order, size_t n) { return 4e-7 * (order + 1) * std::sqrt(double(n)) + 1e-7; }

TEST(Fft, BothFormsMatchTheDirectTransformForEveryOrder) {
  for (int order = 0; order <= 14; ++order) {
    const size_t n = size_t(1) << order;
    const uint64_t seed = 100 + order;
    SCOPED_TRACE(seedTrace(seed) + ", order " + std::to_string(order));
    const std::vector<float> x = randomFrame(n, seed);
    const auto want = directDft(x);
    Spec spec(order, 8);
    Guarded<float> cf(n + 2), hc(n);
    ASSERT_EQ(vsp::fftForwardComplexForm(x.data(), cf.data(), spec.s, nullptr), vspStatusOk);
    ASSERT_EQ(vsp::fftForwardHalfComplex(x.data(), hc.data(), spec.s, nullptr), vspStatusOk);
    EXPECT_TRUE(cf.guardsIntact() && hc.guardsIntact());
    const double tol = bound(order, n);
    for (size_t k = 0; k <= n / 2; ++k) {
      EXPECT_NEAR(cf[2 * k], want[k].real(), tol) << "k=" << k;
      EXPECT_NEAR(cf[2 * k + 1], want[k].imag(), tol) << "k=" << k;
    }
    EXPECT_EQ(bits(cf[1]), 0u);
    if (n > 1) {
      EXPECT_EQ(bits(cf[n + 1]), 0u);
    }
    // The half-complex form holds the same values, Nyquist last.
    EXPECT_EQ(hc[0], cf[0]);
    for (size_t i = 1; i + 1 < n; ++i) EXPECT_EQ(hc[i], cf[i + 1]) << "i=" << i;
    if (n > 1) {
      EXPECT_EQ(hc[n - 1], cf[n]);
    }
  }
}

TEST(Fft, EveryPathAgreesWithTheScalarOneInPlaceAndNot) {
  const std::vector<FftPath> paths = {FftPath::Sse2, FftPath::Avx2, FftPath::Avx512};
  for (int order = 1; order <= 13; ++order) {
    const size_t n = size_t(1) << order;
    const std::vector<float> x = randomFrame(n, 7 + order);
    for (int flag : {1, 2, 4, 8}) {
      Spec spec(order, flag);
      for (FftKind kind : {FftKind::ForwardComplexForm, FftKind::ForwardHalfComplex,
                           FftKind::InverseHalfComplex}) {
        std::vector<float> want(n + 2);
        ASSERT_EQ(vsp::fftTransformOnPath(FftPath::Scalar, kind, x.data(), want.data(), spec.s),
                  vspStatusOk);
        for (FftPath p : paths) {
          if (int(p) > int(vsp::fftHostPath()) || order < vsp::fftPathMinOrder(p)) continue;
          SCOPED_TRACE("order " + std::to_string(order) + " path " + std::to_string(int(p)) +
                       " kind " + std::to_string(int(kind)) + " flag " + std::to_string(flag));
          std::vector<float> got(n + 2, -7.0f), inPlace(x);
          inPlace.resize(n + 2);
          ASSERT_EQ(vsp::fftTransformOnPath(p, kind, x.data(), got.data(), spec.s), vspStatusOk);
          ASSERT_EQ(vsp::fftTransformOnPath(p, kind, inPlace.data(), inPlace.data(), spec.s),
                    vspStatusOk);
          const size_t len = kind == FftKind::ForwardComplexForm ? n + 2 : n;
          for (size_t i = 0; i < len; ++i) {
            ASSERT_EQ(got[i], want[i]) << "i=" << i;
            ASSERT_EQ(inPlace[i], want[i]) << "i=" << i;
          }
          if (len == n) {
            EXPECT_EQ(got[n], -7.0f);
          }
        }
      }
    }
  }
}

TEST(Fft, NormalisationFlagsAndRoundTrip) {
  for (int order : {0, 1, 2, 3, 5, 6, 9, 12}) {
    const size_t n = size_t(1) << order;
    const std::vector<float> x = randomFrame(n, 31 + order);
    std::vector<float> plain(n), there(n), back(n);
    Spec none(order, 8);
    ASSERT_EQ(vsp::fftForwardHalfComplex(x.data(), plain.data(), none.s, nullptr), vspStatusOk);
    const double rn = 1.0 / double(n), rs = 1.0 / std::sqrt(double(n));
    // {flag, forward factor, inverse factor}
    for (const auto& c : {std::array<double, 3>{1, rn, 1}, {2, 1, rn}, {4, rs, rs}, {8, 1, 1}}) {
      SCOPED_TRACE("order " + std::to_string(order) + " flag " + std::to_string(int(c[0])));
      Spec spec(order, int(c[0]));
      ASSERT_EQ(vsp::fftForwardHalfComplex(x.data(), there.data(), spec.s, nullptr), vspStatusOk);
      ASSERT_EQ(vsp::fftInverseHalfComplex(there.data(), back.data(), spec.s, nullptr),
                vspStatusOk);
      const double gain = double(n) * c[1] * c[2];  // the round trip's factor
      for (size_t i = 0; i < n; ++i) {
        EXPECT_NEAR(there[i], plain[i] * c[1], 1e-6 * std::fabs(plain[i] * c[1]) + 1e-7);
        EXPECT_NEAR(back[i], x[i] * gain, 2 * bound(order, n) * gain);
      }
    }
  }
}

TEST(Fft, SizesWorkMemoryAndTheCallsOwnAllocation) {
  int32_t spec = 0, init = -1, work = -1;
  for (int order = 0; order <= 11; ++order) {
    ASSERT_EQ(vsp::fftSpecGetSize(order, 8, 0, &spec, &init, &work), vspStatusOk);
    EXPECT_EQ(work, 0) << order;
    EXPECT_EQ(init, 0);
  }
  ASSERT_EQ(vsp::fftSpecGetSize(12, 8, 0, &spec, &init, &work), vspStatusOk);
  EXPECT_GE(work, 2 * 4096 * 4);
  // Built in caller memory of exactly the reported size, at an odd offset.
  std::vector<unsigned char> block(size_t(spec) + 8);
  VspFftSpec_32f* s = nullptr;
  ASSERT_EQ(vsp::fftSpecInit(&s, 12, 8, 0, block.data() + 8, nullptr), vspStatusOk);
  EXPECT_EQ(s->owned, 0);
  const std::vector<float> x = randomFrame(4096, 5);
  std::vector<float> a(4098), b(4098);
  std::vector<unsigned char> w(size_t(work) + 4);
  ASSERT_EQ(vsp::fftForwardComplexForm(x.data(), a.data(), s, w.data() + 4), vspStatusOk);
  const SweepResult r = sweepAllocationFailures(
      [&] { return vsp::fftForwardComplexForm(x.data(), b.data(), s, nullptr); },
      [&](int) { EXPECT_EQ(b[0], 0.0f) << "a failed call wrote its output"; });
  EXPECT_EQ(r.allocationPoints, 1);
  EXPECT_EQ(a, b);
  EXPECT_EQ(vsp::fftSpecFree(s), vspStatusOk);
  EXPECT_EQ(s->tag, 0);
  EXPECT_EQ(vsp::fftSpecFree(s), vspStatusBadContext);
  EXPECT_EQ(vsp::fftForwardComplexForm(x.data(), a.data(), s, nullptr), vspStatusBadContext);
  // Allocated objects: one block, released by Free.
  VspFftSpec_32f* owned = nullptr;
  EXPECT_EQ(sweepAllocationFailures([&] {
              return vsp::fftSpecInitAlloc(&owned, 9, 4, 2);
            }).allocationPoints,
            1);
  EXPECT_EQ(owned->hint, 2);
  EXPECT_EQ(owned->owned, 1);
  EXPECT_EQ(vsp::fftSpecFree(owned), vspStatusOk);
}

TEST(Fft, RefusalsInTheirOrder) {
  int32_t a = 0, b = 0, c = 0;
  VspFftSpec_32f* s = nullptr;
  EXPECT_EQ(vsp::fftSpecGetSize(5, 8, 0, nullptr, &b, &c), vspStatusNullPointer);
  EXPECT_EQ(vsp::fftSpecGetSize(-1, 3, 0, &a, &b, &c), vspStatusBadTransformOrder);
  EXPECT_EQ(vsp::fftSpecGetSize(28, 8, 0, &a, &b, &c), vspStatusBadTransformOrder);
  EXPECT_EQ(vsp::fftSpecGetSize(31, 8, 0, &a, &b, &c), vspStatusBadTransformOrder);
  for (int flag : {0, 3, 5, 6, 7, 9, 16, -1})
    EXPECT_EQ(vsp::fftSpecGetSize(5, flag, 0, &a, &b, &c), vspStatusBadTransformFlag) << flag;
  EXPECT_EQ(vsp::fftSpecInitAlloc(nullptr, 5, 8, 0), vspStatusNullPointer);
  EXPECT_EQ(vsp::fftSpecInitAlloc(&s, 5, 3, 0), vspStatusBadTransformFlag);
  EXPECT_EQ(s, nullptr);
  EXPECT_EQ(vsp::fftSpecInit(&s, 5, 8, 0, nullptr, nullptr), vspStatusNullPointer);
  EXPECT_EQ(vsp::fftSpecFree(nullptr), vspStatusNullPointer);
  Spec spec(4, 8);
  float buf[18] = {};
  EXPECT_EQ(vsp::fftForwardComplexForm(buf, buf, nullptr, nullptr), vspStatusNullPointer);
  EXPECT_EQ(vsp::fftForwardComplexForm(nullptr, buf, spec.s, nullptr), vspStatusNullPointer);
  EXPECT_EQ(vsp::fftInverseHalfComplex(buf, nullptr, spec.s, nullptr), vspStatusNullPointer);
  EXPECT_EQ(vsp::fftMagnitude(buf, buf, 0), vspStatusBadSize);
  EXPECT_EQ(vsp::fftMagnitude(nullptr, buf, 1), vspStatusNullPointer);
  EXPECT_EQ(vsp::fftSpecGetWorkSize(spec.s, nullptr), vspStatusNullPointer);
}

TEST(Fft, MagnitudeIsTheDoublePrecisionFormulaExactlyOnEveryPath) {
  for (int path = 0; path <= int(vsp::fftHostPath()); ++path) {
    for (int count : lengthsAround(16)) {
      const std::vector<float> x = randomFrame(size_t(2 * count), 900 + count);
      Guarded<float> dst(size_t(count), 4);
      ASSERT_EQ(vsp::fftMagnitudeOnPath(FftPath(path), x.data(), dst.data(), count), vspStatusOk);
      EXPECT_TRUE(dst.guardsIntact());
      for (int k = 0; k < count; ++k) {
        const double re = x[2 * k], im = x[2 * k + 1];
        EXPECT_EQ(dst[k], float(std::sqrt(re * re + im * im))) << path << " " << count << " " << k;
      }
    }
  }
}

TEST(Fft, IntegerFrontEndRoundsToEvenAndSaturates) {
  for (int order : {0, 1, 3, 6, 9}) {
    const size_t n = size_t(1) << order;
    Rng rng(40 + order);
    std::vector<int16_t> x(n);
    rng.fill(x.data(), n, [&] { return rng.s16(-2000, 2000); });
    std::vector<float> xf(x.begin(), x.end());
    const auto want = directDft(xf);
    VspFftSpec_16s* s = nullptr;
    int32_t specSize = 0, init = 0, workSize = 0;
    ASSERT_EQ(vsp::fftSpecGetSize_16s(order, 8, 0, &specSize, &init, &workSize), vspStatusOk);
    std::vector<unsigned char> block(static_cast<size_t>(specSize)), work(size_t(workSize) + 4);
    ASSERT_EQ(vsp::fftSpecInit_16s(&s, order, 8, 0, block.data(), nullptr), vspStatusOk);
    Guarded<int32_t> dst(n + 2);
    ASSERT_EQ(vsp::fftForward_16s(x.data(), dst.data(), s, -3, work.data() + 4), vspStatusOk);
    EXPECT_TRUE(dst.guardsIntact());
    for (size_t k = 0; k <= n / 2; ++k) {
      EXPECT_NEAR(dst[2 * k], 8 * want[k].real(), 1.0 + 8 * 2000 * bound(order, n));
      EXPECT_NEAR(dst[2 * k + 1], 8 * want[k].imag(), 1.0 + 8 * 2000 * bound(order, n));
    }
    EXPECT_EQ(dst[1], 0);
    // Exact halves round to even: a lone sample of 2, 6 or 10 at scale 2^-2
    // is 0.5, 1.5 or 2.5 in every bin.
    for (int v : {2, 6, 10}) {
      std::vector<int16_t> imp(n, 0);
      imp[0] = int16_t(v);
      ASSERT_EQ(vsp::fftForward_16s(imp.data(), dst.data(), s, 2, nullptr), vspStatusOk);
      for (size_t k = 0; k <= n / 2; ++k) EXPECT_EQ(dst[2 * k], v == 2 ? 0 : 2) << v << " " << k;
    }
    // Full scale saturates at the 32-bit limits.
    std::vector<int16_t> loud(n, -32768);
    ASSERT_EQ(vsp::fftForward_16s(loud.data(), dst.data(), s, -20, nullptr), vspStatusOk);
    EXPECT_EQ(dst[0], INT32_MIN);
    EXPECT_EQ(vsp::fftSpecFree_16s(s), vspStatusOk);
    EXPECT_EQ(vsp::fftSpecFree_16s(s), vspStatusBadContext);
  }
}

TEST(Fft, MagnitudeScaledRoundingBranches) {
  // re, im, scaleFactor, result: up to 0 half up and saturated, 1 to 32
  // ties to even, from 33 zeros, below -31 as -31.
  const int32_t rows[] = {
      3,  4,   0,         5,         3,         4,         -3,  40,        3,
      4,  1,   2,         0,         3,         1,         2,   0,         1,
      1,  0,   0,         5,         1,         2,         0,   7,         1,
      4,  3,   4,         2,         1,         1,         1,   0,         1,
      0,  1,   -1,        2,         INT32_MAX, INT32_MAX, 0,   INT32_MAX, INT32_MIN,
      0,  0,   INT32_MAX, INT32_MIN, INT32_MIN, 32,        1,   INT32_MIN, INT32_MIN,
      31, 1,   1,         0,         32,        0,         5,   0,         33,
      0,  5,   0,         100,       0,         1,         0,   -31,       INT32_MAX,
      1,  0,   -40,       INT32_MAX, 0,         0,         -40, 0,         0,
      0,  -31, 0};
  for (size_t i = 0; i < sizeof rows / sizeof rows[0]; i += 4) {
    int32_t dst = -99;
    ASSERT_EQ(vsp::fftMagnitudeScaled_32s(rows + i, &dst, 1, rows[i + 2]), vspStatusOk);
    EXPECT_EQ(dst, rows[i + 3]) << rows[i] << "," << rows[i + 1] << " sf " << rows[i + 2];
  }
  int32_t d = 0;
  EXPECT_EQ(vsp::fftMagnitudeScaled_32s(&d, &d, 0, 0), vspStatusBadSize);
  EXPECT_EQ(vsp::fftMagnitudeScaled_32s(nullptr, &d, 1, 0), vspStatusNullPointer);
}

}  // namespace
