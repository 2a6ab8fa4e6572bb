// Cosine transform and liftering: table and lifter construction in the four
// variants, in a caller's block or allocated, and the transform in float and
// 16-bit fixed point.
#include "frontend/dct_lifter.h"

#include <math.h>

#include "frame/check.h"
#include "frame/fixed.h"
#include "frame/scale.h"
#include "frame/scratch.h"
#include "frontend/simd/dct_dots.h"

VSP_NS_BEGIN

void dctDots(Tier tier, const float* src, const float* tail, int64_t blocks,
             const float* const* rows, const float* mul, int32_t count, float* out) {
  tier >= Tier::Avx2 ? avx2::dctDots(src, tail, blocks, rows, mul, count, out)
                     : sse2::dctDots(src, tail, blocks, rows, mul, count, out);
}

namespace {

constexpr double kPi = 3.141592653589793;

// ---- What each construction variant puts in the lifter ------------------------

// Plain and C0 variants: 1 + sin(i pi / L) * (L / 2), the half-length in
// float, rounded to float and then scaled in float; C0 overwrites lifter[0].
struct SineLifter {
  int32_t len;
  float scale;
  bool withC0;
  float c0;
  bool nullArg() const { return false; }
  bool badLen() const { return len < 1; }
  int32_t lenField() const { return len; }
  bool hasC0() const { return withC0; }
  void fill(float* lifter, int32_t cepLen) const {
    const double halfLen = double(float(len) * 0.5f);
    for (int32_t i = 0; i <= cepLen; ++i)
      lifter[i] = float(1.0 + sin(double(i) * kPi / double(len)) * halfLen) * scale;
    if (withC0) lifter[0] = c0;
  }
};

// Mul and MulC0 variants: the caller's multipliers for cepstra 1 upward. The
// array has no element for C0, which shares the last cepstrum's multiplier.
struct GivenLifter {
  const float* mul;
  bool withC0;
  bool nullArg() const { return mul == nullptr; }
  bool badLen() const { return false; }
  int32_t lenField() const { return -1; }
  bool hasC0() const { return withC0; }
  void fill(float* lifter, int32_t cepLen) const {
    for (int32_t i = 0; i < cepLen; ++i) lifter[i + 1] = mul[i];
    // Nothing reads lifter[0] without C0; it is set all the same.
    lifter[0] = withC0 ? mul[cepLen - 1] : 0.0f;
  }
};

// ---- Layout ----------------------------------------------------------------------

template <class State>
constexpr bool kHasWork = false;
template <>
constexpr bool kHasWork<VspDCTLifterState_16s> = true;

int64_t rowStride(int32_t dctLen) { return (int64_t(dctLen) + 7) & ~int64_t(7); }

// Element counts of the pieces and the bytes of the row piece: the row
// pointers, slack to align the table to 64 bytes, the table.
template <class State>
struct Layout {
  int64_t stride, rowCount, lifterCount, workCount;
  Layout(int32_t dctLen, int32_t cepLen)
      : stride(rowStride(dctLen)),
        rowCount(int64_t(cepLen) + 1),
        lifterCount(int64_t(cepLen) + 1),
        workCount(kHasWork<State> ? int64_t(cepLen) + 1 + rowStride(dctLen) : 0) {}
  int64_t rowPieceBytes() const {
    return rowCount * int64_t(sizeof(float*)) + 63 + rowCount * stride * 4;
  }
  // One block holding everything, for Init: slack for aligning the row
  // pointers wherever the floats before them end.
  int64_t blockBytes() const {
    return int64_t(sizeof(State)) + 4 * (lifterCount + workCount) + 7 + rowPieceBytes();
  }
  // An object whose block size does not fit a 32-bit byte count cannot be
  // described by GetSize, and a caller's block of a wrapped size would be
  // overrun: such shapes are refused.
  bool fits() const {
    if (rowCount * stride > INT32_MAX / 4) return false;
    return blockBytes() <= INT32_MAX;
  }
};

template <class T>
T* alignUp(void* p, uintptr_t a) {
  return reinterpret_cast<T*>((reinterpret_cast<uintptr_t>(p) + a - 1) & ~(a - 1));
}

// Fills an object whose pieces are in place: rowPiece is the row piece.
template <class State, class Variant>
void build(State* st, void* rowPiece, int32_t dctLen, int32_t cepLen, const Variant& v) {
  const Layout<State> lay(dctLen, cepLen);
  st->lifterLen = v.lenField();
  st->dctLen = dctLen;
  st->cepstrumLen = cepLen;
  st->hasC0 = v.hasC0() ? 1 : 0;
  v.fill(st->lifter, cepLen);
  if constexpr (kHasWork<State>)
    for (int64_t i = 0; i < lay.workCount; ++i) st->work[i] = 0.0f;
  st->rows = static_cast<float**>(rowPiece);
  float* table = alignUp<float>(st->rows + lay.rowCount, 64);
  for (int32_t i = 0; i <= cepLen; ++i) {
    float* row = table + int64_t(i) * lay.stride;
    st->rows[i] = row;
    for (int32_t k = 1; k <= dctLen; ++k)
      row[k - 1] = float(cos(double(float(k) - 0.5f) * (double(i) * kPi) / double(dctLen)));
    for (int64_t k = dctLen; k < lay.stride; ++k) row[k] = 0.0f;
  }
}

VspStatus checkShape(int32_t dctLen, int32_t cepLen, bool badLifterLen) {
  if (dctLen < 1 || cepLen < 1 || badLifterLen || dctLen < cepLen) return vspStatusBadSize;
  return vspStatusOk;
}

template <class State>
VspStatus getSize(int32_t dctLen, int32_t cepLen, int32_t* sizeBytes, int32_t maxDctLen) {
  if (anyNull(sizeBytes)) return vspStatusNullPointer;
  if (checkShape(dctLen, cepLen, false) != vspStatusOk || dctLen > maxDctLen)
    return vspStatusBadSize;
  const Layout<State> lay(dctLen, cepLen);
  if (!lay.fits()) return vspStatusBadSize;
  *sizeBytes = int32_t(lay.blockBytes());
  return vspStatusOk;
}

// In the caller's block: object, lifter, work, then the row piece.
template <class State, class Variant>
VspStatus init(State* st, int32_t dctLen, int32_t cepLen, const Variant& v) {
  if (anyNull(st) || v.nullArg()) return vspStatusNullPointer;
  if (const VspStatus s = checkShape(dctLen, cepLen, v.badLen())) return s;
  const Layout<State> lay(dctLen, cepLen);
  if (!lay.fits()) return vspStatusBadSize;
  float* p = reinterpret_cast<float*>(st + 1);
  st->lifter = p;
  p += lay.lifterCount;
  if constexpr (kHasWork<State>) st->work = p;
  p += lay.workCount;
  build(st, alignUp<void>(p, alignof(float*)), dctLen, cepLen, v);
  return vspStatusOk;
}

// Each piece from its own allocation. The object is published through
// stateOut before its pieces are asked for, with null pieces, so that after
// a failure the caller's Free releases whatever was obtained.
template <class State, class Variant>
VspStatus initAlloc(State** stateOut, int32_t dctLen, int32_t cepLen, const Variant& v) {
  if (anyNull(stateOut) || v.nullArg()) return vspStatusNullPointer;
  if (const VspStatus s = checkShape(dctLen, cepLen, v.badLen())) return s;
  const Layout<State> lay(dctLen, cepLen);
  if (!lay.fits()) return vspStatusBadSize;
  State* st = static_cast<State*>(scratch8(int32_t(sizeof(State))));
  *stateOut = st;
  if (!st) return vspStatusNoMemory;
  *st = State{};
  st->lifterLen = v.lenField();
  st->dctLen = dctLen;
  st->cepstrumLen = cepLen;
  st->hasC0 = v.hasC0() ? 1 : 0;
  st->lifter = scratchOf<float>(int32_t(lay.lifterCount));
  if (!st->lifter) return vspStatusNoMemory;
  if constexpr (kHasWork<State>) {
    st->work = scratchOf<float>(int32_t(lay.workCount));
    if (!st->work) return vspStatusNoMemory;
  }
  void* rowPiece = scratch8(int32_t(lay.rowPieceBytes()));
  if (!rowPiece) return vspStatusNoMemory;
  build(st, rowPiece, dctLen, cepLen, v);
  return vspStatusOk;
}

template <class State>
VspStatus freeState(State* st) {
  if (anyNull(st)) return vspStatusNullPointer;
  vspFree(st->rows);
  vspFree(st->lifter);
  if constexpr (kHasWork<State>) vspFree(st->work);
  vspFree(st);
  return vspStatusOk;
}

// ---- The transform ------------------------------------------------------------------

// Cepstra 1 upward into out[0 .. cepstrumLen - 1], then C0 behind them.
template <class State>
void transform(const State* st, const float* src, const float* tail, int64_t blocks, float* out) {
  const Tier tier = hostTier();
  dctDots(tier, src, tail, blocks, st->rows + 1, st->lifter + 1, st->cepstrumLen, out);
  if (st->hasC0) dctDots(tier, src, tail, blocks, st->rows, st->lifter, 1, out + st->cepstrumLen);
}

VspStatus dctLifter32f(const float* src, float* dst, const VspDCTLifterState_32f* st) {
  if (anyNull(src, dst, st)) return vspStatusNullPointer;
  // Whole blocks straight from src; the last partial block from a padded
  // copy, so that nothing past src's end is read.
  const int64_t blocks = st->dctLen / 8;
  const int32_t rest = st->dctLen % 8;
  float tail[8] = {0, 0, 0, 0, 0, 0, 0, 0};
  for (int32_t k = 0; k < rest; ++k) tail[k] = src[blocks * 8 + k];
  transform(st, src, rest ? tail : nullptr, blocks, dst);
  return vspStatusOk;
}

// Widened into work (whose padding Init zeroed), transformed in float, then
// scaled, rounded to nearest even and saturated.
template <class In>
VspStatus dctLifterSfs(const In* src, int16_t* dst, VspDCTLifterState_16s* st, int32_t sf) {
  if (anyNull(src, dst, st)) return vspStatusNullPointer;
  const int32_t outCount = st->cepstrumLen + st->hasC0;
  float* results = st->work;
  float* wide = st->work + int64_t(st->cepstrumLen) + 1;
  for (int32_t k = 0; k < st->dctLen; ++k) wide[k] = float(src[k]);
  transform(st, wide, nullptr, rowStride(st->dctLen) / 8, results);
  const float scale = scale32(sf);
  for (int32_t i = 0; i < outCount; ++i) dst[i] = f32ToS16Sat(roundHalfEven(results[i] * scale));
  return vspStatusOk;
}

using S32 = VspDCTLifterState_32f;
using S16 = VspDCTLifterState_16s;

SineLifter plain(int32_t len, float scale) { return SineLifter{len, scale, false, 0.0f}; }
SineLifter withC0(int32_t len, float scale, float c0) { return SineLifter{len, scale, true, c0}; }
GivenLifter given(const float* mul, bool c0) { return GivenLifter{mul, c0}; }

}  // namespace

