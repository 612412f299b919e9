#pragma once

#include "painting/pixel.h"

#include <cstdint>
#include <span>
#include <vector>

namespace NoisePreview {

/// A curve on white, with grey lines at the lattice points and at zero.
class CCurvePlot {
public:
    /// `heights` are in -range to range, one a column, of a plot that is `rowCount` rows high and `cells`
    /// lattice cells wide.
    CCurvePlot(std::vector<float> heights, float range, uint64_t rowCount, uint32_t cells,
               const CPixel& colour);

    /// Paints a row, counted from the top of the plot.
    void PaintRow(uint64_t row, std::span<CPixel> pixels) const;

private:
    /// What the curve covers of a column, in rows from the top.
    struct CSpan {
        float m_Top;
        float m_Bottom;
    };

    CSpan _SpanOf(const std::vector<float>& places, size_t column) const;

    uint64_t m_RowCount;
    uint32_t m_Cells;
    CPixel m_Colour;
    std::vector<CSpan> m_Spans;
};

} // namespace NoisePreview
