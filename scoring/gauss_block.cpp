// A block of frames against one Gaussian: scores, running maxima and
// log-sums of every frame, in one call per Gaussian.
//
// These check the step first (even before the pointers), then the pointers,
// then the sizes; the row-pointer forms begin with the pointers. Nothing
// allocates.
#include "frame/check.h"
#include "frame/rows.h"
#include "scoring/gauss_block.h"

VSP_NS_BEGIN

namespace {

template <class Score, class Reduce, bool HasVar, class Rows>
VspStatus blockRun(Rows src, const typename Score::In* mean, const typename Score::In* var,
                   int32_t width, typename Score::Out* dst, int32_t height, typename Score::G g,
                   int32_t sf) {
  if (anyNull(mean, dst) || (HasVar && var == nullptr)) return vspStatusNullPointer;
  if (width < 1 || height < 1) return vspStatusBadSize;
  scoreFrames<Reduce>(hostTier(), Score(sf), src, mean, HasVar ? var : nullptr, width, dst, height,
                      g);
  return vspStatusOk;
}

template <class Score, class Reduce, bool HasVar>
VspStatus blockD2(const typename Score::In* src, int32_t step, const typename Score::In* mean,
                  const typename Score::In* var, int32_t width, typename Score::Out* dst,
                  int32_t height, typename Score::G g, int32_t sf) {
  if (badStep(width, step)) return vspStatusBadStep;
  if (src == nullptr) return vspStatusNullPointer;
  return blockRun<Score, Reduce, HasVar>(steppedRows(src, step), mean, var, width, dst, height, g,
                                         sf);
}

template <class Score, class Reduce, bool HasVar>
VspStatus blockD2L(const typename Score::In* const* src, const typename Score::In* mean,
                   const typename Score::In* var, int32_t width, typename Score::Out* dst,
                   int32_t height, typename Score::G g, int32_t sf) {
  if (src == nullptr) return vspStatusNullPointer;
  return blockRun<Score, Reduce, HasVar>(pointerRows(src), mean, var, width, dst, height, g, sf);
}

}  // namespace

VSP_NS_END

using namespace vsp;

