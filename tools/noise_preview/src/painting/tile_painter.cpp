#include "painting/tile_painter.h"

#include <algorithm>
#include <utility>

namespace NoisePreview {

namespace {

constexpr CPixel kMark = {0.86f, 0.08f, 0.08f};

} // namespace

CTilePainter::CTilePainter(std::unique_ptr<CPainter> painter, const COptions& options)
    : m_Painter(std::move(painter)),
      m_IsPlane(options.m_Dimension > 1),
      m_Width(options.m_Width),
      m_Height(options.m_Height),
      m_Length(std::min(m_Width, m_Height) / 16) {}

void CTilePainter::Paint(uint64_t first, std::span<CPixel> pixels) {
    m_Painter->Paint(first, pixels);
    for (uint64_t row = 0; row < pixels.size() / m_Width; ++row) {
        _MarkRow(first + row, pixels.subspan(row * m_Width, m_Width));
    }
}

void CTilePainter::_MarkRow(uint64_t row, std::span<CPixel> pixels) const {
    // Two pixels wide, so that the seam is in the middle of a mark.
    const auto isMiddle = [](uint64_t place, uint64_t size) {
        return place + 1 == size / 2 || place == size / 2;
    };
    const auto isEdge = [&](uint64_t place, uint64_t size) {
        return place < m_Length || place + m_Length >= size;
    };
    for (uint64_t column = 0; column < m_Width; ++column) {
        const bool isMark = (isMiddle(column, m_Width) && isEdge(row, m_Height)) ||
                            (m_IsPlane && isMiddle(row, m_Height) && isEdge(column, m_Width));
        pixels[column] = isMark ? kMark : pixels[column];
    }
}

} // namespace NoisePreview
