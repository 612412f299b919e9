#include "job/format.h"

#include <algorithm>
#include <filesystem>

namespace NoisePreview {

namespace {

constexpr uint64_t kNoLimit = UINT64_MAX;

/// File offsets are 64-bit and signed; the header takes 128 bytes.
constexpr uint64_t kMaxFloatSize = INT64_MAX - 128;

/// In the order of EFormat.
constexpr CFormat kFormats[] = {
    {EFormat::kPng, "a PNG file", "png", INT32_MAX, kNoLimit, kNoLimit},
    {EFormat::kWebp, "a WebP file", "webp", 16383, kNoLimit, kNoLimit},
    {EFormat::kExr, "an OpenEXR file", "exr", 0x3FFFFFFE, INT32_MAX, kNoLimit},
    {EFormat::kNpy, "a NumPy file", "npy", kNoLimit, kNoLimit, kMaxFloatSize},
    {EFormat::kRaw, "a raw file", "raw", kNoLimit, kNoLimit, kMaxFloatSize},
};

} // namespace

const CFormat& FormatOf(EFormat format) {
    return kFormats[static_cast<size_t>(format)];
}

std::optional<EFormat> FormatWithExtension(std::string_view extension) {
    for (const CFormat& format : kFormats) {
        if (extension == format.m_Extension) {
            return format.m_Format;
        }
    }
    return std::nullopt;
}

std::string ExtensionOf(const std::string& name) {
    std::string extension = std::filesystem::path(name).extension().string();
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](char c) { return 'A' <= c && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
    return extension.empty() ? "" : extension.substr(1);
}

std::string ExceededLimit(EFormat format, uint64_t width, uint64_t height, uint64_t pixelSize) {
    const CFormat& limits = FormatOf(format);
    const uint64_t rowSize = width * pixelSize;
    if (std::max(width, height) > limits.m_MaxSide) {
        return "at most " + std::to_string(limits.m_MaxSide) + " pixels a side";
    }
    if (rowSize > limits.m_MaxRowSize) {
        return "at most " + std::to_string(limits.m_MaxRowSize / pixelSize) + " pixels of " +
               std::to_string(pixelSize) + " bytes a row";
    }
    if (height > limits.m_MaxSize / rowSize) {
        return "at most " + std::to_string(limits.m_MaxSize) + " bytes of samples";
    }
    return "";
}

} // namespace NoisePreview