VSP_NS_END

using namespace vsp;

// clang-format off
VSP_EXPORT VspStatus vspsDCTLifterGetSize_16s(Vsp32s dctLen, Vsp32s cepLen, Vsp32s* size) { return getSize<S16>(dctLen, cepLen, size, INT32_MAX); }
VSP_EXPORT VspStatus vspsDCTLifterGetSize_32f(Vsp32s dctLen, Vsp32s cepLen, Vsp32s* size) { return getSize<S32>(dctLen, cepLen, size, INT32_MAX); }
VSP_EXPORT VspStatus vspsDCTLifterGetSize_MulC0_16s(Vsp32s dctLen, Vsp32s cepLen, Vsp32s* size) { return getSize<S16>(dctLen, cepLen, size, 8192); }

VSP_EXPORT VspStatus vspsDCTLifterInit_16s(S16* st, Vsp32s dctLen, Vsp32s cepLen, Vsp32s lifterLen, Vsp32f scale) { return init(st, dctLen, cepLen, plain(lifterLen, scale)); }
VSP_EXPORT VspStatus vspsDCTLifterInit_32f(S32* st, Vsp32s dctLen, Vsp32s cepLen, Vsp32s lifterLen, Vsp32f scale) { return init(st, dctLen, cepLen, plain(lifterLen, scale)); }
VSP_EXPORT VspStatus vspsDCTLifterInit_C0_16s(S16* st, Vsp32s dctLen, Vsp32s cepLen, Vsp32s lifterLen, Vsp32f scale, Vsp32f c0) { return init(st, dctLen, cepLen, withC0(lifterLen, scale, c0)); }
VSP_EXPORT VspStatus vspsDCTLifterInit_C0_32f(S32* st, Vsp32s dctLen, Vsp32s cepLen, Vsp32s lifterLen, Vsp32f scale, Vsp32f c0) { return init(st, dctLen, cepLen, withC0(lifterLen, scale, c0)); }
VSP_EXPORT VspStatus vspsDCTLifterInit_Mul_16s(S16* st, Vsp32s dctLen, const Vsp32f* mul, Vsp32s cepLen) { return init(st, dctLen, cepLen, given(mul, false)); }
VSP_EXPORT VspStatus vspsDCTLifterInit_Mul_32f(S32* st, Vsp32s dctLen, const Vsp32f* mul, Vsp32s cepLen) { return init(st, dctLen, cepLen, given(mul, false)); }
VSP_EXPORT VspStatus vspsDCTLifterInit_MulC0_16s(S16* st, Vsp32s dctLen, const Vsp32f* mul, Vsp32s cepLen) { return init(st, dctLen, cepLen, given(mul, true)); }
VSP_EXPORT VspStatus vspsDCTLifterInit_MulC0_32f(S32* st, Vsp32s dctLen, const Vsp32f* mul, Vsp32s cepLen) { return init(st, dctLen, cepLen, given(mul, true)); }