// clang-format off
VSP_EXPORT VspStatus vspsLogGauss_32f_D2(const Vsp32f* s, Vsp32s st, const Vsp32f* m, const Vsp32f* v, Vsp32s w, Vsp32f* d, Vsp32s h, Vsp32f g) { return blockD2<HalfScore<float>, Store, true>(s, st, m, v, w, d, h, g, 0); }
VSP_EXPORT VspStatus vspsLogGauss_32f_D2L(const Vsp32f* const* s, const Vsp32f* m, const Vsp32f* v, Vsp32s w, Vsp32f* d, Vsp32s h, Vsp32f g) { return blockD2L<HalfScore<float>, Store, true>(s, m, v, w, d, h, g, 0); }
VSP_EXPORT VspStatus vspsLogGauss_64f_D2(const Vsp64f* s, Vsp32s st, const Vsp64f* m, const Vsp64f* v, Vsp32s w, Vsp64f* d, Vsp32s h, Vsp64f g) { return blockD2<HalfScore<double>, Store, true>(s, st, m, v, w, d, h, g, 0); }
VSP_EXPORT VspStatus vspsLogGauss_64f_D2L(const Vsp64f* const* s, const Vsp64f* m, const Vsp64f* v, Vsp32s w, Vsp64f* d, Vsp32s h, Vsp64f g) { return blockD2L<HalfScore<double>, Store, true>(s, m, v, w, d, h, g, 0); }
VSP_EXPORT VspStatus vspsLogGauss_16s32s_D2Sfs(const Vsp16s* s, Vsp32s st, const Vsp16s* m, const Vsp16s* v, Vsp32s w, Vsp32s* d, Vsp32s h, Vsp32s g, Vsp32s sf) { return blockD2<IntClampFirstScore, Store, true>(s, st, m, v, w, d, h, g, sf); }
VSP_EXPORT VspStatus vspsLogGauss_16s32s_D2LSfs(const Vsp16s* const* s, const Vsp16s* m, const Vsp16s* v, Vsp32s w, Vsp32s* d, Vsp32s h, Vsp32s g, Vsp32s sf) { return blockD2L<IntClampFirstScore, Store, true>(s, m, v, w, d, h, g, sf); }
VSP_EXPORT VspStatus vspsLogGauss_Low_16s32s_D2Sfs(const Vsp16s* s, Vsp32s st, const Vsp16s* m, const Vsp16s* v, Vsp32s w, Vsp32s* d, Vsp32s h, Vsp32s g, Vsp32s sf) { return blockD2<IntLowScore, Store, true>(s, st, m, v, w, d, h, g, sf); }
VSP_EXPORT VspStatus vspsLogGauss_Low_16s32s_D2LSfs(const Vsp16s* const* s, const Vsp16s* m, const Vsp16s* v, Vsp32s w, Vsp32s* d, Vsp32s h, Vsp32s g, Vsp32s sf) { return blockD2L<IntLowScore, Store, true>(s, m, v, w, d, h, g, sf); }
VSP_EXPORT VspStatus vspsLogGauss_Scaled_16s32f_D2(const Vsp16s* s, Vsp32s st, const Vsp16s* m, const Vsp16s* v, Vsp32s w, Vsp32f* d, Vsp32s h, Vsp32f g, Vsp32s sf) { return blockD2<ScaledScore, Store, true>(s, st, m, v, w, d, h, g, sf); }
VSP_EXPORT VspStatus vspsLogGauss_Scaled_16s32f_D2L(const Vsp16s* const* s, const Vsp16s* m, const Vsp16s* v, Vsp32s w, Vsp32f* d, Vsp32s h, Vsp32f g, Vsp32s sf) { return blockD2L<ScaledScore, Store, true>(s, m, v, w, d, h, g, sf); }
VSP_EXPORT VspStatus vspsLogGauss_LowScaled_16s32f_D2(const Vsp16s* s, Vsp32s st, const Vsp16s* m, const Vsp16s* v, Vsp32s w, Vsp32f* d, Vsp32s h, Vsp32f g, Vsp32s sf) { return blockD2<LowScaledScore, Store, true>(s, st, m, v, w, d, h, g, sf); }
VSP_EXPORT VspStatus vspsLogGauss_LowScaled_16s32f_D2L(const Vsp16s* const* s, const Vsp16s* m, const Vsp16s* v, Vsp32s w, Vsp32f* d, Vsp32s h, Vsp32f g, Vsp32s sf) { return blockD2L<LowScaledScore, Store, true>(s, m, v, w, d, h, g, sf); }
VSP_EXPORT VspStatus vspsLogGauss_IdVar_32f_D2(const Vsp32f* s, Vsp32s st, const Vsp32f* m, Vsp32s w, Vsp32f* d, Vsp32s h, Vsp32f g) { return blockD2<HalfScore<float>, Store, false>(s, st, m, nullptr, w, d, h, g, 0); }
VSP_EXPORT VspStatus vspsLogGauss_IdVar_32f_D2L(const Vsp32f* const* s, const Vsp32f* m, Vsp32s w, Vsp32f* d, Vsp32s h, Vsp32f g) { return blockD2L<HalfScore<float>, Store, false>(s, m, nullptr, w, d, h, g, 0); }
VSP_EXPORT VspStatus vspsLogGauss_IdVar_64f_D2(const Vsp64f* s, Vsp32s st, const Vsp64f* m, Vsp32s w, Vsp64f* d, Vsp32s h, Vsp64f g) { return blockD2<HalfScore<double>, Store, false>(s, st, m, nullptr, w, d, h, g, 0); }
VSP_EXPORT VspStatus vspsLogGauss_IdVar_64f_D2L(const Vsp64f* const* s, const Vsp64f* m, Vsp32s w, Vsp64f* d, Vsp32s h, Vsp64f g) { return blockD2L<HalfScore<double>, Store, false>(s, m, nullptr, w, d, h, g, 0); }
VSP_EXPORT VspStatus vspsLogGauss_IdVar_16s32s_D2Sfs(const Vsp16s* s, Vsp32s st, const Vsp16s* m, Vsp32s w, Vsp32s* d, Vsp32s h, Vsp32s g, Vsp32s sf) { return blockD2<IntClampFirstScore, Store, false>(s, st, m, nullptr, w, d, h, g, sf); }
VSP_EXPORT VspStatus vspsLogGauss_IdVar_16s32s_D2LSfs(const Vsp16s* const* s, const Vsp16s* m, Vsp32s w, Vsp32s* d, Vsp32s h, Vsp32s g, Vsp32s sf) { return blockD2L<IntClampFirstScore, Store, false>(s, m, nullptr, w, d, h, g, sf); }
VSP_EXPORT VspStatus vspsLogGauss_IdVarLow_16s32s_D2Sfs(const Vsp16s* s, Vsp32s st, const Vsp16s* m, Vsp32s w, Vsp32s* d, Vsp32s h, Vsp32s g, Vsp32s sf) { return blockD2<IntLowScore, Store, false>(s, st, m, nullptr, w, d, h, g, sf); }
VSP_EXPORT VspStatus vspsLogGauss_IdVarLow_16s32s_D2LSfs(const Vsp16s* const* s, const Vsp16s* m, Vsp32s w, Vsp32s* d, Vsp32s h, Vsp32s g, Vsp32s sf) { return blockD2L<IntLowScore, Store, false>(s, m, nullptr, w, d, h, g, sf); }
VSP_EXPORT VspStatus vspsLogGauss_IdVarScaled_16s32f_D2(const Vsp16s* s, Vsp32s st, const Vsp16s* m, Vsp32s w, Vsp32f* d, Vsp32s h, Vsp32f g, Vsp32s sf) { return blockD2<ScaledScore, Store, false>(s, st, m, nullptr, w, d, h, g, sf); }
VSP_EXPORT VspStatus vspsLogGauss_IdVarScaled_16s32f_D2L(const Vsp16s* const* s, const Vsp16s* m, Vsp32s w, Vsp32f* d, Vsp32s h, Vsp32f g, Vsp32s sf) { return blockD2L<ScaledScore, Store, false>(s, m, nullptr, w, d, h, g, sf); }
VSP_EXPORT VspStatus vspsLogGauss_IdVarLowScaled_16s32f_D2(const Vsp16s* s, Vsp32s st, const Vsp16s* m, Vsp32s w, Vsp32f* d, Vsp32s h, Vsp32f g, Vsp32s sf) { return blockD2<LowScaledScore, Store, false>(s, st, m, nullptr, w, d, h, g, sf); }
VSP_EXPORT VspStatus vspsLogGauss_IdVarLowScaled_16s32f_D2L(const Vsp16s* const* s, const Vsp16s* m, Vsp32s w, Vsp32f* d, Vsp32s h, Vsp32f g, Vsp32s sf) { return blockD2L<LowScaledScore, Store, false>(s, m, nullptr, w, d, h, g, sf); }

