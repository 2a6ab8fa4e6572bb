// Filter bank objects: Mel, Mel-linear, empty and integer banks, in a
// caller's block or allocated; Get and Set of centres and weights; release;
// the Mel conversions.
#include "frame/check.h"
#include "frame/scratch.h"
#include "frontend/fbank_build.h"

VSP_NS_BEGIN

namespace {

inline unsigned char* align32(unsigned char* p) {
  const uintptr_t a = reinterpret_cast<uintptr_t>(p);
  return reinterpret_cast<unsigned char*>((a + 31) & ~uintptr_t(31));
}

// A legal word is, without bit 4, exactly 1 or exactly 2.
bool legalFlags(int32_t flags) {
  const int32_t f = flags & ~vspFBankTransformInput;
  return f == vspFBankMelWeights || f == vspFBankBinWeights;
}

// The order starts at 1 and the length at 2; both grow while the length is
// below the argument.
int32_t orderOf(int32_t fftLen, int64_t* n) {
  int32_t order = 1;
  int64_t len = 2;
  while (len < fftLen) len *= 2, ++order;
  *n = len;
  return order;
}

// ---- Layout -------------------------------------------------------------------------------
//
// A caller's block holds the object at its start, then each piece at the next
// 32-byte boundary: the transform object and the work buffer (bit 4), the
// centres, the Mel points, the two row blocks and the bin points. Every
// byte count is checked against the 32-bit size that GetSize reports; a bank
// whose block would not fit is refused with vspStatusOutOfRange, by every
// constructor alike, which also bounds all the counts below.
struct Layout {
  int64_t rows = 0, n = 0;
  int64_t fftObj = 0, work = 0, centers = 0, floats = 0, rise = 0, fall = 0;
  int64_t total = 0;
};

template <class P>
bool layoutOf(int32_t order, int64_t n, int32_t filterCount, bool transform, bool pointArrays,
              Layout* l) {
  l->rows = int64_t(filterCount) + 2;
  l->n = n;
  if (n > (int64_t(1) << 28) || l->rows > (int64_t(1) << 28)) return false;
  if (transform) {
    int32_t fftObj = 0, init = 0, work = 0;
    if (P::specGetSize(order, &fftObj, &init, &work) != vspStatusOk) return false;
    l->fftObj = fftObj;
    l->work = fbankWorkBytes(n, work);
  }
  l->centers = l->rows * 4;
  l->floats = pointArrays ? l->rows * 4 : 0;
  l->rise = fbankRowBlockBytes(l->rows, fbankRiseStride(n));
  l->fall = fbankRowBlockBytes(l->rows, fbankFallStride(n));
  l->total = int64_t(sizeof(typename P::State)) + 31 + fbankRoundUp32(l->fftObj) +
             fbankRoundUp32(l->work) + fbankRoundUp32(l->centers) + 2 * fbankRoundUp32(l->floats) +
             fbankRoundUp32(l->rise) + fbankRoundUp32(l->fall);
  return l->total <= INT32_MAX;
}

// Pieces carved from a caller's block, in order.
class BlockPieces {
 public:
  BlockPieces(void* object, size_t objectBytes)
      : cursor_(align32(static_cast<unsigned char*>(object) + objectBytes)) {}
  void* take(int64_t bytes) {
    void* p = cursor_;
    cursor_ += fbankRoundUp32(bytes);
    return p;
  }
  template <class P>
  typename P::Obj* fftObj(int32_t order, int64_t bytes) {
    typename P::Obj* s = nullptr;
    P::specInit(&s, order, take(bytes));
    return s;
  }
  void release(void*) {}

