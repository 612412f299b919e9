#include "painting/field_painter.h"

#include "painting/colour_map.h"
#include "painting/compare_painter.h"
#include "painting/line_painters.h"
#include "painting/tile_painter.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace NoisePreview {

namespace {

using namespace Vestrel;

/// How bright the field is as a surface over x and y, in the manner of Lambert: the cosine of the angle
/// between its normal (-a, -b, 1) and the direction (-1, -1, 1) of the light, where y goes down.
float LightOf(const TVector<float, 4>& gradient) {
    constexpr float kRelief = 0.3f; // the height of a value of 1 in cells; with more, many slopes are black
    const float a = kRelief * gradient.x;
    const float b = kRelief * gradient.y;
    return std::max(0.0f, (1.0f + a + b) / std::sqrt(3.0f * (1.0f + a * a + b * b)));
}

/// A colour in the light; level ground has the colour itself.
CPixel Lit(const CPixel& colour, float light) {
    const float share = light * std::sqrt(3.0f);
    return {std::min(1.0f, colour.r * share), std::min(1.0f, colour.g * share),
            std::min(1.0f, colour.b * share)};
}

} // namespace

std::unique_ptr<CPainter> MakePainter(const CFastNoise3& noise, const COptions& options,
                                      CSamplingRecord& record) {
    if (options.m_Compare != ECompare::kNothing) {
        return std::make_unique<CComparePainter>(noise, options, record);
    }
    CFieldSampler sampler(noise, options, record);
    if (options.m_IsCurve) {
        return std::make_unique<CLinePainter>(std::move(sampler));
    }
    std::unique_ptr<CPainter> painter;
    if (options.m_Dimension == 1) {
        painter = std::make_unique<CCurvePainter>(std::move(sampler));
    } else {
        painter = std::make_unique<CFieldPainter>(std::move(sampler));
    }
    return options.m_IsTile ? std::make_unique<CTilePainter>(std::move(painter), options)
                            : std::move(painter);
}

CFieldPainter::CFieldPainter(CFieldSampler sampler)
    : m_Sampler(std::move(sampler)), m_Values(CFieldSampler::kChunk), m_Gradients(CFieldSampler::kChunk) {}

void CFieldPainter::Paint(uint64_t first, std::span<CPixel> pixels) {
    const uint64_t firstPixel = first * m_Sampler.Options().m_Width;
    ForEachChunk(pixels.size(), [&](uint64_t offset, uint32_t count) {
        const std::span<CPixel> part = pixels.subspan(offset, count);
        if (m_Sampler.Options().m_Shade == EShade::kGradient) {
            _PaintGradients(firstPixel + offset, part);
        } else {
            _PaintValues(firstPixel + offset, part);
        }
    });
}

void CFieldPainter::_PaintValues(uint64_t first, std::span<CPixel> pixels) {
    const EColours colours = m_Sampler.Options().m_Colours;
    m_Sampler.SampleValues(first, {m_Values.data(), static_cast<uint32_t>(pixels.size())});
    std::transform(pixels.begin(), pixels.end(), m_Values.begin(), pixels.begin(),
                   [&](const CPixel&, float value) { return ColourOf(colours, value); });
}

void CFieldPainter::_PaintGradients(uint64_t first, std::span<CPixel> pixels) {
    const EColours colours = m_Sampler.Options().m_Colours;
    const uint32_t count = static_cast<uint32_t>(pixels.size());
    m_Sampler.SampleGradients(first, {m_Gradients.data(), count});
    if (colours != EColours::kGrey || m_Sampler.Options().m_HasStatistics) {
        m_Sampler.SampleValuesBeside(first, {m_Values.data(), count});
    }
    for (size_t k = 0; k < count; ++k) {
        const float light = LightOf(m_Gradients[k]);
        pixels[k] = colours == EColours::kGrey ? Grey(light) : Lit(ColourOf(colours, m_Values[k]), light);
    }
}

} // namespace NoisePreview
