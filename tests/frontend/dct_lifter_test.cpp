// Cosine transform and liftering: every construction variant against a
// direct long-double formula, the 16-bit members against the float one, the
// tiers against each other, the object layout and the refusals.
#include <cmath>
#include <cstring>
#include <limits>
#include <memory>
#include <vector>

#include "frontend/dct_lifter.h"
#include "support/harness.h"

namespace {

using namespace vsptest;
using ld = long double;

const ld kPi = 3.141592653589793238462643383279502884L;
const ld kEps32 = std::numeric_limits<float>::epsilon();

enum class Variant { Plain, C0, Mul, MulC0 };
const Variant kVariants[] = {Variant::Plain, Variant::C0, Variant::Mul, Variant::MulC0};
const char* name(Variant v) {
  return v == Variant::Plain ? "plain"
         : v == Variant::C0  ? "C0"
         : v == Variant::Mul ? "Mul"
                             : "MulC0";
}
bool hasC0(Variant v) { return v == Variant::C0 || v == Variant::MulC0; }

// Construction arguments of every variant, and the lifter they stand for.
struct Params {
  int dctLen, cepLen, lifterLen;
  float lifterScale, c0;
  std::vector<float> mul;
  Params(int n, int c, uint64_t seed) : dctLen(n), cepLen(c), lifterLen(22) {
    Rng r(seed);
    lifterScale = r.uniformf(0.5f, 2);
    c0 = r.uniformf(-2, 2);
    for (int i = 0; i < c; ++i) mul.push_back(r.uniformf(-3, 3));
  }
  // The multiplier of cepstrum i (0 is C0), in exact arithmetic.
  ld lifter(Variant v, int i) const {
    if (v == Variant::Mul || v == Variant::MulC0) return mul[i == 0 ? cepLen - 1 : i - 1];
    if (v == Variant::C0 && i == 0) return c0;
    return (1 + std::sin(i * kPi / lifterLen) * lifterLen / 2) * lifterScale;
  }
};

// Builds a state of either type by Init (into `block`) or by InitAlloc.
template <class S>
struct Api;
// clang-format off
#define VSP_DCT_API(S, T)                                                                              \
  template <>                                                                                         \
  struct Api<S> {                                                                                     \
    static VspStatus getSize(int n, int c, Vsp32s* b) { return vspsDCTLifterGetSize_##T(n, c, b); } \
    static VspStatus init(S* s, Variant v, const Params& p) {                                         \
      switch (v) {                                                                                    \
        case Variant::Plain: return vspsDCTLifterInit_##T(s, p.dctLen, p.cepLen, p.lifterLen, p.lifterScale); \
        case Variant::C0: return vspsDCTLifterInit_C0_##T(s, p.dctLen, p.cepLen, p.lifterLen, p.lifterScale, p.c0); \
        case Variant::Mul: return vspsDCTLifterInit_Mul_##T(s, p.dctLen, p.mul.data(), p.cepLen);     \
        default: return vspsDCTLifterInit_MulC0_##T(s, p.dctLen, p.mul.data(), p.cepLen);             \
      }                                                                                               \
    }                                                                                                 \
    static VspStatus initAlloc(S** s, Variant v, const Params& p) {                                   \
      switch (v) {                                                                                    \
        case Variant::Plain: return vspsDCTLifterInitAlloc_##T(s, p.dctLen, p.cepLen, p.lifterLen, p.lifterScale); \
        case Variant::C0: return vspsDCTLifterInitAlloc_C0_##T(s, p.dctLen, p.cepLen, p.lifterLen, p.lifterScale, p.c0); \
        case Variant::Mul: return vspsDCTLifterInitAlloc_Mul_##T(s, p.dctLen, p.mul.data(), p.cepLen); \
        default: return vspsDCTLifterInitAlloc_MulC0_##T(s, p.dctLen, p.mul.data(), p.cepLen);       \
      }                                                                                               \
    }                                                                                                 \
    static VspStatus release(S* s) { return vspsDCTLifterFree_##T(s); }                               \
  };
VSP_DCT_API(VspDCTLifterState_32f, 32f)
VSP_DCT_API(VspDCTLifterState_16s, 16s)
#undef VSP_DCT_API
// clang-format on

// A state built by Init in a guarded block of exactly GetSize bytes (8 bytes
// past a 64-byte boundary, so that the hand alignment inside is exercised),
// or by InitAlloc.
template <class S>
class State {
 public:
  State(Variant v, const Params& p, bool alloc) : alloc_(alloc) {
    if (alloc) {
      EXPECT_EQ(Api<S>::initAlloc(&obj_, v, p), vspStatusOk);
      return;
    }
    Vsp32s bytes = 0;
    EXPECT_EQ(Api<S>::getSize(p.dctLen, p.cepLen, &bytes), vspStatusOk);
    block_ = std::make_unique<Guarded<unsigned char>>(size_t(bytes), 8);
    obj_ = reinterpret_cast<S*>(block_->data());
    EXPECT_EQ(Api<S>::init(obj_, v, p), vspStatusOk);
  }
  ~State() {
    if (alloc_)
      EXPECT_EQ(Api<S>::release(obj_), vspStatusOk);
    else
      EXPECT_TRUE(block_->guardsIntact()) << "Init wrote outside its GetSize block";
  }
  S* get() const { return obj_; }

 private:
  bool alloc_;
  S* obj_ = nullptr;
  std::unique_ptr<Guarded<unsigned char>> block_;
};

// Cepstrum i of the direct formula, and the size of the terms it adds.
struct Ref {
  ld value, magnitude;
};
template <class T>
Ref reference(const T* src, const Params& p, Variant v, int i) {
  ld sum = 0, mag = 0;
  for (int k = 1; k <= p.dctLen; ++k) {
    const ld t = std::cos((k - 0.5L) * i * kPi / p.dctLen) * ld(src[k - 1]);
    sum += t;
    mag += std::fabs(t) + std::fabs(ld(src[k - 1])) * kEps32;
  }
  const ld l = p.lifter(v, i);
  return {l * sum, std::fabs(l) * mag};
}

struct Shape {
  int dctLen, cepLen;
};
const Shape kShapes[] = {{1, 1},   {2, 1},   {3, 3},   {7, 2},   {8, 8},   {9, 4},   {15, 7},
                         {16, 13}, {17, 13}, {23, 12}, {24, 13}, {26, 13}, {40, 24}, {66, 30}};

TEST(DCTLifter32f, EveryVariantAgreesWithTheDirectFormula) {
  for (Variant v : kVariants)
    for (bool alloc : {false, true})
      for (const Shape& sh : kShapes)
        for (size_t misalign : {0, 4}) {
          const uint64_t seed = 11 + sh.dctLen * 131 + sh.cepLen + misalign;
          SCOPED_TRACE(std::string(name(v)) + (alloc ? " InitAlloc" : " Init") + " dctLen=" +
                       std::to_string(sh.dctLen) + " cepLen=" + std::to_string(sh.cepLen) +
                       " misalign=" + std::to_string(misalign) + " " + seedTrace(seed));
          const Params p(sh.dctLen, sh.cepLen, seed);
          State<VspDCTLifterState_32f> st(v, p, alloc);
          Rng r(seed);
          Guarded<float> src(p.dctLen, misalign), dst(p.cepLen + hasC0(v), misalign);
          for (int k = 0; k < p.dctLen; ++k) src[k] = r.uniformf(-20, 20);
          ASSERT_EQ(vspsDCTLifter_32f(src.data(), dst.data(), st.get()), vspStatusOk);
          for (int i = 1; i <= p.cepLen + hasC0(v); ++i) {
            // C0 (row 0) comes last in the output.
            const int row = i == p.cepLen + 1 ? 0 : i;
            const Ref want = reference(src.data(), p, v, row);
            // The table entries and the lifter each round once, each sum once
            // per addition: a few units of roundoff of the summed magnitudes.
            const ld bound = (p.dctLen + 6) * kEps32 * want.magnitude;
            EXPECT_NEAR(double(dst[i - 1]), double(want.value), double(bound))
                << "cepstrum " << row;
          }
          EXPECT_TRUE(dst.guardsIntact()) << "wrote past the cepstra";
          EXPECT_TRUE(src.guardsIntact());
        }
}

// The fixed-point members transform in float: their result is the float
// member's on the widened input, times 2^-scaleFactor, rounded to nearest
// even (the default rounding of nearbyint) and saturated.
template <class In>
void checkSfsAgainstFloat(VspStatus (*member)(const In*, Vsp16s*, VspDCTLifterState_16s*, Vsp32s),
                          In lo, In hi) {
  for (Variant v : kVariants)
    for (const Shape& sh : kShapes)
      for (int sf : {-4, 0, 3}) {
        const uint64_t seed = 900 + sh.dctLen * 7 + sh.cepLen + sf;
        SCOPED_TRACE(std::string(name(v)) + " dctLen=" + std::to_string(sh.dctLen) +
                     " sf=" + std::to_string(sf) + " " + seedTrace(seed));
        const Params p(sh.dctLen, sh.cepLen, seed);
        State<VspDCTLifterState_16s> st16(v, p, sf == 0);
        State<VspDCTLifterState_32f> st32(v, p, true);
        Rng r(seed);
        const int outs = p.cepLen + hasC0(v);
        std::vector<In> src(p.dctLen);
        std::vector<float> wide(p.dctLen), f(outs);
        for (int k = 0; k < p.dctLen; ++k) wide[k] = float(src[k] = In(r.integer(lo, hi)));
        Guarded<Vsp16s> dst(outs);
        ASSERT_EQ(member(src.data(), dst.data(), st16.get(), sf), vspStatusOk);
        ASSERT_EQ(vspsDCTLifter_32f(wide.data(), f.data(), st32.get()), vspStatusOk);
        for (int i = 0; i < outs; ++i) {
          const double want = std::min(
              32767.0, std::max(-32768.0, double(std::nearbyint(f[i] * std::ldexp(1.0f, -sf)))));
          EXPECT_EQ(dst[i], Vsp16s(want)) << "output " << i;
        }
        EXPECT_TRUE(dst.guardsIntact());
      }
}

TEST(DCTLifter16s, MatchesTheFloatMemberScaledRoundedAndSaturated) {
  checkSfsAgainstFloat<Vsp16s>(vspsDCTLifter_16s_Sfs, -32768, 32767);
}
TEST(DCTLifter32s16s, MatchesTheFloatMemberScaledRoundedAndSaturated) {
  checkSfsAgainstFloat<Vsp32s>(vspsDCTLifter_32s16s_Sfs, -3000000, 3000000);
}

// MulC0 with dctLen 1 and cepLen 1: C0 is multipliers[0] * src[0], so exact
// halves show the rounding: ties go to even, both signs.
TEST(DCTLifter16s, TiesRoundToEvenAndResultsSaturate) {
  const float mul[1] = {0.5f};
  VspDCTLifterState_16s* st = nullptr;
  ASSERT_EQ(vspsDCTLifterInitAlloc_MulC0_16s(&st, 1, mul, 1), vspStatusOk);
  struct Row {
    Vsp16s in;
    int sf;
    Vsp16s c0;
  };
  const Row rows[] = {{5, 0, 2},         {7, 0, 4},      {-5, 0, -2},        {-7, 0, -4},
                      {2, 1, 0},         {6, 1, 2},      {10, 1, 2},         {9, 1, 2},
                      {11, 1, 3},        {1, -1, 1},     {32767, -2, 32767}, {-32768, -3, -32768},
                      {30001, 0, 15000}, {3, -30, 32767}};
  for (const Row& r : rows) {
    Vsp16s dst[2] = {0, 0};
    ASSERT_EQ(vspsDCTLifter_16s_Sfs(&r.in, dst, st, r.sf), vspStatusOk);
    EXPECT_EQ(dst[1], r.c0) << r.in << " sf " << r.sf;
  }
  EXPECT_EQ(vspsDCTLifterFree_16s(st), vspStatusOk);
}

TEST(DCTLifter, LifterEdgeCases) {
  // lifterLen 1: sin(i pi) is nearly zero, so every multiplier is about the
  // scale; C0 takes its own multiplier.
  VspDCTLifterState_32f* st = nullptr;
  ASSERT_EQ(vspsDCTLifterInitAlloc_C0_32f(&st, 4, 4, 1, 0.25f, 3.0f), vspStatusOk);
  EXPECT_EQ(st->lifterLen, 1);
  EXPECT_EQ(st->hasC0, 1);
  for (int i = 1; i <= 4; ++i) EXPECT_NEAR(st->lifter[i], 0.25f, 1e-6f);
  EXPECT_EQ(st->lifter[0], 3.0f);
  for (int k = 0; k < 4; ++k) EXPECT_EQ(st->rows[0][k], 1.0f) << "row 0 is all ones";
  EXPECT_EQ(vspsDCTLifterFree_32f(st), vspStatusOk);
  // MulC0 with one cepstrum: multipliers[0] serves both outputs.
  const float mul[1] = {-1.5f};
  ASSERT_EQ(vspsDCTLifterInitAlloc_MulC0_32f(&st, 2, mul, 1), vspStatusOk);
  EXPECT_EQ(st->lifterLen, -1);
  const float src[2] = {1.0f, 3.0f};
  float dst[2];
  ASSERT_EQ(vspsDCTLifter_32f(src, dst, st), vspStatusOk);
  EXPECT_EQ(dst[1], -1.5f * 4.0f);
  EXPECT_NEAR(dst[0], -1.5 * (std::cos(kPi / 4) - 3 * std::cos(kPi / 4)), 1e-5);
  EXPECT_EQ(vspsDCTLifterFree_32f(st), vspStatusOk);
}

// Every tier gives the baseline's bits, for every block count, with and
// without a tail block, for row counts around the group of four.
TEST(DCTLifterDots, EveryTierMatchesTheBaselineBits) {
  const int maxBlocks = 9, maxRows = 9;
  Rng r(4242);
  std::vector<float> table(maxRows * (maxBlocks + 1) * 8), src(maxBlocks * 8), tail(8),
      mul(maxRows);
  for (float& x : table) x = r.uniformf(-1, 1) * std::ldexp(1.0f, int(r.integer(-8, 8)));
  for (float& x : src) x = r.uniformf(-1, 1) * std::ldexp(1.0f, int(r.integer(-8, 8)));
  for (float& x : tail) x = r.uniformf(-1, 1);
  for (float& x : mul) x = r.uniformf(-2, 2);
  std::vector<const float*> rows;
  for (int j = 0; j < maxRows; ++j) rows.push_back(table.data() + j * (maxBlocks + 1) * 8);
  for (int blocks = 0; blocks <= maxBlocks; ++blocks)
    for (const float* t :
         {static_cast<const float*>(nullptr), static_cast<const float*>(tail.data())})
      for (int count = 1; count <= maxRows; ++count) {
        std::vector<float> base(count), got(count);
        vsp::dctDots(vsp::Tier::Base, src.data(), t, blocks, rows.data(), mul.data(), count,
                     base.data());
        for (vsp::Tier tier : hostTiers()) {
          vsp::dctDots(tier, src.data(), t, blocks, rows.data(), mul.data(), count, got.data());
          for (int j = 0; j < count; ++j)
            EXPECT_EQ(bits(got[j]), bits(base[j]))
                << tierName(tier) << " blocks=" << blocks << " count=" << count << " row " << j;
        }
      }
}

TEST(DCTLifter, GetSizeRefusalsAndLimits) {
  Vsp32s b = -1;
  EXPECT_EQ(vspsDCTLifterGetSize_32f(4, 2, nullptr), vspStatusNullPointer);
  EXPECT_EQ(vspsDCTLifterGetSize_16s(0, 0, nullptr), vspStatusNullPointer);
  EXPECT_EQ(vspsDCTLifterGetSize_32f(0, 1, &b), vspStatusBadSize);
  EXPECT_EQ(vspsDCTLifterGetSize_16s(4, 0, &b), vspStatusBadSize);
  EXPECT_EQ(vspsDCTLifterGetSize_32f(4, 5, &b), vspStatusBadSize);
  EXPECT_EQ(vspsDCTLifterGetSize_MulC0_16s(8193, 13, &b), vspStatusBadSize);
  // A shape whose object exceeds a 32-bit byte count is refused, not wrapped.
  EXPECT_EQ(vspsDCTLifterGetSize_32f(100000, 100000, &b), vspStatusBadSize);
  EXPECT_EQ(vspsDCTLifterGetSize_16s(INT32_MAX, 1, &b), vspStatusBadSize);
  EXPECT_EQ(b, -1);
  EXPECT_EQ(vspsDCTLifterGetSize_MulC0_16s(8192, 13, &b), vspStatusOk);
  Vsp32s b16 = 0;
  EXPECT_EQ(vspsDCTLifterGetSize_16s(8192, 13, &b16), vspStatusOk);
  EXPECT_EQ(b, b16);
  EXPECT_EQ(vspsDCTLifterGetSize_32f(24, 24, &b), vspStatusOk);  // dctLen == cepLen is legal
}

// Init and InitAlloc share their checks: pointers, then sizes. The form
// under test: 0 Init, 1 Init_C0, 2 Init_Mul, 3 InitAlloc, 4 InitAlloc_MulC0.
int gInitForm = 0;
struct InitFixture {
  Guarded<unsigned char> block{4096};
  VspDCTLifterState_32f* obj = reinterpret_cast<VspDCTLifterState_32f*>(block.data());
  VspDCTLifterState_32f *allocated = nullptr, **outPtr = &allocated;
  int dctLen = 24, cepLen = 13, lifterLen = 22;
  const float kMul[13] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13};
  const float* mul = kMul;
  OutputWatch out;
  InitFixture() {
    out.watch(block.data(), block.size());
    out.watch(&allocated, sizeof(allocated));
  }
  VspStatus call() {
    // clang-format off
    const VspStatus s =
        gInitForm == 0 ? vspsDCTLifterInit_32f(obj, dctLen, cepLen, lifterLen, 1.0f)
      : gInitForm == 1 ? vspsDCTLifterInit_C0_32f(obj, dctLen, cepLen, lifterLen, 1.0f, 2.0f)
      : gInitForm == 2 ? vspsDCTLifterInit_Mul_32f(obj, dctLen, mul, cepLen)
      : gInitForm == 3 ? vspsDCTLifterInitAlloc_32f(outPtr, dctLen, cepLen, lifterLen, 1.0f)
      : vspsDCTLifterInitAlloc_MulC0_32f(outPtr, dctLen, mul, cepLen);
    // clang-format on
    if (s == vspStatusOk && allocated) vspsDCTLifterFree_32f(allocated), allocated = nullptr;
    return s;
  }
};

TEST(DCTLifter, InitRefusals) {
  using F = InitFixture;
  for (gInitForm = 0; gInitForm < 5; ++gInitForm) {
    SCOPED_TRACE("form " + std::to_string(gInitForm));
    const bool mulForm = gInitForm == 2 || gInitForm == 4;
    // clang-format off
    std::vector<Refusal<F>> table = {
        {"dctLen 0", [](F& f) { f.dctLen = 0; }, vspStatusBadSize},
        {"cepLen 0", [](F& f) { f.cepLen = 0; }, vspStatusBadSize},
        {"dctLen below cepLen", [](F& f) { f.cepLen = 25; }, vspStatusBadSize},
        {"too big for a 32-bit size", [](F& f) { f.dctLen = f.cepLen = 1 << 20; }, vspStatusBadSize},
        {"null object and bad size", [](F& f) { f.obj = nullptr; f.outPtr = nullptr; f.dctLen = 0; }, vspStatusNullPointer},
    };
    if (mulForm) table.push_back({"null multipliers", [](F& f) { f.mul = nullptr; f.dctLen = -1; }, vspStatusNullPointer});
    else table.push_back({"lifterLen 0", [](F& f) { f.lifterLen = 0; }, vspStatusBadSize});
    // clang-format on
    expectRefusals<F>(table);
  }
}

struct TransformFixture {
  VspDCTLifterState_16s* st = nullptr;
  Vsp16s src[4] = {1, 2, 3, 4};
  Guarded<Vsp16s> dst{3};
  const Vsp16s* s = src;
  Vsp16s* d = dst.data();
  VspDCTLifterState_16s* state;
  OutputWatch out;
  TransformFixture() {
    EXPECT_EQ(vspsDCTLifterInitAlloc_C0_16s(&st, 4, 2, 22, 1.0f, 1.0f), vspStatusOk);
    state = st;
    out.watch(dst.data(), 3 * sizeof(Vsp16s));
  }
  ~TransformFixture() { vspsDCTLifterFree_16s(st); }
  VspStatus call() { return vspsDCTLifter_16s_Sfs(s, d, state, 0); }
};

TEST(DCTLifter, TransformAndFreeRefusals) {
  using F = TransformFixture;
  expectRefusals<F>({
      {"null src", [](F& f) { f.s = nullptr; }, vspStatusNullPointer},
      {"null dst", [](F& f) { f.d = nullptr; }, vspStatusNullPointer},
      {"null state", [](F& f) { f.state = nullptr; }, vspStatusNullPointer},
  });
  float x[2] = {0, 0};
  EXPECT_EQ(vspsDCTLifter_32f(x, x, nullptr), vspStatusNullPointer);
  EXPECT_EQ(vspsDCTLifter_32s16s_Sfs(nullptr, nullptr, nullptr, 0), vspStatusNullPointer);
  EXPECT_EQ(vspsDCTLifterFree_32f(nullptr), vspStatusNullPointer);
  EXPECT_EQ(vspsDCTLifterFree_16s(nullptr), vspStatusNullPointer);
}

// A failed InitAlloc returns NoMemory with the object already published
// (null only when the object itself failed); the pieces it got stay alive
// until the caller's Free releases them all.
TEST(DCTLifter, InitAllocFailuresLeaveAFreeablePartialObject) {
  for (bool sixteen : {false, true}) {
    void* obj = nullptr;
    auto call = [&]() -> VspStatus {
      obj = reinterpret_cast<void*>(1);
      if (sixteen)
        return vspsDCTLifterInitAlloc_C0_16s(reinterpret_cast<VspDCTLifterState_16s**>(&obj), 26,
                                             13, 22, 1.0f, 1.0f);
      return vspsDCTLifterInitAlloc_32f(reinterpret_cast<VspDCTLifterState_32f**>(&obj), 26, 13, 22,
                                        1.0f);
    };
    auto release = [&]() {
      return sixteen ? vspsDCTLifterFree_16s(static_cast<VspDCTLifterState_16s*>(obj))
                     : vspsDCTLifterFree_32f(static_cast<VspDCTLifterState_32f*>(obj));
    };
    const long live = vspcoreTestLiveBlocks();
    const SweepResult res = sweepAllocationFailures(
        call,
        [&](int n) {
          if (n == 1) {
            EXPECT_EQ(obj, nullptr);
            return;
          }
          ASSERT_NE(obj, nullptr);
          EXPECT_EQ(release(), vspStatusOk);
          EXPECT_EQ(vspcoreTestLiveBlocks(), live) << "Free left pieces of a partial object";
        },
        [](int n) { return long(n - 1); });
    EXPECT_EQ(res.allocationPoints, sixteen ? 4 : 3);
    EXPECT_EQ(res.finalStatus, vspStatusOk);
    EXPECT_EQ(release(), vspStatusOk);
    EXPECT_EQ(vspcoreTestLiveBlocks(), live);
  }
}

}  // namespace
