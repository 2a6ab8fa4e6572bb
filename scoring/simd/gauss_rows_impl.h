// The four-rows-per-pass kernels, written once over a tier's vector kit.
// Included by each tier's unit inside namespace vsp::<tier>, after an
// unnamed namespace that defines the kit:
//
//   F8, D8 (or any 8-lane double type): eight lanes of one row, with zero(),
//     load(p), loadPart(p, n) (zeros from lane n on, nothing read past p + n)
//     and the operators + - *;
//   F4, D4: one lane per row of a group of four, with load, store, + and -;
//   columns(const V8 rows[4], V4 cols[8]): lane k of the four rows into
//     column k;
//   VecOf<Acc>::V8 and ::V4 for float and double;
//   optionally (VSP_ROWS_INT_KIT) IntVec and IntAcc, the exact 16-bit sums:
//     IntVec::kWidth lanes of int32 with load, loadPart, - and *, IntAcc with
//     zero(), add(d, w) (accumulates d * w in 64 bits) and total().
//
// A group of four rows keeps one accumulator per row in the lanes of a V4.
// Terms that a row must take one by one are formed eight at a time per row,
// transposed, and taken column after column: each lane then sees exactly
// the scalar sequence of its row. Rows whose plans differ (a mixture whose
// var rows start at different offsets from a 16-byte boundary) pad their
// shorter phases with zero terms; adding +0 to a lane that started at +0,
// or subtracting +0 from anything, changes no bit, so the padding is exact.
// A group short of four rows repeats its last row and drops the copies.

namespace {

// The rows' layout, fixed per instance: a shared source (one observation,
// many models), a shared model (many frames, one Gaussian), or neither.
enum class Share { Src, Model, None };

// Elements [0, pre) one by one, `rounds` rounds of 8 lanes, the rest one by
// one. A row without a vector path takes all of its elements in `pre`.
struct Plan {
  int32_t pre, rounds;
};
template <class In>
VSP_ALWAYS_INLINE Plan planOf(const In* m, const In* v, int32_t n) {
  // Float and double rows start at the 16-byte boundary of var (mean without
  // var); 16-bit rows run from the first element.
  const int32_t p = sizeof(In) == 2 ? 0 : ::vsp::prologueTo16(v ? v : m);
  if (p < 0 || int64_t(n) < int64_t(p) + 8) return {n, 0};
  return {p, (n - p) / 8};
}

template <class Acc, class In, bool HasVar, Share Sh>
struct Quad {
  using V8 = typename VecOf<Acc>::V8;
  using V4 = typename VecOf<Acc>::V4;
  // Float and double rows start from 2 * gConst and subtract; 16-bit rows
  // add up from zero.
  static constexpr bool kSub = sizeof(In) != 2;
  static constexpr bool kShS = Sh == Share::Src, kShM = Sh == Share::Model;

  const In* s[4];
  const In* m[4];
  const In* v[4];
  Plan plan[4];
  int32_t n;

  static VSP_ALWAYS_INLINE V8 term(V8 sv, V8 mv, V8 vv) {
    const V8 d = sv - mv;
    return HasVar ? (d * d) * vv : d * d;
  }
  template <bool Full>
  static VSP_ALWAYS_INLINE V8 ld(const In* p, int c) {
    if constexpr (Full) return V8::load(p);
    return V8::loadPart(p, c);
  }
  VSP_ALWAYS_INLINE void take(V4& acc, V4 x) const { acc = kSub ? acc - x : acc + x; }

  // Terms of rows 0..3 at offsets o[j] (c[j] of them, up to 8; all 8 when
  // Full). With one offset for all rows, a shared operand is loaded once.
  template <bool Full, bool Same>
  VSP_ALWAYS_INLINE void terms(V8 t[4], const int64_t* o, const int* c) const {
    V8 ss = V8::zero(), ms = V8::zero(), vs = V8::zero();
    if constexpr (Same && kShS) ss = ld<Full>(s[0] + o[0], c[0]);
    if constexpr (Same && kShM) {
      ms = ld<Full>(m[0] + o[0], c[0]);
      if constexpr (HasVar) vs = ld<Full>(v[0] + o[0], c[0]);
    }
    for (int j = 0; j < 4; ++j) {
      const V8 sv = Same && kShS ? ss : ld<Full>(s[j] + o[j], c[j]);
      const V8 mv = Same && kShM ? ms : ld<Full>(m[j] + o[j], c[j]);
      V8 vv = vs;
      if constexpr (HasVar && !(Same && kShM)) vv = ld<Full>(v[j] + o[j], c[j]);
      t[j] = term(sv, mv, vv);
    }
  }

