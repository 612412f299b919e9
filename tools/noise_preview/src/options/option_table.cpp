#include "options/option_table.h"

#include "options/hint.h"
#include "options/usage_error.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <sstream>
#include <string_view>
#include <type_traits>

namespace NoisePreview {

namespace {

constexpr COption kOptions[] = {
    {"--dimension", "1|2|3|4",
     CChoice{[](COptions& options, uint32_t index) { options.m_Dimension = index + 1; }},
     "Dimension of the field: 1 draws its curve, 2 its plane, 3 and 4 a slice through it, from black at -1 "
     "to white at 1 (default: 3)."},
    {"--quality", "linear|cubic|quintic",
     CChoice{[](COptions& options, uint32_t index) { options.m_Quality = static_cast<EQuality>(index); }},
     "How samples are interpolated between lattice points (default: quintic)."},
    {"--shade", "value|gradient",
     CChoice{[](COptions& options, uint32_t index) { options.m_Shade = static_cast<EShade>(index); }},
     "Draw the values, or, in 3D only, the slice as a surface lit from the upper left, by its derivatives dx "
     "and dy per cell: grey = 255 max(0, 1 + a + b) / sqrt(3 (1 + a^2 + b^2)), where a = 0.3 dx and "
     "b = 0.3 dy (default: value)."},
    {"--colours", "grey|viridis|magma|coolwarm|terrain",
     CChoice{[](COptions& options, uint32_t index) { options.m_Colours = static_cast<EColours>(index); }},
     "Colour map for values from -1 to 1. With --shade gradient, the light scales the brightness of the "
     "colours (default: grey)."},
    {"--compare", "qualities|dimensions",
     CChoice{[](COptions& options, uint32_t index) { options.m_Compare = static_cast<ECompare>(index + 1); }},
     "Draw all qualities or all dimensions side by side, each with a label and of the given size."},
    {"--curve", nullptr, CFlag{&COptions::m_IsLine},
     "Plot the values along a line through the 3D field, and below them the derivative along it."},
    {"--line", "Y", TRange<double>{&COptions::m_LineY, -kMaxCoordinate, kMaxCoordinate},
     "The y coordinate of that line; --slice sets its z.", "--curve"},
    {"--tile", nullptr, CFlag{&COptions::m_IsTile},
     "Show the seams of the field, which repeats every 256 cells: one period ends and the next begins in the "
     "middle of the picture, at the marks on its edges."},
    {"--size", "WxH", CSize{},
     "Width and height of the picture in pixels, or of the array. Samples in 1D are one row, whatever the "
     "height (default: 1024x1024)."},
    {"--cells", "N", TRange<uint32_t>{&COptions::m_Cells, 1, 1000000}, "Lattice cells across the picture."},
    {"--slice", "Z", TRange<double>{&COptions::m_Slice, -kMaxCoordinate, kMaxCoordinate},
     "The z coordinate of the slice through a 3D or 4D field."},
    {"--slice-w", "W", TRange<double>{&COptions::m_SliceW, -kMaxCoordinate, kMaxCoordinate},
     "The w coordinate of the slice through a 4D field."},
    {"--seed", "S", TRange<uint32_t>{&COptions::m_Seed, 0, UINT32_MAX}, "Seed of the field's random values."},
    {"--animate", "SECONDS", TRange<double>{&COptions::m_Seconds, 0.005, 60.0},
     "Write a lossy WebP animation that loops for ever, without a jump if it takes whole turns: the random "
     "values of the field swing between -1 and 1, and start as in the still picture."},
    {"--fps", "N", TRange<uint32_t>{&COptions::m_FramesPerSecond, 1, 100},
     "Frames per second of an animation.", "--animate"},
    {"--turn-seconds", "T", TRange<double>{&COptions::m_TurnSeconds, 0.1, 3600.0},
     "Seconds per turn, in which a value swings to and fro once.", "--animate"},
    {"--spin-variation", "V", TRange<double>{&COptions::m_SpinVariation, 0.0, 2.0},
     "How much the speeds of the values differ: they are spread over 1 - V/2 to 1 + V/2 turns per "
     "--turn-seconds. With 0, an animation of whole turns loops without a jump.",
     "--animate"},
    {"--bits", "8|16", CChoice{[](COptions& options, uint32_t index) { options.m_Bits = 8u << index; }},
     "Bits per channel of a PNG file (default: 8)."},
    {"--positions", "FILE|-", CText{&COptions::m_Positions},
     "Sample the field at the positions in a file instead of those of a picture, one float for each. A NumPy "
     "array (.npy) has a row of 32-bit or 64-bit floats per position, text (.csv) a line of numbers "
     "separated by commas; empty lines, lines that begin with # and a line of column names are skipped. - "
     "is standard input, either of the two. The number of columns is the dimension, 1 to 4."},
    {"--format", "png|webp|exr|npy|raw",
     CChoice{[](COptions& options, uint32_t index) { options.m_AskedFormat = static_cast<EFormat>(index); }},
     "The format of an output whose name does not tell it. PNG and WebP are pictures. OpenEXR (exr), NumPy "
     "(npy) and raw hold the samples as 32-bit floats: rows by columns; with --shade gradient, rows by "
     "columns by three derivatives; in 1D one row. The channels of OpenEXR are Y, or gradient.x, gradient.y "
     "and gradient.z. A raw file begins with 128 bytes of text: format, number type and shape, a line each "
     "(default: png; webp with --animate; npy with --positions)."},
    {"--output", "FILE|FOLDER/|-", CText{&COptions::m_Output},
     "The file to write. An existing file is replaced when the new one is complete. A name that ends in / is "
     "the folder for the default name; - is standard output. Any other name must end as the format does "
     "(.png, .webp, .exr, .npy, .raw) or have no extension. Without this option, a terminal shows the "
     "picture if it has UTF-8 and 256 or more colours (COLORTERM=truecolor), unless NO_COLOR is set "
     "(default: noise and the extension of the format).",
     nullptr, "-o"},
    {"--stats", nullptr, CFlag{&COptions::m_HasStatistics},
     "Print minimum, maximum, mean and a histogram of the field's values, whatever the shade; over all "
     "frames of an animation."},
};

std::vector<std::string> Split(std::string_view text, char separator) {
    std::istringstream stream{std::string(text)};
    std::vector<std::string> parts;
    for (std::string part; std::getline(stream, part, separator);) {
        parts.push_back(part);
    }
    return parts;
}

/// The number that is all of `text`, if it lies in [min, max].
template <typename TNumber>
std::optional<TNumber> ParseNumber(std::string_view text, TNumber min, TNumber max) {
    TNumber number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    const bool isWhole = error == std::errc() && end == text.data() + text.size();
    return isWhole && min <= number && number <= max ? std::optional(number) : std::nullopt;
}

template <typename TNumber>
std::string Text(TNumber number) {
    char text[32];
    return {text, std::to_chars(std::begin(text), std::end(text), number).ptr};
}

template <typename TNumber>
std::string Text(const TRange<TNumber>& range) {
    return Text(range.m_Min) + " to " + Text(range.m_Max);
}

struct CParser {
    const COption& m_Option;
    const std::string& m_Text;
    COptions& m_Options;

