#pragma once

#include "options/options.h"

#include <cstdint>
#include <optional>
#include <string_view>

namespace NoisePreview {

/// A format of files.
struct CFormat {
    EFormat m_Format;
    const char* m_Name;      // for people
    const char* m_ShortName; // for --format, and the ending of a file's name behind its dot
    uint64_t m_MaxSide;      // in pixels
};

/// Every format that a file can have.
inline constexpr CFormat kFormats[] = {
    {EFormat::kPng, "PNG", "png", 0x7FFFFFFF},     {EFormat::kWebp, "WebP", "webp", 16383},
    {EFormat::kExr, "OpenEXR", "exr", 0x3FFFFFFE}, {EFormat::kNpy, "NumPy", "npy", UINT64_MAX},
    {EFormat::kRaw, "raw", "raw", UINT64_MAX},
};

/// `format` is not the terminal.
constexpr const CFormat& FormatOf(EFormat format) {
    return kFormats[static_cast<size_t>(format)];
}

/// The format with a short name.
constexpr std::optional<EFormat> FormatNamed(std::string_view shortName) {
    for (const CFormat& format : kFormats) {
        if (shortName == format.m_ShortName) {
            return format.m_Format;
        }
    }
    return std::nullopt;
}

} // namespace NoisePreview
