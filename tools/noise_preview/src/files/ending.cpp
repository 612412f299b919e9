#include "files/ending.h"

#include <algorithm>
#include <filesystem>

namespace NoisePreview {

std::string EndingOf(const std::string& name) {
    std::string ending = std::filesystem::path(name).extension().string();
    std::transform(ending.begin(), ending.end(), ending.begin(),
                   [](char c) { return 'A' <= c && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
    return ending.empty() ? "" : ending.substr(1);
}

} // namespace NoisePreview
