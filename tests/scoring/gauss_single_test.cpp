// Single-observation Gaussian scores and distances, and the block-diagonal
// matrix object they read.
#include <cmath>
#include <cstring>
#include <functional>
#include <limits>
#include <vector>

#include "scoring/gauss_sum.h"
#include "support/harness.h"
#include "scoring/rows_reference.h"

namespace {

using namespace vsptest;
using ld = long double;

// ---------------------------------------------------------------------------
// Float members against a long-double reference
// ---------------------------------------------------------------------------

// One random model and observation, held in every input type. Variances are
// positive so that the direct-variance members can use the same data.
struct Data {
  int n;
  std::vector<float> s32, m32, v32;
  std::vector<double> s64, m64, v64;
  std::vector<int16_t> s16, m16, v16;
  Data(int n_, uint64_t seed) : n(n_) {
    Rng r(seed);
    for (int i = 0; i < n; ++i) {
      s32.push_back(r.uniformf(-4, 4));
      m32.push_back(r.uniformf(-4, 4));
      v32.push_back(r.uniformf(0.25f, 3));
      s64.push_back(r.uniform(-4, 4));
      m64.push_back(r.uniform(-4, 4));
      v64.push_back(r.uniform(0.25, 3));
      s16.push_back(r.s16(-3000, 3000));
      m16.push_back(r.s16(-3000, 3000));
      v16.push_back(r.s16(1, 300));
    }
  }
};

enum class In { F32, F64, S16 };
enum class Weight { Inverse, Unit, Direct };

struct FloatMember {
  const char* name;
  In in;
  Weight weight;
  // Score (or distance) from the exact sum of squares, gConst and scaleFactor.
  std::function<ld(ld sum, ld g, int sf)> expect;
  ld eps;  // unit roundoff of the member's arithmetic
  std::function<VspStatus(const Data&, float g, int sf, ld* out)> call;
};

ld half(ld sum, ld g, int) { return g - sum / 2; }
ld plainSum(ld sum, ld, int) { return sum; }
ld scaled(ld sum, ld g, int sf) { return g - sum * std::ldexp(ld(1), -(sf + 1)); }

const ld kEps32 = std::numeric_limits<float>::epsilon();
const ld kEps64 = std::numeric_limits<double>::epsilon();

// clang-format off
const FloatMember kFloatMembers[] = {
  {"LogGaussSingle_32f", In::F32, Weight::Inverse, half, kEps32, [](const Data& d, float g, int, ld* o) { float r; VspStatus s = vspsLogGaussSingle_32f(d.s32.data(), d.m32.data(), d.v32.data(), d.n, &r, g); *o = r; return s; }},
  {"LogGaussSingle_32f64f", In::F32, Weight::Inverse, half, kEps64, [](const Data& d, float g, int, ld* o) { double r; VspStatus s = vspsLogGaussSingle_32f64f(d.s32.data(), d.m32.data(), d.v32.data(), d.n, &r, g); *o = r; return s; }},
  {"LogGaussSingle_64f", In::F64, Weight::Inverse, half, kEps64, [](const Data& d, float g, int, ld* o) { double r; VspStatus s = vspsLogGaussSingle_64f(d.s64.data(), d.m64.data(), d.v64.data(), d.n, &r, g); *o = r; return s; }},
  {"LogGaussSingle_Scaled_16s32f", In::S16, Weight::Inverse, scaled, kEps32, [](const Data& d, float g, int sf, ld* o) { float r; VspStatus s = vspsLogGaussSingle_Scaled_16s32f(d.s16.data(), d.m16.data(), d.v16.data(), d.n, &r, g, sf); *o = r; return s; }},
  {"LogGaussSingle_LowScaled_16s32f", In::S16, Weight::Inverse, scaled, kEps32, [](const Data& d, float g, int sf, ld* o) { float r; VspStatus s = vspsLogGaussSingle_LowScaled_16s32f(d.s16.data(), d.m16.data(), d.v16.data(), d.n, &r, g, sf); *o = r; return s; }},
  {"LogGaussSingle_IdVar_32f", In::F32, Weight::Unit, half, kEps32, [](const Data& d, float g, int, ld* o) { float r; VspStatus s = vspsLogGaussSingle_IdVar_32f(d.s32.data(), d.m32.data(), d.n, &r, g); *o = r; return s; }},
  {"LogGaussSingle_IdVar_32f64f", In::F32, Weight::Unit, half, kEps64, [](const Data& d, float g, int, ld* o) { double r; VspStatus s = vspsLogGaussSingle_IdVar_32f64f(d.s32.data(), d.m32.data(), d.n, &r, g); *o = r; return s; }},
  {"LogGaussSingle_IdVar_64f", In::F64, Weight::Unit, half, kEps64, [](const Data& d, float g, int, ld* o) { double r; VspStatus s = vspsLogGaussSingle_IdVar_64f(d.s64.data(), d.m64.data(), d.n, &r, g); *o = r; return s; }},
  {"LogGaussSingle_IdVarScaled_16s32f", In::S16, Weight::Unit, scaled, kEps32, [](const Data& d, float g, int sf, ld* o) { float r; VspStatus s = vspsLogGaussSingle_IdVarScaled_16s32f(d.s16.data(), d.m16.data(), d.n, &r, g, sf); *o = r; return s; }},
  {"LogGaussSingle_IdVarLowScaled_16s32f", In::S16, Weight::Unit, scaled, kEps32, [](const Data& d, float g, int sf, ld* o) { float r; VspStatus s = vspsLogGaussSingle_IdVarLowScaled_16s32f(d.s16.data(), d.m16.data(), d.n, &r, g, sf); *o = r; return s; }},
  {"LogGaussSingle_DirectVar_32f", In::F32, Weight::Direct, half, kEps32, [](const Data& d, float g, int, ld* o) { float r; VspStatus s = vspsLogGaussSingle_DirectVar_32f(d.s32.data(), d.m32.data(), d.v32.data(), d.n, &r, g); *o = r; return s; }},
  {"LogGaussSingle_DirectVar_32f64f", In::F32, Weight::Direct, half, kEps64, [](const Data& d, float g, int, ld* o) { double r; VspStatus s = vspsLogGaussSingle_DirectVar_32f64f(d.s32.data(), d.m32.data(), d.v32.data(), d.n, &r, g); *o = r; return s; }},
  {"LogGaussSingle_DirectVar_64f", In::F64, Weight::Direct, half, kEps64, [](const Data& d, float g, int, ld* o) { double r; VspStatus s = vspsLogGaussSingle_DirectVar_64f(d.s64.data(), d.m64.data(), d.v64.data(), d.n, &r, g); *o = r; return s; }},
  {"LogGaussSingle_DirectVarScaled_16s32f", In::S16, Weight::Direct, scaled, kEps32, [](const Data& d, float g, int sf, ld* o) { float r; VspStatus s = vspsLogGaussSingle_DirectVarScaled_16s32f(d.s16.data(), d.m16.data(), d.v16.data(), d.n, &r, g, sf); *o = r; return s; }},
  {"MahDistSingle_32f", In::F32, Weight::Inverse, plainSum, kEps32, [](const Data& d, float, int, ld* o) { float r; VspStatus s = vspsMahDistSingle_32f(d.s32.data(), d.m32.data(), d.v32.data(), d.n, &r); *o = r; return s; }},
  {"MahDistSingle_32f64f", In::F32, Weight::Inverse, plainSum, kEps64, [](const Data& d, float, int, ld* o) { double r; VspStatus s = vspsMahDistSingle_32f64f(d.s32.data(), d.m32.data(), d.v32.data(), d.n, &r); *o = r; return s; }},
  {"MahDistSingle_64f", In::F64, Weight::Inverse, plainSum, kEps64, [](const Data& d, float, int, ld* o) { double r; VspStatus s = vspsMahDistSingle_64f(d.s64.data(), d.m64.data(), d.v64.data(), d.n, &r); *o = r; return s; }},
  {"MahDistSingle_16s32f", In::S16, Weight::Inverse, plainSum, kEps32, [](const Data& d, float, int, ld* o) { float r; VspStatus s = vspsMahDistSingle_16s32f(d.s16.data(), d.m16.data(), d.v16.data(), d.n, &r); *o = r; return s; }},
};
// clang-format on

// The exact sum of the member's terms, from the very values it was given.
ld exactSum(const FloatMember& m, const Data& d) {
  ld sum = 0;
  for (int i = 0; i < d.n; ++i) {
    const ld s = m.in == In::F32 ? d.s32[i] : m.in == In::F64 ? d.s64[i] : d.s16[i];
    const ld mu = m.in == In::F32 ? d.m32[i] : m.in == In::F64 ? d.m64[i] : d.m16[i];
    const ld v = m.in == In::F32 ? d.v32[i] : m.in == In::F64 ? d.v64[i] : d.v16[i];
    const ld t = (s - mu) * (s - mu);
    sum += m.weight == Weight::Inverse ? t * v : m.weight == Weight::Direct ? t / v : t;
  }
  return sum;
}

TEST(LogGaussSingleFloat, MembersAgreeWithLongDoubleReference) {
  for (const FloatMember& m : kFloatMembers) {
    for (int n : lengthsAround(8)) {
      for (int sf : {-3, 0, 5}) {
        const uint64_t seed = 1000 + n * 7 + sf;
        SCOPED_TRACE(std::string(m.name) + " n=" + std::to_string(n) + " sf=" + std::to_string(sf) +
                     " " + seedTrace(seed));
        const Data d(n, seed);
        const float g = -17.25f;
        ld got = 0;
        ASSERT_EQ(m.call(d, g, sf, &got), vspStatusOk);
        const ld sum = exactSum(m, d);
        const ld want = m.expect(sum, g, sf);
        // Each term and each addition rounds once; the result scaling and
        // the final subtraction add a few more roundings of the magnitudes.
        const ld mag = std::fabs(m.expect(sum, 0, sf)) + std::fabs(ld(g));
        const ld bound = (n + 4) * m.eps * mag * 2;
        EXPECT_NEAR(double(got), double(want), double(bound));
      }
    }
  }
}

// ---------------------------------------------------------------------------
// The fixed summation orders, bit for bit on every tier and alignment
// ---------------------------------------------------------------------------

TEST(GaussSum, FloatSumsFollowTheirOrderOnEveryTier) {
  for (size_t misalign : {0, 4, 8, 12}) {
    for (int n : lengthsAround(8)) {
      const uint64_t seed = 77 + n + misalign;
      SCOPED_TRACE("n=" + std::to_string(n) + " misalign=" + std::to_string(misalign) + " " +
                   seedTrace(seed));
      Rng r(seed);
      // Wide magnitudes make every change of order visible in the bits.
      Guarded<float> s(n, 4), m(n, 8), v(n, misalign);
      Guarded<double> s64(n, 8), m64(n, 0), v64(n, misalign & 8);
      for (int i = 0; i < n; ++i) {
        s[i] = r.uniformf(-1, 1) * std::ldexp(1.0f, int(r.integer(-10, 10)));
        m[i] = r.uniformf(-1, 1), v[i] = r.uniformf(0, 2);
        s64[i] = s[i] * 1.000001, m64[i] = m[i], v64[i] = v[i];
      }
      const float want = rowAccRef<float>(s.data(), m.data(), v.data(), n, 0.0f, true, false);
      const Data d(n, seed);
      for (vsp::Tier t : hostTiers()) {
        SCOPED_TRACE(tierName(t));
        EXPECT_EQ(bits(vsp::sumSqAligned32f(t, s.data(), m.data(), v.data(), n)), bits(want));
        EXPECT_EQ(bits(vsp::sumSqAligned64f(t, s64.data(), m64.data(), v64.data(), n)),
                  bits(rowAccRef<double>(s64.data(), m64.data(), v64.data(), n, 0.0, true, false)));
        EXPECT_EQ(
            bits(vsp::sumSqRuns32f64f(t, s.data(), m.data(), nullptr, n)),
            bits(rowAccRef<double>(s.data(), m.data(), (float*)nullptr, n, 0.0, false, false)));
        EXPECT_EQ(bits(vsp::sumSqRuns16s32f(t, d.s16.data(), d.m16.data(), d.v16.data(), n)),
                  bits(rowAccRef<float>(d.s16.data(), d.m16.data(), d.v16.data(), n, 0.0f, false,
                                        false)));
      }
      float score = 0;
      ASSERT_EQ(vspsLogGaussSingle_32f(s.data(), m.data(), v.data(), n, &score, 3.5f), vspStatusOk);
      EXPECT_EQ(bits(score), bits(3.5f - 0.5f * want));
    }
  }
}

// ---------------------------------------------------------------------------
// Integer members: exact results
// ---------------------------------------------------------------------------

using i128 = __int128;

// Floor division by 2^k for k > 0, a left shift that keeps 64 bits for
// k < 0, with the count reduced modulo 64: the rule of the 64-bit members,
// written with 128-bit arithmetic instead of shifts of the accumulator.
int64_t scaleShift(int64_t sum, long k) {
  if (k > 0) {
    const int c = int(k % 64);
    if (c == 0) return sum;
    i128 q = i128(sum) / (i128(1) << c);
    if (i128(sum) % (i128(1) << c) < 0) --q;
    return int64_t(q);
  }
  if (k < 0) {
    const int c = int((-k) % 64);
    return int64_t(uint64_t(i128(sum) * (i128(1) << c)));
  }
  return sum;
}
int32_t clamp32(i128 v) {
  return v < INT32_MIN ? INT32_MIN : v > INT32_MAX ? INT32_MAX : int32_t(v);
}

i128 exactIntSum(const int16_t* s, const int16_t* m, const int16_t* v, int n) {
  i128 sum = 0;
  for (int i = 0; i < n; ++i) sum += i128(s[i] - m[i]) * (s[i] - m[i]) * (v ? v[i] : 1);
  return sum;
}

struct IntCase {
  const char* what;
  std::vector<int16_t> s, m, v;
  int32_t g;
  int sf;
};

std::vector<IntCase> intCases() {
  std::vector<IntCase> c;
  c.push_back({"one element", {7}, {3}, {5}, 100, 0});
  c.push_back({"shift zero at sf -1", {7, -2}, {3, 5}, {5, 9}, 100, -1});
  c.push_back({"left shift at sf -2", {7, -2}, {3, 5}, {5, 9}, 100, -2});
  c.push_back({"large sf", {300, -200}, {-300, 200}, {1000, 2000}, -5, 40});
  c.push_back({"sf modulo 64", {300, -200}, {-300, 200}, {1000, 2000}, -5, 64 + 3});
  c.push_back({"left shift loses bits", {32767}, {-32768}, {32767}, 0, -40});
  c.push_back({"negative variance: -1 shifted stays -1", {1}, {0}, {-1}, 10, 0});
  c.push_back({"sum of 1 shifted by 1 is 0", {1}, {0}, {1}, 10, 0});
  std::vector<int16_t> big(64, 32767), low(64, -32768), var(64, 32767);
  c.push_back({"sum beyond 32 bits, saturates low", big, low, var, -100, 0});
  c.push_back({"sum beyond 32 bits, shifted into range", big, low, var, 12345, 24});
  std::vector<int16_t> neg(64, -32768);
  c.push_back({"negative sum beyond 32 bits", big, low, neg, 100, 2});
  c.push_back({"gConst at the top", {0}, {0}, {0}, INT32_MAX, 3});
  return c;
}

TEST(LogGaussSingleInt, ExactShiftSaturationAndWrap) {
  for (const IntCase& c : intCases()) {
    SCOPED_TRACE(c.what);
    const int n = int(c.s.size());
    const i128 full = exactIntSum(c.s.data(), c.m.data(), c.v.data(), n);
    const i128 unit = exactIntSum(c.s.data(), c.m.data(), nullptr, n);
    ASSERT_EQ(full, i128(int64_t(full)));  // the cases stay inside 64 bits
    const auto score = [&](i128 sum, bool low) {
      const i128 d = i128(c.g) - scaleShift(int64_t(sum), long(c.sf) + 1);
      return low ? int32_t(uint32_t(uint64_t(int64_t(d)))) : clamp32(d);
    };
    int32_t r = 0;
    ASSERT_EQ(vspsLogGaussSingle_16s32s_Sfs(c.s.data(), c.m.data(), c.v.data(), n, &r, c.g, c.sf),
              0);
    EXPECT_EQ(r, score(full, false));
    ASSERT_EQ(
        vspsLogGaussSingle_Low_16s32s_Sfs(c.s.data(), c.m.data(), c.v.data(), n, &r, c.g, c.sf), 0);
    EXPECT_EQ(r, score(full, true));
    ASSERT_EQ(vspsLogGaussSingle_IdVar_16s32s_Sfs(c.s.data(), c.m.data(), n, &r, c.g, c.sf), 0);
    EXPECT_EQ(r, score(unit, false));
    ASSERT_EQ(vspsLogGaussSingle_IdVarLow_16s32s_Sfs(c.s.data(), c.m.data(), n, &r, c.g, c.sf), 0);
    EXPECT_EQ(r, score(unit, true));
    ASSERT_EQ(vspsMahDistSingle_16s32s_Sfs(c.s.data(), c.m.data(), c.v.data(), n, &r, c.sf), 0);
    EXPECT_EQ(r, clamp32(scaleShift(int64_t(full), c.sf)));
  }
}

TEST(LogGaussSingleInt, NamedEdges) {
  // sum = 316: subtracted unhalved at sf -1, halved at 0, whole as a distance.
  const int16_t s[2] = {10, -4}, m[2] = {0, 0}, v[2] = {3, 1};
  int32_t r[3];
  vspsLogGaussSingle_16s32s_Sfs(s, m, v, 2, &r[0], 1000, -1);
  vspsLogGaussSingle_16s32s_Sfs(s, m, v, 2, &r[1], 1000, 0);
  vspsMahDistSingle_16s32s_Sfs(s, m, v, 2, &r[2], 0);
  EXPECT_EQ(std::vector<int32_t>(r, r + 3), (std::vector<int32_t>{684, 842, 316}));
  // -(65535^2) saturates, and wraps to the positive 131071 in the Low member.
  const int16_t a[1] = {32767}, b[1] = {-32768}, w[1] = {1};
  vspsLogGaussSingle_16s32s_Sfs(a, b, w, 1, &r[0], 0, -1);
  vspsLogGaussSingle_Low_16s32s_Sfs(a, b, w, 1, &r[1], 0, -1);
  EXPECT_EQ(r[0], INT32_MIN);
  EXPECT_EQ(r[1], 131071);
}

TEST(LogGaussSingleInt, RandomAgainstExactSumForEveryTier) {
  for (int n : lengthsAround(16)) {
    const uint64_t seed = 9000 + n;
    SCOPED_TRACE("n=" + std::to_string(n) + " " + seedTrace(seed));
    Rng r(seed);
    Guarded<int16_t> s(n, 2), m(n, 6), v(n, 0);
    for (int i = 0; i < n; ++i) s[i] = r.s16(), m[i] = r.s16(), v[i] = r.s16();
    const i128 want = exactIntSum(s.data(), m.data(), v.data(), n);
    for (vsp::Tier t : hostTiers()) {
      EXPECT_EQ(vsp::sumSq16s(t, s.data(), m.data(), v.data(), n), int64_t(want)) << tierName(t);
      EXPECT_EQ(vsp::sumSq16s(t, s.data(), m.data(), nullptr, n),
                int64_t(exactIntSum(s.data(), m.data(), nullptr, n)))
          << tierName(t);
    }
    EXPECT_TRUE(s.guardsIntact() && m.guardsIntact() && v.guardsIntact());
  }
}

// ---------------------------------------------------------------------------
// Direct variances
// ---------------------------------------------------------------------------

// The integer direct-variance score from its definition: (d << 8)^2 / var
// truncated per element, the half-up rounding term formed in 32 bits.
int32_t directVar16Reference(const std::vector<int16_t>& s, const std::vector<int16_t>& m,
                             const std::vector<int16_t>& v, int32_t g, int sf) {
  i128 sum = 0;
  for (size_t i = 0; i < s.size(); ++i) {
    const i128 d = i128(s[i] - m[i]) * 256;
    sum += (d * d) / v[i];  // C++ division truncates toward zero
  }
  const long shift = long(sf) + 17;
  int64_t sh;
  if (shift > 0) {
    const int32_t rnd = int32_t(uint32_t(1) << ((sf + 16) % 32));
    sh = scaleShift(int64_t(sum) + rnd, shift);
  } else {
    sh = scaleShift(int64_t(sum), shift);
  }
  return clamp32(i128(g) - sh);
}

TEST(LogGaussSingleDirectVar, IntegerRoundsHalfUpAndDividesTowardZero) {
  struct Row {
    std::vector<int16_t> s, m, v;
    int32_t g;
    int sf;
  };
  const Row rows[] = {
      {{5, -7, 1000}, {2, 3, -1000}, {3, 7, 100}, 50, 0},
      {{5, -7, 1000}, {2, 3, -1000}, {-3, 7, 100}, 50, -16},  // no rounding, no shift
      {{5, -7, 1000}, {2, 3, -1000}, {3, -7, 100}, 50, -20},  // left shift
      {{32767, -32768}, {-32768, 32767}, {1, 1}, 0, 15},      // 32-bit rounding term hits the sign
      {{32767, -32768}, {-32768, 32767}, {1, 1}, -9, 20},     // ... and wraps past it
      {{1, 2, 3}, {0, 0, 0}, {2, 2, 2}, 1, 3},
  };
  for (const Row& r : rows) {
    int32_t got = 0;
    ASSERT_EQ(vspsLogGaussSingle_DirectVar_16s32s_Sfs(r.s.data(), r.m.data(), r.v.data(),
                                                      int(r.s.size()), &got, r.g, r.sf),
              vspStatusOk);
    EXPECT_EQ(got, directVar16Reference(r.s, r.m, r.v, r.g, r.sf)) << "sf=" << r.sf;
  }
}

TEST(LogGaussSingleDirectVar, ZeroVarianceWarnsAndWritesNothing) {
  const float s32[3] = {1, 2, 3}, m32[3] = {0, 0, 0}, v32[3] = {1, 1, 0};
  const double s64[3] = {1, 2, 3}, m64[3] = {0, 0, 0}, v64[3] = {1, 0, 1};
  const int16_t s16[3] = {1, 2, 3}, m16[3] = {0, 0, 0}, v16[3] = {1, 1, 0};
  Guarded<float> f(1);
  Guarded<double> d(1);
  Guarded<int32_t> i(1);
  EXPECT_EQ(vspsLogGaussSingle_DirectVar_32f(s32, m32, v32, 3, f.data(), 1),
            vspWarningDivideByZero);
  EXPECT_EQ(vspsLogGaussSingle_DirectVar_32f64f(s32, m32, v32, 3, d.data(), 1),
            vspWarningDivideByZero);
  EXPECT_EQ(vspsLogGaussSingle_DirectVar_64f(s64, m64, v64, 3, d.data(), 1),
            vspWarningDivideByZero);
  EXPECT_EQ(vspsLogGaussSingle_DirectVar_16s32s_Sfs(s16, m16, v16, 3, i.data(), 1, 0),
            vspWarningDivideByZero);
  EXPECT_EQ(vspsLogGaussSingle_DirectVarScaled_16s32f(s16, m16, v16, 3, f.data(), 1, 0),
            vspWarningDivideByZero);
  EXPECT_TRUE(f.untouched() && d.untouched() && i.untouched());
}

// ---------------------------------------------------------------------------
// Block-diagonal inverse covariance
// ---------------------------------------------------------------------------

// Random blocks of the given sizes in all three element types (the 16-bit
// rows are the float ones times 200), with the objects built from them.
struct BlockModel {
  std::vector<int32_t> sizes;
  int len = 0;
  std::vector<std::vector<float>> r32;
  std::vector<std::vector<double>> r64;
  std::vector<std::vector<int16_t>> r16;
  VspBlockDMatrix *o32 = nullptr, *o64 = nullptr, *o16 = nullptr;

