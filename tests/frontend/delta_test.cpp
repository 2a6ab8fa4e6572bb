// Delta features: every streaming member against the window definitions over
// the whole utterance and, cut into blocks of every size, against one whole
// call; the Aurora weights (in the reference); the batch members' edge rule; the refusals.
#include <cstring>

#include "frontend/frontend_support.h"

namespace {

using namespace vsptest;
using ld = long double;
const double kEps32 = std::numeric_limits<float>::epsilon();

enum class Kind { Delta, DeltaDelta, Aurora };

// Scales of every member: the scalars, and multiplier rows of `width`. Beyond
// a shift of 8 the 16-bit scales are large, so that the products wrap.
struct Scales {
  int sf;
  float d32 = 0.5f, dd32 = -1.25f;
  Vsp16s d16, dd16;
  std::vector<float> m32;
  std::vector<Vsp16s> m16;
  bool nullMul = false;
  Scales(int width, uint64_t seed, int sf_)
      : sf(sf_),
        d16(sf_ > 8 ? 32767 : 3),
        dd16(sf_ > 8 ? -32768 : -2),
        m32(randomVector<float>(3 * width, seed, -2, 2)),
        m16(randomVector<Vsp16s>(3 * width, seed + 1, sf > 8 ? -32768 : -5, sf > 8 ? 32767 : 5)) {}
  const float* p(float) const { return nullMul ? nullptr : m32.data(); }
  const Vsp16s* p(Vsp16s) const { return nullMul ? nullptr : m16.data(); }
};

// A streaming member behind one signature; src and dst are float or Vsp16s
// as the member's type says.
struct Member {
  const char* name;
  Kind kind;
  int L;
  bool fix, mul;
  VspStatus (*call)(const void*, int, void*, int, int, int, const Scales&);
  int history() const { return kind == Kind::Aurora ? 8 : kind == Kind::Delta ? 2 * L : 3 * L; }
  int blocks() const { return kind == Kind::Delta ? 2 : 3; }
};

// Both element types of a member, from its argument list written with X for
// the source, Y for the destination, D and DD for the scales and M for the
// multipliers; the 16-bit member takes the scale factor last.
// clang-format off
#define VSP_DELTA_CALL(T, B, CALL)                                                            \
  [](const void* s, [[maybe_unused]] int w, void* d, int st, int h, int m, const Scales& c) { \
    [[maybe_unused]] const T *X = static_cast<const T*>(s), *M = c.p(T()), D = c.d##B,        \
      DD = c.dd##B; T* Y = static_cast<T*>(d); return CALL; }
#define VSP_DELTA_PAIR(NAME, KIND, L, MUL, ...)                                               \
  Member{#NAME "_32f", KIND, L, false, MUL,                                                   \
    VSP_DELTA_CALL(float, 32, vsps##NAME##_32f_D2(__VA_ARGS__))},                             \
  Member{#NAME "_16s", KIND, L, true, MUL,                                                    \
    VSP_DELTA_CALL(Vsp16s, 16, vsps##NAME##_16s_D2Sfs(__VA_ARGS__, c.sf))}
// clang-format on
const Member kMembers[] = {
    VSP_DELTA_PAIR(Delta_Win1, Kind::Delta, 1, false, X, w, Y, st, h, D, m),
    VSP_DELTA_PAIR(Delta_Win2, Kind::Delta, 2, false, X, w, Y, st, h, D, m),
    VSP_DELTA_PAIR(DeltaMul_Win1, Kind::Delta, 1, true, X, M, w, Y, st, h, m),
    VSP_DELTA_PAIR(DeltaMul_Win2, Kind::Delta, 2, true, X, M, w, Y, st, h, m),
    VSP_DELTA_PAIR(DeltaDelta_Win1, Kind::DeltaDelta, 1, false, X, w, Y, st, h, D, DD, m),
    VSP_DELTA_PAIR(DeltaDelta_Win2, Kind::DeltaDelta, 2, false, X, w, Y, st, h, D, DD, m),
    VSP_DELTA_PAIR(DeltaDeltaMul_Win1, Kind::DeltaDelta, 1, true, X, M, w, Y, st, h, m),
    VSP_DELTA_PAIR(DeltaDeltaMul_Win2, Kind::DeltaDelta, 2, true, X, M, w, Y, st, h, m),
    VSP_DELTA_PAIR(DeltaDelta_Aurora, Kind::Aurora, 4, false, X, Y, st, h, m),
    VSP_DELTA_PAIR(DeltaDeltaMul_Aurora, Kind::Aurora, 4, true, X, M, Y, st, h, m)};
#undef VSP_DELTA_PAIR
#undef VSP_DELTA_CALL

// The 16-bit rule: raw * scale kept to 32 bits, shifted by the scale factor
// (right for positive, left for negative, the count being the factor's low
// five bits as they stand: -2 shifts left by 30), saturated.
Vsp16s fixRule(int64_t raw, int scale, int sf) {
  const int32_t v = int32_t(uint32_t(uint64_t(raw * scale)));
  const int n = int(uint32_t(sf) & 31);
  const int32_t s = sf > 0 ? v >> n : sf < 0 ? int32_t(uint32_t(v) << n) : v;
  return Vsp16s(std::min(32767, std::max(-32768, s)));
}
ld scaled(float v, float s, int) { return v * s; }
ld scaled(int64_t v, int s, int sf) { return fixRule(v, s, sf); }

// The member's output from the definitions over the whole utterance `in`
// (rows of srcStep): rows of blocks * W, and the tolerance of the derived
// float values (0: exact).
template <class T>
std::vector<ld> reference(const Member& m, const Scales& sc, const std::vector<T>& in, int W,
                          int srcStep, ld* tol) {
  constexpr bool fix = sizeof(T) == 2;
  const int F = int(in.size()) / srcStep, B = m.blocks();
  const T* mul = sc.p(T());
  std::vector<ld> x(size_t(F) * W), d(x), out(size_t(F) * B * W);
  auto at = [&](const std::vector<ld>& v, int t, int c) {  // missing frames are the nearest
    return v[size_t(std::clamp(t, 0, F - 1)) * W + c];
  };
  // The scale of block 1 or 2 of column c, and the regression window over v
  // in the element type's own arithmetic, the 16-bit sum shifted `extra` more.
  auto scale = [&](int block, int c) {
    return m.mul                    ? mul[block * W + c]
           : m.kind == Kind::Aurora ? T(1)
           : block == 1             ? T(fix ? sc.d16 : sc.d32)
                                    : T(fix ? sc.dd16 : sc.dd32);
  };
  auto win = [&](const std::vector<ld>& v, int t, int c, int block, int extra) -> ld {
    using R = std::conditional_t<fix, int64_t, float>;  // exact, or float steps
    R raw = 0;
    for (int k = 1; k <= m.L; ++k) raw = raw + R(k) * (R(at(v, t + k, c)) - R(at(v, t - k, c)));
    return fix ? scaled(raw, scale(block, c), sc.sf + extra)
               : ld(raw * scale(block, c)) / (1 << extra);
  };
  for (size_t i = 0; i < x.size(); ++i) {
    const T v = in[i / W * srcStep + i % W];
    x[i] = m.mul ? scaled(v, mul[i % W], sc.sf) : v;
  }
  *tol = 0;
  for (int t = 0; t < F; ++t)
    for (int c = 0; c < W; ++c) {
      ld* o = &out[size_t(t) * B * W + c];
      o[0] = at(x, t, c);
      // Aurora: the window over four frames each way, a quarter of it; then the
      // second derivative, weights (3k^2 - 20) / 28 over nine frames.
      o[W] = d[size_t(t) * W + c] = win(x, t, c, 1, m.kind == Kind::Aurora ? 2 : 0);
      if (m.kind != Kind::Aurora) continue;
      ld s2 = 0, mag = 0;
      for (int k = -4; k <= 4; ++k)
        s2 += (3 * k * k - 20) * at(x, t + k, c) / 28, mag += std::fabs(at(x, t + k, c));
      s2 *= scale(2, c);
      o[2 * W] = fix ? std::trunc(std::clamp(std::ldexp(s2, -sc.sf), ld(-32768), ld(32767))) : s2;
      *tol = fix ? 1 : std::max(*tol, 48 * mag * kEps32);
    }
  for (int t = 0; t < F && m.kind == Kind::DeltaDelta; ++t)
    for (int c = 0; c < W; ++c) out[(size_t(t) * B + 2) * W + c] = win(d, t, c, 2, 0);
  return out;
}

// One call over the whole utterance against the definitions; then the same
// stream cut into calls: the first takes vspDeltaBegin and at least the frames
// it consumes, each later one gets dst at the row where its history starts,
// and the utterance ends with the last block or with an extra call of height
// 0. Every cut must give the whole call's bytes, gaps of the step untouched.
template <class T>
void checkStream(const Member& m, int width, int extra, int sf) {
  const int H = m.history(), frames = H + extra, srcStep = m.kind == Kind::Aurora ? 14 : width;
  const int used = m.blocks() * width, step = used + 3;
  const uint64_t seed = 31 * width + 7 * extra + sf + 1000;
  SCOPED_TRACE(testing::Message() << m.name << " width " << width << " frames " << frames << " sf "
                                  << sf << " seed " << seed);
  const Scales sc(width, seed, sf);
  const double range = sizeof(T) == 2 ? 12000 : 8;
  std::vector<T> src = randomVector<T>(size_t(frames) * srcStep, seed, -range, range);
  for (size_t i = 13; srcStep == 14 && i < src.size(); i += 14) src[i] = T(32767);  // unread
  ld tol = 0;
  const std::vector<ld> want = reference(m, sc, src, width, srcStep, &tol);
  Guarded<T> whole(size_t(frames) * step), pad(1);
  ASSERT_EQ(m.call(src.data(), width, whole.data(), step, frames, vspDeltaBegin | vspDeltaEnd, sc),
            vspStatusOk);
  for (int t = 0; t < frames; ++t)
    for (int c = 0; c < step; ++c) {
      const T got = whole[size_t(t) * step + c];
      const ld w = c < used ? want[size_t(t) * used + c] : 0;
      const bool exact = c < width || (m.kind == Kind::Aurora && sizeof(T) == 2 && c < 2 * width);
      if (c >= used)
        ASSERT_EQ(std::memcmp(&got, pad.data(), sizeof(T)), 0) << "wrote into the step's gap";
      else
        ASSERT_NEAR(double(got), double(w), exact ? 0 : double(tol)) << "row " << t << ", " << c;
    }
  for (int block = 1; block <= 8; ++block)
    for (bool endAlone : {false, true}) {
      Guarded<T> parts(whole.size(), (block % 2) * sizeof(T));  // odd blocks: one element off
      for (int done = 0, h = 0; done < frames; done += h) {
        h = done == 0 ? std::min(std::max(block, H), frames) : std::min(block, frames - done);
        const int mode =
            (done == 0 ? vspDeltaBegin : 0) | (done + h == frames && !endAlone ? vspDeltaEnd : 0);
        ASSERT_EQ(m.call(&src[size_t(done) * srcStep], width,
                         &parts[size_t(done ? done - H : 0) * step], step, h, mode, sc),
                  vspStatusOk)
            << "block " << block << " at frame " << done;
      }
      T* last = &parts[size_t(frames - H) * step];
      ASSERT_EQ(endAlone ? m.call(src.data(), width, last, step, 0, vspDeltaEnd, sc) : 0, 0);
      EXPECT_TRUE(std::memcmp(parts.data(), whole.data(), whole.size() * sizeof(T)) == 0 &&
                  parts.guardsIntact())
          << "block " << block << (endAlone ? ", end alone" : "");
    }
}

TEST(DeltaStream, DefinitionsHoldAndBlocksOfEverySizeGiveTheWholeCall) {
  for (const Member& m : kMembers)
    for (int w : m.kind == Kind::Aurora ? std::vector<int>{13} : std::vector<int>{1, 5, 13})
      for (int extra : {0, 1, 17})
        for (int sf : {-2, 0, 3, 17})
          m.fix ? checkStream<Vsp16s>(m, w, extra, sf) : checkStream<float>(m, w, extra, sf);
}

// Pointers, sizes, step, then the frames that vspDeltaBegin consumes; a
// refusal writes nothing.
TEST(DeltaStream, RefusalsInTheirOrder) {
  const int kNull = vspStatusNullPointer, kSize = vspStatusBadSize, kStep = vspStatusBadStep;
  // height (-9: one short of what Begin consumes), width (-1: the member's),
  // step short by, mode, null src, null dst, null multipliers, status, for
  // (0: every member, 1: the Win members, 2: the multiplier members)
  // clang-format off
  const int rows[][9] = {
      {8, -1, 0, 1, 0, 0, 0, 0, 0},         {-1, -1, 0, 1, 1, 0, 0, kNull, 0}, {-1, -1, 99, 1, 0, 0, 0, kSize, 0},
      {1, -1, 1, 1, 0, 0, 0, kStep, 0},     {-9, -1, 0, 1, 0, 0, 0, kSize, 0}, {0, -1, 0, 3, 0, 0, 0, kSize, 0},
      {8, 0, 1, 1, 0, 0, 0, kSize, 1},      {-1, -1, 0, 1, 0, 0, 1, kNull, 2}};
  // clang-format on
  const std::vector<float> src(16 * 14);  // zeros of either type
  for (const Member& m : kMembers)
    for (const auto& r : rows) {
      if ((r[8] == 1 && m.kind == Kind::Aurora) || (r[8] == 2 && !m.mul)) continue;
      Scales sc(13, 1, 0);
      sc.nullMul = r[6];
      Guarded<float> dst(16 * 40);
      const int width = r[1] >= 0 ? r[1] : m.kind == Kind::Aurora ? 13 : 4;
      const VspStatus st =
          m.call(r[4] ? nullptr : src.data(), width, r[5] ? nullptr : dst.data(),
                 m.blocks() * width - r[2], r[0] == -9 ? m.history() - 1 : r[0], r[3], sc);
      EXPECT_EQ(st, r[7]) << m.name << ", row " << &r - rows;
      EXPECT_TRUE(st == vspStatusOk || dst.untouched()) << m.name << ", row " << &r - rows;
    }
}

// The batch members by element type, with a multiplier per column or the
// first one for all.
VspStatus evalDelta(float* p, int h, int st, const float* m, int w, int o, int W, bool cols, int) {
  return cols ? vspsEvalDeltaMul_32f_D2(p, h, st, m, w, o, W)
              : vspsEvalDelta_32f_D2(p, h, st, w, o, W, m[0]);
}
VspStatus evalDelta(Vsp16s* p, int h, int st, const Vsp16s* m, int w, int o, int W, bool cols,
                    int sf) {
  return cols ? vspsEvalDeltaMul_16s_D2Sfs(p, h, st, m, w, o, W, sf)
              : vspsEvalDelta_16s_D2Sfs(p, h, st, w, o, W, m[0], sf);
}

// Near the start every past frame is frame 0, near the end every future frame
// is the last one, even for lags inside the matrix. `mul` selects the member
// with per-column multipliers.
template <class T>
void checkEvalDelta(int H, int W, int width, int offset, int pad, bool mul) {
  constexpr bool fix = sizeof(T) == 2;
  const int step = offset + 2 * width + pad, sf = fix ? 1 : 0;
  const uint64_t seed = 77 + H * 3 + mul;
  SCOPED_TRACE(testing::Message() << "H " << H << " W " << W << " mul " << mul << " seed " << seed);
  const double range = fix ? 3000 : 10, mulRange = fix ? 4 : 2;
  std::vector<T> m = randomVector<T>(size_t(H) * step, seed, -range, range);
  const std::vector<T> muls = mul ? randomVector<T>(width, seed + 1, -mulRange, mulRange)
                                  : std::vector<T>(width, T(fix ? 3 : 0.1f));
  const std::vector<T> in = m;
  ASSERT_EQ(evalDelta(m.data(), H, step, muls.data(), width, offset, W, mul, sf), vspStatusOk);
  for (int t = 0; t < H; ++t)
    for (int c = 0; c < step; ++c) {
      const size_t i = size_t(t) * step + c;
      const int col = c - offset - width;
      if (col < 0 || col >= width) {
        ASSERT_EQ(m[i], in[i]) << "changed outside the deltas";
        continue;
      }
      ld raw = 0;
      for (int k = 1; k <= W; ++k)
        raw += k * (ld(in[size_t(t >= H - W ? H - 1 : t + k) * step + offset + col]) -
                    ld(in[size_t(t < W ? 0 : t - k) * step + offset + col]));
      const ld want = fix ? ld(fixRule(int64_t(raw), int(muls[col]), sf)) : raw * muls[col];
      ASSERT_NEAR(m[i], double(want), fix ? 0 : 80 * W * W * std::fabs(muls[col]) * kEps32)
          << t << "," << col;
    }
}

TEST(EvalDelta, EveryMemberFollowsTheEdgeRule) {
  // height, window, width, offset, pad of the step
  const int shapes[][5] = {{2, 1, 1, 0, 0}, {7, 3, 63, 2, 1}, {40, 4, 130, 1, 5}};
  for (const auto& s : shapes)
    for (bool mul : {false, true}) {
      checkEvalDelta<float>(s[0], s[1], s[2], s[3], s[4], mul);
      checkEvalDelta<Vsp16s>(s[0], s[1], s[2], s[3], s[4], mul);
    }
}

TEST(EvalDelta, RefusalsInTheirOrder) {
  Guarded<float> g(80);
  const float mul[3] = {1, 2, 3};
  const int kSize = vspStatusBadSize;
  // null matrix, height, step, width, offset, window, a multiplier per
  // column, status; H < 2 W is refused
  // clang-format off
  const int rows[][8] = {{1, 0, 10, 3, 2, 2, 0, vspStatusNullPointer}, {0, 0, 0, 3, 2, 2, 0, kSize},
      {0, 8, 10, 3, 2, 0, 0, kSize}, {0, 8, 10, 3, -1, 2, 0, kSize}, {0, 8, 0, 3, 2, 5, 1, kSize},
      {0, 3, 7, 3, 2, 1, 0, vspStatusBadStep}};
  // clang-format on
  for (const auto& r : rows)
    EXPECT_EQ(evalDelta(r[0] ? nullptr : g.data(), r[1], r[2], mul, r[3], r[4], r[5], r[6], 0),
              r[7])
        << &r - rows;
  EXPECT_EQ(vspsEvalDeltaMul_16s_D2Sfs(nullptr, 8, 10, nullptr, 3, 2, 2, 0), vspStatusNullPointer);
  EXPECT_TRUE(g.untouched() && evalDelta(g.data(), 2, 2, mul, 1, 0, 1, false, 0) == vspStatusOk);
}

}  // namespace
