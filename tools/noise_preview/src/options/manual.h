#pragma once

#include <string>

namespace NoisePreview {

/// The manual page in roff.
std::string ManPage(const std::string& summary);

/// A script for Bash that completes the options and their values.
std::string BashCompletion();

} // namespace NoisePreview