VSP_EXPORT VspStatus vspsLogGaussMax_32f_D2(const Vsp32f* s, Vsp32s st, const Vsp32f* m, const Vsp32f* v, Vsp32s w, Vsp32f* d, Vsp32s h, Vsp32f g) { return blockD2<HalfScore<float>, KeepMax, true>(s, st, m, v, w, d, h, g, 0); }
VSP_EXPORT VspStatus vspsLogGaussMax_32f_D2L(const Vsp32f* const* s, const Vsp32f* m, const Vsp32f* v, Vsp32s w, Vsp32f* d, Vsp32s h, Vsp32f g) { return blockD2L<HalfScore<float>, KeepMax, true>(s, m, v, w, d, h, g, 0); }
VSP_EXPORT VspStatus vspsLogGaussMax_64f_D2(const Vsp64f* s, Vsp32s st, const Vsp64f* m, const Vsp64f* v, Vsp32s w, Vsp64f* d, Vsp32s h, Vsp64f g) { return blockD2<HalfScore<double>, KeepMax, true>(s, st, m, v, w, d, h, g, 0); }
VSP_EXPORT VspStatus vspsLogGaussMax_64f_D2L(const Vsp64f* const* s, const Vsp64f* m, const Vsp64f* v, Vsp32s w, Vsp64f* d, Vsp32s h, Vsp64f g) { return blockD2L<HalfScore<double>, KeepMax, true>(s, m, v, w, d, h, g, 0); }
VSP_EXPORT VspStatus vspsLogGaussMax_16s32s_D2Sfs(const Vsp16s* s, Vsp32s st, const Vsp16s* m, const Vsp16s* v, Vsp32s w, Vsp32s* d, Vsp32s h, Vsp32s g, Vsp32s sf) { return blockD2<IntClampFirstScore, KeepMax, true>(s, st, m, v, w, d, h, g, sf); }
VSP_EXPORT VspStatus vspsLogGaussMax_16s32s_D2LSfs(const Vsp16s* const* s, const Vsp16s* m, const Vsp16s* v, Vsp32s w, Vsp32s* d, Vsp32s h, Vsp32s g, Vsp32s sf) { return blockD2L<IntClampFirstScore, KeepMax, true>(s, m, v, w, d, h, g, sf); }
VSP_EXPORT VspStatus vspsLogGaussMax_Low_16s32s_D2Sfs(const Vsp16s* s, Vsp32s st, const Vsp16s* m, const Vsp16s* v, Vsp32s w, Vsp32s* d, Vsp32s h, Vsp32s g, Vsp32s sf) { return blockD2<IntLowScore, KeepMax, true>(s, st, m, v, w, d, h, g, sf); }
VSP_EXPORT VspStatus vspsLogGaussMax_Low_16s32s_D2LSfs(const Vsp16s* const* s, const Vsp16s* m, const Vsp16s* v, Vsp32s w, Vsp32s* d, Vsp32s h, Vsp32s g, Vsp32s sf) { return blockD2L<IntLowScore, KeepMax, true>(s, m, v, w, d, h, g, sf); }
VSP_EXPORT VspStatus vspsLogGaussMax_Scaled_16s32f_D2(const Vsp16s* s, Vsp32s st, const Vsp16s* m, const Vsp16s* v, Vsp32s w, Vsp32f* d, Vsp32s h, Vsp32f g, Vsp32s sf) { return blockD2<ScaledScore, KeepMax, true>(s, st, m, v, w, d, h, g, sf); }
VSP_EXPORT VspStatus vspsLogGaussMax_Scaled_16s32f_D2L(const Vsp16s* const* s, const Vsp16s* m, const Vsp16s* v, Vsp32s w, Vsp32f* d, Vsp32s h, Vsp32f g, Vsp32s sf) { return blockD2L<ScaledScore, KeepMax, true>(s, m, v, w, d, h, g, sf); }
VSP_EXPORT VspStatus vspsLogGaussMax_LowScaled_16s32f_D2(const Vsp16s* s, Vsp32s st, const Vsp16s* m, const Vsp16s* v, Vsp32s w, Vsp32f* d, Vsp32s h, Vsp32f g, Vsp32s sf) { return blockD2<LowScaledScore, KeepMax, true>(s, st, m, v, w, d, h, g, sf); }
VSP_EXPORT VspStatus vspsLogGaussMax_LowScaled_16s32f_D2L(const Vsp16s* const* s, const Vsp16s* m, const Vsp16s* v, Vsp32s w, Vsp32f* d, Vsp32s h, Vsp32f g, Vsp32s sf) { return blockD2L<LowScaledScore, KeepMax, true>(s, m, v, w, d, h, g, sf); }
VSP_EXPORT VspStatus vspsLogGaussMax_IdVar_32f_D2(const Vsp32f* s, Vsp32s st, const Vsp32f* m, Vsp32s w, Vsp32f* d, Vsp32s h, Vsp32f g) { return blockD2<HalfScore<float>, KeepMax, false>(s, st, m, nullptr, w, d, h, g, 0); }
VSP_EXPORT VspStatus vspsLogGaussMax_IdVar_32f_D2L(const Vsp32f* const* s, const Vsp32f* m, Vsp32s w, Vsp32f* d, Vsp32s h, Vsp32f g) { return blockD2L<HalfScore<float>, KeepMax, false>(s, m, nullptr, w, d, h, g, 0); }
VSP_EXPORT VspStatus vspsLogGaussMax_IdVar_64f_D2(const Vsp64f* s, Vsp32s st, const Vsp64f* m, Vsp32s w, Vsp64f* d, Vsp32s h, Vsp64f g) { return blockD2<HalfScore<double>, KeepMax, false>(s, st, m, nullptr, w, d, h, g, 0); }
VSP_EXPORT VspStatus vspsLogGaussMax_IdVar_64f_D2L(const Vsp64f* const* s, const Vsp64f* m, Vsp32s w, Vsp64f* d, Vsp32s h, Vsp64f g) { return blockD2L<HalfScore<double>, KeepMax, false>(s, m, nullptr, w, d, h, g, 0); }
VSP_EXPORT VspStatus vspsLogGaussMax_IdVar_16s32s_D2Sfs(const Vsp16s* s, Vsp32s st, const Vsp16s* m, Vsp32s w, Vsp32s* d, Vsp32s h, Vsp32s g, Vsp32s sf) { return blockD2<IntClampFirstScore, KeepMax, false>(s, st, m, nullptr, w, d, h, g, sf); }
VSP_EXPORT VspStatus vspsLogGaussMax_IdVar_16s32s_D2LSfs(const Vsp16s* const* s, const Vsp16s* m, Vsp32s w, Vsp32s* d, Vsp32s h, Vsp32s g, Vsp32s sf) { return blockD2L<IntClampFirstScore, KeepMax, false>(s, m, nullptr, w, d, h, g, sf); }
VSP_EXPORT VspStatus vspsLogGaussMax_IdVarLow_16s32s_D2Sfs(const Vsp16s* s, Vsp32s st, const Vsp16s* m, Vsp32s w, Vsp32s* d, Vsp32s h, Vsp32s g, Vsp32s sf) { return blockD2<IntLowScore, KeepMax, false>(s, st, m, nullptr, w, d, h, g, sf); }
VSP_EXPORT VspStatus vspsLogGaussMax_IdVarLow_16s32s_D2LSfs(const Vsp16s* const* s, const Vsp16s* m, Vsp32s w, Vsp32s* d, Vsp32s h, Vsp32s g, Vsp32s sf) { return blockD2L<IntLowScore, KeepMax, false>(s, m, nullptr, w, d, h, g, sf); }
VSP_EXPORT VspStatus vspsLogGaussMax_IdVarScaled_16s32f_D2(const Vsp16s* s, Vsp32s st, const Vsp16s* m, Vsp32s w, Vsp32f* d, Vsp32s h, Vsp32f g, Vsp32s sf) { return blockD2<ScaledScore, KeepMax, false>(s, st, m, nullptr, w, d, h, g, sf); }
VSP_EXPORT VspStatus vspsLogGaussMax_IdVarScaled_16s32f_D2L(const Vsp16s* const* s, const Vsp16s* m, Vsp32s w, Vsp32f* d, Vsp32s h, Vsp32f g, Vsp32s sf) { return blockD2L<ScaledScore, KeepMax, false>(s, m, nullptr, w, d, h, g, sf); }
VSP_EXPORT VspStatus vspsLogGaussMax_IdVarLowScaled_16s32f_D2(const Vsp16s* s, Vsp32s st, const Vsp16s* m, Vsp32s w, Vsp32f* d, Vsp32s h, Vsp32f g, Vsp32s sf) { return blockD2<LowScaledScore, KeepMax, false>(s, st, m, nullptr, w, d, h, g, sf); }
VSP_EXPORT VspStatus vspsLogGaussMax_IdVarLowScaled_16s32f_D2L(const Vsp16s* const* s, const Vsp16s* m, Vsp32s w, Vsp32f* d, Vsp32s h, Vsp32f g, Vsp32s sf) { return blockD2L<LowScaledScore, KeepMax, false>(s, m, nullptr, w, d, h, g, sf); }

