// Runs the program as a user would, and reads its pictures back.

#include <zr_maths/maths_noise_fast.h>

#include <gtest/gtest.h>
#include <png.h>

#include <algorithm>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

namespace fs = std::filesystem;
using namespace Vestrel;

struct CResult {
    int m_ExitCode; // or a signal's number, negative
    std::string m_Output;
    std::string m_Errors;
};

std::string ReadFile(const fs::path& path) {
    std::ostringstream text;
    text << std::ifstream(path, std::ios::binary).rdbuf();
    return text.str();
}

std::string WithoutProgress(const std::string& text) {
    std::istringstream lines(text);
    std::string rest;
    for (std::string line; std::getline(lines, line);) {
        if (!line.starts_with("sampling") && !line.starts_with("writing")) {
            rest += line + "\n";
        }
    }
    return rest;
}

struct CGreyPng {
    uint32_t m_Width = 0;
    uint32_t m_Height = 0;
    std::vector<uint8_t> m_Pixels;
};

CGreyPng ReadPng(const fs::path& path) {
    CGreyPng result;
    png_image image = {};
    image.version = PNG_IMAGE_VERSION;
    if (png_image_begin_read_from_file(&image, path.c_str()) == 0) {
        ADD_FAILURE() << path << ": " << image.message;
        return result;
    }
    EXPECT_EQ(image.format, static_cast<png_uint_32>(PNG_FORMAT_GRAY));
    result.m_Width = image.width;
    result.m_Height = image.height;
    result.m_Pixels.resize(PNG_IMAGE_SIZE(image));
    EXPECT_NE(png_image_finish_read(&image, nullptr, result.m_Pixels.data(), 0, nullptr), 0) << image.message;
    return result;
}

/// Each test in a folder of its own, which is the program's current one.
class NoisePreview : public testing::Test {
protected:
    void SetUp() override {
        std::string pattern = (fs::path(testing::TempDir()) / "noise_preview_XXXXXX").string();
        ASSERT_NE(mkdtemp(pattern.data()), nullptr);
        m_Folder = pattern;
    }

    void TearDown() override {
        std::error_code ignored;
        fs::remove_all(m_Folder, ignored);
    }

    CResult Run(const std::string& arguments, const std::string& before = "exec") const {
        const std::string errors = m_Folder.string() + ".errors";
        const std::string output = m_Folder.string() + ".output";
        const std::string command = "cd '" + m_Folder.string() + "' && " + before +
                                    " '" NOISE_PREVIEW "' >'" + output + "' 2>'" + errors + "' </dev/null " +
                                    arguments;
        const int status = std::system(command.c_str());
        CResult result = {WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status), ReadFile(output),
                          ReadFile(errors)};
        fs::remove(errors);
        fs::remove(output);
        return result;
    }

    /// A run that must fail with one line about `about`, and leave the folder as it was.
    void ExpectFailure(const std::string& arguments, const std::string& about,
                       const std::string& before = "exec") const {
        const auto filesBefore = Files();
        const CResult result = Run(arguments, before);
        EXPECT_GT(result.m_ExitCode, 0) << arguments;
        EXPECT_EQ(result.m_Output, "") << arguments;
        const std::string line = WithoutProgress(result.m_Errors);
        EXPECT_EQ(std::count(line.begin(), line.end(), '\n'), 1) << arguments << ": " << result.m_Errors;
        EXPECT_EQ(line.find("noise_preview: "), 0u) << arguments << ": " << result.m_Errors;
        EXPECT_NE(line.find(about), std::string::npos) << arguments << ": " << result.m_Errors;
        EXPECT_TRUE(Files() == filesBefore) << arguments << " left something behind";
    }

    std::vector<std::pair<std::string, std::string>> Files() const {
        std::vector<std::pair<std::string, std::string>> files;
        for (const fs::directory_entry& entry : fs::directory_iterator(m_Folder)) {
            files.emplace_back(entry.path().filename(),
                               entry.is_regular_file() ? ReadFile(entry.path()) : "");
        }
        std::sort(files.begin(), files.end());
        return files;
    }

    fs::path m_Folder;
};