  // Elements start[j] .. start[j] + count[j] - 1 of each row, one by one.
  template <bool Uniform>
  VSP_ALWAYS_INLINE void singles(V4& acc, const int32_t* start, const int32_t* count) const {
    int32_t most = count[0];
    for (int j = 1; j < 4; ++j) most = count[j] > most ? count[j] : most;
    for (int32_t k0 = 0; k0 < most; k0 += 8) {
      int64_t o[4];
      int c[4];
      for (int j = 0; j < 4; ++j) {
        const int32_t left = count[j] - k0;
        c[j] = left >= 8 ? 8 : left > 0 ? int(left) : 0;
        o[j] = c[j] > 0 ? int64_t(start[j]) + k0 : 0;  // never aim past a row
      }
      V8 t[4];
      terms<false, Uniform>(t, o, c);
      V4 col[8];
      columns(t, col);
      const int32_t k1 = most - k0 < 8 ? most - k0 : 8;
      for (int32_t k = 0; k < k1; ++k) take(acc, col[k]);
    }
  }

  template <bool Uniform>
  VSP_ALWAYS_INLINE void lanes(V8 L[4]) const {
    int32_t lo = plan[0].rounds, hi = plan[0].rounds;
    for (int j = 1; j < 4; ++j) {
      lo = plan[j].rounds < lo ? plan[j].rounds : lo;
      hi = plan[j].rounds > hi ? plan[j].rounds : hi;
    }
    static constexpr int kAll[4] = {8, 8, 8, 8};
    for (int32_t r = 0; r < lo; ++r) {
      int64_t o[4];
      for (int j = 0; j < 4; ++j) o[j] = int64_t(plan[j].pre) + 8 * int64_t(r);
      V8 t[4];
      terms<true, Uniform>(t, o, kAll);
      for (int j = 0; j < 4; ++j) L[j] = L[j] + t[j];
    }
    // Rows with one round more than the others (their prologue is shorter).
    for (int32_t r = lo; r < hi; ++r)
      for (int j = 0; j < 4; ++j) {
        if (r >= plan[j].rounds) continue;
        const int64_t o = int64_t(plan[j].pre) + 8 * int64_t(r);
        V8 vv = V8::zero();
        if constexpr (HasVar) vv = V8::load(v[j] + o);
        L[j] = L[j] + term(V8::load(s[j] + o), V8::load(m[j] + o), vv);
      }
  }

  template <bool Uniform>
  VSP_ALWAYS_INLINE void go(const Acc* init, Acc* out) const {
    V4 acc = V4::load(init);
    int32_t zero[4], pre[4], tail[4], left[4];
    bool anyRounds = false;
    for (int j = 0; j < 4; ++j) {
      zero[j] = 0;
      pre[j] = plan[j].pre;
      tail[j] = plan[j].pre + 8 * plan[j].rounds;
      left[j] = n - tail[j];
      anyRounds = anyRounds || plan[j].rounds > 0;
    }
    singles<Uniform>(acc, zero, pre);
    if (anyRounds) {
      V8 L[4] = {V8::zero(), V8::zero(), V8::zero(), V8::zero()};
      lanes<Uniform>(L);
      V4 col[8];
      columns(L, col);
      if constexpr (sizeof(Acc) == 4)
        take(acc, ::vsp::foldLanes32(col));
      else
        take(acc, ::vsp::foldLanes64(col));
    }
    singles<Uniform>(acc, tail, left);
    acc.store(out);
  }

