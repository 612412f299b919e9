#include <zr_maths/maths_noise_fast.h>

#include <cmath>
#include <cstdint>
#include <cstdio>

/// The mean over a period, in any dimension and quality: that of the 256 values, at x = 0 to 255 in 1D.
float MeanOf(const Vestrel::CFastNoise3& noise) {
    float places[256], values[256];
    for (int k = 0; k < 256; ++k) {
        places[k] = static_cast<float>(k);
    }
    noise.SampleLinear1D({values, 256, sizeof(float)}, {places, 256, sizeof(float)});
    double sum = 0.0;
    for (const float value : values) {
        sum += static_cast<double>(value);
    }
    return static_cast<float>(sum / 256.0);
}

int main() {
    int farOff = 0;
    for (uint32_t seed = 0; seed < 4096; ++seed) {
        Vestrel::CStdRandomGenerator generator(seed);
        farOff += std::fabs(MeanOf(Vestrel::CFastNoise3(&generator))) > 0.1f ? 1 : 0;
    }
    std::printf("means beyond 0.1: %d of 4096 seeds\n", farOff);

    Vestrel::CStdRandomGenerator generator(1);
    const Vestrel::CFastNoise3 noise(&generator);
    const float mean = MeanOf(noise); // once per field
    const float sample = noise.SampleQuintic(Vestrel::SIMD_Neon::Float4(20.5f, 3.25f, 8.0f, 0.0f));
    std::printf("seed 1: mean %+.4f, sample %+.4f, without the mean %+.4f\n", static_cast<double>(mean),
                static_cast<double>(sample), static_cast<double>(sample - mean));
}
