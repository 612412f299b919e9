#pragma once

#include "painting/pixel.h"

#include <cstdint>
#include <span>

namespace NoisePreview {

/// Paints a picture row by row, so that it need not be kept.
class CPainter {
public:
    virtual ~CPainter() = default;

    /// Paints as many whole rows as `pixels` has room for, from row number `first` on; rows are counted from
    /// the top. May throw std::bad_alloc.
    virtual void Paint(uint64_t first, std::span<CPixel> pixels) = 0;
};

} // namespace NoisePreview
