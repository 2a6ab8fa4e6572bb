/* A minimal caller of the installed library. */
#include <stdio.h>
#include <string.h>

#include <vspsr.h>

int main(void) {
  const VspLibraryVersion* v = vspsrGetLibVersion();
  Vsp32f src[3] = {1.0f, 2.0f, 3.0f}, mean[3] = {0.0f, 0.0f, 0.0f}, var[3] = {1.0f, 1.0f, 1.0f};
  Vsp32f score = 0.0f;
  if (v->major != 6 || strcmp(v->versionText, "6.1 build 137.20") != 0) return 1;
  if (vspsLogGaussSingle_32f(src, mean, var, 3, &score, 10.0f) != vspStatusOk) return 2;
  if (score != 3.0f) return 3;
  printf("consumer ok: %s, score %g\n", v->versionText, (double)score);
  return 0;
}
