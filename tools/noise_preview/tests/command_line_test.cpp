#include "noise_preview_run.h"

#include <sstream>
#include <string>
#include <vector>

namespace {

TEST_F(NoisePreview, Defaults) {
    ASSERT_EQ(Run("").m_ExitCode, 0);
    const CGreyPng picture = ReadPng(m_Folder / "noise.png");
    EXPECT_EQ(picture.m_Width, 1024u);
    EXPECT_EQ(picture.m_Height, 1024u);
    ASSERT_EQ(
        Run("--dimension 3 --quality quintic --size 1024x1024 --cells 16 --slice 0.5 --seed 1 --output b.png")
            .m_ExitCode,
        0);
    EXPECT_EQ(ReadFile(m_Folder / "noise.png"), ReadFile(m_Folder / "b.png"));
    ASSERT_EQ(Run("--dimension 4 --size 60x40 --output c.png").m_ExitCode, 0);
    ASSERT_EQ(Run("--dimension 4 --size 60x40 --slice 0.5 --slice-w 0.5 --output d.png").m_ExitCode, 0);
    EXPECT_EQ(ReadFile(m_Folder / "c.png"), ReadFile(m_Folder / "d.png"));
}

TEST_F(NoisePreview, AFolderGetsAFileOfTheDefaultName) {
    fs::create_directory(m_Folder / "folder");
    const CResult result = Run("--size 10x10 --output folder/");
    EXPECT_EQ(result.m_Output.find("folder/noise.png: "), 0u) << result.m_Output;
    EXPECT_EQ(ReadPng(m_Folder / "folder/noise.png").m_Width, 10u);
    EXPECT_EQ(Files().size(), 1u);
    ExpectFailure("--output nowhere/", "'nowhere/noise.png' cannot be written: there is no such folder");
}

TEST_F(NoisePreview, OutputHasAShortName) {
    for (const std::string option : {"-o a.png", "-oa.png"}) {
        ASSERT_EQ(Run("--size 9x9 " + option).m_ExitCode, 0) << option;
        EXPECT_TRUE(fs::remove(m_Folder / "a.png")) << option;
    }
    ExpectUsageError("-o", "--output: its value is missing: FILE|FOLDER/|-");
    ExpectUsageError("-o a.jpg", "--output: 'a.jpg' is of no known format");
}

TEST_F(NoisePreview, LastOfRepeatedOptionsCounts) {
    ASSERT_EQ(Run("--size 9x9 --size 20x10 --output a.png --output b.png").m_ExitCode, 0);
    EXPECT_FALSE(fs::exists(m_Folder / "a.png"));
    EXPECT_EQ(ReadPng(m_Folder / "b.png").m_Width, 20u);
}

TEST_F(NoisePreview, HelpExplainsEveryOptionWithItsDefault) {
    const CResult result = Run("--help");
    EXPECT_EQ(result.m_ExitCode, 0);
    EXPECT_EQ(result.m_Errors, "");
    std::istringstream lines(result.m_Output);
    std::istringstream words(result.m_Output);
    std::string help; // in one line
    for (std::string line; std::getline(lines, line);) {
        EXPECT_LE(line.size(), 90u) << line;
    }
    for (std::string word; words >> word;) {
        help += word + " ";
    }
    std::istringstream texts(R"(--dimension 1|2|3|4 Dimension
--quality linear|cubic|quintic How
--shade value|gradient Draw
--colours grey|viridis|magma|coolwarm|terrain Colour
--compare qualities|dimensions Draw
--curve Plot
--line Y The
From -8388608 to 8388608 (default: 0).
--tile Show
--size WxH Width
(default: 1024x1024).
--cells N Lattice cells across the picture. From 1 to 1000000 (default: 16).
--slice Z The
From -8388608 to 8388608 (default: 0.5).
--slice-w W The
--seed S Seed of the field's random values. From 0 to 4294967295 (default: 1).
--animate SECONDS Write
From 0.005 to 60. --fps
--fps N Frames per second of an animation. From 1 to 100 (default: 25).
--turn-seconds T Seconds
From 0.1 to 3600 (default: 1).
--spin-variation V How
From 0 to 2 (default: 0).
--bits 8|16 Bits per channel of a PNG file (default: 8).
--positions FILE|- Sample
--format png|webp|exr|npy|raw The
(default: png; webp with --animate; npy with --positions).
-o,--output FILE|FOLDER/|- The
(default: noise and the extension of the format).
--stats Print)");
    for (std::string text; std::getline(texts, text);) {
        EXPECT_NE(help.find(text), std::string::npos) << text << " in:\n" << result.m_Output;
    }
}

TEST_F(NoisePreview, ValuesOutOfRangeGetOneLineThatNamesThem) {
    struct CCase {
        std::string m_Option;
        std::string m_Limit;
        std::vector<std::string> m_Values;
    };
    const CCase cases[] = {
        {"--dimension", "none of: 1 2 3 4", {"5", "0", "-1", "x", "3.0"}},
        {"--shade", "none of: value gradient", {"light", "Gradient", "1"}},
        {"--quality", "none of: linear cubic quintic", {"best", "Linear", "3"}},
        {"--colours", "none of: grey viridis magma coolwarm terrain; is it grey?", {"gray", "greys"}},
        {"--compare", "none of: qualities dimensions", {"seeds"}},
        {"--bits", "none of: 8 16 (", {"12", "9"}},
        {"--format", "none of: png webp exr npy raw", {"tiff"}},
        {"--size",
         "not a width and a height like 1024x768, each from 1 to 4294967295",
         {"0x10", "10x0", "10", "x", "10x", "x10", "-4x4", "4x-4", "4x4x4", "4.5x4", "1e2x4", "' 4x4'",
          "99999999999x1"}},
        {"--cells", "not a whole number from 1 to 1000000", {"0", "-1", "1.5", "1000001", "many"}},
        {"--slice", "not a number from -8388608 to 8388608", {"nan", "inf", "1e30", "z", "-9000000"}},
        {"--dimension 4 --slice-w", "not a number from -8388608 to 8388608", {"nan", "-9000000"}},
        {"--curve --line", "not a number from -8388608 to 8388608", {"nan", "1e30", "y"}},
        {"--seed", "not a whole number from 0 to 4294967295", {"-1", "4294967296", "1.5", "seed"}},
        {"--animate", "not a number from 0.005 to 60", {"0", "-1", "60.1", "1s", "nan", "inf", "1e-400"}},
        {"--animate 1 --fps", "not a whole number from 1 to 100", {"0", "-1", "101", "2.5", "x"}},
        {"--animate 1 --spin-variation", "not a number from 0 to 2", {"-0.1", "2.1", "nan", "x"}},
        {"--animate 1 --turn-seconds", "not a number from 0.1 to 3600", {"0", "0.09", "3601", "nan", "x"}},
    };
    for (const CCase& wrong : cases) {
        const std::string name = wrong.m_Option.substr(wrong.m_Option.rfind("--"));
        for (const std::string& value : wrong.m_Values) {
            const std::string shown = value == "' 4x4'" ? " 4x4" : value;
            ExpectUsageError(wrong.m_Option + " " + value, name + ": '" + shown + "' is " + wrong.m_Limit);
        }
        ExpectUsageError(wrong.m_Option + " ''", name + ": its value is missing: ");
    }
}

TEST_F(NoisePreview, OptionsThatDoNotGoTogetherGetOneLineThatNamesThem) {
    for (const std::string dimension : {"1", "2", "4"}) {
        ExpectUsageError("--shade gradient --dimension " + dimension,
                         "--shade: 'gradient' is for --dimension 3 only");
        ExpectUsageError("--curve --dimension " + dimension, "--curve: it is for --dimension 3 only");
    }
    for (const std::string dimension : {"1", "2"}) {
        ExpectUsageError("--slice 1 --dimension " + dimension, "--slice: it is for --dimension 3 and 4 only");
    }
    for (const std::string dimension : {"1", "2", "3"}) {
        ExpectUsageError("--slice-w 1 --dimension " + dimension, "--slice-w: it is for --dimension 4 only");
    }
    for (const std::string name : {"a.jpg", "README.md", "b/a.tar.gz", "a.csv"}) {
        ExpectUsageError("--output " + name, "--output: '" + name + "' is of no known format");
        ExpectUsageError("--animate 1 --output " + name, "--output: '" + name + "' is of no known format");
    }
    for (const std::string name : {"a.webp", "a.WEBP"}) {
        ExpectUsageError("--output " + name,
                         "--output: '" + name + "' is a .webp file, which only --animate writes");
    }
    for (const std::string name : {"a.png", "a.exr", "a.npy", "a.raw"}) {
        ExpectUsageError("--animate 1 --output " + name,
                         "--output: '" + name + "' is not a .webp file, as animations are");
    }
    ExpectUsageError("--compare qualities --quality cubic", "--quality: --compare draws them all");
    ExpectUsageError("--compare dimensions --dimension 2", "--dimension: --compare draws them all");
    ExpectUsageError("--compare dimensions --shade gradient", "--compare: 'dimensions' does not go with");
    ExpectUsageError("--compare dimensions --curve", "--compare: 'dimensions' does not go with");
    ExpectUsageError("--curve --shade gradient", "--curve: it does not go with --shade or --tile");
    ExpectUsageError("--curve --tile", "--curve: it does not go with --shade or --tile");
    for (const std::string curve : {"--curve", "--dimension 1", "--dimension 1 --compare qualities"}) {
        ExpectUsageError(curve + " --colours magma", "--colours: they are for planes, not for curves");
    }
    ExpectUsageError("--line 1", "--line requires --curve");
    for (const std::string name : {"--fps", "--spin-variation", "--turn-seconds"}) {
        ExpectUsageError(name + " 1", name + " requires --animate");
    }
    ExpectUsageError("--animate 0.04 --fps 10", "--animate: it is too short for a single frame");
    ExpectUsageError("--animate 1 --bits 16", "--bits: it is for PNG files only");
    ExpectUsageError("--cells 1000000 --size 1x1000",
                     "--cells: the picture would be more than 8388608 cells high");
    for (const std::string value : {"=0", "=x", "=5", " 1"}) {
        ExpectUsageError("--stats" + value, value == " 1" ? "1" : "stats was given");
    }
    ExpectUsageError("'--two\nlines'", "--two?lines");
}

TEST_F(NoisePreview, MissingValuesAndUnknownOptionsAreNamed) {
    for (const std::string arguments :
         {"--size", "--size --seed 3", "--size=", "--size ''", "--seed 3 --size"}) {
        ExpectUsageError(arguments, "--size: its value is missing: WxH");
    }
    ExpectUsageError("--output --size 9x9", "--output: its value is missing: FILE|FOLDER/|-");
    ExpectUsageError("--sed 5", "there is no option '--sed'; is it --seed?");
    ExpectUsageError("--colors=terrain", "there is no option '--colors'; is it --colours?");
    ExpectUsageError("-size 9x9", "there is no option '-size'; is it --size?");
    ExpectUsageError("--outptu a.png", "there is no option '--outptu'; is it --output?");
    ExpectUsageError("--unheard-of 3", "there is no option '--unheard-of' (--help");
    ExpectUsageError("--x", "there is no option '--x' (--help"); // three slips from --fps
    ExpectUsageError("field.png", "'field.png' belongs to no option");
    ExpectUsageError("--seed 3 4", "'4' belongs to no option");
    ExpectUsageError("''", "'' belongs to no option");
}

TEST_F(NoisePreview, EndingsMayBeCapitalsOrMissing) {
    for (const std::string name : {"a.PNG", "b", "c.d/"}) {
        fs::create_directory(m_Folder / "c.d");
        EXPECT_EQ(Run("--size 4x4 --output " + name).m_ExitCode, 0) << name;
    }
    EXPECT_EQ(ReadPng(m_Folder / "a.PNG").m_Width, 4u);
    EXPECT_EQ(ReadPng(m_Folder / "b").m_Width, 4u);
    EXPECT_EQ(ReadPng(m_Folder / "c.d/noise.png").m_Width, 4u);
}

TEST_F(NoisePreview, HelpThatCannotBeWrittenIsAnError) {
    EXPECT_EQ(Run("--help >/dev/full").m_ExitCode, 1);
}

TEST_F(NoisePreview, OnlyTheHeightOfASliceIsLimited) {
    EXPECT_EQ(Run("--dimension 1 --cells 1000000 --size 1x1000 --output a.png").m_ExitCode, 0);
    EXPECT_EQ(Run("--slice 1e-50 --size 4x4 --output a.png").m_ExitCode, 0);
}

} // namespace