  BlockModel(std::vector<int32_t> sz, uint64_t seed) : sizes(std::move(sz)) {
    Rng r(seed);
    std::vector<const float*> p32;
    std::vector<const double*> p64;
    std::vector<const int16_t*> p16;
    for (int32_t b : sizes) {
      len += b;
      for (int i = 0; i < b; ++i) {
        r32.emplace_back(), r16.emplace_back();
        for (int k = 0; k < b; ++k) r32.back().push_back(float(r.integer(-200, 200)) / 200);
        for (float x : r32.back()) r16.back().push_back(int16_t(std::lround(x * 200)));
        r64.emplace_back(r32.back().begin(), r32.back().end());
      }
    }
    for (size_t i = 0; i < r32.size(); ++i)
      p32.push_back(r32[i].data()), p64.push_back(r64[i].data()), p16.push_back(r16[i].data());
    const int n = int(sizes.size());
    EXPECT_EQ(vspsBlockDMatrixInitAlloc_32f(&o32, p32.data(), sizes.data(), n), vspStatusOk);
    EXPECT_EQ(vspsBlockDMatrixInitAlloc_64f(&o64, p64.data(), sizes.data(), n), vspStatusOk);
    EXPECT_EQ(vspsBlockDMatrixInitAlloc_16s(&o16, p16.data(), sizes.data(), n), vspStatusOk);
  }
  ~BlockModel() {
    vspsBlockDMatrixFree_32f(o32), vspsBlockDMatrixFree_64f(o64), vspsBlockDMatrixFree_16s(o16);
  }
  // Sum over blocks of e' M e.
  template <class X>
  ld quadratic(const X* s, const X* mu) const {
    ld sum = 0;
    int o = 0, row = 0;
    for (int32_t b : sizes) {
      for (int r = 0; r < b; ++r, ++row)
        for (int k = 0; k < b; ++k)
          sum += (ld(s[o + r]) - mu[o + r]) * ld(r64[row][k]) * (ld(s[o + k]) - mu[o + k]);
      o += b;
    }
    return sum;
  }
};

TEST(LogGaussSingleBlockDVar, MembersAgreeWithTheQuadraticForm) {
  const BlockModel bm({2, 3, 1, 7}, 4242);
  const Data d(bm.len, 4243);
  float f;
  double g;
  int32_t i;
  vspsLogGaussSingle_BlockDVar_32f(d.s32.data(), d.m32.data(), bm.o32, bm.len, &f, 2.5f);
  EXPECT_NEAR(f, double(2.5L - bm.quadratic(d.s32.data(), d.m32.data()) / 2), 1e-4);
  vspsLogGaussSingle_BlockDVar_32f64f(d.s32.data(), d.m32.data(), bm.o32, bm.len, &g, 2.5);
  EXPECT_NEAR(g, double(2.5L - bm.quadratic(d.s32.data(), d.m32.data()) / 2), 1e-12);
  vspsLogGaussSingle_BlockDVar_64f(d.s64.data(), d.m64.data(), bm.o64, bm.len, &g, 2.5);
  EXPECT_NEAR(g, double(2.5L - bm.quadratic(d.s64.data(), d.m64.data()) / 2), 1e-12);
  const ld q = bm.quadratic(d.s16.data(), d.m16.data()) * 200;  // 16-bit rows are x200
  for (int sf : {0, 10, 20}) {
    const ld want = 1000 - q / 2 * std::ldexp(ld(1), -sf);
    vspsLogGaussSingle_BlockDVarScaled_16s32f(d.s16.data(), d.m16.data(), bm.o16, bm.len, &f, 1000,
                                              sf);
    EXPECT_NEAR(f, double(want), 1e-5 * std::fabs(double(want)) + 1e-3) << sf;
    vspsLogGaussSingle_BlockDVar_16s32s_Sfs(d.s16.data(), d.m16.data(), bm.o16, bm.len, &i, 1000,
                                            sf);
    const double stored = std::min(std::max(double(want), -2147483648.0), 2147483647.0);
    EXPECT_NEAR(i, stored, 1e-5 * std::fabs(stored) + 1) << sf;
  }
}

TEST(LogGaussSingleBlockDVar, SixteenBitDifferenceSaturatesInTheVectorOnly) {
  // Identity and minus identity: e saturates to 32767 and -32768 while each
  // row's own difference stays 65535 / -65535.
  const int16_t i0[2] = {1, 0}, i1[2] = {0, 1}, n0[2] = {-1, 0}, n1[2] = {0, -1};
  const int16_t *id[2] = {i0, i1}, *neg[2] = {n0, n1};
  const int32_t sizes[1] = {2};
  VspBlockDMatrix *o = nullptr, *on = nullptr;
  ASSERT_EQ(vspsBlockDMatrixInitAlloc_16s(&o, id, sizes, 1), 0);
  ASSERT_EQ(vspsBlockDMatrixInitAlloc_16s(&on, neg, sizes, 1), 0);
  const int16_t s[2] = {32767, -32768}, m[2] = {-32768, 32767};
  float f;
  int32_t i;
  vspsLogGaussSingle_BlockDVarScaled_16s32f(s, m, o, 2, &f, 0.0f, 0);
  EXPECT_EQ(f, 0.0f - (65535.0f * 32767.0f + -65535.0f * -32768.0f) * 0.5f);
  // Stored through the overflow branch: INT32_MIN below, INT32_MAX above.
  vspsLogGaussSingle_BlockDVar_16s32s_Sfs(s, m, o, 2, &i, 0, -20);
  EXPECT_EQ(i, INT32_MIN);
  vspsLogGaussSingle_BlockDVar_16s32s_Sfs(s, m, on, 2, &i, 0, -20);
  EXPECT_EQ(i, INT32_MAX);
  vspsBlockDMatrixFree_16s(o), vspsBlockDMatrixFree_16s(on);
}

TEST(LogGaussSingleBlockDVar, ScratchComesFromTheHeapFrom112AndFailsCleanly) {
  for (int len : {111, 112, 300}) {
    SCOPED_TRACE(len);
    const BlockModel bm({len}, 5);
    Data d(len, 6);
    float f32;
    int32_t i32;
    const long before = vspcoreTestAllocations();
    ASSERT_EQ(vspsLogGaussSingle_BlockDVar_32f(d.s32.data(), d.m32.data(), bm.o32, len, &f32, 0),
              0);
    EXPECT_EQ(vspcoreTestAllocations() - before, len < 112 ? 0 : 1);
    Guarded<float> out(1);
    const SweepResult r = sweepAllocationFailures(
        [&] {
          return vspsLogGaussSingle_BlockDVar_32f(d.s32.data(), d.m32.data(), bm.o32, len,
                                                  out.data(), 0);
        },
        [&](int) { EXPECT_TRUE(out.untouched()); });
    EXPECT_EQ(r.allocationPoints, len < 112 ? 0 : 1);
    const SweepResult r16 = sweepAllocationFailures([&] {
      return vspsLogGaussSingle_BlockDVar_16s32s_Sfs(d.s16.data(), d.m16.data(), bm.o16, len, &i32,
                                                     0, 0);
    });
    EXPECT_EQ(r16.allocationPoints, len < 112 ? 0 : 1);
  }
}

TEST(BlockDMatrix, CopiesRowsAndAlignsThemTo16Bytes) {
  // Sizes 2 and 3 consume five source pointers; only the first s elements of
  // each row are copied.
  std::vector<std::vector<float>> src(5);
  std::vector<const float*> p;
  for (int r = 0; r < 5; ++r) {
    for (int k = 0; k < 6; ++k) src[r].push_back(float(10 * r + k));
    p.push_back(src[r].data());
  }
  const int32_t sizes[2] = {2, 3};
  VspBlockDMatrix* o = nullptr;
  ASSERT_EQ(vspsBlockDMatrixInitAlloc_32f(&o, p.data(), sizes, 2), vspStatusOk);
  // The layout is private; check it through the score: with s - mean = unit
  // vector j, the quadratic form picks the diagonal element of row j.
  const float zero[5] = {0, 0, 0, 0, 0};
  const float diag[5] = {0, 11, 20, 31, 42};  // rows 0,1 of block 0; rows 2,3,4 of block 1
  for (int j = 0; j < 5; ++j) {
    float s[5] = {0, 0, 0, 0, 0}, score = 0;
    s[j] = 1;
    ASSERT_EQ(vspsLogGaussSingle_BlockDVar_32f(s, zero, o, 5, &score, 0), 0);
    EXPECT_EQ(score, -0.5f * diag[j]) << j;
  }
  EXPECT_EQ(vspsBlockDMatrixFree_64f(o), vspStatusOk);  // one entry point, three names
  EXPECT_EQ(vspsBlockDMatrixFree_32f(nullptr), vspStatusNullPointer);
}

TEST(BlockDMatrix, RefusalsAndAllocationFailure) {
  const float row[3] = {1, 2, 3};
  const float* rows[3] = {row, row, row};
  const int32_t good[2] = {1, 2}, zero[2] = {1, 0}, neg[1] = {-4};
  VspBlockDMatrix* o = reinterpret_cast<VspBlockDMatrix*>(0x1);
  EXPECT_EQ(vspsBlockDMatrixInitAlloc_32f(nullptr, rows, good, 2), vspStatusNullPointer);
  EXPECT_EQ(vspsBlockDMatrixInitAlloc_32f(&o, nullptr, good, 2), vspStatusNullPointer);
  EXPECT_EQ(vspsBlockDMatrixInitAlloc_32f(&o, rows, nullptr, 0), vspStatusNullPointer);
  EXPECT_EQ(vspsBlockDMatrixInitAlloc_32f(&o, rows, good, 0), vspStatusBadSize);
  EXPECT_EQ(vspsBlockDMatrixInitAlloc_32f(&o, rows, zero, 2), vspStatusBadSize);
  EXPECT_EQ(vspsBlockDMatrixInitAlloc_32f(&o, rows, neg, 1), vspStatusBadSize);
  EXPECT_EQ(o, reinterpret_cast<VspBlockDMatrix*>(0x1));
  const SweepResult r =
      sweepAllocationFailures([&] { return vspsBlockDMatrixInitAlloc_32f(&o, rows, good, 2); },
                              [&](int) { EXPECT_EQ(o, reinterpret_cast<VspBlockDMatrix*>(0x1)); });
  EXPECT_EQ(r.allocationPoints, 1);
  EXPECT_EQ(vspsBlockDMatrixFree_32f(o), vspStatusOk);
  // A block too large to allocate is a failed allocation, not a crash.
  const int32_t huge[1] = {INT32_MAX};
  VspBlockDMatrix* h = nullptr;
  const double* drows[1] = {nullptr};  // never read: the allocation cannot succeed
  EXPECT_EQ(vspsBlockDMatrixInitAlloc_64f(&h, drows, huge, 1), vspStatusNoMemory);
}

// ---------------------------------------------------------------------------
// Refusals
// ---------------------------------------------------------------------------

// Every member through one fixture: each call must give the same status,
// which is the fixture's. The block-diagonal members share the data (an
// object of total size 3 against a len of 3).
struct SingleFixture {
  float s[4] = {1, 2, 3, 4}, m[4] = {0, 0, 0, 0}, v[4] = {1, 1, 1, 1};
  int16_t s16[4] = {1, 2, 3, 4}, m16[4] = {0}, v16[4] = {1, 1, 1, 1};
  double s64[4] = {1, 2, 3, 4}, m64[4] = {0}, v64[4] = {1, 1, 1, 1};
  BlockModel bm{{1, 2}, 3};
  const float *ps = s, *pm = m, *pv = v;
  const int16_t *ps16 = s16, *pm16 = m16, *pv16 = v16;
  const double *ps64 = s64, *pm64 = m64, *pv64 = v64;
  const VspBlockDMatrix *o32 = bm.o32, *o16 = bm.o16;
  float f = 0, *pf = &f;
  double d = 0, *pd = &d;
  int32_t i = 0, *pi = &i;
  int len = 3;
  OutputWatch out;
  SingleFixture() { out.watch(&f, sizeof f), out.watch(&d, sizeof d), out.watch(&i, sizeof i); }
  VspStatus call() {
    const VspStatus r[] = {
        vspsLogGaussSingle_32f(ps, pm, pv, len, pf, 0),
        vspsLogGaussSingle_32f64f(ps, pm, pv, len, pd, 0),
        vspsLogGaussSingle_64f(ps64, pm64, pv64, len, pd, 0),
        vspsLogGaussSingle_16s32s_Sfs(ps16, pm16, pv16, len, pi, 0, 0),
        vspsLogGaussSingle_Low_16s32s_Sfs(ps16, pm16, pv16, len, pi, 0, 0),
        vspsLogGaussSingle_Scaled_16s32f(ps16, pm16, pv16, len, pf, 0, 0),
        vspsLogGaussSingle_LowScaled_16s32f(ps16, pm16, pv16, len, pf, 0, 0),
        vspsLogGaussSingle_IdVar_32f(ps, pm, len, pf, 0),
        vspsLogGaussSingle_IdVar_32f64f(ps, pm, len, pd, 0),
        vspsLogGaussSingle_IdVar_64f(ps64, pm64, len, pd, 0),
        vspsLogGaussSingle_IdVar_16s32s_Sfs(ps16, pm16, len, pi, 0, 0),
        vspsLogGaussSingle_IdVarLow_16s32s_Sfs(ps16, pm16, len, pi, 0, 0),
        vspsLogGaussSingle_IdVarScaled_16s32f(ps16, pm16, len, pf, 0, 0),
        vspsLogGaussSingle_IdVarLowScaled_16s32f(ps16, pm16, len, pf, 0, 0),
        vspsLogGaussSingle_DirectVar_32f(ps, pm, pv, len, pf, 0),
        vspsLogGaussSingle_DirectVar_32f64f(ps, pm, pv, len, pd, 0),
        vspsLogGaussSingle_DirectVar_64f(ps64, pm64, pv64, len, pd, 0),
        vspsLogGaussSingle_DirectVar_16s32s_Sfs(ps16, pm16, pv16, len, pi, 0, 0),
        vspsLogGaussSingle_DirectVarScaled_16s32f(ps16, pm16, pv16, len, pf, 0, 0),
        vspsLogGaussSingle_BlockDVar_32f(ps, pm, o32, len, pf, 0),
        vspsLogGaussSingle_BlockDVar_32f64f(ps, pm, o32, len, pd, 0),
        vspsLogGaussSingle_BlockDVar_16s32s_Sfs(ps16, pm16, o16, len, pi, 0, 0),
        vspsLogGaussSingle_BlockDVarScaled_16s32f(ps16, pm16, o16, len, pf, 0, 0),
        vspsMahDistSingle_32f(ps, pm, pv, len, pf),
        vspsMahDistSingle_32f64f(ps, pm, pv, len, pd),
        vspsMahDistSingle_64f(ps64, pm64, pv64, len, pd),
        vspsMahDistSingle_16s32f(ps16, pm16, pv16, len, pf),
        vspsMahDistSingle_16s32s_Sfs(ps16, pm16, pv16, len, pi, 0),
    };
    for (VspStatus st : r) EXPECT_EQ(st, r[0]);
    return r[0];
  }
};

TEST(LogGaussSingleRefusals, PointersThenSizeThenObject) {
  using F = SingleFixture;
  auto nullSrc = [](F& f) { f.ps = nullptr, f.ps16 = nullptr, f.ps64 = nullptr; };
  expectRefusals<F>({
      {"src null", nullSrc, vspStatusNullPointer},
      {"mean null", [](F& f) { f.pm = nullptr, f.pm16 = nullptr, f.pm64 = nullptr; },
       vspStatusNullPointer},
      {"dst null", [](F& f) { f.pf = nullptr, f.pd = nullptr, f.pi = nullptr; },
       vspStatusNullPointer},
      {"len 0", [](F& f) { f.len = 0; }, vspStatusBadSize},
      {"len INT32_MIN", [](F& f) { f.len = INT32_MIN; }, vspStatusBadSize},
      {"null before size", [&](F& f) { f.len = 0, nullSrc(f); }, vspStatusNullPointer},
  });
}

TEST(LogGaussSingleRefusals, VarAndObjectChecks) {
  // The members with a var (or object) argument refuse it null; the block
  // members also refuse a len that is not the object's.
  SingleFixture f;
  Guarded<float> out(1);
  const int16_t* none16 = nullptr;
  EXPECT_EQ(vspsLogGaussSingle_32f(f.s, f.m, nullptr, 3, out.data(), 0), vspStatusNullPointer);
  EXPECT_EQ(vspsLogGaussSingle_DirectVarScaled_16s32f(f.s16, f.m16, none16, 3, out.data(), 0, 0),
            vspStatusNullPointer);
  EXPECT_EQ(vspsMahDistSingle_16s32f(f.s16, f.m16, none16, 3, out.data()), vspStatusNullPointer);
  EXPECT_EQ(vspsLogGaussSingle_BlockDVar_32f(f.s, f.m, nullptr, 3, out.data(), 0),
            vspStatusNullPointer);
  EXPECT_EQ(vspsLogGaussSingle_BlockDVar_32f(f.s, f.m, f.o32, 2, out.data(), 0), vspStatusBadSize);
  EXPECT_EQ(vspsLogGaussSingle_BlockDVar_32f(f.s, f.m, f.o32, 4, out.data(), 0), vspStatusBadSize);
  EXPECT_TRUE(out.untouched());
}

}  // namespace
