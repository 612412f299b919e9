#include <zr_maths/maths_noise_fast.h>

#include <cstdio>

int main() {
    Vestrel::CStdRandomGenerator generator(2);
    Vestrel::CRotatableFastNoise3 noise(&generator);
    noise.SetSpinVariation(0.0f); // one speed: it loops
    const Vestrel::SIMD_Neon::Float4 position(0.5f, 0.25f, 3.5f, 0.0f);
    for (int quarter = 0; quarter <= 4; ++quarter) {
        const float time = 0.25f * static_cast<float>(quarter);
        noise.RotateBasis(time);
        std::printf("time %.2f: %+.4f\n", static_cast<double>(time),
                    static_cast<double>(noise.SampleQuintic(position)));
    }
}
