// One observation against many Gaussians: one score per Gaussian, stored
// over its constant, kept if it beats the value already there, or log-added
// into it.
//
// Four Gaussians go through one pass, each element of the observation loaded
// once for them; the grouping of each Gaussian's terms is free here, so the
// float sums come from the free-order kernels. The stepped forms check the step before anything
// else, then the pointers, then the sizes; the row-pointer forms begin with the pointers. Nothing
// allocates.
#include "frame/check.h"
#include "frame/rows.h"
#include "scoring/gauss_multimix.h"

VSP_NS_BEGIN

namespace {

// The integer members saturate the 64-bit difference gConst - shifted, not
// the shifted sum as the frame-block members do: a huge sum gives
// -2147483648 whatever the constant.
struct IntSatAfterScore : IntScore {
  using IntScore::IntScore;
  int32_t score(int64_t sum, int32_t g) const {
    return sat32(wrapSub64(g, shiftByScale64(sum, shift)));
  }
};

// `gConsts` is the destination itself in the members that store: each
// constant is read before its score overwrites it.
template <class Score, class Reduce, class Rows>
VspStatus multiMixRun(Rows means, Rows vars, const typename Score::In* src, int32_t width,
                      const typename Score::G* gConsts, typename Score::Out* srcDst, int32_t count,
                      int32_t sf) {
  if (anyNull(src, gConsts, srcDst)) return vspStatusNullPointer;
  if (width < 1 || count < 1) return vspStatusBadSize;
  scoreModels<Score, FreeOrderSums>(
      hostTier(), Score(sf), src, means, vars, true, width, gConsts, count,
      [srcDst](int32_t k, typename Score::Out score) { Reduce::apply(srcDst[k], score); });
  return vspStatusOk;
}

template <class Score, class Reduce>
VspStatus multiMixD2(const typename Score::In* means, const typename Score::In* vars, int32_t step,
                     const typename Score::In* src, int32_t width, const typename Score::G* gConsts,
                     typename Score::Out* srcDst, int32_t count, int32_t sf) {
  if (badStep(width, step)) return vspStatusBadStep;
  if (anyNull(means, vars)) return vspStatusNullPointer;
  return multiMixRun<Score, Reduce>(steppedRows(means, step), steppedRows(vars, step), src, width,
                                    gConsts, srcDst, count, sf);
}

template <class Score, class Reduce>
VspStatus multiMixD2L(const typename Score::In* const* means, const typename Score::In* const* vars,
                      const typename Score::In* src, int32_t width,
                      const typename Score::G* gConsts, typename Score::Out* srcDst, int32_t count,
                      int32_t sf) {
  if (anyNull(means, vars)) return vspStatusNullPointer;
  return multiMixRun<Score, Reduce>(pointerRows(means), pointerRows(vars), src, width, gConsts,
                                    srcDst, count, sf);
}

}  // namespace

VSP_NS_END

using namespace vsp;

