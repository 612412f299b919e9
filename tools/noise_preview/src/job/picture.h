#pragma once

#include "job/view.h"

#include <cstdint>

namespace NoisePreview {

enum class EShade { kValue, kGradient };
enum class EColours { kGrey, kViridis, kMagma, kCoolwarm, kTerrain };
enum class ECompare { kNothing, kQualities, kDimensions };

/// In pixels.
struct CPictureSize {
    uint64_t m_Width;
    uint64_t m_Height;
};

/// How a view is drawn.
struct CPicture : CView {
    static constexpr uint64_t kPanelGap = 8;     // between panels, in pixels
    static constexpr uint64_t kPanelHeader = 26; // height of the labels above panels, in pixels

    EShade m_Shade = EShade::kValue;
    EColours m_Colours = EColours::kGrey;
    ECompare m_Compare = ECompare::kNothing;
    bool m_IsTile = false;

    /// Without --compare there is one panel: the picture.
    uint32_t PanelCount() const {
        return m_Compare == ECompare::kNothing ? 1 : m_Compare == ECompare::kQualities ? 3 : 4;
    }
    CPictureSize Size() const {
        const uint64_t count = PanelCount();
        return {count * m_Width + (count - 1) * kPanelGap, m_Height + (count > 1 ? kPanelHeader : 0)};
    }
    bool IsGradient() const {
        return m_Shade == EShade::kGradient;
    }
    bool IsGrey() const {
        return m_Colours == EColours::kGrey && !m_IsLine && !m_IsTile;
    }
};

} // namespace NoisePreview
