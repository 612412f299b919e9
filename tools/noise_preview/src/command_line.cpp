#include "command_line.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <string_view>

namespace NoisePreview {

namespace {

/// The largest side that a PNG file can have.
constexpr uint32_t kMaxSide = 0x7FFFFFFF;

/// From here on floats have no fractions, and the field no shape.
constexpr double kMaxCoordinate = 0x1p23;

/// Refuses the value of an option.
[[noreturn]] void Refuse(const std::string& option, const std::string& text, const std::string& reason) {
    throw CLI::ValidationError(option, "'" + text + "' is " + reason);
}

/// The whole number that is all of `text`, if it lies between `min` and `max`.
std::optional<uint32_t> ParseWhole(std::string_view text, uint32_t min, uint32_t max) {
    uint32_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    const bool isWhole = error == std::errc() && end == text.data() + text.size();
    return isWhole && min <= number && number <= max ? std::optional(number) : std::nullopt;
}

void ParseDimension(const std::string& text, COptions& options) {
    if (text != "1" && text != "3") {
        Refuse("--dimension", text, "neither 1 nor 3");
    }
    options.m_Dimension = text == "1" ? 1 : 3;
}

void ParseQuality(const std::string& text, COptions& options) {
    if (text == "linear") {
        options.m_Quality = EQuality::kLinear;
    } else if (text == "cubic") {
        options.m_Quality = EQuality::kCubic;
    } else if (text == "quintic") {
        options.m_Quality = EQuality::kQuintic;
    } else {
        Refuse("--quality", text, "none of linear, cubic and quintic");
    }
}

void ParseSize(const std::string& text, COptions& options) {
    const size_t cross = text.find('x');
    if (cross == std::string::npos) {
        Refuse("--size", text, "not a width and a height like 1024x768");
    }
    const std::string_view sides = text;
    const std::optional<uint32_t> width = ParseWhole(sides.substr(0, cross), 1, kMaxSide);
    const std::optional<uint32_t> height = ParseWhole(sides.substr(cross + 1), 1, kMaxSide);
    if (!width || !height) {
        Refuse("--size", text, "not a width and a height from 1 to 2147483647");
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

void ParseSlice(const std::string& text, COptions& options) {
    double slice = 0.0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), slice);
    const bool isWhole = error == std::errc() && end == text.data() + text.size();
    if (!isWhole || !(std::fabs(slice) <= kMaxCoordinate)) {
        Refuse("--slice", text, "not a number from -8388608 to 8388608");
    }
    options.m_Slice = static_cast<float>(slice);
}

void ParseSeed(const std::string& text, COptions& options) {
    const std::optional<uint32_t> seed = ParseWhole(text, 0, UINT32_MAX);
    if (!seed) {
        Refuse("--seed", text, "not a whole number from 0 to 4294967295");
    }
    options.m_Seed = *seed;
}

void ParseOutput(const std::string& text, COptions& options) {
    if (text.empty()) {
        Refuse("--output", text, "not the name of a file");
    }
    options.m_Output = text;
}

/// An option of the command line.
struct COption {
    const char* m_Name;
    const char* m_Form;
    const char* m_Description;
    void (*m_Parse)(const std::string& text, COptions& options);
};

constexpr COption kOptions[] = {
    {"--dimension", "1|3",
     "Dimension of the field: 1 draws its curve, 3 a slice through it, from black at -1 to white at 1 "
     "(default: 3).",
     ParseDimension},
    {"--quality", "linear|cubic|quintic",
     "How samples are blended between lattice points (default: quintic).", ParseQuality},
    {"--size", "WxH", "Width and height of the picture in pixels (default: 1024x1024).", ParseSize},
    {"--cells", "N", "How many lattice cells the picture is wide, 1 to 1000000 (default: 16).", ParseCells},
    {"--slice", "Z", "Where a 3D field is cut: the z coordinate of all positions (default: 0.5).",
     ParseSlice},
    {"--seed", "S", "Seed of the field's random values, 0 to 4294967295 (default: 1).", ParseSeed},
    {"--output", "FILE.png",
     "The PNG file to write; a file that is there already is replaced (default: noise.png).", ParseOutput},
};

void CheckExtent(const COptions& options) {
    const double tall = static_cast<double>(options.m_Height) / options.m_Width;
    if (options.m_Dimension == 3 && options.m_Cells * tall > kMaxCoordinate) {
        Refuse("--cells", std::to_string(options.m_Cells),
               "so many that the picture would be more than 8388608 cells high");
    }
}

} // namespace

std::optional<COptions> ParseCommandLine(int argumentCount, char** arguments, int& exitCode) {
    COptions options;
    CLI::App app("Draws a picture of a noise field and says how long its sampling took.", "noise_preview");
    for (const COption& option : kOptions) {
        const auto parse = [&](const std::string& text) { option.m_Parse(text, options); };
        app.add_option_function<std::string>(option.m_Name, parse, option.m_Description)
            ->type_name(option.m_Form)
            ->take_last();
    }
    app.failure_message([](const CLI::App*, const CLI::Error& error) {
        std::string line = std::string("noise_preview: ") + error.what() + " (--help explains the options)";
        std::replace(line.begin(), line.end(), '\n', ' '); // one that came with an argument
        return line + '\n';
    });

    try {
        app.parse(argumentCount, arguments);
        CheckExtent(options);
    } catch (const CLI::ParseError& error) {
        exitCode = app.exit(error) == 0 ? 0 : 2;
        return std::nullopt;
    }
    return options;
}

} // namespace NoisePreview
