// The four-rows-per-pass kernels, written once over a tier's vector kit.
// Included by each tier's unit inside namespace vsp::<tier>, after an
// unnamed namespace that defines the kit:
//
//   F8 and Lanes8d (eight floats, eight doubles): eight lanes of one row,
//     with zero(), load(p), loadPart(p, n) (zeros from lane n on, nothing
//     read past p + n), loadSplit(a, na, b, nb) and the operators + - *;
//   F4, D4: one lane per row of a group of four, with load, store, + and -;
//   columns(const V8 rows[4], V4 cols[8]): lane k of the four rows into
//     column k;
//   LogLanes: lanes of doubles (kLanes of them) with load and store of float
//     and double, + - *, comparisons, and the lane operations of the pair
//     step (splat, select, allOf, negate, pick; see scoring/logadd.h);
//   optionally (VSP_ROWS_INT_KIT) IntVec and IntAcc, the exact 16-bit sums:
//     IntVec::kWidth lanes of int32 with load, loadPart, - and *, IntAcc with
//     zero(), add(d, w) (accumulates d * w in 64 bits) and totals() of four.
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

template <class Acc>
struct VecOf;
template <>
struct VecOf<float> {
  using V8 = F8;
  using V4 = F4;
};
template <>
struct VecOf<double> {
  using V8 = Lanes8d;
  using V4 = D4;
};

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

  static VSP_ALWAYS_INLINE V8 term(V8 sv, V8 mv, V8 vv) {
    const V8 d = sv - mv;
    return HasVar ? (d * d) * vv : d * d;
  }
  template <bool Full>
  static VSP_ALWAYS_INLINE V8 ld(const In* p, int32_t c) {
    if constexpr (Full) return V8::load(p);
    return V8::loadPart(p, int(c));
  }
  static VSP_ALWAYS_INLINE void take(V4& acc, V4 x) { acc = kSub ? acc - x : acc + x; }

  // Terms of rows 0..3 at offsets o[j] (c[j] of them, up to 8, zeros after;
  // all 8 when Full). With one offset for all rows (Same), a shared operand
  // is loaded once.
  template <bool Full, bool Same>
  VSP_ALWAYS_INLINE void terms(V8 t[4], const int64_t* o, const int32_t* c) const {
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

  // Up to K (at most 8) terms of each row, taken one by one: the rows' term
  // vectors are transposed and their first K columns taken in order. A row
  // with fewer terms has zeros in the remaining columns, which change
  // nothing, so no count needs testing.
  template <bool Same, int K = 8>
  VSP_ALWAYS_INLINE void singles8(V4& acc, const int64_t* o, const int32_t* c) const {
    V8 t[4];
    terms<false, Same>(t, o, c);
    V4 col[8];
    columns(t, col);
    for (int k = 0; k < K; ++k) take(acc, col[k]);
  }
  template <int From, int To>
  static VSP_ALWAYS_INLINE void takeColumns(V4& acc, const V4* c) {
    for (int k = From; k < To; ++k) take(acc, c[k]);
  }
  // The most singles a row can have before its rounds: the elements up to a
  // 16-byte boundary.
  static constexpr int kMaxPre = int(16 / sizeof(In)) - 1;

  // Whether a plan's singles before and after the rounds fit one chunk of
  // eight terms, so that one transpose serves both (16-bit rows have no
  // singles before their rounds).
  static VSP_ALWAYS_INLINE bool together(const Plan& p, int32_t n) {
    return sizeof(In) != 2 && p.pre > 0 && n - 8 * p.rounds <= 8;
  }

  // The chunk of both: lanes [0, pre) hold the singles before the rounds,
  // lanes [pre, pre + tail) those after.
  VSP_ALWAYS_INLINE void termsBoth(V8 t[4], int32_t pre, int64_t after, int32_t tail) const {
    if constexpr (sizeof(In) != 2) {
      auto ld = [&](const In* r) { return V8::loadSplit(r, pre, r + after, tail); };
      V8 ss = V8::zero(), ms = V8::zero(), vs = V8::zero();
      if constexpr (kShS) ss = ld(s[0]);
      if constexpr (kShM) {
        ms = ld(m[0]);
        if constexpr (HasVar) vs = ld(v[0]);
      }
      for (int j = 0; j < 4; ++j) {
        const V8 sv = kShS ? ss : ld(s[j]);
        const V8 mv = kShM ? ms : ld(m[j]);
        V8 vv = vs;
        if constexpr (HasVar && !kShM) vv = ld(v[j]);
        t[j] = term(sv, mv, vv);
      }
    }
  }

  // Rows whose plans have a vector path: at most 7 singles before the
  // rounds and after them. The work splits in two halves (the lanes; the
  // singles and the fold, taken in their order) so that two groups can be
  // interleaved: the second group's lanes then run while the first group's
  // chain of single subtractions completes.
  template <bool Same>
  VSP_ALWAYS_INLINE void vectorBegin(V4& acc, V8* L, const Plan* pl, int32_t n) const {
    int64_t o[4];
    int32_t c[4];
    if (!(Same && together(pl[0], n)) && (pl[0].pre | pl[1].pre | pl[2].pre | pl[3].pre) != 0) {
      for (int j = 0; j < 4; ++j) o[j] = 0, c[j] = pl[j].pre;
      singles8<Same, kMaxPre>(acc, o, c);
    }
    int32_t lo = pl[0].rounds, hi = pl[0].rounds;
    for (int j = 1; j < 4; ++j) {
      lo = pl[j].rounds < lo ? pl[j].rounds : lo;
      hi = pl[j].rounds > hi ? pl[j].rounds : hi;
    }
    for (int j = 0; j < 4; ++j) L[j] = V8::zero();
    static constexpr int32_t kAll[4] = {8, 8, 8, 8};
    for (int32_t r = 0; r < lo; ++r) {
      for (int j = 0; j < 4; ++j) o[j] = int64_t(pl[j].pre) + 8 * int64_t(r);
      V8 t[4];
      terms<true, Same>(t, o, kAll);
      for (int j = 0; j < 4; ++j) L[j] = L[j] + t[j];
    }
    // Rows with one round more than the others (their prologue is shorter).
    for (int32_t r = lo; r < hi; ++r)
      for (int j = 0; j < 4; ++j) {
        if (r >= pl[j].rounds) continue;
        const int64_t at = int64_t(pl[j].pre) + 8 * int64_t(r);
        V8 vv = V8::zero();
        if constexpr (HasVar) vv = V8::load(v[j] + at);
        L[j] = L[j] + term(V8::load(s[j] + at), V8::load(m[j] + at), vv);
      }
  }
  template <bool Same>
  VSP_ALWAYS_INLINE void vectorEnd(V4& acc, const V8* L, const Plan* pl, int32_t n) const {
    V4 col[8];
    columns(L, col);
    V4 fold;
    if constexpr (sizeof(Acc) == 4)
      fold = ::vsp::foldLanes32(col);
    else
      fold = ::vsp::foldLanes64(col);
    if (Same && together(pl[0], n)) {
      const int32_t pre = pl[0].pre;
      const int64_t after = int64_t(pre) + 8 * int64_t(pl[0].rounds);
      const int32_t tail = n - int32_t(after);
      V8 t[4];
      termsBoth(t, pre, after, tail);
      V4 c[8];
      columns(t, c);
      // The fold goes in after the singles before the rounds; columns past
      // the last single are zeros.
      switch (pre) {
        case 1:
          takeColumns<0, 1>(acc, c), take(acc, fold), takeColumns<1, 8>(acc, c);
          break;
        case 2:
          takeColumns<0, 2>(acc, c), take(acc, fold), takeColumns<2, 8>(acc, c);
          break;
        default:
          takeColumns<0, 3>(acc, c), take(acc, fold), takeColumns<3, 8>(acc, c);
      }
      return;
    }
    take(acc, fold);
    int64_t o[4];
    int32_t c[4], any = 0;
    for (int j = 0; j < 4; ++j) {
      o[j] = int64_t(pl[j].pre) + 8 * int64_t(pl[j].rounds);
      c[j] = n - int32_t(o[j]);
      any |= c[j];
    }
    if (any != 0) singles8<Same>(acc, o, c);
  }
  template <bool Same>
  VSP_ALWAYS_INLINE V4 vectorRows(V4 acc, const Plan* pl, int32_t n) const {
    V8 L[4];
    vectorBegin<Same>(acc, L, pl, n);
    vectorEnd<Same>(acc, L, pl, n);
    return acc;
  }

  // Rows without a vector path (too short, or a var not aligned to its
  // element) take every term one by one, eight columns at a time. A row
  // that does have one is never mixed in here (see run()).
  VSP_ALWAYS_INLINE V4 scalarRows(V4 acc, int32_t n) const {
    for (int32_t k0 = 0; k0 < n; k0 += 8) {
      const int64_t o[4] = {k0, k0, k0, k0};
      const int32_t left = n - k0 < 8 ? n - k0 : 8;
      const int32_t c[4] = {left, left, left, left};
      singles8<true>(acc, o, c);
    }
    return acc;
  }

  VSP_ALWAYS_INLINE void run(const Plan* pl, int32_t n, const Acc* init, Acc* out) const {
    bool vector = true, same = true;
    for (int j = 0; j < 4; ++j) {
      vector = vector && pl[j].rounds > 0;
      same = same && pl[j].pre == pl[0].pre && pl[j].rounds == pl[0].rounds;
    }
    if (!vector && !same) return mixed(pl, n, init, out);
    V4 acc = V4::load(init);
    if (vector && same)
      acc = vectorRows<true>(acc, pl, n);
    else if (vector)
      acc = vectorRows<false>(acc, pl, n);
    else
      acc = scalarRows(acc, n);
    acc.store(out);
  }

  // A group that mixes rows with and without a vector path (only widths
  // just above 8 can make one): each row alone, repeated in all four lanes.
  __attribute__((noinline)) void mixed(const Plan* pl, int32_t n, const Acc* init, Acc* out) const {
    for (int j = 0; j < 4; ++j) {
      Quad one;
      for (int k = 0; k < 4; ++k) one.s[k] = s[j], one.m[k] = m[j], one.v[k] = v[j];
      const Plan own[4] = {pl[j], pl[j], pl[j], pl[j]};
      const Acc in4[4] = {init[j], init[j], init[j], init[j]};
      Acc out4[4];
      one.run(own, n, in4, out4);
      out[j] = out4[0];
    }
  }
};

