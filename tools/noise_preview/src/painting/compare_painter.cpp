#include "painting/label.h"
#include "painting/painter.h"

#include <algorithm>
#include <string>
#include <vector>

namespace NoisePreview {

namespace {

class CComparePainter final : public CPainter {
public:
    CComparePainter(const Vestrel::CFastNoise3& noise, const CPicture& picture, CSamplingRecord& record)
        : m_PanelWidth(picture.m_Width) {
        static constexpr const char* kQualities[] = {"linear", "cubic", "quintic"};
        CPicture panel = picture;
        panel.m_Compare = ECompare::kNothing;
        for (uint32_t k = 0; k < picture.PanelCount(); ++k) {
            std::string label;
            if (picture.m_Compare == ECompare::kQualities) {
                panel.m_Quality = static_cast<EQuality>(k);
                label = kQualities[k];
            } else {
                panel.m_Dimension = k + 1;
                label = std::to_string(k + 1) + "D";
            }
            m_Panels.push_back(
                {CLabel(label, m_PanelWidth, CPicture::kPanelHeader), MakePainter(noise, panel, record)});
        }
    }

    void PaintRow(uint64_t row, std::span<CPixel> pixels) override {
        std::fill(pixels.begin(), pixels.end(), CPixel());
        for (size_t k = 0; k < m_Panels.size(); ++k) {
            const auto part = pixels.subspan(k * (m_PanelWidth + CPicture::kPanelGap), m_PanelWidth);
            if (row < CPicture::kPanelHeader) {
                m_Panels[k].m_Label.PaintRow(row, Grey(0.0f), part);
            } else {
                m_Panels[k].m_Painter->PaintRow(row - CPicture::kPanelHeader, part);
            }
        }
    }

private:
    struct CPanel {
        CLabel m_Label;
        CPainterPointer m_Painter;
    };

    uint64_t m_PanelWidth;
    std::vector<CPanel> m_Panels;
};

} // namespace

CPainterPointer MakeComparePainter(const Vestrel::CFastNoise3& noise, const CPicture& picture,
                                   CSamplingRecord& record) {
    return std::make_unique<CComparePainter>(noise, picture, record);
}

} // namespace NoisePreview
