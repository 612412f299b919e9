#pragma once

#include <cstdio>
#include <string>

namespace NoisePreview {

/// A short text as printf would print it; what goes beyond 127 characters is cut off.
template <typename... TValues>
std::string Format(const char* format, TValues... values) {
    char text[128];
    std::snprintf(text, sizeof(text), format, values...);
    return text;
}

} // namespace NoisePreview
