#include "painting/tile_painter.h"

#include <algorithm>
#include <utility>

namespace NoisePreview {

namespace {

constexpr CPixel kMark = {0.86f, 0.08f, 0.08f};

} // namespace

CTilePainter::CTilePainter(std::unique_ptr<CPainter> painter, uint64_t width, uint64_t height)
    : m_Painter(std::move(painter)),
      m_Width(width),
      m_Height(height),
      m_Length(std::min(width, height) / 16) {}

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
                            (isMiddle(row, m_Height) && isEdge(column, m_Width));
        pixels[column] = isMark ? kMark : pixels[column];
    }
}

} // namespace NoisePreview
