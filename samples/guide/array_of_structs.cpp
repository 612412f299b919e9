#include <zr_maths/maths_noise_fast.h>

#include <cstdint>
#include <cstdio>
#include <vector>

struct CParticle {
    Vestrel::TVector<float, 3> position;
    float age; // not read
    Vestrel::TVector<float, 3> velocity;
    float mass;
};

int main() {
    Vestrel::CStdRandomGenerator generator(1);
    const Vestrel::CFastNoise3 noise(&generator);
    std::vector<CParticle> particles(3);
    particles[1].position = {0.5f, 1.5f, 2.5f};
    particles[2].position = {0.5f, 1.5f, 2.75f};

    const uint32_t count = static_cast<uint32_t>(particles.size());
    std::vector<float> samples(count);
    noise.SampleCubic3D({samples.data(), count, sizeof(float)},
                        {&particles[0].position, count, sizeof(CParticle)});
    for (const float sample : samples) {
        std::printf("%+.4f\n", static_cast<double>(sample));
    }
}
