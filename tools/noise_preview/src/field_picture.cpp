#include "field_picture.h"

#include "progress.h"

#include <zr_maths/maths_noise_fast.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <vector>

namespace NoisePreview {

namespace {

using namespace Vestrel;

/// Positions per call of a sampler: enough to make the call's own cost vanish, few enough to stay in the
/// cache.
constexpr uint32_t kChunk = 16384;

/// How far the curve's picture reaches up and down, so that a value of 1 does not lie on the edge.
constexpr float kCurveRange = 1.1f;

/// Half the thickness of the curve in pixels.
constexpr float kCurveHalfWidth = 1.0f;

/// Runs `call` and adds the time that it takes to `seconds`.
template <typename TCall>
void Timed(double& seconds, const TCall& call) {
    const auto start = std::chrono::steady_clock::now();
    call();
    seconds += std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

void Sample3D(const CFastNoise3& noise, EQuality quality, const TStridedMemoryView<float>& output,
              const TStridedMemoryView<const TVector<float, 3>>& positions) {
    switch (quality) {
    case EQuality::kLinear:
        return noise.SampleLinear3D(output, positions);
    case EQuality::kCubic:
        return noise.SampleCubic3D(output, positions);
    case EQuality::kQuintic:
        return noise.SampleQuintic3D(output, positions);
    }
}

void Sample1D(const CFastNoise3& noise, EQuality quality, const TStridedMemoryView<float>& output,
              const TStridedMemoryView<const float>& positions) {
    switch (quality) {
    case EQuality::kLinear:
        return noise.SampleLinear1D(output, positions);
    case EQuality::kCubic:
        return noise.SampleCubic1D(output, positions);
    case EQuality::kQuintic:
        return noise.SampleQuintic1D(output, positions);
    }
}

/// The coordinate of a pixel's centre; pixels are square.
float CoordinateOf(uint32_t pixel, const COptions& options) {
    return static_cast<float>((pixel + 0.5) * options.m_Cells / options.m_Width);
}

/// -1 to 1 becomes black to white.
uint8_t GreyOf(float value) {
    const float scaled = std::round((value + 1.0f) * 127.5f);
    return static_cast<uint8_t>(std::clamp(scaled, 0.0f, 255.0f));
}

CFieldPicture DrawSlice(const CFastNoise3& noise, const COptions& options) {
    CFieldPicture result = {CPicture(options.m_Width, options.m_Height), 0, 0.0};
    std::vector<uint8_t>& pixels = result.m_Picture.m_Pixels;
    // One position more than is sampled, for the last one is read with 4 bytes behind it.
    std::vector<TVector<float, 3>> positions(kChunk + 1);
    std::vector<float> samples(kChunk);
    CProgress progress("sampling", pixels.size());
    for (size_t start = 0; start < pixels.size(); start += kChunk) {
        const uint32_t count = static_cast<uint32_t>(std::min<size_t>(kChunk, pixels.size() - start));
        for (uint32_t k = 0; k < count; ++k) {
            const size_t pixel = start + k;
            positions[k] = {CoordinateOf(static_cast<uint32_t>(pixel % options.m_Width), options),
                            CoordinateOf(static_cast<uint32_t>(pixel / options.m_Width), options),
                            options.m_Slice};
        }
        Timed(result.m_SamplingSeconds, [&] {
            Sample3D(noise, options.m_Quality, {samples.data(), count, sizeof(float)},
                     {positions.data(), count, sizeof(TVector<float, 3>)});
        });
        std::transform(samples.begin(), samples.begin() + count,
                       pixels.begin() + static_cast<std::ptrdiff_t>(start), GreyOf);
        progress.Show(start + count);
    }
    result.m_PositionCount = pixels.size();
    return result;
}

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

CFieldPicture DrawCurve(const CFastNoise3& noise, const COptions& options) {
    CFieldPicture result = {CPicture(options.m_Width, options.m_Height), options.m_Width, 0.0};
    CPicture& picture = result.m_Picture;
    std::vector<float> positions(kChunk);
    std::vector<float> heights(options.m_Width);
    CProgress progress("sampling", options.m_Width);
    for (uint32_t start = 0; start < options.m_Width;) {
        const uint32_t count = std::min(kChunk, options.m_Width - start);
        for (uint32_t k = 0; k < count; ++k) {
            positions[k] = CoordinateOf(start + k, options);
        }
        Timed(result.m_SamplingSeconds, [&] {
            Sample1D(noise, options.m_Quality, {heights.data() + start, count, sizeof(float)},
                     {positions.data(), count, sizeof(float)});
        });
        start += count;
        progress.Show(start);
    }

    DrawGrid(picture, options.m_Cells);
    const float middle = static_cast<float>(picture.m_Height) * 0.5f;
    std::transform(heights.begin(), heights.end(), heights.begin(),
                   [&](float value) { return middle - value / kCurveRange * middle; });
    for (uint32_t x = 0; x < picture.m_Width; ++x) {
        // A column covers the curve half-way to its neighbours, so that steep parts stay joined, and more of
        // it the steeper it is, so that the line is equally thick everywhere.
        const float here = heights[x];
        const float left = x > 0 ? (heights[x - 1] + here) * 0.5f : here;
        const float right = x + 1 < picture.m_Width ? (heights[x + 1] + here) * 0.5f : here;
        const float reach = kCurveHalfWidth * std::hypot(1.0f, right - left);
        DrawColumn(picture, x, std::min({left, here - reach, right}), std::max({left, here + reach, right}));
    }
    return result;
}

} // namespace

CFieldPicture DrawField(const COptions& options) {
    CStdRandomGenerator generator(options.m_Seed);
    const CFastNoise3 noise(&generator);
    return options.m_Dimension == 1 ? DrawCurve(noise, options) : DrawSlice(noise, options);
}

} // namespace NoisePreview
