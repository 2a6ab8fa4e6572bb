// Mixture scoring: the plain members against the fold of block scores and
// against long double; the shortlist members against the single-observation
// kernels with hand-built bit matrices; the 16-bit hit counter; each
// member's order of checks and the shortlist members' allocation failure.

#include "scoring/scoring_support.h"

namespace {

using namespace vsptest;

// ---- Plain members ---------------------------------------------------------------------
//
// A mixture is the ascending fold, by the one-element log-add, of the scores
// of its components in the block form (one component: its score as it is):
// the models are the matrix, the observation the vector.
// clang-format off
#define MIXTURE(t, S, V, R, ...) {"Mixture_" #t, \
  [](auto mat, [[maybe_unused]] auto wts, Vsp32s st, auto x, auto, Vsp32s n, auto g, auto d, Vsp32s c, [[maybe_unused]] Vsp32s sf) { return vspsLogGaussMixture_##t##_D2(x, mat, V c, st, n, g, d __VA_ARGS__); }, \
  [](auto mat, [[maybe_unused]] auto wts, auto x, auto, Vsp32s n, auto g, auto d, Vsp32s c, [[maybe_unused]] Vsp32s sf) { return vspsLogGaussMixture_##t##_D2L(x, mat, V c, n, g, d __VA_ARGS__); }, \
  [](auto row, [[maybe_unused]] auto rw, auto x, auto, Vsp32s n, auto g, Vsp32s sf) { return refScore(Score::S, x, row, R, n, g, sf); }, Reduce::Fold, true, false}
#define WTS wts,
#define NONE decltype(rw)(nullptr)
const RowMember<float, float> kF32[] = {MIXTURE(32f, Half, WTS, rw), MIXTURE(IdVar_32f, Half, , NONE)};
const RowMember<double, double> kF64[] = {MIXTURE(64f, Half, WTS, rw), MIXTURE(IdVar_64f, Half, , NONE)};
const RowMember<int16_t, float> kS16[] = {MIXTURE(Scaled_16s32f, Scaled, WTS, rw, , sf), MIXTURE(IdVarScaled_16s32f, Scaled, , NONE, , sf),
                                          MIXTURE(LowScaled_16s32f, Scaled, WTS, rw, , sf), MIXTURE(IdVarLowScaled_16s32f, Scaled, , NONE, , sf)};
// clang-format on

TEST(GaussMixture, PlainMembersAreTheFoldOfBlockScores) { expectRows(401, true, kF32, kF64, kS16); }

// ---- Shortlists ----------------------------------------------------------------------------

template <class T>
struct Select {
  const char* name;
  VspStatus (*d2)(const T*, const T*, const T*, Vsp32s, Vsp32s, const float*, const Vsp8u*, Vsp32s,
                  float*, Vsp32s, float, Vsp32s);
  VspStatus (*d2l)(const T* const*, const T* const*, const T* const*, Vsp32s, const float*,
                   const Vsp8u*, Vsp32s, float*, Vsp32s, float, Vsp32s);
  VspStatus (*single)(const T*, const T*, const T*, Vsp32s, float*, float, Vsp32s);
};
// clang-format off
#define WITH_V v,
#define SELECT(f, one, V, ...) {#f, \
  [](auto fr, auto m, [[maybe_unused]] auto v, Vsp32s st, Vsp32s w, auto g, auto sl, Vsp32s n, auto d, Vsp32s fc, float none, [[maybe_unused]] Vsp32s sf) { return vspsLogGaussMixture_##f##_D2(fr, m, V st, w, g, sl, n, d, fc, none __VA_ARGS__); }, \
  [](auto fr, auto m, [[maybe_unused]] auto v, Vsp32s w, auto g, auto sl, Vsp32s n, auto d, Vsp32s fc, float none, [[maybe_unused]] Vsp32s sf) { return vspsLogGaussMixture_##f##_D2L(fr, m, V w, g, sl, n, d, fc, none __VA_ARGS__); }, \
  [](auto s, auto m, [[maybe_unused]] auto v, Vsp32s w, float* d, float g, [[maybe_unused]] Vsp32s sf) { return vspsLogGaussSingle_##one(s, m, V w, d, g __VA_ARGS__); }}
const Select<float> kSel32[] = {SELECT(Select_32f, 32f, WITH_V), SELECT(SelectIdVar_32f, IdVar_32f, )};
const Select<int16_t> kSel16[] = {SELECT(SelectScaled_16s32f, Scaled_16s32f, WITH_V, , sf), SELECT(SelectIdVarScaled_16s32f, IdVarScaled_16s32f, , , sf)};
// clang-format on

// Against the procedure written out through the public single-observation
// kernel and the one-element log-add: the first hit of a frame stores, later
// hits log-add, a frame without hits gets noSelectionScore (not the floor).
// The hit counter is 16 bits: it passes through negative values and is back
// at zero after 65536 hits, when the next hit stores again, and a frame left
// at zero counts as one without hits. The shortlist holds one row of
// (count + 7) / 8 bytes per frame, bit m under mask 128 >> (m & 7) of byte
// m / 8. Frame 0 selects nothing, frame 1 a single component, frame 2
// everything, frame 3 the first 40000, the others a random third; frames
// and models share one step.
template <class T, size_t N>
void selectMembers(const Select<T> (&members)[N], uint64_t seed) {
  SCOPED_TRACE(seedTrace(seed));
  Rng rng(seed);
  const int frames = 6, sf = 1;
  const float none = 123.5f;
  for (const Select<T>& mb : members)
    for (int width : {1, 7, 39})
      for (int count : {1, 8, 13, 70, 65536, 65537}) {
        if (count > 70 && width > 1) continue;
        SCOPED_TRACE(testing::Message() << mb.name << " width " << width << " count " << count);
        const int step = width + 2, rowBytes = (count + 7) / 8;
        const Matrix<T> obs(rng, frames, width, step, small<T>),
            means(rng, count, width, step, small<T>), vars(rng, count, width, step, smallWeight<T>);
        std::vector<float> g(count);
        for (auto& x : g) x = float(rng.uniform(-20, 0));
        std::vector<uint8_t> sl(size_t(frames) * rowBytes);
        for (int f = 0; f < frames; ++f)
          for (int m = 0; m < count; ++m)
            if (f == 1 ? m == count / 2 : f == 2 || (f == 3 ? m < 40000 : f && !rng.integer(0, 2)))
              sl[size_t(f) * rowBytes + m / 8] |= uint8_t(128 >> (m & 7));
        Guarded<float> a(frames), b(frames);
        ASSERT_EQ(mb.d2(obs.data(), means.data(), vars.data(), step, width, g.data(), sl.data(),
                        count, a.data(), frames, none, sf) |
                      mb.d2l(obs.rows.data(), means.rows.data(), vars.rows.data(), width, g.data(),
                             sl.data(), count, b.data(), frames, none, sf),
                  vspStatusOk);
        ASSERT_TRUE(a.guardsIntact() && b.guardsIntact());
        for (int f = 0; f < frames; ++f) {
          float want = none, score = 0;
          uint16_t hits = 0;
          for (int m = 0; m < count; ++m)
            if (sl[size_t(f) * rowBytes + m / 8] & (128 >> (m & 7))) {
              mb.single(obs.rows[f], means.rows[m], vars.rows[m], width, &score, g[m], sf);
              want = hits++ ? logAddRef(want, score) : score;
            }
          if (!hits) want = none;
          EXPECT_TRUE(bits(a[f]) == bits(want) && bits(b[f]) == bits(want))
              << "frame " << f << ": " << a[f] << " " << b[f] << " vs " << want;
        }
      }
}

TEST(GaussMixtureSelect, AgainstTheSingleObservationKernels) {
  selectMembers(kSel32, 501);
  selectMembers(kSel16, 502);
}

// ---- Checks --------------------------------------------------------------------------------

// Float and double members check the pointers before the step, 16-bit ones
// the step first; the shortlist members check the sizes before the step, then
// take their counters, and fail cleanly without them.
TEST(GaussMixture, RefusalsInEachMembersOrder) {
  // clang-format off
  expectOrder(Order::PtrStepSize, 5, 2, [](Args& a) { return vspsLogGaussMixture_32f_D2(a.p(0, a.f), a.p(1, a.f), a.p(2, a.f), a.n[1], a.step, a.n[0], a.p(3, a.f), a.p(4, a.f)); });
  expectOrder(Order::StepPtrSize, 5, 2, [](Args& a) { return vspsLogGaussMixture_Scaled_16s32f_D2(a.p(0, a.s), a.p(1, a.s), a.p(2, a.s), a.n[1], a.step, a.n[0], a.p(3, a.f), a.p(4, a.f), 0); });
  expectOrder(Order::PtrSize, 5, 2, [](Args& a) { return vspsLogGaussMixture_32f_D2L(a.p(0, a.f), a.p(1, a.fr), a.p(2, a.fr), a.n[1], a.n[0], a.p(3, a.f), a.p(4, a.f)); });
  expectOrder(Order::PtrSizeStep, 6, 3, [](Args& a) { return vspsLogGaussMixture_Select_32f_D2(a.p(0, a.f), a.p(1, a.f), a.p(2, a.f), a.step, a.n[0], a.p(3, a.f), a.p(4, a.u), a.n[1], a.p(5, a.f), a.n[2], 0); });
  expectOrder(Order::PtrSize, 6, 3, [](Args& a) { return vspsLogGaussMixture_SelectScaled_16s32f_D2L(a.p(0, a.sr), a.p(1, a.sr), a.p(2, a.sr), a.n[0], a.p(3, a.f), a.p(4, a.u), a.n[1], a.p(5, a.f), a.n[2], 0, 0); });
  // clang-format on
  Args a;
  a.out.snapshot();
  const auto call = [&] {
    return vspsLogGaussMixture_Select_32f_D2(a.f, a.f, a.f, 8, 5, a.f, a.u, 3, a.f + 24, 2, 0);
  };
  EXPECT_EQ(
      sweepAllocationFailures(call, [&](int) { EXPECT_TRUE(a.out.unchanged()); }).allocationPoints,
      1);
}

}  // namespace
