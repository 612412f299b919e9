#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace NoisePreview {

/// kTerminal is a picture on standard output, without a file.
enum class EFormat { kPng, kWebp, kExr, kNpy, kRaw, kTerminal };

/// A file format and its limits: those of the format itself, or of the library that writes it.
struct CFormat {
    EFormat m_Format;
    const char* m_Name;      // in messages
    const char* m_Extension; // of file names, without the dot; also the name for --format
    uint64_t m_MaxSide;      // in pixels
    uint64_t m_MaxRowSize;   // in bytes, before compression
    uint64_t m_MaxSize;      // in bytes, before compression
};

/// `format` is not kTerminal.
const CFormat& FormatOf(EFormat format);

/// The format with this extension.
std::optional<EFormat> FormatWithExtension(std::string_view extension);

/// The extension of a file name in lower case, without its dot; empty if it has none.
std::string ExtensionOf(const std::string& name);

/// The limit that width x height pixels of `pixelSize` bytes exceed; empty if a file of the format holds
/// them.
std::string ExceededLimit(EFormat format, uint64_t width, uint64_t height, uint64_t pixelSize);

} // namespace NoisePreview
