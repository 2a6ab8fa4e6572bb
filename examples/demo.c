/*
 * demo: scores generated observations against a diagonal Gaussian with the
 * single-observation scorers, in float, double and 16-bit fixed point, and
 * prints the scores and the library's version record.
 */
#include <math.h>
#include <stdio.h>

#include "vspsr.h"

#define DIM 13
#define FRAMES 5

int main(void) {
  const VspLibraryVersion* v = vspsrGetLibVersion();
  Vsp32f mean[DIM], invVar[DIM], obs[FRAMES][DIM];
  Vsp16s mean16[DIM], invVar16[DIM], obs16[FRAMES][DIM];
  Vsp32f gConst = 0.0f;
  int i, t;

  printf("vspsr %s (%d.%d build %d.%d, %s)\n", v->versionText, v->major, v->minor, v->majorBuild,
         v->build, v->buildDate);

  /* A 13-dimensional model and observations wandering around its mean. */
  for (i = 0; i < DIM; ++i) {
    mean[i] = (Vsp32f)sin(0.7 * i);
    invVar[i] = 1.0f / (0.5f + 0.1f * (Vsp32f)i);
    gConst -= 0.5f * (Vsp32f)log(2.0 * 3.14159265358979 / invVar[i]);
    mean16[i] = (Vsp16s)lrintf(mean[i] * 256.0f);
    invVar16[i] = (Vsp16s)lrintf(invVar[i] * 64.0f);
  }
  for (t = 0; t < FRAMES; ++t)
    for (i = 0; i < DIM; ++i) {
      obs[t][i] = mean[i] + 0.4f * (Vsp32f)t * (Vsp32f)cos(1.3 * i + t);
      obs16[t][i] = (Vsp16s)lrintf(obs[t][i] * 256.0f);
    }

  printf("%5s %14s %14s %14s %12s\n", "frame", "score 32f", "score 64f*", "score 16s", "distance");
  for (t = 0; t < FRAMES; ++t) {
    Vsp32f s32 = 0.0f, dist = 0.0f;
    Vsp64f s64 = 0.0;
    Vsp32s s16 = 0;
    /* Fixed point: data in Q8, inverse variances in Q6, so the weighted sum
     * of squares carries 2^22; scale factor 22 brings the score back to
     * units, with gConst given in the same units. */
    if (vspsLogGaussSingle_32f(obs[t], mean, invVar, DIM, &s32, gConst) != vspStatusOk ||
        vspsLogGaussSingle_32f64f(obs[t], mean, invVar, DIM, &s64, gConst) != vspStatusOk ||
        vspsLogGaussSingle_16s32s_Sfs(obs16[t], mean16, invVar16, DIM, &s16,
                                      (Vsp32s)lrintf(gConst), 22) != vspStatusOk ||
        vspsMahDistSingle_32f(obs[t], mean, invVar, DIM, &dist) != vspStatusOk) {
      fprintf(stderr, "scoring failed\n");
      return 1;
    }
    printf("%5d %14.6f %14.6f %14d %12.6f\n", t, (double)s32, s64, (int)s16, (double)dist);
  }
  printf("(* 64f: single-precision inputs accumulated in double)\n");
  return 0;
}
