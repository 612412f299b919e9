// How to sum octaves: sample one object at several frequencies, and add the samples. Each octave needs its
// own offset, as in the right half of the picture. Without offsets, as on the left, all octaves meet at the
// origin: every frequency hits the same lattice point there, so its value makes up the whole sum, and the
// same values surround it in every octave. That spot repeats with the field, every 256 cells.

#include "../support/picture.h"
#include "../support/png_file.h"
#include "../support/sample_program.h"

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

constexpr uint32_t kSide = 316; // of a half, in pixels
constexpr uint32_t kGap = 8;
constexpr uint32_t kCount = kSide * kSide;
constexpr int kOctaves = 8;

/// Any two octaves still meet somewhere, as any two lattices of different sizes do, but no three do, and
/// none at the origin.
constexpr TVector<float, 3> kOffset = {37.31f, 71.83f, 13.57f};

/// The origin is in the middle.
std::vector<TVector<float, 3>> Positions() {
    constexpr float kCellsPerPixel = 3.0f / kSide;
    std::vector<TVector<float, 3>> positions(kCount);
    for (uint32_t k = 0; k < kCount; ++k) {
        positions[k] = {kCellsPerPixel * (static_cast<float>(k % kSide) - 0.5f * kSide),
                        kCellsPerPixel * (static_cast<float>(k / kSide) - 0.5f * kSide), 0.0f};
    }
    return positions;
}

/// The sum of all octaves, relative to its bound. Octave k is moved by k times the offset.
std::vector<float> SumOctaves(const CFastNoise3& noise, const std::vector<TVector<float, 3>>& positions,
                              TVector<float, 3> offset) {
    const uint32_t count = static_cast<uint32_t>(positions.size());
    std::vector<TVector<float, 3>> moved(count);
    std::vector<float> samples(count), sums(count);
    float frequency = 1.0f, amplitude = 1.0f, all = 0.0f;
    for (int octave = 0; octave < kOctaves; ++octave) {
        const float times = static_cast<float>(octave);
        for (uint32_t k = 0; k < count; ++k) {
            moved[k] = {frequency * positions[k].x + times * offset.x,
                        frequency * positions[k].y + times * offset.y,
                        frequency * positions[k].z + times * offset.z};
        }
        noise.SampleQuintic3D({samples.data(), count, sizeof(float)},
                              {moved.data(), count, sizeof(moved[0])});
        for (uint32_t k = 0; k < count; ++k) {
            sums[k] += amplitude * samples[k];
        }
        all += amplitude;
        frequency *= 2.0f;
        amplitude *= 0.7f;
    }
    for (float& sum : sums) {
        sum /= all;
    }
    return sums;
}

void Paint(CPicture& picture, uint32_t left, const std::vector<float>& sums) {
    static constexpr CColour kColours[] = {{0.05f, 0.05f, 0.13f}, {0.17f, 0.14f, 0.37f},
                                           {0.45f, 0.23f, 0.46f}, {0.80f, 0.40f, 0.40f},
                                           {0.97f, 0.70f, 0.44f}, {1.00f, 0.96f, 0.80f}};
    for (uint32_t k = 0; k < kCount; ++k) {
        picture.Set(left + k % kSide, k / kSide, RampAt(kColours, 0.5f + 0.9f * sums[k]));
    }
}

std::vector<uint8_t> Draw() {
    CStdRandomGenerator generator(181);
    const CFastNoise3 noise(&generator);
    const TVector<float, 3> none = {0.0f, 0.0f, 0.0f};

    const std::vector<TVector<float, 3>> spots = {none, {256.0f, 0.0f, 0.0f}};
    const std::vector<float> without = SumOctaves(noise, spots, none);
    const std::vector<float> with = SumOctaves(noise, spots, kOffset);
    const float value = noise.SampleQuintic(SIMD_Neon::Float4(0.0f));
    std::printf("the lattice point at the origin: %+.3f\n", static_cast<double>(value));
    std::printf("octaves there, and 256 cells on, without offsets: %+.3f, %+.3f\n",
                static_cast<double>(without[0]), static_cast<double>(without[1]));
    std::printf("octaves there, and 256 cells on, with offsets: %+.3f, %+.3f\n", static_cast<double>(with[0]),
                static_cast<double>(with[1]));
    if (std::fabs(without[0] - value) > 1e-5f || std::fabs(with[0] - value) < 0.1f) {
        throw std::runtime_error("octaves should meet at the origin without offsets alone");
    }

    const std::vector<TVector<float, 3>> positions = Positions();
    CPicture picture(2 * kSide + kGap, kSide);
    std::fill(picture.m_Pixels.begin(), picture.m_Pixels.end(), uint8_t{255});
    Paint(picture, 0, SumOctaves(noise, positions, none));
    Paint(picture, kSide + kGap, SumOctaves(noise, positions, kOffset));
    return PngOf(picture);
}

} // namespace

int main(int argumentCount, char** arguments) {
    return RunSample(argumentCount, arguments, "octaves", "octaves.png", Draw);
}
