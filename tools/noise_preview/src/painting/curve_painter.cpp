#include "field/field_sampler.h"
#include "painting/curve_plot.h"
#include "painting/painter.h"

#include <vector>

namespace NoisePreview {

namespace {

using namespace Vestrel;

/// Plotted from -1.1 to 1.1, so that a value of 1 does not touch the edge.
constexpr float kValueRange = 1.1f;

/// Values differ by at most 2, and the steepest fade, the quintic one, has a slope of 15 / 8: at most 3.75.
constexpr float kDerivativeRange = 4.0f;

constexpr CPixel kBlack = {0.0f, 0.0f, 0.0f};
constexpr CPixel kBlue = {0.0f, 0.35f, 0.75f};

/// Values, or derivatives along x.
std::vector<float> Heights(const CFastNoise3& noise, const CView& view, ESamples kind,
                           CSamplingRecord& record) {
    std::vector<float> heights;
    heights.reserve(view.m_Width);
    CFieldSampler sampler(noise, view, kind, record);
    while (heights.size() < view.m_Width) {
        const CSamples samples = sampler.Next(view.m_Width);
        for (size_t k = 0; k < samples.m_Count; ++k) {
            heights.push_back(kind == ESamples::kValues ? samples.m_Values[k] : samples.m_Gradients[k].x);
        }
    }
    return heights;
}

class CCurvePainter final : public CPainter {
public:
    CCurvePainter(const CFastNoise3& noise, const CPicture& picture, CSamplingRecord& record)
        : m_UpperRowCount(picture.m_IsLine ? (picture.m_Height + uint64_t{1}) / 2 : picture.m_Height) {
        const uint64_t lowerRowCount = picture.m_Height - m_UpperRowCount;
        const uint32_t cells = picture.m_Cells;
        m_Plots.emplace_back(Heights(noise, picture, ESamples::kValues, record), kValueRange, m_UpperRowCount,
                             cells, kBlack, picture.m_IsLine ? "value, -1.1 to 1.1" : "");
        if (picture.m_IsLine) {
            m_Plots.emplace_back(Heights(noise, picture, ESamples::kGradients, record), kDerivativeRange,
                                 lowerRowCount, cells, kBlue, "d/dx, -4 to 4");
        }
    }

    void PaintRow(uint64_t row, std::span<CPixel> pixels) override {
        const bool isUpper = row < m_UpperRowCount;
        m_Plots[isUpper ? 0 : 1].PaintRow(isUpper ? row : row - m_UpperRowCount, pixels);
    }

private:
    uint64_t m_UpperRowCount;
    std::vector<CCurvePlot> m_Plots;
};

} // namespace

CPainterPointer MakeCurvePainter(const CFastNoise3& noise, const CPicture& picture, CSamplingRecord& record) {
    return std::make_unique<CCurvePainter>(noise, picture, record);
}

} // namespace NoisePreview
