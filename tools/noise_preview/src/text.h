#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>

namespace NoisePreview {

/// Like printf, for texts of up to 127 characters; longer ones are cut off.
template <typename... TValues>
std::string Format(const char* format, TValues... values) {
    char text[128];
    std::snprintf(text, sizeof(text), format, values...);
    return text;
}

inline bool IsUtf8Continuation(char byte) {
    return (static_cast<unsigned char>(byte) & 0xC0) == 0x80;
}

/// Bytes of the UTF-8 character at the start of a text. 0 for control characters (up to U+001F, U+007F to
/// U+009F) and for invalid UTF-8: truncated, overlong, a surrogate, or beyond U+10FFFF.
inline size_t PrintableLength(std::string_view text) {
    const unsigned char first = static_cast<unsigned char>(text[0]);
    if (first < 0x80) {
        return first >= ' ' && first != 0x7F ? 1 : 0;
    }
    const size_t length = first < 0xE0 ? 2 : first < 0xF0 ? 3 : 4;
    if (first < 0xC2 || first > 0xF4 || text.size() < length) {
        return 0;
    }
    uint32_t code = first & (0x7Fu >> length);
    for (const char byte : text.substr(1, length - 1)) {
        if (!IsUtf8Continuation(byte)) {
            return 0;
        }
        code = code << 6 | (static_cast<unsigned char>(byte) & 0x3F);
    }
    constexpr uint32_t kLeast[] = {0, 0, 0xA0, 0x800, 0x10000};
    const bool isSurrogate = code >= 0xD800 && code <= 0xDFFF;
    return code >= kLeast[length] && code <= 0x10FFFF && !isSurrogate ? length : 0;
}

/// Replaces control characters, on which terminals act, and invalid UTF-8 by '?'.
inline std::string Printable(std::string_view text) {
    std::string printable;
    while (!text.empty()) {
        size_t length = PrintableLength(text);
        if (length > 0) {
            printable += text.substr(0, length);
        } else {
            printable += '?';
            length = 1;
            while (length < text.size() && IsUtf8Continuation(text[length])) {
                ++length;
            }
        }
        text.remove_prefix(length);
    }
    return printable;
}

/// Text from a file for a message: printable, in quotation marks, and cut off after 40 bytes.
inline std::string Quoted(std::string_view text) {
    size_t length = std::min<size_t>(text.size(), 40);
    while (length > 0 && length < text.size() && IsUtf8Continuation(text[length])) {
        --length; // not within a character
    }
    std::string quoted = "'";
    quoted += Printable(text.substr(0, length));
    quoted += length < text.size() ? "...'" : "'";
    return quoted;
}

/// Without leading and trailing white space.
inline std::string_view Trimmed(std::string_view text) {
    constexpr const char* kBlanks = " \t\r\n";
    const size_t first = text.find_first_not_of(kBlanks);
    return first == std::string_view::npos ? ""
                                           : text.substr(first, text.find_last_not_of(kBlanks) + 1 - first);
}

} // namespace NoisePreview
