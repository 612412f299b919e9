#include <zr_maths/maths_noise_fast.h>

#include <algorithm>
#include <cstdio>

/// Maps [-spread, spread] to [0, 1].
float ToUnit(float sample, float spread = 1.0f) {
    return std::clamp(0.5f + 0.5f * sample / spread, 0.0f, 1.0f);
}

int main() {
    Vestrel::CStdRandomGenerator generator(1);
    const Vestrel::CFastNoise3 noise(&generator);
    const float sample = noise.SampleQuintic(Vestrel::SIMD_Neon::Float4(20.5f, 3.25f, 8.0f, 0.0f));
    std::printf("%+.3f %.3f %.3f\n", static_cast<double>(sample), static_cast<double>(ToUnit(sample)),
                static_cast<double>(ToUnit(sample, 0.75f)));
}
