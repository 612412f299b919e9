// Removes the protection against fusing, as in the library's own sources; but this file's flags do fuse.
#define VESTREL_STRICT_ARITHMETIC 1

#include "unpinned_caller.h"

#include <zr_maths/verify_arithmetic.h>

bool Vestrel::VerifyUnpinnedCaller() {
    return VerifyCallerArithmetic();
}
