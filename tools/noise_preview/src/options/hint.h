#pragma once

#include <span>
#include <string>

namespace NoisePreview {

/// "; is it grey?" for gray, if some known word differs by at most two typos; else empty.
std::string Hint(const std::string& word, std::span<const std::string> knownWords);

} // namespace NoisePreview
