// Delta features: every streaming member against the window definitions over
// the whole utterance and, cut into blocks of every size, against one whole
// call; the Aurora weights; the batch members' edge rule; the refusals.
#include <cstring>
#include <functional>

#include "support/harness.h"

namespace {

using namespace vsptest;
using ld = long double;

enum class Kind { Delta, DeltaDelta, Aurora };

// Scales of every member kind: the scalars, and multiplier rows of `width`.
// Beyond a shift of 8 the 16-bit scales are large, so that products wrap.
struct Scales {
  int sf;
  float d32 = 0.5f, dd32 = -1.25f;
  Vsp16s d16, dd16;
  std::vector<float> m32;
  std::vector<Vsp16s> m16;
  bool nullMul = false;
  Scales(int width, uint64_t seed, int sf_)
      : sf(sf_), d16(sf_ > 8 ? 32767 : 3), dd16(sf_ > 8 ? -32768 : -2) {
    Rng r(seed);
    for (int i = 0; i < 3 * width; ++i) {
      m32.push_back(r.uniformf(-2, 2));
      m16.push_back(sf > 8 ? r.s16() : r.s16(-5, 5));
    }
  }
  const float* p32() const { return nullMul ? nullptr : m32.data(); }
  const Vsp16s* p16() const { return nullMul ? nullptr : m16.data(); }
};

// A streaming member behind one signature; src and dst are float or Vsp16s
// as the member's type says.
using StreamCall = std::function<VspStatus(const void* src, int width, void* dst, int step,
                                           int height, int mode, const Scales& s)>;
struct Member {
  const char* name;
  Kind kind;
  int L;
  bool fix, mul;
  StreamCall call;
  int history() const { return kind == Kind::Aurora ? 8 : kind == Kind::Delta ? 2 * L : 3 * L; }
  int blocks() const { return kind == Kind::Delta ? 2 : 3; }
};

#define F32(p) static_cast<const float*>(p)
#define D32(p) static_cast<float*>(p)
#define F16(p) static_cast<const Vsp16s*>(p)
#define D16(p) static_cast<Vsp16s*>(p)
// clang-format off
const Member kMembers[] = {
  {"Delta_Win1_32f", Kind::Delta, 1, false, false, [](const void* s, int w, void* d, int st, int h, int m, const Scales& c) { return vspsDelta_Win1_32f_D2(F32(s), w, D32(d), st, h, c.d32, m); }},
  {"Delta_Win2_32f", Kind::Delta, 2, false, false, [](const void* s, int w, void* d, int st, int h, int m, const Scales& c) { return vspsDelta_Win2_32f_D2(F32(s), w, D32(d), st, h, c.d32, m); }},
  {"Delta_Win1_16s", Kind::Delta, 1, true, false, [](const void* s, int w, void* d, int st, int h, int m, const Scales& c) { return vspsDelta_Win1_16s_D2Sfs(F16(s), w, D16(d), st, h, c.d16, m, c.sf); }},
  {"Delta_Win2_16s", Kind::Delta, 2, true, false, [](const void* s, int w, void* d, int st, int h, int m, const Scales& c) { return vspsDelta_Win2_16s_D2Sfs(F16(s), w, D16(d), st, h, c.d16, m, c.sf); }},
  {"DeltaMul_Win1_32f", Kind::Delta, 1, false, true, [](const void* s, int w, void* d, int st, int h, int m, const Scales& c) { return vspsDeltaMul_Win1_32f_D2(F32(s), c.p32(), w, D32(d), st, h, m); }},
  {"DeltaMul_Win2_32f", Kind::Delta, 2, false, true, [](const void* s, int w, void* d, int st, int h, int m, const Scales& c) { return vspsDeltaMul_Win2_32f_D2(F32(s), c.p32(), w, D32(d), st, h, m); }},
  {"DeltaMul_Win1_16s", Kind::Delta, 1, true, true, [](const void* s, int w, void* d, int st, int h, int m, const Scales& c) { return vspsDeltaMul_Win1_16s_D2Sfs(F16(s), c.p16(), w, D16(d), st, h, m, c.sf); }},
  {"DeltaMul_Win2_16s", Kind::Delta, 2, true, true, [](const void* s, int w, void* d, int st, int h, int m, const Scales& c) { return vspsDeltaMul_Win2_16s_D2Sfs(F16(s), c.p16(), w, D16(d), st, h, m, c.sf); }},
  {"DeltaDelta_Win1_32f", Kind::DeltaDelta, 1, false, false, [](const void* s, int w, void* d, int st, int h, int m, const Scales& c) { return vspsDeltaDelta_Win1_32f_D2(F32(s), w, D32(d), st, h, c.d32, c.dd32, m); }},
  {"DeltaDelta_Win2_32f", Kind::DeltaDelta, 2, false, false, [](const void* s, int w, void* d, int st, int h, int m, const Scales& c) { return vspsDeltaDelta_Win2_32f_D2(F32(s), w, D32(d), st, h, c.d32, c.dd32, m); }},
  {"DeltaDelta_Win1_16s", Kind::DeltaDelta, 1, true, false, [](const void* s, int w, void* d, int st, int h, int m, const Scales& c) { return vspsDeltaDelta_Win1_16s_D2Sfs(F16(s), w, D16(d), st, h, c.d16, c.dd16, m, c.sf); }},
  {"DeltaDelta_Win2_16s", Kind::DeltaDelta, 2, true, false, [](const void* s, int w, void* d, int st, int h, int m, const Scales& c) { return vspsDeltaDelta_Win2_16s_D2Sfs(F16(s), w, D16(d), st, h, c.d16, c.dd16, m, c.sf); }},
  {"DeltaDeltaMul_Win1_32f", Kind::DeltaDelta, 1, false, true, [](const void* s, int w, void* d, int st, int h, int m, const Scales& c) { return vspsDeltaDeltaMul_Win1_32f_D2(F32(s), c.p32(), w, D32(d), st, h, m); }},
  {"DeltaDeltaMul_Win2_32f", Kind::DeltaDelta, 2, false, true, [](const void* s, int w, void* d, int st, int h, int m, const Scales& c) { return vspsDeltaDeltaMul_Win2_32f_D2(F32(s), c.p32(), w, D32(d), st, h, m); }},
  {"DeltaDeltaMul_Win1_16s", Kind::DeltaDelta, 1, true, true, [](const void* s, int w, void* d, int st, int h, int m, const Scales& c) { return vspsDeltaDeltaMul_Win1_16s_D2Sfs(F16(s), c.p16(), w, D16(d), st, h, m, c.sf); }},
  {"DeltaDeltaMul_Win2_16s", Kind::DeltaDelta, 2, true, true, [](const void* s, int w, void* d, int st, int h, int m, const Scales& c) { return vspsDeltaDeltaMul_Win2_16s_D2Sfs(F16(s), c.p16(), w, D16(d), st, h, m, c.sf); }},
  {"DeltaDelta_Aurora_32f", Kind::Aurora, 4, false, false, [](const void* s, int, void* d, int st, int h, int m, const Scales&) { return vspsDeltaDelta_Aurora_32f_D2(F32(s), D32(d), st, h, m); }},
  {"DeltaDelta_Aurora_16s", Kind::Aurora, 4, true, false, [](const void* s, int, void* d, int st, int h, int m, const Scales& c) { return vspsDeltaDelta_Aurora_16s_D2Sfs(F16(s), D16(d), st, h, m, c.sf); }},
  {"DeltaDeltaMul_Aurora_32f", Kind::Aurora, 4, false, true, [](const void* s, int, void* d, int st, int h, int m, const Scales& c) { return vspsDeltaDeltaMul_Aurora_32f_D2(F32(s), c.p32(), D32(d), st, h, m); }},
  {"DeltaDeltaMul_Aurora_16s", Kind::Aurora, 4, true, true, [](const void* s, int, void* d, int st, int h, int m, const Scales& c) { return vspsDeltaDeltaMul_Aurora_16s_D2Sfs(F16(s), c.p16(), D16(d), st, h, m, c.sf); }},
};
// clang-format on

const float kAuroraSecond[9] = {1.0f,       0.25f,      -0.285714f, -0.607143f, -0.714286f,
                                -0.607143f, -0.285714f, 0.25f,      1.0f};

// The 16-bit rule: raw * scale kept to 32 bits, shifted by the scale factor
// (right for positive, left for negative, the count being the factor's low
// five bits as they stand: -2 shifts left by 30), saturated.
Vsp16s fixRule(int64_t raw, int scale, int sf) {
  const int32_t v = int32_t(uint32_t(uint64_t(raw * scale)));
  const int n = int(uint32_t(sf) & 31);
  const int32_t s = sf > 0 ? v >> n : sf < 0 ? int32_t(uint32_t(v) << n) : v;
  return Vsp16s(std::min(32767, std::max(-32768, s)));
}

// One utterance, and its member's output from the definitions over the whole
// of it: out[t][b * width + c], with the tolerance of derived values (0: exact).
struct Utterance {
  int frames, width, srcStep;
  std::vector<float> s32;
  std::vector<Vsp16s> s16;
  Utterance(const Member& m, int frames_, int width_, uint64_t seed)
      : frames(frames_), width(width_), srcStep(m.kind == Kind::Aurora ? 14 : width_) {
    Rng r(seed);
    for (int i = 0; i < frames * srcStep; ++i) {
      const bool spare = i % srcStep >= width;  // column 13 of Aurora rows: never read
      s32.push_back(spare ? 1e30f : r.uniformf(-8, 8));
      s16.push_back(spare ? Vsp16s(32767) : r.s16(-12000, 12000));
    }
  }
  const void* src(const Member& m, int frame = 0) const {
    const size_t at = size_t(frame) * srcStep;
    return m.fix ? static_cast<const void*>(s16.data() + at) : s32.data() + at;
  }
  std::vector<std::vector<ld>> reference(const Member& m, const Scales& sc, ld* tol) const;
};

std::vector<std::vector<ld>> Utterance::reference(const Member& m, const Scales& sc,
                                                  ld* tol) const {
  const int T = frames, W = width;
  auto at = [&](const std::vector<std::vector<ld>>& v, int t, int c) {
    return v[std::min(std::max(t, 0), T - 1)][c];  // missing frames are the nearest
  };
  std::vector<std::vector<ld>> x(T, std::vector<ld>(W)), d = x, dd = x;
  for (int t = 0; t < T; ++t)
    for (int c = 0; c < W; ++c) {
      const int i = t * srcStep + c;
      if (!m.mul)
        x[t][c] = m.fix ? ld(s16[i]) : ld(s32[i]);
      else
        x[t][c] = m.fix ? ld(fixRule(s16[i], sc.m16[c], sc.sf)) : ld(s32[i] * sc.m32[c]);
    }
  // The regression windows in the element type's own arithmetic.
  auto win = [&](const std::vector<std::vector<ld>>& v, int t, int c, int block) -> ld {
    if (m.fix) {
      int64_t raw = int64_t(at(v, t + 1, c) - at(v, t - 1, c));
      if (m.L == 2) raw += 2 * int64_t(at(v, t + 2, c) - at(v, t - 2, c));
      return fixRule(raw, m.mul ? sc.m16[block * W + c] : block == 1 ? sc.d16 : sc.dd16, sc.sf);
    }
    float raw = float(at(v, t + 1, c)) - float(at(v, t - 1, c));
    if (m.L == 2) raw = raw + 2.0f * (float(at(v, t + 2, c)) - float(at(v, t - 2, c)));
    return raw * (m.mul ? sc.m32[block * W + c] : block == 1 ? sc.d32 : sc.dd32);
  };
  *tol = 0;
  for (int t = 0; t < T; ++t)
    for (int c = 0; c < W; ++c) {
      if (m.kind != Kind::Aurora) {
        d[t][c] = win(x, t, c, 1);
        continue;
      }
      // Aurora: k / 4 and the second derivative weights over nine frames.
      ld sd = 0, s2 = 0, mag = 0;
      for (int k = -4; k <= 4; ++k) {
        sd += ld(k) / 4 * at(x, t + k, c);
        s2 += ld(kAuroraSecond[k + 4]) * at(x, t + k, c);
        mag += std::fabs(at(x, t + k, c));
      }
      const ld m1 = !m.mul ? 1 : m.fix ? sc.m16[W + c] : sc.m32[W + c];
      const ld m2 = !m.mul ? 1 : m.fix ? sc.m16[2 * W + c] : sc.m32[2 * W + c];
      if (m.fix) {
        d[t][c] = fixRule(int64_t(sd * 4) * int64_t(m1), 1, sc.sf + 2);
        dd[t][c] = std::trunc(std::clamp(std::ldexp(s2 * m2, -sc.sf), ld(-32768), ld(32767)));
        *tol = 1;  // float sums before truncation
      } else {
        d[t][c] = sd * m1, dd[t][c] = s2 * m2;
        *tol = std::max(*tol, 12 * mag * 4 * std::numeric_limits<float>::epsilon());
      }
    }
  if (m.kind == Kind::DeltaDelta)
    for (int t = 0; t < T; ++t)
      for (int c = 0; c < W; ++c) dd[t][c] = win(d, t, c, 2);
  for (int t = 0; t < T; ++t) {
    x[t].insert(x[t].end(), d[t].begin(), d[t].end());
    if (m.blocks() == 3) x[t].insert(x[t].end(), dd[t].begin(), dd[t].end());
  }
  return x;
}

// An output matrix of the member's type with a padded step.
struct Matrix {
  bool fix;
  int rows, step, es;
  Guarded<unsigned char> bytes;
  Matrix(const Member& m, int rows_, int step_, size_t misalign = 0)
      : fix(m.fix),
        rows(rows_),
        step(step_),
        es(m.fix ? 2 : 4),
        bytes(size_t(rows_) * step_ * es, misalign * es) {}
  void* row(int t) { return bytes.data() + size_t(t) * step * es; }
  ld at(int t, int c) const {
    const unsigned char* p = bytes.data() + (size_t(t) * step + c) * es;
    return fix ? ld(*reinterpret_cast<const Vsp16s*>(p)) : ld(*reinterpret_cast<const float*>(p));
  }
  bool padUntouched(int used) const {
    for (int t = 0; t < rows; ++t)
      for (int b = used * es; b < step * es; ++b)
        if (bytes[size_t(t) * step * es + b] != Guarded<float>::kSentinel) return false;
    return bytes.guardsIntact();
  }
};

// One call over the whole utterance against the definitions; then the same
// stream cut into calls: the first takes vspDeltaBegin and at least the frames
// it consumes, each later one gets dst at the row where its history starts,
// and the utterance ends with the last block or with an extra call of height
// 0. Every cut must give the whole call's bytes.
TEST(DeltaStream, DefinitionsHoldAndBlocksOfEverySizeGiveTheWholeCall) {
  for (const Member& m : kMembers)
    for (int w : {1, 5, 13})
      for (int extra : {0, 1, 17})
        for (int sf : {-2, 0, 3, 17}) {
          const int width = m.kind == Kind::Aurora ? 13 : w, H = m.history(), frames = H + extra;
          const uint64_t seed = 31 * w + 7 * extra + sf + 1000;
          SCOPED_TRACE(std::string(m.name) + " width=" + std::to_string(width) +
                       " frames=" + std::to_string(frames) + " sf=" + std::to_string(sf) + " " +
                       seedTrace(seed));
          const Scales sc(width, seed, sf);
          const Utterance u(m, frames, width, seed);
          const int used = m.blocks() * width, step = used + 3;
          Matrix whole(m, frames, step);
          ASSERT_EQ(
              m.call(u.src(m), width, whole.row(0), step, frames, vspDeltaBegin | vspDeltaEnd, sc),
              vspStatusOk);
          ld tol = 0;
          const auto want = u.reference(m, sc, &tol);
          for (int t = 0; t < frames; ++t)
            for (int c = 0; c < used; ++c) {
              if (c < width || tol == 0 || (m.kind == Kind::Aurora && m.fix && c < 2 * width))
                ASSERT_EQ(whole.at(t, c), want[t][c]) << "row " << t << " column " << c;
              else
                ASSERT_NEAR(double(whole.at(t, c)), double(want[t][c]), double(tol))
                    << "row " << t << " column " << c;
            }
          EXPECT_TRUE(whole.padUntouched(used)) << "wrote into the step's gap";
          for (int block = 1; block <= 8; ++block)
            for (bool endAlone : {false, true}) {
              Matrix parts(m, frames, step, block % 2);  // odd blocks: one element off
              for (int done = 0, h = 0; done < frames; done += h) {
                h = done == 0 ? std::min(std::max(block, H), frames)
                              : std::min(block, frames - done);
                const int mode = (done == 0 ? vspDeltaBegin : 0) |
                                 (done + h == frames && !endAlone ? vspDeltaEnd : 0);
                ASSERT_EQ(m.call(u.src(m, done), width, parts.row(done == 0 ? 0 : done - H), step,
                                 h, mode, sc),
                          vspStatusOk)
                    << "block " << block << " at frame " << done;
              }
              if (endAlone) {
                ASSERT_EQ(m.call(u.src(m), width, parts.row(frames - H), step, 0, vspDeltaEnd, sc),
                          vspStatusOk);
              }
              EXPECT_EQ(std::memcmp(parts.bytes.data(), whole.bytes.data(), whole.bytes.size()), 0)
                  << "block " << block << (endAlone ? ", end alone" : "");
              EXPECT_TRUE(parts.padUntouched(used));
            }
        }
}

// An impulse at frame 10 of a silent stream: the derivatives of frame 10 - k
// are the weights of lag k, exactly.
TEST(DeltaAurora, ImpulseResponsesAreTheWeights) {
  std::vector<float> src(21 * 14, 0.0f), out(21 * 39);
  std::vector<Vsp16s> src16(21 * 14, 0), out16(21 * 39);
  for (int c = 0; c < 13; ++c) src[10 * 14 + c] = 1.0f, src16[10 * 14 + c] = 400;
  ASSERT_EQ(vspsDeltaDelta_Aurora_32f_D2(src.data(), out.data(), 39, 21, 3), vspStatusOk);
  ASSERT_EQ(vspsDeltaDelta_Aurora_16s_D2Sfs(src16.data(), out16.data(), 39, 21, 3, 0), vspStatusOk);
  for (int k = -4; k <= 4; ++k)
    for (int c = 0; c < 13; ++c) {
      const int t = 10 - k;
      EXPECT_EQ(out[t * 39 + 13 + c], k * 0.25f) << "k=" << k;
      EXPECT_EQ(out[t * 39 + 26 + c], kAuroraSecond[k + 4]) << "k=" << k;
      EXPECT_EQ(out16[t * 39 + 13 + c], 100 * k) << "k=" << k;  // (k * 400) >> 2
      EXPECT_EQ(out16[t * 39 + 26 + c], Vsp16s(kAuroraSecond[k + 4] * 400.0f)) << "k=" << k;
    }
  EXPECT_EQ(out[2 * 39 + 13], 0.0f);
  EXPECT_EQ(out[18 * 39 + 26], 0.0f);
}

// Near the start every past frame is frame 0, near the end every future frame
// is the last one, even for lags inside the matrix.
template <class T>
ld evalRef(const T* x, int H, int step, int W, int t) {
  ld sum = 0;
  for (int i = 1; i <= W; ++i)
    sum += i * (ld(x[size_t(t >= H - W ? H - 1 : t + i) * step]) -
                ld(x[size_t(t < W ? 0 : t - i) * step]));
  return sum;
}

TEST(EvalDelta, EveryMemberFollowsTheEdgeRule) {
  struct Shape {
    int H, W, width, offset, pad;
  };
  const Shape shapes[] = {{2, 1, 1, 0, 0},   {4, 2, 3, 1, 2},   {6, 3, 13, 0, 0},  {7, 3, 63, 2, 1},
                          {12, 5, 64, 0, 3}, {11, 2, 65, 4, 0}, {40, 4, 130, 1, 5}};
  for (const Shape& s : shapes)
    for (int member = 0; member < 4; ++member) {
      const bool fix = member & 1, mul = member & 2;
      const int step = s.offset + 2 * s.width + s.pad, sf = fix ? 1 : 0;
      const uint64_t seed = 77 + s.H * 3 + member;
      SCOPED_TRACE("H=" + std::to_string(s.H) + " W=" + std::to_string(s.W) +
                   " width=" + std::to_string(s.width) + " member " + std::to_string(member) + " " +
                   seedTrace(seed));
      Rng r(seed);
      std::vector<float> m32(s.H * step), mul32(s.width);
      std::vector<Vsp16s> m16(s.H * step), mul16(s.width);
      for (auto& v : m32) v = r.uniformf(-10, 10);
      for (auto& v : m16) v = r.s16(-3000, 3000);
      for (auto& v : mul32) v = r.uniformf(-2, 2);
      for (auto& v : mul16) v = r.s16(-4, 4);
      const auto in32 = m32;
      const auto in16 = m16;
      float* p = m32.data();
      Vsp16s* q = m16.data();
      ASSERT_EQ(
          member == 0   ? vspsEvalDelta_32f_D2(p, s.H, step, s.width, s.offset, s.W, 0.1f)
          : member == 1 ? vspsEvalDelta_16s_D2Sfs(q, s.H, step, s.width, s.offset, s.W, 3, sf)
          : member == 2
              ? vspsEvalDeltaMul_32f_D2(p, s.H, step, mul32.data(), s.width, s.offset, s.W)
              : vspsEvalDeltaMul_16s_D2Sfs(q, s.H, step, mul16.data(), s.width, s.offset, s.W, sf),
          vspStatusOk);
      for (int t = 0; t < s.H; ++t)
        for (int c = 0; c < step; ++c) {
          const size_t i = size_t(t) * step + c;
          const int col = c - s.offset - s.width;
          if (col < 0 || col >= s.width) {
            ASSERT_EQ(fix ? m16[i] : m32[i], fix ? in16[i] : in32[i])
                << "changed outside the deltas";
          } else if (fix) {
            const ld raw = evalRef(&in16[s.offset + col], s.H, step, s.W, t);
            ASSERT_EQ(m16[i], fixRule(int64_t(raw), mul ? mul16[col] : 3, sf)) << t << "," << col;
          } else {
            const ld scale = mul ? mul32[col] : 0.1f;
            const ld bound =
                4 * s.W * s.W * 20 * std::fabs(scale) * std::numeric_limits<float>::epsilon();
            ASSERT_NEAR(m32[i], double(evalRef(&in32[s.offset + col], s.H, step, s.W, t) * scale),
                        double(bound))
                << t << "," << col;
          }
        }
    }
}

const Member* gMember = &kMembers[0];  // the member under test, for the fixture
struct StreamFixture {
  const Member& m = *gMember;
  Scales sc{13, 1, 0};  // three rows of 13: enough for every width here
  std::vector<float> src32 = std::vector<float>(16 * 14, 1.0f);
  std::vector<Vsp16s> src16 = std::vector<Vsp16s>(16 * 14, 1);
  Guarded<float> d32{16 * 40};
  Guarded<Vsp16s> d16{16 * 40};
  const void* src = m.fix ? static_cast<const void*>(src16.data()) : src32.data();
  void* dst = m.fix ? static_cast<void*>(d16.data()) : d32.data();
  int width = m.kind == Kind::Aurora ? 13 : 4, step = m.blocks() * width, height = 8;
  int mode = vspDeltaBegin;
  OutputWatch out;
  StreamFixture() {
    out.watch(d32.data(), 16 * 40 * 4);
    out.watch(d16.data(), 16 * 40 * 2);
  }
  VspStatus call() { return m.call(src, width, dst, step, height, mode, sc); }
};

TEST(DeltaStream, RefusalsInTheirOrder) {
  using F = StreamFixture;
  for (const Member& mem : kMembers) {
    SCOPED_TRACE(mem.name);
    gMember = &mem;
    // clang-format off
    std::vector<Refusal<F>> table = {
        {"null src", [](F& f) { f.src = nullptr; f.height = -1; }, vspStatusNullPointer},
        {"null dst", [](F& f) { f.dst = nullptr; f.step = 0; }, vspStatusNullPointer},
        {"negative height", [](F& f) { f.height = -1; f.step = 0; }, vspStatusBadSize},
        {"height 0 without End", [](F& f) { f.height = 0; }, vspStatusBadSize},
        {"height 0, no marks", [](F& f) { f.height = 0; f.mode = 0; }, vspStatusBadSize},
        {"step below the blocks", [](F& f) { f.step -= 1; f.height = 1; }, vspStatusBadStep},
        {"Begin below the frames it consumes", [](F& f) { f.height = f.m.history() - 1; }, vspStatusBadSize},
        {"Begin and End with height 0", [](F& f) { f.height = 0; f.mode = 3; }, vspStatusBadSize},
    };
    if (mem.kind != Kind::Aurora) table.push_back({"width 0", [](F& f) { f.width = 0; f.step = -1; }, vspStatusBadSize});
    if (mem.mul) table.push_back({"null multipliers", [](F& f) { f.sc.nullMul = true; f.height = -1; }, vspStatusNullPointer});
    // clang-format on
    expectRefusals<F>(table);
  }
  gMember = &kMembers[0];
}

TEST(EvalDelta, RefusalsInTheirOrder) {
  Guarded<float> g(80);
  float* m = g.data();
  const float mul[3] = {1, 2, 3};
  auto eval = [&](float* p, int height, int step, int width, int offset, int window) {
    return vspsEvalDelta_32f_D2(p, height, step, width, offset, window, 1.0f);
  };
  EXPECT_EQ(eval(nullptr, 0, 10, 3, 2, 2), vspStatusNullPointer);
  EXPECT_EQ(vspsEvalDeltaMul_32f_D2(m, 8, 0, nullptr, 3, 2, 2), vspStatusNullPointer);
  EXPECT_EQ(vspsEvalDeltaMul_16s_D2Sfs(nullptr, 8, 10, nullptr, 3, 2, 2, 0), vspStatusNullPointer);
  EXPECT_EQ(eval(m, 0, 0, 3, 2, 2), vspStatusBadSize);
  EXPECT_EQ(eval(m, 8, 10, 0, 2, 2), vspStatusBadSize);
  EXPECT_EQ(eval(m, 8, 10, 3, 2, 0), vspStatusBadSize);
  EXPECT_EQ(eval(m, 8, 10, 3, -1, 2), vspStatusBadSize);
  EXPECT_EQ(vspsEvalDeltaMul_32f_D2(m, 8, 0, mul, 3, 2, 5), vspStatusBadSize);  // H < 2 W
  EXPECT_EQ(eval(m, 3, 7, 3, 2, 1), vspStatusBadStep);
  EXPECT_EQ(eval(m, 8, 10, 3, INT32_MAX, 2), vspStatusBadStep);
  EXPECT_TRUE(g.untouched());
  EXPECT_EQ(eval(m, 2, 2, 1, 0, 1), vspStatusOk);
}

}  // namespace
