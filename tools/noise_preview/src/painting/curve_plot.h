#pragma once

#include "job/pixel.h"
#include "painting/label.h"

#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

namespace NoisePreview {

/// A curve on white, with grey lines at the lattice points and at zero, below its label.
class CCurvePlot {
public:
    /// `heights` has one value per column, in [-range, range]. `rowCount` includes the label, `cells` are
    /// the lattice cells across the width.
    CCurvePlot(std::vector<float> heights, float range, uint64_t rowCount, uint32_t cells,
               const CPixel& colour, std::string_view label);

    /// Paints a row, counted from the top.
    void PaintRow(uint64_t row, std::span<CPixel> pixels) const;

private:
    /// The part of a column that the curve covers, in rows below the label.
    struct CSpan {
        float m_Top;
        float m_Bottom;
    };

    CSpan _SpanOf(const std::vector<float>& places, size_t column) const;

    CLabel m_Label;
    uint64_t m_RowCount; // without the label
    uint32_t m_Cells;
    CPixel m_Colour;
    std::vector<CSpan> m_Spans;
};

} // namespace NoisePreview