TEST_F(NoisePreview, DrawsEveryQualityOfA3DSlicePixelByPixel) {
    CStdRandomGenerator generator(7);
    const CFastNoise3 noise(&generator);
    // More pixels than the program samples at once.
    constexpr uint32_t kWidth = 240;
    constexpr uint32_t kHeight = 140;
    std::vector<TVector<float, 3>> positions(kWidth * kHeight + 1);
    for (uint32_t k = 0; k < kWidth * kHeight; ++k) {
        // Pixel centres, 240 of them over 12 cells.
        positions[k] = {static_cast<float>((k % kWidth + 0.5) / 20.0),
                        static_cast<float>((k / kWidth + 0.5) / 20.0), -1.75f};
    }
    for (const std::string quality : {"linear", "cubic", "quintic"}) {
        const CResult result = Run("--dimension 3 --quality " + quality +
                                   " --size 240x140 --cells 12 --slice -1.75 --seed 7 --output field.png");
        ASSERT_EQ(result.m_ExitCode, 0) << result.m_Errors;
        std::vector<float> samples(kWidth * kHeight);
        const TStridedMemoryView<float> output(samples.data(), kWidth * kHeight, 4);
        const TStridedMemoryView<const TVector<float, 3>> input(positions.data(), kWidth * kHeight, 12);
        quality == "linear"  ? noise.SampleLinear3D(output, input)
        : quality == "cubic" ? noise.SampleCubic3D(output, input)
                             : noise.SampleQuintic3D(output, input);
        const CGreyPng picture = ReadPng(m_Folder / "field.png");
        ASSERT_EQ(picture.m_Width, kWidth);
        ASSERT_EQ(picture.m_Height, kHeight);
        for (uint32_t k = 0; k < kWidth * kHeight; ++k) {
            ASSERT_EQ(picture.m_Pixels[k], std::lround((samples[k] + 1.0f) * 127.5f))
                << quality << ", pixel " << k % kWidth << ", " << k / kWidth;
        }
    }
}

TEST_F(NoisePreview, DrawsTheCurveOfA1DField) {
    // More positions than the program samples at once.
    constexpr uint32_t kWidth = 20000;
    constexpr uint32_t kHeight = 200;
    ASSERT_EQ(Run("--dimension 1 --quality cubic --size 20000x200 --cells 8 --seed 3 --output curve.png")
                  .m_ExitCode,
              0);
    const CGreyPng picture = ReadPng(m_Folder / "curve.png");
    ASSERT_EQ(picture.m_Width, kWidth);
    ASSERT_EQ(picture.m_Height, kHeight);

    CStdRandomGenerator generator(3);
    const CFastNoise3 noise(&generator);
    std::vector<float> positions(kWidth);
    std::vector<float> samples(kWidth);
    for (size_t x = 0; x < kWidth; ++x) {
        positions[x] = static_cast<float>((static_cast<double>(x) + 0.5) / 2500.0);
    }
    noise.SampleCubic1D({samples.data(), kWidth, 4}, {positions.data(), kWidth, 4});
    for (size_t x = 0; x < kWidth; ++x) {
        // The curve is at the sample's height: +-1.1 on 200 pixels, upward; half a picture away nothing is
        // dark.
        const long row = std::lround(100.0 - static_cast<double>(samples[x]) / 1.1 * 100.0 - 0.5);
        ASSERT_LT(picture.m_Pixels[static_cast<size_t>(row) * kWidth + x], 128) << "column " << x;
        ASSERT_GE(picture.m_Pixels[static_cast<size_t>((row + 100) % 200) * kWidth + x], 200)
            << "column " << x;
    }
}

TEST_F(NoisePreview, ShowsProgressAndEndsWithOneLine) {
    const CResult result = Run("--size 300x200 --output a.png");
    EXPECT_EQ(result.m_ExitCode, 0);
    char rest[8] = "";
    double nanoseconds = 0.0;
    EXPECT_EQ(std::sscanf(result.m_Output.c_str(), "a.png: 60000 positions, %lf ns per position%7c",
                          &nanoseconds, rest),
              2)
        << result.m_Output;
    EXPECT_STREQ(rest, "\n");
    EXPECT_GT(nanoseconds, 0.0);
    EXPECT_NE(result.m_Errors.find("sampling 100 %"), std::string::npos) << result.m_Errors;
    EXPECT_NE(result.m_Errors.find("writing  100 %"), std::string::npos) << result.m_Errors;
}

TEST_F(NoisePreview, SameSeedSamePictureOtherSeedOtherPicture) {
    ASSERT_EQ(Run("--size 50x50 --seed 5 --output a.png").m_ExitCode, 0);
    ASSERT_EQ(Run("--size 50x50 --seed 5 --output b.png").m_ExitCode, 0);
    ASSERT_EQ(Run("--size 50x50 --seed 6 --output c.png").m_ExitCode, 0);
    EXPECT_EQ(ReadFile(m_Folder / "a.png"), ReadFile(m_Folder / "b.png"));
    EXPECT_NE(ReadFile(m_Folder / "a.png"), ReadFile(m_Folder / "c.png"));
}

