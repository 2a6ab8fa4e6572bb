// Construction and release of the block-diagonal matrix object.
#include "estimation/block_dmatrix.h"

#include <string.h>

#include "frame/check.h"

VSP_NS_BEGIN

namespace {

constexpr int64_t pad16(int64_t bytes) { return (bytes + 15) & ~int64_t(15); }

template <class T>
VspStatus blockDMatrixInitAlloc(VspBlockDMatrix** dstObject, const T* const* srcRows,
                                const Vsp32s* blockSizes, Vsp32s blockCount) {
  if (anyNull(dstObject, srcRows, blockSizes)) return vspStatusNullPointer;
  if (blockCount < 1) return vspStatusBadSize;

  // Sizes are checked and summed before anything is allocated. Only the
  // room the rows need is reserved (each row padded to 16 bytes); a request
  // too large to express is an allocation that cannot succeed.
  int64_t rowCount = 0, rowBytes = 0;
  bool tooLarge = false;
  for (int32_t b = 0; b < blockCount; ++b) {
    const int64_t s = blockSizes[b];
    if (s < 1) return vspStatusBadSize;
    rowCount += s;
    int64_t blockBytes = 0;
    tooLarge |= __builtin_mul_overflow(s, pad16(s * int64_t(sizeof(T))), &blockBytes);
    tooLarge |= __builtin_add_overflow(rowBytes, blockBytes, &rowBytes);
  }
  const int64_t headBytes = pad16(sizeof(VspBlockDMatrix));
  const int64_t sizeBytes = pad16(int64_t(blockCount) * 4);
  const int64_t tableBytes = pad16(rowCount * int64_t(sizeof(void*)));
  int64_t total = 0;
  tooLarge |= __builtin_add_overflow(rowBytes, headBytes + sizeBytes + tableBytes + 15, &total);
  if (tooLarge || uint64_t(total) > uint64_t(PTRDIFF_MAX)) return vspStatusNoMemory;

  void* base = vspMalloc(size_t(total));
  if (!base) return vspStatusNoMemory;

  unsigned char* p =
      reinterpret_cast<unsigned char*>((reinterpret_cast<uintptr_t>(base) + 15) & ~uintptr_t(15));
  VspBlockDMatrix* obj = reinterpret_cast<VspBlockDMatrix*>(p);
  p += headBytes;
  obj->blockSizes = reinterpret_cast<Vsp32s*>(p);
  p += sizeBytes;
  obj->rows = reinterpret_cast<void**>(p);
  p += tableBytes;
  obj->base = base;
  obj->blockCount = int16_t(uint16_t(blockCount));
  obj->rowCount = int16_t(uint16_t(rowCount));
  obj->blockCountWide = blockCount;
  obj->rowCountWide = rowCount > INT32_MAX ? -1 : int32_t(rowCount);

  int64_t row = 0;
  for (int32_t b = 0; b < blockCount; ++b) {
    const int32_t s = blockSizes[b];
    obj->blockSizes[b] = s;
    for (int32_t r = 0; r < s; ++r, ++row) {
      memcpy(p, srcRows[row], size_t(s) * sizeof(T));
      obj->rows[row] = p;
      p += pad16(int64_t(s) * int64_t(sizeof(T)));
    }
  }
  *dstObject = obj;
  return vspStatusOk;
}

VspStatus blockDMatrixFree(VspBlockDMatrix* object) {
  if (!object) return vspStatusNullPointer;
  vspFree(object->base);
  return vspStatusOk;
}

}  // namespace

VSP_NS_END

VSP_EXPORT VspStatus vspsBlockDMatrixInitAlloc_16s(VspBlockDMatrix** o, const Vsp16s* const* r,
                                                   const Vsp32s* s, Vsp32s n) {
  return vsp::blockDMatrixInitAlloc(o, r, s, n);
}
VSP_EXPORT VspStatus vspsBlockDMatrixInitAlloc_32f(VspBlockDMatrix** o, const Vsp32f* const* r,
                                                   const Vsp32s* s, Vsp32s n) {
  return vsp::blockDMatrixInitAlloc(o, r, s, n);
}
VSP_EXPORT VspStatus vspsBlockDMatrixInitAlloc_64f(VspBlockDMatrix** o, const Vsp64f* const* r,
                                                   const Vsp32s* s, Vsp32s n) {
  return vsp::blockDMatrixInitAlloc(o, r, s, n);
}
VSP_EXPORT VspStatus vspsBlockDMatrixFree_16s(VspBlockDMatrix* o) {
  return vsp::blockDMatrixFree(o);
}
VSP_EXPORT VspStatus vspsBlockDMatrixFree_32f(VspBlockDMatrix* o) {
  return vsp::blockDMatrixFree(o);
}
VSP_EXPORT VspStatus vspsBlockDMatrixFree_64f(VspBlockDMatrix* o) {
  return vsp::blockDMatrixFree(o);
}
