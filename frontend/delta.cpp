// Delta features: the streaming Win1, Win2 and Aurora members and the batch
// in-place members, each one instance of the templates in delta.h.
#include "frontend/delta.h"

VSP_NS_BEGIN
namespace delta {
namespace {

using F = Flt;
using X = Fix;

template <class S>
ScalarScales<S> scalars(S d, S dd = S(0)) {
  return {d, dd};
}
template <class S>
MulScales<S> muls(const S* m, int32_t width) {
  return {m, width};
}

template <class A, class Shape, class Scales>
VspStatus aurora(const typename A::T* src, typename A::T* dst, int32_t step, int32_t height,
                 int32_t mode, const Scales& sc, int32_t sf) {
  return stream<A, Shape>(src, Aurora::kWidth, dst, step, height, mode, sc, sf);
}

}  // namespace
}  // namespace delta
VSP_NS_END

using namespace vsp::delta;

// clang-format off
VSP_EXPORT VspStatus vspsDelta_Win1_32f_D2(const Vsp32f* src, Vsp32s width, Vsp32f* dst, Vsp32s step, Vsp32s height, Vsp32f ds, Vsp32s mode) { return stream<F, DeltaOnly<Win1>>(src, width, dst, step, height, mode, scalars(ds), 0); }
VSP_EXPORT VspStatus vspsDelta_Win1_16s_D2Sfs(const Vsp16s* src, Vsp32s width, Vsp16s* dst, Vsp32s step, Vsp32s height, Vsp16s ds, Vsp32s mode, Vsp32s sf) { return stream<X, DeltaOnly<Win1>>(src, width, dst, step, height, mode, scalars(ds), sf); }
VSP_EXPORT VspStatus vspsDelta_Win2_32f_D2(const Vsp32f* src, Vsp32s width, Vsp32f* dst, Vsp32s step, Vsp32s height, Vsp32f ds, Vsp32s mode) { return stream<F, DeltaOnly<Win2>>(src, width, dst, step, height, mode, scalars(ds), 0); }
VSP_EXPORT VspStatus vspsDelta_Win2_16s_D2Sfs(const Vsp16s* src, Vsp32s width, Vsp16s* dst, Vsp32s step, Vsp32s height, Vsp16s ds, Vsp32s mode, Vsp32s sf) { return stream<X, DeltaOnly<Win2>>(src, width, dst, step, height, mode, scalars(ds), sf); }
VSP_EXPORT VspStatus vspsDeltaMul_Win1_32f_D2(const Vsp32f* src, const Vsp32f* m, Vsp32s width, Vsp32f* dst, Vsp32s step, Vsp32s height, Vsp32s mode) { return stream<F, DeltaOnly<Win1>>(src, width, dst, step, height, mode, muls(m, width), 0); }
VSP_EXPORT VspStatus vspsDeltaMul_Win1_16s_D2Sfs(const Vsp16s* src, const Vsp16s* m, Vsp32s width, Vsp16s* dst, Vsp32s step, Vsp32s height, Vsp32s mode, Vsp32s sf) { return stream<X, DeltaOnly<Win1>>(src, width, dst, step, height, mode, muls(m, width), sf); }
VSP_EXPORT VspStatus vspsDeltaMul_Win2_32f_D2(const Vsp32f* src, const Vsp32f* m, Vsp32s width, Vsp32f* dst, Vsp32s step, Vsp32s height, Vsp32s mode) { return stream<F, DeltaOnly<Win2>>(src, width, dst, step, height, mode, muls(m, width), 0); }
VSP_EXPORT VspStatus vspsDeltaMul_Win2_16s_D2Sfs(const Vsp16s* src, const Vsp16s* m, Vsp32s width, Vsp16s* dst, Vsp32s step, Vsp32s height, Vsp32s mode, Vsp32s sf) { return stream<X, DeltaOnly<Win2>>(src, width, dst, step, height, mode, muls(m, width), sf); }