TEST_F(NoisePreview, DefaultsDrawALargeQuinticSlice) {
    ASSERT_EQ(Run("").m_ExitCode, 0);
    const CGreyPng picture = ReadPng(m_Folder / "noise.png");
    EXPECT_EQ(picture.m_Width, 1024u);
    EXPECT_EQ(picture.m_Height, 1024u);
    ASSERT_EQ(
        Run("--dimension 3 --quality quintic --size 1024x1024 --cells 16 --slice 0.5 --seed 1 --output b.png")
            .m_ExitCode,
        0);
    EXPECT_EQ(ReadFile(m_Folder / "noise.png"), ReadFile(m_Folder / "b.png"));
}

TEST_F(NoisePreview, LastOfRepeatedOptionsCounts) {
    ASSERT_EQ(Run("--size 9x9 --size 20x10 --output a.png --output b.png").m_ExitCode, 0);
    EXPECT_FALSE(fs::exists(m_Folder / "a.png"));
    EXPECT_EQ(ReadPng(m_Folder / "b.png").m_Width, 20u);
}

TEST_F(NoisePreview, SmallestAndOddestSizes) {
    for (const std::string size : {"1x1", "1x50", "50x1", "3x7"}) {
        for (const std::string dimension : {"1", "3"}) {
            const CResult result =
                Run("--cells 1 --size " + size + " --dimension " + dimension + " --output a.png");
            EXPECT_EQ(result.m_ExitCode, 0) << size << ", " << dimension << ": " << result.m_Errors;
            const CGreyPng picture = ReadPng(m_Folder / "a.png");
            EXPECT_EQ(std::to_string(picture.m_Width) + "x" + std::to_string(picture.m_Height), size);
        }
    }
}

TEST_F(NoisePreview, HelpExplainsEveryOptionWithItsDefault) {
    const CResult result = Run("--help");
    EXPECT_EQ(result.m_ExitCode, 0);
    EXPECT_EQ(result.m_Errors, "");
    for (const std::string text :
         {"--dimension 1|3 ", "--quality linear|cubic|quintic", "--size WxH ", "--cells N ", "--slice Z ",
          "--seed S ", "--output FILE.png ", "(default: 3).", "(default: quintic).", "(default: 1024x1024).",
          "(default: 16).", "(default: 0.5).", "(default: 1).", "(default: noise.png)."}) {
        EXPECT_NE(result.m_Output.find(text), std::string::npos) << text << " in:\n" << result.m_Output;
    }
}

TEST_F(NoisePreview, BadOptionsGetOneLineThatNamesThem) {
    for (const std::string value : {"2", "0", "-1", "x", "3.0", "''"}) {
        ExpectFailure("--dimension " + value, "--dimension");
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
        ExpectFailure("--slice " + value, "--slice");
    }
    for (const std::string value : {"-1", "4294967296", "1.5", "seed", "''"}) {
        ExpectFailure("--seed " + value, "--seed");
    }
    ExpectFailure("--output", "--output");
    ExpectFailure("--colour", "--colour");
    ExpectFailure("field.png", "field.png");
    ExpectFailure("--cells 1000000 --size 1x1000", "--cells");
    ExpectFailure("'--two\nlines'", "--two lines");
}

TEST_F(NoisePreview, OnlyTheHeightOfASliceIsLimited) {
    EXPECT_EQ(Run("--dimension 1 --cells 1000000 --size 1x1000 --output a.png").m_ExitCode, 0);
    EXPECT_EQ(Run("--slice 1e-50 --size 4x4 --output a.png").m_ExitCode, 0);
}

TEST_F(NoisePreview, TooLargeForMemoryIsSaid) {
    ExpectFailure("--size 2000000000x2000000000", "2000000000 x 2000000000 pixels does not fit into memory");
    ExpectFailure("--size 2147483647x2147483647", "does not fit into memory");
}

TEST_F(NoisePreview, ExhaustedMemoryIsSaid) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "sanitizers need more address space than is left here";
#endif
    ExpectFailure("--size 30000x20000", "30000 x 20000 pixels does not fit into memory",
                  "ulimit -v 200000 && exec");
}

