#include "painting/compare_painter.h"

#include "painting/field_painter.h"
#include "painting/label.h"

#include <algorithm>

namespace NoisePreview {

namespace {

constexpr uint64_t kGap = 8;         // between panels, in pixels
constexpr uint64_t kLabelMargin = 6; // above and below the labels

constexpr uint64_t kLabelRowCount = kLabelHeight + 2 * kLabelMargin;

struct CVariant {
    std::string m_Label;
    COptions m_Options;
};

/// What is drawn side by side.
std::vector<CVariant> VariantsOf(const COptions& options) {
    static constexpr const char* kQualities[] = {"linear", "cubic", "quintic"};
    const bool hasQualities = options.m_Compare == ECompare::kQualities;
    std::vector<CVariant> variants(hasQualities ? 3 : 4);
    for (uint32_t k = 0; k < variants.size(); ++k) {
        CVariant& variant = variants[k];
        variant.m_Options = options;
        variant.m_Options.m_Compare = ECompare::kNothing;
        if (hasQualities) {
            variant.m_Options.m_Quality = static_cast<EQuality>(k);
            variant.m_Label = kQualities[k];
        } else {
            variant.m_Options.m_Dimension = k + 1;
            variant.m_Label = std::to_string(k + 1) + "D";
        }
    }
    return variants;
}

} // namespace

CPictureSize SizeOfPicture(const COptions& options) {
    if (options.m_Compare == ECompare::kNothing) {
        return {options.m_Width, options.m_Height};
    }
    const uint64_t panelCount = VariantsOf(options).size();
    return {panelCount * options.m_Width + (panelCount - 1) * kGap, options.m_Height + kLabelRowCount};
}

CComparePainter::CComparePainter(const Vestrel::CFastNoise3& noise, const COptions& options,
                                 CSamplingRecord& record)
    : m_PanelWidth(options.m_Width), m_Row(options.m_Width) {
    for (const CVariant& variant : VariantsOf(options)) {
        m_Panels.push_back({variant.m_Label, MakePainter(noise, variant.m_Options, record)});
    }
}

void CComparePainter::Paint(uint64_t first, std::span<CPixel> pixels) {
    const uint64_t width = m_Panels.size() * (m_PanelWidth + kGap) - kGap;
    std::fill(pixels.begin(), pixels.end(), CPixel());
    for (uint64_t row = 0; row < pixels.size() / width; ++row) {
        const std::span<CPixel> here = pixels.subspan(row * width, width);
        if (first + row < kLabelRowCount) {
            _PaintLabels(first + row, here);
            continue;
        }
        for (size_t k = 0; k < m_Panels.size(); ++k) {
            m_Panels[k].m_Painter->Paint(first + row - kLabelRowCount, m_Row);
            std::copy(m_Row.begin(), m_Row.end(),
                      here.begin() + static_cast<std::ptrdiff_t>(k * (m_PanelWidth + kGap)));
        }
    }
}

void CComparePainter::_PaintLabels(uint64_t row, std::span<CPixel> pixels) const {
    for (size_t k = 0; row >= kLabelMargin && k < m_Panels.size(); ++k) {
        PaintLabelRow(m_Panels[k].m_Label, row - kLabelMargin, Grey(0.0f),
                      pixels.subspan(k * (m_PanelWidth + kGap), m_PanelWidth));
    }
}

} // namespace NoisePreview
