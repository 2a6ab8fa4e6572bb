// Single-observation Gaussian scores and distances: every float member
// against long double, exact integer results, the direct-variance and
// block-diagonal forms (with the matrix object they read), and the checks.
// The sums under them are tested on every tier with the row kernels.

#include "scoring/scoring_support.h"

namespace {

using namespace vsptest;

// ---- Float members against long double ---------------------------------------------
//
// The score in long double: gConst - sum / 2 (Half), gConst - sum *
// 2^-(sf + 1) (Scaled, and LowScaled, which is the same number), or the sum
// itself (Sum), its terms weighted by var, by 1 (Unit) or by 1 / var (Direct).
enum class Kind { Half, Scaled, Sum };
enum class Weight { Var, Unit, Direct };
template <Kind K, Weight W, class T, class O>
O ldScore(const T* s, const T*, const T* m, const T* v, Vsp32s n, O g, Vsp32s sf) {
  const LD sum = ldSum(s, m, W == Weight::Unit ? nullptr : v, n, W == Weight::Direct);
  return O(K == Kind::Sum ? sum : g - std::ldexp(sum, K == Kind::Half ? -1 : -sf - 1));
}

// Each member once per row of the matrix (the observations) against the
// vector (the model), through the many-rows driver: `s` is the observation.
// clang-format off
#define ROWS(...) \
  [](auto mat, auto, Vsp32s st, auto x, [[maybe_unused]] auto w, Vsp32s n, [[maybe_unused]] auto g, auto d, Vsp32s c, [[maybe_unused]] Vsp32s sf) { VspStatus r = 0; for (int k = 0; k < c; ++k) { const auto s = mat + k * st; r |= __VA_ARGS__; } return r; }, \
  [](auto mat, auto, auto x, [[maybe_unused]] auto w, Vsp32s n, [[maybe_unused]] auto g, auto d, Vsp32s c, [[maybe_unused]] Vsp32s sf) { VspStatus r = 0; for (int k = 0; k < c; ++k) { const auto s = mat[k]; r |= __VA_ARGS__; } return r; }
#define M(f, K, W, ...) {#f, ROWS(vspsLogGaussSingle_##f(s, x, __VA_ARGS__)), ldScore<Kind::K, Weight::W>, Reduce::Store, false, false}
#define DIST(t) {"MahDist" #t, ROWS(vspsMahDistSingle##t(s, x, w, n, d + k)), ldScore<Kind::Sum, Weight::Var>, Reduce::Store, false, false}
#define FLOAT(t) {M(t, Half, Var, w, n, d + k, g[k]), M(IdVar_##t, Half, Unit, n, d + k, g[k]), M(DirectVar_##t, Half, Direct, w, n, d + k, g[k]), DIST(_##t)}
const RowMember<float, float> kF32[] = FLOAT(32f);
const RowMember<float, double> kF32D[] = FLOAT(32f64f);
const RowMember<double, double> kF64[] = FLOAT(64f);
const RowMember<int16_t, float> kS16[] = {M(Scaled_16s32f, Scaled, Var, w, n, d + k, g[k], sf), M(LowScaled_16s32f, Scaled, Var, w, n, d + k, g[k], sf),
                                          M(IdVarScaled_16s32f, Scaled, Unit, n, d + k, g[k], sf), M(IdVarLowScaled_16s32f, Scaled, Unit, n, d + k, g[k], sf),
                                          M(DirectVarScaled_16s32f, Scaled, Direct, w, n, d + k, g[k], sf), DIST(_16s32f)};
// clang-format on

TEST(LogGaussSingle, FloatMembersAgreeWithLongDouble) {
  expectRows(601, false, kF32, kF32D, kF64, kS16);
}

// ---- Integer members: exact results --------------------------------------------------
//
// Every shift, saturation and wrap of the 64-bit scores against 128-bit sums:
// shift zero at -1, left shifts that lose bits, counts taken modulo 64, -1
// shifted staying -1 and 1 becoming 0, sums beyond 32 bits. The
// direct-variance score from its definition: (d << 8)^2 / var truncated per
// element and a half-up rounding term formed in 32 bits (at 15 it hits the
// sign, at 20 it wraps past it; none at -16, a left shift at -20).
TEST(LogGaussSingleInt, ExactShiftSaturationAndWrap) {
  const std::vector<int16_t> big(64, 32767), low(64, -32768), a{300, -200}, b{-300, 200},
      s3{5, -7, 1000}, m3{2, 3, -1000}, hi{32767, -32768}, lo{-32768, 32767};
  const struct {
    std::vector<int16_t> s, m, v;
    int32_t g;
    int sf;
  } cases[] = {// clang-format off
      {{7, -2}, {3, 5}, {5, 9}, 100, -1}, {a, b, {1000, 2000}, -5, 40},    {a, b, {1000, 2000}, -5, 64 + 3},
      {{32767}, {-32768}, {32767}, 0, -40}, {{1}, {0}, {-1}, 10, 0},         {{1}, {0}, {1}, 10, 0},
      {{0}, {0}, {1}, INT32_MAX, 3},      {big, low, big, -100, 0},        {big, low, big, 12345, 24},
      {big, low, low, 100, 2},            {s3, m3, {3, 7, 100}, 50, 0},    {s3, m3, {-3, 7, 100}, 50, -16},
      {s3, m3, {3, -7, 100}, 50, -20},    {hi, lo, {1, 1}, 0, 15},         {hi, lo, {1, 1}, -9, 20}};
  // clang-format on
  for (const auto& c : cases) {
    const int n = int(c.s.size());
    SCOPED_TRACE(testing::Message() << "n " << n << " g " << c.g << " sf " << c.sf);
    const int16_t *s = c.s.data(), *m = c.m.data(), *v = c.v.data();
    const i128 full = rowSumRef16(s, m, v, n), unit = rowSumRef16(s, m, nullptr, n);
    const auto score = [&](i128 sum, bool low) {
      const i128 d = i128(c.g) - shiftRef(int64_t(sum), c.sf + 1LL);
      return low ? wrap32(d) : clamp32(d);
    };
    i128 direct = 0;
    for (int i = 0; i < n; ++i) direct += i128(s[i] - m[i]) * (s[i] - m[i]) * 65536 / v[i];
    const int32_t rnd = c.sf + 17 > 0 ? int32_t(uint32_t(1) << ((c.sf + 16) % 32)) : 0;
    int32_t r[6] = {};
    ASSERT_EQ(vspsLogGaussSingle_16s32s_Sfs(s, m, v, n, &r[0], c.g, c.sf) |
                  vspsLogGaussSingle_Low_16s32s_Sfs(s, m, v, n, &r[1], c.g, c.sf) |
                  vspsLogGaussSingle_IdVar_16s32s_Sfs(s, m, n, &r[2], c.g, c.sf) |
                  vspsLogGaussSingle_IdVarLow_16s32s_Sfs(s, m, n, &r[3], c.g, c.sf) |
                  vspsMahDistSingle_16s32s_Sfs(s, m, v, n, &r[4], c.sf) |
                  vspsLogGaussSingle_DirectVar_16s32s_Sfs(s, m, v, n, &r[5], c.g, c.sf),
              vspStatusOk);
    EXPECT_EQ(
        std::vector<int32_t>(r, r + 6),
        std::vector<int32_t>({score(full, 0), score(full, 1), score(unit, 0), score(unit, 1),
                              clamp32(shiftRef(int64_t(full), c.sf)),
                              clamp32(c.g - i128(shiftRef(int64_t(direct) + rnd, c.sf + 17)))}));
  }
}

// ---- Block-diagonal inverse covariance ------------------------------------------------

// Random blocks of the given sizes, their 16-bit rows and the objects built
// from them in the three element types (the float and double rows are the
// 16-bit ones divided by 200 in single precision).
struct BlockModel {
  std::vector<int32_t> sizes;
  std::vector<std::vector<int16_t>> r16;
  VspBlockDMatrix *o16, *o32, *o64;
  BlockModel(std::vector<int32_t> sz, uint64_t seed) : sizes(std::move(sz)) {
    Rng r(seed);
    for (int32_t b : sizes)
      for (int i = 0; i < b; ++i)
        r16.emplace_back(b), r.fill(r16.back().data(), b, [&] { return r.s16(-200, 200); });
    o16 = build(vspsBlockDMatrixInitAlloc_16s, 1), o32 = build(vspsBlockDMatrixInitAlloc_32f, 200),
    o64 = build(vspsBlockDMatrixInitAlloc_64f, 200);
  }
  ~BlockModel() {
    vspsBlockDMatrixFree_32f(o32), vspsBlockDMatrixFree_64f(o64), vspsBlockDMatrixFree_16s(o16);
  }
  template <class T>
  VspBlockDMatrix* build(VspStatus (*init)(VspBlockDMatrix**, const T* const*, const Vsp32s*,
                                           Vsp32s),
                         float div) {
    std::vector<std::vector<T>> rows;
    std::vector<const T*> p;
    for (const auto& row : r16) {
      auto& t = rows.emplace_back();
      for (int16_t x : row) t.push_back(T(x / div));
      p.push_back(t.data());  // (a moved row keeps its storage)
    }
    VspBlockDMatrix* o = nullptr;
    EXPECT_EQ(init(&o, p.data(), sizes.data(), Vsp32s(sizes.size())), 0);
    return o;
  }
  // The sum over the blocks of (s - mean)' M e, where e is s - mean, but
  // saturated to 16 bits in the 16-bit members, with the float rows of M.
  template <class X>
  LD quadratic(const std::vector<X>& s, const std::vector<X>& mu) const {
    const auto e = [&](int i) {
      return sizeof(X) == 2 ? std::clamp(LD(s[i]) - mu[i], -32768.0L, 32767.0L) : LD(s[i]) - mu[i];
    };
    LD sum = 0;
    for (int o = 0, row = 0, b = 0; b < int(sizes.size()); o += sizes[b++])
      for (int r = 0; r < sizes[b]; ++r, ++row)
        for (int k = 0; k < sizes[b]; ++k)
          sum += (LD(s[o + r]) - mu[o + r]) * LD(r16[row][k] / 200.0f) * e(o + k);
    return sum;
  }
};

// Every member against the quadratic form; full-range 16-bit data saturate
// the difference vector and the integer scores. Scratch lives on the stack
// below 112 dimensions and comes from the heap from 112 up, where a failed
// allocation is vspStatusNoMemory with nothing written.
TEST(LogGaussSingleBlockDVar, MembersAgreeWithTheQuadraticForm) {
  for (const auto& sizes : {std::vector<int32_t>{2, 3, 1, 7}, {111}, {112}, {60, 240}}) {
    const BlockModel bm(sizes, 4242);
    const int n = int(bm.r16.size());
    SCOPED_TRACE(n);
    Rng r(4243);
    std::vector<float> s(n), m(n);
    std::vector<int16_t> s16(n), m16(n);
    for (int i = 0; i < n; ++i)
      s[i] = dataOf<float>(r), m[i] = dataOf<float>(r), s16[i] = r.s16(), m16[i] = r.s16();
    const std::vector<double> s64(s.begin(), s.end()), m64(m.begin(), m.end());
    Guarded<float> f(1);
    Guarded<int32_t> i(1);
    double g = 0, g64 = 0;
    const double want = double(2.5L - bm.quadratic(s, m) / 2), tol = 1e-12 * (10 + std::fabs(want));
    ASSERT_EQ(vspsLogGaussSingle_BlockDVar_32f(s.data(), m.data(), bm.o32, n, f.data(), 2.5f) |
                  vspsLogGaussSingle_BlockDVar_32f64f(s.data(), m.data(), bm.o32, n, &g, 2.5) |
                  vspsLogGaussSingle_BlockDVar_64f(s64.data(), m64.data(), bm.o64, n, &g64, 2.5),
              0);
    EXPECT_NEAR(f[0], want, 1e7 * tol);
    EXPECT_NEAR(g, want, tol);
    EXPECT_NEAR(g64, want, tol);
    for (int sf : {0, 10, 20}) {
      // The 16-bit rows are the float ones times 200; the integer member
      // stores through its overflow branch (INT32_MIN below, INT32_MAX above).
      const double want = double(1000 - bm.quadratic(s16, m16) * 100 * std::ldexp(1.0L, -sf));
      const double stored = std::min(std::max(want, -2147483648.0), 2147483647.0);
      vspsLogGaussSingle_BlockDVarScaled_16s32f(s16.data(), m16.data(), bm.o16, n, &f[0], 1000, sf);
      vspsLogGaussSingle_BlockDVar_16s32s_Sfs(s16.data(), m16.data(), bm.o16, n, &i[0], 1000, sf);
      EXPECT_NEAR(f[0], want, 1e-5 * std::fabs(want) + 1e-3) << sf;
      EXPECT_NEAR(i[0], stored, 1e-5 * std::fabs(stored) + 1) << sf;
    }
    const auto untouched = [&](int) { EXPECT_TRUE(f.untouched() && i.untouched()); };
    for (int k : {0, 1}) {
      f.fill(), i.fill();
      const auto call = [&] {
        return k ? vspsLogGaussSingle_BlockDVar_16s32s_Sfs(s16.data(), m16.data(), bm.o16, n, &i[0],
                                                           0, 0)
                 : vspsLogGaussSingle_BlockDVar_32f(s.data(), m.data(), bm.o32, n, &f[0], 0);
      };
      EXPECT_EQ(sweepAllocationFailures(call, untouched).allocationPoints, n >= 112) << k;
    }
  }
}

// Refusals (the size checks after the pointers), a failed allocation that
// leaves the handle as it was, also for a block too large to allocate, whose
// rows are never read; one release for all three element types.
TEST(BlockDMatrix, RefusalsAndAllocationFailure) {
  const float row[3] = {1, 2, 3};
  const float *rows[3] = {row, row, row}, *none[1] = {nullptr};
  const int32_t good[2] = {1, 2}, zero[2] = {1, 0}, neg[1] = {-4}, huge[1] = {INT32_MAX};
  VspBlockDMatrix* const kept = reinterpret_cast<VspBlockDMatrix*>(0x1);
  VspBlockDMatrix* o = kept;
  const auto init = vspsBlockDMatrixInitAlloc_32f;
  const VspStatus kNull = vspStatusNullPointer, kSize = vspStatusBadSize;
  EXPECT_EQ(std::vector<VspStatus>({init(nullptr, rows, good, 2), init(&o, nullptr, good, 2),
                                    init(&o, rows, nullptr, 0), init(&o, rows, good, 0),
                                    init(&o, rows, zero, 2), init(&o, rows, neg, 1),
                                    init(&o, none, huge, 1)}),
            std::vector<VspStatus>({kNull, kNull, kNull, kSize, kSize, kSize, vspStatusNoMemory}));
  EXPECT_EQ(o, kept);
  const auto call = [&] { return init(&o, rows, good, 2); };
  EXPECT_EQ(sweepAllocationFailures(call, [&](int) { EXPECT_EQ(o, kept); }).allocationPoints, 1);
  EXPECT_EQ(vspsBlockDMatrixFree_64f(o), vspStatusOk);
  EXPECT_EQ(vspsBlockDMatrixFree_32f(nullptr), vspStatusNullPointer);
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
  expectOrder(o, 4, 1, [](Args& a) { return vspsLogGaussSingle_DirectVar_16s32s_Sfs(a.p(0, a.s), a.p(1, a.s), a.p(2, a.s), a.n[0], a.p(3, a.i), 0, 0); });
  expectOrder(o, 4, 1, [](Args& a) { return vspsLogGaussSingle_BlockDVar_32f(a.p(0, a.f), a.p(1, a.f), a.p(2, bm->o32), a.n[0], a.p(3, a.f), 0); });
  // A zero variance, even the last, stops a direct-variance member with
  // nothing written; the block members also refuse a length that is not the
  // object's.
  const auto one = [](VspStatus (*fn)(Args&), const char* what, void (*spoil)(Args&), VspStatus st) { Args::fn = fn, expectRefusals<Args>({{what, spoil, st}}); };
  one([](Args& a) { return vspsLogGaussSingle_DirectVar_32f(a.f, a.f, a.f + 8, a.n[0], a.f + 24, 0); }, "zero variance", [](Args& a) { a.f[12] = 0; }, vspWarningDivideByZero);
  one([](Args& a) { return vspsLogGaussSingle_DirectVar_16s32s_Sfs(a.s, a.s, a.s + 8, a.n[0], a.i, 0, 0); }, "zero variance", [](Args& a) { a.s[12] = 0; }, vspWarningDivideByZero);
  one([](Args& a) { return vspsLogGaussSingle_BlockDVar_32f(a.f, a.f, bm->o32, a.n[0], a.f + 24, 0); }, "length 4", [](Args& a) { a.n[0] = 4; }, vspStatusBadSize);
  one([](Args& a) { return vspsLogGaussSingle_BlockDVar_32f(a.f, a.f, bm->o32, a.n[0], a.f + 24, 0); }, "length 6", [](Args& a) { a.n[0] = 6; }, vspStatusBadSize);
  // clang-format on
}

}  // namespace
