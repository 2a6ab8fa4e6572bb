// The lane kernels written once over a tier's 8-lane vector types. Included
// by each tier's translation unit inside its own namespace, after it has
// defined F8 (eight floats) and D8 (eight doubles) with load, zero, store
// and the operators + - *.
//
// The product is (d * d) * var, in that order, as in the scalar definition.

template <class V, class In, bool HasVar, class Out>
static inline void lanesImpl(const In* s, const In* m, const In* v, int64_t rounds, Out* out) {
  V acc = V::zero();
  for (int64_t r = 0; r < rounds; ++r) {
    const V d = V::load(s) - V::load(m);
    V t = d * d;
    if constexpr (HasVar) {
      t = t * V::load(v);
      v += 8;
    }
    acc = acc + t;
    s += 8;
    m += 8;
  }
  acc.store(out);
}

template <class V, class In, class Out>
static inline void lanesEntry(const In* s, const In* m, const In* v, int64_t rounds, Out* out) {
  if (v)
    lanesImpl<V, In, true>(s, m, v, rounds, out);
  else
    lanesImpl<V, In, false>(s, m, v, rounds, out);
}

void lanesF32(const float* s, const float* m, const float* v, int64_t rounds, float* out) {
  lanesEntry<F8>(s, m, v, rounds, out);
}
void lanesS16F(const int16_t* s, const int16_t* m, const int16_t* v, int64_t rounds, float* out) {
  lanesEntry<F8>(s, m, v, rounds, out);
}
void lanesF64(const double* s, const double* m, const double* v, int64_t rounds, double* out) {
  lanesEntry<D8>(s, m, v, rounds, out);
}
void lanesF32D(const float* s, const float* m, const float* v, int64_t rounds, double* out) {
  lanesEntry<D8>(s, m, v, rounds, out);
}
