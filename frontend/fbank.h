// Filter bank objects: their layout, and what the constructors (ours and the
// Aurora banks) and the evaluation share.
//
// A bank holds filterCount overlapping triangular filters over the bins of a
// transform of length N = fftLen. Filter j (1 .. filterCount) covers bins
// centers[j-1] .. centers[j+1]:
//   riseRows[j-1][m] is the weight of bin centers[j-1] + m, m = 0 .. centers[j] - centers[j-1];
//   fallRows[j-1][m] is the weight of bin centers[j] + 1 + m, m = 0 .. centers[j+1] - centers[j]
//   - 1.
// Rows exist for filterCount + 2 filters; the two spare ones stay zero.
//
// A constructor of this family's objects (the Aurora banks included) sets
// every field below. In particular:
// - `riseCap` / `fallCap` are the elements each row can hold from its row
//   pointer on; every reader of the rows clips its runs to them, so that
//   centres that the checks let through (see fbankRun) never reach past a row;
// - `owned` is 1 for an object from an InitAlloc, whose pieces are separate
//   vspMalloc blocks: the object, `centers`, the riseRows block (the pointer
//   array at its start, then the rows), the fallRows block likewise, the
//   transform object (fftSpecFree/fftSpecFree_16s) and `fftWork`.
//   vspsFBankFree_* releases exactly those and ignores null pieces, so a
//   partly built object is released whole. An object built in a caller's
//   block has `owned` 0 and Free leaves it alone.
#pragma once

#include "frame/base.h"

template <class Weight>
struct VspFBankFields {
  int32_t* centers;  // filterCount + 2 band edges, as bins
  Weight** riseRows;
  Weight** fallRows;
  int32_t flags;   // the constructor's flag word; 1 for an empty bank
  int32_t fftLen;  // N, a power of two, at least 2
  int32_t fftOrder;
  int32_t filterCount;
  int32_t linearCount;
  float melMul;
  float melDiv;
  uint8_t centersReady;
  void* fftSpec;       // VspFftSpec_32f / VspFftSpec_16s under vspFBankTransformInput, else null
  void* fftWork;       // 2N + 20 elements, then the transform's own work (fbankWorkBytes)
  int32_t coeffShift;  // fraction bits of a _16s weight (14); 0 in _32f
  // Private to the family.
  int32_t owned;
  int32_t riseCap;
  int32_t fallCap;
};

struct VspFBankState_32f : VspFBankFields<float> {};
struct VspFBankState_16s : VspFBankFields<int32_t> {};  // weights times 16384

// The integer bank: weights times 2^30, no Mel parameters, no transform.
struct VspFBankState_32s {
  int32_t* centers;
  int32_t** riseRows;
  int32_t** fallRows;
  int32_t flags;  // always 2
  int32_t filterCount;
  int32_t binCount;  // N / 2 + 1
  int32_t riseCap;
  int32_t fallCap;
};

VSP_NS_BEGIN

constexpr int64_t fbankRoundUp8(int64_t v) { return (v + 7) & ~int64_t(7); }
constexpr int64_t fbankRoundUp32(int64_t v) { return (v + 31) & ~int64_t(31); }

// A rising row's storage: N/2 + 3 elements rounded up to a multiple of 8; the
// row starts three elements in, so that its element 1 is 16-byte aligned.
// A falling row: N/2 rounded up to 8, starting at its storage.
constexpr int64_t kFBankRiseOffset = 3;
constexpr int64_t fbankRiseStride(int64_t n) { return fbankRoundUp8(n / 2 + 3); }
constexpr int64_t fbankFallStride(int64_t n) { return fbankRoundUp8(n / 2); }

// Bytes of one row block: the pointer array of `rows` entries, rounded up to
// 32 bytes, then `rows` rows of `stride` 4-byte elements.
constexpr int64_t fbankRowBlockBytes(int64_t rows, int64_t stride) {
  return fbankRoundUp32(rows * int64_t(sizeof(void*))) + rows * stride * 4;
}

// Lays the rows out in a zeroed or unzeroed block of fbankRowBlockBytes
// (32-byte aligned), zeroes their storage and fills the pointer array with
// row starts `offset` elements into each row's storage. Returns the array.
template <class Weight>
Weight** fbankLayRows(void* block, int64_t rows, int64_t stride, int64_t offset) {
  unsigned char* b = static_cast<unsigned char*>(block);
  Weight** ptrs = reinterpret_cast<Weight**>(b);
  Weight* storage = reinterpret_cast<Weight*>(b + fbankRoundUp32(rows * int64_t(sizeof(void*))));
  for (int64_t i = 0; i < rows * stride; ++i) storage[i] = Weight(0);
  for (int64_t r = 0; r < rows; ++r) ptrs[r] = storage + r * stride + offset;
  return ptrs;
}

// One side of a filter: bins k = first .. last (inclusive) read row element
// k - base. The run is clipped to what a row of `cap` elements and a
// spectrum of bins 0 .. topBin can justify. For centres in order and within
// 0 .. N/2 nothing is clipped; only the centres that the deliberately gappy
// validation lets through (the last pair is never compared, a one-filter
// bank has no neighbour test) or a degenerate construction can reach past.
struct FBankRun {
  int64_t first, last, base;  // empty when last < first
};
VSP_ALWAYS_INLINE FBankRun fbankRun(int64_t first, int64_t last, int64_t base, int64_t cap,
                                    int64_t topBin) {
  if (first < base) first = base;
  if (first < 0) first = 0;
  if (last > base + cap - 1) last = base + cap - 1;
  if (last > topBin) last = topBin;
  return {first, last, base};
}

// The work buffer of a bank under vspFBankTransformInput: the 2N + 20
// elements that the evaluation uses, then the transform's own work area.
constexpr int64_t fbankWorkBytes(int64_t n, int64_t transformWork) {
  return fbankRoundUp32((2 * n + 20) * 4) + transformWork;
}
// Where the magnitude spectrum lies in that buffer: behind the whole complex
// form (N + 2 values), at the next 16-byte boundary of a 32-byte aligned
// buffer. (Behind only N values, as the first magnitudes are written they
// would overwrite the Nyquist pair before it is read.)
constexpr int64_t fbankMagnitudeOffset(int64_t n) { return (n + 2 + 3) & ~int64_t(3); }

// The integer bank's arithmetic, in Q22 (22 fraction bits).
int64_t lnQ22(int64_t x);
int64_t expQ22(int64_t r);

VSP_NS_END
