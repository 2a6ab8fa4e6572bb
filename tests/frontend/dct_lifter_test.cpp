// Cosine transform and liftering: every construction variant, built by Init in
// a block of exactly the reported size and by InitAlloc, against the direct
// long-double formula, with the 16-bit members against the float one; the
// tiers bit for bit; refusals and what a failed allocation leaves.
#include <algorithm>
#include <memory>

#include "frontend/dct_lifter.h"
#include "frontend/frontend_support.h"

namespace {

using namespace vsptest;
using ld = long double;

const ld kPi = 3.141592653589793238462643383279502884L;
const ld kEps32 = std::numeric_limits<float>::epsilon();

enum class Variant { Plain, C0, Mul, MulC0 };
const Variant kVariants[] = {Variant::Plain, Variant::C0, Variant::Mul, Variant::MulC0};
bool hasC0(Variant v) { return v == Variant::C0 || v == Variant::MulC0; }
bool given(Variant v) { return v == Variant::Mul || v == Variant::MulC0; }

// Construction arguments of every variant, and the lifter they stand for.
struct Params {
  int dctLen, cepLen, lifterLen;
  float lifterScale = 1.5f, c0 = -0.75f;
  std::vector<float> mul;
  bool nullMul = false;
  Params(int n, int c, int l, uint64_t seed = 1) : dctLen(n), cepLen(c), lifterLen(l) {
    Rng r(seed);
    for (int i = 0; i < std::clamp(c, 1, 4096); ++i) mul.push_back(r.uniformf(-3, 3));
  }
  const float* m() const { return nullMul ? nullptr : mul.data(); }
  // The multiplier of cepstrum i (0 is C0), in exact arithmetic.
  ld lifter(Variant v, int i) const {
    if (given(v)) return mul[i == 0 ? cepLen - 1 : i - 1];
    if (v == Variant::C0 && i == 0) return c0;
    return (1 + std::sin(i * kPi / lifterLen) * lifterLen / 2) * lifterScale;
  }
};

// One construction form (Init or InitAlloc) of one element type, any variant.
// clang-format off
#define VSP_DCT_FORM(FORM, T) [](auto* p, Variant v, const Params& a) {                         \
    switch (v) {                                                                                \
      case Variant::Plain: return vspsDCTLifter##FORM##_##T(p, a.dctLen, a.cepLen, a.lifterLen, \
                                                            a.lifterScale);                     \
      case Variant::C0: return vspsDCTLifter##FORM##_C0_##T(p, a.dctLen, a.cepLen, a.lifterLen, \
                                                            a.lifterScale, a.c0);               \
      case Variant::Mul: return vspsDCTLifter##FORM##_Mul_##T(p, a.dctLen, a.m(), a.cepLen);    \
      default: return vspsDCTLifter##FORM##_MulC0_##T(p, a.dctLen, a.m(), a.cepLen);            \
    } }
template <class S> struct Api;
#define VSP_DCT_API(T) template <> struct Api<VspDCTLifterState_##T> {                       \
    static constexpr auto init = VSP_DCT_FORM(Init, T), alloc = VSP_DCT_FORM(InitAlloc, T); \
    static constexpr auto getSize = vspsDCTLifterGetSize_##T;                                 \
    static constexpr auto release = vspsDCTLifterFree_##T; };
VSP_DCT_API(32f)
VSP_DCT_API(16s)
#undef VSP_DCT_API
using Dct32 = VspDCTLifterState_32f;
using Dct16 = VspDCTLifterState_16s;
#undef VSP_DCT_FORM
// clang-format on

// A state built by Init in a guarded block of exactly GetSize bytes,
// `misalign` past a 64-byte boundary, or by InitAlloc after a sweep of its
// allocation failures: each leaves the object published (null only when the
// object itself failed) for the caller's Free to release what it got.
template <class S>
struct State {
  std::unique_ptr<Guarded<unsigned char>> block;
  S* obj = nullptr;
  const long live = vspcoreTestLiveBlocks();
  State(Variant v, const Params& p, bool alloc, size_t misalign) {
    Vsp32s bytes = 0;
    if (alloc) {
      const SweepResult r = sweepAllocationFailures(
          [&] { return obj = reinterpret_cast<S*>(&obj), Api<S>::alloc(&obj, v, p); },
          [&](int n) {  // Free leaves no piece of a partial object
            EXPECT_TRUE((obj == nullptr) == (n == 1) && (n == 1 || Api<S>::release(obj) == 0) &&
                        vspcoreTestLiveBlocks() == live);
          },
          [](int n) { return long(n - 1); });
      EXPECT_TRUE(r.finalStatus == 0 && r.allocationPoints == 3 + (std::is_same_v<S, Dct16>));
      return;
    }
    EXPECT_EQ(Api<S>::getSize(p.dctLen, p.cepLen, &bytes), vspStatusOk);
    block = std::make_unique<Guarded<unsigned char>>(size_t(bytes), misalign);
    EXPECT_EQ(Api<S>::init(obj = reinterpret_cast<S*>(block->data()), v, p), vspStatusOk);
  }
  ~State() {
    EXPECT_TRUE(block ? block->guardsIntact() : Api<S>::release(obj) == vspStatusOk);
    EXPECT_EQ(vspcoreTestLiveBlocks(), live);
  }
};

