// Mixture scoring: the log likelihood of an observation under a whole
// Gaussian mixture, and of a block of frames under the components that a
// shortlist bit matrix selects for each.
#include "frame/check.h"
#include "frame/rows.h"
#include "frame/scratch.h"
#include "scoring/gauss_block.h"
#include "scoring/gauss_single.h"
#include "scoring/gauss_sum.h"

VSP_NS_BEGIN

namespace {

// ---- Plain members ------------------------------------------------------------------
//
// Scores come four components at a time from the row kernels (the source is
// loaded once for four); the fold over them runs in ascending order, the
// running value narrowed to the member's precision at each step.
template <class Score, bool HasVar, class Rows>
VspStatus mixtureRun(const typename Score::In* src, Rows means, Rows vars, int32_t count,
                     int32_t width, const typename Score::G* gConsts, typename Score::Out* dst,
                     int32_t sf) {
  if (count < 1 || width < 1) return vspStatusBadSize;
  typename Score::Out run = 0;
  scoreModels(hostTier(), Score(sf), src, means, vars, HasVar, width, gConsts, count,
              [&](int32_t k, typename Score::Out score) {
                if (k == 0)
                  run = score;
                else
                  LogAddInto::apply(run, score);
              });
  *dst = run;
  return vspStatusOk;
}

// The float and double members check the pointers before the step, the
// 16-bit ones the step first.
template <class Score, bool StepFirst, bool HasVar>
VspStatus mixtureD2(const typename Score::In* src, const typename Score::In* means,
                    const typename Score::In* vars, int32_t count, int32_t step, int32_t width,
                    const typename Score::G* gConsts, typename Score::Out* dst, int32_t sf) {
  if (StepFirst && badStep(width, step)) return vspStatusBadStep;
  if (anyNull(src, means, gConsts, dst) || (HasVar && vars == nullptr)) return vspStatusNullPointer;
  if (!StepFirst && badStep(width, step)) return vspStatusBadStep;
  return mixtureRun<Score, HasVar>(src, steppedRows(means, step),
                                   steppedRows(HasVar ? vars : means, step), count, width, gConsts,
                                   dst, sf);
}

template <class Score, bool HasVar>
VspStatus mixtureD2L(const typename Score::In* src, const typename Score::In* const* means,
                     const typename Score::In* const* vars, int32_t count, int32_t width,
                     const typename Score::G* gConsts, typename Score::Out* dst, int32_t sf) {
  if (anyNull(src, means, gConsts, dst) || (HasVar && vars == nullptr)) return vspStatusNullPointer;
  return mixtureRun<Score, HasVar>(src, pointerRows(means), pointerRows(HasVar ? vars : means),
                                   count, width, gConsts, dst, sf);
}

// ---- Shortlists -------------------------------------------------------------------------
//
// Components in ascending order, and for each the frames whose row of the
// bit matrix selects it; a hit is scored by the single-observation kernel and
// stored (first hit) or log-added into the frame's result. The hits are
// counted per frame in 16 bits, as the counter array's layout demands: after
// 65536 hits a counter is back at zero and the next hit stores again.
template <class Finish, bool HasVar, class In, class Rows>
VspStatus selectRun(Rows frames, Rows means, Rows vars, int32_t width, const float* gConsts,
                    const uint8_t* shortlist, int32_t count, float* dst, int32_t frameCount,
                    float noSelectionScore, int32_t sf) {
  int16_t* hits = scratchOf<int16_t>(frameCount);
  ScratchBlock hold(hits);
  if (hits == nullptr) return vspStatusNoMemory;
  for (int32_t f = 0; f < frameCount; ++f) hits[f] = 0;
  const Tier tier = hostTier();
  const int64_t rowBytes = (int64_t(count) + 7) / 8;
  for (int32_t m = 0; m < count; ++m) {
    const uint8_t* column = shortlist + m / 8;
    const unsigned mask = 128u >> (m & 7);
    const In* mean = means[m];
    const In* var = HasVar ? vars[m] : nullptr;
    for (int32_t f = 0; f < frameCount; ++f) {
      if ((column[f * rowBytes] & mask) == 0) continue;
      const float score =
          Finish::apply(sumSqOf<float>(tier, frames[f], mean, var, width), gConsts[m], sf);
      if (hits[f] == 0)
        dst[f] = score;
      else if (!logadd::keepsRun<logadd::Poly32, logadd::FloorMax32>(dst[f], score))
        dst[f] = float(logadd::add32(double(score), double(dst[f])));
      hits[f] = low16(int32_t(hits[f]) + 1);
    }
  }
  for (int32_t f = 0; f < frameCount; ++f)
    if (hits[f] == 0) dst[f] = noSelectionScore;
  return vspStatusOk;
}

template <class In>
bool selectNull(const In* frames, const In* means, const In* vars, bool hasVar,
                const float* gConsts, const uint8_t* shortlist, const float* dst) {
  return anyNull(frames, means, gConsts, shortlist, dst) || (hasVar && vars == nullptr);
}

template <class Finish, bool HasVar, class In>
VspStatus selectD2(const In* frames, const In* means, const typename NonDeduced<In>::type* vars,
                   int32_t step, int32_t width, const float* gConsts, const uint8_t* shortlist,
                   int32_t count, float* dst, int32_t frameCount, float noSelectionScore,
                   int32_t sf) {
  if (selectNull(frames, means, vars, HasVar, gConsts, shortlist, dst)) return vspStatusNullPointer;
  if (width < 1 || count < 1 || frameCount < 1) return vspStatusBadSize;
  if (step < width) return vspStatusBadStep;
  return selectRun<Finish, HasVar, In>(steppedRows(frames, step), steppedRows(means, step),
                                       steppedRows(HasVar ? vars : means, step), width, gConsts,
                                       shortlist, count, dst, frameCount, noSelectionScore, sf);
}

template <class Finish, bool HasVar, class In>
VspStatus selectD2L(const In* const* frames, const In* const* means,
                    const typename NonDeduced<In>::type* const* vars, int32_t width,
                    const float* gConsts, const uint8_t* shortlist, int32_t count, float* dst,
                    int32_t frameCount, float noSelectionScore, int32_t sf) {
  if (selectNull(frames, means, vars, HasVar, gConsts, shortlist, dst)) return vspStatusNullPointer;
  if (width < 1 || count < 1 || frameCount < 1) return vspStatusBadSize;
  return selectRun<Finish, HasVar, In>(pointerRows(frames), pointerRows(means),
                                       pointerRows(HasVar ? vars : means), width, gConsts,
                                       shortlist, count, dst, frameCount, noSelectionScore, sf);
}

}  // namespace

