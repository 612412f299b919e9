#include "curve.h"

#include <algorithm>
#include <cmath>

namespace NoisePreview {

namespace {

/// How far the picture reaches up and down, so that a value of 1 does not lie on the edge.
constexpr float kRange = 1.1f;

/// Half the thickness of the curve in pixels.
constexpr float kHalfWidth = 1.0f;

/// Lines at the lattice points, where they are not too close together, and at zero.
void DrawGrid(CPicture& picture, uint32_t cells) {
    constexpr uint8_t kGridGrey = 224;
    std::fill_n(picture.Row(picture.m_Height / 2), picture.m_Width, kGridGrey);
    if (picture.m_Width / cells < 8) {
        return;
    }
    for (uint32_t cell = 1; cell < cells; ++cell) {
        const uint32_t x = static_cast<uint32_t>(uint64_t{cell} * picture.m_Width / cells);
        for (uint32_t y = 0; y < picture.m_Height; ++y) {
            picture.Row(y)[x] = kGridGrey;
        }
    }
}

/// Darkens a column between two heights, in part where it covers a pixel in part.
void DrawColumn(CPicture& picture, uint32_t x, float top, float bottom) {
    const float last = static_cast<float>(picture.m_Height);
    const float from = std::clamp(top, 0.0f, last);
    const float to = std::clamp(bottom, 0.0f, last);
    for (uint32_t y = static_cast<uint32_t>(from); y < picture.m_Height && static_cast<float>(y) < to; ++y) {
        const float pixel = static_cast<float>(y);
        const float covered = std::min(to, pixel + 1.0f) - std::max(from, pixel);
        picture.Row(y)[x] = static_cast<uint8_t>(static_cast<float>(picture.Row(y)[x]) * (1.0f - covered));
    }
}

} // namespace

void DrawCurve(CPicture& picture, uint32_t cells, std::vector<float> heights) {
    std::fill(picture.m_Pixels.begin(), picture.m_Pixels.end(), uint8_t{255});
    DrawGrid(picture, cells);
    const float middle = static_cast<float>(picture.m_Height) * 0.5f;
    std::transform(heights.begin(), heights.end(), heights.begin(),
                   [&](float value) { return middle - value / kRange * middle; });
    for (uint32_t x = 0; x < picture.m_Width; ++x) {
        // A column covers the curve half-way to its neighbours, so that steep parts stay joined, and more of
        // it the steeper it is, so that the line is equally thick everywhere.
        const float here = heights[x];
        const float left = x > 0 ? (heights[x - 1] + here) * 0.5f : here;
        const float right = x + 1 < picture.m_Width ? (heights[x + 1] + here) * 0.5f : here;
        const float reach = kHalfWidth * std::hypot(1.0f, right - left);
        DrawColumn(picture, x, std::min({left, here - reach, right}), std::max({left, here + reach, right}));
    }
}

} // namespace NoisePreview
