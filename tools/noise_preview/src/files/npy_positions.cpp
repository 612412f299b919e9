#include "files/npy_positions.h"

#include "text.h"

#include <algorithm>
#include <bit>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <optional>
#include <string_view>
#include <vector>

namespace NoisePreview {

static_assert(std::endian::native == std::endian::little, "floats are read as they are in the file");

namespace {

/// Takes what is before the first `end` that stands neither in quotes nor in brackets, and the `end`; or all.
std::string_view TakeUntil(char end, std::string_view& text) {
    char quote = '\0';
    int depth = 0;
    size_t size = 0;
    for (; size < text.size() && (quote != '\0' || depth > 0 || text[size] != end); ++size) {
        const char c = text[size];
        if (quote != '\0') {
            quote = c == quote ? '\0' : quote;
        } else if (c == '\'' || c == '"') {
            quote = c;
        } else {
            depth += c == '(' || c == '[' ? 1 : c == ')' || c == ']' ? -1 : 0;
        }
    }
    const std::string_view taken = text.substr(0, size);
    text.remove_prefix(std::min(size + 1, text.size()));
    return Trimmed(taken);
}

/// What is between the first and the last character of a text, if they are these.
std::optional<std::string_view> Between(char first, std::string_view text, char last) {
    const bool has = text.size() >= 2 && text.front() == first && text.back() == last;
    return has ? std::optional(text.substr(1, text.size() - 2)) : std::nullopt;
}

/// What is in a string of Python's.
std::optional<std::string_view> StringOf(std::string_view literal) {
    const auto inQuotes = Between('"', literal, '"');
    return inQuotes ? inQuotes : Between('\'', literal, '\'');
}

/// The value that the dictionary which a header is has for a key; empty where it has none.
std::string_view ValueOf(std::string_view header, std::string_view key) {
    std::string_view rest = Between('{', Trimmed(header), '}').value_or("");
    while (!rest.empty()) {
        std::string_view value = TakeUntil(',', rest);
        if (StringOf(TakeUntil(':', value)) == key) {
            return Trimmed(value);
        }
    }
    return "";
}

/// The numbers of a tuple such as (1000, 3); none where it is none.
std::vector<uint64_t> ShapeOf(std::string_view tuple) {
    std::string_view rest = Between('(', tuple, ')').value_or("");
    std::vector<uint64_t> shape;
    while (!Trimmed(rest).empty()) {
        const std::string_view text = TakeUntil(',', rest);
        uint64_t extent = 0;
        const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), extent);
        if (error != std::errc() || end != text.data() + text.size()) {
            return {};
        }
        shape.push_back(extent);
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
    const bool isDictionary = Between('{', Trimmed(header), '}').has_value();
    if (!m_File || size > kMostWords || start[6] < 1 || start[6] > 3 || !isDictionary) {
        _Fail("its header is not that of a NumPy array");
    }
    m_ReadByteCount = sizeof(start) + (isFirst ? 2 : 4) + size;
    return header;
}

void CNpyPositions::_CheckType(const std::string& header) const {
    const std::string_view type = ValueOf(header, "descr");
    if (StringOf(type) != "<f4") {
        _Fail("its numbers are of type " + Quoted(StringOf(type).value_or(type)) +
              ", not '<f4', little-endian floats of 4 bytes (NumPy makes them by astype)");
    }
    if (ValueOf(header, "fortran_order") != "False") {
        _Fail("it is not stored row by row");
    }
}

void CNpyPositions::_ParseShape(const std::string& header) {
    const std::string_view text = ValueOf(header, "shape");
    const std::vector<uint64_t> shape = ShapeOf(text);
    const bool isList = shape.size() == 1;
    if (!isList && (shape.size() != 2 || shape[1] < 1 || shape[1] > 4)) {
        _Fail("its shape is " + Quoted(text) + ", not rows of 1 to 4 coordinates");
    }
    m_Dimension = isList ? 1 : static_cast<uint32_t>(shape[1]);
    m_LeftCount = shape[0];
    const uint64_t room = (m_ByteCount - m_ReadByteCount) / (sizeof(float) * m_Dimension);
    if (m_LeftCount > room) {
        _Fail("it ends after " + std::to_string(room) + " of " + std::to_string(m_LeftCount) + " positions");
    }
}

} // namespace NoisePreview