 private:
  unsigned char* cursor_;
};

// Pieces from vspMalloc, one block each.
class HeapPieces {
 public:
  void* take(int64_t bytes) { return vspMalloc(size_t(bytes)); }
  template <class P>
  typename P::Obj* fftObj(int32_t order, int64_t) {
    typename P::Obj* s = nullptr;
    return P::specInitAlloc(&s, order) == vspStatusOk ? s : nullptr;
  }
  void release(void* p) { vspFree(p); }
};

template <class P>
void initFields(typename P::State* s, int32_t order, int64_t n, int32_t filterCount,
                int32_t linearCount, int32_t flags, float melMul, float melDiv, int32_t owned) {
  s->centers = nullptr;
  s->riseRows = nullptr;
  s->fallRows = nullptr;
  s->flags = flags;
  s->fftLen = int32_t(n);
  s->fftOrder = order;
  s->filterCount = filterCount;
  s->linearCount = linearCount;
  s->melMul = melMul;
  s->melDiv = melDiv;
  s->centersReady = 0;
  s->fftSpec = nullptr;
  s->fftWork = nullptr;
  s->coeffShift = P::kCoeffShift;
  s->owned = owned;
  s->riseCap = int32_t(fbankRiseStride(n) - kFBankRiseOffset);
  s->fallCap = int32_t(fbankFallStride(n));
}

// The scratch arrays of a construction: the Mel (or linear) points and the
// bin points. In a caller's block they stay there; allocated, they are
// released before the constructor returns.
struct Points {
  float* points = nullptr;
  float* bins = nullptr;
};

// Takes the pieces in their order into the object. Returns
// vspStatusNoMemory at the first piece that cannot be had; what was taken
// stays in the object (the scratch arrays in `pts`). Under bit 4 of
// `transformFlags` the transform object and work buffer come first; if
// `transformOptional`, their failure is ignored and leaves them null.
template <class P, class Pieces>
VspStatus takePieces(typename P::State* s, Pieces& pc, const Layout& l, int32_t transformFlags,
                     bool transformOptional, Points* pts) {
  using Weight = typename P::Weight;
  if (transformFlags & vspFBankTransformInput) {
    s->fftSpec = pc.template fftObj<P>(s->fftOrder, l.fftObj);
    if (s->fftSpec) s->fftWork = pc.take(l.work);
    if (!s->fftWork && !transformOptional) return vspStatusNoMemory;
  }
  s->centers = static_cast<int32_t*>(pc.take(l.centers));
  if (!s->centers) return vspStatusNoMemory;
  for (int64_t i = 0; i < l.rows; ++i) s->centers[i] = 0;
  if (l.floats) {
    pts->points = static_cast<float*>(pc.take(l.floats));
    if (!pts->points) return vspStatusNoMemory;
  }
  void* rise = pc.take(l.rise);
  if (!rise) return vspStatusNoMemory;
  s->riseRows = fbankLayRows<Weight>(rise, l.rows, fbankRiseStride(l.n), kFBankRiseOffset);
  void* fall = pc.take(l.fall);
  if (!fall) return vspStatusNoMemory;
  s->fallRows = fbankLayRows<Weight>(fall, l.rows, fbankFallStride(l.n), 0);
  if (l.floats) {
    pts->bins = static_cast<float*>(pc.take(l.floats));
    if (!pts->bins) return vspStatusNoMemory;
  }
  return vspStatusOk;
}

template <class P>
FBankRows<typename P::Weight> rowsOf(const typename P::State* s) {
  return {s->centers, s->riseRows, s->fallRows, s->riseCap, s->fallCap};
}

// ---- Mel banks -------------------------------------------------------------------------------

struct MelArgs {
  float sampleRate, lowFreq, highFreq, melMul, melDiv;
  float linearHighFreq;  // Mel-linear banks
  int32_t linearCount;   // filterCount in a Mel bank
};

template <class P>
void melBank(typename P::State* s, const Points& pts, const MelArgs& a) {
  const int64_t fc = s->filterCount, n = s->fftLen;
  const bool binWeights = (s->flags & vspFBankBinWeights) != 0;
  const float melLow = fbankMelOfEdge(a.lowFreq, a.melMul, a.melDiv);
  const float melHigh = fbankMelOfEdge(a.highFreq, a.melMul, a.melDiv);
  const float factor = (float(n) / a.sampleRate) * a.melDiv;
  for (int64_t i = 0; i <= fc + 1; ++i) {
    pts.points[i] = float(i) * (melHigh - melLow) / float(fc + 1) + melLow;
    pts.bins[i] = float(__builtin_exp(double(pts.points[i] / a.melMul)) - 1.0) * factor;
    s->centers[i] = fbankCentre(pts.bins[i], binWeights);
  }
  const auto rows = rowsOf<P>(s);
  const float binHz = a.sampleRate / float(n);
  for (int32_t j = 1; j <= fc; ++j) {
    if (binWeights) {
      fbankBinWeights<P>(rows, j, false);
      continue;
    }
    const float m0 = pts.points[j - 1], m1 = pts.points[j], m2 = pts.points[j + 1];
    // The weight at the low edge stays 0.
    fbankFillFilter(
        rows, j, int64_t(s->centers[j - 1]) + 1,
        [&](int64_t k, int64_t, int64_t, int64_t) {
          return P::ratio(fbankMelOfBin(k, binHz, a.melMul, a.melDiv) - m0, m1 - m0);
        },
        [&](int64_t k, int64_t, int64_t, int64_t) {
          return P::ratio(m2 - fbankMelOfBin(k, binHz, a.melMul, a.melDiv), m2 - m1);
        });
  }
}

// Linear below linearHighFreq, Mel above; with bit 2 clear the weights are
// the linear and transition formulas below, kept as they are although they
// mix units at the transition.
template <class P>
void melLinBank(typename P::State* s, const Points& pts, const MelArgs& a) {
  const int64_t fc = s->filterCount, lc = a.linearCount, n = s->fftLen;
  const bool binWeights = (s->flags & vspFBankBinWeights) != 0;
  const float perBin = float(n) / a.sampleRate;
  const int64_t linearPoints = lc == fc ? fc + 1 : lc;
  const float spread = lc == fc ? float(fc + 1) : float(lc);
  for (int64_t i = 0; i <= linearPoints; ++i) {
    pts.points[i] = float(i) * (a.linearHighFreq - a.lowFreq) / spread + a.lowFreq;
    pts.bins[i] = pts.points[i] * perBin;
    s->centers[i] = fbankCentre(pts.bins[i], binWeights);
  }
  if (lc < fc) {
    // The Mel part overwrites the centre at linearCount.
    const float melA = fbankMelOfEdge(a.linearHighFreq, a.melMul, a.melDiv);
    const float melB = fbankMelOfEdge(a.highFreq, a.melMul, a.melDiv);
    const float factor = float(n) / a.sampleRate * a.melDiv;
    const int64_t steps = fc - lc + 1;
    for (int64_t i = 0; i <= steps; ++i) {
      const float mel = float(i) * (melB - melA) / float(steps) + melA;
      pts.bins[lc + i] = float(__builtin_exp(double(mel / a.melMul)) - 1.0) * factor;
      s->centers[lc + i] = fbankCentre(pts.bins[lc + i], binWeights);
    }
  }
  const auto rows = rowsOf<P>(s);
  const float binHz = a.sampleRate / float(n);
  auto lineMel = [&](int64_t i) { return fbankMelOfEdge(pts.points[i], a.melMul, a.melDiv); };
  auto binMel = [&](int64_t k) { return fbankMelOfBin(k, binHz, a.melMul, a.melDiv); };
  for (int32_t j = 1; j <= fc; ++j) {
    if (binWeights || j > lc) {
      fbankBinWeights<P>(rows, j, !binWeights);
      continue;
    }
    const float l0 = lineMel(j - 1), l1 = lineMel(j);
    auto rise = [&](int64_t k, int64_t, int64_t, int64_t) {
      return P::clampLow(P::ratio(binMel(k) - l0, l1 - l0));
    };
    if (j < lc || lc == fc) {
      const float l2 = lineMel(j + 1);
      fbankFillFilter(rows, j, s->centers[j - 1], rise, [&](int64_t k, int64_t, int64_t, int64_t) {
        return P::clampLow(P::ratio(l2 - binMel(k), l2 - l1));
      });
    } else {
      // The transition filter: a bin number minus a Mel value, over a bin
      // distance.
      fbankFillFilter(rows, j, s->centers[j - 1], rise,
                      [&](int64_t k, int64_t, int64_t c1, int64_t c2) {
                        const float num = float(double(c2) - double(binMel(k)));
                        return P::clampLow(P::ratio(num, float(c2 - c1)));
                      });
    }
  }
}

VspStatus checkMelSizes(int32_t fftLen, int32_t filterCount, float sampleRate, float lowFreq) {
  if (fftLen < 1 || filterCount < 1 || sampleRate <= 0 || lowFreq <= 0) return vspStatusBadSize;
  return vspStatusOk;
}

// A Mel or Mel-linear bank: in a caller's block (`stateOut` null, `block`
// given) or allocated. The checks are done by the caller.
template <class P, bool MelLinear>
VspStatus makeMelBank(typename P::State* block, typename P::State** stateOut, int32_t* order,
                      int32_t fftLen, int32_t filterCount, int32_t flags, const MelArgs& a) {
  using State = typename P::State;
  int64_t n = 0;
  const int32_t ord = orderOf(fftLen, &n);
  Layout l;
  if (!layoutOf<P>(ord, n, filterCount, flags & vspFBankTransformInput, true, &l))
    return vspStatusOutOfRange;
  if (!order || (!block && !stateOut)) return vspStatusNullPointer;
  *order = ord;
  auto finish = [&](State* s, const Points& pts) {
    if (MelLinear)
      melLinBank<P>(s, pts, a);
    else
      melBank<P>(s, pts, a);
    s->centersReady = 1;
  };
  Points pts;
  if (block) {
    initFields<P>(block, ord, n, filterCount, a.linearCount, flags, a.melMul, a.melDiv, 0);
    BlockPieces pc(block, sizeof(State));
    takePieces<P>(block, pc, l, flags, false, &pts);
    finish(block, pts);
    return vspStatusOk;
  }
  State* s = static_cast<State*>(vspMalloc(sizeof(State)));
  *stateOut = s;
  if (!s) return vspStatusNoMemory;
  initFields<P>(s, ord, n, filterCount, a.linearCount, flags, a.melMul, a.melDiv, 1);
  HeapPieces pc;
  const VspStatus st = takePieces<P>(s, pc, l, flags, false, &pts);
  if (st == vspStatusOk) finish(s, pts);
  pc.release(pts.points);
  pc.release(pts.bins);
  return st;
}

template <class P>
VspStatus melGetSize(int32_t fftLen, int32_t filterCount, int32_t flags, int32_t* sizeBytes) {
  if (!sizeBytes) return vspStatusNullPointer;
  if (fftLen < 1 || filterCount < 1) return vspStatusBadSize;
  if (!legalFlags(flags)) return vspStatusBadFilterBankFlag;
  int64_t n = 0;
  const int32_t ord = orderOf(fftLen, &n);
  Layout l;
  if (!layoutOf<P>(ord, n, filterCount, flags & vspFBankTransformInput, true, &l))
    return vspStatusOutOfRange;
  *sizeBytes = int32_t(l.total);
  return vspStatusOk;
}

template <class P>
VspStatus melInit(typename P::State* state, typename P::State** stateOut, int32_t* order,
                  int32_t fftLen, float sampleRate, float lowFreq, float highFreq,
                  int32_t filterCount, float melMul, float melDiv, int32_t flags) {
  if ((!state && !stateOut) || !order) return vspStatusNullPointer;
  VspStatus st = checkMelSizes(fftLen, filterCount, sampleRate, lowFreq);
  if (st != vspStatusOk) return st;
  if (lowFreq > highFreq || highFreq > 0.5f * sampleRate) return vspStatusBadBandEdges;
  if (!legalFlags(flags)) return vspStatusBadFilterBankFlag;
  const MelArgs a{sampleRate, lowFreq, highFreq, melMul, melDiv, 0.0f, filterCount};
  return makeMelBank<P, false>(state, stateOut, order, fftLen, filterCount, flags, a);
}

// This constructor's order of checks has no pointer step: sizes, edges and
// flags come first even with null pointers, and a null pointer is refused
// after them rather than written through.
template <class P>
VspStatus melLinInitAlloc(typename P::State** stateOut, int32_t* order, int32_t fftLen,
                          float sampleRate, float lowFreq, float highFreq, int32_t filterCount,
                          float linearHighFreq, int32_t linearCount, float melMul, float melDiv,
                          int32_t flags) {
  VspStatus st = checkMelSizes(fftLen, filterCount, sampleRate, lowFreq);
  if (st != vspStatusOk) return st;
  if (linearCount < 1 || linearCount > filterCount) return vspStatusBadSize;
  if (!(lowFreq <= linearHighFreq && linearHighFreq <= highFreq && highFreq <= 0.5f * sampleRate))
    return vspStatusBadBandEdges;
  if (!legalFlags(flags)) return vspStatusBadFilterBankFlag;
  const MelArgs a{sampleRate, lowFreq, highFreq, melMul, melDiv, linearHighFreq, linearCount};
  return makeMelBank<P, true>(nullptr, stateOut, order, fftLen, filterCount, flags, a);
}

// ---- Empty banks ---------------------------------------------------------------------------
//
// The stored word is 1 whatever came, so evaluation never takes the
// transform path; under bit 4 a transform object and work buffer are made
// all the same (for the length N, which the object now records), and their
// failure is ignored.
template <class P>
VspStatus emptyInitAlloc(typename P::State** stateOut, int32_t* order, int32_t fftLen,
                         int32_t filterCount, int32_t flags) {
  using State = typename P::State;
  if (fftLen < 1 || filterCount < 1) return vspStatusBadSize;
  int64_t n = 0;
  const int32_t ord = orderOf(fftLen, &n);
  Layout l;
  if (!layoutOf<P>(ord, n, filterCount, flags & vspFBankTransformInput, false, &l))
    return vspStatusOutOfRange;
  if (!stateOut || !order) return vspStatusNullPointer;
  *order = ord;
  State* s = static_cast<State*>(vspMalloc(sizeof(State)));
  *stateOut = s;
  if (!s) return vspStatusNoMemory;
  initFields<P>(s, ord, n, filterCount, filterCount, vspFBankMelWeights, 0.0f, 1.0f, 1);
  HeapPieces pc;
  Points pts;
  return takePieces<P>(s, pc, l, flags, true, &pts);
}

// ---- Release ---------------------------------------------------------------------------------

template <class P>
VspStatus fbankFree(typename P::State* s) {
  if (!s) return vspStatusNullPointer;
  if (s->owned != 1) return vspStatusOk;  // built in the caller's block: nothing of ours
  vspFree(s->centers);
  vspFree(s->riseRows);
  vspFree(s->fallRows);
  vspFree(s->fftWork);
  s->centersReady = 0;
  s->centers = nullptr;
  s->riseRows = nullptr;
  s->fallRows = nullptr;
  if (s->fftSpec) P::specFree(static_cast<typename P::Obj*>(s->fftSpec));  // status ignored
  s->fftSpec = nullptr;
  s->fftWork = nullptr;
  vspFree(s);
  return vspStatusOk;
}

// ---- Get and Set ------------------------------------------------------------------------------
//
// The validation has deliberate gaps: the last two centres are never
// compared with each other, and a bank of one filter has no neighbour test.
// Every reader of the rows clips to them, so the gaps cost nothing in safety.
bool centersValid(const int32_t* c, int32_t filterCount, int32_t fftLen) {
  if (c[0] < 0) return false;
  for (int32_t i = 1; i <= filterCount - 1; ++i)
    if (c[i - 1] > c[i] || c[i] > c[i + 1]) return false;
  return c[filterCount + 1] <= fftLen / 2;
}

template <class State>
bool incomplete(const State* s) {
  return !s->centers || !s->riseRows || !s->fallRows;
}

template <class P>
VspStatus getCenters(const typename P::State* s, int32_t* out) {
  if (anyNull(s, out) || incomplete(s)) return vspStatusNullPointer;
  if (!s->centersReady || !centersValid(s->centers, s->filterCount, s->fftLen))
    return vspStatusFilterBankNotReady;
  for (int64_t i = 0; i < int64_t(s->filterCount) + 2; ++i) out[i] = s->centers[i];
  return vspStatusOk;
}

template <class P>
VspStatus setCenters(typename P::State* s, const int32_t* in) {
  if (anyNull(s, in) || incomplete(s)) return vspStatusNullPointer;
  if (!centersValid(in, s->filterCount, s->fftLen)) return vspStatusFilterBankNotReady;
  s->centersReady = 1;
  for (int64_t i = 0; i < int64_t(s->filterCount) + 2; ++i) s->centers[i] = in[i];
  return vspStatusOk;
}

// The run of filter f as Get and Set exchange it: the rising weights, then
// the falling ones, each count clipped to its row. The spare filter
// filterCount + 1 would take the end of its falling side from behind the
// last centre, where nothing is defined: it gets its rising side alone.
struct CoeffRun {
  int64_t rise, fall;
};
template <class State>
CoeffRun coeffRun(const State* s, int32_t f) {
  const int64_t c0 = s->centers[f - 1], c1 = s->centers[f];
  const int64_t c2 = f <= s->filterCount ? int64_t(s->centers[f + 1]) : c1;
  auto clip = [](int64_t v, int64_t cap) { return v < 0 ? 0 : v > cap ? cap : v; };
  return {clip(c1 - c0 + 1, s->riseCap), clip(c2 - c1, s->fallCap)};
}

template <class P>
VspStatus getCoeffs(const typename P::State* s, int32_t f, float* out) {
  if (anyNull(s, out) || incomplete(s)) return vspStatusNullPointer;
  if (!s->centersReady) return vspStatusFilterBankNotReady;
  if (f < 1 || f > int64_t(s->filterCount) + 1) return vspStatusBadSize;
  const CoeffRun r = coeffRun(s, f);
  for (int64_t m = 0; m < r.rise; ++m) out[m] = P::toFloat(s->riseRows[f - 1][m]);
  for (int64_t m = 0; m < r.fall; ++m) out[r.rise + m] = P::toFloat(s->fallRows[f - 1][m]);
  return vspStatusOk;
}

template <class P>
VspStatus setCoeffs(typename P::State* s, int32_t f, const float* in) {
  if (anyNull(s, in) || incomplete(s)) return vspStatusNullPointer;
  if (!s->centersReady) return vspStatusFilterBankNotReady;
  if (f < 1 || f > s->filterCount) return vspStatusBadSize;
  const CoeffRun r = coeffRun(s, f);
  for (int64_t m = 0; m < r.rise; ++m) s->riseRows[f - 1][m] = P::fromFloat(in[m]);
  for (int64_t m = 0; m < r.fall; ++m) s->fallRows[f - 1][m] = P::fromFloat(in[r.rise + m]);
  return vspStatusOk;
}

// ---- The integer bank ------------------------------------------------------------------------

struct FBank32sWeights {
  using Weight = int32_t;  // weight times 2^30
  static int32_t binRatio(int64_t a, int64_t b) { return low32(shl64(a, 30) / b); }
  static int32_t clampLow(int32_t w) { return w < 0 ? 0 : w; }
};

struct Layout32s {
  int64_t centers = 0, rise = 0, fall = 0, total = 0;
};
// GetSize refuses filterCount = N/2 + 1, which Init accepts; so the block it
// reports for N/2 filters has room for that one more.
Layout32s layout32s(int64_t n, int32_t filterCount) {
  Layout32s l;
  const int64_t rows = (filterCount == n / 2 ? int64_t(filterCount) + 1 : filterCount) + 2;
  l.centers = rows * 4;
  l.rise = fbankRowBlockBytes(rows, fbankRiseStride(n));
  l.fall = fbankRowBlockBytes(rows, fbankFallStride(n));
  l.total = int64_t(sizeof(VspFBankState_32s)) + 31 + fbankRoundUp32(l.centers) +
            fbankRoundUp32(l.rise) + fbankRoundUp32(l.fall);
  return l;
}

VspStatus getSize32s(int32_t fftLen, int32_t filterCount, int32_t flags, int32_t* sizeBytes) {
  if (!sizeBytes) return vspStatusNullPointer;
  if (filterCount < 1 || fftLen < 32 || fftLen > 8192) return vspStatusBadSize;
  if (flags != vspFBankBinWeights) return vspStatusBadFilterBankFlag;
  int64_t n = 0;
  orderOf(fftLen, &n);
  if (filterCount > n / 2) return vspStatusBadSize;
  *sizeBytes = int32_t(layout32s(n, filterCount).total);
  return vspStatusOk;
}

// Q22 Mel values of the band edges, from melDiv and melMul in Q15.
int64_t melQ22(int64_t freq, int64_t melMul, int64_t melDiv) {
  const int64_t d = shl64(melDiv, 7);
  return sar64(wrapMul64(lnQ22(wrapAdd64(shl64(freq, 22), d)) - lnQ22(d), melMul), 15);
}

VspStatus init32s(VspFBankState_32s* s, int32_t* order, int32_t fftLen, int32_t sampleRate,
                  int32_t lowFreq, int32_t highFreq, int32_t filterCount, int32_t melMul,
                  int32_t melDiv, int32_t flags) {
  if (anyNull(s, order)) return vspStatusNullPointer;
  if (filterCount < 1 || highFreq < 1 || fftLen < 32 || fftLen > 8192) return vspStatusBadSize;
  if (flags != vspFBankBinWeights) return vspStatusBadFilterBankFlag;
  if (sampleRate < 1 || sampleRate > 48000 || lowFreq < 0) return vspStatusBadSize;
  if (highFreq <= lowFreq || highFreq > 24000) return vspStatusBadBandEdges;
  if (melDiv < 524289 || melDiv > (1 << 28) - 1 || melMul < 524289 || melMul > (1 << 30) - 1)
    return vspStatusOutOfRange;
  int64_t n = 0;
  *order = orderOf(fftLen, &n);
  if (filterCount > n / 2 + 1) return vspStatusBadSize;

  const Layout32s l = layout32s(n, filterCount);
  const int64_t rows = int64_t(filterCount) + 2;
  s->flags = vspFBankBinWeights;
  s->filterCount = filterCount;
  s->binCount = int32_t(n / 2 + 1);
  s->riseCap = int32_t(fbankRiseStride(n) - kFBankRiseOffset);
  s->fallCap = int32_t(fbankFallStride(n));
  BlockPieces pc(s, sizeof(VspFBankState_32s));
  s->centers = static_cast<int32_t*>(pc.take(l.centers));
  s->riseRows = fbankLayRows<int32_t>(pc.take(l.rise), rows, fbankRiseStride(n), kFBankRiseOffset);
  s->fallRows = fbankLayRows<int32_t>(pc.take(l.fall), rows, fbankFallStride(n), 0);

  const int64_t melLow = melQ22(lowFreq, melMul, melDiv);
  const int64_t melSpan = melQ22(highFreq, melMul, melDiv) - melLow;
  const int64_t scale = sar64(wrapMul64(shl64(n, 22) / sampleRate, shl64(melDiv, 7)), 22);
  const int64_t parts = int64_t(filterCount) + 1;
  for (int64_t i = 0; i <= parts; ++i) {
    const int64_t point = (melLow * parts + i * melSpan) / parts;
    const int64_t ratio = shl64(point, 22) / shl64(melMul, 7);
    const int64_t bin = sar64(wrapMul64(scale, expQ22(ratio) - 4194304), 22);
    s->centers[i] = low32(sar64(bin, 22) + (sar64(bin, 21) & 1));  // half up
  }
  const FBankRows<int32_t> r{s->centers, s->riseRows, s->fallRows, s->riseCap, s->fallCap};
  for (int32_t j = 1; j <= filterCount; ++j) fbankBinWeights<FBank32sWeights>(r, j, false);
  return vspStatusOk;
}

// ---- Mel conversions ---------------------------------------------------------------------------

template <bool ToMel>
VspStatus melConvert(const float* src, float* dst, int32_t len, float melMul, float melDiv) {
  if (anyNull(src, dst)) return vspStatusNullPointer;
  if (len <= 0 || melMul <= 0 || melDiv <= 0) return vspStatusBadSize;
  const double mul = melMul, div = melDiv;
  const double inv = ToMel ? 1.0 / div : 1.0 / mul;
  for (int32_t i = 0; i < len; ++i) {
    const double x = src[i];
    dst[i] = ToMel ? float(mul * __builtin_log(1.0 + x * inv))
                   : float(div * (__builtin_exp(x * inv) - 1.0));
  }
  return vspStatusOk;
}

}  // namespace

