#pragma once

#include "job/job.h"

#include <optional>

namespace NoisePreview {

/// The job that a command line asks for. Without one the program ends with `exitCode`: 0 after --help and the
/// like, 2 after a usage error, of which one line is on standard error. Throws std::runtime_error with a
/// message for the user if the terminal is too small.
std::optional<CJob> ParseCommandLine(int argumentCount, char** arguments, int& exitCode);

} // namespace NoisePreview
