#include "files/npy_positions.h"

#include <algorithm>
#include <bit>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <string_view>
#include <vector>

namespace NoisePreview {

static_assert(std::endian::native == std::endian::little, "floats are read as they are in the file");

namespace {

/// What follows a key in the words of a header, up to the end of its value; or nothing.
std::string_view ValueOf(std::string_view header, std::string_view key, char end) {
    const size_t place = header.find(key);
    if (place == std::string_view::npos) {
        return "";
    }
    header.remove_prefix(place + key.size());
    header.remove_prefix(std::min(header.find_first_not_of(": "), header.size()));
    return header.substr(0, std::min(header.find(end), header.size()));
}

/// The numbers of a shape such as 1000, 3; empty where it is not one.
std::vector<uint64_t> ShapeOf(std::string_view text) {
    std::vector<uint64_t> shape;
    while (!text.empty()) {
        uint64_t extent = 0;
        const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), extent);
        if (error != std::errc()) {
            return {};
        }
        shape.push_back(extent);
        text.remove_prefix(static_cast<size_t>(end - text.data()));
        text.remove_prefix(std::min(text.find_first_not_of(", "), text.size()));
    }
    return shape;
}

} // namespace

CNpyPositions::CNpyPositions(const std::string& path) : CPositionFile(path), m_File(path, std::ios::binary) {
    if (!m_File) {
        _Fail(std::strerror(errno));
    }
    const std::string header = _ReadHeader();
    _CheckType(header);
    _ParseShape(header);
}

size_t CNpyPositions::Read(std::span<float> coordinates) {
    const size_t count =
        static_cast<size_t>(std::min<uint64_t>(coordinates.size() / m_Dimension, m_LeftCount));
    const size_t byteCount = count * m_Dimension * sizeof(float);
    if (!m_File.read(reinterpret_cast<char*>(coordinates.data()), static_cast<std::streamsize>(byteCount))) {
        _Fail(m_File.bad() ? std::strerror(errno) : "it ends before its last position");
    }
    m_LeftCount -= count;
    m_ReadByteCount += byteCount;
    return count;
}

/// The words of the header: signature, version, the length of the words in two bytes, or since version 2 in
/// four.
std::string CNpyPositions::_ReadHeader() {
    constexpr size_t kMostWords = 1 << 20;
    unsigned char start[8] = {};
    unsigned char length[4] = {};
    m_File.read(reinterpret_cast<char*>(start), sizeof(start));
    if (!m_File || std::memcmp(start, "\x93NUMPY", 6) != 0) {
        _Fail("it is not a NumPy array");
    }
    const bool isFirst = start[6] == 1;
    m_File.read(reinterpret_cast<char*>(length), isFirst ? 2 : 4);
    size_t size = 0;
    for (int k = 3; k >= 0; --k) {
        size = size << 8 | length[k];
    }
    std::string header(std::min(size, kMostWords), '\0');
    m_File.read(header.data(), static_cast<std::streamsize>(header.size()));
    if (!m_File || size > kMostWords || start[6] < 1 || start[6] > 3) {
        _Fail("its header is not that of a NumPy array");
    }
    m_ReadByteCount = sizeof(start) + (isFirst ? 2 : 4) + size;
    return header;
}

void CNpyPositions::_CheckType(const std::string& header) const {
    const std::string_view type = ValueOf(header, "'descr'", ',');
    if (type != "'<f4'") {
        _Fail("its numbers are of type " + std::string(type) +
              ", not '<f4' (little-endian floats of 4 bytes)");
    }
    if (ValueOf(header, "'fortran_order'", ',') != "False") {
        _Fail("it is not stored row by row");
    }
}

void CNpyPositions::_ParseShape(const std::string& header) {
    const std::string_view text = ValueOf(header, "'shape'", ')');
    if (!text.starts_with('(')) {
        _Fail("its header has no shape");
    }
    const std::vector<uint64_t> shape = ShapeOf(text.substr(1));
    const bool isList = shape.size() == 1;
    if (!isList && (shape.size() != 2 || shape[1] < 1 || shape[1] > 4)) {
        _Fail("its shape is " + std::string(text) + "), not rows of 1 to 4 coordinates");
    }
    m_Dimension = isList ? 1 : static_cast<uint32_t>(shape[1]);
    m_LeftCount = shape[0];
    const uint64_t room = (m_ByteCount - m_ReadByteCount) / (sizeof(float) * m_Dimension);
    if (m_LeftCount > room) {
        _Fail("it ends after " + std::to_string(room) + " of " + std::to_string(m_LeftCount) + " positions");
    }
}

} // namespace NoisePreview
