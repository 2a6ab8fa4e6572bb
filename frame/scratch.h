// Scratch memory of a call: taken from vspMalloc, released on every path out.
//
// The typed helpers take an element count as a 32-bit value. A count below 1
// gives null at once without calling vspMalloc; otherwise the count is
// sign-extended before it is multiplied by the element width, so that no
// count can wrap the byte size.
#pragma once

#include "frame/base.h"

VSP_NS_BEGIN

template <size_t Width>
inline void* scratchBytes(int32_t count) {
  static_assert(Width == 1 || Width == 2 || Width == 4 || Width == 8, "1, 2, 4 or 8-byte elements");
  if (count < 1) return nullptr;
  return vspMalloc(size_t(int64_t(count) * int64_t(Width)));
}
inline void* scratch8(int32_t count) { return scratchBytes<1>(count); }
inline void* scratch16(int32_t count) { return scratchBytes<2>(count); }
inline void* scratch32(int32_t count) { return scratchBytes<4>(count); }
inline void* scratch64(int32_t count) { return scratchBytes<8>(count); }

template <class T>
inline T* scratchOf(int32_t count) {
  return static_cast<T*>(scratchBytes<sizeof(T)>(count));
}

// Owns one vspMalloc block for the rest of a scope.
class ScratchBlock {
 public:
  explicit ScratchBlock(void* p) : p_(p) {}
  ~ScratchBlock() {
    if (p_) vspFree(p_);
  }
  ScratchBlock(const ScratchBlock&) = delete;
  ScratchBlock& operator=(const ScratchBlock&) = delete;
  void* get() const { return p_; }

 private:
  void* p_;
};

// A scratch array that lives on the stack up to a family-specific size and
// comes from vspMalloc above it. Check ok() before use: false means the
// allocation failed and the call must return vspStatusNoMemory.
template <class T, int32_t StackCount>
class Scratch {
 public:
  explicit Scratch(int32_t count)
      : heap_(count > StackCount ? scratchOf<T>(count) : nullptr),
        p_(count > StackCount ? heap_ : local_) {}
  ~Scratch() {
    if (heap_) vspFree(heap_);
  }
  Scratch(const Scratch&) = delete;
  Scratch& operator=(const Scratch&) = delete;
  bool ok() const { return p_ != nullptr; }
  bool onHeap() const { return heap_ != nullptr; }
  T* data() const { return p_; }

 private:
  T local_[StackCount];
  T* heap_;
  T* p_;
};

VSP_NS_END
