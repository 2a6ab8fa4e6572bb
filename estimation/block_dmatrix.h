// The block-diagonal matrix object: square blocks along the diagonal, one row
// pointer per matrix row, each row as long as its block and aligned to 16
// bytes. The object and all its tables are carved from one vspMalloc block.
#pragma once

#include "frame/base.h"

struct VspBlockDMatrix {
  void** rows;         // one per matrix row, all blocks' rows in turn
  Vsp32s* blockSizes;  // size of each block, copied from the caller
  void* base;          // the single allocation, for release
  Vsp16s blockCount;   // number of blocks, kept in 16 bits
  Vsp16s rowCount;     // sum of the sizes, kept in 16 bits
  // The same two counts at full width. The 16-bit fields are what callers
  // are checked against; these keep every walk over the rows inside what
  // was allocated even when a count did not fit 16 bits.
  Vsp32s blockCountWide;
  Vsp32s rowCountWide;
};
