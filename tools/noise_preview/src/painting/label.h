#pragma once

#include "painting/pixel.h"

#include <cstdint>
#include <span>
#include <string_view>

namespace NoisePreview {

/// How many rows a label is high.
inline constexpr uint64_t kLabelHeight = 14;

/// Paints a row of a label, counted from its top, from the first of the pixels on; what does not fit is left
/// out, and so is every row below the label. Characters that the labels of this program do not have are
/// blank.
void PaintLabelRow(std::string_view label, uint64_t row, const CPixel& colour, std::span<CPixel> pixels);

} // namespace NoisePreview
