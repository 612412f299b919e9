// Terrain in evening light. Its height is a sum of octaves of a slice through the 3D field; its slope is the
// sum of their gradients, so lighting needs no neighbouring samples.

#include "../support/picture.h"
#include "../support/png_file.h"
#include "../support/sample_program.h"

#include <zr_maths/maths_noise_fast.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <vector>

namespace {

using namespace Samples;
using namespace Vestrel;

constexpr uint32_t kWidth = 640;
constexpr uint32_t kHeight = 400;
constexpr float kPixelsPerCell = 160.0f; // of the first octave
constexpr int kOctaves = 8;

/// Height and slope along a row of the picture.
struct CRow {
    std::vector<float> m_Heights = std::vector<float>(kWidth);
    std::vector<TVector<float, 2>> m_Slopes = std::vector<TVector<float, 2>>(kWidth);
};

/// Splits a coordinate into cell and fraction, as batch gradients take it.
void Split(float x, float& fraction, int& cell) {
    const float floor = std::floor(x);
    fraction = x - floor;
    cell = static_cast<int>(floor) & 255;
}

struct COctave {
    float m_Frequency = 1.0f / kPixelsPerCell;
    float m_Amplitude = 1.0f;
    float m_Cosine = 1.0f, m_Sine = 0.0f; // of its rotation
    float m_Z = 0.37f;
};

/// Twice the frequency, less than half the amplitude, another slice, and turned by the angle of a 3-4-5
/// triangle to hide the axes of the lattice.
COctave Next(const COctave& last) {
    return {2.0f * last.m_Frequency, 0.46f * last.m_Amplitude, 0.8f * last.m_Cosine - 0.6f * last.m_Sine,
            0.6f * last.m_Cosine + 0.8f * last.m_Sine, last.m_Z + 11.3f};
}

void AddOctave(const CFastNoise3& noise, const COctave& octave, uint32_t y, CRow& row) {
    std::vector<TVector<float, 3>> positions(kWidth);
    std::vector<TPair<TVector<float, 4>, TVector<int, 4>>> cells(kWidth);
    const float cosine = octave.m_Cosine, sine = octave.m_Sine;
    for (uint32_t x = 0; x < kWidth; ++x) {
        const float u = static_cast<float>(x) * octave.m_Frequency;
        const float v = static_cast<float>(y) * octave.m_Frequency;
        positions[x] = {cosine * u - sine * v, sine * u + cosine * v, octave.m_Z};
        Split(positions[x].x, cells[x].first.x, cells[x].second.x);
        Split(positions[x].y, cells[x].first.y, cells[x].second.y);
        Split(positions[x].z, cells[x].first.z, cells[x].second.z);
    }
    std::vector<float> values(kWidth);
    std::vector<TVector<float, 4>> gradients(kWidth);
    noise.SampleQuintic3D({values.data(), kWidth, sizeof(float)},
                          {positions.data(), kWidth, sizeof(positions[0])});
    noise.Sample1stOrderDerivativesQuintic({cells.data(), kWidth}, {gradients.data(), kWidth});
    // Turn the gradient back, and scale it to cells of the first octave.
    const float steepness = octave.m_Amplitude * octave.m_Frequency * kPixelsPerCell;
    for (uint32_t x = 0; x < kWidth; ++x) {
        row.m_Heights[x] += octave.m_Amplitude * values[x];
        row.m_Slopes[x].x += steepness * (cosine * gradients[x].x + sine * gradients[x].y);
        row.m_Slopes[x].y += steepness * (cosine * gradients[x].y - sine * gradients[x].x);
    }
}

CRow SampleRow(const CFastNoise3& noise, uint32_t y) {
    CRow row;
    COctave octave;
    for (int k = 0; k < kOctaves; ++k) {
        AddOctave(noise, octave, y, row);
        octave = Next(octave);
    }
    return row;
}

/// The light comes from the upper left; y goes down.
float LightOf(TVector<float, 2> slope) {
    constexpr float kRelief = 0.55f; // height of a value of 1, in cells
    const float a = kRelief * slope.x, b = kRelief * slope.y;
    return std::max(0.0f, (0.6f * a + 0.5f * b + 0.62f) / std::sqrt(1.0f + a * a + b * b));
}

CColour ColourOf(float height, TVector<float, 2> slope) {
    static constexpr CColour kSea[] = {{0.04f, 0.12f, 0.24f}, {0.08f, 0.26f, 0.38f}, {0.22f, 0.48f, 0.53f}};
    static constexpr CColour kLand[] = {{0.83f, 0.74f, 0.54f}, {0.45f, 0.51f, 0.27f}, {0.28f, 0.39f, 0.22f},
                                        {0.45f, 0.39f, 0.30f}, {0.60f, 0.55f, 0.50f}, {0.97f, 0.97f, 0.98f}};
    if (height < 0.0f) {
        return RampAt(kSea, 1.0f + height * 1.6f);
    }
    static constexpr CColour kSun = {1.12f, 1.02f, 0.86f}, kSky = {0.16f, 0.20f, 0.30f};
    const CColour ground = RampAt(kLand, height * 1.15f);
    const float light = LightOf(slope);
    return {ground.r * (kSky.r + kSun.r * light), ground.g * (kSky.g + kSun.g * light),
            ground.b * (kSky.b + kSun.b * light)};
}

std::vector<uint8_t> Draw() {
    CStdRandomGenerator generator(5);
    const CFastNoise3 noise(&generator);
    CPicture picture(kWidth, kHeight);
    uint32_t landCount = 0;
    for (uint32_t y = 0; y < kHeight; ++y) {
        const CRow row = SampleRow(noise, y);
        for (uint32_t x = 0; x < kWidth; ++x) {
            picture.Set(x, y, ColourOf(row.m_Heights[x], row.m_Slopes[x]));
            landCount += row.m_Heights[x] < 0.0f ? 0 : 1;
        }
    }
    std::printf("%d octaves, %u of %u pixels are land\n", kOctaves, landCount, kWidth * kHeight);
    return PngOf(picture);
}

} // namespace

int main(int argumentCount, char** arguments) {
    return RunSample(argumentCount, arguments, "lit_heightfield", "lit_heightfield.png", Draw);
}