// Float cepstra against the direct formula; the 16-bit members transform the
// same integers in float, then scale by 2^-scaleFactor, round to nearest even
// and saturate: the member on 32-bit input sees them 64 times larger and
// shifts 6 more.
TEST(DCTLifter, EveryVariantAndMemberAgreesWithTheDirectFormula) {
  // dctLen, cepstrumLen, lifterLen
  const int shapes[][3] = {{1, 1, 1},   {2, 1, 22},  {7, 2, 1},   {8, 8, 22},
                           {15, 7, 13}, {17, 13, 9}, {24, 13, 1}, {66, 30, 21}};
  for (Variant v : kVariants)
    for (bool alloc : {false, true})
      for (size_t s = 0; s < std::size(shapes); ++s) {
        const uint64_t seed = 11 + 131 * s + size_t(v);
        const int sf = int(s % 4) * 3;
        SCOPED_TRACE(testing::Message() << "variant " << int(v) << " alloc " << alloc << " " << s);
        const Params p(shapes[s][0], shapes[s][1], shapes[s][2], seed);
        const State<Dct32> st(v, p, alloc, 8 * (s % 8));
        const State<Dct16> st16(v, p, !alloc, 8 * (s % 8));
        Rng r(seed);
        const int outs = p.cepLen + hasC0(v);
        std::vector<Vsp16s> in16(p.dctLen);
        std::vector<Vsp32s> in32(p.dctLen);
        Guarded<float> src(p.dctLen, 4 * (s % 2)), dst(outs, 4 * (s % 2));
        Guarded<Vsp16s> d16(outs), d32(outs);
        for (int k = 0; k < p.dctLen; ++k) {
          src[k] = in16[k] = Vsp16s(r.integer(-20000, 20000));
          in32[k] = in16[k] * 64;
        }
        ASSERT_TRUE(vspsDCTLifter_32f(src.data(), dst.data(), st.obj) == 0 &&
                    vspsDCTLifter_16s_Sfs(in16.data(), d16.data(), st16.obj, sf) == 0 &&
                    vspsDCTLifter_32s16s_Sfs(in32.data(), d32.data(), st16.obj, sf + 6) == 0);
        for (int i = 0; i < outs; ++i) {
          const int row = i == p.cepLen ? 0 : i + 1;  // C0 comes last
          ld sum = 0, mag = 0;
          for (int k = 1; k <= p.dctLen; ++k) {
            const ld t = std::cos((k - 0.5L) * row * kPi / p.dctLen) * src[k - 1];
            sum += t, mag += std::fabs(t) + std::fabs(src[k - 1]) * kEps32;
          }
          // The table and the lifter each round once, each sum once an addition.
          const ld l = p.lifter(v, row), bound = (p.dctLen + 6) * kEps32 * std::fabs(l) * mag;
          EXPECT_NEAR(double(dst[i]), double(l * sum), double(bound)) << "cepstrum " << row;
          const float want =
              std::clamp(std::nearbyint(std::ldexp(dst[i], -sf)), -32768.0f, 32767.0f);
          EXPECT_TRUE(d16[i] == want && d32[i] == want) << "cepstrum " << row;
        }
        EXPECT_TRUE(dst.guardsIntact() && d16.guardsIntact() && d32.guardsIntact());
      }
}

