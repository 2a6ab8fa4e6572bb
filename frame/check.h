// Small helpers for argument checks. Each family states its own order; these
// only make one step of it a single line.
#pragma once

#include "frame/base.h"

VSP_NS_BEGIN

// True when any of the pointers is null.
template <class... P>
VSP_ALWAYS_INLINE bool anyNull(const P*... p) {
  return (... || (p == nullptr));
}

// A stepped matrix whose step cannot hold its row.
VSP_ALWAYS_INLINE bool badStep(int32_t width, int32_t step) { return width > step; }

VSP_NS_END
