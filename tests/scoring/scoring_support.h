// What the scoring tests share: scalar definitions of the Gaussian sums,
// written from the documented orders; random values and stepped matrices
// whose gaps must never be read; the one-element log-add; and the refusal
// tables of every order of checks.
#pragma once

#include <algorithm>
#include <cmath>
#include <limits>
#include <type_traits>

#include "support/harness.h"

namespace vsptest {

using LD = long double;

// The lane folds: single precision as two sets of four, added, then
// (c0 + c2) + (c1 + c3); double as four sets of two, added pairwise.
inline float foldRef(const float* a) {
  const float c0 = a[0] + a[4], c1 = a[1] + a[5], c2 = a[2] + a[6], c3 = a[3] + a[7];
  return (c0 + c2) + (c1 + c3);
}
inline double foldRef(const double* a) {
  return ((a[0] + a[2]) + (a[4] + a[6])) + ((a[1] + a[3]) + (a[5] + a[7]));
}

// A row's accumulator: from `init`, terms taken one by one up to the 16-byte
// boundary of var (mean without var) when `aligned` (from the first element
// otherwise), then rounds of 8 lanes folded and taken at once, then the rest
// one by one. Rows too short for a round take every term one by one.
template <class T, class In>
T rowAccRef(const In* s, const In* m, const In* v, int n, T init, bool aligned, bool subtract) {
  int p = 0;
  if (aligned) {
    const uintptr_t a = reinterpret_cast<uintptr_t>(v ? v : m);
    p = a % sizeof(In) ? -1 : int(((16 - a % 16) % 16) / sizeof(In));
  }
  T acc = init, lanes[8] = {};
  const auto term = [&](int i) {
    const T d = T(s[i]) - T(m[i]);
    return v ? (d * d) * T(v[i]) : d * d;
  };
  const auto take = [&](T x) { acc = subtract ? acc - x : acc + x; };
  int i = 0;
  if (p >= 0 && n >= p + 8) {
    for (; i < p; ++i) take(term(i));
    for (; i + 8 <= n; i += 8)
      for (int k = 0; k < 8; ++k) lanes[k] += term(i + k);
    take(foldRef(lanes));
  }
  for (; i < n; ++i) take(term(i));
  return acc;
}

// The exact integer sum, in 128 bits (the members wrap it to 64).
using i128 = __int128;
inline i128 rowSumRef16(const int16_t* s, const int16_t* m, const int16_t* v, int n) {
  i128 sum = 0;
  for (int i = 0; i < n; ++i) sum += i128(s[i] - m[i]) * (s[i] - m[i]) * (v ? v[i] : 1);
  return sum;
}

// The scale-factor shift of a 64-bit value, by division rather than shifts:
// floor division by 2^k for k > 0, a left shift keeping 64 bits for k < 0,
// the count taken modulo 64.
inline int64_t shiftRef(int64_t v, int64_t k) {
  const int c = int((k < 0 ? -k : k) % 64);
  if (k < 0) return int64_t(uint64_t(i128(v) * (i128(1) << c)));
  i128 q = i128(v) / (i128(1) << c);
  return int64_t(q - (i128(v) % (i128(1) << c) < 0));
}
inline int32_t wrap32(i128 v) { return int32_t(uint32_t(uint64_t(v))); }
inline int32_t clamp32(i128 v) {
  return v < INT32_MIN ? INT32_MIN : v > INT32_MAX ? INT32_MAX : int32_t(v);
}

// One-element log-adds through the exports: the step that every scoring
// family applies when a score meets a running value.
inline float logAddRef(float run, float s) { return vspsLogAdd_32f(&s, &run, 1, 0), run; }
inline double logAddRef(double run, double s) { return vspsLogAdd_64f(&s, &run, 1, 0), run; }

// The sum of squared differences in long double, the terms weighted by v (by
// 1 without v, by 1 / v when `invert`).
template <class T>
LD ldSum(const T* s, const T* m, const T* v, int n, bool invert = false) {
  LD sum = 0;
  for (int i = 0; i < n; ++i)
    sum += (LD(s[i]) - m[i]) * (LD(s[i]) - m[i]) * (!v ? 1 : invert ? 1 / LD(v[i]) : LD(v[i]));
  return sum;
}

// Data and weights; a quarter of the 16-bit weights are huge, so that the
// integer scores saturate, and float weights span magnitudes that make any
// change of summation order show in the bits. Small ones: scores of one
// magnitude, so that the log-adds of a mixture do real work.
template <class T>
T dataOf(Rng& r) {
  return T(sizeof(T) == 2 ? r.integer(-300, 300) : r.uniform(-3, 3));
}
template <class T>
T weightOf(Rng& r) {
  if constexpr (sizeof(T) == 2) return T(r.integer(0, 3) ? r.integer(1, 40) : 32767);
  return T(std::exp(r.uniform(-4, 4)));
}
template <class T>
T small(Rng& r) {
  return T(sizeof(T) == 2 ? r.integer(-20, 20) : r.uniform(-2, 2));
}
template <class T>
T smallWeight(Rng& r) {
  return T(sizeof(T) == 2 ? r.integer(1, 4) : r.uniform(0.2, 2));
}

// `n` rows of `width` values from `gen`, `step` apart, starting `misalign`
// bytes past a 64-byte boundary, between guard zones. The gaps hold NaN (or
// a large integer), so that a read of one shows in the results.
template <class T>
struct Matrix {
  Guarded<T> g;
  std::vector<const T*> rows;
  Matrix(Rng& r, int n, int width, int step, T (*gen)(Rng&), size_t misalign = 0)
      : g(size_t(n) * step, misalign), rows(n) {
    for (size_t i = 0; i < g.size(); ++i) g[i] = int(i % step) < width ? gen(r) : gap();
    for (int k = 0; k < n; ++k) rows[k] = g.data() + size_t(k) * step;
  }
  static T gap() { return std::is_integral_v<T> ? T(12345) : std::numeric_limits<T>::quiet_NaN(); }
  const T* data() const { return g.data(); }
};

inline uint32_t bits(int32_t v) { return uint32_t(v); }

// ---- Many rows against one vector ------------------------------------------------------
//
// The score of one row, by the scalar definition of the block and mixture
// families: for floats 0.5 * (2 * gConst - sum), the terms subtracted in the
// single-observation order; for 16-bit data with a float score gConst - sum *
// 2^-(sf + 1) (both scaled forms, at the scale factors used here); for
// integers the shifted sum clamped (IntClamp) or not (IntLow)
// before it is subtracted in 32 bits.
enum class Score { Half, Scaled, IntClamp, IntLow };
template <class T, class O>
O refScore(Score kind, const T* s, const T* m, const T* v, int w, O g, int sf) {
  if constexpr (std::is_integral_v<O>) {
    const int64_t shifted = shiftRef(int64_t(rowSumRef16(s, m, v, w)), int64_t(sf) + 1);
    return wrap32(i128(g) - (kind == Score::IntClamp ? clamp32(shifted) : shifted));
  } else if constexpr (sizeof(T) == 2) {
    const float sum = rowAccRef<float>(s, m, v, w, 0.0f, false, false);
    return g - sum * std::ldexp(1.0f, -sf - 1);
  } else {
    return O(0.5) * rowAccRef<O>(s, m, v, w, g + g, true, true);
  }
}

// A multi-row member adapted to one signature: a matrix of `count` rows with
// their weights (mat, wts), `step` apart or as row pointers, against one
// vector with its weights (x, w). g holds a constant per row (or one for all,
// oneConst); dst a value per row (a member that reads its constants there
// finds them), or one value for all (Fold: the mixtures). ref gives row k's
// value: exactly, or, for members whose grouping of terms is free, the value
// they approximate.
enum class Reduce { Store, Max, Add, Fold };
template <class T, class O>
struct RowMember {
  const char* name;
  VspStatus (*d2)(const T*, const T*, Vsp32s, const T*, const T*, Vsp32s, const O*, O*, Vsp32s,
                  Vsp32s);
  VspStatus (*d2l)(const T* const*, const T* const*, const T*, const T*, Vsp32s, const O*, O*,
                   Vsp32s, Vsp32s);
  O (*ref)(const T*, const T*, const T*, const T*, Vsp32s, O, Vsp32s);
  Reduce reduce;
  bool exact, oneConst;
};

// Every member in both layouts over widths (vector tails), counts (groups of
// four, batches of 64), gaps that must never be read, and rows and vectors at
// different offsets from a 16-byte boundary; dst lies between guard zones.
template <class T, class O, size_t N>
void expectRowsOf(const RowMember<T, O> (&members)[N], uint64_t seed, bool smallData) {
  SCOPED_TRACE(seedTrace(seed));
  Rng rng(seed);
  T (*data)(Rng&) = smallData ? small<T> : dataOf<T>;
  T (*weight)(Rng&) = smallData ? smallWeight<T> : weightOf<T>;
  const int sf = 3;
  for (const RowMember<T, O>& mb : members)
    for (int width : lengthsAround(8))
      for (int count : {1, 5, 67})
        for (int gap : {0, 3})
          for (size_t at : {0, 1}) {
            SCOPED_TRACE(testing::Message() << mb.name << " width/count/gap/at " << width << "/"
                                            << count << "/" << gap << "/" << at);
            const int step = width + gap, outs = mb.reduce == Reduce::Fold ? 1 : count;
            const Matrix<T> mat(rng, count, width, step, data, at * sizeof(T)),
                wts(rng, count, width, step, weight, at * sizeof(T)),
                x(rng, 1, width, width, data, (1 - at) * sizeof(T)),
                w(rng, 1, width, width, weight, at * sizeof(T));
            std::vector<O> g(count), start(count);
            Guarded<O> a(outs), b(outs);
            for (int k = 0; k < count; ++k) {
              g[k] = k && mb.oneConst ? g[0] : O(rng.integer(-50, 50)),
              start[k] = O(rng.integer(-200, 100));
              if (k < outs) a[k] = b[k] = mb.reduce == Reduce::Store ? g[k] : start[k];
            }
            const T *xs = x.data(), *ws = w.data();
            ASSERT_EQ(
                mb.d2(mat.data(), wts.data(), step, xs, ws, width, g.data(), a.data(), count, sf) |
                    mb.d2l(mat.rows.data(), wts.rows.data(), xs, ws, width, g.data(), b.data(),
                           count, sf),
                0);
            ASSERT_TRUE(a.guardsIntact() && b.guardsIntact());
            O fold = 0;
            for (int k = 0; k < count; ++k) {
              const O one = mb.ref(mat.rows[k], wts.rows[k], xs, ws, width, g[k], sf);
              O want = mb.reduce == Reduce::Max && !(one > start[k]) ? start[k] : one;
              if constexpr (std::is_floating_point_v<O>) {
                if (mb.reduce == Reduce::Add) want = logAddRef(start[k], one);
                want = fold = mb.reduce != Reduce::Fold ? want : k ? logAddRef(fold, one) : one;
              }
              if (mb.reduce == Reduce::Fold && k + 1 < count) continue;
              const LD tol = std::numeric_limits<O>::epsilon() * (width + 8) * 2 *
                             (fabsl(one) + 2 * fabsl(g[k]) +
                              (mb.reduce == Reduce::Store ? 0 : fabsl(start[k])));
              const int o = std::min(k, outs - 1);
              ASSERT_TRUE(mb.exact ? bits(a[o]) == bits(want) : fabsl(LD(a[o]) - want) <= tol)
                  << "row " << k << ": " << a[o] << " vs " << want;
              ASSERT_EQ(bits(b[o]), bits(a[o])) << "row " << k;
            }
          }
}
// Tables in turn, each with the next seed.
template <class... M>
void expectRows(uint64_t seed, bool smallData, const M&... tables) {
  (expectRowsOf(tables, seed++, smallData), ...);
}

// ---- Refusals ----------------------------------------------------------------------
//
// Valid arguments of every element type. A call takes its pointers through
// p(k, array) (row-pointer arrays hold 4 rows), its sizes from n (the width
// first, then counts) and its step from step. Each row of a table nulls
// pointer k, or every pointer, or spoils a size or the step; the status it
// expects follows from the family's order of checks. Values differ between
// the halves of each array (1, then 2), so that a subtraction of the second
// half from the first is valid.
enum class Order { StepPtrSize, PtrStepSize, PtrSizeStep, PtrSize, SizePtr };
struct Args {
  static inline VspStatus (*fn)(Args&) = nullptr;
  float f[32];
  double d[32];
  int16_t s[32];
  int32_t i[32];
  uint8_t u[32];
  const float* fr[4] = {f, f + 8, f + 16, f + 24};
  const int16_t* sr[4] = {s, s + 8, s + 16, s + 24};
  int nul = -1;  // the pointer made null, -2 for all of them
  Vsp32s step = 8, n[3] = {5, 3, 2};
  OutputWatch out;
  Args() {
    for (int k = 0; k < 32; ++k) f[k] = d[k] = s[k] = i[k] = 2 - (k < 16), u[k] = 0xFF;
    out.watch(f, sizeof f), out.watch(d, sizeof d), out.watch(s, sizeof s), out.watch(i, sizeof i);
  }
  template <class T>
  T* p(int k, T* x) const {
    return nul == k || nul == -2 ? nullptr : x;
  }
  VspStatus call() { return fn(*this); }
};

// Row pointers are never looked at before the checks pass.
inline void expectOrder(Order o, int pointers, int sizes, VspStatus (*fn)(Args&)) {
  Args::fn = fn;
  const VspStatus kNull = vspStatusNullPointer, kSize = vspStatusBadSize, kStep = vspStatusBadStep;
  const int z = sizes - 1;
  std::vector<Refusal<Args>> t = {
      {"rows never read", [z](Args& a) { a.fr[0] = nullptr, a.sr[0] = nullptr, a.n[z] = 0; },
       kSize}};
  for (int k = 0; k < sizes; ++k)
    t.push_back({"size " + std::to_string(k), [k](Args& a) { a.n[k] = k ? INT32_MIN : 0; }, kSize});
  for (int k = 0; k < pointers; ++k) {
    t.push_back({"null " + std::to_string(k), [k](Args& a) { a.nul = k; }, kNull});
    t.push_back({"null, no size " + std::to_string(k), [k, z](Args& a) { a.nul = k, a.n[z] = 0; },
                 o == Order::SizePtr ? kSize : kNull});
  }
  if (o != Order::PtrSize && o != Order::SizePtr)
    t.insert(t.end(), {{"step below width", [](Args& a) { a.step = 4; }, kStep},
                       {"negative step", [](Args& a) { a.step = -1; }, kStep},
                       {"bad step, every pointer null, no size",
                        [z](Args& a) { a.step = 4, a.nul = -2, a.n[z] = 0; },
                        o == Order::StepPtrSize ? kStep : kNull},
                       {"bad step, no size", [z](Args& a) { a.step = 4, a.n[z] = 0; },
                        o == Order::PtrSizeStep ? kSize : kStep}});
  expectRefusals<Args>(t);
}

}  // namespace vsptest
