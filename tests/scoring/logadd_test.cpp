// Log-domain addition, subtraction and sums: accuracy against long double
// over the whole difference, the stated floors and table, the integer forms,
// and the size-before-pointer order of checks.
#include "scoring/logadd.h"
#include "scoring/scoring_support.h"

namespace {

using namespace vsptest;

LD refAdd(LD a, LD b) { return std::max(a, b) + log1pl(expl(-fabsl(a - b))); }

// Worst absolute errors of the two approximations of ln(1 + exp(d)) over the
// difference, found by a dense scan: properties of the coefficients and of
// the table.
constexpr double kPoly32 = 5e-9, kPoly64 = 6e-15, kTable = 1.1e-5;
constexpr double kCut32 = -15.3195879547406, kCut64 = -23.0258509299405;

template <class T>
double ulp(T v) {
  return double(std::nextafter(std::fabs(v), std::numeric_limits<T>::infinity()) - std::fabs(v));
}
// One element through a log-add or log-sub member: what b becomes.
template <class T, class F, class... A>
T one(F f, T a, T b, A... args) {
  EXPECT_EQ(f(&a, &b, 1, args...), vspStatusOk);
  return b;
}
// A log-sum member over a vector.
template <class T, class F, class... A>
T sumOf(F f, const std::vector<T>& v, A... args) {
  T out{};
  EXPECT_EQ(f(v.data(), &out, Vsp32s(v.size()), args...), vspStatusOk);
  return out;
}

// ---- Accuracy over the whole range of the difference ---------------------------
//
// A member as a step on reals: the operands are rounded in place to what it
// takes (integers: 32 bits with 20 fractional ones), and the result comes
// with its unit of rounding.
template <class T, auto F, VspHint H>
double step(double& a, double& b, double& unit) {
  if constexpr (std::is_integral_v<T>) {
    unit = std::ldexp(1.0, -20);
    const T x = T(std::floor(a / unit)), y = T(std::floor(b / unit));
    a = x * unit, b = y * unit;
    return one(F, x, y, 20, H) * unit;
  } else {
    a = T(a), b = T(b);
    const T r = one(F, T(a), T(b), H);
    return unit = ulp(r) * (sizeof(T) == 8 ? 4 : 1), r;
  }
}

// Differences from 1.2 times the cut-off up to 0, alternately in the first and
// the second operand. Past the cut-off the result is the larger operand,
// ln(1 + e^cut) away.
TEST(LogAdd, WithinTheApproximationBoundOverTheWholeDifference) {
  const struct {
    const char* name;
    double bound, cut;
    double (*step)(double&, double&, double&);
  } members[] = {{"32f poly", kPoly32, kCut32, step<float, vspsLogAdd_32f, 0>},
                 {"32f accurate", kPoly32, kCut32, step<float, vspsLogAdd_32f, 2>},
                 {"32f table", kTable, kCut32, step<float, vspsLogAdd_32f, 1>},
                 {"64f", kPoly64, kCut64, step<double, vspsLogAdd_64f, 0>},
                 {"32s poly", kPoly32, kCut32, step<Vsp32s, vspsLogAdd_32s_Sfs, 0>},
                 {"32s table", kTable, kCut32, step<Vsp32s, vspsLogAdd_32s_Sfs, 1>}};
  const int n = 60001;
  for (const auto& c : members)
    for (double hi : {0.0, -3.25, 17.5, -1000.0})
      for (int i = 0; i < n; ++i) {
        const double d = 1.2 * c.cut * i / (n - 1);
        double a = i % 2 ? hi : hi + d, b = i % 2 ? hi + d : hi, unit = 0;
        const double r = c.step(a, b, unit);
        ASSERT_LE(double(fabsl(r - refAdd(a, b))), c.bound + std::exp(c.cut) + unit)
            << c.name << ": " << a << " " << b;
      }
}

// The table: T0 is ln(1 + exp(-k h)) in single precision, T1 the chord, and
// the stated curvature rows.
TEST(LogAddTable, RowsAndTheLastInterval) {
  using vsp::logadd::kTable;
  const std::pair<int, float> fixed[] = {{1, 0.0071323663f},   {2, 0.0069324546f},
                                         {31, 1.9335826e-05f}, {62, 1.1595803e-08f},
                                         {63, 9.1273451e-09f}, {64, 7.1843598e-09f}};
  for (auto [k, v] : fixed) EXPECT_EQ(kTable[k].t2, v) << k;
  EXPECT_EQ(kTable[0].t0, 0.6931471824645996f);
  for (int k = 1; k < vsp::logadd::kTableRows; ++k) {
    EXPECT_EQ(kTable[k].t0, float(std::log1p(std::exp(k * kCut32 / 64)))) << k;
    EXPECT_EQ(kTable[k].t1, kTable[k - 1].t0 - kTable[k].t0) << k;
  }
  // With the integer members' strict cut-off a difference can sit on the last
  // row's left end: differences within a few units of the cut-off (28
  // fractional bits) give the larger operand plus a tiny term.
  const int64_t span = std::llround(-kCut32 * std::ldexp(1.0, 28));
  for (int64_t delta = span - 40; delta <= span + 40; ++delta)
    EXPECT_GE(one<Vsp32s>(vspsLogAdd_32s_Sfs, INT32_MAX, Vsp32s(INT32_MAX - delta), 28, 1),
              INT32_MAX - 1)
        << delta;
}

// ---- Floors, hints, the integer forms ------------------------------------------------

// One-element results that are fixed exactly, each with what it shows.
TEST(LogDomain, StatedResults) {
  const std::pair<double, double> cases[] = {
      // Equal operands: neither constant is exactly ln 2.
      {one(vspsLogAdd_32f, 3.5f, 3.5f, 0), float(3.5 + 0.6931471827215062)},
      {one(vspsLogAdd_64f, 3.5, 3.5, 2), 3.5 + 0.6931471805599475},
      // The 32f floor lifts the result above both operands, on both paths;
      // the 64f one may lower it: -1e10 stands for anything below -9e9.
      {one(vspsLogAdd_32f, -1e7f, -2e7f, 0), -4.5e6},
      {one(vspsLogAdd_64f, -9.1e9 - 100, -9.1e9, 0), -1e10},
      {one(vspsLogAdd_64f, -8.9e9 - 100, -8.9e9, 0), -8.9e9},
      // Integers have no floor: far apart gives the larger operand unchanged,
      // here -5000 * 1024 = -5.12e6 in real terms.
      {one<Vsp16s>(vspsLogAdd_16s_Sfs, -5000, -32768, -10, 0), -5000},
      {one<Vsp32s>(vspsLogAdd_32s_Sfs, 0, -(16 << 24), 24, 1), 0},
      // Equal integers: ln 2 in units of 2^-8, truncated; results clamp.
      {one<Vsp16s>(vspsLogAdd_16s_Sfs, 256, 256, 8, 0), Vsp16s((1 + 0.6931471827215062) * 256)},
      {one<Vsp32s>(vspsLogAdd_32s_Sfs, INT32_MAX, INT32_MAX, 0, 0), INT32_MAX},
      // An unknown hint does nothing, and is no failure.
      {one<Vsp16s>(vspsLogAdd_16s_Sfs, 1, 2, 0, 1000), 2},
      // Subtraction past the cut-off: the floor rule on src, which lifts a
      // src below it; 1 - exp(d) at or below the limit gives the floor value.
      {one(vspsLogSub_32f, -3.0f, -30.0f), -3},
      {one(vspsLogSub_32f, -5e6f, -6e6f), -4.5e6},
      {one(vspsLogSub_32f, 1e-30f, 0.0f), -4.5e6},
      {one(vspsLogSub_64f, 0.0, -1e-300), -1e10},
      // The integer members add ln(1 - e^d) in integer units, whatever the
      // scale: here d = -10 * 2^-4. Past the limit the floor value -4.5e6 is
      // stored as its low 16 bits; past the cut-off the larger of src and
      // -4.5e6, in 32 bits. Integers compare exactly, even where the float
      // difference vanishes (and 1 - exp(0) is then at the limit).
      {one(vspsLogSub_32s_Sfs, 100, 90, 4), Vsp32s(100 + std::log(1 - std::exp(-10.0f / 16)))},
      {one<Vsp16s>(vspsLogSub_16s_Sfs, 100, 99, 130), 21984},
      {one<Vsp16s>(vspsLogSub_16s_Sfs, -20000, -32768, -10), -20000},
      {one(vspsLogSub_32s_Sfs, INT32_MAX, INT32_MAX - 1, 0), -4500000},
      // A log-sum of one element is copied with no conversion at all. Below
      // the cut-off the integer members' running value becomes max(hi,
      // -4.5e6) through single precision: it loses its low bits and is
      // floored, unlike the integer log-add; otherwise it stays in double, in
      // real units (here 2^-6).
      {sumOf<Vsp16s>(vspsLogSum_16s_Sfs, {-32768}, 200), -32768},
      {sumOf<Vsp32s>(vspsLogSum_32s_Sfs, {100000001, -2000000000}, 0), 100000000},
      {sumOf<Vsp32s>(vspsLogSum_32s_Sfs, {-5000000, -2000000000}, 0), -4500000},
      {sumOf<Vsp16s>(vspsLogSum_16s_Sfs, {-64, -128, -96, -640}, 6),
       std::trunc(double(refAdd(refAdd(refAdd(-1, -2), -1.5), -10)) * 64)}};
  for (const auto& c : cases) EXPECT_EQ(c.first, c.second) << "case " << &c - cases;
}

// ---- Subtraction --------------------------------------------------------------------

TEST(LogSub, AgainstLongDouble) {
  const float src[] = {0.0f, 5.0f, 1.0f, 2.0f}, in[] = {-1.0f, 4.999f, 1.0f - 1e-7f, -12.0f};
  float sd[4];
  std::copy(in, in + 4, sd);
  ASSERT_EQ(vspsLogSub_32f(src, sd, 4), vspStatusOk);
  for (int i = 0; i < 4; ++i)
    EXPECT_NEAR(sd[i], double(src[i] + log1pl(-expl(LD(in[i] - src[i])))), 2 * ulp(sd[i])) << i;
  const double d = one(vspsLogSub_64f, 1.0, 0.0);
  EXPECT_NEAR(d, double(1 + log1pl(-expl(-1.0L))), 4 * ulp(d));
}

// A pair not in order (equal, or the wrong way round, even the last) refuses
// the whole call with nothing changed; a NaN difference passes.
TEST(LogSub, ARefusedCallChangesNoElement) {
  Args::fn = [](Args& a) { return vspsLogSub_32f(a.f + 16, a.f, a.n[0]); };
  expectRefusals<Args>({{"equal", [](Args& a) { a.f[0] = 2; }, vspStatusBadValue},
                        {"larger, last", [](Args& a) { a.f[4] = 3; }, vspStatusBadValue}});
  Vsp32s s32 = INT32_MIN, d32 = INT32_MAX;
  EXPECT_EQ(vspsLogSub_32s_Sfs(&s32, &d32, 1, 0), vspStatusBadValue);
  EXPECT_TRUE(std::isnan(one(vspsLogSub_32f, std::numeric_limits<float>::quiet_NaN(), 0.0f)));
}

// ---- Sums ----------------------------------------------------------------------------

TEST(LogSum, FoldOfThePairStep) {
  Rng rng(5);
  SCOPED_TRACE(seedTrace(5));
  // Random runs of every length, then runs that sink to and below each floor,
  // with values far apart (where the running value passes through unchanged)
  // and close together: the fold equals the chain of one-element log-adds,
  // bit for bit in both precisions, and the log-sum of the random runs to the
  // polynomials' accuracy.
  std::vector<std::vector<double>> runs;
  for (int len : lengthsAround(8))
    for (double& x : runs.emplace_back(len)) x = rng.uniformf(-30, 5);
  for (double base : {-4.5e6, -9e9, -1e10}) {
    std::vector<double>& v = runs.emplace_back(40);
    for (size_t i = 0; i < v.size(); ++i)
      v[i] = base * (1 + 0.1 * double(i % 3)) + rng.uniform(-40, 40) * (i % 2 ? 1 : 1e-3);
  }
  for (const std::vector<double>& v : runs) {
    const std::vector<float> v32(v.begin(), v.end());
    float run = v32[0];
    double run64 = v[0], got64 = sumOf(vspsLogSum_64f, v);
    LD ref = v[0];
    for (size_t i = 1; i < v.size(); ++i)
      run = one(vspsLogAdd_32f, run, v32[i], 0), run64 = one(vspsLogAdd_64f, run64, v[i], 0),
      ref = refAdd(ref, v[i]);
    EXPECT_EQ(bits(sumOf(vspsLogSum_32f, v32)), bits(run)) << v.size() << " from " << v[0];
    EXPECT_EQ(bits(got64), bits(run64)) << v.size() << " from " << v[0];
    const double tol = v.size() * (kPoly64 + std::exp(kCut64) + 4 * ulp(got64));
    EXPECT_TRUE(v[0] < -100 || fabsl(got64 - ref) <= tol) << got64 << " vs " << double(ref);
  }
}

// ---- Checks: size first, then pointers -----------------------------------------------

TEST(LogDomain, SizeIsCheckedBeforePointers) {
  // clang-format off
  const Order o = Order::SizePtr;
  expectOrder(o, 2, 1, [](Args& a) { return vspsLogAdd_16s_Sfs(a.p(0, a.s), a.p(1, a.s + 16), a.n[0], 0, 1); });
  expectOrder(o, 2, 1, [](Args& a) { return vspsLogSub_64f(a.p(0, a.d + 16), a.p(1, a.d), a.n[0]); });
  expectOrder(o, 2, 1, [](Args& a) { return vspsLogSum_32f(a.p(0, a.f), a.p(1, a.f + 16), a.n[0]); });
  // clang-format on
}

}  // namespace
