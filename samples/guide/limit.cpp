#include <zr_maths/maths_noise_fast.h>
#include <zr_support/instruction_set.h>

#include <cstdio>
#include <cstring>
#include <vector>

int main() {
    Vestrel::CStdRandomGenerator generator(3);
    const Vestrel::CFastNoise3 noise(&generator);
    std::vector<float> x(1000), widest(1000), limited(1000);
    generator.FillRandomFloats({x.data(), 1000}, -100.0f, 100.0f);

    noise.SampleCubic1D({widest.data(), 1000, 4}, {x.data(), 1000, 4});
    Vestrel::LimitInstructionSet(Vestrel::EInstructionSet::kFourLanes);
    noise.SampleCubic1D({limited.data(), 1000, 4}, {x.data(), 1000, 4});
    Vestrel::LimitInstructionSet(Vestrel::EInstructionSet::kAvx512); // no limit

    const bool isEqual = std::memcmp(widest.data(), limited.data(), 1000 * sizeof(float)) == 0;
    std::puts(isEqual ? "the same bits" : "OTHER BITS");
    return isEqual ? 0 : 1;
}
