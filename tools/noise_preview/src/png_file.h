#pragma once

#include "output_file.h"
#include "picture.h"

namespace NoisePreview {

/// Makes `file` a PNG of the picture and finishes it. Shows its progress. Throws std::runtime_error, with a
/// message for the user.
void WritePng(COutputFile& file, const CPicture& picture);

} // namespace NoisePreview
