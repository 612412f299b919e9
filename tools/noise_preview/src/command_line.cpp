#include "command_line.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <iostream>
#include <limits>
#include <memory>
#include <sstream>
#include <string_view>

namespace NoisePreview {

namespace {

/// The largest side that a PNG file can have.
constexpr uint32_t kMaxSide = 0x7FFFFFFF;

/// The largest side that a WebP file can have.
constexpr uint32_t kMaxAnimationSide = 16383;

/// From here on floats have no fractions, and the field no shape.
constexpr double kMaxCoordinate = 0x1p23;

/// Refuses the value of an option.
[[noreturn]] void Refuse(const std::string& option, const std::string& text, const std::string& reason) {
    throw CLI::ValidationError(option, "'" + text + "' is " + reason);
}

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

void ParseDimension(const std::string& text, COptions& options) {
    const std::optional<uint32_t> dimension = ParseWhole(text, 1, 4);
    if (!dimension) {
        Refuse("--dimension", text, "none of 1, 2, 3 and 4");
    }
    options.m_Dimension = *dimension;
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

void ParseShade(const std::string& text, COptions& options) {
    if (text == "value") {
        options.m_Shade = EShade::kValue;
    } else if (text == "gradient") {
        options.m_Shade = EShade::kGradient;
    } else {
        Refuse("--shade", text, "neither value nor gradient");
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

/// The coordinate that `option` gives a slice.
float ParseCoordinate(const char* option, const std::string& text) {
    const std::optional<double> coordinate = ParseDecimal(text, -kMaxCoordinate, kMaxCoordinate);
    if (!coordinate) {
        Refuse(option, text, "not a number from -8388608 to 8388608");
    }
    return static_cast<float>(*coordinate);
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
    const char* m_Needed = nullptr; // an option without which this one makes no sense
};

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
    {"--size", "WxH", "Width and height of the picture in pixels (default: 1024x1024).", ParseSize},
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
     "Write an animation that loops for ever, up to 60 seconds long: the random values of the field swing "
     "between -1 and 1, and begin as in the still picture. It is a WebP file, with a loss that hardly shows "
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
    {"--output", "FILE|FOLDER/",
     "The PNG or WebP file to write; a file that is there already is replaced. A name that ends in / is the "
     "folder for the default; else it ends as the format does, or has no ending (default: noise.png, or "
     "noise.webp with --animate).",
     ParseOutput},
};

/// Refuses coordinates of a slice that fields of the dimension do not have.
void CheckSlices(const CLI::App& app, const COptions& options) {
    if (app.count("--slice") > 0 && options.m_Dimension < 3) {
        throw CLI::ValidationError("--slice", "it is for --dimension 3 and 4 alone");
    }
    if (app.count("--slice-w") > 0 && options.m_Dimension < 4) {
        throw CLI::ValidationError("--slice-w", "it is for --dimension 4 alone");
    }
}

void CheckShade(const COptions& options) {
    if (options.m_Shade == EShade::kGradient && options.m_Dimension != 3) {
        Refuse("--shade", "gradient", "for --dimension 3 alone");
    }
}

void CheckExtent(const COptions& options) {
    const double tall = static_cast<double>(options.m_Height) / options.m_Width;
    if (options.m_Dimension > 1 && options.m_Cells * tall > kMaxCoordinate) {
        Refuse("--cells", std::to_string(options.m_Cells),
               "so many that the picture would be more than 8388608 cells high");
    }
}

void CheckAnimation(const COptions& options) {
    if (!options.IsAnimation()) {
        return;
    }
    if (options.m_Width > kMaxAnimationSide || options.m_Height > kMaxAnimationSide) {
        Refuse("--size", std::to_string(options.m_Width) + "x" + std::to_string(options.m_Height),
               "too large for an animation, which has at most 16383x16383 pixels");
    }
    if (options.FrameCount() == 0) {
        throw CLI::ValidationError("--animate", "there is not one frame in so short a time at " +
                                                    std::to_string(options.m_FramesPerSecond) +
                                                    " frames per second");
    }
}

/// The ending of a file's name in small letters, such as .png.
std::string EndingOf(const std::string& name) {
    std::string ending = std::filesystem::path(name).extension().string();
    std::transform(ending.begin(), ending.end(), ending.begin(),
                   [](char c) { return 'A' <= c && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
    return ending;
}

/// Where only a folder is given, or nothing, the file has a name of the program's own. Any other is to end as
/// its format does, so that a slip does not replace a file of another kind.
void CompleteOutput(COptions& options) {
    const bool isAnimation = options.IsAnimation();
    if (options.m_Output.empty() || options.m_Output.back() == '/') {
        options.m_Output += isAnimation ? "noise.webp" : "noise.png";
    }
    const std::string ending = EndingOf(options.m_Output);
    if (!ending.empty() && ending != (isAnimation ? ".webp" : ".png")) {
        Refuse("--output", options.m_Output,
               isAnimation ? "not the name of a WebP file, as animations are"
                           : "not the name of a PNG file, as still pictures are");
    }
}

/// Breaks a text into lines of at most `width` characters.
std::string Wrapped(const std::string& text, size_t width) {
    std::istringstream words(text);
    std::string lines;
    size_t column = 0;
    for (std::string word; words >> word;) {
        const bool fits = column == 0 || column + 1 + word.size() <= width;
        lines += column == 0 ? "" : fits ? " " : "\n";
        column = fits && column > 0 ? column + 1 + word.size() : word.size();
        lines += word;
    }
    return lines;
}

/// Help that fits into 80 columns.
class CHelpFormatter final : public CLI::Formatter {
private:
    std::string make_option_opts(const CLI::Option* option) const override {
        return option->get_type_name().empty() ? "" : " " + option->get_type_name();
    }

    std::string make_option_desc(const CLI::Option* option) const override {
        return Wrapped(option->get_description(), 79 - get_column_width());
    }
};

} // namespace

std::optional<COptions> ParseCommandLine(int argumentCount, char** arguments, int& exitCode) {
    COptions options;
    CLI::App app("Draws a picture or an animation of a noise field and says how long its sampling took.",
                 "noise_preview");
    app.formatter(std::make_shared<CHelpFormatter>());
    for (const COption& option : kOptions) {
        const auto parse = [&](const std::string& text) { option.m_Parse(text, options); };
        CLI::Option* const added =
            app.add_option_function<std::string>(option.m_Name, parse, option.m_Description)
                ->type_name(option.m_Form)
                ->take_last();
        if (option.m_Needed != nullptr) {
            added->needs(app.get_option(option.m_Needed));
        }
    }
    app.add_flag(
           "--stats", options.m_HasStatistics,
           "Print minimum, maximum, mean and a histogram of the drawn field's values as well, whatever the "
           "shade; over all frames of an animation.")
        ->disable_flag_override();
    app.failure_message([](const CLI::App*, const CLI::Error& error) {
        std::string line = std::string("noise_preview: ") + error.what() + " (--help explains the options)";
        std::replace(line.begin(), line.end(), '\n', ' '); // one that came with an argument
        return line + '\n';
    });

    try {
        app.parse(argumentCount, arguments);
        CheckShade(options);
        CheckSlices(app, options);
        CheckExtent(options);
        CheckAnimation(options);
        CompleteOutput(options);
    } catch (const CLI::ParseError& error) {
        exitCode = app.exit(error) == 0 ? 0 : 2;
        if (!std::cout.flush()) {
            std::cerr << "noise_preview: the help cannot be written to standard output\n";
            exitCode = 1;
        }
        return std::nullopt;
    }
    return options;
}

} // namespace NoisePreview
