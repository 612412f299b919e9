#include "field/field_sampler.h"

#include <chrono>
#include <cmath>

namespace NoisePreview {

namespace {

using namespace Vestrel;

/// Samples packed positions.
using CSample = void(const CFastNoise3& noise, const float* positions, const TMemoryView<float>& values);

template <auto kSampler, typename TPosition>
void Sample(const CFastNoise3& noise, const float* positions, const TMemoryView<float>& values) {
    (noise.*kSampler)({values.m_Data, values.m_Count, sizeof(float)},
                      {reinterpret_cast<const TPosition*>(positions), values.m_Count, sizeof(TPosition)});
}

/// By dimension, and then in the order of EQuality.
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

/// The fractions of a position's coordinates, and the lattice cell.
using CSplitPosition = TPair<TVector<float, 4>, TVector<int, 4>>;

using TGradientSampler = void (CFastNoise3::*)(const TMemoryView<const CSplitPosition>&,
                                               const TMemoryView<TVector<float, 4>>&) const noexcept;

/// In the order of EQuality.
constexpr TGradientSampler kGradientSamplers[] = {&CFastNoise3::Sample1stOrderDerivativesLinear,
                                                  &CFastNoise3::Sample1stOrderDerivativesCubic,
                                                  &CFastNoise3::Sample1stOrderDerivativesQuintic};

/// Runs `call` and returns the seconds that it takes.
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

CFieldSampler::CFieldSampler(const CFastNoise3& noise, const COptions& options, CSamplingRecord& record)
    : m_Noise(noise), m_Options(options), m_Record(record) {
    if (options.m_IsTile) {
        // One period ends and the next begins in the middle of the picture.
        constexpr double kPeriod = 256.0;
        m_Left = kPeriod - 0.5 * options.m_Cells;
        m_Top = kPeriod - 0.5 * options.m_Cells * options.m_Height / options.m_Width;
    }
}

void CFieldSampler::SampleValues(uint64_t first, TMemoryView<float> values) {
    _SetPositions(first, values.m_Count);
    SampleAt(m_Positions.data(), values);
}

void CFieldSampler::SampleValuesBeside(uint64_t first, TMemoryView<float> values) {
    _SetPositions(first, values.m_Count);
    _Sample(m_Positions.data(), values);
    if (m_Record.m_HasStatistics) {
        m_Record.m_Statistics.Add(values);
    }
}

void CFieldSampler::SampleGradients(uint64_t first, TMemoryView<TVector<float, 4>> gradients) {
    _SetPositions(first, gradients.m_Count);
    std::vector<CSplitPosition> cells(gradients.m_Count);
    for (uint32_t k = 0; k < gradients.m_Count; ++k) {
        cells[k] = Split(&m_Positions[size_t{3} * k]);
    }
    const auto sampler = kGradientSamplers[static_cast<size_t>(m_Options.m_Quality)];
    m_Record.Add(gradients.m_Count, SecondsOf([&] {
                     (m_Noise.*sampler)({cells.data(), gradients.m_Count}, gradients);
                 }));
}

void CFieldSampler::SampleAt(const float* positions, TMemoryView<float> values) {
    m_Record.Add(values.m_Count, SecondsOf([&] { _Sample(positions, values); }));
    if (m_Record.m_HasStatistics) {
        m_Record.m_Statistics.Add(values);
    }
}

void CFieldSampler::_Sample(const float* positions, const TMemoryView<float>& values) const {
    kSamplers[m_Options.m_Dimension - 1][static_cast<size_t>(m_Options.m_Quality)](m_Noise, positions,
                                                                                   values);
}

float CFieldSampler::_CoordinateOf(uint64_t pixel, double origin) const {
    // The centre of a pixel; pixels are square.
    const double cells = (static_cast<double>(pixel) + 0.5) * m_Options.m_Cells / m_Options.m_Width;
    return static_cast<float>(origin + cells);
}

void CFieldSampler::_SetPositions(uint64_t first, uint32_t count) {
    const size_t dimension = m_Options.m_Dimension;
    m_Positions.resize(dimension * count);
    for (uint32_t k = 0; k < count; ++k) {
        const uint64_t pixel = first + k;
        const float x = _CoordinateOf(pixel % m_Options.m_Width, m_Left);
        const float y =
            m_Options.m_IsCurve ? m_Options.m_LineY : _CoordinateOf(pixel / m_Options.m_Width, m_Top);
        const float position[4] = {x, y, m_Options.m_Slice, m_Options.m_SliceW};
        std::copy_n(position, dimension, &m_Positions[dimension * k]);
    }
}

} // namespace NoisePreview
