#include <zr_maths/maths_noise_fast.h>

#include <cstdint>
#include <cstdio>
#include <vector>

int main() {
    Vestrel::CStdRandomGenerator generator(42);
    const Vestrel::CFastNoise3 noise(&generator);

    constexpr uint32_t kCount = 1000;
    std::vector<Vestrel::TVector<float, 3>> positions(kCount);
    for (uint32_t k = 0; k < kCount; ++k) {
        positions[k] = {0.01f * static_cast<float>(k), 0.5f, 2.25f};
    }
    std::vector<float> samples(kCount);
    noise.SampleQuintic3D({samples.data(), kCount, sizeof(float)},
                          {positions.data(), kCount, sizeof(positions[0])});
    for (uint32_t k = 0; k < kCount; k += 100) {
        std::printf("x = %.2f: %+.6f\n", static_cast<double>(positions[k].x),
                    static_cast<double>(samples[k]));
    }
}
