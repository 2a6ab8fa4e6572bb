/* Compiled as strict C99: the public header must stay valid C. */
#include "vspsr.h"

int vspsrHeaderCheck(void);

int vspsrHeaderCheck(void) {
  VspLibraryVersion v;
  VspStatus s = vspStatusOk;
  VspHint h = vspHintFast;
  v.major = 0;
  return (int)(s + h + v.major + (int)sizeof(Vsp64s));
}