VSP_EXPORT VspStatus vspsDCTLifterInitAlloc_16s(S16** out, Vsp32s dctLen, Vsp32s cepLen, Vsp32s lifterLen, Vsp32f scale) { return initAlloc(out, dctLen, cepLen, plain(lifterLen, scale)); }
VSP_EXPORT VspStatus vspsDCTLifterInitAlloc_32f(S32** out, Vsp32s dctLen, Vsp32s cepLen, Vsp32s lifterLen, Vsp32f scale) { return initAlloc(out, dctLen, cepLen, plain(lifterLen, scale)); }
VSP_EXPORT VspStatus vspsDCTLifterInitAlloc_C0_16s(S16** out, Vsp32s dctLen, Vsp32s cepLen, Vsp32s lifterLen, Vsp32f scale, Vsp32f c0) { return initAlloc(out, dctLen, cepLen, withC0(lifterLen, scale, c0)); }
VSP_EXPORT VspStatus vspsDCTLifterInitAlloc_C0_32f(S32** out, Vsp32s dctLen, Vsp32s cepLen, Vsp32s lifterLen, Vsp32f scale, Vsp32f c0) { return initAlloc(out, dctLen, cepLen, withC0(lifterLen, scale, c0)); }
VSP_EXPORT VspStatus vspsDCTLifterInitAlloc_Mul_16s(S16** out, Vsp32s dctLen, const Vsp32f* mul, Vsp32s cepLen) { return initAlloc(out, dctLen, cepLen, given(mul, false)); }
VSP_EXPORT VspStatus vspsDCTLifterInitAlloc_Mul_32f(S32** out, Vsp32s dctLen, const Vsp32f* mul, Vsp32s cepLen) { return initAlloc(out, dctLen, cepLen, given(mul, false)); }
VSP_EXPORT VspStatus vspsDCTLifterInitAlloc_MulC0_16s(S16** out, Vsp32s dctLen, const Vsp32f* mul, Vsp32s cepLen) { return initAlloc(out, dctLen, cepLen, given(mul, true)); }
VSP_EXPORT VspStatus vspsDCTLifterInitAlloc_MulC0_32f(S32** out, Vsp32s dctLen, const Vsp32f* mul, Vsp32s cepLen) { return initAlloc(out, dctLen, cepLen, given(mul, true)); }

VSP_EXPORT VspStatus vspsDCTLifter_32f(const Vsp32f* src, Vsp32f* dst, const S32* st) { return dctLifter32f(src, dst, st); }
VSP_EXPORT VspStatus vspsDCTLifter_16s_Sfs(const Vsp16s* src, Vsp16s* dst, S16* st, Vsp32s sf) { return dctLifterSfs(src, dst, st, sf); }
VSP_EXPORT VspStatus vspsDCTLifter_32s16s_Sfs(const Vsp32s* src, Vsp16s* dst, S16* st, Vsp32s sf) { return dctLifterSfs(src, dst, st, sf); }

VSP_EXPORT VspStatus vspsDCTLifterFree_16s(S16* st) { return freeState(st); }
VSP_EXPORT VspStatus vspsDCTLifterFree_32f(S32* st) { return freeState(st); }
// clang-format on
