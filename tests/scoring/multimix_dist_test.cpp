// Multi-mixture scores and weighted distances against the single-observation
// kernels, and the free-order kernels of every tier against long double; the
// Gaussian pair distances against closed forms in long double, with their
// warnings; the integer rules of the vector steps; each family's check order.

#include "scoring/gauss_multimix.h"
#include "scoring/scoring_support.h"

namespace {

using namespace vsptest;

// ---- One observation against many Gaussians ----------------------------------------------
//
// Each member once: the Gaussians are the matrix, the observation the vector
// (MahDist: the frames are the matrix, the Gaussian the vector). The float
// sums are grouped freely: they agree with the single-observation member
// within a bound; integer scores exactly, and so do the frames of MahDist,
// which keep the single-observation order.
// clang-format off
// G(d): the constants before dst, or none (read from dst); S(c): a scale
// factor after the count, or none; A(r): the single-observation member's
// arguments after the dimension.
#define WITHG(d) g, d
#define NOG(d) d
#define WSF(c) c, sf
#define NSF(c) c
#define ARG_G(r) &r, g
#define ARG_GSF(r) &r, g, sf
#define ARG_(r) &r
#define MULTI(name, f, D2, D2L, G, S, one, A, exact, R) {name, \
  [](auto mat, auto wts, Vsp32s st, auto x, auto, Vsp32s n, [[maybe_unused]] auto g, auto d, Vsp32s c, [[maybe_unused]] Vsp32s sf) { return f##D2(mat, wts, st, x, n, G(d), S(c)); }, \
  [](auto mat, auto wts, auto x, auto, Vsp32s n, [[maybe_unused]] auto g, auto d, Vsp32s c, [[maybe_unused]] Vsp32s sf) { return f##D2L(mat, wts, x, n, G(d), S(c)); }, \
  [](auto row, auto rw, auto x, auto, Vsp32s n, [[maybe_unused]] auto g, [[maybe_unused]] Vsp32s sf) { decltype(g) r{}; one(x, row, rw, n, A(r)); return r; }, Reduce::R, exact, false}
#define FLOAT(t) \
  MULTI("MultiMix_" #t, vspsLogGaussMultiMix_##t, _D2, _D2L, NOG, NSF, vspsLogGaussSingle_##t, ARG_G, false, Store), \
  MULTI("MaxMultiMix_" #t, vspsLogGaussMaxMultiMix_##t, _D2, _D2L, WITHG, NSF, vspsLogGaussSingle_##t, ARG_G, false, Max), \
  MULTI("AddMultiMix_" #t, vspsLogGaussAddMultiMix_##t, _D2, _D2L, WITHG, NSF, vspsLogGaussSingle_##t, ARG_G, false, Add), \
  MULTI("MahDistMultiMix_" #t, vspsMahDistMultiMix_##t, _D2, _D2L, NOG, NSF, vspsMahDistSingle_##t, ARG_, false, Store), \
  {"MahDist_" #t, [](auto mat, auto, Vsp32s st, auto x, auto w, Vsp32s n, auto, auto d, Vsp32s c, Vsp32s) { return vspsMahDist_##t##_D2(mat, st, x, w, n, d, c); }, \
   [](auto mat, auto, auto x, auto w, Vsp32s n, auto, auto d, Vsp32s c, Vsp32s) { return vspsMahDist_##t##_D2L(mat, x, w, n, d, c); }, \
   [](auto row, auto, auto x, auto w, Vsp32s n, auto g, Vsp32s) { decltype(g) r{}; vspsMahDistSingle_##t(row, x, w, n, &r); return r; }, Reduce::Store, true, true}
#define SCALED(v, r, R, G) MULTI(#r "MultiMix_" #v, vspsLogGauss##r##MultiMix_##v##_16s32f, _D2, _D2L, G, WSF, vspsLogGaussSingle_##v##_16s32f, ARG_GSF, false, R)
// The single-observation integer members saturate after the subtraction too.
#define INT(v, r, R, G) MULTI(#r "MultiMix_" #v "16s32s", vspsLogGauss##r##MultiMix_##v##16s32s, _D2Sfs, _D2LSfs, G, WSF, vspsLogGaussSingle_##v##16s32s_Sfs, ARG_GSF, true, R)
const RowMember<float, float> kF32[] = {FLOAT(32f)};
const RowMember<double, double> kF64[] = {FLOAT(64f)};
const RowMember<int16_t, float> kScaled[] = {SCALED(Scaled, , Store, NOG), SCALED(LowScaled, , Store, NOG), SCALED(Scaled, Max, Max, WITHG),
                                             SCALED(LowScaled, Max, Max, WITHG), SCALED(Scaled, Add, Add, WITHG), SCALED(LowScaled, Add, Add, WITHG)};
const RowMember<int16_t, int32_t> kInt[] = {INT(, , Store, NOG), INT(Low_, , Store, NOG), INT(, Max, Max, WITHG), INT(Low_, Max, Max, WITHG)};
// clang-format on

TEST(MultiRow, EveryMemberAgreesWithTheSingleObservationKernel) {
  expectRows(501, false, kF32, kF64, kScaled, kInt);
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
  Guarded<Vsp32s> out(5, 4), io(5, 8);
  std::copy(halved, halved + 5, &io[0]);
  ASSERT_EQ(vspsOutProbPreCalc_32s(src, halved, &out[0], 5), 0);
  ASSERT_EQ(vspsOutProbPreCalc_32s_I(src, &io[0], 5), 0);
  ASSERT_TRUE(out.guardsIntact() && io.guardsIntact());
  for (int i = 0; i < 5; ++i) EXPECT_TRUE(out[i] == want[i] && io[i] == want[i]) << i;
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
  expectOrder(Order::PtrSize, 5, 2, [](Args& a) { return vspsLogGaussAddMultiMix_Scaled_16s32f_D2L(a.p(0, a.sr), a.p(1, a.sr), a.p(2, a.s), a.n[0], a.p(3, a.f), a.p(4, a.f), a.n[1], 0); });
  expectOrder(Order::StepPtrSize, 4, 2, [](Args& a) { return vspsMahDistMultiMix_64f_D2(a.p(0, a.d), a.p(1, a.d), a.step, a.p(2, a.d), a.n[0], a.p(3, a.d), a.n[1]); });
  expectOrder(Order::StepPtrSize, 4, 2, [](Args& a) { return vspsMahDist_32f_D2(a.p(0, a.f), a.step, a.p(1, a.f), a.p(2, a.f), a.n[0], a.p(3, a.f), a.n[1]); });
  expectOrder(Order::PtrSize, 5, 1, [](Args& a) { return vspsBhatDist_32f(a.p(0, a.f), a.p(1, a.f), a.p(2, a.f), a.p(3, a.f), a.n[0], a.p(4, a.f)); });
  expectOrder(Order::SizePtr, 5, 1, [](Args& a) { return vspsGaussianDist_64f(a.p(0, a.d), a.p(1, a.d), a.p(2, a.d), a.p(3, a.d), a.n[0], a.p(4, a.d), 1, 1, 1, 1); });
  expectOrder(Order::PtrSize, 3, 1, [](Args& a) { return vspsOutProbPreCalc_32s(a.p(0, a.i), a.p(1, a.i), a.p(2, a.i), a.n[0]); });
  expectOrder(Order::PtrSize, 2, 1, [](Args& a) { return vspsScaleLM_16s32s(a.p(0, a.s), a.p(1, a.i), a.n[0], 0, 1, 0); });
  // clang-format on
}

}  // namespace