// ---- The integer bank's Q22 logarithm and exponential
// --------------------------------------------

int64_t lnQ22(int64_t x) {
  if (x <= 0) return 0;  // the bank's arguments are positive
  const int32_t e = 63 - __builtin_clzll(uint64_t(x));
  uint64_t m = e < 30 ? uint64_t(x) << (29 - e) : uint64_t(x) >> (e - 29);  // 2^29 .. 2^30
  int64_t f = 0;  // log2 of the mantissa, one bit a squaring, Q31
  for (int32_t b = 0; b < 31; ++b) {
    const uint64_t sq = m * m;
    m = sq >> 29;
    int64_t bit = 0;
    if (m >= (uint64_t(1) << 30)) bit = 1, m = sq >> 30;
    f = (f << 1) | bit;
  }
  constexpr int64_t kLn2Q31 = 1488522236;
  return sar64(e * kLn2Q31 + ((f * kLn2Q31) >> 31) - 22 * kLn2Q31, 9);
}

int64_t expQ22(int64_t r) {
  // ln(1 + 2^-(k+1)) and ln(1 - 2^-(k+1)) in Q31, rounded to nearest.
  static constexpr int32_t kUp[32] = {
      870729689, 479197128, 252937143, 130190384, 66081634, 33294987, 16712019, 8372267,
      4190213,   2096129,   1048320,   524224,    262128,   131068,   65535,    32768,
      16384,     8192,      4096,      2048,      1024,     512,      256,      128,
      64,        32,        16,        8,         4,        2,        1,        0};
  static constexpr int32_t kDown[32] = {
      -1488522236, -617792546, -286756482, -138595419, -68179810, -33819339, -16843095, -8405035,
      -4198405,    -2098177,   -1048832,   -524352,    -262160,   -131076,   -65537,    -32768,
      -16384,      -8192,      -4096,      -2048,      -1024,     -512,      -256,      -128,
      -64,         -32,        -16,        -8,         -4,        -2,        -1,        -1};
  const int64_t t = wrapMul64(r, 3098164009);  // r * log2(e), Q53
  const int64_t whole = sar64(t, 53);
  const int64_t frac = (t & ((int64_t(1) << 53) - 1)) >> 22;  // Q31
  int64_t y = (frac * 1488522236) >> 31;                      // times ln 2, Q31
  uint64_t p = uint64_t(1) << 31;                             // 1.0 in Q31
  uint64_t d = uint64_t(1) << 30;
  for (int32_t k = 0; k < 32; ++k, d >>= 1) {
    if (y > kUp[k]) {
      p = (((uint64_t(1) << 31) + d) * p) >> 31;
      y -= kUp[k];
    } else if (y < kDown[k]) {
      p = (((uint64_t(1) << 31) - d) * p) >> 31;
      y -= kDown[k];
    }
  }
  const int64_t shift = 9 - whole;
  uint64_t v;
  if (shift >= 0)
    v = shift >= 64 ? 0 : p >> shift;
  else
    v = (-shift >= 32 || p > (uint64_t(0x7FFFFFFF) >> -shift)) ? 0x7FFFFFFF : p << -shift;
  return v > 0x7FFFFFFF ? 0x7FFFFFFF : int64_t(v);
}

