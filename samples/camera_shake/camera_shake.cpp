// A camera shaken by something heavy: two offsets and a roll, from three places of one 1D field, fading out.
// Prints the track as comma-separated values, and draws its curves.

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

constexpr float kSeconds = 2.0f;
constexpr float kCellsPerSecond = 14.0f;
constexpr uint32_t kWidth = 640;       // of the picture, and samples per curve
constexpr uint32_t kCurveHeight = 120; // in pixels
constexpr uint32_t kRowsOfTable = 21;

struct CTrack {
    const char* m_Name;
    float m_Place; // far enough from the others to be independent
    float m_Reach; // pixels or degrees
    CColour m_Colour;
};

constexpr CTrack kTracks[] = {{"x", 0.0f, 14.0f, {0.98f, 0.62f, 0.30f}},
                              {"y", 85.3f, 14.0f, {0.35f, 0.78f, 0.72f}},
                              {"roll", 170.6f, 2.5f, {0.72f, 0.60f, 0.95f}}};

/// The remaining part of the shake.
float DecayAt(float seconds) {
    const float left = 1.0f - seconds / kSeconds;
    return left * std::sqrt(left);
}

float SecondsOf(uint32_t index, uint32_t count) {
    return kSeconds * static_cast<float>(index) / static_cast<float>(count - 1);
}

/// `count` samples from beginning to end, each in [-1, 1].
std::vector<float> SampleTrack(const CFastNoise3& noise, const CTrack& track, uint32_t count) {
    std::vector<float> samples(count);
    for (uint32_t k = 0; k < count; ++k) {
        samples[k] = track.m_Place + kCellsPerSecond * SecondsOf(k, count);
    }
    // In place, which works in 1D.
    noise.SampleQuintic1D({samples.data(), count, sizeof(float)}, {samples.data(), count, sizeof(float)});
    for (uint32_t k = 0; k < count; ++k) {
        samples[k] *= DecayAt(SecondsOf(k, count));
    }
    return samples;
}

void PrintTable(const CFastNoise3& noise) {
    std::vector<float> columns[std::size(kTracks)];
    std::printf("seconds");
    for (size_t k = 0; k < std::size(kTracks); ++k) {
        columns[k] = SampleTrack(noise, kTracks[k], kRowsOfTable);
        std::printf(",%s", kTracks[k].m_Name);
    }
    for (uint32_t row = 0; row < kRowsOfTable; ++row) {
        std::printf("\n%.1f", static_cast<double>(SecondsOf(row, kRowsOfTable)));
        for (size_t k = 0; k < std::size(kTracks); ++k) {
            // Adding +0 turns -0 into +0 at the end.
            std::printf(",%.3f", static_cast<double>(kTracks[k].m_Reach * columns[k][row] + 0.0f));
        }
    }
    std::printf("\n");
}

/// The part of the pixel from `y` to `y` + 1 between two heights.
float Covered(float y, float from, float to) {
    return std::clamp(std::min(to, y + 1.0f) - std::max(from, y), 0.0f, 1.0f);
}

/// The curve, over the envelope that bounds it.
void DrawTrack(CPicture& picture, uint32_t top, const CTrack& track, const std::vector<float>& samples) {
    static constexpr CColour kGround = {0.075f, 0.085f, 0.11f};
    constexpr float kMiddle = 0.5f * kCurveHeight, kScale = 0.46f * kCurveHeight;
    for (uint32_t x = 0; x < kWidth; ++x) {
        const float here = kMiddle - kScale * samples[x];
        const float slope = x > 0 ? kScale * (samples[x - 1] - samples[x]) : 0.0f;
        // A steep line covers more of a column, so that it is equally thick everywhere.
        const float reach = 1.2f * std::sqrt(1.0f + slope * slope);
        const float decay = kScale * DecayAt(SecondsOf(x, kWidth));
        for (uint32_t y = 0; y < kCurveHeight; ++y) {
            const float place = static_cast<float>(y);
            const float within = Covered(place, kMiddle - decay, kMiddle + decay);
            const float filled = Covered(place, std::min(here, kMiddle), std::max(here, kMiddle));
            const float line = Covered(place, here - reach, here + reach);
            CColour colour = Mix(kGround, track.m_Colour, 0.10f * within + 0.28f * filled);
            colour = Mix(colour, track.m_Colour, line);
            picture.Set(x, top + y, colour);
        }
    }
}

std::vector<uint8_t> Draw() {
    CStdRandomGenerator generator(3);
    const CFastNoise3 noise(&generator);
    PrintTable(noise);
    CPicture picture(kWidth, kCurveHeight * std::size(kTracks));
    for (uint32_t k = 0; k < std::size(kTracks); ++k) {
        DrawTrack(picture, k * kCurveHeight, kTracks[k], SampleTrack(noise, kTracks[k], kWidth));
    }
    return PngOf(picture);
}

} // namespace

int main(int argumentCount, char** arguments) {
    return RunSample(argumentCount, arguments, "camera_shake", "camera_shake.png", Draw);
}
