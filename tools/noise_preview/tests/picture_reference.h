// Expected pictures by direct calls of the samplers: the grey of each pixel before rounding.
#pragma once

#include <zr_maths/maths_noise_fast.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <string>
#include <vector>

namespace PictureReference {

using namespace Vestrel;

// More pixels than the program samples per chunk; 20 of them per cell.
inline constexpr uint32_t kWidth = 240;
inline constexpr uint32_t kHeight = 140;
inline constexpr uint32_t kPixelCount = kWidth * kHeight;
inline constexpr uint32_t kSeed = 7;
inline const std::string kOptions = "--size 240x140 --cells 12 --seed 7 ";

/// make(x, y) for the centre of each pixel.
template <typename TMake>
auto RecordsOf(const TMake& make) {
    std::vector<decltype(make(0.0f, 0.0f))> records(kPixelCount);
    for (uint32_t k = 0; k < kPixelCount; ++k) {
        records[k] = make(static_cast<float>((k % kWidth + 0.5) / 20.0),
                          static_cast<float>((k / kWidth + 0.5) / 20.0));
    }
    return records;
}

inline auto PlanePositions() {
    return RecordsOf([](float x, float y) { return TVector<float, 2>{x, y}; });
}

inline auto SlicePositions(float z) {
    return RecordsOf([z](float x, float y) { return TVector<float, 3>{x, y, z}; });
}

inline auto SlicePositions(float z, float w) {
    return RecordsOf([z, w](float x, float y) { return TVector<float, 4>{x, y, z, w}; });
}

template <typename TPosition>
using TSampler = void (CFastNoise3::*)(const TStridedMemoryView<float>&,
                                       const TStridedMemoryView<const TPosition>&) const noexcept;

/// Black at -1, white at 1.
template <typename TPosition>
std::vector<double> DrawValues(const CFastNoise3& noise, TSampler<TPosition> sampler,
                               const std::vector<TPosition>& positions) {
    std::vector<float> samples(kPixelCount);
    (noise.*sampler)({samples.data(), kPixelCount, 4}, {positions.data(), kPixelCount, sizeof(TPosition)});
    std::vector<double> greys(kPixelCount);
    std::transform(samples.begin(), samples.end(), greys.begin(), [](float sample) {
        return std::clamp((static_cast<double>(sample) + 1.0) * 127.5, 0.0, 255.0);
    });
    return greys;
}

using CSplitPosition = TPair<TVector<float, 4>, TVector<int, 4>>;
using TGradientSampler = void (CFastNoise3::*)(const TMemoryView<const CSplitPosition>&,
                                               const TMemoryView<TVector<float, 4>>&) const noexcept;

/// By the formula in --help.
inline std::vector<double> DrawGradients(const CFastNoise3& noise, TGradientSampler sampler, int zCell,
                                         float zFraction) {
    const auto positions = RecordsOf([&](float x, float y) {
        const int i = static_cast<int>(x);
        const int j = static_cast<int>(y);
        return CSplitPosition{{x - static_cast<float>(i), y - static_cast<float>(j), zFraction, 0.0f},
                              {i, j, zCell, 0}};
    });
    std::vector<TVector<float, 4>> gradients(kPixelCount);
    (noise.*sampler)({positions.data(), kPixelCount}, {gradients.data(), kPixelCount});
    std::vector<double> greys(kPixelCount);
    std::transform(gradients.begin(), gradients.end(), greys.begin(), [](const TVector<float, 4>& gradient) {
        const double a = 0.3 * static_cast<double>(gradient.x);
        const double b = 0.3 * static_cast<double>(gradient.y);
        return 255.0 * std::max(0.0, 1.0 + a + b) / std::sqrt(3.0 * (1.0 + a * a + b * b));
    });
    return greys;
}

} // namespace PictureReference
