#include "painting/curve_plot.h"

#include <algorithm>
#include <cmath>

namespace NoisePreview {

namespace {

const CPixel kGrid = Grey(224.0f / 255.0f);
constexpr size_t kLabelIndent = 6; // in pixels

uint64_t ColumnOf(uint32_t cell, uint64_t columnCount, uint32_t cells) {
    return uint64_t{cell} * columnCount / cells;
}

} // namespace

CCurvePlot::CCurvePlot(std::vector<float> heights, float range, uint64_t rowCount, uint32_t cells,
                       const CPixel& colour, std::string_view label)
    : m_Label(label, heights.size() - std::min<uint64_t>(heights.size(), kLabelIndent), rowCount / 4),
      m_RowCount(rowCount - m_Label.Height()),
      m_Cells(cells),
      m_Colour(colour),
      m_Spans(heights.size()) {
    const float middle = static_cast<float>(m_RowCount) * 0.5f;
    std::transform(heights.begin(), heights.end(), heights.begin(),
                   [&](float height) { return middle - height / range * middle; });
    for (size_t column = 0; column < heights.size(); ++column) {
        m_Spans[column] = _SpanOf(heights, column);
    }
}

void CCurvePlot::PaintRow(uint64_t row, std::span<CPixel> pixels) const {
    if (row < m_Label.Height()) {
        std::fill(pixels.begin(), pixels.end(), CPixel());
        m_Label.PaintRow(row, m_Colour, pixels.subspan(kLabelIndent));
        return;
    }
    row -= m_Label.Height();
    std::fill(pixels.begin(), pixels.end(), row == m_RowCount / 2 ? kGrid : CPixel());
    // Denser lattice lines would hide the curve.
    const bool hasLattice = pixels.size() / m_Cells >= 8;
    for (uint32_t cell = 1; hasLattice && cell < m_Cells; ++cell) {
        pixels[ColumnOf(cell, pixels.size(), m_Cells)] = kGrid;
    }
    const float top = static_cast<float>(row);
    for (size_t column = 0; column < pixels.size(); ++column) {
        // A pixel is as dark as the part of it that the curve covers.
        const CSpan& span = m_Spans[column];
        const float covered = std::min(span.m_Bottom, top + 1.0f) - std::max(span.m_Top, top);
        pixels[column] = Mixed(pixels[column], m_Colour, std::max(covered, 0.0f));
    }
}

CCurvePlot::CSpan CCurvePlot::_SpanOf(const std::vector<float>& places, size_t column) const {
    constexpr float kHalfWidth = 1.0f; // of the line, in rows
    const float here = places[column];
    CSpan span{here - kHalfWidth, here + kHalfWidth};
    // The steeper the line, the more of the column it covers towards each neighbour: it has no gaps and the
    // same thickness everywhere. It stops at the neighbour's height, or jumps would become spikes.
    const auto coverTowards = [&](float neighbour) {
        const float step = neighbour - here;
        const float end = here + std::copysign(kHalfWidth * std::hypot(1.0f, step), step);
        span = {std::min(span.m_Top, end), std::max(span.m_Bottom, end)};
    };
    if (column > 0) {
        coverTowards(places[column - 1]);
    }
    if (column + 1 < places.size()) {
        coverTowards(places[column + 1]);
    }
    return span;
}

} // namespace NoisePreview
