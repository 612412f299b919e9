#include "options/option_rules.h"

#include "files/ending.h"
#include "files/output_format.h"
#include "files/terminal_picture.h"
#include "options/option_table.h"
#include "options/refusal.h"
#include "painting/compare_painter.h"

#include <algorithm>
#include <filesystem>
#include <unistd.h>

namespace NoisePreview {

namespace {

using CIsGiven = std::function<bool(const std::string&)>;

/// Positions that are read from a file make no picture.
void CheckPositions(COptions& options, const CIsGiven& isGiven) {
    static constexpr const char* kAllowed[] = {"--positions", "--dimension", "--quality", "--seed",
                                               "--format",    "--output",    "--stats"};
    if (options.m_Positions.empty()) {
        return;
    }
    for (const COption& option : OptionTable()) {
        const bool isAllowed = std::any_of(std::begin(kAllowed), std::end(kAllowed), [&](const char* name) {
            return std::string(name) == option.m_Name;
        });
        if (!isAllowed && isGiven(option.m_Name)) {
            Refuse(option.m_Name, "it is for pictures, not for --positions");
        }
    }
    options.m_Dimension = isGiven("--dimension") ? options.m_Dimension : 0; // the file's own
}

/// Refuses coordinates of a slice that fields of the dimension do not have.
void CheckSlices(const COptions& options, const CIsGiven& isGiven) {
    const bool hasAll = options.m_Compare == ECompare::kDimensions;
    if (isGiven("--slice") && options.m_Dimension < 3 && !hasAll) {
        Refuse("--slice", "it is for --dimension 3 and 4 alone");
    }
    if (isGiven("--slice-w") && options.m_Dimension < 4 && !hasAll) {
        Refuse("--slice-w", "it is for --dimension 4 alone");
    }
}

void CheckDerivatives(const COptions& options) {
    if (options.m_Shade == EShade::kGradient && options.m_Dimension != 3) {
        Refuse("--shade", "gradient", "for --dimension 3 alone");
    }
    if (options.m_IsCurve && options.m_Dimension != 3) {
        Refuse("--curve", "it is for --dimension 3 alone, which has derivatives");
    }
}

void CheckCompare(const COptions& options, const CIsGiven& isGiven) {
    const bool hasBoth = options.m_Compare == ECompare::kQualities && isGiven("--quality");
    if (hasBoth || (options.m_Compare == ECompare::kDimensions && isGiven("--dimension"))) {
        Refuse(hasBoth ? "--quality" : "--dimension", "--compare draws them all");
    }
    if (options.m_Compare == ECompare::kDimensions &&
        (options.m_IsCurve || options.m_Shade == EShade::kGradient)) {
        Refuse("--compare", "dimensions", "not for --curve and --shade gradient, which are for 3D alone");
    }
}

void CheckCurve(const COptions& options, const CIsGiven& isGiven) {
    if (options.m_IsCurve && (isGiven("--shade") || options.m_IsTile)) {
        Refuse("--curve", "it does not go with --shade or --tile");
    }
    const bool isPlot =
        options.m_IsCurve || (options.m_Dimension == 1 && options.m_Compare != ECompare::kDimensions);
    if (isPlot && isGiven("--colours")) {
        Refuse("--colours", "they are for pictures of planes, not for curves");
    }
}

void CheckExtent(const COptions& options) {
    const double tall = static_cast<double>(options.m_Height) / options.m_Width;
    const bool isPlane = !options.m_IsCurve && options.m_Dimension > 1;
    if (isPlane && options.m_Cells * tall > kMaxCoordinate) {
        Refuse("--cells", std::to_string(options.m_Cells),
               "so many that the picture would be more than 8388608 cells high");
    }
}

void CheckAnimation(const COptions& options) {
    if (options.IsAnimation() && options.FrameCount() == 0) {
        Refuse("--animate", "there is not one frame in so short a time at " +
                                std::to_string(options.m_FramesPerSecond) + " frames per second");
    }
}

std::string Article(const CFormat& format) {
    return format.m_Format == EFormat::kExr ? "an " : "a ";
}

/// Refuses to write over the file that is read.
void CheckInput(const COptions& options) {
    std::error_code error;
    if (!options.m_Positions.empty() &&
        std::filesystem::equivalent(options.m_Positions, options.m_Output, error)) {
        Refuse("--output", options.m_Output, "the file that --positions are read from");
    }
}

/// What the kind of output can be, and why nothing else.
void CheckFormat(const COptions& options, const CFormat& format) {
    const bool isRightForPositions = format.m_Format == EFormat::kNpy || format.m_Format == EFormat::kRaw;
    if (options.IsAnimation() != (format.m_Format == EFormat::kWebp)) {
        Refuse("--output", options.m_Output,
               options.IsAnimation() ? "no name of a WebP file (.webp), as animations are"
                                     : "the name of a WebP file, which only --animate makes");
    }
    if (!options.m_Positions.empty() && !isRightForPositions) {
        Refuse("--output", options.m_Output,
               "no name of a NumPy or a raw file (.npy or .raw), as samples at --positions are");
    }
}

/// The name says the format, unless it has no ending; --format may say it then, and must not contradict.
void ChooseFormat(COptions& options) {
    const EFormat usual = options.IsAnimation()          ? EFormat::kWebp
                          : !options.m_Positions.empty() ? EFormat::kNpy
                                                         : EFormat::kPng;
    const bool isFolder = options.m_Output.empty() || options.m_Output.back() == '/';
    const std::string ending = isFolder ? "" : EndingOf(options.m_Output);
    const std::optional<EFormat> named = FormatNamed(ending);
    if (!ending.empty() && !named) {
        Refuse("--output", options.m_Output, "of no format: a name ends in .png, .webp, .exr, .npy or .raw");
    }
    if (named && options.m_AskedFormat && *named != *options.m_AskedFormat) {
        Refuse("--format", FormatOf(*options.m_AskedFormat).m_ShortName,
               "not the format of '" + options.m_Output + "'");
    }
    options.m_Format = named ? *named : options.m_AskedFormat.value_or(usual);
    if (isFolder) {
        options.m_Output += std::string("noise.") + FormatOf(options.m_Format).m_ShortName;
    }
    CheckFormat(options, FormatOf(options.m_Format));
}

/// Refuses what only pictures have, and bits that only PNG files have.
void CheckContent(const COptions& options, const CIsGiven& isGiven) {
    for (const char* option : {"--colours", "--compare", "--curve"}) {
        if (options.IsData() && isGiven(option)) {
            Refuse(option, std::string("it is for pictures, which ") + Article(FormatOf(options.m_Format)) +
                               FormatOf(options.m_Format).m_Name + " file is not");
        }
    }
    if (isGiven("--bits") && options.m_Format != EFormat::kPng) {
        Refuse("--bits", "it is for PNG files alone");
    }
}

void CheckSize(const COptions& options) {
    const CFormat& format = FormatOf(options.m_Format);
    const CPictureSize size = SizeOfPicture(options);
    if (options.m_Positions.empty() && std::max(size.m_Width, size.m_Height) > format.m_MaxSide) {
        const std::string most = std::to_string(format.m_MaxSide);
        Refuse("--size", std::to_string(size.m_Width) + "x" + std::to_string(size.m_Height),
               "too large for " + Article(format) + format.m_Name + " file, which has at most " + most + "x" +
                   most + " pixels");
    }
}

/// A picture that no file is asked for goes to the terminal, if there is one for it.
bool IsForTerminal(const COptions& options) {
    return options.m_Output.empty() && !options.m_AskedFormat && !options.IsAnimation() &&
           options.m_Positions.empty() && options.m_Bits == 8 && TerminalColours() != ETerminalColours::kNone;
}

} // namespace

void CompleteOptions(COptions& options, const CIsGiven& isGiven) {
    CheckPositions(options, isGiven);
    CheckCompare(options, isGiven);
    CheckDerivatives(options);
    CheckSlices(options, isGiven);
    CheckCurve(options, isGiven);
    CheckExtent(options);
    CheckAnimation(options);
    if (IsForTerminal(options)) {
        options.m_Format = EFormat::kTerminal;
        return;
    }
    ChooseFormat(options);
    CheckInput(options);
    CheckContent(options, isGiven);
    CheckSize(options);
    if (options.m_Output == "-" && isatty(STDOUT_FILENO) != 0) {
        Refuse("--output", options.m_Output, "standard output, which is a terminal and cannot show files");
    }
}

} // namespace NoisePreview
