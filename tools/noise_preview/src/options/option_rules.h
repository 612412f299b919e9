#pragma once

#include "options/options.h"

#include <functional>
#include <string>

namespace NoisePreview {

/// Checks what options say together, and fills in what they leave open: the format and the name of the
/// output. `isGiven` tells whether an option is on the command line. Refuses by a CRefusal.
void CompleteOptions(COptions& options, const std::function<bool(const std::string& name)>& isGiven);

} // namespace NoisePreview