TEST_F(NoisePreview, FilesThatCannotBeWrittenAreNamed) {
    fs::create_directory(m_Folder / "folder");
    ExpectFailure("--output folder", "folder' cannot be written: it is not a file");
    ExpectFailure("--output missing/field.png",
                  "'missing/field.png' cannot be written: No such file or directory");
    ExpectFailure("--output /dev/full", "'/dev/full' cannot be written: it is not a file");
    ExpectFailure("--output ''", "--output");
    ExpectFailure("--output " + std::string(300, 'x'), "cannot be written: File name too long");
}

TEST_F(NoisePreview, AFailedRunKeepsTheFileThatIsThere) {
    std::ofstream(m_Folder / "field.png") << "precious";
    // No file may grow beyond 4 blocks, as on a disk that is full.
    ExpectFailure("--size 500x500 --output field.png", "cannot be written: File too large",
                  "ulimit -f 4 && exec");
    EXPECT_EQ(ReadFile(m_Folder / "field.png"), "precious");
    ExpectFailure("--size 500x500 --output other.png", "cannot be written: File too large",
                  "ulimit -f 4 && exec");
}

TEST_F(NoisePreview, AnInterruptedRunLeavesNothingBehind) {
    std::ofstream(m_Folder / "field.png") << "precious";
    const auto filesBefore = Files();
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT}) {
        // Seconds of work, ended as soon as it has begun. The shell becomes the program, and keeps its
        // number.
        const CResult result =
            Run("--size 20000x10000 --output field.png", "{ until grep -q sampling '" + m_Folder.string() +
                                                             ".errors'; do sleep 0.02; done; kill -" +
                                                             std::to_string(signal) + " $$; } & exec");
        EXPECT_EQ(result.m_ExitCode, -signal) << result.m_Errors;
        EXPECT_TRUE(Files() == filesBefore) << "signal " << signal << " left something behind";
    }
}

TEST_F(NoisePreview, ASuccessfulRunReplacesTheFileThatIsThere) {
    std::ofstream(m_Folder / "field.png") << "old";
    fs::permissions(m_Folder / "field.png", static_cast<fs::perms>(0600));
    fs::create_symlink("field.png", m_Folder / "link.png");
    ASSERT_EQ(Run("--size 10x10 --output link.png").m_ExitCode, 0);
    EXPECT_TRUE(fs::is_symlink(m_Folder / "link.png"));
    EXPECT_EQ(ReadPng(m_Folder / "field.png").m_Width, 10u);
    EXPECT_EQ(static_cast<unsigned>(fs::status(m_Folder / "field.png").permissions()), 0600u);
    EXPECT_EQ(Files().size(), 2u);
}

TEST_F(NoisePreview, ALinkToNothingIsFollowed) {
    fs::create_symlink("field.png", m_Folder / "link.png");
    ASSERT_EQ(Run("--size 10x10 --output link.png").m_ExitCode, 0);
    EXPECT_TRUE(fs::is_symlink(m_Folder / "link.png"));
    EXPECT_EQ(ReadPng(m_Folder / "field.png").m_Width, 10u);
}

TEST_F(NoisePreview, NewFilesHaveTheUsualPermissions) {
    ASSERT_EQ(Run("--size 10x10 --output a.png", "umask 027 && exec").m_ExitCode, 0);
    EXPECT_EQ(static_cast<unsigned>(fs::status(m_Folder / "a.png").permissions()), 0640u);
}

TEST_F(NoisePreview, ClosedStandardStreamsDoNoHarm) {
    const CResult result = Run("--size 50x50 --output a.png 0<&- 1>&- 2>&-");
    EXPECT_EQ(ReadPng(m_Folder / "a.png").m_Width, 50u);
    EXPECT_EQ(result.m_ExitCode, 0);
}

TEST_F(NoisePreview, LongNamesAreFine) {
    const std::string name = std::string(251, 'x') + ".png";
    ASSERT_EQ(Run("--size 10x10 --output " + name).m_ExitCode, 0);
    EXPECT_EQ(ReadPng(m_Folder / name).m_Width, 10u);
}

TEST_F(NoisePreview, IgnoredSignalsStayIgnored) {
    // The shell becomes the program, and keeps its number.
    const CResult result =
        Run("--size 8000x4000 --output a.png", "trap '' HUP; { sleep 0.1; kill -HUP $$; } & exec");
    EXPECT_EQ(result.m_ExitCode, 0) << result.m_Errors;
    EXPECT_EQ(ReadPng(m_Folder / "a.png").m_Width, 8000u);
}

} // namespace
