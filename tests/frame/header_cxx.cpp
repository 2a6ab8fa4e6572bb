// The public header also compiles cleanly as C++ and gives C linkage.
#include "vspsr.h"

static_assert(sizeof(Vsp16s) == 2 && sizeof(Vsp32s) == 4 && sizeof(Vsp64s) == 8, "widths");
static_assert(sizeof(Vsp32f) == 4 && sizeof(Vsp64f) == 8, "float widths");

int vspsrHeaderCheckCxx() { return vspStatusOk; }
