#include "field_painter.h"

#include "curve.h"

#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

namespace NoisePreview {

namespace {

using namespace Vestrel;

/// Positions per call of a sampler: enough to make the call's own cost vanish, few enough to stay in the
/// cache.
constexpr uint32_t kChunk = 16384;

/// Calls `use` with the first sample of each piece of a picture, and with how many there are.
template <typename TUse>
void ForEachChunk(const COptions& options, const TUse& use) {
    const uint64_t total = SampleCount(options);
    for (uint64_t first = 0; first < total; first += kChunk) {
        use(first, static_cast<uint32_t>(std::min<uint64_t>(kChunk, total - first)));
    }
}

uint8_t Rounded(float grey) {
    return static_cast<uint8_t>(std::clamp(std::round(grey), 0.0f, 255.0f));
}

/// -1 to 1 becomes black to white.
uint8_t GreyOf(float value) {
    return Rounded((value + 1.0f) * 127.5f);
}

/// How bright the field is as a surface over x and y, in the manner of Lambert: the cosine of the angle
/// between its normal (-a, -b, 1) and the direction (-1, -1, 1) of the light, where y goes down.
uint8_t LightOf(const TVector<float, 4>& gradient) {
    constexpr float kRelief = 0.3f; // the height of a value of 1 in cells; with more, many slopes are black
    const float a = kRelief * gradient.x;
    const float b = kRelief * gradient.y;
    return Rounded(255.0f * (1.0f + a + b) / std::sqrt(3.0f * (1.0f + a * a + b * b)));
}

} // namespace

uint64_t SampleCount(const COptions& options) {
    return options.m_Dimension == 1 ? options.m_Width : uint64_t{options.m_Width} * options.m_Height;
}

CFieldPainter::CFieldPainter(const CFastNoise3& noise, const COptions& options, CProgress& progress)
    : m_Noise(noise), m_Options(options), m_Progress(progress) {}

void CFieldPainter::Draw(CPicture& picture) {
    if (m_Options.m_Dimension == 1) {
        _DrawCurve(picture);
    } else if (m_Options.m_Shade == EShade::kGradient) {
        _DrawGradients(picture);
    } else {
        _DrawValues(picture);
    }
}

void CFieldPainter::_DrawCurve(CPicture& picture) {
    std::vector<float> values(picture.m_Width);
    ForEachChunk(m_Options, [&](uint64_t first, uint32_t count) {
        _Sample(first, {values.data() + first, count});
    });
    NoisePreview::DrawCurve(picture, m_Options.m_Cells, std::move(values));
}

void CFieldPainter::_DrawValues(CPicture& picture) {
    std::vector<float> values(kChunk);
    ForEachChunk(m_Options, [&](uint64_t first, uint32_t count) {
        _Sample(first, {values.data(), count});
        std::transform(values.begin(), values.begin() + count, picture.m_Pixels.data() + first, GreyOf);
    });
}

void CFieldPainter::_DrawGradients(CPicture& picture) {
    std::vector<TVector<float, 4>> gradients(kChunk);
    std::vector<float> values(kChunk);
    ForEachChunk(m_Options, [&](uint64_t first, uint32_t count) {
        SampleGradients(m_Noise, m_Options, first, {gradients.data(), count}, m_Cost);
        std::transform(gradients.begin(), gradients.begin() + count, picture.m_Pixels.data() + first,
                       LightOf);
        if (m_Options.m_HasStatistics) {
            CSamplingCost notDrawn;
            SampleValues(m_Noise, m_Options, first, {values.data(), count}, notDrawn);
            m_Statistics.Add({values.data(), count});
        }
        m_Progress.Show(m_Cost.m_PositionCount);
    });
}

void CFieldPainter::_Sample(uint64_t first, TMemoryView<float> values) {
    SampleValues(m_Noise, m_Options, first, values, m_Cost);
    if (m_Options.m_HasStatistics) {
        m_Statistics.Add(values);
    }
    m_Progress.Show(m_Cost.m_PositionCount);
}

} // namespace NoisePreview