// clang-format off
VSP_EXPORT VspStatus vspsLogGaussMultiMix_32f_D2(const Vsp32f* m, const Vsp32f* v, Vsp32s st, const Vsp32f* s, Vsp32s w, Vsp32f* d, Vsp32s n) { return multiMixD2<HalfScore<float>, Store>(m, v, st, s, w, d, d, n, 0); }
VSP_EXPORT VspStatus vspsLogGaussMultiMix_32f_D2L(const Vsp32f* const* m, const Vsp32f* const* v, const Vsp32f* s, Vsp32s w, Vsp32f* d, Vsp32s n) { return multiMixD2L<HalfScore<float>, Store>(m, v, s, w, d, d, n, 0); }
VSP_EXPORT VspStatus vspsLogGaussMultiMix_64f_D2(const Vsp64f* m, const Vsp64f* v, Vsp32s st, const Vsp64f* s, Vsp32s w, Vsp64f* d, Vsp32s n) { return multiMixD2<HalfScore<double>, Store>(m, v, st, s, w, d, d, n, 0); }
VSP_EXPORT VspStatus vspsLogGaussMultiMix_64f_D2L(const Vsp64f* const* m, const Vsp64f* const* v, const Vsp64f* s, Vsp32s w, Vsp64f* d, Vsp32s n) { return multiMixD2L<HalfScore<double>, Store>(m, v, s, w, d, d, n, 0); }
VSP_EXPORT VspStatus vspsLogGaussMultiMix_16s32s_D2Sfs(const Vsp16s* m, const Vsp16s* v, Vsp32s st, const Vsp16s* s, Vsp32s w, Vsp32s* d, Vsp32s n, Vsp32s sf) { return multiMixD2<IntSatAfterScore, Store>(m, v, st, s, w, d, d, n, sf); }
VSP_EXPORT VspStatus vspsLogGaussMultiMix_16s32s_D2LSfs(const Vsp16s* const* m, const Vsp16s* const* v, const Vsp16s* s, Vsp32s w, Vsp32s* d, Vsp32s n, Vsp32s sf) { return multiMixD2L<IntSatAfterScore, Store>(m, v, s, w, d, d, n, sf); }
VSP_EXPORT VspStatus vspsLogGaussMultiMix_Low_16s32s_D2Sfs(const Vsp16s* m, const Vsp16s* v, Vsp32s st, const Vsp16s* s, Vsp32s w, Vsp32s* d, Vsp32s n, Vsp32s sf) { return multiMixD2<IntLowScore, Store>(m, v, st, s, w, d, d, n, sf); }
VSP_EXPORT VspStatus vspsLogGaussMultiMix_Low_16s32s_D2LSfs(const Vsp16s* const* m, const Vsp16s* const* v, const Vsp16s* s, Vsp32s w, Vsp32s* d, Vsp32s n, Vsp32s sf) { return multiMixD2L<IntLowScore, Store>(m, v, s, w, d, d, n, sf); }
VSP_EXPORT VspStatus vspsLogGaussMultiMix_Scaled_16s32f_D2(const Vsp16s* m, const Vsp16s* v, Vsp32s st, const Vsp16s* s, Vsp32s w, Vsp32f* d, Vsp32s n, Vsp32s sf) { return multiMixD2<ScaledScore, Store>(m, v, st, s, w, d, d, n, sf); }
VSP_EXPORT VspStatus vspsLogGaussMultiMix_Scaled_16s32f_D2L(const Vsp16s* const* m, const Vsp16s* const* v, const Vsp16s* s, Vsp32s w, Vsp32f* d, Vsp32s n, Vsp32s sf) { return multiMixD2L<ScaledScore, Store>(m, v, s, w, d, d, n, sf); }
VSP_EXPORT VspStatus vspsLogGaussMultiMix_LowScaled_16s32f_D2(const Vsp16s* m, const Vsp16s* v, Vsp32s st, const Vsp16s* s, Vsp32s w, Vsp32f* d, Vsp32s n, Vsp32s sf) { return multiMixD2<LowScaledScore, Store>(m, v, st, s, w, d, d, n, sf); }
VSP_EXPORT VspStatus vspsLogGaussMultiMix_LowScaled_16s32f_D2L(const Vsp16s* const* m, const Vsp16s* const* v, const Vsp16s* s, Vsp32s w, Vsp32f* d, Vsp32s n, Vsp32s sf) { return multiMixD2L<LowScaledScore, Store>(m, v, s, w, d, d, n, sf); }

