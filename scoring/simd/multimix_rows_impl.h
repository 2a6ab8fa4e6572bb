// The free-order shared-source kernel, written once over a tier's vector kit
// (see gauss_rows_impl.h for the kit). Included by each tier's unit inside
// namespace vsp::<tier>, with VSP_ROWS_KIT naming the kit's header.

namespace {

#include VSP_ROWS_KIT

// V8: eight lanes of a row; V4: one lane per row of a group of four.
template <class V8, class V4, class In, class Acc>
void sharedSrcRows(const RowBatch<In, Acc>& b) {
  const In* const s = b.src[0];
  const int32_t n = b.width;
  for (int32_t r0 = 0; r0 < b.rows; r0 += 4) {
    // A group short of four rows repeats its last row and drops the copies.
    const int32_t g = b.rows - r0 < 4 ? b.rows - r0 : 4;
    const In* m[4];
    const In* v[4];
    for (int j = 0; j < 4; ++j) {
      const int32_t r = r0 + (j < g ? j : g - 1);
      m[j] = b.mean[r];
      v[j] = b.var[r];
    }
    V8 lanes[4] = {V8::zero(), V8::zero(), V8::zero(), V8::zero()};
    const auto chunk = [&](int64_t i, auto load) {
      const V8 sv = load(s + i);
      for (int j = 0; j < 4; ++j) {
        const V8 d = sv - load(m[j] + i);
        lanes[j] = lanes[j] + (d * d) * load(v[j] + i);
      }
    };
    int64_t i = 0;
    for (; i + 8 <= n; i += 8) chunk(i, [](const In* p) { return V8::load(p); });
    // Lanes past the row load as zeros: their terms are +0 and change nothing.
    if (i < n) chunk(i, [c = int(n - i)](const In* p) { return V8::loadPart(p, c); });
    V4 col[8];
    columns(lanes, col);
    V4 sum;
    if constexpr (sizeof(Acc) == 4)
      sum = ::vsp::foldLanes32(col);
    else
      sum = ::vsp::foldLanes64(col);
    if (g == 4) {
      const V4 start = V4::load(b.init + r0);
      (sizeof(In) == 2 ? start + sum : start - sum).store(b.out + r0);
    } else {
      Acc part[4];
      sum.store(part);
      for (int j = 0; j < g; ++j)
        b.out[r0 + j] = sizeof(In) == 2 ? b.init[r0 + j] + part[j] : b.init[r0 + j] - part[j];
    }
  }
}

}  // namespace

void sharedSrcSums(const RowBatch<float, float>& b) { sharedSrcRows<F8, F4>(b); }
void sharedSrcSums(const RowBatch<double, double>& b) { sharedSrcRows<D8, D4>(b); }
void sharedSrcSums(const RowBatch<int16_t, float>& b) { sharedSrcRows<F8, F4>(b); }