VSP_EXPORT VspStatus vspsLogGaussAdd_32f_D2(const Vsp32f* s, Vsp32s st, const Vsp32f* m, const Vsp32f* v, Vsp32s w, Vsp32f* d, Vsp32s h, Vsp32f g) { return blockD2<HalfScore<float>, LogAddInto, true>(s, st, m, v, w, d, h, g, 0); }
VSP_EXPORT VspStatus vspsLogGaussAdd_32f_D2L(const Vsp32f* const* s, const Vsp32f* m, const Vsp32f* v, Vsp32s w, Vsp32f* d, Vsp32s h, Vsp32f g) { return blockD2L<HalfScore<float>, LogAddInto, true>(s, m, v, w, d, h, g, 0); }
VSP_EXPORT VspStatus vspsLogGaussAdd_64f_D2(const Vsp64f* s, Vsp32s st, const Vsp64f* m, const Vsp64f* v, Vsp32s w, Vsp64f* d, Vsp32s h, Vsp64f g) { return blockD2<HalfScore<double>, LogAddInto, true>(s, st, m, v, w, d, h, g, 0); }
VSP_EXPORT VspStatus vspsLogGaussAdd_64f_D2L(const Vsp64f* const* s, const Vsp64f* m, const Vsp64f* v, Vsp32s w, Vsp64f* d, Vsp32s h, Vsp64f g) { return blockD2L<HalfScore<double>, LogAddInto, true>(s, m, v, w, d, h, g, 0); }
VSP_EXPORT VspStatus vspsLogGaussAdd_Scaled_16s32f_D2(const Vsp16s* s, Vsp32s st, const Vsp16s* m, const Vsp16s* v, Vsp32s w, Vsp32f* d, Vsp32s h, Vsp32f g, Vsp32s sf) { return blockD2<ScaledScore, LogAddInto, true>(s, st, m, v, w, d, h, g, sf); }
VSP_EXPORT VspStatus vspsLogGaussAdd_Scaled_16s32f_D2L(const Vsp16s* const* s, const Vsp16s* m, const Vsp16s* v, Vsp32s w, Vsp32f* d, Vsp32s h, Vsp32f g, Vsp32s sf) { return blockD2L<ScaledScore, LogAddInto, true>(s, m, v, w, d, h, g, sf); }
VSP_EXPORT VspStatus vspsLogGaussAdd_LowScaled_16s32f_D2(const Vsp16s* s, Vsp32s st, const Vsp16s* m, const Vsp16s* v, Vsp32s w, Vsp32f* d, Vsp32s h, Vsp32f g, Vsp32s sf) { return blockD2<LowScaledScore, LogAddInto, true>(s, st, m, v, w, d, h, g, sf); }
VSP_EXPORT VspStatus vspsLogGaussAdd_LowScaled_16s32f_D2L(const Vsp16s* const* s, const Vsp16s* m, const Vsp16s* v, Vsp32s w, Vsp32f* d, Vsp32s h, Vsp32f g, Vsp32s sf) { return blockD2L<LowScaledScore, LogAddInto, true>(s, m, v, w, d, h, g, sf); }
VSP_EXPORT VspStatus vspsLogGaussAdd_IdVar_32f_D2(const Vsp32f* s, Vsp32s st, const Vsp32f* m, Vsp32s w, Vsp32f* d, Vsp32s h, Vsp32f g) { return blockD2<HalfScore<float>, LogAddInto, false>(s, st, m, nullptr, w, d, h, g, 0); }
VSP_EXPORT VspStatus vspsLogGaussAdd_IdVar_32f_D2L(const Vsp32f* const* s, const Vsp32f* m, Vsp32s w, Vsp32f* d, Vsp32s h, Vsp32f g) { return blockD2L<HalfScore<float>, LogAddInto, false>(s, m, nullptr, w, d, h, g, 0); }
VSP_EXPORT VspStatus vspsLogGaussAdd_IdVar_64f_D2(const Vsp64f* s, Vsp32s st, const Vsp64f* m, Vsp32s w, Vsp64f* d, Vsp32s h, Vsp64f g) { return blockD2<HalfScore<double>, LogAddInto, false>(s, st, m, nullptr, w, d, h, g, 0); }
VSP_EXPORT VspStatus vspsLogGaussAdd_IdVar_64f_D2L(const Vsp64f* const* s, const Vsp64f* m, Vsp32s w, Vsp64f* d, Vsp32s h, Vsp64f g) { return blockD2L<HalfScore<double>, LogAddInto, false>(s, m, nullptr, w, d, h, g, 0); }
VSP_EXPORT VspStatus vspsLogGaussAdd_IdVarScaled_16s32f_D2(const Vsp16s* s, Vsp32s st, const Vsp16s* m, Vsp32s w, Vsp32f* d, Vsp32s h, Vsp32f g, Vsp32s sf) { return blockD2<ScaledScore, LogAddInto, false>(s, st, m, nullptr, w, d, h, g, sf); }
VSP_EXPORT VspStatus vspsLogGaussAdd_IdVarScaled_16s32f_D2L(const Vsp16s* const* s, const Vsp16s* m, Vsp32s w, Vsp32f* d, Vsp32s h, Vsp32f g, Vsp32s sf) { return blockD2L<ScaledScore, LogAddInto, false>(s, m, nullptr, w, d, h, g, sf); }
VSP_EXPORT VspStatus vspsLogGaussAdd_IdVarLowScaled_16s32f_D2(const Vsp16s* s, Vsp32s st, const Vsp16s* m, Vsp32s w, Vsp32f* d, Vsp32s h, Vsp32f g, Vsp32s sf) { return blockD2<LowScaledScore, LogAddInto, false>(s, st, m, nullptr, w, d, h, g, sf); }
VSP_EXPORT VspStatus vspsLogGaussAdd_IdVarLowScaled_16s32f_D2L(const Vsp16s* const* s, const Vsp16s* m, Vsp32s w, Vsp32f* d, Vsp32s h, Vsp32f g, Vsp32s sf) { return blockD2L<LowScaledScore, LogAddInto, false>(s, m, nullptr, w, d, h, g, sf); }
// clang-format on
