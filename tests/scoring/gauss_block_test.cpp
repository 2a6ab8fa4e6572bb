// Frame-block Gaussian evaluation: the four-rows-per-pass kernels of every
// tier against the scalar definition of their order, every export against
// that definition and the single-observation kernels, the two layouts, the
// unusual check order and the integer saturation order.
#include <cmath>
#include <algorithm>
#include <limits>
#include <type_traits>
#include <vector>

#include "scoring/gauss_block.h"
#include "scoring/rows_reference.h"
#include "support/harness.h"

namespace {

using namespace vsptest;

// ---- The row kernels of every tier --------------------------------------------------
//
// Nine rows (two groups of four and one left over) stepped through a matrix
// whose rows start at every offset from a 16-byte boundary, against a shared
// vector that does too: rows of one mixture then have different plans.

template <class In>
In randomIn(Rng& rng) {
  if constexpr (sizeof(In) == 2)
    return rng.s16();
  else
    return In(rng.uniform(-4, 4));
}

template <class In, class Acc>
void sweepRowKernels(uint64_t seed) {
  SCOPED_TRACE(seedTrace(seed));
  Rng rng(seed);
  const int rows = 9;
  for (int width : lengthsAround(8))
    for (int gap : {0, 1, 3})
      for (int shift : {0, 1, 2, 3})
        for (bool sharedSrc : {false, true})
          for (bool hasVar : {true, false}) {
            SCOPED_TRACE(testing::Message()
                         << "width " << width << " gap " << gap << " shift " << shift
                         << (sharedSrc ? " shared src" : " shared model")
                         << (hasVar ? "" : " no var"));
            const int step = width + gap;
            Guarded<In> mat(size_t(rows) * step + 3, shift * sizeof(In));
            Guarded<In> mat2(size_t(rows) * step + 3, shift * sizeof(In));
            Guarded<In> one(size_t(width), ((shift + 1) % 4) * sizeof(In));
            Guarded<In> two(size_t(width), shift * sizeof(In));
            for (size_t i = 0; i < mat.size(); ++i)
              mat[i] = randomIn<In>(rng), mat2[i] = randomIn<In>(rng);
            for (int i = 0; i < width; ++i) one[i] = randomIn<In>(rng), two[i] = randomIn<In>(rng);
            std::vector<const In*> a(rows), b(rows);
            for (int r = 0; r < rows; ++r)
              a[r] = mat.data() + r * step, b[r] = mat2.data() + r * step;
            const In* s1 = one.data();
            const In* m1 = two.data();
            // Shared model: frames a against (one, two); shared source: one
            // against the models (a, b).
            const In* const* src = sharedSrc ? &s1 : a.data();
            const In* const* mean = sharedSrc ? a.data() : &s1;
            const In* const* var = hasVar ? (sharedSrc ? b.data() : &m1) : nullptr;
            std::vector<Acc> init(rows), out(rows);
            const bool aligned = sizeof(In) != 2;
            for (auto& x : init) x = aligned ? Acc(rng.uniform(-50, 50)) : Acc(0);
            for (vsp::Tier tier : hostTiers()) {
              SCOPED_TRACE(tierName(tier));
              std::fill(out.begin(), out.end(), Acc(-1));
              vsp::RowBatch<In, Acc> batch{src,  mean,  var,       init.data(), out.data(),
                                           rows, width, sharedSrc, !sharedSrc};
              vsp::rowSums(tier, batch);
              for (int r = 0; r < rows; ++r) {
                const In* sr = src[sharedSrc ? 0 : r];
                const In* mr = mean[sharedSrc ? r : 0];
                const In* vr = var ? var[sharedSrc ? r : 0] : nullptr;
                if constexpr (std::is_integral_v<Acc>) {
                  ASSERT_EQ(out[r], rowSumRef16(sr, mr, vr, width)) << "row " << r;
                } else {
                  const Acc want = rowAccRef<Acc>(sr, mr, vr, width, init[r], aligned, aligned);
                  ASSERT_EQ(bits(out[r]), bits(want))
                      << "row " << r << ": " << out[r] << " vs " << want;
                }
              }
            }
          }
}

TEST(GaussRows, Float32EveryTierFollowsTheDefinedOrder) { sweepRowKernels<float, float>(101); }
TEST(GaussRows, Float64EveryTierFollowsTheDefinedOrder) { sweepRowKernels<double, double>(102); }
TEST(GaussRows, Int16ToFloatEveryTierFollowsTheDefinedOrder) {
  sweepRowKernels<int16_t, float>(103);
}
TEST(GaussRows, Int16ExactSumsOnEveryTier) { sweepRowKernels<int16_t, int64_t>(104); }

// The vectorised log-add of a row of scores into a row of running values is
// the scalar pair step in every lane: differences over every interval and
// past the cut-off, floors, ties, signed zeros, infinities and NaN.
template <class T>
void logAddLanes(uint64_t seed) {
  SCOPED_TRACE(seedTrace(seed));
  Rng rng(seed);
  const T nan = std::numeric_limits<T>::quiet_NaN(), inf = std::numeric_limits<T>::infinity();
  std::vector<T> run, score;
  for (int i = 0; i < 3000; ++i) {
    const T base = T(rng.uniform(-100, 100));
    run.push_back(base);
    score.push_back(T(base + rng.uniform(-30, 30)));
  }
  const T edge[][2] = {{0, 0},           {T(-0.0), 0},   {-1e7, -2e7},     {-9.5e9, -5e10},
                       {-9.1e9, -9.1e9}, {nan, 1},       {1, nan},         {inf, 1},
                       {-inf, -inf},     {-4.5e6, -1e7}, {3, T(3 - 2.55)}, {3, T(3 - 6.8)}};
  for (auto& e : edge) run.push_back(e[0]), score.push_back(e[1]);
  for (int n : {1, 3, 4, 7, 8, 9, int(run.size())})
    for (vsp::Tier tier : hostTiers()) {
      SCOPED_TRACE(testing::Message() << tierName(tier) << " n " << n);
      std::vector<T> got(run.begin(), run.begin() + n), want = got;
      vsp::LogAddInto::batch(tier, got.data(), score.data(), n);
      for (int i = 0; i < n; ++i) vsp::LogAddInto::apply(want[i], score[i]);
      // (A NaN's sign and payload depend on the order of an instruction's
      // operands, which the compiler chooses: NaN matches any NaN.)
      for (int i = 0; i < n; ++i) {
        if (std::isnan(got[i]) && std::isnan(want[i])) continue;
        ASSERT_EQ(bits(got[i]), bits(want[i])) << run[i] << " " << score[i];
      }
    }
}
TEST(GaussRows, LogAddLanesAreTheScalarStep) {
  logAddLanes<float>(105);
  logAddLanes<double>(106);
}

// ---- The exports ----------------------------------------------------------------------
//
// Each member is described once: its two layouts (adapted to one signature),
// how its score is formed and how it meets the destination.

enum class Reduce { Store, Max, Add };
enum class Score { Half, Scaled, LowScaled, IntClamp, IntLow };

template <class T, class O>
struct Member {
  const char* name;
  VspStatus (*d2)(const T*, Vsp32s, const T*, const T*, Vsp32s, O*, Vsp32s, O, Vsp32s);
  VspStatus (*d2l)(const T* const*, const T*, const T*, Vsp32s, O*, Vsp32s, O, Vsp32s);
  Reduce reduce;
  Score score;
  bool hasVar;
};

// Adapters to the common signature: with or without var, with or without a
// scale factor (named "Sfs" in the integer members only).
#define ADAPT(D2, D2L, ...)                                                                  \
  [](auto s, Vsp32s st, auto m, [[maybe_unused]] auto v, Vsp32s w, auto d, Vsp32s h, auto g, \
     [[maybe_unused]] Vsp32s sf) { return D2(s, st, m, __VA_ARGS__); },                      \
      [](auto s, auto m, [[maybe_unused]] auto v, Vsp32s w, auto d, Vsp32s h, auto g,        \
         [[maybe_unused]] Vsp32s sf) { return D2L(s, m, __VA_ARGS__); }
#define VAR(f) ADAPT(f##_D2, f##_D2L, v, w, d, h, g)
#define NOVAR(f) ADAPT(f##_D2, f##_D2L, w, d, h, g)
#define VAR_S(f) ADAPT(f##_D2, f##_D2L, v, w, d, h, g, sf)
#define NOVAR_S(f) ADAPT(f##_D2, f##_D2L, w, d, h, g, sf)
#define VAR_SF(f) ADAPT(f##_D2Sfs, f##_D2LSfs, v, w, d, h, g, sf)
#define NOVAR_SF(f) ADAPT(f##_D2Sfs, f##_D2LSfs, w, d, h, g, sf)

// A member of the store and max families (M2), and of the log-add one (M3).
#define M2(v, A, score, var)                                           \
  {"LogGauss_" #v, A(vspsLogGauss_##v), Reduce::Store, score, var}, {  \
    "LogGaussMax_" #v, A(vspsLogGaussMax_##v), Reduce::Max, score, var \
  }
#define M3(v, A, score, var) \
  M2(v, A, score, var), { "LogGaussAdd_" #v, A(vspsLogGaussAdd_##v), Reduce::Add, score, var }

const Member<float, float> kF32[] = {M3(32f, VAR, Score::Half, true),
                                     M3(IdVar_32f, NOVAR, Score::Half, false)};
const Member<double, double> kF64[] = {M3(64f, VAR, Score::Half, true),
                                       M3(IdVar_64f, NOVAR, Score::Half, false)};
const Member<int16_t, float> kScaled[] = {
    M3(Scaled_16s32f, VAR_S, Score::Scaled, true),
    M3(LowScaled_16s32f, VAR_S, Score::LowScaled, true),
    M3(IdVarScaled_16s32f, NOVAR_S, Score::Scaled, false),
    M3(IdVarLowScaled_16s32f, NOVAR_S, Score::LowScaled, false)};
const Member<int16_t, int32_t> kInt[] = {M2(16s32s, VAR_SF, Score::IntClamp, true),
                                         M2(Low_16s32s, VAR_SF, Score::IntLow, true),
                                         M2(IdVar_16s32s, NOVAR_SF, Score::IntClamp, false),
                                         M2(IdVarLow_16s32s, NOVAR_SF, Score::IntLow, false)};

using vsptest::bits;  // (a using-directive alone would be hidden by the overload below)
uint32_t bits(int32_t v) { return uint32_t(v); }

// The score of one row by the scalar definitions.
template <class T, class O>
O refScore(Score kind, const T* s, const T* m, const T* v, int w, O g, int sf) {
  if constexpr (std::is_integral_v<O>) {
    const int64_t shifted = shiftRef(rowSumRef16(s, m, v, w), int64_t(sf) + 1);
    return kind == Score::IntClamp ? wrap32(int64_t(g) - clamp32(shifted))
                                   : wrap32(int64_t(g) - shifted);
  } else if constexpr (sizeof(T) == 2) {
    const float sum = rowAccRef<float>(s, m, v, w, 0.0f, false, false);
    const float factor =
        kind == Score::Scaled ? std::ldexp(1.0f, -(sf + 1)) : std::ldexp(1.0f, -sf) * 0.5f;
    return g - sum * factor;
  } else {
    return O(0.5) * rowAccRef<O>(s, m, v, w, g + g, true, true);
  }
}
float logAddRef(float dst, float score) {
  vspsLogAdd_32f(&score, &dst, 1, vspHintDefault);
  return dst;
}
double logAddRef(double dst, double score) {
  vspsLogAdd_64f(&score, &dst, 1, vspHintDefault);
  return dst;
}
template <class O>
O refReduce(Reduce r, O dst, O score) {
  if (r == Reduce::Store) return score;
  if (r == Reduce::Max) return score > dst ? score : dst;
  if constexpr (std::is_floating_point_v<O>) return logAddRef(dst, score);
  return dst;
}

template <class T>
T randomData(Rng& rng) {
  if constexpr (sizeof(T) == 2)
    return T(rng.integer(-300, 300));
  else
    return T(rng.uniform(-3, 3));
}
template <class T>
T randomVar(Rng& rng) {
  if constexpr (sizeof(T) == 2)
    return T(rng.integer(1, 40));
  else
    return T(std::exp(rng.uniform(-4, 4)));  // magnitudes that make the order show
}
template <class T>
T gapValue() {
  if constexpr (std::is_floating_point_v<T>) return std::numeric_limits<T>::quiet_NaN();
  return T(12345);
}

// Every member of a table, both layouts, against the scalar definition, over
// widths, heights (across the batch of 64 rows), gaps and alignments. The
// gaps of the stepped matrix hold NaN (or a large integer), so reading one
// shows; the destination sits between guard zones.
template <class T, class O>
void exportsFollowTheDefinition(const Member<T, O>* members, size_t count, uint64_t seed) {
  SCOPED_TRACE(seedTrace(seed));
  Rng rng(seed);
  const int sf = 3;
  for (size_t k = 0; k < count; ++k) {
    const Member<T, O>& mb = members[k];
    SCOPED_TRACE(mb.name);
    for (int width : {1, 3, 8, 9, 13, 39, 66, 257})
      for (int height : {1, 5, 67})
        for (int gap : {0, 3})
          for (int shift : {0, 1}) {
            SCOPED_TRACE(testing::Message() << "width " << width << " height " << height << " gap "
                                            << gap << " shift " << shift);
            const int step = width + gap;
            Guarded<T> src(size_t(height) * step, shift * sizeof(T));
            Guarded<T> mean(width, (1 - shift) * sizeof(T)), var(width, shift * sizeof(T));
            for (int f = 0; f < height; ++f)
              for (int i = 0; i < step; ++i)
                src[size_t(f) * step + i] = i < width ? randomData<T>(rng) : gapValue<T>();
            for (int i = 0; i < width; ++i)
              mean[i] = randomData<T>(rng), var[i] = randomVar<T>(rng);
            const O g = O(rng.integer(-50, 50));
            std::vector<O> start(height);
            for (auto& x : start) x = O(rng.integer(-200, 100));
            Guarded<O> d2(height), d2l(height);
            std::vector<const T*> rows(height);
            for (int f = 0; f < height; ++f) rows[f] = src.data() + size_t(f) * step;
            for (int f = 0; f < height; ++f) d2[f] = d2l[f] = start[f];
            const T* v = mb.hasVar ? var.data() : nullptr;
            ASSERT_EQ(
                mb.d2(src.data(), step, mean.data(), var.data(), width, d2.data(), height, g, sf),
                vspStatusOk);
            ASSERT_EQ(
                mb.d2l(rows.data(), mean.data(), var.data(), width, d2l.data(), height, g, sf),
                vspStatusOk);
            ASSERT_TRUE(d2.guardsIntact() && d2l.guardsIntact());
            for (int f = 0; f < height; ++f) {
              const O want = refReduce(mb.reduce, start[f],
                                       refScore(mb.score, rows[f], mean.data(), v, width, g, sf));
              ASSERT_EQ(bits(d2[f]), bits(want))
                  << "frame " << f << ": " << d2[f] << " vs " << want;
              ASSERT_EQ(bits(d2l[f]), bits(d2[f])) << "frame " << f;
            }
          }
  }
}

TEST(GaussBlock, Float32MembersFollowTheDefinition) { exportsFollowTheDefinition(kF32, 6, 201); }
TEST(GaussBlock, Float64MembersFollowTheDefinition) { exportsFollowTheDefinition(kF64, 6, 202); }
TEST(GaussBlock, ScaledMembersFollowTheDefinition) { exportsFollowTheDefinition(kScaled, 12, 203); }
TEST(GaussBlock, IntegerMembersFollowTheDefinition) { exportsFollowTheDefinition(kInt, 8, 204); }

// ---- Against the single-observation kernels, row by row --------------------------------

TEST(GaussBlock, AgreesWithTheSingleObservationKernels) {
  Rng rng(301);
  SCOPED_TRACE(seedTrace(301));
  const int w = 39, h = 7;
  std::vector<float> src(w * h), mean(w), var(w), blk(h);
  std::vector<int16_t> s16(w * h), m16(w), v16(w);
  for (auto& x : src) x = rng.uniformf(-5, 5);
  for (int i = 0; i < w; ++i) mean[i] = rng.uniformf(-1, 1), var[i] = rng.uniformf(0.2f, 3);
  for (auto& x : s16) x = rng.s16(-2000, 2000);
  for (int i = 0; i < w; ++i) m16[i] = rng.s16(-500, 500), v16[i] = rng.s16(1, 30);
  const float g = -31.25f;
  ASSERT_EQ(vspsLogGauss_32f_D2(src.data(), w, mean.data(), var.data(), w, blk.data(), h, g), 0);
  std::vector<float> sc(h), lsc(h), sgl(h), lsgl(h);
  for (int sf : {-3, 0, 5}) {
    vspsLogGauss_Scaled_16s32f_D2(s16.data(), w, m16.data(), v16.data(), w, sc.data(), h, g, sf);
    vspsLogGauss_LowScaled_16s32f_D2(s16.data(), w, m16.data(), v16.data(), w, lsc.data(), h, g,
                                     sf);
    std::vector<int32_t> i32(h);
    vspsLogGauss_16s32s_D2Sfs(s16.data(), w, m16.data(), v16.data(), w, i32.data(), h, -7, sf + 8);
    for (int f = 0; f < h; ++f) {
      float one = 0, low = 0;
      int32_t i1 = 0;
      vspsLogGaussSingle_Scaled_16s32f(&s16[f * w], m16.data(), v16.data(), w, &one, g, sf);
      vspsLogGaussSingle_LowScaled_16s32f(&s16[f * w], m16.data(), v16.data(), w, &low, g, sf);
      vspsLogGaussSingle_16s32s_Sfs(&s16[f * w], m16.data(), v16.data(), w, &i1, -7, sf + 8);
      // The same sum and the same factor (sum * 0.5 * 2^-sf equals
      // sum * (2^-sf * 0.5) exactly while nothing underflows).
      EXPECT_EQ(bits(sc[f]), bits(one)) << f;
      EXPECT_EQ(bits(lsc[f]), bits(low)) << f;
      EXPECT_EQ(i32[f], i1) << f;  // no saturation: the two orders agree
    }
  }
  // The float block score starts at 2 * gConst: it differs from the single
  // form only by rounding.
  for (int f = 0; f < h; ++f) {
    float one = 0;
    vspsLogGaussSingle_32f(&src[f * w], mean.data(), var.data(), w, &one, g);
    double sum = 0;
    for (int i = 0; i < w; ++i) {
      const double d = double(src[f * w + i]) - mean[i];
      sum += d * d * var[i];
    }
    const double bound = (w + 4) * std::ldexp(1.0, -24) * (2 * std::fabs(g) + sum);
    EXPECT_NEAR(blk[f], one, bound) << f;
    EXPECT_NEAR(blk[f], g - 0.5 * sum, bound) << f;
  }
}

// ---- Saturation order, floors, ties ------------------------------------------------------

TEST(GaussBlock, IntegerMembersClampTheSumBeforeSubtracting) {
  // 64 elements of difference 32767 and unit variance: the shifted sum is
  // far above 2^31 - 1.
  const int w = 64;
  std::vector<int16_t> src(w, 32767), mean(w, 0);
  for (int32_t g : {100, -100}) {
    int32_t blk = 0, low = 0, single = 0;
    ASSERT_EQ(vspsLogGauss_IdVar_16s32s_D2Sfs(src.data(), w, mean.data(), w, &blk, 1, g, 0), 0);
    ASSERT_EQ(vspsLogGauss_IdVarLow_16s32s_D2Sfs(src.data(), w, mean.data(), w, &low, 1, g, 0), 0);
    vspsLogGaussSingle_IdVar_16s32s_Sfs(src.data(), mean.data(), w, &single, g, 0);
    const int64_t shifted = (int64_t(w) * 32767 * 32767) >> 1;
    EXPECT_EQ(blk, wrap32(int64_t(g) - INT32_MAX)) << g;  // -100 wraps to 2147483549
    EXPECT_EQ(low, wrap32(int64_t(g) - shifted)) << g;
    EXPECT_EQ(single, INT32_MIN) << g;  // the single form clamps the difference
  }
  // Max compares the finished 32-bit score, signed.
  int32_t best = INT32_MIN + 5;
  vspsLogGaussMax_IdVar_16s32s_D2Sfs(src.data(), w, mean.data(), w, &best, 1, -100, 0);
  EXPECT_EQ(best, wrap32(int64_t(-100) - INT32_MAX));
}

TEST(GaussBlock, AddKeepsTheFloorAndMaxKeepsTheBest) {
  // Two frames of zeros against a mean with one element at 10: sum 100.
  const float src[8] = {}, mean[] = {10, 0, 0, 0}, var[] = {1, 1, 1, 1};
  float dst = -4.5e6f;
  // A score of -1e7 against a destination at the floor: the floor stays.
  ASSERT_EQ(vspsLogGaussAdd_32f_D2(src, 4, mean, var, 4, &dst, 1, -1e7f + 50), 0);
  EXPECT_EQ(dst, -4.5e6f);
  double dd = -1e10;
  const double s64[] = {0, 0}, m64[] = {0, 0}, v64[] = {1, 1};
  ASSERT_EQ(vspsLogGaussAdd_64f_D2(s64, 2, m64, v64, 2, &dd, 1, -3e10), 0);
  EXPECT_EQ(dd, -1e10);
  // A destination above every score is left as it is; a tie keeps it too,
  // down to the sign of a zero (the score here is +0).
  float top[] = {1e30f, -0.0f};
  ASSERT_EQ(vspsLogGaussMax_32f_D2(src, 4, mean, var, 4, top, 2, 50.0f), 0);
  EXPECT_EQ(top[0], 1e30f);
  EXPECT_EQ(bits(top[1]), bits(-0.0f));
}

// ---- Checks: step before pointers, then sizes ---------------------------------------------

template <class T, class O>
struct BlockCall {
  static inline const Member<T, O>* member = nullptr;
  static inline bool rowPointers = false;
  std::vector<T> data = std::vector<T>(24, T(1));
  std::vector<O> dstStore = std::vector<O>(3, O(7));
  std::vector<const T*> rowStore{data.data(), data.data() + 8, data.data() + 16};
  const T* src = data.data();
  const T* const* rows = rowStore.data();
  const T* mean = data.data();
  const T* var = data.data();
  O* dst = dstStore.data();
  Vsp32s step = 8, width = 5, height = 3;
  OutputWatch out;
  BlockCall() { out.watch(dst, dstStore.size() * sizeof(O)); }
  VspStatus call() {
    return rowPointers ? member->d2l(rows, mean, var, width, dst, height, O(0), 0)
                       : member->d2(src, step, mean, var, width, dst, height, O(0), 0);
  }
};

template <class T, class O>
void refusals(const Member<T, O>* members, size_t count) {
  using F = BlockCall<T, O>;
  for (size_t k = 0; k < count; ++k) {
    SCOPED_TRACE(members[k].name);
    F::member = &members[k];
    std::vector<Refusal<F>> stepped = {
        {"step below width", [](F& f) { f.step = 4; }, vspStatusBadStep},
        {"negative step", [](F& f) { f.step = -1; }, vspStatusBadStep},
        {"step below width, every pointer null",
         [](F& f) { f.step = 4, f.src = f.mean = f.var = nullptr, f.dst = nullptr; },
         vspStatusBadStep},
        {"step below width, no height", [](F& f) { f.step = 4, f.height = 0; }, vspStatusBadStep},
        {"null src", [](F& f) { f.src = nullptr; }, vspStatusNullPointer},
        {"null mean", [](F& f) { f.mean = nullptr; }, vspStatusNullPointer},
        {"null dst", [](F& f) { f.dst = nullptr; }, vspStatusNullPointer},
        {"null src, no height", [](F& f) { f.src = nullptr, f.height = 0; }, vspStatusNullPointer},
        {"no width", [](F& f) { f.width = 0; }, vspStatusBadSize},
        {"no height", [](F& f) { f.height = 0; }, vspStatusBadSize},
        {"negative height", [](F& f) { f.height = -3; }, vspStatusBadSize},
    };
    std::vector<Refusal<F>> listed = {
        {"null rows", [](F& f) { f.rows = nullptr; }, vspStatusNullPointer},
        {"null mean", [](F& f) { f.mean = nullptr; }, vspStatusNullPointer},
        {"null dst, no width", [](F& f) { f.dst = nullptr, f.width = 0; }, vspStatusNullPointer},
        {"no width", [](F& f) { f.width = 0; }, vspStatusBadSize},
        {"no height, rows never looked at",
         [](F& f) { f.rowStore.assign(3, nullptr), f.rows = f.rowStore.data(), f.height = 0; },
         vspStatusBadSize},
    };
    if (members[k].hasVar) {
      stepped.push_back({"null var", [](F& f) { f.var = nullptr; }, vspStatusNullPointer});
      listed.push_back({"null var", [](F& f) { f.var = nullptr; }, vspStatusNullPointer});
    }
    F::rowPointers = false;
    expectRefusals<F>(stepped);
    F::rowPointers = true;
    expectRefusals<F>(listed);
  }
}

TEST(GaussBlock, RefusalsInTheFamilysOrder) {
  refusals(kF32, 6);
  refusals(kF64, 6);
  refusals(kScaled, 12);
  refusals(kInt, 8);
}

}  // namespace
