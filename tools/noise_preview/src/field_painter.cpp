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

/// -1 to 1 becomes black to white.
uint8_t GreyOf(float value) {
    const float scaled = std::round((value + 1.0f) * 127.5f);
    return static_cast<uint8_t>(std::clamp(scaled, 0.0f, 255.0f));
}

} // namespace

uint64_t SampleCount(const COptions& options) {
    return options.m_Dimension == 1 ? options.m_Width : uint64_t{options.m_Width} * options.m_Height;
}

CFieldPainter::CFieldPainter(const CFastNoise3& noise, const COptions& options, CProgress& progress)
    : m_Noise(noise), m_Options(options), m_Progress(progress) {}

void CFieldPainter::Draw(CPicture& picture) {
    m_Options.m_Dimension == 1 ? _DrawCurve(picture) : _DrawSlice(picture);
}

void CFieldPainter::_DrawCurve(CPicture& picture) {
    std::vector<float> values(picture.m_Width);
    ForEachChunk(m_Options, [&](uint64_t first, uint32_t count) {
        _Sample(first, {values.data() + first, count});
    });
    NoisePreview::DrawCurve(picture, m_Options.m_Cells, std::move(values));
}

void CFieldPainter::_DrawSlice(CPicture& picture) {
    std::vector<float> values(kChunk);
    ForEachChunk(m_Options, [&](uint64_t first, uint32_t count) {
        _Sample(first, {values.data(), count});
        std::transform(values.begin(), values.begin() + count, picture.m_Pixels.data() + first, GreyOf);
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
