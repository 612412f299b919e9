#include "files/position_file.h"

#include "text.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace NoisePreview {

namespace {

/// Some programs write it before any UTF-8 text.
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

std::optional<float> NumberOf(std::string_view text) {
    float number = 0.0f;
    text.remove_prefix(text.starts_with('+') && !text.starts_with("+-") ? 1 : 0);
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    const bool isWhole = error == std::errc() && end == text.data() + text.size();
    return isWhole ? std::optional(number) : std::nullopt;
}

/// The parts between commas, trimmed.
std::vector<std::string_view> FieldsOf(std::string_view line) {
    std::vector<std::string_view> fields;
    for (size_t comma = 0; comma != std::string_view::npos;) {
        comma = line.find(',');
        fields.push_back(Trimmed(line.substr(0, comma)));
        line.remove_prefix(comma == std::string_view::npos ? 0 : comma + 1);
    }
    return fields;
}

/// Whether a field can be a column name: neither a number, nor one with a typo.
bool IsName(std::string_view field) {
    const size_t first = field.find_first_not_of("\"'");
    const bool isLikeNumber = first == std::string_view::npos ||
                              std::string_view("0123456789+-.").find(field[first]) != std::string_view::npos;
    return !isLikeNumber && !NumberOf(field);
}

/// Text with a position per line, its numbers separated by commas. Empty lines, comments (#) and a line of
/// column names before the first position are skipped.
class CCsvPositions final : public CPositionFile {
public:
    explicit CCsvPositions(const std::string& path);

    size_t Read(std::span<float> coordinates) override;

private:
    bool _NextLine();
    void _ParseLine();

    std::string m_Line;
    uint64_t m_LineNumber = 0;
    std::vector<float> m_Numbers; // of the next position; empty at the end
};

CCsvPositions::CCsvPositions(const std::string& path) : CPositionFile(path) {
    const auto isHeader = [this] { // names of columns
        const std::vector<std::string_view> fields = FieldsOf(m_Line);
        return std::all_of(fields.begin(), fields.end(), IsName);
    };
    if (!_NextLine() || (isHeader() && !_NextLine())) {
        _Fail("there are no positions in it");
    }
    const size_t count = FieldsOf(m_Line).size();
    if (count > 4) {
        _Fail("line " + std::to_string(m_LineNumber) + ": expected 1 to 4 numbers, found " +
              std::to_string(count));
    }
    m_Dimension = static_cast<uint32_t>(count);
    _ParseLine();
}

size_t CCsvPositions::Read(std::span<float> coordinates) {
    size_t count = 0;
    for (; !m_Numbers.empty() && coordinates.size() >= m_Dimension; ++count) {
        std::copy(m_Numbers.begin(), m_Numbers.end(), coordinates.begin());
        coordinates = coordinates.subspan(m_Dimension);
        m_Numbers.clear();
        if (_NextLine()) {
            _ParseLine();
        }
    }
    return count;
}

/// Reads the next line that is not skipped; false at the end.
bool CCsvPositions::_NextLine() {
    while (std::getline(m_File, m_Line)) {
        ++m_LineNumber;
        m_ReadByteCount += m_Line.size() + 1;
        if (m_LineNumber == 1 && m_Line.starts_with(kByteOrderMark)) {
            m_Line.erase(0, kByteOrderMark.size());
        }
        const std::string_view text = Trimmed(m_Line);
        if (!text.empty() && !text.starts_with('#')) {
            return true;
        }
    }
    if (m_File.bad()) {
        _Fail(std::strerror(errno));
    }
    m_ReadByteCount = m_ByteCount;
    return false;
}

void CCsvPositions::_ParseLine() {
    const std::string line = "line " + std::to_string(m_LineNumber);
    const std::vector<std::string_view> fields = FieldsOf(m_Line);
    if (fields.size() != m_Dimension) {
        _Fail(line + ": expected " + std::to_string(m_Dimension) + " numbers, found " +
              std::to_string(fields.size()));
    }
    for (const std::string_view field : fields) {
        const std::optional<float> number = NumberOf(field);
        if (!number) {
            const bool isSeparated = field.find_first_of("; \t") != std::string_view::npos;
            _Fail(line + ": " + Quoted(field) +
                  (isSeparated ? " is not a number (numbers are separated by commas)"
                               : " is not a number in the range of 32-bit floats"));
        }
        m_Numbers.push_back(*number);
    }
}

} // namespace

std::unique_ptr<CPositionFile> OpenCsvPositions(const std::string& path) {
    return std::make_unique<CCsvPositions>(path);
}

} // namespace NoisePreview
