#pragma once

#include "command_line.h"
#include "picture.h"

#include <cstdint>

namespace NoisePreview {

/// A picture of a field, and what its samples cost.
struct CFieldPicture {
    CPicture m_Picture;
    uint64_t m_PositionCount;
    double m_SamplingSeconds;
};

/// Draws what the options ask for: the slice z = m_Slice of a 3D field, or the curve of a 1D field. Shows its
/// progress. May throw std::bad_alloc.
CFieldPicture DrawField(const COptions& options);

} // namespace NoisePreview
