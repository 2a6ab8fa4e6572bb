// Log-domain addition, subtraction and sums: accuracy against long double,
// floors and cut-offs, the integer peculiarities, checks and their order.
#include <cmath>
#include <functional>
#include <limits>
#include <vector>

#include "scoring/logadd.h"
#include "support/harness.h"

namespace {

using namespace vsptest;
using LD = long double;

LD refAdd(LD a, LD b) {
  const LD hi = std::max(a, b), lo = std::min(a, b);
  return hi + log1pl(expl(lo - hi));
}

// Worst absolute errors of the two approximations of ln(1 + exp(d)) over the
// whole difference range, found by a dense scan: properties of the
// coefficients and of the table.
constexpr double kPoly32Bound = 5e-9;
constexpr double kPoly64Bound = 6e-15;
constexpr double kTableBound = 1.1e-5;
constexpr double kCut32 = -15.3195879547406;
constexpr double kCut64 = -23.0258509299405;

template <class T>
double ulp(T v) {
  const T a = std::fabs(v);
  return double(std::nextafter(a, std::numeric_limits<T>::infinity()) - a);
}

// ---- Accuracy over the whole range of the difference ---------------------------
//
// Each case runs one member on pairs (hi, hi + d) and reports, per pair, the
// operands as the member saw them (in real units), the result and the unit
// of its rounding.
struct Pairs {
  std::vector<double> a, b, r, unit;
};
struct AccuracyCase {
  const char* name;
  double bound, cut;
  void (*run)(Pairs&);
};

template <class T, VspStatus (*F)(const T*, T*, Vsp32s, VspHint), VspHint H>
void runFloat(Pairs& p) {
  const size_t n = p.a.size();
  std::vector<T> src(p.a.begin(), p.a.end()), sd(p.b.begin(), p.b.end());
  p.a.assign(src.begin(), src.end());
  p.b.assign(sd.begin(), sd.end());
  ASSERT_EQ(F(src.data(), sd.data(), Vsp32s(n), H), vspStatusOk);
  for (size_t i = 0; i < n; ++i) p.r[i] = sd[i], p.unit[i] = ulp(sd[i]) * (sizeof(T) == 8 ? 4 : 1);
}

// 32-bit integers with 20 fractional bits: exact real operands, results
// truncated to a unit of 2^-20.
template <VspHint H>
void runInt(Pairs& p) {
  const size_t n = p.a.size();
  const double unit = std::ldexp(1.0, -20);
  std::vector<Vsp32s> src(n), sd(n);
  for (size_t i = 0; i < n; ++i) {
    src[i] = Vsp32s(std::floor(p.a[i] / unit)), sd[i] = Vsp32s(std::floor(p.b[i] / unit));
    p.a[i] = src[i] * unit, p.b[i] = sd[i] * unit;
  }
  ASSERT_EQ(vspsLogAdd_32s_Sfs(src.data(), sd.data(), Vsp32s(n), 20, H), vspStatusOk);
  for (size_t i = 0; i < n; ++i) p.r[i] = sd[i] * unit, p.unit[i] = unit;
}

class LogAddAccuracy : public ::testing::TestWithParam<AccuracyCase> {};

TEST_P(LogAddAccuracy, WithinTheApproximationBoundOverTheWholeDifference) {
  const AccuracyCase& c = GetParam();
  for (double hi : {0.0, -3.25, 17.5, -1000.0}) {
    SCOPED_TRACE(hi);
    const int n = 60001;
    Pairs p{std::vector<double>(n), std::vector<double>(n), std::vector<double>(n),
            std::vector<double>(n)};
    // Differences from 1.2 times the cut-off up to 0, alternately in the first
    // and the second operand.
    for (int i = 0; i < n; ++i) {
      const double d = 1.2 * c.cut * i / (n - 1);
      p.a[i] = i % 2 ? hi : hi + d;
      p.b[i] = i % 2 ? hi + d : hi;
    }
    c.run(p);
    for (int i = 0; i < n; ++i) {
      // Past the cut-off the result is the larger operand, ln(1 + e^cut) away.
      const double err = double(fabsl(LD(p.r[i]) - refAdd(p.a[i], p.b[i])));
      ASSERT_LE(err, c.bound + std::exp(c.cut) + p.unit[i]) << p.a[i] << " " << p.b[i];
    }
  }
}

INSTANTIATE_TEST_SUITE_P(
    Members, LogAddAccuracy,
    ::testing::Values(
        AccuracyCase{"32f_poly", kPoly32Bound, kCut32, runFloat<float, vspsLogAdd_32f, 0>},
        AccuracyCase{"32f_accurate", kPoly32Bound, kCut32, runFloat<float, vspsLogAdd_32f, 2>},
        AccuracyCase{"32f_table", kTableBound, kCut32, runFloat<float, vspsLogAdd_32f, 1>},
        AccuracyCase{"64f_poly", kPoly64Bound, kCut64, runFloat<double, vspsLogAdd_64f, 0>},
        AccuracyCase{"64f_fast", kPoly64Bound, kCut64, runFloat<double, vspsLogAdd_64f, 1>},
        AccuracyCase{"32s_poly", kPoly32Bound, kCut32, runInt<0>},
        AccuracyCase{"32s_table", kTableBound, kCut32, runInt<1>}),
    [](const auto& info) { return std::string(info.param.name); });

// The bounds above hold for the pair step itself, in double, over a dense
// scan of the difference (the member tests add their result rounding).
TEST(LogAddPaths, WorstErrorsOverTheDifference) {
  using namespace vsp::logadd;
  double poly32 = 0, poly64 = 0, table = 0;
  for (int i = 0; i <= 400000; ++i) {
    const double d32 = kCut32 * i / 400000, d64 = kCut64 * i / 400000;
    const LD r32 = log1pl(expl(d32)), r64 = log1pl(expl(d64));
    poly32 = std::max(poly32, double(fabsl(pairStep<Poly32, NoFloor>(0.0, d32) - r32)));
    poly64 = std::max(poly64, double(fabsl(pairStep<Poly64, NoFloor>(d64, 0.0) - r64)));
    table = std::max(table, double(fabsl(tableStepReal(0.0, d32) - r32)));
  }
  EXPECT_LT(poly32, kPoly32Bound);
  EXPECT_LT(poly64, kPoly64Bound);
  EXPECT_LT(table, kTableBound);
  EXPECT_GT(table, 0.9e-5);  // the comment's figure is the real one
}

TEST(LogAddPaths, TableRows) {
  // The fixed curvature rows.
  const std::pair<int, float> fixed[] = {{1, 0.0071323663f},   {2, 0.0069324546f},
                                         {31, 1.9335826e-05f}, {62, 1.1595803e-08f},
                                         {63, 9.1273451e-09f}, {64, 7.1843598e-09f}};
  for (auto [k, v] : fixed) EXPECT_EQ(vsp::logadd::kTable[k].t2, v) << k;
  EXPECT_EQ(vsp::logadd::kTable[0].t0, 0.6931471824645996f);
  for (int k = 1; k < vsp::logadd::kTableRows; ++k) {
    EXPECT_EQ(vsp::logadd::kTable[k].t0, float(std::log1p(std::exp(-k * kCut32 / -64)))) << k;
    EXPECT_EQ(vsp::logadd::kTable[k].t1, vsp::logadd::kTable[k - 1].t0 - vsp::logadd::kTable[k].t0);
  }
}

// With the strict cut-off of the integer members a difference on the last
// row's left end asks for row 65; single precision never gets there.
TEST(LogAddTable, NeverIndexesPastTheTable) {
  EXPECT_EQ(vsp::logadd::tableRow(-kCut32 * vsp::logadd::kInvStep64), 65);
  EXPECT_EQ(vsp::logadd::tableRow(std::numeric_limits<double>::quiet_NaN()), 65);
  EXPECT_EQ(vsp::logadd::tableRow(-0.0f), 1);
  EXPECT_NEAR(vsp::logadd::tableStepReal(0.0, kCut32), vsp::logadd::kTable[64].t0, 1e-12);
  EXPECT_LE(vsp::logadd::tableRow(-std::nextafter(float(kCut32), 0.0f) * vsp::logadd::kInvStep32),
            64);
  // Integer pairs whose difference lies within a few units of the cut-off
  // (28 fractional bits): every result is the larger operand plus a tiny term.
  const double unit = std::ldexp(1.0, -28);
  const int64_t span = int64_t(std::llround(-kCut32 / unit));
  for (int64_t delta = span - 40; delta <= span + 40; ++delta) {
    Vsp32s src = INT32_MAX, sd = Vsp32s(int64_t(INT32_MAX) - delta);
    ASSERT_EQ(vspsLogAdd_32s_Sfs(&src, &sd, 1, 28, vspHintFast), vspStatusOk);
    EXPECT_GE(sd, INT32_MAX - 1) << delta;
  }
}

// ---- Floors, cut-offs, hints, the integer forms ------------------------------------

TEST(LogAdd, StatedEdgeResults) {
  float a32 = 3.5f, b32 = 3.5f;
  EXPECT_EQ(vspsLogAdd_32f(&a32, &b32, 1, vspHintDefault), vspStatusOk);
  EXPECT_EQ(b32, float(3.5 + 0.6931471827215062));
  double a64 = 3.5, b64 = 3.5;
  EXPECT_EQ(vspsLogAdd_64f(&a64, &b64, 1, vspHintAccurate), vspStatusOk);
  EXPECT_EQ(b64, 3.5 + 0.6931471805599475);

  // The 32f floor lifts the result above both operands ...
  a32 = -1e7f, b32 = -2e7f;
  vspsLogAdd_32f(&a32, &b32, 1, vspHintDefault);
  EXPECT_EQ(b32, -4.5e6f);
  a32 = -1e7f, b32 = -2e7f;
  vspsLogAdd_32f(&a32, &b32, 1, vspHintFast);
  EXPECT_EQ(b32, -4.5e6f);
  // ... the 64f one may lower it: -1e10 stands for anything below -9e9.
  a64 = -9.5e9, b64 = -5e10;
  vspsLogAdd_64f(&a64, &b64, 1, vspHintDefault);
  EXPECT_EQ(b64, -1e10);
  a64 = -9.1e9 - 100, b64 = -9.1e9;
  vspsLogAdd_64f(&a64, &b64, 1, vspHintDefault);
  EXPECT_EQ(b64, -1e10);
  a64 = -8.9e9 - 100, b64 = -8.9e9;
  vspsLogAdd_64f(&a64, &b64, 1, vspHintDefault);
  EXPECT_EQ(b64, -8.9e9);

  // Integers have no floor: far apart gives the larger operand unchanged,
  // here -5000 * 1024 = -5.12e6 in real terms.
  for (VspHint h : {vspHintDefault, vspHintFast}) {
    Vsp16s s16 = -5000, d16 = -32768;
    vspsLogAdd_16s_Sfs(&s16, &d16, 1, -10, h);
    EXPECT_EQ(d16, -5000);
  }
  // Equal integers: ln 2 in units of 2^-8, truncated toward zero.
  Vsp16s s16 = 256, d16 = 256;
  vspsLogAdd_16s_Sfs(&s16, &d16, 1, 8, vspHintDefault);
  EXPECT_EQ(d16, Vsp16s((256.0 / 256 + 0.6931471827215062) * 256));
  // Results clamp to the element's range.
  s16 = 32767, d16 = 32767;
  vspsLogAdd_16s_Sfs(&s16, &d16, 1, 0, vspHintDefault);
  EXPECT_EQ(d16, 32767);
  Vsp32s s32 = INT32_MAX, d32 = INT32_MAX;
  vspsLogAdd_32s_Sfs(&s32, &d32, 1, 0, vspHintDefault);
  EXPECT_EQ(d32, INT32_MAX);
}

TEST(LogAdd, UnknownHintDoesNothing) {
  for (VspHint h : {3, -1, 1000}) {
    float f[2] = {1, 2}, g[2] = {3, 4};
    EXPECT_EQ(vspsLogAdd_32f(f, g, 2, h), vspStatusOk);
    EXPECT_EQ(g[0], 3.0f);
    double x = 1, y = 2;
    EXPECT_EQ(vspsLogAdd_64f(&x, &y, 1, h), vspStatusOk);
    EXPECT_EQ(y, 2.0);
    Vsp16s p = 1, q = 2;
    EXPECT_EQ(vspsLogAdd_16s_Sfs(&p, &q, 1, 0, h), vspStatusOk);
    EXPECT_EQ(q, 2);
    Vsp32s r = 1, s = 2;
    EXPECT_EQ(vspsLogAdd_32s_Sfs(&r, &s, 1, 0, h), vspStatusOk);
    EXPECT_EQ(s, 2);
  }
}

// The operands' order does not matter beyond the sign of a zero.
TEST(LogAdd, Symmetric) {
  Rng rng(11);
  SCOPED_TRACE(seedTrace(11));
  for (int i = 0; i < 2000; ++i) {
    const float x = rng.uniformf(-40, 40), y = rng.uniformf(-40, 40);
    for (VspHint h : {vspHintDefault, vspHintFast}) {
      float a = x, b = y, c = y, d = x;
      vspsLogAdd_32f(&a, &b, 1, h);
      vspsLogAdd_32f(&c, &d, 1, h);
      EXPECT_EQ(b, d) << x << " " << y;
    }
  }
}

// ---- Subtraction --------------------------------------------------------------------

TEST(LogSub, AgainstLongDoubleAndFloors) {
  const float src[] = {0.0f, 5.0f, 1.0f, 2.0f, -3.0f, -5e6f, 1e-30f};
  float sd[] = {-1.0f, 4.999f, 1.0f - 1e-7f, -12.0f, -30.0f, -6e6f, 0.0f};
  float in[7];
  std::copy(sd, sd + 7, in);
  ASSERT_EQ(vspsLogSub_32f(src, sd, 7), vspStatusOk);
  for (int i = 0; i < 4; ++i) {
    const LD ref = LD(src[i]) + log1pl(-expl(LD(in[i] - src[i])));
    EXPECT_NEAR(sd[i], double(ref), 2 * ulp(sd[i])) << i;
  }
  EXPECT_EQ(sd[4], -3.0f);    // past the cut-off: the floor rule on src
  EXPECT_EQ(sd[5], -4.5e6f);  // ... which lifts src to the floor
  EXPECT_EQ(sd[6], -4.5e6f);  // 1 - exp(d) at or below the limit: the floor value

  double s64[] = {0.0, -9.5e9, 1.0}, d64[] = {-1e-300, -9.5e9 - 1e3, 0.0};
  ASSERT_EQ(vspsLogSub_64f(s64, d64, 3), vspStatusOk);
  EXPECT_EQ(d64[0], -1e10);  // 1 - exp(-1e-300) is 0: the floor value
  EXPECT_EQ(d64[1], -1e10);  // past the cut-off, src below -9e9
  EXPECT_NEAR(d64[2], double(1 + log1pl(-expl(-1.0L))), 4 * ulp(d64[2]));
}

TEST(LogSub, ARefusedCallChangesNoElement) {
  for (int bad : {0, 3, 7}) {
    std::vector<float> src(8, 1.0f), sd(8, 0.5f);
    sd[bad] = 1.0f;  // equal: not smaller
    const std::vector<float> before = sd;
    EXPECT_EQ(vspsLogSub_32f(src.data(), sd.data(), 8), vspStatusBadValue);
    EXPECT_EQ(sd, before);
    std::vector<Vsp16s> s16(8, 10), d16(8, 5);
    d16[bad] = 11;
    const std::vector<Vsp16s> b16 = d16;
    EXPECT_EQ(vspsLogSub_16s_Sfs(s16.data(), d16.data(), 8, 0), vspStatusBadValue);
    EXPECT_EQ(d16, b16);
  }
  // Integers compare exactly, even where the float difference would vanish.
  Vsp32s s32[] = {INT32_MAX}, d32[] = {INT32_MAX - 1};
  EXPECT_EQ(vspsLogSub_32s_Sfs(s32, d32, 1, 0), vspStatusOk);
  EXPECT_EQ(d32[0], -4500000);  // float difference 0: 1 - exp(0) is the limit
  Vsp32s e32[] = {INT32_MIN};
  s32[0] = INT32_MAX;
  EXPECT_EQ(vspsLogSub_32s_Sfs(e32, s32, 1, 0), vspStatusBadValue);
  // A NaN difference passes the test.
  float n[] = {std::numeric_limits<float>::quiet_NaN()}, z[] = {0.0f};
  EXPECT_EQ(vspsLogSub_32f(n, z, 1), vspStatusOk);
  EXPECT_TRUE(std::isnan(z[0]));
}

TEST(LogSub, IntegersAddTheLogInIntegerUnits) {
  // d = -10 * 2^-4; ln(1 - e^d) is added to 100 as it stands.
  Vsp32s s = 100, d = 90;
  ASSERT_EQ(vspsLogSub_32s_Sfs(&s, &d, 1, 4), vspStatusOk);
  EXPECT_EQ(d, Vsp32s(100.0 + std::log(1.0 - std::exp(double(-10.0f * 0.0625f)))));
  // Past the limit the floor value -4.5e6 is stored: in 16 bits its low half.
  Vsp16s s16 = 100, d16 = 99;
  ASSERT_EQ(vspsLogSub_16s_Sfs(&s16, &d16, 1, 130), vspStatusOk);
  EXPECT_EQ(d16, 21984);
  // Past the cut-off: the larger of src and -4.5e6, clamped to 32 bits.
  s16 = -20000, d16 = -32768;
  ASSERT_EQ(vspsLogSub_16s_Sfs(&s16, &d16, 1, -10), vspStatusOk);
  EXPECT_EQ(d16, -20000);
  s16 = 30000, d16 = -30000;  // 60000 * 2^-0 is past the cut-off
  ASSERT_EQ(vspsLogSub_16s_Sfs(&s16, &d16, 1, 0), vspStatusOk);
  EXPECT_EQ(d16, 30000);
}

// ---- Sums ----------------------------------------------------------------------------

TEST(LogSum, FoldOfThePairStep) {
  Rng rng(5);
  SCOPED_TRACE(seedTrace(5));
  for (int len : lengthsAround(8)) {
    std::vector<float> v(len);
    for (auto& x : v) x = rng.uniformf(-30, 5);
    float got = 0;
    ASSERT_EQ(vspsLogSum_32f(v.data(), &got, len), vspStatusOk);
    // The same fold through the one-element log-add: bit for bit.
    float run = v[0];
    for (int i = 1; i < len; ++i) {
      float next = v[i];
      vspsLogAdd_32f(&run, &next, 1, vspHintDefault);
      run = next;
    }
    EXPECT_EQ(bits(got), bits(run)) << len;
    LD ref = v[0];
    for (int i = 1; i < len; ++i) ref = refAdd(ref, v[i]);
    EXPECT_NEAR(got, double(ref), len * (kPoly32Bound + std::exp(kCut32) + 2 * ulp(got))) << len;

    std::vector<double> w(v.begin(), v.end());
    double got64 = 0;
    ASSERT_EQ(vspsLogSum_64f(w.data(), &got64, len), vspStatusOk);
    EXPECT_NEAR(got64, double(ref), len * (kPoly64Bound + std::exp(kCut64) + 4 * ulp(got64)))
        << len;
  }
}

TEST(LogSum, IntegersKeepRealUnitsAndFloorThroughSingle) {
  // One element: copied, with no conversion at all.
  Vsp16s one = -32768, out16 = 0;
  ASSERT_EQ(vspsLogSum_16s_Sfs(&one, &out16, 1, 200), vspStatusOk);
  EXPECT_EQ(out16, -32768);
  // Below the cut-off the running value becomes max(hi, -4.5e6) through
  // single precision: it loses its low bits ...
  const Vsp32s lost[] = {100000001, -2000000000};
  Vsp32s out = 0;
  ASSERT_EQ(vspsLogSum_32s_Sfs(lost, &out, 2, 0), vspStatusOk);
  EXPECT_EQ(out, 100000000);
  // ... and is floored, unlike the integer log-add.
  const Vsp32s deep[] = {-5000000, -2000000000};
  ASSERT_EQ(vspsLogSum_32s_Sfs(deep, &out, 2, 0), vspStatusOk);
  EXPECT_EQ(out, -4500000);
  // Several elements in units of 2^-6: the running value stays in double.
  const Vsp16s v[] = {-64, -128, -96, -640};
  ASSERT_EQ(vspsLogSum_16s_Sfs(v, &out16, 4, 6), vspStatusOk);
  LD ref = -1;
  for (LD x : {-2.0L, -1.5L, -10.0L}) ref = refAdd(ref, x);
  EXPECT_EQ(out16, Vsp16s(std::trunc(double(ref) * 64)));
}

// ---- Checks: size first, then pointers -----------------------------------------------

TEST(LogDomain, SizeIsCheckedBeforePointers) {
  float f = 0;
  double d = 0;
  Vsp16s h = 0;
  Vsp32s i = 0;
  // Each member with both arrays (ok) or one of them null, at a length.
  const std::function<VspStatus(bool, Vsp32s)> members[] = {
      [&](bool ok, Vsp32s n) { return vspsLogAdd_32f(&f, ok ? &f : nullptr, n, 0); },
      [&](bool ok, Vsp32s n) { return vspsLogAdd_64f(ok ? &d : nullptr, &d, n, 3); },
      [&](bool ok, Vsp32s n) { return vspsLogAdd_16s_Sfs(&h, ok ? &h : nullptr, n, 0, 1); },
      [&](bool ok, Vsp32s n) { return vspsLogAdd_32s_Sfs(ok ? &i : nullptr, &i, n, 0, 0); },
      [&](bool ok, Vsp32s n) { return vspsLogSub_32f(ok ? &f : nullptr, &f, n); },
      [&](bool ok, Vsp32s n) { return vspsLogSub_64f(&d, ok ? &d : nullptr, n); },
      [&](bool ok, Vsp32s n) { return vspsLogSub_16s_Sfs(&h, ok ? &h : nullptr, n, 0); },
      [&](bool ok, Vsp32s n) { return vspsLogSub_32s_Sfs(ok ? &i : nullptr, &i, n, 0); },
      [&](bool ok, Vsp32s n) { return vspsLogSum_32f(&f, ok ? &f : nullptr, n); },
      [&](bool ok, Vsp32s n) { return vspsLogSum_64f(ok ? &d : nullptr, &d, n); },
      [&](bool ok, Vsp32s n) { return vspsLogSum_16s_Sfs(&h, ok ? &h : nullptr, n, 0); },
      [&](bool ok, Vsp32s n) { return vspsLogSum_32s_Sfs(ok ? &i : nullptr, &i, n, 0); },
  };
  for (const auto& call : members) {
    for (Vsp32s len : {0, -1, INT32_MIN}) EXPECT_EQ(call(false, len), vspStatusBadSize);
    EXPECT_EQ(call(false, 1), vspStatusNullPointer);
  }
}

}  // namespace
