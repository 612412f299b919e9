#include "files/float_file.h"

#include <bit>
#include <cerrno>
#include <cstring>

namespace NoisePreview {

static_assert(std::endian::native == std::endian::little, "floats are written as they are in memory");

namespace {

/// As long as any header that is written here, so that it can be put in front of the floats at the end; NumPy
/// wants a multiple of 64.
constexpr size_t kHeaderSize = 128;

std::string Joined(std::span<const uint64_t> shape, const char* between) {
    std::string text;
    for (const uint64_t extent : shape) {
        text += (text.empty() ? "" : between) + std::to_string(extent);
    }
    return text;
}

/// NumPy's format, version 1.0: a signature, the length of what follows in the header, and the words that
/// Python has for its content.
std::string NumpyHeader(std::span<const uint64_t> shape) {
    const std::string comma = shape.size() == 1 ? "," : "";
    std::string words =
        "{'descr': '<f4', 'fortran_order': False, 'shape': (" + Joined(shape, ", ") + comma + "), }";
    constexpr size_t kWordsSize = kHeaderSize - 10;
    words.resize(kWordsSize - 1, ' ');
    return std::string("\x93NUMPY\x01\x00", 8) + static_cast<char>(kWordsSize) + '\0' + words + '\n';
}

std::string RawHeader(std::span<const uint64_t> shape) {
    std::string text = "vestrel noise raw 1\nfloat32 little-endian\nshape " + Joined(shape, " ");
    text.resize(kHeaderSize - 2, ' ');
    return text + "\n\n";
}

} // namespace

CFloatFile::CFloatFile(COutputFile& file, EFormat format) : m_File(file), m_Format(format) {
    m_File.Write(std::string(kHeaderSize, ' ').data(), kHeaderSize);
}

void CFloatFile::Add(std::span<const float> values) {
    m_File.Write(values.data(), values.size_bytes());
}

void CFloatFile::Finish(std::span<const uint64_t> shape) {
    const std::string header = m_Format == EFormat::kNpy ? NumpyHeader(shape) : RawHeader(shape);
    if (std::fseek(m_File.Stream(), 0, SEEK_SET) != 0) {
        m_File.Fail(std::strerror(errno));
    }
    m_File.Write(header.data(), header.size());
    m_File.Finish();
}

} // namespace NoisePreview