VSP_EXPORT VspStatus vspsLogGaussMaxMultiMix_32f_D2(const Vsp32f* m, const Vsp32f* v, Vsp32s st, const Vsp32f* s, Vsp32s w, const Vsp32f* g, Vsp32f* d, Vsp32s n) { return multiMixD2<HalfScore<float>, KeepMax>(m, v, st, s, w, g, d, n, 0); }
VSP_EXPORT VspStatus vspsLogGaussMaxMultiMix_32f_D2L(const Vsp32f* const* m, const Vsp32f* const* v, const Vsp32f* s, Vsp32s w, const Vsp32f* g, Vsp32f* d, Vsp32s n) { return multiMixD2L<HalfScore<float>, KeepMax>(m, v, s, w, g, d, n, 0); }
VSP_EXPORT VspStatus vspsLogGaussMaxMultiMix_64f_D2(const Vsp64f* m, const Vsp64f* v, Vsp32s st, const Vsp64f* s, Vsp32s w, const Vsp64f* g, Vsp64f* d, Vsp32s n) { return multiMixD2<HalfScore<double>, KeepMax>(m, v, st, s, w, g, d, n, 0); }
VSP_EXPORT VspStatus vspsLogGaussMaxMultiMix_64f_D2L(const Vsp64f* const* m, const Vsp64f* const* v, const Vsp64f* s, Vsp32s w, const Vsp64f* g, Vsp64f* d, Vsp32s n) { return multiMixD2L<HalfScore<double>, KeepMax>(m, v, s, w, g, d, n, 0); }
VSP_EXPORT VspStatus vspsLogGaussMaxMultiMix_16s32s_D2Sfs(const Vsp16s* m, const Vsp16s* v, Vsp32s st, const Vsp16s* s, Vsp32s w, const Vsp32s* g, Vsp32s* d, Vsp32s n, Vsp32s sf) { return multiMixD2<IntSatAfterScore, KeepMax>(m, v, st, s, w, g, d, n, sf); }
VSP_EXPORT VspStatus vspsLogGaussMaxMultiMix_16s32s_D2LSfs(const Vsp16s* const* m, const Vsp16s* const* v, const Vsp16s* s, Vsp32s w, const Vsp32s* g, Vsp32s* d, Vsp32s n, Vsp32s sf) { return multiMixD2L<IntSatAfterScore, KeepMax>(m, v, s, w, g, d, n, sf); }
VSP_EXPORT VspStatus vspsLogGaussMaxMultiMix_Low_16s32s_D2Sfs(const Vsp16s* m, const Vsp16s* v, Vsp32s st, const Vsp16s* s, Vsp32s w, const Vsp32s* g, Vsp32s* d, Vsp32s n, Vsp32s sf) { return multiMixD2<IntLowScore, KeepMax>(m, v, st, s, w, g, d, n, sf); }
VSP_EXPORT VspStatus vspsLogGaussMaxMultiMix_Low_16s32s_D2LSfs(const Vsp16s* const* m, const Vsp16s* const* v, const Vsp16s* s, Vsp32s w, const Vsp32s* g, Vsp32s* d, Vsp32s n, Vsp32s sf) { return multiMixD2L<IntLowScore, KeepMax>(m, v, s, w, g, d, n, sf); }
VSP_EXPORT VspStatus vspsLogGaussMaxMultiMix_Scaled_16s32f_D2(const Vsp16s* m, const Vsp16s* v, Vsp32s st, const Vsp16s* s, Vsp32s w, const Vsp32f* g, Vsp32f* d, Vsp32s n, Vsp32s sf) { return multiMixD2<ScaledScore, KeepMax>(m, v, st, s, w, g, d, n, sf); }
VSP_EXPORT VspStatus vspsLogGaussMaxMultiMix_Scaled_16s32f_D2L(const Vsp16s* const* m, const Vsp16s* const* v, const Vsp16s* s, Vsp32s w, const Vsp32f* g, Vsp32f* d, Vsp32s n, Vsp32s sf) { return multiMixD2L<ScaledScore, KeepMax>(m, v, s, w, g, d, n, sf); }
VSP_EXPORT VspStatus vspsLogGaussMaxMultiMix_LowScaled_16s32f_D2(const Vsp16s* m, const Vsp16s* v, Vsp32s st, const Vsp16s* s, Vsp32s w, const Vsp32f* g, Vsp32f* d, Vsp32s n, Vsp32s sf) { return multiMixD2<LowScaledScore, KeepMax>(m, v, st, s, w, g, d, n, sf); }
VSP_EXPORT VspStatus vspsLogGaussMaxMultiMix_LowScaled_16s32f_D2L(const Vsp16s* const* m, const Vsp16s* const* v, const Vsp16s* s, Vsp32s w, const Vsp32f* g, Vsp32f* d, Vsp32s n, Vsp32s sf) { return multiMixD2L<LowScaledScore, KeepMax>(m, v, s, w, g, d, n, sf); }

