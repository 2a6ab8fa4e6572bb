// Multi-mixture scores and weighted distances against the single-observation
// kernels, and the free-order kernels of every tier against long double; the
// Gaussian pair distances against closed forms in long double, with their
// warnings; the integer rules of the vector steps; each family's check order.
#include <cmath>
#include <limits>
#include <type_traits>
#include <vector>

#include "scoring/gauss_multimix.h"
#include "scoring/scoring_support.h"

namespace {

using namespace vsptest;

// ---- One observation against many Gaussians ----------------------------------------------

enum class Reduce { Store, Max, Add };

// Both layouts adapted to one signature, and the single-observation member
// that scores one Gaussian the same way.
template <class T, class O>
struct Member {
  const char* name;
  VspStatus (*d2)(const T*, const T*, Vsp32s, const T*, Vsp32s, const O*, O*, Vsp32s, Vsp32s);
  VspStatus (*d2l)(const T* const*, const T* const*, const T*, Vsp32s, const O*, O*, Vsp32s,
                   Vsp32s);
  O (*single)(const T*, const T*, const T*, Vsp32s, O, Vsp32s);
  Reduce reduce;
  bool frames = false;  // many frames (the matrix) against one Gaussian, var row 0
};

// clang-format off
#define MM(f, D2, D2L, G, SF) \
  [](auto m, auto v, Vsp32s st, auto s, Vsp32s w, [[maybe_unused]] auto g, auto d, Vsp32s n, [[maybe_unused]] Vsp32s sf) { return f##_##D2(m, v, st, s, w, G(d), n SF); }, \
  [](auto m, auto v, auto s, Vsp32s w, [[maybe_unused]] auto g, auto d, Vsp32s n, [[maybe_unused]] Vsp32s sf) { return f##_##D2L(m, v, s, w, G(d), n SF); }
#define ONE(f, G, SF) [](auto s, auto m, auto v, Vsp32s w, [[maybe_unused]] auto g, [[maybe_unused]] Vsp32s sf) { decltype(g) r{}; f(s, m, v, w, &r G SF); return r; }
#define G_ , g
#define SF_ , sf
#define WITHG(d) g, d
#define NOG(d) d
#define FLOAT(t) \
  {"MultiMix_" #t, MM(vspsLogGaussMultiMix_##t, D2, D2L, NOG, ), ONE(vspsLogGaussSingle_##t, G_, ), Reduce::Store}, \
  {"MaxMultiMix_" #t, MM(vspsLogGaussMaxMultiMix_##t, D2, D2L, WITHG, ), ONE(vspsLogGaussSingle_##t, G_, ), Reduce::Max}, \
  {"AddMultiMix_" #t, MM(vspsLogGaussAddMultiMix_##t, D2, D2L, WITHG, ), ONE(vspsLogGaussSingle_##t, G_, ), Reduce::Add}, \
  {"MahDistMultiMix_" #t, MM(vspsMahDistMultiMix_##t, D2, D2L, NOG, ), ONE(vspsMahDistSingle_##t, , ), Reduce::Store}, \
  {"MahDist_" #t, [](auto m, auto v, Vsp32s st, auto s, Vsp32s w, auto, auto d, Vsp32s n, Vsp32s) { return vspsMahDist_##t##_D2(m, st, s, v, w, d, n); }, \
   [](auto m, auto v, auto s, Vsp32s w, auto, auto d, Vsp32s n, Vsp32s) { return vspsMahDist_##t##_D2L(m, s, v[0], w, d, n); }, ONE(vspsMahDistSingle_##t, , ), Reduce::Store, true}
#define SCALED(v, r, R, G) {#r "_" #v, MM(vspsLogGauss##r##MultiMix_##v##_16s32f, D2, D2L, G, SF_), ONE(vspsLogGaussSingle_##v##_16s32f, G_, SF_), Reduce::R}
#define INT(v, r, R, G) {#r "_" #v, MM(vspsLogGauss##r##MultiMix_##v##16s32s, D2Sfs, D2LSfs, G, SF_), ONE(vspsLogGaussSingle_##v##16s32s_Sfs, G_, SF_), Reduce::R}
const Member<float, float> kF32[] = {FLOAT(32f)};
const Member<double, double> kF64[] = {FLOAT(64f)};
const Member<int16_t, float> kScaled[] = {SCALED(Scaled, , Store, NOG), SCALED(LowScaled, , Store, NOG), SCALED(Scaled, Max, Max, WITHG),
                                          SCALED(LowScaled, Max, Max, WITHG), SCALED(Scaled, Add, Add, WITHG), SCALED(LowScaled, Add, Add, WITHG)};
// The single-observation integer members saturate after the subtraction too.
const Member<int16_t, int32_t> kInt[] = {INT(, , Store, NOG), INT(Low_, , Store, NOG), INT(, Max, Max, WITHG), INT(Low_, Max, Max, WITHG)};
// clang-format on

template <class O>
O reduced(Reduce r, O dst, O score) {
  if (r != Reduce::Add) return r == Reduce::Max && dst >= score ? dst : score;
  if constexpr (std::is_floating_point_v<O>) return logAddRef(dst, score);
  return dst;
}
// A bound on the rounding of a sum over `width` terms of total magnitude mag.
template <class O>
LD bound(int width, LD mag) {
  return std::numeric_limits<O>::epsilon() * (width + 8) * mag;
}

// Every member in both layouts over widths (vector tails), counts (groups of
// four, batches), gaps that must never be read and misaligned rows. Float
// sums are grouped freely: they agree with the single-observation kernels
// within a bound; integer scores exactly (epsilon is 0), and so do the frames
// of MahDist, which keep the single-observation order. The first member's
// rows also go through the free-order kernels of every tier.
template <class T, class O, size_t N>
void againstSingle(const Member<T, O> (&members)[N], uint64_t seed) {
  SCOPED_TRACE(seedTrace(seed));
  Rng rng(seed);
  using Acc = std::conditional_t<std::is_integral_v<O>, int64_t, O>;
  for (const Member<T, O>& mb : members)
    for (int width : lengthsAround(8))
      for (int count : {1, 5, 67})
        for (int extra : {0, 3}) {
          SCOPED_TRACE(testing::Message() << mb.name << " width " << width << " count " << count);
          const int step = width + extra;
          const Matrix<T> means(rng, count, width, step, dataOf<T>, extra * sizeof(T)),
              vars(rng, count, width, step, weightOf<T>), src(rng, 1, width, width, dataOf<T>, 2);
          std::vector<O> g(count), start(count);
          std::vector<const T*> vr = vars.rows;
          Guarded<O> a(count), b(count);
          for (int k = 0; k < count; ++k) {
            g[k] = O(rng.integer(-60, 40)), start[k] = O(rng.integer(-400, 100));
            a[k] = b[k] = mb.reduce == Reduce::Store ? g[k] : start[k];
            if (mb.frames) vr[k] = vars.rows[0];
          }
          ASSERT_EQ(
              mb.d2(means.data(), vars.data(), step, src.data(), width, &g[0], &a[0], count, 3), 0);
          ASSERT_EQ(mb.d2l(means.rows.data(), vr.data(), src.data(), width, &g[0], &b[0], count, 3),
                    0);
          ASSERT_TRUE(a.guardsIntact() && b.guardsIntact());
          std::vector<LD> sum(count);
          for (int k = 0; k < count; ++k) {
            for (int i = 0; i < width; ++i)
              sum[k] += std::pow(LD(src.data()[i]) - means.rows[k][i], 2) * vr[k][i];
            const LD mag = sum[k] + 2 * std::fabs(LD(g[k])) + std::fabs(LD(start[k]));
            const O one = mb.single(src.data(), means.rows[k], vr[k], width, g[k], 3);
            ASSERT_NEAR(a[k], reduced(mb.reduce, start[k], one),
                        mb.frames ? 0 : bound<O>(width, mag))
                << k;
            ASSERT_EQ(a[k], b[k]) << k;
          }
          std::vector<Acc> zero(count), out(count);
          const T* sp = src.data();
          for (vsp::Tier tier : hostTiers())
            if (&mb == members) {
              vsp::FreeOrderSums::run(
                  tier, vsp::RowBatch<T, Acc>{&sp, means.rows.data(), vr.data(), &zero[0], &out[0],
                                              count, width, 1, 0});
              for (int k = 0; k < count; ++k)
                ASSERT_NEAR(out[k], sizeof(T) == 2 ? sum[k] : -sum[k], bound<Acc>(width, sum[k]))
                    << tierName(tier) << " " << k;
            }
        }
}

TEST(MultiRow, EveryMemberAgreesWithTheSingleObservationKernel) {
  againstSingle(kF32, 501);
  againstSingle(kF64, 502);
  againstSingle(kScaled, 503);
  againstSingle(kInt, 504);
}

// ---- Gaussian pairs --------------------------------------------------------------------------

// The four Bhattacharyya members, the plain ones ignoring the sums of logs.
template <class O>
using Bhat = VspStatus (*)(const float*, const float*, const float*, const float*, Vsp32s, O*,
                           float, float);
#define PLAIN(f) \
  [](auto a, auto b, auto c, auto d, Vsp32s n, auto o, float, float) { return f(a, b, c, d, n, o); }
const Bhat<float> kBhat32[] = {PLAIN(vspsBhatDist_32f), vspsBhatDistSLog_32f};
const Bhat<double> kBhat64[] = {PLAIN(vspsBhatDist_32f64f), vspsBhatDistSLog_32f64f};

// The Bhattacharyya distance from its definition, and the merge cost from the
// spread form of the merged variance, in long double.
TEST(PairDistances, AgreeWithTheClosedForms) {
  Rng rng(521);
  for (int len : {1, 6, 39})
    for (bool same : {false, true}) {
      std::vector<float> m1(len), v1(len), m2(len), v2(len);
      const float w1 = rng.uniformf(0.1f, 5), w2 = rng.uniformf(0.1f, 5), g1 = -30, g2 = -41;
      const LD w = LD(w1) + w2;
      LD bhat = 0, l1 = 0, l2 = 0, logs = 0;
      for (int i = 0; i < len; ++i) {
        m1[i] = rng.uniformf(0.1f, 3), v1[i] = std::exp(rng.uniformf(-2, 2));
        m2[i] = same ? m1[i] : rng.uniformf(0.1f, 3), v2[i] = same ? v1[i] : rng.uniformf(0.1f, 5);
        const LD s = (LD(v1[i]) + v2[i]) / 2, d = LD(m1[i]) - m2[i];
        const LD m = (w1 * LD(m1[i]) + w2 * LD(m2[i])) / w, d1 = m1[i] - m, d2 = m2[i] - m;
        l1 += std::log(LD(v1[i])), l2 += std::log(LD(v2[i]));
        bhat += d * d / s / 8 + (std::log(s) - (std::log(LD(v1[i])) + std::log(LD(v2[i]))) / 2) / 2;
        logs += std::log((w1 * (v1[i] + d1 * d1) + w2 * (v2[i] + d2 * d2)) / w);
      }
      const LD scale = len * (1 + std::fabs(bhat) + std::fabs(l1) + std::fabs(l2));
      for (int k = 0; k < 2; ++k) {
        float f = -1;
        double d = -1;
        ASSERT_EQ(kBhat32[k](&m1[0], &v1[0], &m2[0], &v2[0], len, &f, l1, l2), 0);
        ASSERT_EQ(kBhat64[k](&m1[0], &v1[0], &m2[0], &v2[0], len, &d, l1, l2), 0);
        EXPECT_NEAR(f, bhat, 4e-7 * scale) << len << " slog " << k;
        EXPECT_NEAR(d, bhat, (k ? 2e-7 : 1e-14) * scale) << len << " slog " << k;  // float sums
      }
      const LD merge =
          w1 * LD(g1) + w2 * LD(g2) - w * (len * std::log(8 * std::atan(LD(1))) - logs);
      const std::vector<double> n1(m1.begin(), m1.end()), u1(v1.begin(), v1.end()),
          n2(m2.begin(), m2.end()), u2(v2.begin(), v2.end());
      float f = 0;
      double d = 0;
      ASSERT_EQ(vspsGaussianDist_32f(&m1[0], &v1[0], &m2[0], &v2[0], len, &f, w1, g1, w2, g2), 0);
      ASSERT_EQ(vspsGaussianDist_64f(&n1[0], &u1[0], &n2[0], &u2[0], len, &d, w1, g1, w2, g2), 0);
      EXPECT_NEAR(f, merge, 1e-6 * (std::fabs(merge) + w * len * 4)) << len;
      EXPECT_NEAR(d, merge, 1e-14 * (std::fabs(merge) + w * len * 4)) << len;
    }
}

TEST(PairDistances, WarningsAndWhatTheyWrite) {
  // Bhattacharyya: four elements of (mean1, var1, mean2, var2), all 1 but for
  // up to two changes (array, element, value); the validation goes element
  // by element, a negative value first within one.
  const float kCases[][7] = {
      {0, 1, -1, 0, 0, 1, vspWarningNegativeInLog},       // a negative mean
      {2, 3, 0, 0, 0, 1, vspWarningZeroInLog},            // a zero mean
      {1, 2, 5e-7f, 3, 3, -2, vspWarningZeroInLog},       // element 2 before 3
      {3, 1, -1e-30f, 0, 2, 0, vspWarningNegativeInLog},  // element 1 before 2
      {0, 1, 0, 3, 1, -1, vspWarningNegativeInLog},       // within one, negative first
      {1, 0, 1e-6f, 0, 0, 1, vspStatusOk},                // the bound itself passes
  };
  for (const auto& c : kCases) {
    float q[4][4] = {{1, 1, 1, 1}, {1, 1, 1, 1}, {1, 1, 1, 1}, {1, 1, 1, 1}};
    q[int(c[0])][int(c[1])] = c[2], q[int(c[3])][int(c[4])] = c[5];
    for (int k = 0; k < 2; ++k) {
      float f = 7;
      double d = 7;
      EXPECT_EQ(kBhat32[k](q[0], q[1], q[2], q[3], 4, &f, 0, 0), VspStatus(c[6]));
      EXPECT_EQ(kBhat64[k](q[0], q[1], q[2], q[3], 4, &d, 0, 0), VspStatus(c[6]));
      EXPECT_EQ(std::isnan(f) && std::isnan(d), c[6] == vspWarningNegativeInLog);
      EXPECT_EQ(f == INFINITY && d == INFINITY, c[6] == vspWarningZeroInLog);
    }
  }
  // Merge cost: the first element whose merged variance is not positive
  // decides; a NaN passes and spreads.
  auto merge = [](auto fn, auto t) {
    using T = decltype(t);
    const T z[] = {0, 0}, one[] = {1, 1}, neg[] = {-1, 0}, nan[] = {NAN, 0};
    T out[3] = {};
    EXPECT_EQ(fn(one, z, one, z, 2, &out[0], 1, 0, 1, 0), vspWarningZeroInLog);
    EXPECT_EQ(fn(one, neg, one, z, 2, &out[1], 1, 0, 1, 0), vspWarningNegativeInLog);
    EXPECT_EQ(fn(nan, one, one, one, 1, &out[2], 1, 0, 1, 0), vspStatusOk);
    EXPECT_TRUE(out[0] == T(INFINITY) && std::isnan(out[1]) && std::isnan(out[2]));
  };
  merge(vspsGaussianDist_32f, 0.0f);
  merge(vspsGaussianDist_64f, 0.0);
}

// ---- Output-probability precomputation and language-model scaling --------------------------

TEST(OutProbAndScaleLM, IntegerHalvingWrapsAndFloorsTakeNaN) {
  const Vsp32s src[] = {10, 10, 0, INT32_MIN, 7}, halved[] = {3, -3, INT32_MAX, 2, -1};
  const Vsp32s want[] = {8, 11, 1 << 30, INT32_MAX, 7};  // half up; +1 and the subtraction wrap
  for (int n = 1; n <= 5; ++n) {
    Guarded<Vsp32s> out(n, 4), io(n, 8);
    for (int i = 0; i < n; ++i) io[i] = halved[i];
    ASSERT_EQ(vspsOutProbPreCalc_32s(src, halved, &out[0], n), 0);
    ASSERT_EQ(vspsOutProbPreCalc_32s_I(src, &io[0], n), 0);
    ASSERT_TRUE(out.guardsIntact() && io.guardsIntact());
    for (int i = 0; i < n; ++i) EXPECT_TRUE(out[i] == want[i] && io[i] == want[i]) << i;
  }
  // In place, the halved values are overwritten: a second call goes on from there.
  float f[] = {3}, s[] = {1.5f};
  double d[] = {3}, ds[] = {1.5};
  vspsOutProbPreCalc_32f_I(s, f, 1), vspsOutProbPreCalc_32f_I(s, f, 1);
  vspsOutProbPreCalc_64f(ds, ds, d, 1);
  EXPECT_TRUE(f[0] == 1.5f && d[0] == 0.75);

  const float lm[] = {NAN, -5, 2};
  float lo[3];
  ASSERT_EQ(vspsScaleLM_32f(lm, lo, 3, -3, 2, 1), 0);
  EXPECT_TRUE(lo[0] == -5 && lo[1] == -5 && lo[2] == 5);
  const Vsp16s l16[] = {32767, -32768, 100};
  Vsp32s o16[3];
  ASSERT_EQ(vspsScaleLM_16s32s(l16, o16, 3, -10, 32767, 0), 0);
  EXPECT_TRUE(o16[0] == 32767 * 32767 && o16[1] == -10 * 32767 && o16[2] == 3276700);
  ASSERT_EQ(vspsScaleLM_16s32s(l16, o16, 1, -10, 32767, INT32_MAX), 0);
  EXPECT_EQ(o16[0], int32_t(uint32_t(32767 * 32767) + uint32_t(INT32_MAX)));
}

// ---- Checks in each family's order ---------------------------------------------------------

// One member of each order and layout.
TEST(Refusals, EachFamilyInItsOrder) {
  // clang-format off
  expectOrder(Order::StepPtrSize, 5, 2, [](Args& a) { return vspsLogGaussMaxMultiMix_32f_D2(a.p(0, a.f), a.p(1, a.f), a.step, a.p(2, a.f), a.n[0], a.p(3, a.f), a.p(4, a.f), a.n[1]); });
  expectOrder(Order::StepPtrSize, 4, 2, [](Args& a) { return vspsLogGaussMultiMix_Low_16s32s_D2Sfs(a.p(0, a.s), a.p(1, a.s), a.step, a.p(2, a.s), a.n[0], a.p(3, a.i), a.n[1], 0); });
  expectOrder(Order::PtrSize, 5, 2, [](Args& a) { return vspsLogGaussAddMultiMix_Scaled_16s32f_D2L(a.p(0, a.sr), a.p(1, a.sr), a.p(2, a.s), a.n[0], a.p(3, a.f), a.p(4, a.f), a.n[1], 0); });
  expectOrder(Order::StepPtrSize, 4, 2, [](Args& a) { return vspsMahDistMultiMix_64f_D2(a.p(0, a.d), a.p(1, a.d), a.step, a.p(2, a.d), a.n[0], a.p(3, a.d), a.n[1]); });
  expectOrder(Order::PtrSize, 4, 2, [](Args& a) { return vspsMahDistMultiMix_32f_D2L(a.p(0, a.fr), a.p(1, a.fr), a.p(2, a.f), a.n[0], a.p(3, a.f), a.n[1]); });
  expectOrder(Order::StepPtrSize, 4, 2, [](Args& a) { return vspsMahDist_32f_D2(a.p(0, a.f), a.step, a.p(1, a.f), a.p(2, a.f), a.n[0], a.p(3, a.f), a.n[1]); });
  expectOrder(Order::PtrSize, 4, 2, [](Args& a) { return vspsMahDist_32f_D2L(a.p(0, a.fr), a.p(1, a.f), a.p(2, a.f), a.n[0], a.p(3, a.f), a.n[1]); });
  expectOrder(Order::PtrSize, 5, 1, [](Args& a) { return vspsBhatDist_32f(a.p(0, a.f), a.p(1, a.f), a.p(2, a.f), a.p(3, a.f), a.n[0], a.p(4, a.f)); });
  expectOrder(Order::PtrSize, 5, 1, [](Args& a) { return vspsBhatDistSLog_32f64f(a.p(0, a.f), a.p(1, a.f), a.p(2, a.f), a.p(3, a.f), a.n[0], a.p(4, a.d), 1, 1); });
  expectOrder(Order::SizePtr, 5, 1, [](Args& a) { return vspsGaussianDist_64f(a.p(0, a.d), a.p(1, a.d), a.p(2, a.d), a.p(3, a.d), a.n[0], a.p(4, a.d), 1, 1, 1, 1); });
  expectOrder(Order::PtrSize, 3, 1, [](Args& a) { return vspsOutProbPreCalc_32s(a.p(0, a.i), a.p(1, a.i), a.p(2, a.i), a.n[0]); });
  expectOrder(Order::PtrSize, 2, 1, [](Args& a) { return vspsScaleLM_16s32s(a.p(0, a.s), a.p(1, a.i), a.n[0], 0, 1, 0); });
  // clang-format on
}

}  // namespace
