#include <zr_maths/maths_noise_fast.h>

#include <cstdint>
#include <cstdio>
#include <vector>

int main() {
    Vestrel::CStdRandomGenerator generator(7);
    const Vestrel::CFastNoise3 noise(&generator);

    constexpr uint32_t kWidth = 5, kHeight = 3, kCount = kWidth * kHeight;
    std::vector<Vestrel::TVector<float, 2>> positions(kCount);
    for (uint32_t k = 0; k < kCount; ++k) {
        positions[k] = {0.4f * static_cast<float>(k % kWidth), 0.4f * static_cast<float>(k / kWidth)};
    }
    std::vector<float> heights(kCount);
    noise.SampleCubic2D({heights.data(), kCount, sizeof(float)},
                        {positions.data(), kCount, sizeof(positions[0])});
    for (uint32_t k = 0; k < kCount; ++k) {
        std::printf("%+.3f%c", static_cast<double>(heights[k]), k % kWidth == kWidth - 1 ? '\n' : ' ');
    }
}
