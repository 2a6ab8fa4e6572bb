// Mixture scoring: the plain members against the fold of block scores and
// against long double; the shortlist members against the single-observation
// kernels, with hand-built bit matrices; check orders and allocation failure.
#include <cmath>
#include <limits>
#include <type_traits>
#include <vector>

#include "support/harness.h"

namespace {

using namespace vsptest;
using LD = long double;

// ---- Plain members ---------------------------------------------------------------------

// One plain member in both layouts, and the block member that scores one
// component the same way (one frame of height 1).
template <class T, class O>
struct Plain {
  const char* name;
  VspStatus (*d2)(const T*, const T*, const T*, Vsp32s, Vsp32s, Vsp32s, const O*, O*, Vsp32s);
  VspStatus (*d2l)(const T*, const T* const*, const T* const*, Vsp32s, Vsp32s, const O*, O*,
                   Vsp32s);
  VspStatus (*block)(const T*, const T*, const T*, Vsp32s, O*, O, Vsp32s);
  bool hasVar;
};

#define ADAPT(f, blk, V, ...)                                                                \
  [](auto s, auto m, [[maybe_unused]] auto v, Vsp32s n, Vsp32s st, Vsp32s w, auto g, auto d, \
     [[maybe_unused]] Vsp32s sf) { return f##_D2(s, m, V n, st, w, g, d __VA_ARGS__); },     \
      [](auto s, auto m, [[maybe_unused]] auto v, Vsp32s n, Vsp32s w, auto g, auto d,        \
         [[maybe_unused]] Vsp32s sf) { return f##_D2L(s, m, V n, w, g, d __VA_ARGS__); },    \
      [](auto s, auto m, [[maybe_unused]] auto v, Vsp32s w, auto d, auto g,                  \
         [[maybe_unused]] Vsp32s sf) { return blk##_D2(s, w, m, V w, d, 1, g __VA_ARGS__); }
#define WITH_VAR v,
#define NO_VAR

const Plain<float, float> kF32[] = {
    {"32f", ADAPT(vspsLogGaussMixture_32f, vspsLogGauss_32f, WITH_VAR), true},
    {"IdVar_32f", ADAPT(vspsLogGaussMixture_IdVar_32f, vspsLogGauss_IdVar_32f, NO_VAR), false},
};
const Plain<double, double> kF64[] = {
    {"64f", ADAPT(vspsLogGaussMixture_64f, vspsLogGauss_64f, WITH_VAR), true},
    {"IdVar_64f", ADAPT(vspsLogGaussMixture_IdVar_64f, vspsLogGauss_IdVar_64f, NO_VAR), false},
};
const Plain<int16_t, float> kScaled[] = {
    {"Scaled", ADAPT(vspsLogGaussMixture_Scaled_16s32f, vspsLogGauss_Scaled_16s32f, WITH_VAR, , sf),
     true},
    {"IdVarScaled",
     ADAPT(vspsLogGaussMixture_IdVarScaled_16s32f, vspsLogGauss_IdVarScaled_16s32f, NO_VAR, , sf),
     false},
    {"LowScaled",
     ADAPT(vspsLogGaussMixture_LowScaled_16s32f, vspsLogGauss_LowScaled_16s32f, WITH_VAR, , sf),
     true},
    {"IdVarLowScaled",
     ADAPT(vspsLogGaussMixture_IdVarLowScaled_16s32f, vspsLogGauss_IdVarLowScaled_16s32f, NO_VAR, ,
           sf),
     false},
};

float logAdd(float run, float score) {
  vspsLogAdd_32f(&score, &run, 1, vspHintDefault);
  return run;
}
double logAdd(double run, double score) {
  vspsLogAdd_64f(&score, &run, 1, vspHintDefault);
  return run;
}

template <class T>
T sample(Rng& rng, bool weight) {
  if constexpr (sizeof(T) == 2) return T(weight ? rng.integer(1, 4) : rng.integer(-20, 20));
  return T(weight ? rng.uniform(0.2, 2) : rng.uniform(-2, 2));
}

// The mixture is the ascending fold, by the one-element log-add, of the
// block scores of its components (one component: its score as it is): bit
// for bit, in both layouts, across the
// batch of 64 components, for rows that start at every offset from a 16-byte
// boundary. Gaps hold NaN (or a large integer) and must never be read.
template <class T, class O>
void plainMembers(const Plain<T, O>* members, size_t n, uint64_t seed) {
  SCOPED_TRACE(seedTrace(seed));
  Rng rng(seed);
  const int sf = 2;
  for (size_t k = 0; k < n; ++k) {
    const Plain<T, O>& mb = members[k];
    SCOPED_TRACE(mb.name);
    for (int width : {1, 8, 13, 39})
      for (int count : {1, 2, 5, 64, 67})
        for (int gap : {0, 1, 3}) {
          SCOPED_TRACE(testing::Message()
                       << "width " << width << " count " << count << " gap " << gap);
          const int step = width + gap;
          const T filler =
              std::is_floating_point_v<T> ? std::numeric_limits<T>::quiet_NaN() : T(30000);
          std::vector<T> means(size_t(count) * step, filler), vars(means.size(), filler);
          std::vector<T> src(width);
          std::vector<O> g(count);
          for (int c = 0; c < count; ++c)
            for (int i = 0; i < width; ++i)
              means[size_t(c) * step + i] = sample<T>(rng, false),
                                       vars[size_t(c) * step + i] = sample<T>(rng, true);
          for (auto& x : src) x = sample<T>(rng, false);
          for (auto& x : g) x = O(rng.uniform(-30, 0));
          std::vector<const T*> mr(count), vr(count);
          for (int c = 0; c < count; ++c)
            mr[c] = &means[size_t(c) * step], vr[c] = &vars[size_t(c) * step];
          O a = O(-1), b = O(-2);
          ASSERT_EQ(
              mb.d2(src.data(), means.data(), vars.data(), count, step, width, g.data(), &a, sf),
              0);
          ASSERT_EQ(mb.d2l(src.data(), mr.data(), vr.data(), count, width, g.data(), &b, sf), 0);
          O run = 0;
          LD exact = -INFINITY;
          for (int c = 0; c < count; ++c) {
            O score = 0;
            ASSERT_EQ(mb.block(src.data(), mr[c], vr[c], width, &score, g[c], sf), 0);
            run = c == 0 ? score : logAdd(run, score);
            exact = c == 0 ? LD(score)
                           : std::max(exact, LD(score)) + log1pl(expl(-fabsl(exact - score)));
          }
          EXPECT_EQ(bits(a), bits(run));
          EXPECT_EQ(bits(b), bits(a));
          // And the fold itself is a log-sum, to the polynomials' accuracy.
          // Per step: the narrowing, the polynomial, and past the cut-off the
          // dropped term (below e^-15.3 or e^-23).
          const double tol = count * (sizeof(O) == 4 ? 2e-7 * std::fabs(double(run)) + 3e-7
                                                     : 1e-13 * std::fabs(double(run)) + 1e-10);
          EXPECT_NEAR(double(a), double(exact), tol);
        }
  }
}

TEST(GaussMixture, Float32IsTheFoldOfBlockScores) { plainMembers(kF32, 2, 401); }
TEST(GaussMixture, Float64IsTheFoldOfBlockScores) { plainMembers(kF64, 2, 402); }
TEST(GaussMixture, ScaledIsTheFoldOfBlockScores) { plainMembers(kScaled, 4, 403); }

// Float and double members check pointers before the step; the 16-bit ones
// the step first. Both check the sizes last.
TEST(GaussMixture, CheckOrders) {
  const float f[4] = {}, g[2] = {};
  float d = 7;
  const int16_t s[4] = {};
  const float* rows[2] = {f, f};
  const int16_t* srows[2] = {s, s};
  EXPECT_EQ(vspsLogGaussMixture_32f_D2(nullptr, f, f, 2, 1, 2, g, &d), vspStatusNullPointer);
  EXPECT_EQ(vspsLogGaussMixture_32f_D2(f, f, f, 2, 1, 2, g, &d), vspStatusBadStep);
  EXPECT_EQ(vspsLogGaussMixture_32f_D2(f, f, f, 0, 1, 2, g, &d), vspStatusBadStep);
  EXPECT_EQ(vspsLogGaussMixture_32f_D2(f, f, nullptr, 0, 1, 2, g, &d), vspStatusNullPointer);
  EXPECT_EQ(vspsLogGaussMixture_32f_D2(f, f, f, 0, 2, 2, g, &d), vspStatusBadSize);
  EXPECT_EQ(vspsLogGaussMixture_IdVar_64f_D2(nullptr, nullptr, 2, 1, 2, nullptr, nullptr),
            vspStatusNullPointer);
  EXPECT_EQ(vspsLogGaussMixture_Scaled_16s32f_D2(nullptr, s, s, 2, 1, 2, g, &d, 0),
            vspStatusBadStep);
  EXPECT_EQ(vspsLogGaussMixture_IdVarLowScaled_16s32f_D2(s, s, 2, 2, 2, nullptr, &d, 0),
            vspStatusNullPointer);
  EXPECT_EQ(vspsLogGaussMixture_LowScaled_16s32f_D2(s, s, s, 2, 2, 0, g, &d, 0), vspStatusBadSize);
  EXPECT_EQ(vspsLogGaussMixture_32f_D2L(f, rows, nullptr, 0, 2, g, &d), vspStatusNullPointer);
  EXPECT_EQ(vspsLogGaussMixture_32f_D2L(f, rows, rows, 2, 0, g, &d), vspStatusBadSize);
  EXPECT_EQ(vspsLogGaussMixture_IdVarScaled_16s32f_D2L(s, srows, -1, 2, g, &d, 0),
            vspStatusBadSize);
  EXPECT_EQ(d, 7.0f);
}

// ---- Shortlists ----------------------------------------------------------------------------

// A hand-built bit matrix: one row of (count + 7) / 8 bytes per frame, bit m
// under mask 128 >> (m & 7) of byte m / 8.
struct Shortlist {
  int count, frames;
  std::vector<uint8_t> bytes;
  Shortlist(int c, int f) : count(c), frames(f), bytes(size_t(f) * ((c + 7) / 8), 0) {}
  void set(int frame, int m) {
    bytes[size_t(frame) * ((count + 7) / 8) + m / 8] |= uint8_t(128 >> (m & 7));
  }
  bool get(int frame, int m) const {
    return bytes[size_t(frame) * ((count + 7) / 8) + m / 8] & (128 >> (m & 7));
  }
};

template <class T>
struct Select {
  const char* name;
  VspStatus (*d2)(const T*, const T*, const T*, Vsp32s, Vsp32s, const float*, const Vsp8u*, Vsp32s,
                  float*, Vsp32s, float, Vsp32s);
  VspStatus (*d2l)(const T* const*, const T* const*, const T* const*, Vsp32s, const float*,
                   const Vsp8u*, Vsp32s, float*, Vsp32s, float, Vsp32s);
  VspStatus (*single)(const T*, const T*, const T*, Vsp32s, float*, float, Vsp32s);
  bool hasVar;
};

#define SELECT(f, one, V, ...)                                                                  \
  [](auto fr, auto m, [[maybe_unused]] auto v, Vsp32s st, Vsp32s w, auto g, auto sl, Vsp32s n,  \
     auto d, Vsp32s fc, float none, [[maybe_unused]] Vsp32s sf) {                               \
    return f##_D2(fr, m, V st, w, g, sl, n, d, fc, none __VA_ARGS__);                           \
  },                                                                                            \
      [](auto fr, auto m, [[maybe_unused]] auto v, Vsp32s w, auto g, auto sl, Vsp32s n, auto d, \
         Vsp32s fc, float none, [[maybe_unused]] Vsp32s sf) {                                   \
        return f##_D2L(fr, m, V w, g, sl, n, d, fc, none __VA_ARGS__);                          \
      },                                                                                        \
      [](auto s, auto m, [[maybe_unused]] auto v, Vsp32s w, float* d, float g,                  \
         [[maybe_unused]] Vsp32s sf) { return one(s, m, V w, d, g __VA_ARGS__); }

const Select<float> kSel32[] = {
    {"Select_32f", SELECT(vspsLogGaussMixture_Select_32f, vspsLogGaussSingle_32f, WITH_VAR), true},
    {"SelectIdVar_32f",
     SELECT(vspsLogGaussMixture_SelectIdVar_32f, vspsLogGaussSingle_IdVar_32f, NO_VAR), false},
};
const Select<int16_t> kSel16[] = {
    {"SelectScaled",
     SELECT(vspsLogGaussMixture_SelectScaled_16s32f, vspsLogGaussSingle_Scaled_16s32f, WITH_VAR, ,
            sf),
     true},
    {"SelectIdVarScaled",
     SELECT(vspsLogGaussMixture_SelectIdVarScaled_16s32f, vspsLogGaussSingle_IdVarScaled_16s32f,
            NO_VAR, , sf),
     false},
};

// Frames and models share one stepped layout (models first, then frames).
template <class T>
struct SelectData {
  int width, step, count, frames;
  std::vector<T> models, vars, obs;
  std::vector<float> g;
  SelectData(Rng& rng, int w, int st, int c, int f)
      : width(w),
        step(st),
        count(c),
        frames(f),
        models(size_t(c) * st),
        vars(models.size()),
        obs(size_t(f) * st),
        g(c) {
    for (auto& x : models) x = sample<T>(rng, false);
    for (auto& x : vars) x = sample<T>(rng, true);
    for (auto& x : obs) x = sample<T>(rng, false);
    for (auto& x : g) x = float(rng.uniform(-20, 0));
  }
  const T* model(int m) const { return &models[size_t(m) * step]; }
  const T* var(int m) const { return &vars[size_t(m) * step]; }
  const T* frame(int f) const { return &obs[size_t(f) * step]; }
};

// The procedure written out, through the public single-observation kernel and
// the one-element log-add: the first hit stores, later hits log-add, a frame
// without hits gets noSelectionScore.
template <class T>
std::vector<float> selectRef(const Select<T>& mb, const SelectData<T>& d, const Shortlist& sl,
                             float none, int sf) {
  std::vector<float> out(d.frames, none);
  for (int f = 0; f < d.frames; ++f) {
    bool any = false;
    for (int m = 0; m < d.count; ++m) {
      if (!sl.get(f, m)) continue;
      float score = 0;
      mb.single(d.frame(f), d.model(m), d.var(m), d.width, &score, d.g[m], sf);
      out[f] = any ? logAdd(out[f], score) : score;
      any = true;
    }
  }
  return out;
}

template <class T>
void selectMembers(const Select<T>* members, size_t n, uint64_t seed) {
  SCOPED_TRACE(seedTrace(seed));
  Rng rng(seed);
  const int sf = 1;
  const float none = 123.5f;  // not the floor: a frame without hits gets exactly this
  for (size_t k = 0; k < n; ++k) {
    const Select<T>& mb = members[k];
    SCOPED_TRACE(mb.name);
    for (int width : {1, 7, 39})
      for (int count : {1, 8, 13, 70}) {
        const int frames = 6, step = width + 2;
        SelectData<T> d(rng, width, step, count, frames);
        Shortlist sl(count, frames);
        // Frame 0 selects nothing, frame 1 a single component, frame 2
        // everything, the others a random third.
        sl.set(1, count / 2);
        for (int m = 0; m < count; ++m) sl.set(2, m);
        for (int f = 3; f < frames; ++f)
          for (int m = 0; m < count; ++m)
            if (rng.integer(0, 2) == 0) sl.set(f, m);
        const std::vector<float> want = selectRef(mb, d, sl, none, sf);
        Guarded<float> a(frames), b(frames);
        std::vector<const T*> fr(frames), mr(count), vr(count);
        for (int f = 0; f < frames; ++f) fr[f] = d.frame(f);
        for (int m = 0; m < count; ++m) mr[m] = d.model(m), vr[m] = d.var(m);
        ASSERT_EQ(mb.d2(d.obs.data(), d.models.data(), d.vars.data(), step, width, d.g.data(),
                        sl.bytes.data(), count, a.data(), frames, none, sf),
                  vspStatusOk);
        ASSERT_EQ(mb.d2l(fr.data(), mr.data(), vr.data(), width, d.g.data(), sl.bytes.data(), count,
                         b.data(), frames, none, sf),
                  vspStatusOk);
        ASSERT_TRUE(a.guardsIntact() && b.guardsIntact());
        for (int f = 0; f < frames; ++f) {
          EXPECT_EQ(bits(a[f]), bits(want[f]))
              << "width " << width << " count " << count << " frame " << f;
          EXPECT_EQ(bits(b[f]), bits(a[f]));
        }
        EXPECT_EQ(a[0], none);
        float single = 0;
        mb.single(d.frame(1), d.model(count / 2), d.var(count / 2), width, &single, d.g[count / 2],
                  sf);
        EXPECT_EQ(bits(a[1]), bits(single));
      }
  }
}

TEST(GaussMixtureSelect, Float32AgainstTheSingleObservationKernel) {
  selectMembers(kSel32, 2, 501);
}
TEST(GaussMixtureSelect, ScaledAgainstTheSingleObservationKernel) { selectMembers(kSel16, 2, 502); }

// The per-frame hit counter is 16 bits: it passes through negative values
// and is back at zero after 65536 hits, when the next hit stores its score
// instead of adding it, and a frame left at zero gets noSelectionScore.
TEST(GaussMixtureSelect, SixteenBitHitCounter) {
  const int count = 65537;
  std::vector<float> mean(count), var(count, 1.0f), g(count);
  for (int m = 0; m < count; ++m) mean[m] = float(m % 97) * 0.25f, g[m] = -float(m % 13);
  const float frame = 3.0f;
  Shortlist all(count, 1);
  for (int m = 0; m < count; ++m) all.set(0, m);
  auto score = [&](int m) {
    float s = 0;
    vspsLogGaussSingle_32f(&frame, &mean[m], &var[m], 1, &s, g[m]);
    return s;
  };
  float dst = 0;
  for (int used : {40000, 65536, 65537}) {
    ASSERT_EQ(vspsLogGaussMixture_Select_32f_D2(&frame, mean.data(), var.data(), 1, 1, g.data(),
                                                all.bytes.data(), used, &dst, 1, -7.0f),
              vspStatusOk);
    if (used == 40000) {
      float run = score(0);
      for (int m = 1; m < used; ++m) run = logAdd(run, score(m));
      EXPECT_EQ(bits(dst), bits(run));
    } else if (used == 65536) {
      EXPECT_EQ(dst, -7.0f);
    } else {
      EXPECT_EQ(bits(dst), bits(score(65536)));
    }
  }
}

struct SelectCall {
  std::vector<float> data = std::vector<float>(16, 1.0f), g = std::vector<float>(2, 0.0f);
  std::vector<uint8_t> sl = std::vector<uint8_t>(2, 0xC0);
  std::vector<float> dstStore = std::vector<float>(2, 5.0f);
  const float *frames = data.data(), *means = data.data(), *vars = data.data(), *gc = g.data();
  const uint8_t* list = sl.data();
  float* dst = dstStore.data();
  Vsp32s step = 4, width = 3, count = 2, frameCount = 2;
  OutputWatch out;
  SelectCall() { out.watch(dst, 2 * sizeof(float)); }
  VspStatus call() {
    return vspsLogGaussMixture_Select_32f_D2(frames, means, vars, step, width, gc, list, count, dst,
                                             frameCount, 0.0f);
  }
};

TEST(GaussMixtureSelect, RefusalsPointersSizesStepThenMemory) {
  using F = SelectCall;
  expectRefusals<F>({
      {"null frames", [](F& f) { f.frames = nullptr; }, vspStatusNullPointer},
      {"null vars", [](F& f) { f.vars = nullptr; }, vspStatusNullPointer},
      {"null constants", [](F& f) { f.gc = nullptr; }, vspStatusNullPointer},
      {"null shortlist", [](F& f) { f.list = nullptr; }, vspStatusNullPointer},
      {"null dst, bad step", [](F& f) { f.dst = nullptr, f.step = 1; }, vspStatusNullPointer},
      {"no width", [](F& f) { f.width = 0; }, vspStatusBadSize},
      {"no components", [](F& f) { f.count = 0; }, vspStatusBadSize},
      {"no frames, bad step", [](F& f) { f.frameCount = -1, f.step = 1; }, vspStatusBadSize},
      {"step below width", [](F& f) { f.step = 2; }, vspStatusBadStep},
  });
  F f;
  f.out.snapshot();
  const SweepResult r = sweepAllocationFailures([&] { return f.call(); },
                                                [&](int) { EXPECT_TRUE(f.out.unchanged()); });
  EXPECT_EQ(r.allocationPoints, 1);
  EXPECT_EQ(r.finalStatus, vspStatusOk);
}

}  // namespace
