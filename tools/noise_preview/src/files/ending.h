#pragma once

#include <string>

namespace NoisePreview {

/// The ending of a file's name in small letters, without its dot, such as png; empty where there is none.
std::string EndingOf(const std::string& name);

} // namespace NoisePreview
