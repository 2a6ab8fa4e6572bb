// Single-observation Gaussian scores and distances: every float member
// against long double, exact integer results, the direct-variance and
// block-diagonal forms (with the matrix object they read), and the checks.
// The sums under them are tested on every tier with the row kernels.
#include <cmath>
#include <vector>

#include "scoring/scoring_support.h"

namespace {

using namespace vsptest;

// ---- Float members against long double ---------------------------------------------
//
// Every member adapted to (src, mean, var, len, dst, gConst, scaleFactor). The
// result is gConst - sum / 2 (Half), gConst - sum * 2^-(sf + 1) (Scaled, and
// LowScaled, which is the same number), or the sum itself (Sum).
enum class Kind { Half, Scaled, Sum };
template <class In, class Out>
struct Single {
  const char* name;
  VspStatus (*f)(const In*, const In*, const In*, Vsp32s, Out*, Out, Vsp32s);
  Kind kind;
  bool var, direct;
};
// clang-format off
#define VAR(f, k, direct, ...) {#f, [](auto s, auto m, auto v, Vsp32s n, auto d, auto g, [[maybe_unused]] Vsp32s sf) { return vspsLogGaussSingle_##f(s, m, v, n, d, g __VA_ARGS__); }, Kind::k, true, direct}
#define NOVAR(f, k, ...) {#f, [](auto s, auto m, auto, Vsp32s n, auto d, auto g, [[maybe_unused]] Vsp32s sf) { return vspsLogGaussSingle_##f(s, m, n, d, g __VA_ARGS__); }, Kind::k, false, false}
#define DIST(f) {"MahDist" #f, [](auto s, auto m, auto v, Vsp32s n, auto d, auto, Vsp32s) { return vspsMahDistSingle##f(s, m, v, n, d); }, Kind::Sum, true, false}
#define FLOAT(t) {VAR(t, Half, false), NOVAR(IdVar_##t, Half), VAR(DirectVar_##t, Half, true), DIST(_##t)}
const Single<float, float> kF32[] = FLOAT(32f);
const Single<float, double> kF32D[] = FLOAT(32f64f);
const Single<double, double> kF64[] = FLOAT(64f);
const Single<int16_t, float> kS16[] = {VAR(Scaled_16s32f, Scaled, false, , sf), VAR(LowScaled_16s32f, Scaled, false, , sf), NOVAR(IdVarScaled_16s32f, Scaled, , sf),
                                       NOVAR(IdVarLowScaled_16s32f, Scaled, , sf), VAR(DirectVarScaled_16s32f, Scaled, true, , sf), DIST(_16s32f)};
// clang-format on

template <class In, class Out, size_t N>
void againstLongDouble(const Single<In, Out> (&members)[N]) {
  for (const auto& mb : members)
    for (int n : lengthsAround(8))
      for (int sf : {-3, 0, 5}) {
        const uint64_t seed = 1000 + n * 7 + sf;
        SCOPED_TRACE(testing::Message()
                     << mb.name << " n " << n << " sf " << sf << " " << seedTrace(seed));
        Rng r(seed);
        std::vector<In> s(n), m(n), v(n);
        LD sum = 0;
        for (int i = 0; i < n; ++i) {
          s[i] = dataOf<In>(r), m[i] = dataOf<In>(r), v[i] = weightOf<In>(r);
          const LD d = LD(s[i]) - m[i];
          sum += !mb.var ? d * d : mb.direct ? d * d / v[i] : d * d * v[i];
        }
        const Out g = Out(-17.25);
        Out got = 0;
        ASSERT_EQ(mb.f(s.data(), m.data(), v.data(), n, &got, g, sf), vspStatusOk);
        const LD part =
            mb.kind == Kind::Sum ? sum : std::ldexp(sum, mb.kind == Kind::Half ? -1 : -sf - 1);
        // Each term and each addition rounds once; the scaling and the final
        // subtraction add a few more roundings of the magnitudes.
        const LD bound = (n + 4) * 2 * std::numeric_limits<Out>::epsilon() * (part + std::fabs(g));
        EXPECT_NEAR(got, double(mb.kind == Kind::Sum ? sum : g - part), double(bound));
      }
}

TEST(LogGaussSingle, FloatMembersAgreeWithLongDouble) {
  againstLongDouble(kF32);
  againstLongDouble(kF32D);
  againstLongDouble(kF64);
  againstLongDouble(kS16);
}

// ---- Integer members: exact results --------------------------------------------------

struct IntCase {
  std::vector<int16_t> s, m, v;
  int32_t g;
  int sf;
};

// Every shift, saturation and wrap of the 64-bit score against the 128-bit
// sum: shift zero at -1, left shifts (that lose bits), a count taken modulo
// 64, -1 shifted staying -1 and 1 becoming 0, sums beyond 32 bits.
TEST(LogGaussSingleInt, ExactShiftSaturationAndWrap) {
  const std::vector<int16_t> big(64, 32767), low(64, -32768);
  const IntCase cases[] = {{{7}, {3}, {5}, 100, 0},
                           {{7, -2}, {3, 5}, {5, 9}, 100, -1},
                           {{7, -2}, {3, 5}, {5, 9}, 100, -2},
                           {{300, -200}, {-300, 200}, {1000, 2000}, -5, 40},
                           {{300, -200}, {-300, 200}, {1000, 2000}, -5, 64 + 3},
                           {{32767}, {-32768}, {32767}, 0, -40},
                           {{1}, {0}, {-1}, 10, 0},
                           {{1}, {0}, {1}, 10, 0},
                           {big, low, big, -100, 0},
                           {big, low, big, 12345, 24},
                           {big, low, low, 100, 2},
                           {{0}, {0}, {0}, INT32_MAX, 3}};
  for (const IntCase& c : cases) {
    const int n = int(c.s.size());
    SCOPED_TRACE(testing::Message() << "n " << n << " g " << c.g << " sf " << c.sf);
    const int16_t *s = c.s.data(), *m = c.m.data(), *v = c.v.data();
    const i128 full = rowSumRef16(s, m, v, n), unit = rowSumRef16(s, m, nullptr, n);
    const auto score = [&](i128 sum, bool low) {
      const i128 d = i128(c.g) - shiftRef(int64_t(sum), c.sf + 1LL);
      return low ? wrap32(d) : clamp32(d);
    };
    int32_t r[5];
    ASSERT_EQ(vspsLogGaussSingle_16s32s_Sfs(s, m, v, n, &r[0], c.g, c.sf), vspStatusOk);
    ASSERT_EQ(vspsLogGaussSingle_Low_16s32s_Sfs(s, m, v, n, &r[1], c.g, c.sf), vspStatusOk);
    ASSERT_EQ(vspsLogGaussSingle_IdVar_16s32s_Sfs(s, m, n, &r[2], c.g, c.sf), vspStatusOk);
    ASSERT_EQ(vspsLogGaussSingle_IdVarLow_16s32s_Sfs(s, m, n, &r[3], c.g, c.sf), vspStatusOk);
    ASSERT_EQ(vspsMahDistSingle_16s32s_Sfs(s, m, v, n, &r[4], c.sf), vspStatusOk);
    EXPECT_EQ(std::vector<int32_t>(r, r + 5),
              std::vector<int32_t>({score(full, 0), score(full, 1), score(unit, 0), score(unit, 1),
                                    clamp32(shiftRef(int64_t(full), c.sf))}));
  }
}

// ---- Direct variances ---------------------------------------------------------------

// The integer score from its definition: (d << 8)^2 / var truncated per
// element, the half-up rounding term formed in 32 bits (at 15 it hits the
// sign, at 20 it wraps past it); no rounding at -16, a left shift at -20.
TEST(LogGaussSingleDirectVar, IntegerRoundsHalfUpAndDividesTowardZero) {
  const std::vector<int16_t> s{5, -7, 1000}, m{2, 3, -1000}, hi{32767, -32768}, lo{-32768, 32767};
  const IntCase rows[] = {{s, m, {3, 7, 100}, 50, 0},    {s, m, {-3, 7, 100}, 50, -16},
                          {s, m, {3, -7, 100}, 50, -20}, {hi, lo, {1, 1}, 0, 15},
                          {hi, lo, {1, 1}, -9, 20},      {{1, 2, 3}, {0, 0, 0}, {2, 2, 2}, 1, 3}};
  for (const IntCase& c : rows) {
    i128 sum = 0;
    for (size_t i = 0; i < c.s.size(); ++i)
      sum += i128(c.s[i] - c.m[i]) * (c.s[i] - c.m[i]) * 65536 / c.v[i];
    const int32_t rnd = c.sf + 17 > 0 ? int32_t(uint32_t(1) << ((c.sf + 16) % 32)) : 0;
    int32_t got = 0;
    ASSERT_EQ(vspsLogGaussSingle_DirectVar_16s32s_Sfs(c.s.data(), c.m.data(), c.v.data(),
                                                      int(c.s.size()), &got, c.g, c.sf),
              vspStatusOk);
    EXPECT_EQ(got, clamp32(i128(c.g) - shiftRef(int64_t(sum) + rnd, c.sf + 17))) << c.sf;
  }
  // A zero variance, even at the last element, stops every member with
  // nothing written.
  const float s32[3] = {1, 2, 3}, z32[3] = {}, v32[3] = {1, 1, 0};
  const double s64[3] = {1, 2, 3}, z64[3] = {}, v64[3] = {1, 0, 1};
  const int16_t s16[3] = {1, 2, 3}, z16[3] = {}, v16[3] = {1, 1, 0};
  Guarded<float> f(1);
  Guarded<double> d(1);
  Guarded<int32_t> i(1);
  for (VspStatus st : {vspsLogGaussSingle_DirectVar_32f(s32, z32, v32, 3, f.data(), 1),
                       vspsLogGaussSingle_DirectVar_32f64f(s32, z32, v32, 3, d.data(), 1),
                       vspsLogGaussSingle_DirectVar_64f(s64, z64, v64, 3, d.data(), 1),
                       vspsLogGaussSingle_DirectVar_16s32s_Sfs(s16, z16, v16, 3, i.data(), 1, 0),
                       vspsLogGaussSingle_DirectVarScaled_16s32f(s16, z16, v16, 3, f.data(), 1, 0)})
    EXPECT_EQ(st, vspWarningDivideByZero);
  EXPECT_TRUE(f.untouched() && d.untouched() && i.untouched());
}

// ---- Block-diagonal inverse covariance ------------------------------------------------

template <class T>
std::vector<const T*> rowsOf(const std::vector<std::vector<T>>& v) {
  std::vector<const T*> p;
  for (const auto& row : v) p.push_back(row.data());
  return p;
}

// Random blocks of the given sizes in the three element types (the 16-bit
// rows are the float ones times 200), and the objects built from them.
struct BlockModel {
  std::vector<int32_t> sizes;
  std::vector<std::vector<int16_t>> r16;
  std::vector<std::vector<float>> r32;
  std::vector<std::vector<double>> r64;
  VspBlockDMatrix *o32 = nullptr, *o64 = nullptr, *o16 = nullptr;
  BlockModel(std::vector<int32_t> sz, uint64_t seed) : sizes(std::move(sz)) {
    Rng r(seed);
    for (int32_t b : sizes)
      for (int i = 0; i < b; ++i) {
        r16.emplace_back(b), r32.emplace_back(b), r64.emplace_back(b);
        for (int k = 0; k < b; ++k)
          r16.back()[k] = r.s16(-200, 200), r64.back()[k] = r32.back()[k] = r16.back()[k] / 200.0f;
      }
    const int n = int(sizes.size());
    EXPECT_EQ(vspsBlockDMatrixInitAlloc_32f(&o32, rowsOf(r32).data(), sizes.data(), n), 0);
    EXPECT_EQ(vspsBlockDMatrixInitAlloc_64f(&o64, rowsOf(r64).data(), sizes.data(), n), 0);
    EXPECT_EQ(vspsBlockDMatrixInitAlloc_16s(&o16, rowsOf(r16).data(), sizes.data(), n), 0);
  }
  ~BlockModel() {
    vspsBlockDMatrixFree_32f(o32), vspsBlockDMatrixFree_64f(o64), vspsBlockDMatrixFree_16s(o16);
  }
  int len() const { return int(r64.size()); }
  // The sum over the blocks of e' M e.
  template <class X>
  LD quadratic(const std::vector<X>& s, const std::vector<X>& mu) const {
    LD sum = 0;
    for (int o = 0, row = 0, b = 0; b < int(sizes.size()); o += sizes[b++])
      for (int r = 0; r < sizes[b]; ++r, ++row)
        for (int k = 0; k < sizes[b]; ++k)
          sum += (LD(s[o + r]) - mu[o + r]) * r64[row][k] * (LD(s[o + k]) - mu[o + k]);
    return sum;
  }
};

// Every member against the quadratic form. Scratch lives on the stack below
// 112 dimensions and comes from the heap from 112 up, where a failed
// allocation is vspStatusNoMemory with nothing written.
TEST(LogGaussSingleBlockDVar, MembersAgreeWithTheQuadraticForm) {
  for (const auto& sizes : {std::vector<int32_t>{2, 3, 1, 7}, {111}, {112}, {60, 240}}) {
    const BlockModel bm(sizes, 4242);
    const int n = bm.len();
    SCOPED_TRACE(n);
    Rng r(4243);
    std::vector<float> s(n), m(n);
    std::vector<double> s64(n), m64(n);
    std::vector<int16_t> s16(n), m16(n);
    for (int i = 0; i < n; ++i) {
      s[i] = dataOf<float>(r), m[i] = dataOf<float>(r), s64[i] = dataOf<double>(r);
      m64[i] = dataOf<double>(r), s16[i] = dataOf<int16_t>(r), m16[i] = dataOf<int16_t>(r);
    }
    Guarded<float> f(1);
    double g = 0;
    int32_t i = 0;
    const LD q = bm.quadratic(s, m), q64 = bm.quadratic(s64, m64);
    const long before = vspcoreTestAllocations();
    ASSERT_EQ(vspsLogGaussSingle_BlockDVar_32f(s.data(), m.data(), bm.o32, n, f.data(), 2.5f), 0);
    EXPECT_EQ(vspcoreTestAllocations() - before, n < 112 ? 0 : 1);
    EXPECT_NEAR(f[0], double(2.5L - q / 2), 1e-5 * (10 + std::fabs(double(q))));
    vspsLogGaussSingle_BlockDVar_32f64f(s.data(), m.data(), bm.o32, n, &g, 2.5);
    EXPECT_NEAR(g, double(2.5L - q / 2), 1e-12 * (10 + std::fabs(double(q))));
    vspsLogGaussSingle_BlockDVar_64f(s64.data(), m64.data(), bm.o64, n, &g, 2.5);
    EXPECT_NEAR(g, double(2.5L - q64 / 2), 1e-12 * (10 + std::fabs(double(q64))));
    for (int sf : {0, 10, 20}) {
      const double want = double(1000 - bm.quadratic(s16, m16) * 100 * std::ldexp(1.0L, -sf));
      vspsLogGaussSingle_BlockDVarScaled_16s32f(s16.data(), m16.data(), bm.o16, n, f.data(), 1000,
                                                sf);
      EXPECT_NEAR(f[0], want, 1e-5 * std::fabs(want) + 1e-3) << sf;
      vspsLogGaussSingle_BlockDVar_16s32s_Sfs(s16.data(), m16.data(), bm.o16, n, &i, 1000, sf);
      const double stored = std::min(std::max(want, -2147483648.0), 2147483647.0);
      EXPECT_NEAR(i, stored, 1e-5 * std::fabs(stored) + 1) << sf;
    }
    f.fill();
    const SweepResult r32 = sweepAllocationFailures(
        [&] {
          return vspsLogGaussSingle_BlockDVar_32f(s.data(), m.data(), bm.o32, n, f.data(), 0);
        },
        [&](int) { EXPECT_TRUE(f.untouched()); });
    const SweepResult r16 = sweepAllocationFailures([&] {
      return vspsLogGaussSingle_BlockDVar_16s32s_Sfs(s16.data(), m16.data(), bm.o16, n, &i, 0, 0);
    });
    EXPECT_TRUE(r32.allocationPoints == (n >= 112) && r16.allocationPoints == (n >= 112));
  }
  // Identity and minus identity against differences of 65535 and -65535: the
  // difference vector saturates to 32767 and -32768, each row's own
  // difference does not. The integer member stores through its overflow
  // branch: INT32_MIN below, INT32_MAX above.
  const int16_t i0[2] = {1, 0}, i1[2] = {0, 1}, n0[2] = {-1, 0}, n1[2] = {0, -1};
  const int16_t *pos[2] = {i0, i1}, *neg[2] = {n0, n1}, s[2] = {32767, -32768},
                m[2] = {-32768, 32767};
  const int32_t two[1] = {2};
  VspBlockDMatrix *o = nullptr, *on = nullptr;
  ASSERT_EQ(vspsBlockDMatrixInitAlloc_16s(&o, pos, two, 1), 0);
  ASSERT_EQ(vspsBlockDMatrixInitAlloc_16s(&on, neg, two, 1), 0);
  float f;
  int32_t i, j;
  vspsLogGaussSingle_BlockDVarScaled_16s32f(s, m, o, 2, &f, 0.0f, 0);
  vspsLogGaussSingle_BlockDVar_16s32s_Sfs(s, m, o, 2, &i, 0, -20);
  vspsLogGaussSingle_BlockDVar_16s32s_Sfs(s, m, on, 2, &j, 0, -20);
  EXPECT_EQ(f, 0.0f - (65535.0f * 32767.0f + -65535.0f * -32768.0f) * 0.5f);
  EXPECT_TRUE(i == INT32_MIN && j == INT32_MAX);
  vspsBlockDMatrixFree_16s(o), vspsBlockDMatrixFree_16s(on);
}

TEST(BlockDMatrix, RefusalsAndAllocationFailure) {
  const float row[3] = {1, 2, 3};
  const float* rows[3] = {row, row, row};
  const int32_t good[2] = {1, 2}, zero[2] = {1, 0}, neg[1] = {-4};
  VspBlockDMatrix* const kept = reinterpret_cast<VspBlockDMatrix*>(0x1);
  VspBlockDMatrix* o = kept;
  for (VspStatus st : {vspsBlockDMatrixInitAlloc_32f(nullptr, rows, good, 2),
                       vspsBlockDMatrixInitAlloc_32f(&o, nullptr, good, 2),
                       vspsBlockDMatrixInitAlloc_32f(&o, rows, nullptr, 0)})
    EXPECT_EQ(st, vspStatusNullPointer);
  for (VspStatus st : {vspsBlockDMatrixInitAlloc_32f(&o, rows, good, 0),
                       vspsBlockDMatrixInitAlloc_32f(&o, rows, zero, 2),
                       vspsBlockDMatrixInitAlloc_32f(&o, rows, neg, 1)})
    EXPECT_EQ(st, vspStatusBadSize);
  EXPECT_EQ(o, kept);
  const SweepResult r =
      sweepAllocationFailures([&] { return vspsBlockDMatrixInitAlloc_32f(&o, rows, good, 2); },
                              [&](int) { EXPECT_EQ(o, kept); });
  EXPECT_EQ(r.allocationPoints, 1);
  EXPECT_EQ(vspsBlockDMatrixFree_64f(o), vspStatusOk);  // one entry point, three names
  EXPECT_EQ(vspsBlockDMatrixFree_32f(nullptr), vspStatusNullPointer);
  // A block too large to allocate is a failed allocation, not a crash; its
  // rows are never read.
  const int32_t huge[1] = {INT32_MAX};
  const double* none[1] = {nullptr};
  VspBlockDMatrix* h = nullptr;
  EXPECT_EQ(vspsBlockDMatrixInitAlloc_64f(&h, none, huge, 1), vspStatusNoMemory);
}

// ---- Refusals --------------------------------------------------------------------------

TEST(LogGaussSingle, RefusalsPointersThenSize) {
  const BlockModel model({2, 3}, 3);  // an object of the calls' length, 5
  static const BlockModel* bm;
  bm = &model;
  // clang-format off
  const Order o = Order::PtrSize;
  expectOrder(o, 4, 1, [](Args& a) { return vspsLogGaussSingle_32f(a.p(0, a.f), a.p(1, a.f), a.p(2, a.f), a.n[0], a.p(3, a.f), 0); });
  expectOrder(o, 3, 1, [](Args& a) { return vspsLogGaussSingle_IdVarLow_16s32s_Sfs(a.p(0, a.s), a.p(1, a.s), a.n[0], a.p(2, a.i), 0, 0); });
  expectOrder(o, 4, 1, [](Args& a) { return vspsLogGaussSingle_DirectVar_64f(a.p(0, a.d), a.p(1, a.d), a.p(2, a.d), a.n[0], a.p(3, a.d), 0); });
  expectOrder(o, 4, 1, [](Args& a) { return vspsLogGaussSingle_DirectVar_16s32s_Sfs(a.p(0, a.s), a.p(1, a.s), a.p(2, a.s), a.n[0], a.p(3, a.i), 0, 0); });
  expectOrder(o, 4, 1, [](Args& a) { return vspsLogGaussSingle_BlockDVar_32f(a.p(0, a.f), a.p(1, a.f), a.p(2, bm->o32), a.n[0], a.p(3, a.f), 0); });
  expectOrder(o, 4, 1, [](Args& a) { return vspsLogGaussSingle_BlockDVarScaled_16s32f(a.p(0, a.s), a.p(1, a.s), a.p(2, bm->o16), a.n[0], a.p(3, a.f), 0, 0); });
  expectOrder(o, 4, 1, [](Args& a) { return vspsMahDistSingle_16s32s_Sfs(a.p(0, a.s), a.p(1, a.s), a.p(2, a.s), a.n[0], a.p(3, a.i), 0); });
  // clang-format on
  // The block members also refuse a length that is not the object's.
  Guarded<float> out(1);
  const float x[8] = {};
  for (int len : {4, 6})
    EXPECT_EQ(vspsLogGaussSingle_BlockDVar_32f(x, x, bm->o32, len, out.data(), 0),
              vspStatusBadSize);
  EXPECT_TRUE(out.untouched());
}

}  // namespace
