/* Test hooks of the failure-injecting build of vspcore. Tests only. */
#ifndef VSPCORE_TESTING_H
#define VSPCORE_TESTING_H

#ifdef __cplusplus
extern "C" {
#endif

/* Makes the n-th vspMalloc call from now return null (n < 1: never). */
void vspcoreTestFailAfter(long n);
/* Blocks handed out and not yet released. */
long vspcoreTestLiveBlocks(void);
/* vspMalloc calls so far, failed ones included. */
long vspcoreTestAllocations(void);

#ifdef __cplusplus
}
#endif

#endif
