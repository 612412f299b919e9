#pragma once

#include "painting/painter.h"

#include <memory>

namespace NoisePreview {

/// Marks on the edges of another's picture, which point at its middle.
class CTilePainter final : public CPainter {
public:
    CTilePainter(std::unique_ptr<CPainter> painter, uint64_t width, uint64_t height);

    void Paint(uint64_t first, std::span<CPixel> pixels) override;

private:
    void _MarkRow(uint64_t row, std::span<CPixel> pixels) const;

    std::unique_ptr<CPainter> m_Painter;
    uint64_t m_Width;
    uint64_t m_Height;
    uint64_t m_Length; // of a mark, in pixels
};

} // namespace NoisePreview
