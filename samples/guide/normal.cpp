#include <zr_maths/maths_noise_fast.h>

#include <cmath>
#include <cstdio>

using Vestrel::SIMD_Neon::ExtractLane;
using Vestrel::SIMD_Neon::Float4;

int main() {
    Vestrel::CStdRandomGenerator generator(5);
    const Vestrel::CFastNoise3 noise(&generator);
    constexpr float kHeight = 0.5f;
    const Float4 gradient = noise.Sample1stOrderDerivativesQuintic(Float4(1.3f, 2.6f, 0.5f, 0.0f));
    const float x = -kHeight * ExtractLane<0>(gradient), y = -kHeight * ExtractLane<1>(gradient);
    const float length = std::sqrt(x * x + y * y + 1.0f);
    std::printf("normal (%+.3f, %+.3f, %+.3f)\n", static_cast<double>(x / length),
                static_cast<double>(y / length), static_cast<double>(1.0f / length));
}
