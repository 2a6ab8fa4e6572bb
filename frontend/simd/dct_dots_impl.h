// The dot product kernel written once over a tier's 8-lane vector type.
// Included by each tier's translation unit inside its own namespace, after it
// has defined F8 with zero, load, the operators + and *, and fold() (the lane
// fold of dct_dots.h).
//
// Rows go through in groups of four: four independent chains hide the adder's
// latency, and each source block is loaded once per group.

template <int G>
static inline void dotGroup(const float* src, const float* tail, int64_t blocks,
                            const float* const* rows, const float* mul, float* out) {
  F8 acc[G];
  for (int r = 0; r < G; ++r) acc[r] = F8::zero();
  for (int64_t b = 0; b < blocks; ++b) {
    const F8 s = F8::load(src + 8 * b);
    for (int r = 0; r < G; ++r) acc[r] = acc[r] + F8::load(rows[r] + 8 * b) * s;
  }
  if (tail) {
    const F8 s = F8::load(tail);
    for (int r = 0; r < G; ++r) acc[r] = acc[r] + F8::load(rows[r] + 8 * blocks) * s;
  }
  for (int r = 0; r < G; ++r) out[r] = mul[r] * fold(acc[r]);
}

void dctDots(const float* src, const float* tail, int64_t blocks, const float* const* rows,
             const float* mul, int32_t count, float* out) {
  int32_t j = 0;
  for (; j + 4 <= count; j += 4) dotGroup<4>(src, tail, blocks, rows + j, mul + j, out + j);
  for (; j < count; ++j) dotGroup<1>(src, tail, blocks, rows + j, mul + j, out + j);
}
