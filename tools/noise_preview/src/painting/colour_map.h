#pragma once

#include "job/picture.h"
#include "job/pixel.h"

namespace NoisePreview {

/// The colour of a value; values are clamped to [-1, 1].
CPixel ColourOf(EColours colours, float value);

} // namespace NoisePreview
