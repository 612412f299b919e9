#pragma once

#include "../support/picture.h"

#include <zr_maths/maths_noise_fast.h>

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace Samples {

/// The volume that both programs compute: kSide^3 samples, x by x, row by row, slice by slice.
constexpr uint32_t kSide = 256;
constexpr uint32_t kSliceCount = kSide * kSide;

/// The same field in every process: the same seed gives the same bits.
inline Vestrel::CFastNoise3 VolumeNoise() {
    Vestrel::CStdRandomGenerator generator(31);
    return Vestrel::CFastNoise3(&generator);
}

/// Writes the samples of slice `z`. The field is tilted against the volume to hide the axes of the lattice.
inline void SampleSlice(const Vestrel::CFastNoise3& noise, uint32_t z, float* samples) {
    constexpr float kCellsPerSample = 1.0f / 32.0f;
    std::vector<Vestrel::TVector<float, 3>> positions(kSliceCount);
    for (uint32_t k = 0; k < kSliceCount; ++k) {
        const float u = kCellsPerSample * static_cast<float>(k % kSide);
        const float v = kCellsPerSample * static_cast<float>(k / kSide);
        const float w = kCellsPerSample * static_cast<float>(z);
        positions[k] = {0.8f * u - 0.36f * v - 0.48f * w, 0.8f * v - 0.6f * w,
                        0.6f * u + 0.48f * v + 0.64f * w};
    }
    noise.SampleQuintic3D({samples, kSliceCount, sizeof(float)},
                          {positions.data(), kSliceCount, sizeof(positions[0])});
}

/// A picture of a plane through all slices: row z is the middle row of slice z.
class CCutPicture {
public:
    void SetRow(uint32_t z, const float* samples) {
        static constexpr CColour kColours[] = {{0.03f, 0.04f, 0.10f},
                                               {0.09f, 0.16f, 0.34f},
                                               {0.13f, 0.42f, 0.52f},
                                               {0.55f, 0.74f, 0.60f},
                                               {0.98f, 0.93f, 0.72f}};
        for (uint32_t x = 0; x < kSide; ++x) {
            const float vein = 1.0f - std::fabs(samples[x]);
            const CColour colour = RampAt(kColours, vein * vein);
            for (uint32_t pixel = 0; pixel < kScale * kScale; ++pixel) {
                m_Picture.Set(kScale * x + pixel % kScale, kScale * z + pixel / kScale, colour);
            }
        }
    }

    const CPicture& Picture() const {
        return m_Picture;
    }

private:
    static constexpr uint32_t kScale = 2;
    CPicture m_Picture{kScale * kSide, kScale* kSide};
};

/// The offset in samples of the row of slice `z` that is in the picture.
constexpr size_t RowOfCut(uint32_t z) {
    return static_cast<size_t>(z) * kSliceCount + kSliceCount / 2;
}

} // namespace Samples