  void run(const Acc* init, Acc* out) const {
    bool uniform = true;
    for (int j = 1; j < 4; ++j)
      uniform = uniform && plan[j].pre == plan[0].pre && plan[j].rounds == plan[0].rounds;
    if (uniform)
      go<true>(init, out);
    else
      go<false>(init, out);
  }
};

// Rows of a batch in groups of four.
template <class In, class Acc, class Group>
VSP_ALWAYS_INLINE void eachGroup(const RowBatch<In, Acc>& b, Group&& group) {
  for (int32_t r0 = 0; r0 < b.rows; r0 += 4) {
    const int32_t g = b.rows - r0 < 4 ? b.rows - r0 : 4;
    int32_t row[4];
    for (int j = 0; j < 4; ++j) row[j] = r0 + (j < g ? j : g - 1);
    group(row, g);
  }
}
template <class In, class Acc, bool HasVar, Share Sh, class Q>
VSP_ALWAYS_INLINE void bindRows(const RowBatch<In, Acc>& b, const int32_t* row, Q& q) {
  for (int j = 0; j < 4; ++j) {
    q.s[j] = b.src[Sh == Share::Src ? 0 : row[j]];
    q.m[j] = b.mean[Sh == Share::Model ? 0 : row[j]];
    q.v[j] = HasVar ? b.var[Sh == Share::Model ? 0 : row[j]] : nullptr;
  }
}

template <class Acc, class In, bool HasVar, Share Sh>
void floatRows(const RowBatch<In, Acc>& b) {
  eachGroup(b, [&](const int32_t* row, int32_t g) {
    Quad<Acc, In, HasVar, Sh> q;
    bindRows<In, Acc, HasVar, Sh>(b, row, q);
    q.n = b.width;
    Acc init[4], out[4];
    for (int j = 0; j < 4; ++j) {
      q.plan[j] = planOf(q.m[j], q.v[j], b.width);
      init[j] = b.init[row[j]];
    }
    q.run(init, out);
    for (int j = 0; j < g; ++j) b.out[row[j]] = out[j];
  });
}

template <class Acc, class In>
void floatEntry(const RowBatch<In, Acc>& b) {
  const bool v = b.var != nullptr;
  if (b.sharedModel)
    v ? floatRows<Acc, In, true, Share::Model>(b) : floatRows<Acc, In, false, Share::Model>(b);
  else if (b.sharedSrc)
    v ? floatRows<Acc, In, true, Share::Src>(b) : floatRows<Acc, In, false, Share::Src>(b);
  else
    v ? floatRows<Acc, In, true, Share::None>(b) : floatRows<Acc, In, false, Share::None>(b);
}

#ifdef VSP_ROWS_INT_KIT
// Exact 16-bit sums, kWidth elements a step, the tail by a partial step.
template <bool HasVar, Share Sh>
void intRows(const RowBatch<int16_t, int64_t>& b) {
  constexpr int W = IntVec::kWidth;
  const int32_t n = b.width;
  eachGroup(b, [&](const int32_t* row, int32_t g) {
    struct {
      const int16_t *s[4], *m[4], *v[4];
    } q;
    bindRows<int16_t, int64_t, HasVar, Sh>(b, row, q);
    IntAcc acc[4] = {IntAcc::zero(), IntAcc::zero(), IntAcc::zero(), IntAcc::zero()};
    auto step = [&](int32_t i, auto load) {
      IntVec ss{}, ms{}, vs{};
      if constexpr (Sh == Share::Src) ss = load(q.s[0] + i);
      if constexpr (Sh == Share::Model) {
        ms = load(q.m[0] + i);
        if constexpr (HasVar) vs = load(q.v[0] + i);
      }
      for (int j = 0; j < 4; ++j) {
        if constexpr (Sh != Share::Src) ss = load(q.s[j] + i);
        if constexpr (Sh != Share::Model) {
          ms = load(q.m[j] + i);
          if constexpr (HasVar) vs = load(q.v[j] + i);
        }
        const IntVec d = ss - ms;
        acc[j].add(d, HasVar ? d * vs : d);
      }
    };
    int32_t i = 0;
    for (; i + W <= n; i += W) step(i, [](const int16_t* p) { return IntVec::load(p); });
    if (i < n) step(i, [c = int(n - i)](const int16_t* p) { return IntVec::loadPart(p, c); });
    for (int j = 0; j < g; ++j) b.out[row[j]] = acc[j].total();
  });
}
#endif

}  // namespace

void rowSums(const RowBatch<float, float>& b) { floatEntry(b); }
void rowSums(const RowBatch<double, double>& b) { floatEntry(b); }
void rowSums(const RowBatch<int16_t, float>& b) { floatEntry(b); }
#ifdef VSP_ROWS_INT_KIT
void rowSums(const RowBatch<int16_t, int64_t>& b) {
  const bool v = b.var != nullptr;
  if (b.sharedModel)
    v ? intRows<true, Share::Model>(b) : intRows<false, Share::Model>(b);
  else if (b.sharedSrc)
    v ? intRows<true, Share::Src>(b) : intRows<false, Share::Src>(b);
  else
    v ? intRows<true, Share::None>(b) : intRows<false, Share::None>(b);
}
#endif
