#pragma once

#include "options/options.h"

namespace NoisePreview {

/// Checks that the options make sense together, and decides what they leave open: the format, the name and
/// the size of the output, and the view. Throws a CUsageError; or std::runtime_error with a message for the
/// user if the terminal is too small.
CJob Resolve(COptions options);

} // namespace NoisePreview
