#include <zr_maths/maths_noise_fast.h>

#include <cstdio>

int main() {
    Vestrel::CStdRandomGenerator generator(7);
    const Vestrel::CFastNoise3 noise(&generator);
    const Vestrel::SIMD_Neon::Float4 position(0.4f, 0.8f, 1.2f, 0.0f); // the fourth lane is ignored
    std::printf("%+.3f\n", static_cast<double>(noise.SampleQuintic(position)));
}
