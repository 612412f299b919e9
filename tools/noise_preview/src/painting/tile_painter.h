#pragma once

#include "options/options.h"
#include "painting/painter.h"

#include <memory>

namespace NoisePreview {

/// Marks on the edges of another's picture, which point at its middle; where the picture is a curve, at the
/// middle of its width alone.
class CTilePainter final : public CPainter {
public:
    CTilePainter(std::unique_ptr<CPainter> painter, const COptions& options);

    void Paint(uint64_t first, std::span<CPixel> pixels) override;

private:
    void _MarkRow(uint64_t row, std::span<CPixel> pixels) const;

    std::unique_ptr<CPainter> m_Painter;
    bool m_IsPlane;
    uint64_t m_Width;
    uint64_t m_Height;
    uint64_t m_Length; // of a mark, in pixels
};

} // namespace NoisePreview
