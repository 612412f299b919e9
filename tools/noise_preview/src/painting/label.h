#pragma once

#include "job/pixel.h"

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace NoisePreview {

/// A line of text in a bitmap font of the few characters that this program's labels have.
class CLabel {
public:
    /// As large as `width` and `height` allow, in pixels. If the text is too long, what follows its comma is
    /// dropped; if it still is, the label is empty.
    CLabel(std::string_view text, uint64_t width, uint64_t height);

    /// With margins above and below the text, in pixels; 0 if the label is empty.
    uint64_t Height() const;

    /// Paints a row of the text, counted from the top; none beyond Height.
    void PaintRow(uint64_t row, const CPixel& colour, std::span<CPixel> pixels) const;

private:
    std::string m_Text;
    size_t m_Scale = 0; // pixels per dot of the font
};

} // namespace NoisePreview
