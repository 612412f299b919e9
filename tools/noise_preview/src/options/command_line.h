#pragma once

#include "options/options.h"

#include <optional>

namespace NoisePreview {

/// The options of a command line. Without a value where the program has nothing more to do: `exitCode` is
/// then 0 after --help and the like, and 2 after a bad option, about which one line is on standard error.
std::optional<COptions> ParseCommandLine(int argumentCount, char** arguments, int& exitCode);

} // namespace NoisePreview
