#pragma once

#include "options/options.h"
#include "painting/pixel.h"

namespace NoisePreview {

/// The colour of a value from -1 to 1; beyond, that of the end.
CPixel ColourOf(EColours colours, float value);

} // namespace NoisePreview