// MulC0 with one input and one cepstrum: C0 is multipliers[0] * src[0], so
// exact halves show the rounding: ties to even, both signs.
TEST(DCTLifter, TiesRoundToEvenAndResultsSaturate) {
  Params p(1, 1, 1);
  p.mul[0] = 0.5f;
  const State<Dct16> st(Variant::MulC0, p, false, 0);
  // src, scaleFactor, C0
  const int rows[][3] = {{5, 0, 2},  {7, 0, 4},          {-5, 0, -2},          {6, 1, 2},
                         {10, 1, 2}, {32767, -2, 32767}, {-32768, -3, -32768}, {3, -30, 32767}};
  for (const auto& r : rows) {
    Vsp16s in = Vsp16s(r[0]), dst[2] = {0, 0};
    ASSERT_EQ(vspsDCTLifter_16s_Sfs(&in, dst, st.obj, r[1]), vspStatusOk);
    EXPECT_EQ(dst[1], r[2]) << r[0] << " sf " << r[1];
  }
}

// Every tier gives the baseline's bits, for every block count, with and
// without a tail block, for row counts around the group of four.
TEST(DCTLifter, EveryTierMatchesTheBaselineBits) {
  Rng r(4242);
  std::vector<float> table(9 * 80 + 80), base(9), got(9);
  for (float& x : table) x = r.uniformf(-1, 1) * std::ldexp(1.0f, int(r.integer(-8, 8)));
  const std::vector<float> mul = randomVector<float>(9, 4243, -2, 2);
  const float *src = &table[9 * 80], *rows[9];
  for (int j = 0; j < 9; ++j) rows[j] = &table[80 * j];
  for (int blocks = 0; blocks <= 9; ++blocks)
    for (const float* tail : {src + 72, static_cast<const float*>(nullptr)})
      for (int count = 1; count <= 9; ++count) {
        vsp::dctDots(vsp::Tier::Base, src, tail, blocks, rows, mul.data(), count, base.data());
        for (vsp::Tier tier : hostTiers()) {
          vsp::dctDots(tier, src, tail, blocks, rows, mul.data(), count, got.data());
          for (int j = 0; j < count; ++j)
            EXPECT_EQ(bits(got[j]), bits(base[j])) << tierName(tier) << blocks << count << j;
        }
      }
}

// Every Init and InitAlloc checks pointers, then sizes, and touches nothing
// when it refuses.
TEST(DCTLifter, RefusalsInTheirOrder) {
  const int kSize = vspStatusBadSize, kNull = vspStatusNullPointer, kOk = vspStatusOk;
  // dctLen, cepstrumLen, lifterLen, null object, null multipliers, status of
  // the lifter variants, status of the multiplier variants
  // clang-format off
  const int rows[][7] = {{24, 25, 22, 0, 0, kSize, kSize}, {0, 13, 22, 1, 0, kNull, kNull},
                         {-1, 13, 22, 0, 1, kSize, kNull}, {24, 13, 0, 0, 0, kSize, kOk}};
  // clang-format on
  using A = Api<Dct32>;
  for (Variant v : kVariants)
    for (bool alloc : {false, true})
      for (const auto& r : rows) {
        Params p(r[0], r[1], r[2]);
        p.nullMul = r[4];
        Guarded<unsigned char> block(4096);
        Dct32 *obj = r[3] ? nullptr : reinterpret_cast<Dct32*>(block.data()), *made = nullptr;
        const long live = vspcoreTestLiveBlocks();
        const VspStatus s = alloc ? A::alloc(r[3] ? nullptr : &made, v, p) : A::init(obj, v, p);
        EXPECT_EQ(s, given(v) ? r[6] : r[5]) << int(v) << " " << alloc << " " << &r - rows;
        EXPECT_TRUE(s == vspStatusOk ||
                    (block.untouched() && made == nullptr && vspcoreTestLiveBlocks() == live));
        if (made) vspsDCTLifterFree_32f(made);
      }
  // GetSize: an object beyond a 32-bit byte count refused rather than
  // wrapped, and the MulC0 member's own limit.
  Vsp32s b = -1;
  EXPECT_EQ(vspsDCTLifterGetSize_16s(INT32_MAX, 1, &b), kSize);
  EXPECT_EQ(vspsDCTLifterGetSize_MulC0_16s(8193, 13, &b), kSize);
  EXPECT_TRUE(b == -1 && vspsDCTLifterGetSize_MulC0_16s(8192, 13, &b) == kOk);
  float x[4] = {};
  EXPECT_TRUE(vspsDCTLifter_32f(x, x, nullptr) == vspStatusNullPointer &&
              vspsDCTLifterFree_32f(nullptr) == vspStatusNullPointer);
}

}  // namespace