VSP_NS_END

using namespace vsp;

// clang-format off
VSP_EXPORT VspStatus vspsLogGaussMixture_32f_D2(const Vsp32f* s, const Vsp32f* m, const Vsp32f* v, Vsp32s n, Vsp32s st, Vsp32s w, const Vsp32f* g, Vsp32f* d) { return mixtureD2<HalfScore<float>, false, true>(s, m, v, n, st, w, g, d, 0); }
VSP_EXPORT VspStatus vspsLogGaussMixture_32f_D2L(const Vsp32f* s, const Vsp32f* const* m, const Vsp32f* const* v, Vsp32s n, Vsp32s w, const Vsp32f* g, Vsp32f* d) { return mixtureD2L<HalfScore<float>, true>(s, m, v, n, w, g, d, 0); }
VSP_EXPORT VspStatus vspsLogGaussMixture_64f_D2(const Vsp64f* s, const Vsp64f* m, const Vsp64f* v, Vsp32s n, Vsp32s st, Vsp32s w, const Vsp64f* g, Vsp64f* d) { return mixtureD2<HalfScore<double>, false, true>(s, m, v, n, st, w, g, d, 0); }
VSP_EXPORT VspStatus vspsLogGaussMixture_64f_D2L(const Vsp64f* s, const Vsp64f* const* m, const Vsp64f* const* v, Vsp32s n, Vsp32s w, const Vsp64f* g, Vsp64f* d) { return mixtureD2L<HalfScore<double>, true>(s, m, v, n, w, g, d, 0); }
VSP_EXPORT VspStatus vspsLogGaussMixture_IdVar_32f_D2(const Vsp32f* s, const Vsp32f* m, Vsp32s n, Vsp32s st, Vsp32s w, const Vsp32f* g, Vsp32f* d) { return mixtureD2<HalfScore<float>, false, false>(s, m, nullptr, n, st, w, g, d, 0); }
VSP_EXPORT VspStatus vspsLogGaussMixture_IdVar_32f_D2L(const Vsp32f* s, const Vsp32f* const* m, Vsp32s n, Vsp32s w, const Vsp32f* g, Vsp32f* d) { return mixtureD2L<HalfScore<float>, false>(s, m, nullptr, n, w, g, d, 0); }
VSP_EXPORT VspStatus vspsLogGaussMixture_IdVar_64f_D2(const Vsp64f* s, const Vsp64f* m, Vsp32s n, Vsp32s st, Vsp32s w, const Vsp64f* g, Vsp64f* d) { return mixtureD2<HalfScore<double>, false, false>(s, m, nullptr, n, st, w, g, d, 0); }
VSP_EXPORT VspStatus vspsLogGaussMixture_IdVar_64f_D2L(const Vsp64f* s, const Vsp64f* const* m, Vsp32s n, Vsp32s w, const Vsp64f* g, Vsp64f* d) { return mixtureD2L<HalfScore<double>, false>(s, m, nullptr, n, w, g, d, 0); }
VSP_EXPORT VspStatus vspsLogGaussMixture_Scaled_16s32f_D2(const Vsp16s* s, const Vsp16s* m, const Vsp16s* v, Vsp32s n, Vsp32s st, Vsp32s w, const Vsp32f* g, Vsp32f* d, Vsp32s sf) { return mixtureD2<ScaledScore, true, true>(s, m, v, n, st, w, g, d, sf); }
VSP_EXPORT VspStatus vspsLogGaussMixture_Scaled_16s32f_D2L(const Vsp16s* s, const Vsp16s* const* m, const Vsp16s* const* v, Vsp32s n, Vsp32s w, const Vsp32f* g, Vsp32f* d, Vsp32s sf) { return mixtureD2L<ScaledScore, true>(s, m, v, n, w, g, d, sf); }
VSP_EXPORT VspStatus vspsLogGaussMixture_IdVarScaled_16s32f_D2(const Vsp16s* s, const Vsp16s* m, Vsp32s n, Vsp32s st, Vsp32s w, const Vsp32f* g, Vsp32f* d, Vsp32s sf) { return mixtureD2<ScaledScore, true, false>(s, m, nullptr, n, st, w, g, d, sf); }
VSP_EXPORT VspStatus vspsLogGaussMixture_IdVarScaled_16s32f_D2L(const Vsp16s* s, const Vsp16s* const* m, Vsp32s n, Vsp32s w, const Vsp32f* g, Vsp32f* d, Vsp32s sf) { return mixtureD2L<ScaledScore, false>(s, m, nullptr, n, w, g, d, sf); }
VSP_EXPORT VspStatus vspsLogGaussMixture_LowScaled_16s32f_D2(const Vsp16s* s, const Vsp16s* m, const Vsp16s* v, Vsp32s n, Vsp32s st, Vsp32s w, const Vsp32f* g, Vsp32f* d, Vsp32s sf) { return mixtureD2<LowScaledScore, true, true>(s, m, v, n, st, w, g, d, sf); }
VSP_EXPORT VspStatus vspsLogGaussMixture_LowScaled_16s32f_D2L(const Vsp16s* s, const Vsp16s* const* m, const Vsp16s* const* v, Vsp32s n, Vsp32s w, const Vsp32f* g, Vsp32f* d, Vsp32s sf) { return mixtureD2L<LowScaledScore, true>(s, m, v, n, w, g, d, sf); }
VSP_EXPORT VspStatus vspsLogGaussMixture_IdVarLowScaled_16s32f_D2(const Vsp16s* s, const Vsp16s* m, Vsp32s n, Vsp32s st, Vsp32s w, const Vsp32f* g, Vsp32f* d, Vsp32s sf) { return mixtureD2<LowScaledScore, true, false>(s, m, nullptr, n, st, w, g, d, sf); }
VSP_EXPORT VspStatus vspsLogGaussMixture_IdVarLowScaled_16s32f_D2L(const Vsp16s* s, const Vsp16s* const* m, Vsp32s n, Vsp32s w, const Vsp32f* g, Vsp32f* d, Vsp32s sf) { return mixtureD2L<LowScaledScore, false>(s, m, nullptr, n, w, g, d, sf); }

