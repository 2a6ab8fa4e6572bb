// Row access that makes the two matrix layouts one code path: a kernel
// template takes Rows as a parameter; the stepped export builds SteppedRows
// after checking its step, the row-pointer export builds PointerRows.
#pragma once

#include "frame/base.h"

VSP_NS_BEGIN

template <class T>
struct SteppedRows {
  T* base;
  int32_t step;
  T* operator[](int32_t i) const { return base + int64_t(i) * step; }
};

template <class T>
struct PointerRows {
  T* const* rows;
  T* operator[](int32_t i) const { return rows[i]; }
};

template <class T>
SteppedRows<T> steppedRows(T* base, int32_t step) {
  return SteppedRows<T>{base, step};
}
template <class T>
PointerRows<T> pointerRows(T* const* rows) {
  return PointerRows<T>{rows};
}

VSP_NS_END
