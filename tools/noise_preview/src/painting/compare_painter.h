#pragma once

#include "field/field_sampler.h"
#include "painting/painter.h"

#include <memory>
#include <string>
#include <vector>

namespace NoisePreview {

/// In pixels.
struct CPictureSize {
    uint64_t m_Width;
    uint64_t m_Height;
};

/// How large the picture is that the options ask for: as they say, or with --compare several such.
CPictureSize SizeOfPicture(const COptions& options);

/// Several pictures of a field side by side, each with a label above it.
class CComparePainter final : public CPainter {
public:
    /// `noise` and `record` are borrowed.
    CComparePainter(const Vestrel::CFastNoise3& noise, const COptions& options, CSamplingRecord& record);

    void Paint(uint64_t first, std::span<CPixel> pixels) override;

private:
    struct CPanel {
        std::string m_Label;
        std::unique_ptr<CPainter> m_Painter;
    };

    void _PaintLabels(uint64_t row, std::span<CPixel> pixels) const;

    uint64_t m_PanelWidth;
    std::vector<CPanel> m_Panels;
    std::vector<CPixel> m_Row; // of one panel
};

} // namespace NoisePreview
