#pragma once

#include "options/options.h"

#include <string>

namespace NoisePreview {

/// Draws what the options ask for, into the file that they name or onto the terminal, and returns what there
/// is to say about it. Shows its progress. Throws std::bad_alloc, or std::runtime_error with a message for
/// the user.
std::string DrawPreview(const COptions& options);

} // namespace NoisePreview
