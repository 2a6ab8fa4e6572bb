// Filter bank objects: Mel conversions against their closed forms, centres
// and weights against double-precision references for several kinds of
// bank, the caller's-block layout, allocation failures, Get and Set with
// their validation, and the integer bank's Q22 arithmetic.
#include "frontend/fbank_support.h"

namespace {

using namespace vsptest;

constexpr float kMul = kMelMul, kDiv = kMelDiv;

// A double reference may disagree with single precision only next to the
// decision point (an integer when truncating, a half when rounding), where
// the comparison is skipped.
void expectCentre(int32_t got, double bin, bool nearest, int i) {
  const double frac = bin - std::floor(bin);
  if (nearest ? std::fabs(frac - 0.5) < 1e-3 : (frac < 1e-3 || frac > 1 - 1e-3)) return;
  EXPECT_EQ(got, int32_t(nearest ? std::nearbyint(bin) : std::trunc(bin))) << "centre " << i;
}

// Weights of bin weights: (k - c0 + 1) / (c1 - c0 + 1) rising,
// (c2 - k + 1) / (c2 - c1 + 1) falling.
double binWeight(const BankRead& r, int j, int k) {
  const int c0 = r.c[j - 1], c1 = r.c[j], c2 = r.c[j + 1];
  return k <= c1 ? double(k - c0 + 1) / (c1 - c0 + 1) : double(c2 - k + 1) / (c2 - c1 + 1);
}

struct MelCase {
  const char* what;
  int fftLen, n, fc;
  float sr, lo, hi;
  int flags;
};

TEST(FBank, MelBanksMatchTheDoubleFormulas) {
  const MelCase cases[] = {
      {"fftLen 400, highFreq at half the rate", 400, 512, 26, 16000, 100, 8000, 1},
      {"bin weights", 400, 512, 26, 16000, 100, 8000, 2},
      {"equal edges", 256, 256, 10, 8000, 1000, 1000, 1},
      {"coinciding centres", 64, 64, 40, 8000, 50, 4000, 6},
      {"order 1", 1, 2, 3, 8000, 10, 4000, 2},
  };
  for (const MelCase& mc : cases) {
    SCOPED_TRACE(mc.what);
    VspFBankState_32f* s = nullptr;
    VspFBankState_16s* t = nullptr;
    int32_t order = -1;
    ASSERT_EQ(vspsMelFBankInitAlloc_32f(&s, &order, mc.fftLen, mc.sr, mc.lo, mc.hi, mc.fc, kMul,
                                        kDiv, mc.flags),
              vspStatusOk);
    EXPECT_EQ(1 << order, mc.n);
    ASSERT_EQ(vspsMelFBankInitAlloc_16s(&t, &order, mc.fftLen, mc.sr, mc.lo, mc.hi, mc.fc, kMul,
                                        kDiv, mc.flags),
              vspStatusOk);
    const bool bins = mc.flags & 2;
    const BankRead f = readBank(s), g = readBank(t);
    EXPECT_EQ(g.c, f.c);
    std::vector<double> mel(size_t(mc.fc) + 2);
    for (int i = 0; i <= mc.fc + 1; ++i) {
      mel[i] = melOf(mc.lo) + i * (melOf(mc.hi) - melOf(mc.lo)) / (mc.fc + 1);
      expectCentre(f.c[i], (std::exp(mel[i] / kMul) - 1) * kDiv * mc.n / mc.sr, bins, i);
      EXPECT_EQ(f.c[i], mc.lo == mc.hi ? f.c[0] : f.c[i]);
    }
    for (int j = 1; j <= mc.fc; ++j) {
      const int c0 = f.c[j - 1], c1 = f.c[j], c2 = f.c[j + 1];
      for (int k = c0; k <= c2; ++k) {
        SCOPED_TRACE("j=" + std::to_string(j) + " k=" + std::to_string(k));
        const double mk = melOf(k * double(mc.sr) / mc.n);
        const double want = bins      ? binWeight(f, j, k)
                            : k == c0 ? 0.0
                            : k <= c1 ? (mk - mel[j - 1]) / (mel[j] - mel[j - 1])
                                      : (mel[j + 1] - mk) / (mel[j + 1] - mel[j]);
        if (bins) {
          EXPECT_EQ(f.at(j, k), float(want));  // one float division
          EXPECT_EQ(g.at(j, k) * 16384, k <= c1 ? ((k - c0 + 1) << 14) / (c1 - c0 + 1)
                                                : ((c2 - k + 1) << 14) / (c2 - c1 + 1));
        } else {
          EXPECT_NEAR(f.at(j, k), want, 1e-4);
          EXPECT_NEAR(g.at(j, k) * 16384, f.at(j, k) * 16384, 1.5);  // truncated
        }
      }
      if (bins && c0 == c1) {
        EXPECT_EQ(f.at(j, c0), 1.0f);  // a single rising element of 1
      }
    }
    EXPECT_EQ(vspsFBankFree_32f(s), vspStatusOk);
    EXPECT_EQ(vspsFBankFree_16s(t), vspStatusOk);
  }
}

TEST(FBank, MelLinearWithAndWithoutMelPart) {
  const int n = 512, fc = 20;
  const float sr = 16000, lo = 100, linHi = 1000, hi = 8000;
  for (int lc : {fc, 8}) {
    for (int flags : {1, 2}) {
      SCOPED_TRACE("linearCount " + std::to_string(lc) + " flags " + std::to_string(flags));
      VspFBankState_32f* s = nullptr;
      int32_t order = 0;
      ASSERT_EQ(
          vspsMelLinFBankInitAlloc_32f(&s, &order, n, sr, lo, hi, fc, linHi, lc, kMul, kDiv, flags),
          vspStatusOk);
      const BankRead f = readBank(s);
      const bool bins = flags & 2, mixed = lc < fc;
      std::vector<double> lin(size_t(fc) + 2);  // linear points; Mel above linearCount
      for (int i = 0; i <= fc + 1; ++i) {
        lin[i] = lo + i * double(linHi - lo) / (mixed ? lc : fc + 1);
        const double ma = melOf(linHi), m = ma + (i - lc) * (melOf(hi) - ma) / (fc - lc + 1);
        const double bin =
            mixed && i >= lc ? (std::exp(m / kMul) - 1) * kDiv * n / sr : lin[i] * n / sr;
        expectCentre(f.c[i], bin, bins, i);
      }
      if (!mixed) {
        EXPECT_LE(f.c[fc + 1], int(linHi * n / sr));  // highFreq plays no part
      }
      for (int j = 1; j <= fc; ++j) {
        const int c0 = f.c[j - 1], c1 = f.c[j], c2 = f.c[j + 1];
        for (int k = c0; k <= c2; ++k) {
          const double mk = melOf(k * double(sr) / n);
          double want;
          if (bins || j > lc)
            want = binWeight(f, j, k);
          else if (k <= c1)
            want = (mk - melOf(lin[j - 1])) / (melOf(lin[j]) - melOf(lin[j - 1]));
          else if (j < lc || !mixed)
            want = (melOf(lin[j + 1]) - mk) / (melOf(lin[j + 1]) - melOf(lin[j]));
          else  // the transition's falling side: a bin number minus a Mel value
            want = (c2 - mk) / (c2 - c1);
          EXPECT_NEAR(f.at(j, k), std::max(want, 0.0), 1e-4) << "j=" << j << " k=" << k;
        }
      }
      vspsFBankFree_32f(s);
    }
  }
}

TEST(FBank, InitFitsExactlyTheReportedBlockAndMatchesInitAlloc) {
  for (int flags : {1, 2, 5, 6}) {
    for (size_t misalign : {0, 8, 16, 24}) {
      SCOPED_TRACE("flags " + std::to_string(flags) + " misalign " + std::to_string(misalign));
      int32_t size32 = 0, size16 = 0, order = 0;
      ASSERT_EQ(vspsMelFBankGetSize_32f(400, 23, flags, &size32), vspStatusOk);
      ASSERT_EQ(vspsMelFBankGetSize_16s(400, 23, flags, &size16), vspStatusOk);
      // Each block ends where its vector's storage ends: an overrun is caught
      // by the address sanitizer build.
      std::vector<unsigned char> b32(size_t(size32) + misalign), b16(size_t(size16) + misalign);
      auto* s = reinterpret_cast<VspFBankState_32f*>(b32.data() + misalign);
      auto* t = reinterpret_cast<VspFBankState_16s*>(b16.data() + misalign);
      ASSERT_EQ(vspsMelFBankInit_32f(s, &order, 400, 16000, 64, 8000, 23, kMul, kDiv, flags),
                vspStatusOk);
      ASSERT_EQ(vspsMelFBankInit_16s(t, &order, 400, 16000, 64, 8000, 23, kMul, kDiv, flags),
                vspStatusOk);
      VspFBankState_32f* a = nullptr;
      ASSERT_EQ(vspsMelFBankInitAlloc_32f(&a, &order, 400, 16000, 64, 8000, 23, kMul, kDiv, flags),
                vspStatusOk);
      const BankRead fs = readBank(s), fa = readBank(a);
      EXPECT_TRUE(fs.c == fa.c && fs.w == fa.w);
      std::vector<float> x(512, 0.5f), y(23), z(23);
      std::vector<int16_t> xi(512, 300), yi(23);
      EXPECT_EQ(vspsEvalFBank_32f(x.data(), y.data(), s), vspStatusOk);
      EXPECT_EQ(vspsEvalFBank_32f(x.data(), z.data(), a), vspStatusOk);
      EXPECT_EQ(y, z);
      EXPECT_EQ(vspsEvalFBank_16s_Sfs(xi.data(), yi.data(), t, 0), vspStatusOk);
      EXPECT_EQ(vspsFBankFree_32f(s), vspStatusOk);  // the caller's block: left alone
      EXPECT_EQ(vspsFBankFree_32f(a), vspStatusOk);
    }
  }
}

TEST(FBank, AllocationFailuresLeaveThePartlyBuiltObject) {
  // Pieces: object, [transform object, work], centres, Mel points, rising
  // rows, falling rows, bin points. A failure gives vspStatusNoMemory with
  // *stateOut holding what was built (null if the object itself failed);
  // scratch arrays never stay behind, and Free releases the rest.
  for (int flags : {2, 5}) {
    const bool t = flags & 4;
    const long plain[] = {0, 1, 2, 2, 3, 4}, withTransform[] = {0, 1, 2, 3, 4, 4, 5, 6};
    VspFBankState_32f* s = reinterpret_cast<VspFBankState_32f*>(&s);
    int32_t order = 0;
    const SweepResult r = sweepAllocationFailures(
        [&] {
          return vspsMelFBankInitAlloc_32f(&s, &order, 256, 8000, 100, 4000, 12, kMul, kDiv, flags);
        },
        [&](int n) {
          EXPECT_EQ(s == nullptr, n == 1);
          EXPECT_EQ(vspsFBankFree_32f(s), n == 1 ? vspStatusNullPointer : vspStatusOk);
        },
        [&](int n) { return t ? withTransform[n - 1] : plain[n - 1]; });
    EXPECT_EQ(r.allocationPoints, t ? 8 : 6);
    EXPECT_EQ(vspsFBankFree_32f(s), vspStatusOk);
  }
}

TEST(FBank, EmptyBankGetsItsCentresThenItsWeights) {
  for (int flags : {1, 4, 7, -3}) {  // stored as 1 whatever came
    VspFBankState_16s* s = nullptr;
    int32_t order = 0;
    const long live = vspcoreTestLiveBlocks();
    // object, [transform object, work], centres, rising rows, falling rows:
    // under bit 4 a failed transform object or work buffer is ignored.
    for (int fail = 1; fail <= 8; ++fail) {
      vspcoreTestFailAfter(fail);
      const VspStatus st = vspsEmptyFBankInitAlloc_16s(&s, &order, 100, 3, flags);
      vspcoreTestFailAfter(0);
      const bool t = flags & 4, ignored = t && (fail == 2 || fail == 3);
      EXPECT_EQ(st, !ignored && fail <= (t ? 6 : 4) ? vspStatusNoMemory : vspStatusOk) << fail;
      EXPECT_EQ(vspsFBankFree_16s(s), fail == 1 ? vspStatusNullPointer : vspStatusOk);
      EXPECT_EQ(vspcoreTestLiveBlocks(), live) << fail;
    }
    ASSERT_EQ(vspsEmptyFBankInitAlloc_16s(&s, &order, 100, 3, flags), vspStatusOk);
    EXPECT_EQ(order, 7);
    int32_t c[5] = {-1, 2, 5, 9, 12};
    float w[7] = {0.25f, 0.5f, 0.75f, 1.0f, 1.25f, 1.5f, 42.0f}, back[7];
    back[6] = 42.0f;
    int16_t x[64], y[3] = {-1, -1, -1};
    for (int16_t& v : x) v = 100;
    EXPECT_EQ(vspsEvalFBank_16s_Sfs(x, y, s, 0), vspStatusFilterBankNotReady);
    EXPECT_EQ(vspsFBankGetCenters_16s(s, c), vspStatusFilterBankNotReady);
    EXPECT_EQ(vspsFBankSetCoeffs_16s(s, 1, w), vspStatusFilterBankNotReady);
    EXPECT_EQ(vspsFBankSetCenters_16s(s, c), vspStatusFilterBankNotReady);  // c[0] = -1
    EXPECT_EQ(vspsEvalFBank_16s_Sfs(x, y, s, 0), vspStatusFilterBankNotReady);
    c[0] = 0;
    ASSERT_EQ(vspsFBankSetCenters_16s(s, c), vspStatusOk);
    EXPECT_EQ(vspsEvalFBank_16s_Sfs(x, y, s, 0), vspStatusOk);  // zero weights
    EXPECT_EQ(y[0], 0);
    ASSERT_EQ(vspsFBankSetCoeffs_16s(s, 1, w), vspStatusOk);  // 3 rising, 3 falling
    ASSERT_EQ(vspsFBankGetCoeffs_16s(s, 1, back), vspStatusOk);
    for (int m = 0; m < 7; ++m) EXPECT_EQ(back[m], w[m]);
    EXPECT_EQ(vspsEvalFBank_16s_Sfs(x, y, s, 0), vspStatusOk);  // a spectrum, even under bit 4
    EXPECT_EQ(y[0], 100 * 21 / 4);                              // the weights add up to 21/4
    EXPECT_EQ(vspsFBankFree_16s(s), vspStatusOk);
  }
}

TEST(FBank, ValidationGapsStayAndNothingReachesPastItsRun) {
  VspFBankState_32f* s = nullptr;
  int32_t order = 0;
  ASSERT_EQ(vspsEmptyFBankInitAlloc_32f(&s, &order, 64, 3, 1), vspStatusOk);  // N/2 = 32
  const std::vector<std::pair<std::vector<int32_t>, VspStatus>> rows = {
      {{0, 4, 8, 12, 32}, vspStatusOk},
      {{-1, 4, 8, 12, 16}, vspStatusFilterBankNotReady},
      {{0, 4, 8, 12, 33}, vspStatusFilterBankNotReady},
      {{0, 9, 8, 12, 16}, vspStatusFilterBankNotReady},
      {{0, 4, 8, 7, 16}, vspStatusFilterBankNotReady},
      {{0, 8, 8, 1000000, 20}, vspStatusOk},  // the last pair is never compared
  };
  for (const auto& r : rows) EXPECT_EQ(vspsFBankSetCenters_32f(s, r.first.data()), r.second);
  int32_t back[5];
  EXPECT_EQ(vspsFBankGetCenters_32f(s, back), vspStatusOk);
  EXPECT_EQ(back[3], 1000000);
  // The top filter's rising run would reach bin 10^6: Set and Get stop at
  // its row, the evaluation at the last centre (the end of the spectrum a
  // caller must provide).
  const std::vector<float> ones(2000, 1.0f);
  Guarded<float> got(64), x(33), y(3);
  EXPECT_EQ(vspsFBankSetCoeffs_32f(s, 1, ones.data()), vspStatusOk);
  EXPECT_EQ(vspsFBankSetCoeffs_32f(s, 3, ones.data()), vspStatusOk);
  EXPECT_EQ(vspsFBankGetCoeffs_32f(s, 3, got.data()), vspStatusOk);
  for (size_t i = 0; i < 33; ++i) x[i] = float(i);
  EXPECT_EQ(vspsEvalFBank_32f(x.data(), y.data(), s), vspStatusOk);
  EXPECT_EQ(y[0], 36.0f);   // bins 0 .. 8 rising; equal centres leave no falling run
  EXPECT_EQ(y[2], 182.0f);  // bins 8 .. 20 rising (not to 10^6), no falling run
  EXPECT_TRUE(got.guardsIntact() && y.guardsIntact());
  // The spare filter: its rising run alone, c[4] - c[3] + 1 = 9 values.
  const int32_t spare[5] = {0, 4, 8, 12, 20};
  ASSERT_EQ(vspsFBankSetCenters_32f(s, spare), vspStatusOk);
  Guarded<float> run(9);
  EXPECT_EQ(vspsFBankGetCoeffs_32f(s, 4, run.data()), vspStatusOk);
  EXPECT_TRUE(run.guardsIntact());
  EXPECT_EQ(vspsFBankGetCoeffs_32f(s, 5, run.data()), vspStatusBadSize);
  EXPECT_EQ(vspsFBankSetCoeffs_32f(s, 4, ones.data()), vspStatusBadSize);
  EXPECT_EQ(vspsFBankSetCoeffs_32f(s, 0, ones.data()), vspStatusBadSize);
  vspsFBankFree_32f(s);
  // One filter: no neighbour test at all, so its centre may be anything.
  ASSERT_EQ(vspsEmptyFBankInitAlloc_32f(&s, &order, 64, 1, 1), vspStatusOk);
  for (int32_t mid : {-1000000, 40, INT32_MAX}) {
    const int32_t c[3] = {2, mid, 30};
    ASSERT_EQ(vspsFBankSetCenters_32f(s, c), vspStatusOk);
    EXPECT_EQ(vspsFBankSetCoeffs_32f(s, 1, ones.data()), vspStatusOk);
    EXPECT_EQ(vspsEvalFBank_32f(x.data(), y.data(), s), vspStatusOk);
    EXPECT_TRUE(x.guardsIntact() && y.guardsIntact());
  }
  vspsFBankFree_32f(s);
}

TEST(FBank, SixteenBitCoefficientsConvertThroughQ14) {
  VspFBankState_16s* s = nullptr;
  int32_t order = 0;
  ASSERT_EQ(vspsEmptyFBankInitAlloc_16s(&s, &order, 16, 1, 1), vspStatusOk);
  const int32_t c[3] = {0, 3, 6};
  ASSERT_EQ(vspsFBankSetCenters_16s(s, c), vspStatusOk);
  // times 16384, clamped to +-2^31, truncated: +2^31 itself overflows.
  const float in[7] = {1.0f, 0.5f, -0.7f / 16384, 1e6f, -1e6f, 3e-5f, -2.0f};
  const float want[7] = {1.0f, 0.5f, 0.0f, -131072.0f, -131072.0f, 0.0f, -2.0f};
  float out[7];
  ASSERT_EQ(vspsFBankSetCoeffs_16s(s, 1, in), vspStatusOk);
  ASSERT_EQ(vspsFBankGetCoeffs_16s(s, 1, out), vspStatusOk);
  for (int i = 0; i < 7; ++i) EXPECT_EQ(out[i], want[i]) << i;
  vspsFBankFree_16s(s);
}

// ---- Refusals ---------------------------------------------------------------------------------

struct MelInitArgs {
  OutputWatch out;
  std::vector<unsigned char> block = std::vector<unsigned char>(65536, 0xA5);
  VspFBankState_32f* state = reinterpret_cast<VspFBankState_32f*>(block.data());
  int32_t order = -7, *orderP = &order;
  int32_t fftLen = 256, fc = 10, flags = 1;
  float sr = 8000, lo = 100, hi = 4000;
  MelInitArgs() {
    out.watch(block.data(), block.size());
    out.watch(&order, sizeof order);
  }
  VspStatus call() {
    return vspsMelFBankInit_32f(state, orderP, fftLen, sr, lo, hi, fc, kMul, kDiv, flags);
  }
};

TEST(FBank, RefusalsInTheirOrder) {
  using F = MelInitArgs;
  expectRefusals<F>({
      {"null state", [](F& f) { f.state = nullptr; }, vspStatusNullPointer},
      {"null order, no filters", [](F& f) { f.orderP = nullptr, f.fc = 0; }, vspStatusNullPointer},
      {"fftLen 0", [](F& f) { f.fftLen = 0; }, vspStatusBadSize},
      {"rate 0", [](F& f) { f.sr = 0; }, vspStatusBadSize},
      {"low edge 0 Hz, edges reversed", [](F& f) { f.lo = 0, f.hi = -1; }, vspStatusBadSize},
      {"low above high", [](F& f) { f.lo = 2000, f.hi = 1000; }, vspStatusBadBandEdges},
      {"above half the rate, flags 3", [](F& f) { f.hi = 4000.5f, f.flags = 3; },
       vspStatusBadBandEdges},
      {"flags 3", [](F& f) { f.flags = 3; }, vspStatusBadFilterBankFlag},
      {"flags 7", [](F& f) { f.flags = 7; }, vspStatusBadFilterBankFlag},
      {"flags 8", [](F& f) { f.flags = 8; }, vspStatusBadFilterBankFlag},
      {"a block beyond 32 bits", [](F& f) { f.fftLen = 1 << 30; }, vspStatusOutOfRange},
      {"filters beyond 32 bits", [](F& f) { f.fc = INT32_MAX; }, vspStatusOutOfRange},
  });
  for (int flags : {5, 6}) {
    MelInitArgs f;
    f.flags = flags;
    EXPECT_EQ(f.call(), vspStatusOk) << flags;
  }
  int32_t size = 0;
  VspFBankState_32f* s = nullptr;
  EXPECT_EQ(vspsMelFBankGetSize_32f(0, 0, 3, nullptr), vspStatusNullPointer);
  EXPECT_EQ(vspsMelFBankGetSize_16s(1, 0, 3, &size), vspStatusBadSize);
  EXPECT_EQ(vspsMelFBankGetSize_16s(1, 1, 3, &size), vspStatusBadFilterBankFlag);
  EXPECT_EQ(vspsMelFBankGetSize_32f(INT32_MAX, 1, 2, &size), vspStatusOutOfRange);
  EXPECT_EQ(size, 0);
  // Two constructors have no pointer step: their own checks come first even
  // with null pointers, and a null pointer is refused after them.
  auto melLin = [&](VspFBankState_32f** out, int32_t* o, int32_t len, float linHi, int32_t lc,
                    int32_t flags) {
    return vspsMelLinFBankInitAlloc_32f(out, o, len, 8000, 100, 4000, 10, linHi, lc, kMul, kDiv,
                                        flags);
  };
  EXPECT_EQ(melLin(nullptr, nullptr, 0, 1000, 5, 1), vspStatusBadSize);
  EXPECT_EQ(melLin(&s, &size, 256, 1000, 11, 1), vspStatusBadSize);
  EXPECT_EQ(melLin(&s, &size, 256, 50, 5, 1), vspStatusBadBandEdges);
  EXPECT_EQ(melLin(&s, &size, 256, 4001, 5, 1), vspStatusBadBandEdges);
  EXPECT_EQ(melLin(&s, &size, 256, 1000, 5, 7), vspStatusBadFilterBankFlag);
  EXPECT_EQ(vspsEmptyFBankInitAlloc_16s(nullptr, nullptr, 64, 0, 99), vspStatusBadSize);
  const long live = vspcoreTestLiveBlocks();
  EXPECT_EQ(melLin(nullptr, &size, 256, 1000, 5, 1), vspStatusNullPointer);
  EXPECT_EQ(vspsEmptyFBankInitAlloc_32f(&s, nullptr, 64, 3, 1), vspStatusNullPointer);
  EXPECT_EQ(vspcoreTestLiveBlocks(), live);
  EXPECT_EQ(s, nullptr);
  EXPECT_EQ(vspsFBankFree_32f(nullptr), vspStatusNullPointer);
}

TEST(FBank, MelConversionsAreTheClosedForms) {
  const std::vector<float> hz = {0.0f, 1.0f, 99.5f, 700.0f, 1000.0f, 4000.0f, 7999.0f, 24000.0f};
  for (float mul : {1127.0f, 2595.0f, 1.0f}) {
    for (float div : {700.0f, 1.0f, 1e4f}) {
      std::vector<float> mel(hz.size()), back(hz.size());
      ASSERT_EQ(vspsLinearToMel_32f(hz.data(), mel.data(), int(hz.size()), mul, div), vspStatusOk);
      ASSERT_EQ(vspsMelToLinear_32f(mel.data(), back.data(), int(hz.size()), mul, div),
                vspStatusOk);
      for (size_t i = 0; i < hz.size(); ++i) {
        const float m = float((long double)mul * std::log1p((long double)hz[i] / div));
        const float f = float((long double)div * std::expm1((long double)mel[i] / mul));
        EXPECT_NEAR(mel[i], m, std::fabs(m) * 1.2e-7f) << hz[i];
        EXPECT_NEAR(back[i], f, std::fabs(f) * 1.2e-7f) << hz[i];
      }
    }
  }
  float d = 5.0f;
  EXPECT_EQ(vspsLinearToMel_32f(nullptr, &d, 1, 1, 1), vspStatusNullPointer);
  EXPECT_EQ(vspsMelToLinear_32f(&d, &d, 0, 1, 1), vspStatusBadSize);
  EXPECT_EQ(vspsMelToLinear_32f(&d, &d, 1, 0, 1), vspStatusBadSize);
  EXPECT_EQ(vspsLinearToMel_32f(&d, &d, 1, 1, -1), vspStatusBadSize);
  EXPECT_EQ(d, 5.0f);
}

// ---- The integer bank
// ----------------------------------------------------------------------------

TEST(FBank32s, LogarithmAndExponentialWithinOneUnitOfQ22) {
  // Both sides as Q22 integers: the reference rounded, the algorithm's own
  // result truncated by its last shift. The bank takes logarithms of
  // (f << 22) + (melDiv << 7), below 2^38.
  Rng rng(22);
  for (int i = 0; i < 20000; ++i) {
    const int64_t x = i < 41 ? int64_t(1) << i : rng.integer(1, int64_t(1) << 40);
    const int64_t want = std::llround(std::log(double(x) / 4194304.0) * 4194304.0);
    EXPECT_LE(std::abs(vsp::lnQ22(x) - want), 1) << x;
  }
  // One unit up to e^r = 16 (every bank with highFreq / melDiv below 15);
  // above, the 32 truncating steps on the Q31 mantissa show through the
  // shorter final shift: at most one Q31 unit a step, relative.
  for (int i = 0; i < 20000; ++i) {
    const int64_t r = rng.integer(0, int64_t(6.2 * 4194304));  // up to the saturation point
    const double exact = std::exp(double(r) / 4194304.0) * 4194304.0;
    const double slack = exact < 16 * 4194304.0 ? 0.0 : exact * 32 * 0x1p-31;
    EXPECT_LE(std::abs(double(vsp::expQ22(r) - std::llround(exact))), 1 + slack) << r;
  }
  EXPECT_EQ(vsp::expQ22(int64_t(7) << 22), 0x7FFFFFFF);
  EXPECT_EQ(vsp::expQ22(0), 4194304);
}

TEST(FBank32s, CentresWeightsAndTheSizeAsymmetry) {
  const int32_t mul = 1127 << 15, div = 700 << 15;
  int32_t size = 0, order = 0;
  ASSERT_EQ(vspsMelFBankGetSize_32s(512, 24, 2, &size), vspStatusOk);
  std::vector<unsigned char> block(size_t(size) + 8);
  auto* s = reinterpret_cast<VspFBankState_32s*>(block.data() + 8);
  ASSERT_EQ(vspsMelFBankInit_32s(s, &order, 400, 16000, 0, 8000, 24, mul, div, 2), vspStatusOk);
  EXPECT_EQ(order, 9);
  for (int i = 0; i <= 25; ++i) {
    const double mel = i * melOf(8000, 1127, 700) / 25;
    EXPECT_NEAR(s->centers[i], std::floor((std::exp(mel / 1127) - 1) * 700 * 512 / 16000 + 0.5),
                1.0);
  }
  for (int j = 1; j <= 24; ++j) {
    const int c0 = s->centers[j - 1], c1 = s->centers[j], c2 = s->centers[j + 1];
    for (int k = c0; k <= c2; ++k) {
      const int32_t w = k <= c1 ? s->riseRows[j - 1][k - c0] : s->fallRows[j - 1][k - c1 - 1];
      EXPECT_EQ(w, k <= c1 ? int32_t((int64_t(k - c0 + 1) << 30) / (c1 - c0 + 1))
                           : int32_t((int64_t(c2 - k + 1) << 30) / (c2 - c1 + 1)));
    }
  }
  // GetSize refuses N/2 + 1 filters, Init accepts them, in a block sized for N/2.
  EXPECT_EQ(vspsMelFBankGetSize_32s(64, 33, 2, &size), vspStatusBadSize);
  ASSERT_EQ(vspsMelFBankGetSize_32s(64, 32, 2, &size), vspStatusOk);
  std::vector<unsigned char> tight(static_cast<size_t>(size));
  s = reinterpret_cast<VspFBankState_32s*>(tight.data());
  EXPECT_EQ(vspsMelFBankInit_32s(s, &order, 64, 8000, 0, 4000, 33, mul, div, 2), vspStatusOk);
  order = 0;
  EXPECT_EQ(vspsMelFBankInit_32s(s, &order, 64, 8000, 0, 4000, 34, mul, div, 2), vspStatusBadSize);
  EXPECT_EQ(order, 6);  // written before that last check
  struct Row {
    int32_t fftLen, sr, lo, hi, mul, div, flags;
    VspStatus want;
  };
  const Row rows[] = {
      {31, 8000, 0, 4000, mul, div, 2, vspStatusBadSize},
      {64, 8000, 0, 0, mul, div, 3, vspStatusBadSize},  // highFreq < 1, before flags
      {64, 8000, 0, 4000, mul, div, 6, vspStatusBadFilterBankFlag},
      {64, 48001, 0, 4000, mul, div, 2, vspStatusBadSize},
      {64, 8000, -1, 4000, mul, div, 2, vspStatusBadSize},
      {64, 8000, 4000, 4000, mul, div, 2, vspStatusBadBandEdges},
      {64, 8000, 0, 24001, mul, div, 2, vspStatusBadBandEdges},
      {64, 8000, 0, 24000, 524288, div, 2, vspStatusOutOfRange},  // 16.0 exactly
      {64, 8000, 0, 4000, mul, 1 << 28, 2, vspStatusOutOfRange},
  };
  for (const Row& r : rows) {
    order = -1;
    EXPECT_EQ(vspsMelFBankInit_32s(s, &order, r.fftLen, r.sr, r.lo, r.hi, 4, r.mul, r.div, r.flags),
              r.want);
    EXPECT_EQ(order, -1);
  }
}

}  // namespace