VSP_EXPORT VspStatus vspsLogGaussMixture_Select_32f_D2(const Vsp32f* f, const Vsp32f* m, const Vsp32f* v, Vsp32s st, Vsp32s w, const Vsp32f* g, const Vsp8u* sl, Vsp32s n, Vsp32f* d, Vsp32s fc, Vsp32f none) { return selectD2<FinishHalf, true>(f, m, v, st, w, g, sl, n, d, fc, none, 0); }
VSP_EXPORT VspStatus vspsLogGaussMixture_Select_32f_D2L(const Vsp32f* const* f, const Vsp32f* const* m, const Vsp32f* const* v, Vsp32s w, const Vsp32f* g, const Vsp8u* sl, Vsp32s n, Vsp32f* d, Vsp32s fc, Vsp32f none) { return selectD2L<FinishHalf, true>(f, m, v, w, g, sl, n, d, fc, none, 0); }
VSP_EXPORT VspStatus vspsLogGaussMixture_SelectIdVar_32f_D2(const Vsp32f* f, const Vsp32f* m, Vsp32s st, Vsp32s w, const Vsp32f* g, const Vsp8u* sl, Vsp32s n, Vsp32f* d, Vsp32s fc, Vsp32f none) { return selectD2<FinishHalf, false>(f, m, nullptr, st, w, g, sl, n, d, fc, none, 0); }
VSP_EXPORT VspStatus vspsLogGaussMixture_SelectIdVar_32f_D2L(const Vsp32f* const* f, const Vsp32f* const* m, Vsp32s w, const Vsp32f* g, const Vsp8u* sl, Vsp32s n, Vsp32f* d, Vsp32s fc, Vsp32f none) { return selectD2L<FinishHalf, false>(f, m, nullptr, w, g, sl, n, d, fc, none, 0); }
VSP_EXPORT VspStatus vspsLogGaussMixture_SelectScaled_16s32f_D2(const Vsp16s* f, const Vsp16s* m, const Vsp16s* v, Vsp32s st, Vsp32s w, const Vsp32f* g, const Vsp8u* sl, Vsp32s n, Vsp32f* d, Vsp32s fc, Vsp32f none, Vsp32s sf) { return selectD2<FinishScaled, true>(f, m, v, st, w, g, sl, n, d, fc, none, sf); }
VSP_EXPORT VspStatus vspsLogGaussMixture_SelectScaled_16s32f_D2L(const Vsp16s* const* f, const Vsp16s* const* m, const Vsp16s* const* v, Vsp32s w, const Vsp32f* g, const Vsp8u* sl, Vsp32s n, Vsp32f* d, Vsp32s fc, Vsp32f none, Vsp32s sf) { return selectD2L<FinishScaled, true>(f, m, v, w, g, sl, n, d, fc, none, sf); }
VSP_EXPORT VspStatus vspsLogGaussMixture_SelectIdVarScaled_16s32f_D2(const Vsp16s* f, const Vsp16s* m, Vsp32s st, Vsp32s w, const Vsp32f* g, const Vsp8u* sl, Vsp32s n, Vsp32f* d, Vsp32s fc, Vsp32f none, Vsp32s sf) { return selectD2<FinishScaled, false>(f, m, nullptr, st, w, g, sl, n, d, fc, none, sf); }
VSP_EXPORT VspStatus vspsLogGaussMixture_SelectIdVarScaled_16s32f_D2L(const Vsp16s* const* f, const Vsp16s* const* m, Vsp32s w, const Vsp32f* g, const Vsp8u* sl, Vsp32s n, Vsp32f* d, Vsp32s fc, Vsp32f none, Vsp32s sf) { return selectD2L<FinishScaled, false>(f, m, nullptr, w, g, sl, n, d, fc, none, sf); }
// clang-format on
