#include "field_sampler.h"

#include <chrono>
#include <cmath>
#include <type_traits>
#include <vector>

namespace NoisePreview {

namespace {

using namespace Vestrel;

template <typename TPosition>
using TSampler = void (CFastNoise3::*)(const TStridedMemoryView<float>&,
                                       const TStridedMemoryView<const TPosition>&) const noexcept;

/// The samplers for a kind of position, in the order of EQuality.
template <typename TPosition>
constexpr TSampler<TPosition> kSamplers[3] = {};
template <>
constexpr TSampler<float> kSamplers<float>[] = {&CFastNoise3::SampleLinear1D, &CFastNoise3::SampleCubic1D,
                                                &CFastNoise3::SampleQuintic1D};
template <>
constexpr TSampler<TVector<float, 2>> kSamplers<TVector<float, 2>>[] = {
    &CFastNoise3::SampleLinear2D, &CFastNoise3::SampleCubic2D, &CFastNoise3::SampleQuintic2D};
template <>
constexpr TSampler<TVector<float, 3>> kSamplers<TVector<float, 3>>[] = {
    &CFastNoise3::SampleLinear3D, &CFastNoise3::SampleCubic3D, &CFastNoise3::SampleQuintic3D};
template <>
constexpr TSampler<TVector<float, 4>> kSamplers<TVector<float, 4>>[] = {
    &CFastNoise3::SampleLinear4D, &CFastNoise3::SampleCubic4D, &CFastNoise3::SampleQuintic4D};

/// The fractions of a position's coordinates, and the lattice cell.
using CSplitPosition = TPair<TVector<float, 4>, TVector<int, 4>>;

using TGradientSampler = void (CFastNoise3::*)(const TMemoryView<const CSplitPosition>&,
                                               const TMemoryView<TVector<float, 4>>&) const noexcept;

/// In the order of EQuality.
constexpr TGradientSampler kGradientSamplers[] = {&CFastNoise3::Sample1stOrderDerivativesLinear,
                                                  &CFastNoise3::Sample1stOrderDerivativesCubic,
                                                  &CFastNoise3::Sample1stOrderDerivativesQuintic};

/// Runs `call` and adds what it costs.
template <typename TCall>
void Timed(CSamplingCost& cost, uint32_t count, const TCall& call) {
    const auto start = std::chrono::steady_clock::now();
    call();
    cost.m_Seconds += std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    cost.m_PositionCount += count;
}

/// The coordinate of a pixel's centre; pixels are square.
float CoordinateOf(uint64_t pixel, const COptions& options) {
    return static_cast<float>((static_cast<double>(pixel) + 0.5) * options.m_Cells / options.m_Width);
}

template <typename TPosition>
TPosition PositionOf(uint64_t pixel, const COptions& options) {
    const float x = CoordinateOf(pixel % options.m_Width, options);
    const float y = CoordinateOf(pixel / options.m_Width, options);
    if constexpr (std::is_same_v<TPosition, float>) {
        return x;
    } else if constexpr (std::is_same_v<TPosition, TVector<float, 2>>) {
        return {x, y};
    } else if constexpr (std::is_same_v<TPosition, TVector<float, 3>>) {
        return {x, y, options.m_Slice};
    } else {
        return {x, y, options.m_Slice, options.m_SliceW};
    }
}

template <typename TPosition>
void SampleAt(const CFastNoise3& noise, const COptions& options, uint64_t first,
              const TMemoryView<float>& values, CSamplingCost& cost) {
    // One position more than is sampled, for the last one may be read with 4 bytes behind it.
    std::vector<TPosition> positions(size_t{values.m_Count} + 1);
    for (uint32_t k = 0; k < values.m_Count; ++k) {
        positions[k] = PositionOf<TPosition>(first + k, options);
    }
    const auto sampler = kSamplers<TPosition>[static_cast<size_t>(options.m_Quality)];
    Timed(cost, values.m_Count, [&] {
        (noise.*sampler)({values.m_Data, values.m_Count, sizeof(float)},
                         {positions.data(), values.m_Count, sizeof(TPosition)});
    });
}

/// The field repeats every 256 cells.
int CellOf(float floor) {
    return static_cast<int>(floor) & 255;
}

CSplitPosition SplitPositionOf(uint64_t pixel, const COptions& options) {
    const auto position = PositionOf<TVector<float, 3>>(pixel, options);
    const float x = std::floor(position.x);
    const float y = std::floor(position.y);
    const float z = std::floor(position.z);
    return {{position.x - x, position.y - y, position.z - z, 0.0f}, {CellOf(x), CellOf(y), CellOf(z), 0}};
}

} // namespace

void SampleValues(const CFastNoise3& noise, const COptions& options, uint64_t first,
                  TMemoryView<float> values, CSamplingCost& cost) {
    constexpr decltype(&SampleAt<float>) kByDimension[] = {SampleAt<float>, SampleAt<TVector<float, 2>>,
                                                           SampleAt<TVector<float, 3>>,
                                                           SampleAt<TVector<float, 4>>};
    kByDimension[options.m_Dimension - 1](noise, options, first, values, cost);
}

void SampleGradients(const CFastNoise3& noise, const COptions& options, uint64_t first,
                     TMemoryView<TVector<float, 4>> gradients, CSamplingCost& cost) {
    std::vector<CSplitPosition> positions(gradients.m_Count);
    for (uint32_t k = 0; k < gradients.m_Count; ++k) {
        positions[k] = SplitPositionOf(first + k, options);
    }
    const auto sampler = kGradientSamplers[static_cast<size_t>(options.m_Quality)];
    Timed(cost, gradients.m_Count, [&] {
        (noise.*sampler)({positions.data(), gradients.m_Count}, gradients);
    });
}

} // namespace NoisePreview
