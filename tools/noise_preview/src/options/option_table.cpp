#include "options/option_table.h"

#include "files/output_format.h"
#include "options/refusal.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <string_view>

namespace NoisePreview {

namespace {

/// The number that is all of `text`, if it lies between `min` and `max`.
template <typename TNumber>
std::optional<TNumber> ParseNumber(std::string_view text, TNumber min, TNumber max) {
    TNumber number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    const bool isWhole = error == std::errc() && end == text.data() + text.size();
    return isWhole && min <= number && number <= max ? std::optional(number) : std::nullopt;
}

std::optional<uint32_t> ParseWhole(std::string_view text, uint32_t min, uint32_t max) {
    return ParseNumber(text, min, max);
}

std::optional<double> ParseDecimal(std::string_view text, double min, double max) {
    return ParseNumber(text, min, max);
}

/// A word that an option may be given, and what it stands for.
template <typename TValue>
struct TWord {
    const char* m_Text;
    TValue m_Value;
};

/// What the one of `words` that is `text` stands for. `choices` tells what there is to choose from.
template <typename TValue, size_t kCount>
TValue ParseWord(const char* option, const std::string& text, const TWord<TValue> (&words)[kCount],
                 const char* choices) {
    for (const TWord<TValue>& word : words) {
        if (text == word.m_Text) {
            return word.m_Value;
        }
    }
    Refuse(option, text, choices);
}

void ParseDimension(const std::string& text, COptions& options) {
    const std::optional<uint32_t> dimension = ParseWhole(text, 1, 4);
    if (!dimension) {
        Refuse("--dimension", text, "none of 1, 2, 3 and 4");
    }
    options.m_Dimension = *dimension;
}

void ParseQuality(const std::string& text, COptions& options) {
    options.m_Quality = ParseWord<EQuality>(
        "--quality", text,
        {{"linear", EQuality::kLinear}, {"cubic", EQuality::kCubic}, {"quintic", EQuality::kQuintic}},
        "none of linear, cubic and quintic");
}

void ParseShade(const std::string& text, COptions& options) {
    options.m_Shade =
        ParseWord<EShade>("--shade", text, {{"value", EShade::kValue}, {"gradient", EShade::kGradient}},
                          "neither value nor gradient");
}

void ParseColours(const std::string& text, COptions& options) {
    options.m_Colours = ParseWord<EColours>("--colours", text,
                                            {{"grey", EColours::kGrey},
                                             {"viridis", EColours::kViridis},
                                             {"magma", EColours::kMagma},
                                             {"coolwarm", EColours::kCoolwarm},
                                             {"terrain", EColours::kTerrain}},
                                            "none of grey, viridis, magma, coolwarm and terrain");
}

void ParseCompare(const std::string& text, COptions& options) {
    options.m_Compare = ParseWord<ECompare>(
        "--compare", text, {{"qualities", ECompare::kQualities}, {"dimensions", ECompare::kDimensions}},
        "neither qualities nor dimensions");
}

void ParseCurve(const std::string&, COptions& options) {
    options.m_IsCurve = true;
}

void ParseTile(const std::string&, COptions& options) {
    options.m_IsTile = true;
}

void ParseStatistics(const std::string&, COptions& options) {
    options.m_HasStatistics = true;
}

void ParseSize(const std::string& text, COptions& options) {
    const std::string_view sides = text;
    const size_t cross = std::min(sides.find('x'), sides.size());
    const std::optional<uint32_t> width = ParseWhole(sides.substr(0, cross), 1, UINT32_MAX);
    const std::optional<uint32_t> height =
        ParseWhole(sides.substr(std::min(cross + 1, sides.size())), 1, UINT32_MAX);
    if (!width || !height) {
        Refuse("--size", text, "not a width and a height like 1024x768, each from 1 to 4294967295");
    }
    options.m_Width = *width;
    options.m_Height = *height;
}

void ParseCells(const std::string& text, COptions& options) {
    const std::optional<uint32_t> cells = ParseWhole(text, 1, 1000000);
    if (!cells) {
        Refuse("--cells", text, "not a whole number from 1 to 1000000");
    }
    options.m_Cells = *cells;
}

/// The coordinate that `option` gives a slice.
float ParseCoordinate(const char* option, const std::string& text) {
    const std::optional<double> coordinate = ParseDecimal(text, -kMaxCoordinate, kMaxCoordinate);
    if (!coordinate) {
        Refuse(option, text, "not a number like 0.5, from -8388608 to 8388608");
    }
    return static_cast<float>(*coordinate);
}

void ParseLine(const std::string& text, COptions& options) {
    options.m_LineY = ParseCoordinate("--line", text);
}

void ParseSlice(const std::string& text, COptions& options) {
    options.m_Slice = ParseCoordinate("--slice", text);
}

void ParseSliceW(const std::string& text, COptions& options) {
    options.m_SliceW = ParseCoordinate("--slice-w", text);
}

void ParseSeed(const std::string& text, COptions& options) {
    const std::optional<uint32_t> seed = ParseWhole(text, 0, UINT32_MAX);
    if (!seed) {
        Refuse("--seed", text, "not a whole number from 0 to 4294967295");
    }
    options.m_Seed = *seed;
}

void ParseAnimate(const std::string& text, COptions& options) {
    const auto seconds = ParseDecimal(text, std::numeric_limits<double>::min(), 60.0);
    if (!seconds) {
        Refuse("--animate", text, "not a number of seconds above 0, up to 60");
    }
    options.m_Seconds = *seconds;
}

void ParseFps(const std::string& text, COptions& options) {
    const std::optional<uint32_t> fps = ParseWhole(text, 1, 100);
    if (!fps) {
        Refuse("--fps", text, "not a whole number from 1 to 100");
    }
    options.m_FramesPerSecond = *fps;
}

void ParseTurnSeconds(const std::string& text, COptions& options) {
    const std::optional<double> seconds = ParseDecimal(text, 0.1, 3600.0);
    if (!seconds) {
        Refuse("--turn-seconds", text, "not a number from 0.1 to 3600");
    }
    options.m_TurnSeconds = *seconds;
}

void ParseSpinVariation(const std::string& text, COptions& options) {
    const std::optional<double> variation = ParseDecimal(text, 0.0, 2.0);
    if (!variation) {
        Refuse("--spin-variation", text, "not a number from 0 to 2");
    }
    options.m_SpinVariation = static_cast<float>(*variation);
}

void ParseBits(const std::string& text, COptions& options) {
    if (text != "8" && text != "16") {
        Refuse("--bits", text, "neither 8 nor 16");
    }
    options.m_Bits = text == "8" ? 8 : 16;
}

void ParsePositions(const std::string& text, COptions& options) {
    options.m_Positions = text;
}

void ParseFormat(const std::string& text, COptions& options) {
    options.m_AskedFormat = FormatNamed(text);
    if (!options.m_AskedFormat) {
        Refuse("--format", text, "none of png, webp, exr, npy and raw");
    }
}

void ParseOutput(const std::string& text, COptions& options) {
    options.m_Output = text;
}

constexpr COption kOptions[] = {
    {"--dimension", "1|2|3|4",
     "Dimension of the field: 1 draws its curve, 2 its plane, 3 and 4 a slice through it, from black at -1 "
     "to white at 1 (default: 3).",
     ParseDimension},
    {"--quality", "linear|cubic|quintic",
     "How samples are blended between lattice points (default: quintic).", ParseQuality},
    {"--shade", "value|gradient",
     "What the greys are made of: the values, or, in 3D alone, the derivatives dx and dy per cell. The slice "
     "is then a surface lit from the upper left: grey = 255 max(0, 1 + a + b) / sqrt(3 (1 + a^2 + b^2)), "
     "where a = 0.3 dx and b = 0.3 dy (default: value).",
     ParseShade},
    {"--colours", "grey|viridis|magma|coolwarm|terrain",
     "Colours from -1 to 1. With --shade gradient they are those of the values, as bright as the light makes "
     "them (default: grey).",
     ParseColours},
    {"--compare", "qualities|dimensions",
     "Draw all qualities, or all dimensions, side by side in pictures of the size given, with labels.",
     ParseCompare},
    {"--curve", nullptr,
     "Plot the values along a line through the 3D field, and below them the derivative along it.",
     ParseCurve},
    {"--line", "Y",
     "Where that line is: the y coordinate of all its positions, -8388608 to 8388608, beside the z of "
     "--slice "
     "(default: 0).",
     ParseLine, "--curve"},
    {"--tile", nullptr,
     "Show how the field, which repeats every 256 cells, meets itself: at the middle of the picture, which "
     "marks on its edges point at, one period ends and the next begins.",
     ParseTile},
    {"--size", "WxH",
     "Width and height of the picture in pixels, or of the array; samples in 1D are one row whatever the "
     "height (default: 1024x1024).",
     ParseSize},
    {"--cells", "N", "How many lattice cells the picture is wide, 1 to 1000000 (default: 16).", ParseCells},
    {"--slice", "Z",
     "Where a 3D or 4D field is cut: the z coordinate of all positions, -8388608 to 8388608 (default: 0.5).",
     ParseSlice},
    {"--slice-w", "W",
     "Where a 4D field is cut as well: the w coordinate of all positions, -8388608 to 8388608 (default: "
     "0.5).",
     ParseSliceW},
    {"--seed", "S", "Seed of the field's random values, 0 to 4294967295 (default: 1).", ParseSeed},
    {"--animate", "SECONDS",
     "Write an animation that loops for ever, up to 60 seconds long, and without a jump if it takes whole "
     "turns: "
     "the random values of the field swing between -1 and 1, and begin as in the still picture. It is a WebP "
     "file, with a loss that hardly shows "
     "where all is smooth and makes it a quarter of the size.",
     ParseAnimate},
    {"--fps", "N", "Frames per second of an animation, 1 to 100 (default: 25).", ParseFps, "--animate"},
    {"--turn-seconds", "T",
     "How long a turn takes, in which a value swings to and fro once, 0.1 to 3600 (default: 1).",
     ParseTurnSeconds, "--animate"},
    {"--spin-variation", "V",
     "How far the speeds of the values differ, 0 to 2: they are spread over 1 - V/2 to 1 + V/2 turns in the "
     "time of one. With 0, an animation of whole turns loops without a seam (default: 0).",
     ParseSpinVariation, "--animate"},
    {"--bits", "8|16", "Bits of each grey or colour of a PNG file (default: 8).", ParseBits},
    {"--positions", "FILE",
     "Sample the field at the positions in a file, in place of those of a picture: either a NumPy array of "
     "floats of 4 bytes with a row for each position (.npy), or text with a line of numbers and commas for "
     "each (.csv), where empty lines, those that begin with # and names of columns are passed over. "
     "As many columns as there are make the dimension, 1 to 4. The output is one float for each.",
     ParsePositions},
    {"--format", "png|webp|exr|npy|raw",
     "What to write where the name of the output does not say: PNG and WebP are pictures; OpenEXR (exr), "
     "NumPy (npy) and raw are the field's own floats of 4 bytes, rows by columns or, with --shade gradient, "
     "rows by columns by three derivatives, and in 1D one row. An OpenEXR file has the channel Y, or "
     "gradient.x, gradient.y and gradient.z; a raw file begins with 128 bytes of text: a line each of its "
     "kind, "
     "its numbers' type and its shape (default: png; webp with --animate; npy with --positions).",
     ParseFormat},
    {"--output", "FILE|FOLDER/|-",
     "The file to write; one that is there already is replaced, once the new one is complete. A name that "
     "ends in / is the folder for the default; - is standard output, which gets all of it at the end, from a "
     "temporary file; else it ends as the format does (.png, .webp, .exr, .npy, .raw), or has no ending. "
     "Without this option, a terminal of 256 colours or all (COLORTERM=truecolor) and UTF-8 gets the "
     "picture, "
     "unless NO_COLOR is set (default: noise and the ending of the format).",
     ParseOutput},
    {"--stats", nullptr,
     "Print minimum, maximum, mean and a histogram of the drawn field's values as well, whatever the shade; "
     "over all frames of an animation.",
     ParseStatistics},
};

} // namespace

std::span<const COption> OptionTable() {
    return kOptions;
}

} // namespace NoisePreview
