// Checks every operation against the table of pinned bits, and that VerifyArithmetic and
// VerifyCallerArithmetic hold, without a test framework: on other processors, under emulation, with any
// flags.

#include "pinned_bits.h"

#include <zr_maths/verify_arithmetic.h>
#include <zr_support/simd_backend.h>

#include <cstdio>
#include <cstring>

using namespace Vestrel;

namespace {

/// Returns the number of operations that have the pinned bits, and reports the others.
size_t CountEqual(size_t resultCount) {
    size_t equalCount = 0;
    for (size_t k = 0; k < PinnedCount(); ++k) {
        const std::string mismatch = PinnedMismatch(k, resultCount);
        std::fputs(mismatch.c_str(), stdout);
        equalCount += mismatch.empty() ? 1 : 0;
    }
    return equalCount;
}

} // namespace

int main(int argumentCount, char** arguments) {
    const bool isFew = argumentCount == 2 && std::strcmp(arguments[1], "--few") == 0;
    if (argumentCount > 2 || (argumentCount == 2 && !isFew)) {
        std::fprintf(stderr, "pinned_bits: the only option is --few, for %zu results of each operation\n",
                     kFewPinnedResults);
        return 2;
    }
    const bool isVerified = VerifyArithmetic();
    const bool isCallerVerified = VerifyCallerArithmetic();
    if (!isVerified) {
        std::printf("VerifyArithmetic() is false\n");
    }
    if (!isCallerVerified) {
        std::printf("VerifyCallerArithmetic() is false\n");
    }
    // First with the library's own choice of kernels, then with the others that the processor supports.
    bool areEqual = true;
    for (size_t kernels = 0; kernels < PinnedKernelsCount(); ++kernels) {
        const char* const name = UsePinnedKernels(kernels);
        const size_t resultCount = isFew || kernels > 0 ? kFewPinnedResults : kManyPinnedResults;
        const size_t equalCount = CountEqual(resultCount);
        std::printf("%s backend, %s: %zu of %zu operations have the pinned bits, over %zu results each\n",
                    SIMD_Neon::BackendName(), name, equalCount, PinnedCount(), resultCount);
        areEqual = areEqual && equalCount == PinnedCount();
    }
    return areEqual && isVerified && isCallerVerified ? 0 : 1;
}