VSP_NS_END

// ---- Exports
// ---------------------------------------------------------------------------------------

using vsp::FBank16s;
using vsp::FBank32f;

VSP_EXPORT VspStatus vspsMelFBankGetSize_32f(Vsp32s fftLen, Vsp32s filterCount, Vsp32s flags,
                                             Vsp32s* sizeBytes) {
  return vsp::melGetSize<FBank32f>(fftLen, filterCount, flags, sizeBytes);
}
VSP_EXPORT VspStatus vspsMelFBankGetSize_16s(Vsp32s fftLen, Vsp32s filterCount, Vsp32s flags,
                                             Vsp32s* sizeBytes) {
  return vsp::melGetSize<FBank16s>(fftLen, filterCount, flags, sizeBytes);
}
VSP_EXPORT VspStatus vspsMelFBankGetSize_32s(Vsp32s fftLen, Vsp32s filterCount, Vsp32s flags,
                                             Vsp32s* sizeBytes) {
  return vsp::getSize32s(fftLen, filterCount, flags, sizeBytes);
}

VSP_EXPORT VspStatus vspsMelFBankInit_32f(VspFBankState_32f* state, Vsp32s* order, Vsp32s fftLen,
                                          Vsp32f sampleRate, Vsp32f lowFreq, Vsp32f highFreq,
                                          Vsp32s filterCount, Vsp32f melMul, Vsp32f melDiv,
                                          Vsp32s flags) {
  return vsp::melInit<FBank32f>(state, nullptr, order, fftLen, sampleRate, lowFreq, highFreq,
                                filterCount, melMul, melDiv, flags);
}
VSP_EXPORT VspStatus vspsMelFBankInit_16s(VspFBankState_16s* state, Vsp32s* order, Vsp32s fftLen,
                                          Vsp32f sampleRate, Vsp32f lowFreq, Vsp32f highFreq,
                                          Vsp32s filterCount, Vsp32f melMul, Vsp32f melDiv,
                                          Vsp32s flags) {
  return vsp::melInit<FBank16s>(state, nullptr, order, fftLen, sampleRate, lowFreq, highFreq,
                                filterCount, melMul, melDiv, flags);
}
VSP_EXPORT VspStatus vspsMelFBankInit_32s(VspFBankState_32s* state, Vsp32s* order, Vsp32s fftLen,
                                          Vsp32s sampleRate, Vsp32s lowFreq, Vsp32s highFreq,
                                          Vsp32s filterCount, Vsp32s melMul, Vsp32s melDiv,
                                          Vsp32s flags) {
  return vsp::init32s(state, order, fftLen, sampleRate, lowFreq, highFreq, filterCount, melMul,
                      melDiv, flags);
}