VSP_EXPORT VspStatus vspsDeltaDelta_Win1_32f_D2(const Vsp32f* src, Vsp32s width, Vsp32f* dst, Vsp32s step, Vsp32s height, Vsp32f ds, Vsp32f dds, Vsp32s mode) { return stream<F, DeltaAndSecond<Win1>>(src, width, dst, step, height, mode, scalars(ds, dds), 0); }
VSP_EXPORT VspStatus vspsDeltaDelta_Win1_16s_D2Sfs(const Vsp16s* src, Vsp32s width, Vsp16s* dst, Vsp32s step, Vsp32s height, Vsp16s ds, Vsp16s dds, Vsp32s mode, Vsp32s sf) { return stream<X, DeltaAndSecond<Win1>>(src, width, dst, step, height, mode, scalars(ds, dds), sf); }
VSP_EXPORT VspStatus vspsDeltaDelta_Win2_32f_D2(const Vsp32f* src, Vsp32s width, Vsp32f* dst, Vsp32s step, Vsp32s height, Vsp32f ds, Vsp32f dds, Vsp32s mode) { return stream<F, DeltaAndSecond<Win2>>(src, width, dst, step, height, mode, scalars(ds, dds), 0); }
VSP_EXPORT VspStatus vspsDeltaDelta_Win2_16s_D2Sfs(const Vsp16s* src, Vsp32s width, Vsp16s* dst, Vsp32s step, Vsp32s height, Vsp16s ds, Vsp16s dds, Vsp32s mode, Vsp32s sf) { return stream<X, DeltaAndSecond<Win2>>(src, width, dst, step, height, mode, scalars(ds, dds), sf); }
VSP_EXPORT VspStatus vspsDeltaDeltaMul_Win1_32f_D2(const Vsp32f* src, const Vsp32f* m, Vsp32s width, Vsp32f* dst, Vsp32s step, Vsp32s height, Vsp32s mode) { return stream<F, DeltaAndSecond<Win1>>(src, width, dst, step, height, mode, muls(m, width), 0); }
VSP_EXPORT VspStatus vspsDeltaDeltaMul_Win1_16s_D2Sfs(const Vsp16s* src, const Vsp16s* m, Vsp32s width, Vsp16s* dst, Vsp32s step, Vsp32s height, Vsp32s mode, Vsp32s sf) { return stream<X, DeltaAndSecond<Win1>>(src, width, dst, step, height, mode, muls(m, width), sf); }
VSP_EXPORT VspStatus vspsDeltaDeltaMul_Win2_32f_D2(const Vsp32f* src, const Vsp32f* m, Vsp32s width, Vsp32f* dst, Vsp32s step, Vsp32s height, Vsp32s mode) { return stream<F, DeltaAndSecond<Win2>>(src, width, dst, step, height, mode, muls(m, width), 0); }
VSP_EXPORT VspStatus vspsDeltaDeltaMul_Win2_16s_D2Sfs(const Vsp16s* src, const Vsp16s* m, Vsp32s width, Vsp16s* dst, Vsp32s step, Vsp32s height, Vsp32s mode, Vsp32s sf) { return stream<X, DeltaAndSecond<Win2>>(src, width, dst, step, height, mode, muls(m, width), sf); }

VSP_EXPORT VspStatus vspsDeltaDelta_Aurora_32f_D2(const Vsp32f* src, Vsp32f* dst, Vsp32s step, Vsp32s height, Vsp32s mode) { return aurora<F, Aurora>(src, dst, step, height, mode, scalars(1.0f, 1.0f), 0); }
VSP_EXPORT VspStatus vspsDeltaDelta_Aurora_16s_D2Sfs(const Vsp16s* src, Vsp16s* dst, Vsp32s step, Vsp32s height, Vsp32s mode, Vsp32s sf) { return aurora<X, Aurora>(src, dst, step, height, mode, scalars(Vsp16s(1), Vsp16s(1)), sf); }
VSP_EXPORT VspStatus vspsDeltaDeltaMul_Aurora_32f_D2(const Vsp32f* src, const Vsp32f* m, Vsp32f* dst, Vsp32s step, Vsp32s height, Vsp32s mode) { return aurora<F, Aurora>(src, dst, step, height, mode, muls(m, Aurora::kWidth), 0); }
VSP_EXPORT VspStatus vspsDeltaDeltaMul_Aurora_16s_D2Sfs(const Vsp16s* src, const Vsp16s* m, Vsp16s* dst, Vsp32s step, Vsp32s height, Vsp32s mode, Vsp32s sf) { return aurora<X, Aurora>(src, dst, step, height, mode, muls(m, Aurora::kWidth), sf); }

VSP_EXPORT VspStatus vspsEvalDelta_32f_D2(Vsp32f* sd, Vsp32s height, Vsp32s step, Vsp32s width, Vsp32s offset, Vsp32s window, Vsp32f ds) { return evalDelta<F>(sd, height, step, Scalar<float>{ds}, false, width, offset, window, 0); }
VSP_EXPORT VspStatus vspsEvalDelta_16s_D2Sfs(Vsp16s* sd, Vsp32s height, Vsp32s step, Vsp32s width, Vsp32s offset, Vsp32s window, Vsp16s ds, Vsp32s sf) { return evalDelta<X>(sd, height, step, Scalar<Vsp16s>{ds}, false, width, offset, window, sf); }
VSP_EXPORT VspStatus vspsEvalDeltaMul_32f_D2(Vsp32f* sd, Vsp32s height, Vsp32s step, const Vsp32f* m, Vsp32s width, Vsp32s offset, Vsp32s window) { return evalDelta<F>(sd, height, step, PerColumn<float>{m}, !m, width, offset, window, 0); }
VSP_EXPORT VspStatus vspsEvalDeltaMul_16s_D2Sfs(Vsp16s* sd, Vsp32s height, Vsp32s step, const Vsp16s* m, Vsp32s width, Vsp32s offset, Vsp32s window, Vsp32s sf) { return evalDelta<X>(sd, height, step, PerColumn<Vsp16s>{m}, !m, width, offset, window, sf); }
// clang-format on
