#include <zr_maths/maths_noise_fast.h>

#include <cstdio>

using Vestrel::SIMD_Neon::ExtractLane;
using Vestrel::SIMD_Neon::Float4;

int main() {
    Vestrel::CStdRandomGenerator generator(3);
    const Vestrel::CFastNoise3 noise(&generator);

    // Two by two pixels, all of them in the cell from (4, 7, 0) to (5, 8, 1).
    const Float4 pixels[] = {{4.25f, 7.50f, 0.5f, 0.0f},
                             {4.50f, 7.50f, 0.5f, 0.0f},
                             {4.25f, 7.75f, 0.5f, 0.0f},
                             {4.50f, 7.75f, 0.5f, 0.0f}};
    const Float4 samples = noise.CoherentSampleQuintic(pixels);
    std::printf("%+.4f %+.4f\n", static_cast<double>(ExtractLane<0>(samples)),
                static_cast<double>(noise.SampleQuintic(pixels[0])));
    std::printf("%+.4f %+.4f\n", static_cast<double>(ExtractLane<3>(samples)),
                static_cast<double>(noise.SampleQuintic(pixels[3])));
}
