// A main for the tests of what the wide kernels take part in. With --kernels=NAME all samplers use those of
// one instruction set, which the tests otherwise leave to the library. Where the processor has none of that
// name, the program says so as skipped tests do; with --other-kernels=NAME also where the library takes them
// by itself, so that nothing is tested twice.

#include "wide/wide_kernels.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <string_view>

using namespace Vestrel::Internal;

int main(int argumentCount, char** arguments) {
    testing::InitGoogleTest(&argumentCount, arguments);
    // Before any test has chosen.
    if (&WideKernels() != WideKernelsHere()[0]) {
        std::fprintf(stderr, "the library has not chosen its best kernels, but those for %s\n",
                     WideKernels().m_Name);
        return 1;
    }
    for (int k = 1; k < argumentCount; ++k) {
        const std::string_view argument = arguments[k];
        const bool isOther = argument.starts_with("--other-kernels=");
        if (!isOther && !argument.starts_with("--kernels=")) {
            std::fprintf(stderr,
                         "there is no option '%s'; there are --kernels=NAME and --other-kernels=NAME\n",
                         arguments[k]);
            return 2;
        }
        const std::string_view name = argument.substr(argument.find('=') + 1);
        const CWideKernels* chosen = nullptr;
        for (const CWideKernels* kernels : WideKernelsHere()) {
            chosen = kernels->m_Name == name ? kernels : chosen;
        }
        const bool isKnown = name == "four lanes" || name == "AVX2" || name == "AVX-512";
        if (!isKnown) {
            std::fprintf(stderr, "no processor has kernels of the name in '%s'\n", arguments[k]);
            return 2;
        }
        if (chosen == nullptr) {
            std::printf("[  SKIPPED ] this library on this processor has no kernels for %s\n", arguments[k]);
            return 0;
        }
        if (isOther && chosen == WideKernelsHere()[0]) {
            std::printf("[  SKIPPED ] this library on this processor takes the kernels of %s by itself\n",
                        chosen->m_Name);
            return 0;
        }
        ChooseWideKernels(*chosen);
    }
    const CWideKernels& used = WideKernels();
    std::printf("kernels: %s\n", used.m_Name);
    const int result = RUN_ALL_TESTS();
    if (&WideKernels() != &used) {
        std::fprintf(stderr, "a test has left the kernels for %s in use\n", WideKernels().m_Name);
        return 1;
    }
    return result;
}
