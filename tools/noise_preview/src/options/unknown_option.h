#pragma once

#include <string>

namespace NoisePreview {

/// Refuses by a CRefusal what is no option nor belongs to one, and names the option that may be meant.
[[noreturn]] void RefuseUnknown(const std::string& word);

} // namespace NoisePreview
