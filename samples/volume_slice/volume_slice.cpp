// An animated slice through a volume: the same field twice. On the left all values turn at one speed, so the
// field is back after one unit of time and the animation has no seam. On the right each has its own speed,
// and the field never returns.

#include "../support/picture.h"
#include "../support/sample_program.h"
#include "../support/webp_file.h"

#include <zr_maths/maths_noise_fast.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <stdexcept>
#include <vector>

namespace {

using namespace Samples;
using namespace Vestrel;

constexpr uint32_t kSide = 316; // of a slice, in pixels
constexpr uint32_t kGap = 8;
constexpr uint32_t kWidth = 2 * kSide + kGap;
constexpr uint32_t kCount = kSide * kSide;
constexpr int kFrames = 50;
constexpr int kMillisecondsPerFrame = 50;

/// One slice of the volume: a plane tilted to hide the axes of the lattice.
std::vector<TVector<float, 3>> SlicePositions() {
    constexpr float kCellsPerPixel = 5.0f / kSide;
    std::vector<TVector<float, 3>> positions(kCount);
    for (uint32_t k = 0; k < kCount; ++k) {
        const float u = kCellsPerPixel * static_cast<float>(k % kSide);
        const float v = kCellsPerPixel * static_cast<float>(k / kSide);
        positions[k] = {0.8f * u - 0.36f * v, 0.8f * v, 0.6f * u + 0.48f * v};
    }
    return positions;
}

/// The slice at a time.
std::vector<float> SampleAt(float time, CRotatableFastNoise3& noise,
                            const std::vector<TVector<float, 3>>& positions) {
    noise.RotateBasis(time);
    std::vector<float> samples(kCount);
    noise.SampleQuintic3D({samples.data(), kCount, sizeof(float)},
                          {positions.data(), kCount, sizeof(positions[0])});
    return samples;
}

CColour ColourOf(float value) {
    static constexpr CColour kColours[] = {
        {0.04f, 0.06f, 0.16f}, {0.10f, 0.22f, 0.42f}, {0.16f, 0.47f, 0.58f}, {0.93f, 0.88f, 0.74f},
        {0.93f, 0.60f, 0.28f}, {0.70f, 0.22f, 0.18f}, {0.28f, 0.05f, 0.13f}};
    return RampAt(kColours, 0.5f + 0.52f * value);
}

void Paint(CPicture& picture, uint32_t left, const std::vector<float>& samples) {
    for (uint32_t k = 0; k < kCount; ++k) {
        picture.Set(left + k % kSide, k / kSide, ColourOf(samples[k]));
    }
}

/// The greatest difference between samples.
float Distance(const std::vector<float>& a, const std::vector<float>& b) {
    float distance = 0.0f;
    for (uint32_t k = 0; k < kCount; ++k) {
        distance = std::max(distance, std::fabs(a[k] - b[k]));
    }
    return distance;
}

std::vector<uint8_t> Draw() {
    CStdRandomGenerator generator(20);
    CRotatableFastNoise3 uniform(&generator);
    CRotatableFastNoise3 varied(uniform);
    uniform.SetSpinVariation(0.0f);
    varied.SetSpinVariation(1.0f); // from half a turn to one and a half per unit of time

    const std::vector<TVector<float, 3>> positions = SlicePositions();
    const std::vector<float> first = SampleAt(0.0f, uniform, positions);
    const float uniformDistance = Distance(first, SampleAt(1.0f, uniform, positions));
    const float variedDistance = Distance(first, SampleAt(1.0f, varied, positions));
    std::printf("after one unit of time, samples are off by up to %.1g at one speed, and %.1g at many\n",
                static_cast<double>(uniformDistance), static_cast<double>(variedDistance));
    if (uniformDistance > 1e-5f || variedDistance < 0.1f) {
        throw std::runtime_error(
            "the left slice should be back after one unit of time, and the right one not");
    }

    CPicture picture(kWidth, kSide);
    std::fill(picture.m_Pixels.begin(), picture.m_Pixels.end(), uint8_t{255});
    CWebpAnimation animation(kWidth, kSide, kMillisecondsPerFrame, 65.0f);
    for (int frame = 0; frame < kFrames; ++frame) {
        const float time = static_cast<float>(frame) / static_cast<float>(kFrames);
        Paint(picture, 0, SampleAt(time, uniform, positions));
        Paint(picture, kSide + kGap, SampleAt(time, varied, positions));
        animation.Add(picture);
    }
    return animation.Finish();
}

} // namespace

int main(int argumentCount, char** arguments) {
    return RunSample(argumentCount, arguments, "volume_slice", "volume_slice.webp", Draw);
}
