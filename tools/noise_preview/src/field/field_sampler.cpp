#include "field/field_sampler.h"

#include <algorithm>
#include <chrono>
#include <cmath>

namespace NoisePreview {

namespace {

using namespace Vestrel;

using CSample = void(const CFastNoise3& noise, const float* positions, const TMemoryView<float>& values);

template <auto kSampler, typename TPosition>
void Sample(const CFastNoise3& noise, const float* positions, const TMemoryView<float>& values) {
    (noise.*kSampler)({values.m_Data, values.m_Count, sizeof(float)},
                      {reinterpret_cast<const TPosition*>(positions), values.m_Count, sizeof(TPosition)});
}

/// [dimension - 1][EQuality]
constexpr CSample* kSamplers[4][3] = {{Sample<&CFastNoise3::SampleLinear1D, float>,
                                       Sample<&CFastNoise3::SampleCubic1D, float>,
                                       Sample<&CFastNoise3::SampleQuintic1D, float>},
                                      {Sample<&CFastNoise3::SampleLinear2D, TVector<float, 2>>,
                                       Sample<&CFastNoise3::SampleCubic2D, TVector<float, 2>>,
                                       Sample<&CFastNoise3::SampleQuintic2D, TVector<float, 2>>},
                                      {Sample<&CFastNoise3::SampleLinear3D, TVector<float, 3>>,
                                       Sample<&CFastNoise3::SampleCubic3D, TVector<float, 3>>,
                                       Sample<&CFastNoise3::SampleQuintic3D, TVector<float, 3>>},
                                      {Sample<&CFastNoise3::SampleLinear4D, TVector<float, 4>>,
                                       Sample<&CFastNoise3::SampleCubic4D, TVector<float, 4>>,
                                       Sample<&CFastNoise3::SampleQuintic4D, TVector<float, 4>>}};

/// Fractions of the coordinates, and the lattice cell.
using CSplitPosition = TPair<TVector<float, 4>, TVector<int, 4>>;

using TGradientSampler = void (CFastNoise3::*)(const TMemoryView<const CSplitPosition>&,
                                               const TMemoryView<TVector<float, 4>>&) const noexcept;

/// [EQuality]
constexpr TGradientSampler kGradientSamplers[] = {&CFastNoise3::Sample1stOrderDerivativesLinear,
                                                  &CFastNoise3::Sample1stOrderDerivativesCubic,
                                                  &CFastNoise3::Sample1stOrderDerivativesQuintic};

template <typename TCall>
double SecondsOf(const TCall& call) {
    const auto start = std::chrono::steady_clock::now();
    call();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

/// The field repeats every 256 cells.
int CellOf(float floor) {
    return static_cast<int>(floor) & 255;
}

CSplitPosition Split(const float* position) {
    const float x = std::floor(position[0]);
    const float y = std::floor(position[1]);
    const float z = std::floor(position[2]);
    return {{position[0] - x, position[1] - y, position[2] - z, 0.0f}, {CellOf(x), CellOf(y), CellOf(z), 0}};
}

} // namespace

double SampleAt(const CFastNoise3& noise, uint32_t dimension, EQuality quality, const float* positions,
                TMemoryView<float> values) {
    return SecondsOf(
        [&] { kSamplers[dimension - 1][static_cast<size_t>(quality)](noise, positions, values); });
}

CFieldSampler::CFieldSampler(const CFastNoise3& noise, const CView& view, ESamples kind,
                             CSamplingRecord& record)
    : m_Noise(noise), m_View(view), m_Kind(kind), m_Record(record) {}

CSamples CFieldSampler::Next(uint64_t maxCount) {
    if (m_Begin == m_End) {
        _SampleChunk();
    }
    const size_t count = static_cast<size_t>(std::min<uint64_t>(maxCount, m_End - m_Begin));
    CSamples samples{count, m_Values.data() + m_Begin, m_Gradients.data() + m_Begin};
    m_Begin += count;
    return samples;
}

void CFieldSampler::_SampleChunk() {
    const uint32_t count =
        static_cast<uint32_t>(std::min<uint64_t>(kChunk, m_View.SampleCount() - m_SampledCount));
    _SetPositions(count);
    const double gradientSeconds = m_Kind == ESamples::kValues ? 0.0 : _SampleGradients(count);
    double valueSeconds = 0.0;
    if (m_Kind != ESamples::kGradients) {
        m_Values.resize(count);
        const TMemoryView<float> values(m_Values.data(), count);
        valueSeconds = SampleAt(m_Noise, m_View.m_Dimension, m_View.m_Quality, m_Positions.data(), values);
        m_Record.AddStatistics(values);
    }
    m_Record.AddTime(count, m_Kind == ESamples::kBoth ? gradientSeconds : gradientSeconds + valueSeconds);
    m_SampledCount += count;
    m_Begin = 0;
    m_End = count;
}

double CFieldSampler::_SampleGradients(uint32_t count) {
    m_Gradients.resize(count);
    std::vector<CSplitPosition> positions(count);
    for (uint32_t k = 0; k < count; ++k) {
        positions[k] = Split(&m_Positions[size_t{3} * k]);
    }
    const auto sampler = kGradientSamplers[static_cast<size_t>(m_View.m_Quality)];
    return SecondsOf([&] { (m_Noise.*sampler)({positions.data(), count}, {m_Gradients.data(), count}); });
}

float CFieldSampler::_CoordinateOf(uint64_t pixel, double origin) const {
    const double cells = (static_cast<double>(pixel) + 0.5) * m_View.m_Cells / m_View.m_Width;
    return static_cast<float>(origin + cells);
}

void CFieldSampler::_SetPositions(uint32_t count) {
    const size_t dimension = m_View.m_Dimension;
    m_Positions.resize(dimension * count);
    for (uint32_t k = 0; k < count; ++k) {
        const uint64_t pixel = m_SampledCount + k;
        const float x = _CoordinateOf(pixel % m_View.m_Width, m_View.m_Left);
        const float y = m_View.m_IsLine ? static_cast<float>(m_View.m_LineY)
                                        : _CoordinateOf(pixel / m_View.m_Width, m_View.m_Top);
        const float position[4] = {x, y, static_cast<float>(m_View.m_Slice),
                                   static_cast<float>(m_View.m_SliceW)};
        std::copy_n(position, dimension, &m_Positions[dimension * k]);
    }
}

} // namespace NoisePreview
