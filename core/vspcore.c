/*
 * vspcore: the allocator that vspsr draws all of its memory from.
 *
 * Blocks are aligned to 64 bytes so that any vector tier can use aligned
 * loads on memory the library lays out itself. Built with VSPCORE_TESTING,
 * the same source becomes the test allocator: it counts live blocks and can
 * be told to fail the N-th allocation from now, so that a test can walk
 * every allocation point of a call.
 */
#define _POSIX_C_SOURCE 200112L
#include <stdlib.h>

#include "vspsr.h"

#ifdef VSPCORE_TESTING
#include "vspcore_testing.h"

/* Test-only bookkeeping; the production build has no state at all. */
static long g_live = 0;
static long g_total = 0;
static long g_failAfter = 0;

void vspcoreTestFailAfter(long n) { g_failAfter = n; }
long vspcoreTestLiveBlocks(void) { return g_live; }
long vspcoreTestAllocations(void) { return g_total; }
#endif

void* vspMalloc(size_t size) {
  void* block = NULL;
#ifdef VSPCORE_TESTING
  ++g_total;
  if (g_failAfter > 0 && --g_failAfter == 0) return NULL;
#endif
  /* A zero-byte request still gets a distinct block, as malloc would. */
  if (size == 0) size = 1;
  if (posix_memalign(&block, 64, size) != 0) block = NULL;
#ifdef VSPCORE_TESTING
  if (block) ++g_live;
#endif
  return block;
}

void vspFree(void* block) {
#ifdef VSPCORE_TESTING
  if (block) --g_live;
#endif
  free(block);
}