    void operator()(const CFlag& flag) const {
        m_Options.*flag.m_Member = true;
    }
    template <typename TNumber>
    void operator()(const TRange<TNumber>& range) const {
        const std::optional<TNumber> number = ParseNumber(m_Text, range.m_Min, range.m_Max);
        if (!number) {
            const std::string kind = std::is_integral_v<TNumber> ? "a whole number" : "a number";
            Refuse(m_Option.m_Name, m_Text, "not " + kind + " from " + Text(range));
        }
        m_Options.*range.m_Member = *number;
    }
    void operator()(const CText& text) const {
        m_Options.*text.m_Member = m_Text;
    }
    void operator()(const CChoice& choice) const {
        const std::vector<std::string> words = WordsOf(m_Option);
        const auto found = std::find(words.begin(), words.end(), m_Text);
        if (found == words.end()) {
            std::string list = m_Option.m_Metavar;
            std::replace(list.begin(), list.end(), '|', ' ');
            Refuse(m_Option.m_Name, m_Text, "none of: " + list + Hint(m_Text, words));
        }
        choice.m_Set(m_Options, static_cast<uint32_t>(found - words.begin()));
    }
    void operator()(const CSize&) const {
        const TRange<uint32_t> range{nullptr, 1, UINT32_MAX};
        const std::string_view text = m_Text;
        const size_t cross = std::min(text.find('x'), text.size());
        const auto width = ParseNumber(text.substr(0, cross), range.m_Min, range.m_Max);
        const auto height =
            ParseNumber(text.substr(std::min(cross + 1, text.size())), range.m_Min, range.m_Max);
        if (!width || !height) {
            Refuse(m_Option.m_Name, m_Text,
                   "not a width and a height like 1024x768, each from " + Text(range));
        }
        m_Options.m_Width = *width;
        m_Options.m_Height = *height;
    }
};

} // namespace

std::span<const COption> OptionTable() {
    return kOptions;
}

std::vector<std::string> OptionNames() {
    std::vector<std::string> names;
    std::ranges::transform(kOptions, std::back_inserter(names), &COption::m_Name);
    return names;
}

std::string Description(const COption& option) {
    const auto rangeText = []<typename TValue>(const TValue& value) -> std::string {
        if constexpr (requires { value.m_Min; }) {
            const auto usual = COptions().*value.m_Member;
            return " From " + Text(value) + (usual < value.m_Min ? "." : " (default: " + Text(usual) + ").");
        }
        return "";
    };
    return option.m_Description + std::visit(rangeText, option.m_Value);
}

std::vector<std::string> WordsOf(const COption& option) {
    return std::holds_alternative<CChoice>(option.m_Value) ? Split(option.m_Metavar, '|')
                                                           : std::vector<std::string>();
}

void ParseOption(const COption& option, const std::string& value, COptions& options) {
    options.m_Given.insert(option.m_Name);
    std::visit(CParser{option, value, options}, option.m_Value);
}

} // namespace NoisePreview
