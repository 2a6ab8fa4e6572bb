// The version record: one constant, handed out by pointer.
#include "frame/base.h"

namespace {

constexpr VspLibraryVersion kVersion = {
    6, 1, 137, 782, {'m', 'x', '\0', '\0'}, "vspsrmx-6.1.dll", "6.1 build 137.20", "Jun 10 2009",
};

}  // namespace

VSP_EXPORT const VspLibraryVersion* vspsrGetLibVersion(void) { return &kVersion; }
