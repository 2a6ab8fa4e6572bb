// The internal real transform: both forms and the round trip against a direct
// double DFT for every order to 14 and every normalisation, every path bit for
// bit against the scalar one, the integer front end, objects in caller memory
// of exactly the reported size, and the statuses.
#include <array>

#include "frontend/fft.h"
#include "frontend/frontend_support.h"

namespace {

using namespace vsptest;
using vsp::FftKind;
using vsp::FftPath;

// Float rounding of a transform grows with log2 N and the size of the bins.
double bound(int order) { return 4e-7 * (order + 1) * std::sqrt(double(1 << order)) + 1e-7; }

TEST(Fft, EveryFormFlagAndPathMatchesTheDirectTransform) {
  for (int order = 0; order <= 14; ++order) {
    const size_t n = size_t(1) << order;
    const std::vector<float> x = randomVector<float>(n, 100 + order, -1, 1);
    const auto want = directDft(x);
    const double rn = 1.0 / double(n), rs = std::sqrt(rn);
    // {flag, forward factor, inverse factor}
    for (const auto& f : {std::array<double, 3>{1, rn, 1}, {2, 1, rn}, {4, rs, rs}, {8, 1, 1}}) {
      SCOPED_TRACE(testing::Message() << "seed " << 100 + order << ", flag " << f[0]);
      VspFftSpec_32f* s = nullptr;
      ASSERT_EQ(vsp::fftSpecInitAlloc(&s, order, int(f[0]), 0), vspStatusOk);
      Guarded<float> cf(n > 1 ? n + 2 : 2), hc(n), back(n);
      ASSERT_TRUE(vsp::fftForwardComplexForm(x.data(), cf.data(), s, nullptr) == vspStatusOk &&
                  vsp::fftForwardHalfComplex(x.data(), hc.data(), s, nullptr) == vspStatusOk &&
                  vsp::fftInverseHalfComplex(hc.data(), back.data(), s, nullptr) == vspStatusOk);
      EXPECT_TRUE(cf.guardsIntact() && hc.guardsIntact() && back.guardsIntact() &&
                  bits(cf[1]) == 0);
      for (size_t i = 0; i < cf.size(); ++i)  // re, im of bins 0 .. N/2
        EXPECT_NEAR(cf[i], (i % 2 ? want[i / 2].imag() : want[i / 2].real()) * f[1],
                    bound(order) * f[1])
            << i;
      // Magnitudes on every path: the double formula rounded once.
      for (int p = 0; p <= int(vsp::fftHostPath()) && f[0] == 8; ++p) {
        Guarded<float> mag(n / 2 + 1, 4);
        ASSERT_EQ(vsp::fftMagnitudeOnPath(FftPath(p), cf.data(), mag.data(), int(n / 2 + 1)), 0);
        for (size_t k = 0; k <= n / 2; ++k)
          EXPECT_EQ(mag[k], float(std::sqrt(double(cf[2 * k]) * cf[2 * k] +
                                            double(cf[2 * k + 1]) * cf[2 * k + 1])))
              << p << " " << k;
        EXPECT_TRUE(mag.guardsIntact());
      }
      const double gain = double(n) * f[1] * f[2];  // of the round trip
      for (size_t i = 0; i < n; ++i) {
        EXPECT_EQ(bits(hc[i]), bits(cf[i ? i + 1 : 0])) << i;  // the same values, Nyquist last
        EXPECT_NEAR(back[i], x[i] * gain, 2 * bound(order) * gain) << i;
      }
      // Every path gives the scalar path's bits, in place and not.
      for (int kind = 0; kind < 3 && order > 0; ++kind) {
        auto run = [&](int path, const float* in, float* out) {
          return vsp::fftTransformOnPath(FftPath(path), FftKind(kind), in, out, s);
        };
        const size_t len = FftKind(kind) == FftKind::ForwardComplexForm ? n + 2 : n;
        std::vector<float> scalar(len), in;
        ASSERT_EQ(run(0, x.data(), scalar.data()), vspStatusOk);
        for (int p = 0; p <= int(vsp::fftHostPath()) && order >= vsp::fftPathMinOrder(FftPath(p));
             ++p) {
          Guarded<float> got(len);
          (in = x).resize(n + 2);
          ASSERT_EQ(run(p, x.data(), got.data()) + run(p, in.data(), in.data()), vspStatusOk);
          for (size_t i = 0; i < len; ++i)
            ASSERT_TRUE(bits(got[i]) == bits(scalar[i]) && bits(in[i]) == bits(scalar[i]))
                << "kind " << kind << " path " << p << " at " << i;
          EXPECT_TRUE(got.guardsIntact());
        }
      }
      EXPECT_EQ(vsp::fftSpecFree(s), vspStatusOk);
    }
  }
}

TEST(Fft, ObjectsInCallerMemoryWorkMemoryAndStatuses) {
  int32_t fftObj = 0, init = -1, work = -1;
  for (int order : {5, 12}) {
    ASSERT_EQ(vsp::fftSpecGetSize(order, 8, 0, &fftObj, &init, &work), vspStatusOk);
    // Exactly the reported bytes, one past a 32-byte boundary: the object's
    // own alignment takes all of its slack.
    Guarded<unsigned char> block(size_t(fftObj), 1), w(size_t(work), 5);
    VspFftSpec_32f* s = nullptr;
    ASSERT_EQ(vsp::fftSpecInit(&s, order, 8, 0, block.data(), nullptr), vspStatusOk);
    const std::vector<float> x = randomVector<float>(size_t(1) << order, 5, -1, 1);
    std::vector<float> a(x.size() + 2), b(a.size());
    ASSERT_EQ(vsp::fftForwardComplexForm(x.data(), a.data(), s, w.data()), vspStatusOk);
    // Without a work buffer the call takes its own, and gives it back.
    const long live = vspcoreTestLiveBlocks();
    const SweepResult r = sweepAllocationFailures(
        [&] { return vsp::fftForwardComplexForm(x.data(), b.data(), s, nullptr); },
        [&](int) { EXPECT_EQ(b[0], 0.0f) << "a failed call wrote its output"; });
    // The scratch is given back; none is taken up to N = 2048.
    EXPECT_TRUE(vspcoreTestLiveBlocks() == live && r.allocationPoints == (order > 11 ? 1 : 0));
    EXPECT_TRUE(a == b && block.guardsIntact() && w.guardsIntact());
    EXPECT_TRUE(vsp::fftSpecFree(s) == vspStatusOk && vsp::fftSpecFree(s) == vspStatusBadContext);
    EXPECT_EQ(vsp::fftForwardComplexForm(nullptr, a.data(), s, nullptr), vspStatusBadContext);
  }
  VspFftSpec_32f* s = nullptr;
  const SweepResult r = sweepAllocationFailures([&] { return vsp::fftSpecInitAlloc(&s, 9, 4, 2); });
  EXPECT_TRUE(r.allocationPoints == 1 && vsp::fftSpecFree(s) == vspStatusOk);
}

TEST(Fft, IntegerFrontEndAndMagnitudeRoundAndSaturate) {
  for (int order : {0, 1, 3, 9, 12}) {
    const size_t n = size_t(1) << order;
    const std::vector<int16_t> x = randomVector<int16_t>(n, 40 + order, -2000, 2000);
    const auto want = directDft(x);
    VspFftSpec_16s* s = nullptr;
    ASSERT_EQ(vsp::fftSpecInitAlloc_16s(&s, order, 8, 0), vspStatusOk);
    Guarded<int32_t> dst(n > 1 ? n + 2 : 2);
    ASSERT_TRUE(vsp::fftForward_16s(x.data(), dst.data(), s, -3, nullptr) == 0 &&
                dst.guardsIntact());
    for (size_t k = 0; k < dst.size(); ++k)
      EXPECT_NEAR(dst[k], 8 * (k % 2 ? want[k / 2].imag() : want[k / 2].real()),
                  1.0 + 8 * 2000 * bound(order));
    // A lone sample of 2, 6 or 10 at scale 2^-2 is 0.5, 1.5 or 2.5 in every
    // bin: ties go to even. Full scale saturates.
    for (int v : {2, 6, 10, -32768}) {
      std::vector<int16_t> imp(n, v == -32768 ? v : 0);
      imp[0] = int16_t(v);
      ASSERT_EQ(vsp::fftForward_16s(imp.data(), dst.data(), s, v < 0 ? -20 : 2, nullptr), 0);
      for (size_t k = 0; k <= (v < 0 ? 0 : n / 2); ++k)
        EXPECT_EQ(dst[2 * k], v < 0 ? INT32_MIN : v == 2 ? 0 : 2) << v << " " << k;
    }
    EXPECT_EQ(vsp::fftSpecFree_16s(s), vspStatusOk);
  }
  // Up to 0 half up and saturated, 1 to 32 ties to even, from 33 zeros,
  // below -31 as -31: re, im, scaleFactor, result.
  // clang-format off
  const int32_t rows[][4] = {{3, 4, 0, 5}, {3, 4, -3, 40}, {0, 1, 1, 0}, {0, 5, 1, 2}, {0, 7, 1, 4},
      {1, 1, 0, 1}, {5, 0, 33, 0}, {1, 0, -40, INT32_MAX}, {INT32_MIN, 0, 0, INT32_MAX},
      {INT32_MIN, INT32_MIN, 31, 1}};
  // clang-format on
  for (const auto& r : rows) {
    int32_t dst = -99;
    ASSERT_EQ(vsp::fftMagnitudeScaled_32s(r, &dst, 1, r[2]), vspStatusOk);
    EXPECT_EQ(dst, r[3]) << r[0] << "," << r[1] << " sf " << r[2];
  }
}

}  // namespace
