#pragma once

#include "picture.h"

#include <cstdint>
#include <vector>

namespace NoisePreview {

/// Draws a curve, black on white, with grey lines at the lattice points and at zero. `heights` are in [-1,
/// 1], one a column.
void DrawCurve(CPicture& picture, uint32_t cells, std::vector<float> heights);

} // namespace NoisePreview
