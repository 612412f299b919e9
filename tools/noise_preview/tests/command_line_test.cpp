#include "noise_preview_run.h"

#include <sstream>
#include <string>

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
    for (const std::string text : {"--dimension 1|2|3|4 ",
                                   "--quality linear|cubic|quintic",
                                   "--shade value|gradient ",
                                   "--colours grey|viridis|magma|coolwarm|terrain",
                                   "--compare qualities|dimensions",
                                   "--curve Plot",
                                   "--line Y ",
                                   "--tile Show",
                                   "--size WxH ",
                                   "--cells N ",
                                   "--slice Z ",
                                   "--slice-w W ",
                                   "--stats ",
                                   "--seed S ",
                                   "--bits 8|16 ",
                                   "--positions FILE ",
                                   "--format png|webp|exr|npy|raw",
                                   "--output FILE|FOLDER/|- ",
                                   "--animate SECONDS ",
                                   "--fps N ",
                                   "--turn-seconds T ",
                                   "--spin-variation V ",
                                   "(default: 3).",
                                   "(default: quintic).",
                                   "(default: value).",
                                   "(default: grey).",
                                   "(default: 1024x1024).",
                                   "(default: 16).",
                                   "(default: 0.5).",
                                   "(default: 1).",
                                   "(default: 25).",
                                   "(default: 0).",
                                   "(default: 8).",
                                   "(default: png; webp with --animate; npy with --positions).",
                                   "(default: noise and the ending of the format)."}) {
        EXPECT_NE(help.find(text), std::string::npos) << text << " in:\n" << result.m_Output;
    }
}

TEST_F(NoisePreview, BadOptionsGetOneLineThatNamesThem) {
    for (const std::string value : {"5", "0", "-1", "x", "3.0", "''"}) {
        ExpectFailure("--dimension " + value, "--dimension");
    }
    for (const std::string value : {"light", "Gradient", "1", "''"}) {
        ExpectFailure("--shade " + value, "--shade");
    }
    for (const std::string dimension : {"1", "2", "4"}) {
        ExpectFailure("--shade gradient --dimension " + dimension,
                      "--shade: 'gradient' is for --dimension 3 alone");
    }
    for (const std::string value : {"best", "Linear", "3", "''"}) {
        ExpectFailure("--quality " + value, "--quality");
    }
    for (const std::string value : {"0x10", "10x0", "10", "x", "10x", "x10", "-4x4", "4x-4", "4x4x4", "4.5x4",
                                    "1e2x4", "' 4x4'", "2147483648x1", "99999999999x1"}) {
        ExpectFailure("--size " + value, "--size");
    }
    for (const std::string value : {"0", "-1", "1.5", "1000001", "many", "''"}) {
        ExpectFailure("--cells " + value, "--cells");
    }
    for (const std::string value : {"nan", "inf", "1e30", "z", "-9000000", "''"}) {
        ExpectFailure("--slice " + value, "--slice:");
        ExpectFailure("--dimension 4 --slice-w " + value, "--slice-w:");
    }
    for (const std::string dimension : {"1", "2"}) {
        ExpectFailure("--slice 1 --dimension " + dimension, "--slice: it is for --dimension 3 and 4 alone");
    }
    for (const std::string dimension : {"1", "2", "3"}) {
        ExpectFailure("--slice-w 1 --dimension " + dimension, "--slice-w: it is for --dimension 4 alone");
    }
    for (const std::string name : {"a.jpg", "README.md", "b/a.tar.gz", "a.csv"}) {
        ExpectFailure("--output " + name, "--output: '" + name + "' is of no format");
        ExpectFailure("--animate 1 --output " + name, "--output: '" + name + "' is of no format");
    }
    for (const std::string name : {"a.webp", "a.WEBP"}) {
        ExpectFailure("--output " + name,
                      "--output: '" + name + "' is the name of a WebP file, which only --animate makes");
    }
    for (const std::string name : {"a.png", "a.exr", "a.npy", "a.raw"}) {
        ExpectFailure("--animate 1 --output " + name, "--output: '" + name + "' is no name of a WebP file");
    }
    for (const std::string value : {"-1", "4294967296", "1.5", "seed", "''"}) {
        ExpectFailure("--seed " + value, "--seed");
    }
    for (const std::string value : {"=0", "=x", "=5", " 1"}) {
        ExpectFailure("--stats" + value, value == " 1" ? "1" : "stats was given");
    }
    ExpectFailure("--cells 1000000 --size 1x1000", "--cells");
    ExpectFailure("'--two\nlines'", "--two?lines");
}

TEST_F(NoisePreview, MissingValuesAndUnknownOptionsAreNamed) {
    for (const std::string arguments :
         {"--size", "--size --seed 3", "--size=", "--size ''", "--seed 3 --size"}) {
        ExpectFailure(arguments, "--size: its value is missing: WxH");
    }
    ExpectFailure("--output --size 9x9", "--output: its value is missing: FILE|FOLDER/|-");
    ExpectFailure("--sed 5", "there is no option '--sed'; is it --seed?");
    ExpectFailure("--colors=terrain", "there is no option '--colors'; is it --colours?");
    ExpectFailure("-size 9x9", "there is no option '-size'; is it --size?");
    ExpectFailure("--outptu a.png", "there is no option '--outptu'; is it --output?");
    ExpectFailure("--unheard-of 3", "there is no option '--unheard-of' (--help");
    ExpectFailure("--x", "there is no option '--x' (--help"); // three slips from --fps
    ExpectFailure("field.png", "'field.png' belongs to no option");
    ExpectFailure("--seed 3 4", "'4' belongs to no option");
    ExpectFailure("''", "'' belongs to no option");
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
    ExpectFailure("--dimension 2 --cells 1000000 --size 1x1000", "--cells");
    EXPECT_EQ(Run("--slice 1e-50 --size 4x4 --output a.png").m_ExitCode, 0);
}

} // namespace