VSP_EXPORT VspStatus vspsMelFBankInitAlloc_32f(VspFBankState_32f** stateOut, Vsp32s* order,
                                               Vsp32s fftLen, Vsp32f sampleRate, Vsp32f lowFreq,
                                               Vsp32f highFreq, Vsp32s filterCount, Vsp32f melMul,
                                               Vsp32f melDiv, Vsp32s flags) {
  return vsp::melInit<FBank32f>(nullptr, stateOut, order, fftLen, sampleRate, lowFreq, highFreq,
                                filterCount, melMul, melDiv, flags);
}
VSP_EXPORT VspStatus vspsMelFBankInitAlloc_16s(VspFBankState_16s** stateOut, Vsp32s* order,
                                               Vsp32s fftLen, Vsp32f sampleRate, Vsp32f lowFreq,
                                               Vsp32f highFreq, Vsp32s filterCount, Vsp32f melMul,
                                               Vsp32f melDiv, Vsp32s flags) {
  return vsp::melInit<FBank16s>(nullptr, stateOut, order, fftLen, sampleRate, lowFreq, highFreq,
                                filterCount, melMul, melDiv, flags);
}

VSP_EXPORT VspStatus vspsMelLinFBankInitAlloc_32f(VspFBankState_32f** stateOut, Vsp32s* order,
                                                  Vsp32s fftLen, Vsp32f sampleRate, Vsp32f lowFreq,
                                                  Vsp32f highFreq, Vsp32s filterCount,
                                                  Vsp32f linearHighFreq, Vsp32s linearCount,
                                                  Vsp32f melMul, Vsp32f melDiv, Vsp32s flags) {
  return vsp::melLinInitAlloc<FBank32f>(stateOut, order, fftLen, sampleRate, lowFreq, highFreq,
                                        filterCount, linearHighFreq, linearCount, melMul, melDiv,
                                        flags);
}
VSP_EXPORT VspStatus vspsMelLinFBankInitAlloc_16s(VspFBankState_16s** stateOut, Vsp32s* order,
                                                  Vsp32s fftLen, Vsp32f sampleRate, Vsp32f lowFreq,
                                                  Vsp32f highFreq, Vsp32s filterCount,
                                                  Vsp32f linearHighFreq, Vsp32s linearCount,
                                                  Vsp32f melMul, Vsp32f melDiv, Vsp32s flags) {
  return vsp::melLinInitAlloc<FBank16s>(stateOut, order, fftLen, sampleRate, lowFreq, highFreq,
                                        filterCount, linearHighFreq, linearCount, melMul, melDiv,
                                        flags);
}

