// The free-order shared-source kernel, written once over a tier's vector kit
// (see gauss_rows_impl.h for the kit). Included by each tier's unit inside
// namespace vsp::<tier>, with VSP_ROWS_KIT naming the kit's header.

namespace {

#include VSP_ROWS_KIT

// The last c of a row's eight lanes kept, the others +0 (bitwise, so that a
// lane holding an infinity or a NaN is dropped too).
alignas(32) constexpr int32_t kLast32[16] = {0,  0,  0,  0,  0,  0,  0,  0,
                                             -1, -1, -1, -1, -1, -1, -1, -1};
alignas(64) constexpr int64_t kLast64[16] = {0,  0,  0,  0,  0,  0,  0,  0,
                                             -1, -1, -1, -1, -1, -1, -1, -1};
#ifdef __AVX2__
inline __m256i ones(const void* p) { return _mm256_loadu_si256(static_cast<const __m256i*>(p)); }
inline F8 lastLanes(F8 t, int c) {
  return {_mm256_and_ps(t.v, _mm256_castsi256_ps(ones(kLast32 + c)))};
}
inline D8 lastLanes(D8 t, int c) {
  return {_mm256_and_pd(t.lo, _mm256_castsi256_pd(ones(kLast64 + c))),
          _mm256_and_pd(t.hi, _mm256_castsi256_pd(ones(kLast64 + c + 4)))};
}
#else
inline __m128i ones(const void* p) { return _mm_loadu_si128(static_cast<const __m128i*>(p)); }
inline F8 lastLanes(F8 t, int c) {
  return {_mm_and_ps(t.lo, _mm_castsi128_ps(ones(kLast32 + c))),
          _mm_and_ps(t.hi, _mm_castsi128_ps(ones(kLast32 + c + 4)))};
}
inline D8 lastLanes(D8 t, int c) {
  for (int k = 0; k < 4; ++k)
    t.r[k] = _mm_and_pd(t.r[k], _mm_castsi128_pd(ones(kLast64 + c + 2 * k)));
  return t;
}
#endif

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
    const auto chunk = [&](int64_t i, auto load, auto keep) {
      const V8 sv = load(s + i);
      for (int j = 0; j < 4; ++j) {
        const V8 d = sv - load(m[j] + i);
        lanes[j] = lanes[j] + keep((d * d) * load(v[j] + i));
      }
    };
    const auto whole = [](const In* p) { return V8::load(p); };
    const auto all = [](V8 t) { return t; };
    int64_t i = 0;
    for (; i + 8 <= n; i += 8) chunk(i, whole, all);
    if (i < n && n >= 8) {
      // The row's last eight elements by whole loads, nothing read past its
      // end, and the lanes of those already taken dropped.
      chunk(n - 8, whole, [c = int(n - i)](V8 t) { return lastLanes(t, c); });
    } else if (i < n) {
      // A row shorter than eight: lanes past it load as zeros, and their
      // terms are +0.
      chunk(
          0, [c = int(n)](const In* p) { return V8::loadPart(p, c); }, all);
    }
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
