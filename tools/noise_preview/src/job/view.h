#pragma once

#include <cstdint>

namespace NoisePreview {

enum class EQuality { kLinear, kCubic, kQuintic };

/// Where a field is sampled: at the centres of square pixels, row by row from the top.
struct CView {
    uint32_t m_Dimension = 3;
    EQuality m_Quality = EQuality::kQuintic;
    uint32_t m_Width = 1024; // in pixels
    uint32_t m_Height = 1024;
    uint32_t m_Cells = 16; // lattice cells across the width
    double m_Left = 0.0;   // coordinates of the upper left corner
    double m_Top = 0.0;
    double m_Slice = 0.5;  // z, in 3D and 4D
    double m_SliceW = 0.5; // w, in 4D
    bool m_IsLine = false; // a single row of samples, at y = m_LineY
    double m_LineY = 0.0;

    /// 1D fields and lines have one row of samples.
    uint32_t RowCount() const {
        return m_Dimension == 1 || m_IsLine ? 1 : m_Height;
    }
    uint64_t SampleCount() const {
        return uint64_t{m_Width} * RowCount();
    }
};

} // namespace NoisePreview
