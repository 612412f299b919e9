#include "options/option_rules.h"

#include "options/option_table.h"
#include "options/terminal.h"
#include "options/usage_error.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <unistd.h>

namespace NoisePreview {

namespace {

void RefuseIf(bool isWrong, const char* option, const char* reason) {
    if (isWrong) {
        Refuse(option, reason);
    }
}

void CheckCombinations(const COptions& options) {
    const uint32_t dimension = options.m_Dimension;
    const bool hasAllQualities = options.m_Compare == ECompare::kQualities;
    const bool hasAllDimensions = options.m_Compare == ECompare::kDimensions;
    const bool isCurve = options.m_IsLine || (dimension == 1 && !hasAllDimensions);
    const double cellRows = static_cast<double>(options.m_Cells) * options.m_Height / options.m_Width;
    RefuseIf(hasAllQualities && options.Has("--quality"), "--quality", "--compare draws them all");
    RefuseIf(hasAllDimensions && options.Has("--dimension"), "--dimension", "--compare draws them all");
    RefuseIf(hasAllDimensions && (options.m_IsLine || options.IsGradient()), "--compare",
             "'dimensions' does not go with --curve and --shade gradient, which are for 3D only");
    RefuseIf(options.IsGradient() && dimension != 3, "--shade", "'gradient' is for --dimension 3 only");
    RefuseIf(options.m_IsLine && dimension != 3, "--curve", "it is for --dimension 3 only");
    RefuseIf(options.Has("--slice") && dimension < 3 && !hasAllDimensions, "--slice",
             "it is for --dimension 3 and 4 only");
    RefuseIf(options.Has("--slice-w") && dimension < 4 && !hasAllDimensions, "--slice-w",
             "it is for --dimension 4 only");
    RefuseIf(options.m_IsLine && (options.Has("--shade") || options.m_IsTile), "--curve",
             "it does not go with --shade or --tile");
    RefuseIf(isCurve && options.Has("--colours"), "--colours", "they are for planes, not for curves");
    RefuseIf(!options.m_IsLine && dimension > 1 && cellRows > kMaxCoordinate, "--cells",
             "the picture would be more than 8388608 cells high");
    RefuseIf(options.Has("--animate") && options.m_FrameCount == 0, "--animate",
             "it is too short for a single frame at this --fps");
}

/// Refuses options that do not go with the format of the output.
void CheckForFormat(const COptions& options) {
    for (const char* name : {"--colours", "--compare", "--curve"}) {
        RefuseIf(options.IsData() && options.Has(name), name,
                 "it is for pictures, not for .exr, .npy and .raw files");
    }
    RefuseIf(options.Has("--bits") && options.m_Format != EFormat::kPng, "--bits",
             "it is for PNG files only");
    RefuseIf(options.m_Output == "-" && isatty(STDOUT_FILENO) != 0, "--output",
             "standard output is a terminal, which cannot show files");
}

/// Positions that are read from a file make no picture.
void CheckPositions(const COptions& options) {
    static const std::set<std::string> kAllowed = {"--positions", "--dimension", "--quality", "--seed",
                                                   "--format",    "--output",    "--stats"};
    for (const std::string& name : options.m_Given) {
        if (options.HasPositions() && !kAllowed.contains(name)) {
            Refuse(name, "it is for pictures, not for --positions");
        }
    }
}

/// The extension of the output decides the format; without one, --format does.
void ChooseFormat(COptions& options) {
    const EFormat usual = options.IsAnimation()    ? EFormat::kWebp
                          : options.HasPositions() ? EFormat::kNpy
                                                   : EFormat::kPng;
    const bool isFolder = options.m_Output.empty() || options.m_Output.back() == '/';
    const std::string extension = isFolder ? "" : ExtensionOf(options.m_Output);
    const std::optional<EFormat> named = FormatWithExtension(extension);
    if (!extension.empty() && !named) {
        Refuse("--output", options.m_Output,
               "of no known format; names end in .png, .webp, .exr, .npy or .raw");
    }
    if (named && options.m_AskedFormat && *named != *options.m_AskedFormat) {
        Refuse("--format", FormatOf(*options.m_AskedFormat).m_Extension,
               "not the format of '" + options.m_Output + "'");
    }
    options.m_Format = named ? *named : options.m_AskedFormat.value_or(usual);
    if (isFolder) {
        options.m_Output += std::string("noise.") + FormatOf(options.m_Format).m_Extension;
    }
}

/// Checks that the output can hold what it is to hold.
void CheckOutput(const COptions& options) {
    const std::string& output = options.m_Output;
    const EFormat format = options.m_Format;
    if (options.IsAnimation() && format != EFormat::kWebp) {
        Refuse("--output", output, "not a .webp file, as animations are");
    }
    if (!options.IsAnimation() && format == EFormat::kWebp) {
        Refuse("--output", output, "a .webp file, which only --animate writes");
    }
    if (options.HasPositions()) {
        if (format != EFormat::kNpy && format != EFormat::kRaw) {
            Refuse("--output", output, "not a .npy or .raw file, as samples at --positions are");
        }
        std::error_code ignored;
        if (options.m_Positions != "-" && std::filesystem::equivalent(options.m_Positions, output, ignored)) {
            Refuse("--output", output, "the file that --positions are read from");
        }
        return;
    }
    const CPictureSize picture = options.Size();
    const CPictureSize size{picture.m_Width, options.IsData() ? options.RowCount() : picture.m_Height};
    const std::string limit = ExceededLimit(format, size.m_Width, size.m_Height, options.BytesPerPixel());
    if (!limit.empty()) {
        Refuse("--size", std::to_string(size.m_Width) + "x" + std::to_string(size.m_Height),
               std::string("too large for ") + FormatOf(format).m_Name + ", which has " + limit);
    }
}

/// A still picture without --output is for the terminal, if that can show it.
bool IsForTerminal(const COptions& options) {
    return options.m_Output.empty() && !options.m_AskedFormat && !options.IsAnimation() &&
           !options.HasPositions() && options.m_Bits == 8 &&
           options.m_TerminalColours != ETerminalColours::kNone;
}

/// The middle of the picture is where a period ends and the next begins.
void CentreOnSeam(CView& view) {
    constexpr double kPeriod = 256.0;
    view.m_Left = kPeriod - 0.5 * view.m_Cells;
    view.m_Top = kPeriod - 0.5 * view.m_Cells * view.m_Height / view.m_Width;
}

} // namespace

CJob Resolve(COptions options) {
    CheckPositions(options);
    options.m_FrameCount = static_cast<uint32_t>(std::lround(options.m_Seconds * options.m_FramesPerSecond));
    CheckCombinations(options);
    options.m_TerminalColours = TerminalColours();
    if (IsForTerminal(options)) {
        options.m_Format = EFormat::kTerminal;
        FitIntoTerminal(options);
    } else {
        ChooseFormat(options);
        CheckOutput(options);
        CheckForFormat(options);
    }
    if (options.m_IsTile) {
        CentreOnSeam(options);
    }
    if (options.HasPositions() && !options.Has("--dimension")) {
        options.m_Dimension = 0; // that of the positions
    }
    return options;
}

} // namespace NoisePreview