VSP_EXPORT VspStatus vspsEmptyFBankInitAlloc_32f(VspFBankState_32f** stateOut, Vsp32s* order,
                                                 Vsp32s fftLen, Vsp32s filterCount, Vsp32s flags) {
  return vsp::emptyInitAlloc<FBank32f>(stateOut, order, fftLen, filterCount, flags);
}
VSP_EXPORT VspStatus vspsEmptyFBankInitAlloc_16s(VspFBankState_16s** stateOut, Vsp32s* order,
                                                 Vsp32s fftLen, Vsp32s filterCount, Vsp32s flags) {
  return vsp::emptyInitAlloc<FBank16s>(stateOut, order, fftLen, filterCount, flags);
}

VSP_EXPORT VspStatus vspsFBankFree_32f(VspFBankState_32f* state) {
  return vsp::fbankFree<FBank32f>(state);
}
VSP_EXPORT VspStatus vspsFBankFree_16s(VspFBankState_16s* state) {
  return vsp::fbankFree<FBank16s>(state);
}

VSP_EXPORT VspStatus vspsFBankGetCenters_32f(const VspFBankState_32f* state, Vsp32s* centersOut) {
  return vsp::getCenters<FBank32f>(state, centersOut);
}
VSP_EXPORT VspStatus vspsFBankGetCenters_16s(const VspFBankState_16s* state, Vsp32s* centersOut) {
  return vsp::getCenters<FBank16s>(state, centersOut);
}
VSP_EXPORT VspStatus vspsFBankSetCenters_32f(VspFBankState_32f* state, const Vsp32s* centersIn) {
  return vsp::setCenters<FBank32f>(state, centersIn);
}
VSP_EXPORT VspStatus vspsFBankSetCenters_16s(VspFBankState_16s* state, const Vsp32s* centersIn) {
  return vsp::setCenters<FBank16s>(state, centersIn);
}
VSP_EXPORT VspStatus vspsFBankGetCoeffs_32f(const VspFBankState_32f* state, Vsp32s filterIndex,
                                            Vsp32f* coeffsOut) {
  return vsp::getCoeffs<FBank32f>(state, filterIndex, coeffsOut);
}
VSP_EXPORT VspStatus vspsFBankGetCoeffs_16s(const VspFBankState_16s* state, Vsp32s filterIndex,
                                            Vsp32f* coeffsOut) {
  return vsp::getCoeffs<FBank16s>(state, filterIndex, coeffsOut);
}
VSP_EXPORT VspStatus vspsFBankSetCoeffs_32f(VspFBankState_32f* state, Vsp32s filterIndex,
                                            const Vsp32f* coeffsIn) {
  return vsp::setCoeffs<FBank32f>(state, filterIndex, coeffsIn);
}
VSP_EXPORT VspStatus vspsFBankSetCoeffs_16s(VspFBankState_16s* state, Vsp32s filterIndex,
                                            const Vsp32f* coeffsIn) {
  return vsp::setCoeffs<FBank16s>(state, filterIndex, coeffsIn);
}

VSP_EXPORT VspStatus vspsLinearToMel_32f(const Vsp32f* src, Vsp32f* dst, Vsp32s len, Vsp32f melMul,
                                         Vsp32f melDiv) {
  return vsp::melConvert<true>(src, dst, len, melMul, melDiv);
}
VSP_EXPORT VspStatus vspsMelToLinear_32f(const Vsp32f* src, Vsp32f* dst, Vsp32s len, Vsp32f melMul,
                                         Vsp32f melDiv) {
  return vsp::melConvert<false>(src, dst, len, melMul, melDiv);
}