// Rows of a batch in groups of four; a short last group repeats its last row
// and drops the copies.
template <class Acc, class In, bool HasVar, Share Sh>
void floatRows(const RowBatch<In, Acc>& b) {
  const int32_t n = b.width;
  int32_t r0 = 0;
  if constexpr (Sh == Share::Model) {
    // One Gaussian for every row: one plan. Full groups go two at a time.
    const Plan one = planOf(b.mean[0], HasVar ? b.var[0] : nullptr, n);
    const Plan pl[4] = {one, one, one, one};
    if (one.rounds > 0)
      for (; r0 + 8 <= b.rows; r0 += 8) {
        Quad<Acc, In, HasVar, Sh> q0, q1;
        for (int j = 0; j < 4; ++j) {
          q0.s[j] = b.src[r0 + j], q1.s[j] = b.src[r0 + 4 + j];
          q0.m[j] = q1.m[j] = b.mean[0];
          q0.v[j] = q1.v[j] = HasVar ? b.var[0] : nullptr;
        }
        using V4 = typename VecOf<Acc>::V4;
        using V8 = typename VecOf<Acc>::V8;
        V4 a0 = V4::load(b.init + r0), a1 = V4::load(b.init + r0 + 4);
        V8 L0[4], L1[4];
        q0.template vectorBegin<true>(a0, L0, pl, n);
        q1.template vectorBegin<true>(a1, L1, pl, n);
        q0.template vectorEnd<true>(a0, L0, pl, n);
        q1.template vectorEnd<true>(a1, L1, pl, n);
        a0.store(b.out + r0);
        a1.store(b.out + r0 + 4);
      }
  }
  Plan shared = {0, 0};
  if constexpr (Sh == Share::Model) shared = planOf(b.mean[0], HasVar ? b.var[0] : nullptr, n);
  for (; r0 < b.rows; r0 += 4) {
    const int32_t g = b.rows - r0 < 4 ? b.rows - r0 : 4;
    Quad<Acc, In, HasVar, Sh> q;
    Plan pl[4];
    Acc init[4], out[4];
    for (int j = 0; j < 4; ++j) {
      const int32_t row = r0 + (j < g ? j : g - 1);
      q.s[j] = b.src[Sh == Share::Src ? 0 : row];
      q.m[j] = b.mean[Sh == Share::Model ? 0 : row];
      q.v[j] = HasVar ? b.var[Sh == Share::Model ? 0 : row] : nullptr;
      pl[j] = Sh == Share::Model ? shared : planOf(q.m[j], q.v[j], n);
      init[j] = b.init[row];
    }
    // A full group reads and writes the batch's arrays directly (a vector
    // load of four values just stored one by one would stall).
    if (g == 4) {
      q.run(pl, n, b.init + r0, b.out + r0);
    } else {
      q.run(pl, n, init, out);
      for (int j = 0; j < g; ++j) b.out[r0 + j] = out[j];
    }
  }
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
  for (int32_t r0 = 0; r0 < b.rows; r0 += 4) {
    const int32_t g = b.rows - r0 < 4 ? b.rows - r0 : 4;
    const int16_t *s[4], *m[4], *v[4];
    for (int j = 0; j < 4; ++j) {
      const int32_t row = r0 + (j < g ? j : g - 1);
      s[j] = b.src[Sh == Share::Src ? 0 : row];
      m[j] = b.mean[Sh == Share::Model ? 0 : row];
      v[j] = HasVar ? b.var[Sh == Share::Model ? 0 : row] : nullptr;
    }
    IntAcc acc[4] = {IntAcc::zero(), IntAcc::zero(), IntAcc::zero(), IntAcc::zero()};
    auto step = [&](int32_t i, auto load) {
      using V = decltype(load(s[0]));
      V ss{}, ms{}, vs{};
      if constexpr (Sh == Share::Src) ss = load(s[0] + i);
      if constexpr (Sh == Share::Model) {
        ms = load(m[0] + i);
        if constexpr (HasVar) vs = load(v[0] + i);
      }
      for (int j = 0; j < 4; ++j) {
        if constexpr (Sh != Share::Src) ss = load(s[j] + i);
        if constexpr (Sh != Share::Model) {
          ms = load(m[j] + i);
          if constexpr (HasVar) vs = load(v[j] + i);
        }
        const V d = ss - ms;
        acc[j].add(d, HasVar ? d * vs : d);
      }
    };
    int32_t i = 0;
    for (; i + W <= n; i += W) step(i, [](const int16_t* p) { return IntVec::load(p); });
    if (i < n) step(i, [c = int(n - i)](const int16_t* p) { return IntVec::loadPart(p, c); });
    if (g == 4) {
      IntAcc::totals(acc, b.out + r0);
    } else {
      int64_t out[4];
      IntAcc::totals(acc, out);
      for (int j = 0; j < g; ++j) b.out[r0 + j] = out[j];
    }
  }
}
#endif

// dst[i] becomes the log-sum of dst[i] and score[i], lanes at a time.
template <class P, class Floor, class T>
void logAddRun(T* dst, const T* score, int32_t n) {
  constexpr int W = LogLanes::kLanes;
  int32_t i = 0;
  for (; i + W <= n; i += W)
    ::vsp::logadd::pairStep<P, Floor>(LogLanes::load(dst + i), LogLanes::load(score + i))
        .store(dst + i);
  for (; i < n; ++i)
    dst[i] = T(::vsp::logadd::pairStep<P, Floor>(double(dst[i]), double(score[i])));
}

}  // namespace

void logAddInto(float* dst, const float* score, int32_t n) {
  logAddRun<::vsp::logadd::Poly32, ::vsp::logadd::FloorMax32>(dst, score, n);
}
void logAddInto(double* dst, const double* score, int32_t n) {
  logAddRun<::vsp::logadd::Poly64, ::vsp::logadd::Floor64>(dst, score, n);
}

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
