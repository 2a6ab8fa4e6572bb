// The float sums written once over a tier's 8-lane vector types. Included
// by each tier's translation unit inside its own namespace, after it has
// defined F8 (eight floats) and D8 (eight doubles) with load, zero, the
// operators + - * and fold() (the member's fixed lane tree).
//
// Each term is (d * d) * var, in that order, as in the scalar definition.

template <class V, class Acc, bool HasVar, class In>
static inline Acc sumImpl(const In* s, const In* m, const In* v, int32_t n, int32_t prologue) {
  const auto term = [&](int64_t k) {
    const Acc d = Acc(s[k]) - Acc(m[k]);
    const Acc t = d * d;
    return HasVar ? t * Acc(v[k]) : t;
  };
  Acc sum = 0;
  int64_t i = 0;
  if (prologue >= 0 && int64_t(n) >= int64_t(prologue) + 8) {
    for (; i < prologue; ++i) sum += term(i);
    V acc = V::zero();
    for (; i + 8 <= n; i += 8) {
      const V d = V::load(s + i) - V::load(m + i);
      V t = d * d;
      if constexpr (HasVar) t = t * V::load(v + i);
      acc = acc + t;
    }
    sum += acc.fold();
  }
  for (; i < n; ++i) sum += term(i);
  return sum;
}

template <class V, class Acc, class In>
static inline Acc sumEntry(const In* s, const In* m, const In* v, int32_t n, int32_t prologue) {
  return v ? sumImpl<V, Acc, true>(s, m, v, n, prologue)
           : sumImpl<V, Acc, false>(s, m, v, n, prologue);
}

float sumF32(const float* s, const float* m, const float* v, int32_t n, int32_t p) {
  return sumEntry<F8, float>(s, m, v, n, p);
}
float sumS16F(const int16_t* s, const int16_t* m, const int16_t* v, int32_t n, int32_t p) {
  return sumEntry<F8, float>(s, m, v, n, p);
}
double sumF64(const double* s, const double* m, const double* v, int32_t n, int32_t p) {
  return sumEntry<D8, double>(s, m, v, n, p);
}
double sumF32D(const float* s, const float* m, const float* v, int32_t n, int32_t p) {
  return sumEntry<D8, double>(s, m, v, n, p);
}
