// Filter banks: centres and weights against double references for each kind
// of bank, Init in blocks of exactly the reported size, evaluation near a
// double sum of the weighted (magnitude) spectrum and bit for bit in its fixed
// order, the integer members exactly (with the 16-bit member's 32-bit product
// wrap), what a failed allocation leaves, Get and Set with their validation
// gaps, the refusals, the Mel conversions and the integer bank.
#include <numeric>

#include "frontend/fbank.h"
#include "frontend/fft.h"
#include "frontend/frontend_support.h"

namespace {

using namespace vsptest;

constexpr float kMul = 1127.0f, kDiv = 700.0f;

double melOf(double f) { return kMul * std::log(1 + f / kDiv); }

// The members of the float and the 16-bit bank that share a signature.
// clang-format off
template <class S> struct Api;
#define VSP_FBANK_API(T, Sample, EVAL) template <> struct Api<VspFBankState_##T> {           \
    using X = Sample;                                                                          \
    static VspStatus eval(const X* x, X* y, VspFBankState_##T* s) { return EVAL; }             \
    static constexpr auto getSize = vspsMelFBankGetSize_##T;                                   \
    static constexpr auto init = vspsMelFBankInit_##T;                                         \
    static constexpr auto mel = vspsMelFBankInitAlloc_##T;                                     \
    static constexpr auto melLin = vspsMelLinFBankInitAlloc_##T;                               \
    static constexpr auto empty = vspsEmptyFBankInitAlloc_##T;                                 \
    static constexpr auto getCentres = vspsFBankGetCenters_##T;                                \
    static constexpr auto setCentres = vspsFBankSetCenters_##T;                                \
    static constexpr auto getWeights = vspsFBankGetCoeffs_##T;                                 \
    static constexpr auto setWeights = vspsFBankSetCoeffs_##T;                                 \
    static constexpr auto release = vspsFBankFree_##T; };
VSP_FBANK_API(32f, float, vspsEvalFBank_32f(x, y, s))
VSP_FBANK_API(16s, Vsp16s, vspsEvalFBank_16s_Sfs(x, y, s, 0))
#undef VSP_FBANK_API
// clang-format on

// The centres, and each filter's weights over bins c[j-1] .. c[j+1] in one
// run (rising side, then falling side), as the Get functions give them.
struct BankRead {
  std::vector<int32_t> c;
  std::vector<std::vector<float>> w;
  template <class S>
  explicit BankRead(const S* s) : c(size_t(s->filterCount) + 2) {
    EXPECT_EQ(Api<S>::getCentres(s, c.data()), vspStatusOk);
    for (int j = 1; j <= s->filterCount; ++j) {
      w.emplace_back(size_t(std::max(c[j + 1] - c[j - 1] + 1, 0)));
      EXPECT_EQ(Api<S>::getWeights(s, j, w.back().data()), vspStatusOk);
    }
  }
  float at(int j, int k) const { return w[size_t(j) - 1][size_t(k - c[size_t(j) - 1])]; }
};

// Single precision may fall on the other side of the decision point (an
// integer when truncating, a half when rounding) only where the double value
// lies next to it; there the comparison is skipped, unless it lies on it.
void expectCentre(int32_t got, double bin, bool nearest, int i) {
  const double frac = bin - std::floor(bin);
  const double gap = nearest ? std::fabs(frac - 0.5) : std::min(frac, 1 - frac);
  if (gap > 0 && gap < 1e-3) return;
  EXPECT_EQ(got, int32_t(nearest ? std::nearbyint(bin) : std::trunc(bin))) << "centre " << i;
}

// Bin weights: (k - c0 + 1) / (c1 - c0 + 1) rising, (c2 - k + 1) / (c2 - c1 + 1)
// falling; in double, or the numerator shifted left by q over the integer
// denominator.
double binWeight(const std::vector<int32_t>& c, int j, int k, int q = -1) {
  const int64_t num = k <= c[j] ? k - c[j - 1] + 1 : c[j + 1] - k + 1;
  const int64_t den = k <= c[j] ? c[j] - c[j - 1] + 1 : c[j + 1] - c[j] + 1;
  return q < 0 ? double(num) / double(den) : double((num << q) / den);
}

// The 16-bit bank's sum: one 64-bit accumulator (of 32-bit products,
// wrapped, if asked), shifted by the low six bits of `shift`, saturated.
template <class Out>
Out integerSum(const BankRead& r, int j, const int32_t* x, int64_t shift, bool wrap32) {
  int64_t acc = 0;
  for (int k = r.c[j - 1]; k <= r.c[j + 1]; ++k) {
    const int32_t w = int32_t(r.at(j, k) * 16384.0f);
    acc += wrap32 ? int64_t(int32_t(uint32_t(w) * uint32_t(x[k]))) : int64_t(w) * x[k];
  }
  const int64_t v = shift >= 0 ? acc >> (shift & 63) : int64_t(uint64_t(acc) << (-shift & 63));
  return Out(
      std::clamp<int64_t>(v, std::numeric_limits<Out>::min(), std::numeric_limits<Out>::max()));
}

// A Mel bank, or with linearCount > 0 a linear/Mel one.
struct Case {
  const char* what;
  int fftLen, n, fc;
  float sr, lo, hi;
  int flags;
  size_t misalign;
  float linHi = 0;
  int lc = 0;
  template <class S>
  VspStatus alloc(S** s, int32_t* order) const {
    return lc ? Api<S>::melLin(s, order, fftLen, sr, lo, hi, fc, linHi, lc, kMul, kDiv, flags)
              : Api<S>::mel(s, order, fftLen, sr, lo, hi, fc, kMul, kDiv, flags);
  }
};

// Init in a guarded block of exactly the reported size builds the bank that
// InitAlloc built, and evaluates alike. The filter counts of the cases leave
// no slack at the block's end, and a misalignment of 16 takes all that the
// object's alignment may use, so a short size shows as a broken guard.
template <class S>
void expectInitLike(S* a, const Case& mc) {
  using T = typename Api<S>::X;
  int32_t size = 0, order = 0;
  ASSERT_EQ(Api<S>::getSize(mc.fftLen, mc.fc, mc.flags, &size), vspStatusOk);
  Guarded<unsigned char> block(size_t(size), mc.misalign);
  S* s = reinterpret_cast<S*>(block.data());
  ASSERT_EQ(Api<S>::init(s, &order, mc.fftLen, mc.sr, mc.lo, mc.hi, mc.fc, kMul, kDiv, mc.flags),
            vspStatusOk);
  const auto x = randomVector<T>(size_t(mc.n), 7, -300, 300);
  std::vector<T> y(size_t(mc.fc)), z(y);
  EXPECT_TRUE(Api<S>::eval(x.data(), y.data(), s) == 0 && Api<S>::eval(x.data(), z.data(), a) == 0);
  EXPECT_TRUE(y == z && BankRead(s).w == BankRead(a).w && BankRead(s).c == BankRead(a).c);
  EXPECT_TRUE(block.guardsIntact());
}

TEST(FBank, MelBanksMatchTheDoubleFormulasAndEvaluate) {
  // Mel weights with highFreq at half the rate; bin weights of a time signal;
  // equal edges; coinciding centres; order 1; linear points 1.5 or 3 bins
  // apart from half a bin (every other centre an exact tie when rounding),
  // alone and below Mel ones.
  // clang-format off
  const Case cases[] = {{"Mel", 400, 512, 30, 16000, 64, 8000, 1, 24},
      {"time", 512, 512, 22, 16000, 64, 8000, 6, 16}, {"equal", 256, 256, 14, 8e3, 1e3, 1e3, 5, 16},
      {"coinciding", 64, 64, 38, 8000, 50, 4000, 2, 8}, {"order 1", 1, 2, 6, 8000, 10, 4000, 2, 0},
      {"linear", 256, 256, 11, 8192, 16, 4096, 1, 0, 592, 11},
      {"linear and Mel", 256, 256, 11, 8192, 16, 4096, 2, 0, 592, 6}};
  // clang-format on
  for (const Case& mc : cases) {
    SCOPED_TRACE(mc.what);
    VspFBankState_32f* s = nullptr;
    VspFBankState_16s* t = nullptr;
    int32_t order = -1;
    // Pieces: object, [transform object, work], centres, Mel points, rising
    // rows, falling rows, bin points. A failure gives vspStatusNoMemory with
    // *stateOut holding what was built (null if the object itself failed);
    // the point arrays never stay behind, and Free releases the rest.
    const std::vector<int> kept = mc.flags & 4 ? std::vector<int>{1, 1, 1, 1, 0, 1, 1, 0}
                                               : std::vector<int>{1, 1, 0, 1, 1, 0};
    const SweepResult r = sweepAllocationFailures(
        [&] { return s = reinterpret_cast<VspFBankState_32f*>(&s), mc.alloc(&s, &order); },
        [&](int n) {
          EXPECT_TRUE((s == nullptr) == (n == 1) &&
                      vspsFBankFree_32f(s) == (n == 1 ? vspStatusNullPointer : vspStatusOk));
        },
        [&](int n) { return long(std::accumulate(kept.begin(), kept.begin() + n - 1, 0)); });
    ASSERT_TRUE(r.finalStatus == vspStatusOk && r.allocationPoints == int(kept.size()));
    ASSERT_TRUE(mc.alloc(&t, &order) == vspStatusOk && 1 << order == mc.n);
    if (!mc.lc) expectInitLike(s, mc), expectInitLike(t, mc);
    const bool bins = mc.flags & 2, time = mc.flags & 4;
    const BankRead f(s), g(t);  // g's centres shown by its weights
    // Points in Hz: linear up to linearCount (all of them when it is the
    // filter count, highFreq then playing no part), Mel-spaced above.
    const int lc = mc.lc ? mc.lc : mc.fc;
    const bool mixed = lc < mc.fc;
    const double m0 = melOf(mc.lc ? mc.linHi : mc.lo);
    std::vector<double> mel(size_t(mc.fc) + 2);
    for (int i = 0; i <= mc.fc + 1; ++i) {
      const double m = m0 + (i - mc.lc) * (melOf(mc.hi) - m0) / (mc.fc - mc.lc + 1);
      const double hz = mc.lc && (!mixed || i < lc)
                            ? mc.lo + i * double(mc.linHi - mc.lo) / (mixed ? lc : mc.fc + 1)
                            : (std::exp(m / kMul) - 1) * kDiv;
      mel[i] = melOf(hz);
      expectCentre(f.c[i], hz * mc.n / mc.sr, bins, i);
    }
    // Float evaluation: near the double sum, and exactly the two sides summed
    // in ascending bin order and then added.
    Rng rng(uint64_t(mc.n) + mc.flags);
    Guarded<float> src(size_t(mc.n), 4), dst(size_t(mc.fc), 8);
    for (int i = 0; i < mc.n; ++i) src[i] = time ? rng.uniformf(-1, 1) : rng.uniformf(0, 10);
    std::vector<double> spectrum(src.data(), src.data() + mc.n);
    const auto X = directDft(spectrum);
    for (size_t k = 0; time && k < X.size(); ++k) spectrum[k] = std::abs(X[k]);
    ASSERT_TRUE(vspsEvalFBank_32f(src.data(), dst.data(), s) == vspStatusOk && dst.guardsIntact());
    for (int j = 1; j <= mc.fc; ++j) {
      const int c0 = f.c[j - 1], c1 = f.c[j], c2 = f.c[j + 1];
      double want = 0, scale = 0;
      float a = 0, b = 0;
      for (int k = c0; k <= c2; ++k) {
        SCOPED_TRACE(testing::Message() << "j=" << j << " k=" << k);
        const double mk = melOf(k * double(mc.sr) / mc.n), w = f.at(j, k);
        // Bins: one float division, in 16 bits an integer one; past the linear
        // filters too. Mel: the low edge is 0, 16 bits truncate; the falling
        // side of the last linear filter below Mel ones is a bin number minus
        // a Mel value.
        const double ref = bins || j > lc     ? binWeight(f.c, j, k)
                           : k == c0          ? 0.0
                           : k <= c1          ? (mk - mel[j - 1]) / (mel[j] - mel[j - 1])
                           : j < lc || !mixed ? (mel[j + 1] - mk) / (mel[j + 1] - mel[j])
                                              : (c2 - mk) / (c2 - c1);
        EXPECT_NEAR(w, bins ? float(ref) : std::max(ref, 0.0), bins ? 0 : 1e-4);
        EXPECT_NEAR(g.at(j, k) * 16384, bins ? binWeight(f.c, j, k, 14) : w * 16384, !bins * 1.5);
        want += w * spectrum[k], scale += std::fabs(w) * spectrum[k];
        (k <= c1 ? a : b) += f.at(j, k) * src[k];
      }
      EXPECT_NEAR(dst[j - 1], want, (time ? 3e-5 : 4e-6) * scale + 1e-6) << "j=" << j;
      EXPECT_TRUE(time || bits(dst[j - 1]) == bits(a + b)) << "j=" << j;
    }
    // 16 bits, on the transform path from magnitudes at 64 times their size
    // (by the transform steps tested on their own). Loud frames wrap the
    // 16-bit member's 32-bit products.
    for (int16_t amplitude : {int16_t(300), int16_t(32767)}) {
      const auto x16 = randomVector<int16_t>(size_t(mc.n), mc.n + amplitude, -amplitude, amplitude);
      std::vector<int32_t> x(x16.begin(), x16.end()), cf(size_t(mc.n) + 2);
      VspFftSpec_16s* fftObj = nullptr;
      ASSERT_TRUE(
          vsp::fftSpecInitAlloc_16s(&fftObj, order, 8, 0) == 0 &&
          vsp::fftForward_16s(x16.data(), cf.data(), fftObj, -3, nullptr) == 0 &&
          (!time || vsp::fftMagnitudeScaled_32s(cf.data(), x.data(), mc.n / 2 + 1, -3) == 0) &&
          vsp::fftSpecFree_16s(fftObj) == 0);
      for (int sf : {-14, 0, 3, -20, 50}) {
        SCOPED_TRACE(testing::Message() << "sf " << sf << " amplitude " << amplitude);
        const int64_t shift = int64_t(sf) + 14 + (time ? 6 : 0);
        Guarded<int16_t> d16(size_t(mc.fc), 2);
        Guarded<int32_t> d32(size_t(mc.fc));
        ASSERT_TRUE(vspsEvalFBank_16s_Sfs(x16.data(), d16.data(), t, sf) == 0 &&
                    vspsEvalFBank_16s32s_Sfs(x16.data(), d32.data(), t, sf) == 0 &&
                    d16.guardsIntact() && d32.guardsIntact());
        for (int j = 1; j <= mc.fc; ++j)
          EXPECT_TRUE(d16[j - 1] == integerSum<int16_t>(g, j, x.data(), shift, time) &&
                      d32[j - 1] == integerSum<int32_t>(g, j, x.data(), shift, false))
              << j;
      }
    }
    EXPECT_TRUE(vspsFBankFree_32f(s) == 0 && vspsFBankFree_16s(t) == 0);
  }
}

// An empty bank (flags stored as 1 whatever came) refuses work until its
// centres are set; its weights start at zero and are set and read per filter.
// The last pair of centres is never compared: centres let through so must
// still keep every run inside its row and the spectrum's bins.
template <class S>
void checkEmptyBank(int flags) {
  using A = Api<S>;
  using T = typename A::X;
  S* s = nullptr;
  int32_t order = 0;
  const long live = vspcoreTestLiveBlocks();
  // object, [transform object, work], centres, rising rows, falling rows:
  // a failed transform object or work buffer is ignored.
  for (int fail = 1; fail <= 8; ++fail) {
    vspcoreTestFailAfter(fail);
    const VspStatus st = A::empty(&s, &order, 100, 3, flags);
    vspcoreTestFailAfter(0);
    const bool ok = ((flags & 4) && (fail == 2 || fail == 3)) || fail > (flags & 4 ? 6 : 4);
    EXPECT_EQ(st, ok ? vspStatusOk : vspStatusNoMemory) << fail;
    EXPECT_EQ(A::release(s), fail == 1 ? vspStatusNullPointer : vspStatusOk);
    EXPECT_EQ(vspcoreTestLiveBlocks(), live) << fail;
  }
  ASSERT_TRUE(A::empty(&s, &order, 100, 3, flags) == vspStatusOk && order == 7);  // N / 2 = 64
  const int kNo = vspStatusFilterBankNotReady;
  int32_t c[5] = {0, 2, 5, 9, 12}, back[5];
  const float w1[6] = {0.25f, 0.5f, 0.75f, 1.0f, 1.25f, 1.5f};
  // 16 bits: times 16384, clamped to +-2^31, truncated: +2^31 itself overflows.
  const float w2[8] = {1.0f, 0.5f, -0.7f / 16384, 1e6f, -1e6f, 3e-5f, -2.0f, 0.125f};
  std::vector<float> want(w2, w2 + 8), got(9, 42.0f), ones(2000, 1.0f);
  if (sizeof(T) == 2) want = {1, 0.5f, 0, -131072, -131072, 0, -2, 0.125f};
  want.push_back(42);  // nothing written past the run
  Guarded<T> x(65), y(3);
  Guarded<float> row(128);
  for (int i = 0; i <= 64; ++i) x[i] = T(i);
  // Pointers come before readiness.
  EXPECT_TRUE(A::eval(nullptr, y.data(), s) == vspStatusNullPointer && A::getCentres(s, c) == kNo);
  EXPECT_TRUE(A::eval(x.data(), y.data(), s) == kNo && A::setWeights(s, 1, w1) == kNo &&
              y.untouched());
  ASSERT_EQ(A::setCentres(s, c), vspStatusOk);
  EXPECT_TRUE(A::eval(x.data(), y.data(), s) == 0 && y[0] == 0);              // zero weights
  ASSERT_EQ(A::setWeights(s, 1, w1) + A::setWeights(s, 2, w2), vspStatusOk);  // 3 + 3, 4 + 4
  EXPECT_TRUE(A::getWeights(s, 2, got.data()) == 0 && got == want);
  // Not a time signal, even under bit 4: bins 0 .. 5 weighted.
  EXPECT_TRUE(A::eval(x.data(), y.data(), s) == 0 && y[0] == T(17.5f));
  // centres, and what SetCenters says of them
  // clang-format off
  const int32_t rows[][6] = {{0, 4, 8, 12, 64, 0}, {-1, 4, 8, 12, 16, kNo}, {0, 4, 8, 12, 65, kNo},
                             {0, 9, 8, 12, 16, kNo}, {0, 8, 8, 1000000, 20, 0}};
  // clang-format on
  for (const auto& r : rows) EXPECT_EQ(A::setCentres(s, r), r[5]) << r[0] << r[1] << r[3];
  EXPECT_TRUE(A::getCentres(s, back) == 0 && back[3] == 1000000);
  // The top filter's rising run would reach bin 10^6: Set and Get stop at its
  // row, the evaluation at the last centre.
  EXPECT_TRUE(A::setWeights(s, 1, ones.data()) == 0 && A::setWeights(s, 3, ones.data()) == 0 &&
              A::getWeights(s, 3, row.data()) == 0 && A::eval(x.data(), y.data(), s) == 0);
  // bins 0 .. 8 rising, equal centres leaving no falling run; then bins 8 .. 20
  // rising (not to 10^6), no falling run
  EXPECT_TRUE(y[0] == T(36) && y[2] == T(182) && row.guardsIntact() && y.guardsIntact());
  EXPECT_TRUE(A::getWeights(s, 5, row.data()) == vspStatusBadSize &&
              A::setWeights(s, 0, ones.data()) == vspStatusBadSize && A::release(s) == 0);
}

TEST(FBank, EmptyBanksSetAndGetInsideTheirRows) {
  for (int flags : {1, 7})
    checkEmptyBank<VspFBankState_32f>(flags), checkEmptyBank<VspFBankState_16s>(flags);
}

// Pointers, sizes, band edges, flags (3 and 7 refused, 5 and 6 legal); a
// bank whose block would pass 32 bits is out of range. A refusal writes
// nothing, not even the order.
TEST(FBank, RefusalsInTheirOrder) {
  const double kNull = vspStatusNullPointer, kSize = vspStatusBadSize, kRange = vspStatusOutOfRange;
  const double kFlag = vspStatusBadFilterBankFlag, kEdges = vspStatusBadBandEdges;
  // fftLen, filters, rate, low, high, flags, null state, status
  // clang-format off
  const double rows[][8] = {
      {256, 10, 8000, 100, 4000, 1, 1, kNull},   {0, 10, 8000, 100, 4000, 1, 0, kSize},
      {256, 10, 8000, 2000, 1000, 1, 0, kEdges}, {256, 10, 8000, 100, 4000.5, 3, 0, kEdges},
      {256, 10, 8000, 100, 4000, 7, 0, kFlag},   {1 << 30, 10, 8000, 100, 4000, 1, 0, kRange},
      {256, 10, 8000, 100, 4000, 5, 0, 0}};
  // clang-format on
  for (const auto& r : rows) {
    Guarded<unsigned char> block(65536);
    int32_t order = -7;
    auto* state = r[6] ? nullptr : reinterpret_cast<VspFBankState_32f*>(block.data());
    const VspStatus st =
        vspsMelFBankInit_32f(state, &order, int32_t(r[0]), float(r[2]), float(r[3]), float(r[4]),
                             int32_t(r[1]), kMul, kDiv, int32_t(r[5]));
    EXPECT_EQ(st, int(r[7])) << "row " << &r - rows;
    EXPECT_TRUE(st == vspStatusOk || (block.untouched() && order == -7)) << "row " << &r - rows;
  }
  int32_t size = 0;
  VspFBankState_32f* s = nullptr;
  EXPECT_TRUE(vspsMelFBankGetSize_32f(0, 0, 3, nullptr) == vspStatusNullPointer &&
              vspsMelFBankGetSize_16s(1, 1, 7, &size) == vspStatusBadFilterBankFlag &&
              vspsMelFBankGetSize_32f(INT32_MAX, 1, 2, &size) == vspStatusOutOfRange);
  // Two constructors have no pointer step: their own checks come first even
  // with null pointers, and a null pointer is refused after them.
  EXPECT_EQ(vspsEmptyFBankInitAlloc_16s(nullptr, nullptr, 64, 0, 99), vspStatusBadSize);
  EXPECT_TRUE(vspsEmptyFBankInitAlloc_32f(&s, nullptr, 64, 3, 1) == vspStatusNullPointer &&
              s == nullptr);
}

TEST(FBank, MelConversionsAreTheClosedForms) {
  const float hz[8] = {0.0f, 1.0f, 99.5f, 700.0f, 1000.0f, 4000.0f, 7999.0f, 24000.0f};
  float mel[8], back[8], d = 5.0f;
  const long double mul = 1000, div = 500;  // neither the usual pair nor 1
  ASSERT_TRUE(vspsLinearToMel_32f(hz, mel, 8, 1000, 500) == vspStatusOk &&
              vspsMelToLinear_32f(mel, back, 8, 1000, 500) == vspStatusOk);
  for (int i = 0; i < 8; ++i) {
    const float m = float(mul * std::log1p(hz[i] / div)), f = float(div * std::expm1(mel[i] / mul));
    EXPECT_NEAR(mel[i], m, std::fabs(m) * 1.2e-7f) << hz[i];
    EXPECT_NEAR(back[i], f, std::fabs(f) * 1.2e-7f) << hz[i];
  }
  EXPECT_TRUE(vspsLinearToMel_32f(nullptr, &d, 1, 1, 1) == vspStatusNullPointer &&
              vspsMelToLinear_32f(&d, &d, 1, 0, 1) == vspStatusBadSize && d == 5.0f);
}

// Weights in Q30 from the centres, products shifted right 8 and summed per
// side, the total scaled and rounded half up from Q22: saturated above,
// wrapped below. Large inputs make a weight one unit off show.
int32_t sum32s(const int32_t* c, int j, const std::vector<int32_t>& x, int sf) {
  const std::vector<int32_t> cs(c, c + j + 2);
  __int128 t = 0;
  for (int k = c[j - 1]; k <= c[j + 1]; ++k) t += (__int128(binWeight(cs, j, k, 30)) * x[k]) >> 8;
  if (sf >= 0)
    t >>= sf;
  else
    t = t < (__int128(1) << (63 + sf)) ? int64_t(t * (__int128(1) << -sf)) : INT64_MAX;
  const __int128 v = (t >> 22) + ((t >> 21) & 1);
  return v > INT32_MAX ? INT32_MAX : int32_t(uint32_t(uint64_t(int64_t(v))));
}

TEST(FBank32s, CentresWeightsEvaluationAndRefusals) {
  const int32_t mul = 1127 << 15, div = 700 << 15;
  int32_t size = 0, order = 0;
  ASSERT_EQ(vspsMelFBankGetSize_32s(512, 24, 2, &size), vspStatusOk);
  Guarded<unsigned char> block(size_t(size), 8);
  auto* s = reinterpret_cast<VspFBankState_32s*>(block.data());
  ASSERT_TRUE(vspsMelFBankInit_32s(s, &order, 400, 16000, 0, 8000, 24, mul, div, 2) == 0 &&
              order == 9);
  for (int i = 0; i <= 25; ++i)
    expectCentre(s->centers[i], (std::exp(i * melOf(8000) / 25 / kMul) - 1) * 700 * 512 / 16000,
                 true, i);
  for (int32_t amplitude : {1000, 1 << 24, INT32_MAX}) {
    const auto x = randomVector<int32_t>(257, uint64_t(amplitude) + 32, -amplitude, amplitude);
    for (int sf : {-31, -12, -1, 0, 1, 7, 31}) {
      Guarded<int32_t> dst(24);
      ASSERT_TRUE(vspsEvalFBank_32s_Sfs(x.data(), dst.data(), s, sf) == 0 && dst.guardsIntact());
      for (int j = 1; j <= 24; ++j)
        EXPECT_EQ(dst[j - 1], sum32s(s->centers, j, x, sf)) << sf << " " << j;
    }
  }
  Guarded<int32_t> d(1);
  const int32_t x[257] = {};
  EXPECT_TRUE(vspsEvalFBank_32s_Sfs(x, d.data(), s, -32) == vspStatusOutOfRange &&
              vspsEvalFBank_32s_Sfs(nullptr, d.data(), s, 99) == vspStatusNullPointer &&
              d.untouched() && block.guardsIntact());
  // fftLen, rate, low, high, melMul, melDiv, flags, status: highFreq < 1
  // comes before the flags, 16.0 is out of range.
  const int32_t kSize = vspStatusBadSize, kFlag = vspStatusBadFilterBankFlag;
  const int32_t kEdges = vspStatusBadBandEdges, kRange = vspStatusOutOfRange;
  // clang-format off
  const int32_t rows[][8] = {{31, 8000, 0, 4000, mul, div, 2, kSize},
      {64, 8000, 0, 0, mul, div, 3, kSize}, {64, 8000, 0, 4000, mul, div, 6, kFlag},
      {64, 8000, 4000, 4000, mul, div, 2, kEdges}, {64, 8000, 0, 24000, 524288, div, 2, kRange}};
  // clang-format on
  for (const auto& r : rows) {
    order = -1;
    EXPECT_EQ(vspsMelFBankInit_32s(s, &order, r[0], r[1], r[2], r[3], 4, r[4], r[5], r[6]), r[7]);
    EXPECT_EQ(order, -1);
  }
}

}  // namespace
