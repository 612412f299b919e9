// The library's own sources do without the protection, since their flags fuse nothing. Those of this one do.
#define VESTREL_STRICT_ARITHMETIC 1

#include "unpinned_caller.h"

#include <zr_maths/verify_arithmetic.h>

bool Vestrel::VerifyUnpinnedCaller() {
    return VerifyCallerArithmetic();
}
