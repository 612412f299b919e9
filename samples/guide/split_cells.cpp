#include <zr_maths/maths_noise_fast.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <vector>

using namespace Vestrel;
using CRecord = TPair<TVector<float, 4>, TVector<int, 4>>;

/// For coordinates between -2^31 and 2^31.
CRecord Split(float x, float y, float z) {
    const float cell[] = {std::floor(x), std::floor(y), std::floor(z)};
    return {{x - cell[0], y - cell[1], z - cell[2], 0.0f},
            {static_cast<int>(cell[0]) & 255, static_cast<int>(cell[1]) & 255,
             static_cast<int>(cell[2]) & 255, 0}};
}

int main() {
    CStdRandomGenerator generator(5);
    const CFastNoise3 noise(&generator);
    const std::vector<CRecord> records = {Split(1.3f, 2.6f, 0.5f), Split(-7.25f, 300.5f, 0.75f)};
    const uint32_t count = static_cast<uint32_t>(records.size());
    std::vector<TVector<float, 4>> gradients(count);
    noise.Sample1stOrderDerivativesQuintic(TMemoryView<const CRecord>(records.data(), count),
                                           TMemoryView<TVector<float, 4>>(gradients.data(), count));
    for (const TVector<float, 4>& gradient : gradients) {
        std::printf("(%+.3f, %+.3f, %+.3f)\n", static_cast<double>(gradient.x),
                    static_cast<double>(gradient.y), static_cast<double>(gradient.z));
    }
}
