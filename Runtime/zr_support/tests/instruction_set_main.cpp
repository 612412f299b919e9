// The main of tests that depend on the instruction set. --kernels=NAME selects one instead of the library's
// choice. If library or processor do not support it, the program reports a skipped test. --other-kernels=NAME
// also skips the library's own choice, so that nothing is tested twice.

#include "instruction_sets.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <optional>
#include <string_view>

using namespace Vestrel;

namespace {

std::optional<EInstructionSet> InstructionSetNamed(std::string_view name) {
    for (const auto set : {EInstructionSet::kFourLanes, EInstructionSet::kAvx2, EInstructionSet::kAvx512}) {
        if (name == Internal::NameOf(set)) {
            return set;
        }
    }
    return std::nullopt;
}

} // namespace

int main(int argumentCount, char** arguments) {
    testing::InitGoogleTest(&argumentCount, arguments);
    const EInstructionSet widest = Internal::SelectedInstructionSet();
    if (widest != SupportedInstructionSets()[0]) {
        std::fprintf(stderr, "the library selected %s, which is not the widest\n", Internal::NameOf(widest));
        return 1;
    }
    for (int k = 1; k < argumentCount; ++k) {
        const std::string_view argument = arguments[k];
        const bool isOther = argument.starts_with("--other-kernels=");
        if (!isOther && !argument.starts_with("--kernels=")) {
            std::fprintf(stderr, "unknown option '%s'; expected --kernels=NAME or --other-kernels=NAME\n",
                         arguments[k]);
            return 2;
        }
        const auto selected = InstructionSetNamed(argument.substr(argument.find('=') + 1));
        if (!selected) {
            std::fprintf(stderr, "%s: expected four lanes, AVX2 or AVX-512\n", arguments[k]);
            return 2;
        }
        if (*selected > widest) {
            std::printf("[  SKIPPED ] this library on this processor does not support %s\n",
                        Internal::NameOf(*selected));
            return 0;
        }
        if (isOther && *selected == widest) {
            std::printf("[  SKIPPED ] this library on this processor selects %s by itself\n",
                        Internal::NameOf(*selected));
            return 0;
        }
        LimitInstructionSet(*selected);
    }
    const EInstructionSet selected = Internal::SelectedInstructionSet();
    std::printf("kernels: %s\n", Internal::NameOf(selected));
    const int result = RUN_ALL_TESTS();
    if (Internal::SelectedInstructionSet() != selected) {
        std::fprintf(stderr, "a test left %s selected\n",
                     Internal::NameOf(Internal::SelectedInstructionSet()));
        return 1;
    }
    return result;
}
