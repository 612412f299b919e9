#pragma once

#include <string>

namespace NoisePreview {

/// The manual page, for man.
std::string ManPage(const std::string& summary);

/// What Bash is to source to complete the options and their words.
std::string BashCompletion();

} // namespace NoisePreview
