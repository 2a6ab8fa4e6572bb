// Filter bank evaluation: the float member bit for bit against its fixed
// summation order and near a double-precision sum of the weighted (magnitude)
// spectrum, the integer members exactly, the 32-bit product wrap of the
// 16-bit member on the transform path, the integer bank's rounding, and the
// refusals.
#include <complex>

#include "frontend/fbank_support.h"
#include "frontend/fft.h"

namespace {

using namespace vsptest;

constexpr int kLen = 512, kFilters = 26;

// |X[k]| for k = 0 .. N/2, by the direct sum in double.
std::vector<double> magnitudes(const std::vector<double>& x) {
  const size_t n = x.size();
  std::vector<double> m(n / 2 + 1);
  for (size_t k = 0; k <= n / 2; ++k) {
    std::complex<double> s = 0;
    for (size_t i = 0; i < n; ++i) s += x[i] * std::polar(1.0, -2 * M_PI * double(i * k % n) / n);
    m[k] = std::abs(s);
  }
  return m;
}

TEST(EvalFBank, FloatSumsInTheirOrderAndNearTheDoubleSum) {
  for (int flags : {1, 2, 5, 6}) {
    SCOPED_TRACE("flags " + std::to_string(flags));
    VspFBankState_32f* s = nullptr;
    int32_t order = 0;
    ASSERT_EQ(vspsMelFBankInitAlloc_32f(&s, &order, kLen, 16000, 64, 8000, kFilters, kMelMul,
                                        kMelDiv, flags),
              vspStatusOk);
    const BankRead r = readBank(s);
    Rng rng(300 + flags);
    const bool time = flags & 4;
    Guarded<float> src(kLen, 4), dst(kFilters, 8);
    for (int i = 0; i < kLen; ++i) src[i] = time ? rng.uniformf(-1, 1) : rng.uniformf(0, 10);
    std::vector<double> spectrum(src.data(), src.data() + kLen);
    if (time) spectrum = magnitudes(spectrum);
    for (int rep = 0; rep < 2; ++rep) {  // the work buffer is reused
      ASSERT_EQ(vspsEvalFBank_32f(src.data(), dst.data(), s), vspStatusOk);
      EXPECT_TRUE(dst.guardsIntact());
      for (int j = 1; j <= kFilters; ++j) {
        const int c0 = r.c[j - 1], c1 = r.c[j], c2 = r.c[j + 1];
        double want = 0, scale = 0;
        for (int k = c0; k <= c2; ++k) {
          want += r.at(j, k) * spectrum[k];
          scale += std::fabs(r.at(j, k)) * spectrum[k];
        }
        EXPECT_NEAR(dst[j - 1], want, (time ? 3e-5 : 4e-6) * scale + 1e-6) << "j=" << j;
        if (!time) {  // the two sides in ascending bin order, then their sum
          float a = 0, b = 0;
          for (int k = c0; k <= c1; ++k) a += r.at(j, k) * src[k];
          for (int k = c1 + 1; k <= c2; ++k) b += r.at(j, k) * src[k];
          EXPECT_EQ(bits(dst[j - 1]), bits(a + b)) << "j=" << j;
        }
      }
    }
    vspsFBankFree_32f(s);
  }
}

// The integer sums of the 16-bit bank: one 64-bit accumulator, shifted by
// scaleFactor + 14 (+ 6 on the transform path, low six bits), saturated.
template <class Out>
Out integerReference(const BankRead& r, int j, const int32_t* x, int64_t shift, bool wrap32) {
  int64_t acc = 0;
  for (int k = r.c[j - 1]; k <= r.c[j + 1]; ++k) {
    const int32_t w = int32_t(r.at(j, k) * 16384.0f);
    acc += wrap32 ? int64_t(int32_t(uint32_t(w) * uint32_t(x[k]))) : int64_t(w) * x[k];
  }
  const int sh = int(shift & 63);
  const int64_t v = shift >= 0 ? acc >> sh : int64_t(uint64_t(acc) << (-shift & 63));
  const int64_t lo = std::numeric_limits<Out>::min(), hi = std::numeric_limits<Out>::max();
  return Out(v < lo ? lo : v > hi ? hi : v);
}

TEST(EvalFBank, SixteenBitMembersExactly) {
  for (int flags : {1, 2, 5, 6}) {
    VspFBankState_16s* s = nullptr;
    int32_t order = 0;
    ASSERT_EQ(vspsMelFBankInitAlloc_16s(&s, &order, kLen, 16000, 64, 8000, kFilters, kMelMul,
                                        kMelDiv, flags),
              vspStatusOk);
    const BankRead r = readBank(s);
    const bool time = flags & 4;
    for (int16_t amplitude : {int16_t(300), int16_t(32767)}) {  // loud frames wrap 32-bit products
      Rng rng(500 + flags);
      std::vector<int16_t> src(kLen);
      rng.fill(src.data(), kLen, [&] { return rng.s16(-amplitude, amplitude); });
      std::vector<int32_t> x(src.begin(), src.end());
      if (time) {  // the transform and magnitudes, each tested on its own
        VspFftSpec_16s* spec = nullptr;
        ASSERT_EQ(vsp::fftSpecInitAlloc_16s(&spec, 9, 8, 0), vspStatusOk);
        std::vector<int32_t> cf(kLen + 2);
        ASSERT_EQ(vsp::fftForward_16s(src.data(), cf.data(), spec, -3, nullptr), vspStatusOk);
        x.resize(kLen / 2 + 1);
        ASSERT_EQ(vsp::fftMagnitudeScaled_32s(cf.data(), x.data(), kLen / 2 + 1, -3), vspStatusOk);
        vsp::fftSpecFree_16s(spec);
        const std::vector<double> m = magnitudes(std::vector<double>(src.begin(), src.end()));
        for (int k = 0; k <= kLen / 2; ++k) EXPECT_NEAR(x[k], 64 * m[k], 64 + 1e-5 * 64 * m[k]);
      }
      for (int sf : {-14, 0, 3, -20, 50}) {
        SCOPED_TRACE("flags " + std::to_string(flags) + " sf " + std::to_string(sf) +
                     " amplitude " + std::to_string(amplitude));
        const int64_t shift = int64_t(sf) + 14 + (time ? 6 : 0);
        Guarded<int16_t> d16(kFilters, 2);
        Guarded<int32_t> d32(kFilters);
        ASSERT_EQ(vspsEvalFBank_16s_Sfs(src.data(), d16.data(), s, sf), vspStatusOk);
        ASSERT_EQ(vspsEvalFBank_16s32s_Sfs(src.data(), d32.data(), s, sf), vspStatusOk);
        EXPECT_TRUE(d16.guardsIntact() && d32.guardsIntact());
        int wrapped = 0;
        for (int j = 1; j <= kFilters; ++j) {
          EXPECT_EQ(d16[j - 1], integerReference<int16_t>(r, j, x.data(), shift, time)) << j;
          EXPECT_EQ(d32[j - 1], integerReference<int32_t>(r, j, x.data(), shift, false)) << j;
          wrapped += integerReference<int32_t>(r, j, x.data(), shift, true) != d32[j - 1];
        }
        if (time && amplitude == 32767 && sf == 50) {
          EXPECT_GT(wrapped, 0);
        }
      }
    }
    vspsFBankFree_16s(s);
  }
}

// Weights in Q30, products shifted right 8 and summed per side, the total
// scaled and rounded half up from Q22: saturated above, wrapped below.
int32_t reference32s(const VspFBankState_32s* s, int j, const std::vector<int32_t>& x, int sf) {
  const int c0 = s->centers[j - 1], c1 = s->centers[j], c2 = s->centers[j + 1];
  __int128 up = 0, down = 0;
  for (int k = c0; k <= c1; ++k) up += (__int128(s->riseRows[j - 1][k - c0]) * x[k]) >> 8;
  for (int k = c1 + 1; k <= c2; ++k) down += (__int128(s->fallRows[j - 1][k - c1 - 1]) * x[k]) >> 8;
  __int128 t = up + down;
  if (sf >= 0)
    t >>= sf;
  else
    t = t < (__int128(1) << (63 + sf)) ? t * (__int128(1) << -sf) : __int128(INT64_MAX);
  t = int64_t(t);  // the left shift keeps 64 bits
  const __int128 v = (t >> 22) + ((t >> 21) & 1);
  return v > INT32_MAX ? INT32_MAX : int32_t(uint32_t(uint64_t(int64_t(v))));
}

TEST(EvalFBank, IntegerBankRoundsHalfUpAndSaturatesOnlyAbove) {
  int32_t size = 0, order = 0;
  ASSERT_EQ(vspsMelFBankGetSize_32s(kLen, kFilters, 2, &size), vspStatusOk);
  std::vector<unsigned char> block(static_cast<size_t>(size));
  auto* s = reinterpret_cast<VspFBankState_32s*>(block.data());
  ASSERT_EQ(
      vspsMelFBankInit_32s(s, &order, kLen, 16000, 0, 8000, kFilters, 1127 << 15, 700 << 15, 2),
      vspStatusOk);
  Rng rng(32);
  for (int32_t amplitude : {1000, 1 << 24, INT32_MAX}) {
    std::vector<int32_t> x(kLen / 2 + 1);
    rng.fill(x.data(), x.size(), [&] { return rng.integer(-amplitude, amplitude); });
    for (int sf : {-31, -12, -1, 0, 1, 7, 31}) {
      Guarded<int32_t> dst(kFilters);
      ASSERT_EQ(vspsEvalFBank_32s_Sfs(x.data(), dst.data(), s, sf), vspStatusOk);
      EXPECT_TRUE(dst.guardsIntact());
      for (int j = 1; j <= kFilters; ++j)
        EXPECT_EQ(dst[j - 1], reference32s(s, j, x, sf)) << "sf " << sf << " j " << j;
    }
  }
  // Half up: filter 1 weighs its centre bin by 1 (2^30), so a value v there
  // is v * 2^22 after the shift by 8, and v / 2 at a scale factor of 1.
  std::vector<int32_t> half(kLen / 2 + 1, 0), out(kFilters);
  for (int32_t v : {3, -3, 5, -5}) {
    half[s->centers[1]] = v;
    ASSERT_EQ(vspsEvalFBank_32s_Sfs(half.data(), out.data(), s, 1), vspStatusOk);
    EXPECT_EQ(out[0], int32_t(std::floor(v / 2.0 + 0.5))) << v;
  }
  int32_t d = 0;
  EXPECT_EQ(vspsEvalFBank_32s_Sfs(half.data(), &d, s, 32), vspStatusOutOfRange);
  EXPECT_EQ(vspsEvalFBank_32s_Sfs(half.data(), &d, s, -32), vspStatusOutOfRange);
  EXPECT_EQ(vspsEvalFBank_32s_Sfs(nullptr, &d, s, 99), vspStatusNullPointer);
  EXPECT_EQ(d, 0);
}

TEST(EvalFBank, RefusalsTouchNothing) {
  VspFBankState_32f* ready = nullptr;
  VspFBankState_32f* empty = nullptr;
  VspFBankState_16s* empty16 = nullptr;
  int32_t order = 0;
  ASSERT_EQ(vspsMelFBankInitAlloc_32f(&ready, &order, 64, 8000, 100, 4000, 4, kMelMul, kMelDiv, 5),
            vspStatusOk);
  ASSERT_EQ(vspsEmptyFBankInitAlloc_32f(&empty, &order, 64, 4, 5), vspStatusOk);
  ASSERT_EQ(vspsEmptyFBankInitAlloc_16s(&empty16, &order, 64, 4, 1), vspStatusOk);
  float x[64] = {}, y[4] = {9, 9, 9, 9};
  int16_t xi[64] = {}, yi[4] = {9, 9, 9, 9};
  int32_t yl[4] = {9, 9, 9, 9};
  EXPECT_EQ(vspsEvalFBank_32f(nullptr, y, ready), vspStatusNullPointer);
  EXPECT_EQ(vspsEvalFBank_32f(x, nullptr, ready), vspStatusNullPointer);
  EXPECT_EQ(vspsEvalFBank_32f(x, y, nullptr), vspStatusNullPointer);
  EXPECT_EQ(vspsEvalFBank_32f(nullptr, y, empty), vspStatusNullPointer);  // pointers first
  EXPECT_EQ(vspsEvalFBank_32f(x, y, empty), vspStatusFilterBankNotReady);
  EXPECT_EQ(vspsEvalFBank_16s_Sfs(xi, yi, empty16, 0), vspStatusFilterBankNotReady);
  EXPECT_EQ(vspsEvalFBank_16s32s_Sfs(xi, yl, empty16, 0), vspStatusFilterBankNotReady);
  EXPECT_EQ(vspsEvalFBank_16s32s_Sfs(xi, nullptr, empty16, 0), vspStatusNullPointer);
  for (int i = 0; i < 4; ++i) EXPECT_TRUE(y[i] == 9 && yi[i] == 9 && yl[i] == 9);
  vspsFBankFree_32f(ready);
  vspsFBankFree_32f(empty);
  vspsFBankFree_16s(empty16);
}

}  // namespace