VSP_EXPORT VspStatus vspsLogGaussAddMultiMix_32f_D2(const Vsp32f* m, const Vsp32f* v, Vsp32s st, const Vsp32f* s, Vsp32s w, const Vsp32f* g, Vsp32f* d, Vsp32s n) { return multiMixD2<HalfScore<float>, LogAddInto>(m, v, st, s, w, g, d, n, 0); }
VSP_EXPORT VspStatus vspsLogGaussAddMultiMix_32f_D2L(const Vsp32f* const* m, const Vsp32f* const* v, const Vsp32f* s, Vsp32s w, const Vsp32f* g, Vsp32f* d, Vsp32s n) { return multiMixD2L<HalfScore<float>, LogAddInto>(m, v, s, w, g, d, n, 0); }
VSP_EXPORT VspStatus vspsLogGaussAddMultiMix_64f_D2(const Vsp64f* m, const Vsp64f* v, Vsp32s st, const Vsp64f* s, Vsp32s w, const Vsp64f* g, Vsp64f* d, Vsp32s n) { return multiMixD2<HalfScore<double>, LogAddInto>(m, v, st, s, w, g, d, n, 0); }
VSP_EXPORT VspStatus vspsLogGaussAddMultiMix_64f_D2L(const Vsp64f* const* m, const Vsp64f* const* v, const Vsp64f* s, Vsp32s w, const Vsp64f* g, Vsp64f* d, Vsp32s n) { return multiMixD2L<HalfScore<double>, LogAddInto>(m, v, s, w, g, d, n, 0); }
VSP_EXPORT VspStatus vspsLogGaussAddMultiMix_Scaled_16s32f_D2(const Vsp16s* m, const Vsp16s* v, Vsp32s st, const Vsp16s* s, Vsp32s w, const Vsp32f* g, Vsp32f* d, Vsp32s n, Vsp32s sf) { return multiMixD2<ScaledScore, LogAddInto>(m, v, st, s, w, g, d, n, sf); }
VSP_EXPORT VspStatus vspsLogGaussAddMultiMix_Scaled_16s32f_D2L(const Vsp16s* const* m, const Vsp16s* const* v, const Vsp16s* s, Vsp32s w, const Vsp32f* g, Vsp32f* d, Vsp32s n, Vsp32s sf) { return multiMixD2L<ScaledScore, LogAddInto>(m, v, s, w, g, d, n, sf); }
VSP_EXPORT VspStatus vspsLogGaussAddMultiMix_LowScaled_16s32f_D2(const Vsp16s* m, const Vsp16s* v, Vsp32s st, const Vsp16s* s, Vsp32s w, const Vsp32f* g, Vsp32f* d, Vsp32s n, Vsp32s sf) { return multiMixD2<LowScaledScore, LogAddInto>(m, v, st, s, w, g, d, n, sf); }
VSP_EXPORT VspStatus vspsLogGaussAddMultiMix_LowScaled_16s32f_D2L(const Vsp16s* const* m, const Vsp16s* const* v, const Vsp16s* s, Vsp32s w, const Vsp32f* g, Vsp32f* d, Vsp32s n, Vsp32s sf) { return multiMixD2L<LowScaledScore, LogAddInto>(m, v, s, w, g, d, n, sf); }
// clang-format on
