#include "painting/line_painters.h"

#include "painting/label.h"

#include <utility>
#include <vector>

namespace NoisePreview {

namespace {

using namespace Vestrel;

/// How far a plot of values reaches up and down, so that a value of 1 does not lie on the edge.
constexpr float kValueRange = 1.1f;

/// Likewise one of derivatives: two values are at most 2 apart, and the steepest fade, the quintic one, has a
/// slope of 15 / 8.
constexpr float kDerivativeRange = 4.0f;

constexpr CPixel kBlack = {0.0f, 0.0f, 0.0f};
constexpr CPixel kBlue = {0.0f, 0.35f, 0.75f};

/// The first row of samples.
std::vector<float> ValuesOf(CFieldSampler& sampler) {
    std::vector<float> values(sampler.Options().m_Width);
    ForEachChunk(values.size(), [&](uint64_t first, uint32_t count) {
        sampler.SampleValues(first, {values.data() + first, count});
    });
    return values;
}

/// Likewise of derivatives along x.
std::vector<float> DerivativesOf(CFieldSampler& sampler) {
    std::vector<float> derivatives(sampler.Options().m_Width);
    std::vector<TVector<float, 4>> gradients(CFieldSampler::kChunk);
    ForEachChunk(derivatives.size(), [&](uint64_t first, uint32_t count) {
        sampler.SampleGradients(first, {gradients.data(), count});
        for (uint32_t k = 0; k < count; ++k) {
            derivatives[first + k] = gradients[k].x;
        }
    });
    return derivatives;
}

} // namespace

CCurvePainter::CCurvePainter(CFieldSampler sampler) : m_Sampler(std::move(sampler)) {}

void CCurvePainter::Paint(uint64_t first, std::span<CPixel> pixels) {
    const COptions& options = m_Sampler.Options();
    if (!m_Plot) {
        m_Plot.emplace(ValuesOf(m_Sampler), kValueRange, options.m_Height, options.m_Cells, kBlack);
    }
    for (uint64_t row = 0; row < pixels.size() / options.m_Width; ++row) {
        m_Plot->PaintRow(first + row, pixels.subspan(row * options.m_Width, options.m_Width));
    }
}

CLinePainter::CLinePainter(CFieldSampler sampler)
    : m_Sampler(std::move(sampler)), m_UpperRowCount((uint64_t{m_Sampler.Options().m_Height} + 1) / 2) {}

void CLinePainter::Paint(uint64_t first, std::span<CPixel> pixels) {
    if (!m_Values) {
        _Sample();
    }
    const uint64_t width = m_Sampler.Options().m_Width;
    for (uint64_t row = 0; row < pixels.size() / width; ++row) {
        _PaintRow(first + row, pixels.subspan(row * width, width));
    }
}

void CLinePainter::_Sample() {
    const COptions& options = m_Sampler.Options();
    const uint64_t lowerRowCount = options.m_Height - m_UpperRowCount;
    m_Values.emplace(ValuesOf(m_Sampler), kValueRange, m_UpperRowCount, options.m_Cells, kBlack);
    m_Derivatives.emplace(DerivativesOf(m_Sampler), kDerivativeRange, lowerRowCount, options.m_Cells, kBlue);
}

void CLinePainter::_PaintRow(uint64_t row, std::span<CPixel> pixels) const {
    constexpr uint64_t kMargin = 6; // of the labels
    const bool isUpper = row < m_UpperRowCount;
    const uint64_t plotRow = isUpper ? row : row - m_UpperRowCount;
    (isUpper ? *m_Values : *m_Derivatives).PaintRow(plotRow, pixels);
    if (plotRow >= kMargin && pixels.size() > kMargin) {
        PaintLabelRow(isUpper ? "value, -1.1 to 1.1" : "d/dx, -4 to 4", plotRow - kMargin,
                      isUpper ? kBlack : kBlue, pixels.subspan(kMargin));
    }
}

} // namespace NoisePreview
