#include "files/position_file.h"

#include "text.h"

#include <algorithm>
#include <bit>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace NoisePreview {

static_assert(std::endian::native == std::endian::little, "floats are copied from the file");

namespace {

/// Removes and returns the text before the first `end` outside quotes and brackets; all of it without one.
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

/// The text without its first and last character, if these are `first` and `last`.
std::optional<std::string_view> Between(char first, std::string_view text, char last) {
    const bool has = text.size() >= 2 && text.front() == first && text.back() == last;
    return has ? std::optional(text.substr(1, text.size() - 2)) : std::nullopt;
}

/// The content of a Python string literal.
std::optional<std::string_view> StringOf(std::string_view literal) {
    const auto inQuotes = Between('"', literal, '"');
    return inQuotes ? inQuotes : Between('\'', literal, '\'');
}

/// The header dictionary's value for `key`; empty without one.
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

/// The numbers of a tuple such as (1000, 3); empty if it is malformed.
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

/// A NumPy array of 32-bit or 64-bit floats with a row for each position; a 1D array has 1D positions.
class CNpyPositions final : public CPositionFile {
public:
    explicit CNpyPositions(const std::string& path);

    size_t Read(std::span<float> coordinates) override;

private:
    std::string _ReadHeader();
    void _ParseType(const std::string& header);
    void _ParseShape(const std::string& header);
    void _ReadBytes(void* bytes, size_t count);
    void _ReadDoubles(std::span<float> coordinates);

    size_t m_NumberSize = 0; // in bytes
    uint64_t m_ReadCount = 0;
};

CNpyPositions::CNpyPositions(const std::string& path) : CPositionFile(path) {
    const std::string header = _ReadHeader();
    _ParseType(header);
    _ParseShape(header);
}

size_t CNpyPositions::Read(std::span<float> coordinates) {
    const size_t count = std::min<uint64_t>(coordinates.size() / m_Dimension, m_Count - m_ReadCount);
    coordinates = coordinates.first(count * m_Dimension);
    if (m_NumberSize == sizeof(float)) {
        _ReadBytes(coordinates.data(), coordinates.size_bytes());
    } else {
        _ReadDoubles(coordinates);
    }
    m_ReadCount += count;
    return count;
}

void CNpyPositions::_ReadBytes(void* bytes, size_t count) {
    if (!m_File.read(static_cast<char*>(bytes), static_cast<std::streamsize>(count))) {
        _Fail(m_File.bad() ? std::strerror(errno) : "it ends before its last position");
    }
    m_ReadByteCount += count;
}

/// Rounds to the nearest float, ties to even.
void CNpyPositions::_ReadDoubles(std::span<float> coordinates) {
    constexpr double kLimit = 0x1.FFFFFFp127; // from here on, the nearest float is infinite
    std::vector<double> numbers(coordinates.size());
    _ReadBytes(numbers.data(), numbers.size() * sizeof(double));
    for (size_t k = 0; k < numbers.size(); ++k) {
        if (!(std::fabs(numbers[k]) < kLimit)) {
            _Fail("row " + std::to_string(m_ReadCount + k / m_Dimension) + ": " + Format("%g", numbers[k]) +
                  " is not in the range of 32-bit floats (rows count from 0)");
        }
        coordinates[k] = static_cast<float>(numbers[k]);
    }
}

/// Signature, version, length of the dictionary (2 bytes; 4 from version 2 on), and the dictionary.
std::string CNpyPositions::_ReadHeader() {
    constexpr size_t kMaxSize = 1 << 20;
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
    std::string header(std::min(size, kMaxSize), '\0');
    m_File.read(header.data(), static_cast<std::streamsize>(header.size()));
    const bool isDictionary = Between('{', Trimmed(header), '}').has_value();
    if (!m_File || size > kMaxSize || start[6] < 1 || start[6] > 3 || !isDictionary) {
        _Fail("its header is not that of a NumPy array");
    }
    m_ReadByteCount = sizeof(start) + (isFirst ? 2 : 4) + size;
    return header;
}

void CNpyPositions::_ParseType(const std::string& header) {
    const std::string_view type = ValueOf(header, "descr");
    const std::string_view name = StringOf(type).value_or(type);
    if (StringOf(type) != "<f4" && StringOf(type) != "<f8") {
        _Fail("its numbers are of type " + Quoted(name) + ", not '<f4' or '<f8', little-endian floats");
    }
    m_NumberSize = name == "<f4" ? sizeof(float) : sizeof(double);
    if (ValueOf(header, "fortran_order") != "False") {
        _Fail("it is stored column by column (numpy.ascontiguousarray makes it rows)");
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
    m_Count = shape[0];
    const uint64_t room = (m_ByteCount - m_ReadByteCount) / (m_NumberSize * m_Dimension);
    if (m_ByteCount > 0 && m_Count > room) {
        _Fail("it ends after " + std::to_string(room) + " of " + std::to_string(m_Count) + " positions");
    }
}

} // namespace

std::unique_ptr<CPositionFile> OpenNpyPositions(const std::string& path) {
    return std::make_unique<CNpyPositions>(path);
}

} // namespace NoisePreview
