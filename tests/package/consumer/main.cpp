// Samples a field and prints the backend and a hash of the samples' bits. Fails where program and library
// disagree on the layout of a four-lane value, and where an operation of the library gives wrong bits.

#include <zr_maths/maths_noise_fast.h>
#include <zr_maths/verify_arithmetic.h>
#include <zr_support/simd_backend.h>

#include <cfenv>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <vector>

using namespace Vestrel;

int main() {
    const TVector<float, 4> lanes = SIMD_Neon::_LanesAsReceived(SIMD_Neon::Float4(1.0f, 2.0f, 3.0f, 4.0f));
    if (lanes.x != 1.0f || lanes.y != 2.0f || lanes.z != 3.0f || lanes.w != 4.0f) {
        std::printf("lanes arrived as %g %g %g %g\n", static_cast<double>(lanes.x),
                    static_cast<double>(lanes.y), static_cast<double>(lanes.z), static_cast<double>(lanes.w));
        return 1;
    }
    std::fesetenv(FE_DFL_ENV); // some are linked with flags that flush denormals
    if (!VerifyArithmetic()) {
        std::printf("the library does not give its own bits\n");
        return 1;
    }
    CStdRandomGenerator generator(2026);
    const CFastNoise3 noise(&generator);
    const uint32_t count = 4099;
    std::vector<TVector<float, 3>> positions(count);
    for (uint32_t k = 0; k < count; ++k) {
        // Products of a small integer and a power of two, exact under any flags.
        const float step = static_cast<float>(k) * 0.015625f;
        positions[k] = {step, -step, static_cast<float>(k % 64) * 0.25f};
    }
    std::vector<float> samples(2 * count);
    noise.SampleQuintic3D({samples.data(), count, 4}, {positions.data(), count, 12});
    noise.SampleCubic1D({samples.data() + count, count, 4}, {&positions[0].x, count, 12});
    for (uint32_t k = 0; k < count; ++k) {
        // The same positions by value, in a register where there is one.
        const SIMD_Neon::Float4 position(positions[k].x, positions[k].y, positions[k].z, 0.0f);
        if (noise.SampleQuintic(position) != samples[k]) {
            std::printf("position %u has two values\n", k);
            return 1;
        }
    }
    uint64_t hash = 14695981039346656037u; // FNV-1a
    for (const float sample : samples) {
        uint32_t bits;
        std::memcpy(&bits, &sample, sizeof(bits));
        hash = (hash ^ bits) * 1099511628211u;
    }
    std::printf("Vestrel %s, %s, %016llx\n", VESTREL_VERSION_STRING, SIMD_Neon::BackendName(),
                static_cast<unsigned long long>(hash));
    return 0;
}
