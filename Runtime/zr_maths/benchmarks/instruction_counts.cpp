// Samples once, for a tool that counts instructions: instruction_counts KERNELS SAMPLER COUNT. The number of
// instructions outside the sampler does not depend on COUNT.

#include "instruction_sets.h"
#include "noise_test_support.h"
#include "operations.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string_view>
#include <vector>

using namespace Vestrel;

namespace {

constexpr uint32_t kMaxCount = 16384;

bool SelectInstructionSetNamed(std::string_view name) {
    for (const EInstructionSet set : SupportedInstructionSets()) {
        if (Internal::NameOf(set) == name) {
            LimitInstructionSet(set);
            return true;
        }
    }
    return false;
}

} // namespace

int main(int argumentCount, char** arguments) {
    const unsigned long count = argumentCount == 4 ? std::strtoul(arguments[3], nullptr, 10) : 0;
    if (count == 0 || count > kMaxCount || !SelectInstructionSetNamed(arguments[1])) {
        std::fprintf(
            stderr,
            "usage: instruction_counts KERNELS SAMPLER COUNT, with kernels that the processor has and up "
            "to %u positions\n",
            kMaxCount);
        return 2;
    }
    CStdRandomGenerator generator(4);
    const COpenNoise noise(&generator);
    alignas(64) static float positions[4 * kMaxCount + 4];
    alignas(64) static float samples[kMaxCount];
    generator.FillRandomFloats({positions, 4 * kMaxCount}, -128.0f, 128.0f);
    for (const CBatchSampler& sampler : kBatchSamplers) {
        if (sampler.m_Name == std::string_view(arguments[2])) {
            sampler.m_Sample(noise, {samples, static_cast<uint32_t>(count), sizeof(float)}, positions, 0,
                             sampler.PositionSize());
            return 0;
        }
    }
    std::fprintf(stderr, "instruction_counts: there is no sampler '%s'\n", arguments[2]);
    return 2;
}
