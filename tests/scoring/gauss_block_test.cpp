// Frame-block Gaussian evaluation, and the sums under every scoring family:
// the single-observation and four-rows-per-pass kernels of every tier and the
// vector log-add against their scalar definitions, every block export in
// both layouts against the definition, ties, and the step-first order of
// checks.
#include "scoring/gauss_multimix.h"
#include "scoring/gauss_sum.h"
#include "scoring/scoring_support.h"

namespace {

using namespace vsptest;

// ---- The kernels of every tier ---------------------------------------------------------
//
// Nine rows (two groups of four and one left over) of a matrix whose rows
// start at every offset from a 16-byte boundary, against a shared vector
// that does too: the rows of one mixture then have different plans. Each row
// also goes through the single-observation sum of its types (and float rows
// through the widening one).
template <class In, class Acc>
void sweepKernels(uint64_t seed, In (*data)(Rng&), In (*weight)(Rng&)) {
  SCOPED_TRACE(seedTrace(seed));
  Rng rng(seed);
  const int rows = 9;
  const bool aligned = sizeof(In) != 2;
  for (int width : lengthsAround(8))
    for (int gap : {0, 1, 3})
      for (int shift : {0, 1, 2, 3})
        for (int shape = 0; shape < 4; ++shape) {
          const bool sharedSrc = shape & 1, hasVar = shape & 2;
          SCOPED_TRACE(testing::Message() << "width " << width << " gap " << gap << " shift "
                                          << shift << " shape " << shape);
          const size_t at = shift * sizeof(In), next = (shift + 1) % 4 * sizeof(In);
          const Matrix<In> a(rng, rows, width, width + gap, data, at),
              b(rng, rows, width, width + gap, weight, at), one(rng, 1, width, width, data, next),
              two(rng, 1, width, width, weight, at);
          // Shared model: the frames a against (one, two); shared source: one
          // against the models (a, b).
          const In* const* src = sharedSrc ? one.rows.data() : a.rows.data();
          const In* const* mean = sharedSrc ? a.rows.data() : one.rows.data();
          const In* const* var = !hasVar ? nullptr : sharedSrc ? b.rows.data() : two.rows.data();
          std::vector<Acc> init(rows), out;
          for (auto& x : init) x = aligned ? Acc(rng.uniform(-50, 50)) : Acc(0);
          for (vsp::Tier tier : hostTiers()) {
            SCOPED_TRACE(tierName(tier));
            out.assign(rows, Acc(-1));
            vsp::rowSums(tier, vsp::RowBatch<In, Acc>{src, mean, var, init.data(), out.data(), rows,
                                                      width, sharedSrc, !sharedSrc});
            for (int r = 0; r < rows; ++r) {
              const In *s = src[sharedSrc ? 0 : r], *m = mean[sharedSrc ? r : 0];
              const In* v = var ? var[sharedSrc ? r : 0] : nullptr;
              if constexpr (std::is_integral_v<Acc>) {
                ASSERT_EQ(out[r], int64_t(rowSumRef16(s, m, v, width))) << "row " << r;
                ASSERT_EQ(vsp::sumSq16s(tier, s, m, v, width), out[r]) << "row " << r;
              } else {
                ASSERT_EQ(bits(out[r]),
                          bits(rowAccRef<Acc>(s, m, v, width, init[r], aligned, aligned)))
                    << "row " << r;
                ASSERT_EQ(bits(vsp::sumSqOf<Acc>(tier, s, m, v, width)),
                          bits(rowAccRef<Acc>(s, m, v, width, Acc(0), aligned, false)))
                    << "row " << r;
                if constexpr (std::is_same_v<In, float>) {
                  ASSERT_EQ(bits(vsp::sumSqRuns32f64f(tier, s, m, v, width)),
                            bits(rowAccRef<double>(s, m, v, width, 0.0, false, false)))
                      << "row " << r;
                }
              }
            }
            // The free-order kernels (multi-mixtures, distances), within a
            // bound of the sum: init - sum, or init + sum for 16-bit rows.
            if (std::is_integral_v<Acc> || !sharedSrc || !hasVar) continue;
            vsp::FreeOrderSums::run(
                tier, vsp::RowBatch<In, Acc>{src, mean, var, init.data(), out.data(), rows, width,
                                             true, false});
            for (int r = 0; r < rows; ++r) {
              LD sum = 0, mag = fabsl(init[r]);
              for (int i = 0; i < width; ++i) {
                const LD t = ldSum(src[0] + i, mean[r] + i, var[r] + i, 1);
                sum += t, mag += fabsl(t);
              }
              ASSERT_NEAR(out[r], double(init[r] + (aligned ? -sum : sum)),
                          double(std::numeric_limits<Acc>::epsilon() * (width + 8) * mag))
                  << "free order, row " << r;
            }
          }
        }
}

// The vectorised log-add of a row of scores into a row of running values is
// the scalar pair step in every lane: differences over every interval and
// past the cut-off, floors, ties, signed zeros, infinities and NaN.
template <class T>
void logAddLanes(uint64_t seed) {
  SCOPED_TRACE(seedTrace(seed));
  Rng rng(seed);
  const T nan = std::numeric_limits<T>::quiet_NaN(), inf = std::numeric_limits<T>::infinity();
  std::vector<T> run, score;
  for (int i = 0; i < 3000; ++i)
    run.push_back(T(rng.uniform(-100, 100))), score.push_back(T(run.back() + rng.uniform(-30, 30)));
  const T edge[][2] = {{0, 0},           {T(-0.0), 0},   {-1e7, -2e7},     {-9.5e9, -5e10},
                       {-9.1e9, -9.1e9}, {nan, 1},       {1, nan},         {inf, 1},
                       {-inf, -inf},     {-4.5e6, -1e7}, {3, T(3 - 2.55)}, {3, T(3 - 6.8)}};
  for (auto& e : edge) run.push_back(e[0]), score.push_back(e[1]);
  for (int n : {1, 3, 4, 7, 8, 9, int(run.size())})
    for (vsp::Tier tier : hostTiers()) {
      SCOPED_TRACE(testing::Message() << tierName(tier) << " n " << n);
      std::vector<T> got(run.begin(), run.begin() + n), want = got;
      vsp::LogAddInto::batch(tier, got.data(), score.data(), n);
      // (A NaN's sign and payload depend on the order of an instruction's
      // operands, which the compiler chooses: NaN matches any NaN.)
      for (int i = 0; i < n; ++i) {
        vsp::LogAddInto::apply(want[i], score[i]);
        ASSERT_TRUE(bits(got[i]) == bits(want[i]) || (std::isnan(got[i]) && std::isnan(want[i])))
            << run[i] << " " << score[i];
      }
    }
}

TEST(GaussRows, EveryKernelOfEveryTierFollowsItsOrder) {
  // Full-range 16-bit values reach the limits of the integer products.
  const auto full16 = [](Rng& r) { return r.s16(); };
  sweepKernels<float, float>(101, dataOf<float>, weightOf<float>);
  sweepKernels<double, double>(102, dataOf<double>, weightOf<double>);
  sweepKernels<int16_t, float>(103, full16, full16);
  sweepKernels<int16_t, int64_t>(104, full16, full16);
  logAddLanes<float>(105);
  logAddLanes<double>(106);
}

// ---- The exports ----------------------------------------------------------------------
//
// Each member once: the frames are the matrix, the Gaussian the vector, and
// each frame's score meets its destination by the member's reduction.
// clang-format off
#define WITH_VAR(f, S, D2, D2L, ...) \
  [](auto mat, auto, Vsp32s st, auto x, auto w, Vsp32s n, auto g, auto d, Vsp32s c, [[maybe_unused]] Vsp32s sf) { return f##D2(mat, st, x, w, n, d, c, *g __VA_ARGS__); }, \
  [](auto mat, auto, auto x, auto w, Vsp32s n, auto g, auto d, Vsp32s c, [[maybe_unused]] Vsp32s sf) { return f##D2L(mat, x, w, n, d, c, *g __VA_ARGS__); }, \
  [](auto row, auto, auto x, auto w, Vsp32s n, auto g, Vsp32s sf) { return refScore(Score::S, row, x, w, n, g, sf); }
#define NO_VAR(f, S, D2, D2L, ...) \
  [](auto mat, auto, Vsp32s st, auto x, auto, Vsp32s n, auto g, auto d, Vsp32s c, [[maybe_unused]] Vsp32s sf) { return f##D2(mat, st, x, n, d, c, *g __VA_ARGS__); }, \
  [](auto mat, auto, auto x, auto, Vsp32s n, auto g, auto d, Vsp32s c, [[maybe_unused]] Vsp32s sf) { return f##D2L(mat, x, n, d, c, *g __VA_ARGS__); }, \
  [](auto row, auto, auto x, [[maybe_unused]] auto w, Vsp32s n, auto g, Vsp32s sf) { return refScore(Score::S, row, x, decltype(w)(nullptr), n, g, sf); }
// The store and max members of a variant (M2), and its log-add member (M3).
#define MEMBER(r, R, t, A, ...) {"LogGauss" #r "_" #t, A(vspsLogGauss##r##_##t, __VA_ARGS__), Reduce::R, true, true}
#define M2(t, A, ...) MEMBER(, Store, t, A, __VA_ARGS__), MEMBER(Max, Max, t, A, __VA_ARGS__)
#define M3(t, A, ...) M2(t, A, __VA_ARGS__), MEMBER(Add, Add, t, A, __VA_ARGS__)
const RowMember<float, float> kF32[] = {M3(32f, WITH_VAR, Half, _D2, _D2L), M3(IdVar_32f, NO_VAR, Half, _D2, _D2L)};
const RowMember<double, double> kF64[] = {M3(64f, WITH_VAR, Half, _D2, _D2L), M3(IdVar_64f, NO_VAR, Half, _D2, _D2L)};
const RowMember<int16_t, float> kScaled[] = {M3(Scaled_16s32f, WITH_VAR, Scaled, _D2, _D2L, , sf), M3(LowScaled_16s32f, WITH_VAR, Scaled, _D2, _D2L, , sf),
                                             M3(IdVarScaled_16s32f, NO_VAR, Scaled, _D2, _D2L, , sf), M3(IdVarLowScaled_16s32f, NO_VAR, Scaled, _D2, _D2L, , sf)};
const RowMember<int16_t, int32_t> kInt[] = {M2(16s32s, WITH_VAR, IntClamp, _D2Sfs, _D2LSfs, , sf), M2(Low_16s32s, WITH_VAR, IntLow, _D2Sfs, _D2LSfs, , sf),
                                            M2(IdVar_16s32s, NO_VAR, IntClamp, _D2Sfs, _D2LSfs, , sf), M2(IdVarLow_16s32s, NO_VAR, IntLow, _D2Sfs, _D2LSfs, , sf)};
// clang-format on

TEST(GaussBlock, EveryMemberFollowsTheDefinition) {
  expectRows(201, false, kF32, kF64, kScaled, kInt);
}

// A destination above every score is left as it is; a tie keeps it too,
// down to the sign of a zero (frames of zeros against a mean with one element
// at 10, gConst 50: the score is +0).
TEST(GaussBlock, MaxKeepsTheDestinationOnATie) {
  const float src[8] = {}, mean[] = {10, 0, 0, 0}, var[] = {1, 1, 1, 1};
  float top[] = {1e30f, -0.0f};
  ASSERT_EQ(vspsLogGaussMax_32f_D2(src, 4, mean, var, 4, top, 2, 50.0f), 0);
  EXPECT_TRUE(top[0] == 1e30f && bits(top[1]) == bits(-0.0f));
}

// ---- Checks: step before pointers, then sizes ---------------------------------------------

TEST(GaussBlock, RefusalsStepThenPointersThenSizes) {
  // clang-format off
  expectOrder(Order::StepPtrSize, 4, 2, [](Args& a) { return vspsLogGauss_32f_D2(a.p(0, a.f), a.step, a.p(1, a.f), a.p(2, a.f), a.n[0], a.p(3, a.f), a.n[1], 0); });
  expectOrder(Order::PtrSize, 4, 2, [](Args& a) { return vspsLogGaussAdd_LowScaled_16s32f_D2L(a.p(0, a.sr), a.p(1, a.s), a.p(2, a.s), a.n[0], a.p(3, a.f), a.n[1], 0, 0); });
  // clang-format on
}

}  // namespace
