#pragma once

#include <algorithm>
#include <cstdio>
#include <string>
#include <string_view>

namespace NoisePreview {

/// A short text as printf would print it; what goes beyond 127 characters is cut off.
template <typename... TValues>
std::string Format(const char* format, TValues... values) {
    char text[128];
    std::snprintf(text, sizeof(text), format, values...);
    return text;
}

/// A text with signs in the place of what would do more to a terminal than to be shown.
inline std::string Printable(std::string text) {
    std::replace_if(
        text.begin(), text.end(), [](unsigned char c) { return c < ' ' || c == 0x7F; }, '?');
    return text;
}

/// What is found in a file, as part of a message: between quotation marks, and not too long.
inline std::string Quoted(std::string_view text) {
    constexpr size_t kMost = 40;
    std::string quoted = "'";
    quoted += Printable(std::string(text.substr(0, kMost)));
    quoted += text.size() > kMost ? "...'" : "'";
    return quoted;
}

/// A text without the blanks and ends of lines around it.
inline std::string_view Trimmed(std::string_view text) {
    constexpr const char* kBlanks = " \t\r\n";
    const size_t first = text.find_first_not_of(kBlanks);
    return first == std::string_view::npos ? ""
                                           : text.substr(first, text.find_last_not_of(kBlanks) + 1 - first);
}

} // namespace NoisePreview
