// Four floats, one lane per row of a group of four: the same register in
// every tier's kit. Included inside a tier's own unnamed namespace.
struct F4 {
  __m128 v;
  static F4 load(const float* p) { return {_mm_loadu_ps(p)}; }
  void store(float* p) const { _mm_storeu_ps(p, v); }
};
inline F4 operator+(F4 a, F4 b) { return {_mm_add_ps(a.v, b.v)}; }
inline F4 operator-(F4 a, F4 b) { return {_mm_sub_ps(a.v, b.v)}; }
