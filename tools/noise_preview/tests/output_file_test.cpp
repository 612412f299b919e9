#include "noise_preview_run.h"

#include <csignal>
#include <fstream>
#include <regex>
#include <string>

namespace {

TEST_F(NoisePreview, FilesThatCannotBeWrittenAreNamed) {
    fs::create_directory(m_Folder / "folder");
    ExpectFailure("--output folder", "folder' cannot be written: it is not a file");
    ExpectFailure("--output missing/field.png",
                  "'missing/field.png' cannot be written: No such file or directory");
    ExpectFailure("--output /dev/full", "'/dev/full' cannot be written: it is not a file");
    // A folder that takes no files, from root either.
    ExpectFailure("--output /sys/field.png", "'/sys/field.png' cannot be written: ");
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
            Run("--size 20000x10000 --output field.png", "{ until grep -q drawing '" + m_Folder.string() +
                                                             ".errors'; do sleep 0.02; done; kill -" +
                                                             std::to_string(signal) + " $$; } & exec");
        EXPECT_EQ(result.m_ExitCode, -signal) << result.m_Errors;
        EXPECT_TRUE(Files() == filesBefore) << "signal " << signal << " left something behind";
    }
}

TEST_F(NoisePreview, AnInterruptedRunOfFloatsLeavesNothingBehind) {
    for (const std::string name : {"field.npy", "field.exr", "field.raw"}) {
        const CResult result = Run("--size 60000x60000 --output " + name,
                                   "{ until grep -q sampling '" + m_Folder.string() +
                                       ".errors'; do sleep 0.02; done; kill -INT $$; } & exec");
        EXPECT_EQ(result.m_ExitCode, -SIGINT) << name << ": " << result.m_Errors;
        EXPECT_TRUE(Files().empty()) << name << " left something behind";
    }
}

TEST_F(NoisePreview, LongWorkTellsItsRateAndTheTimeLeft) {
    const CResult result = Run("--size 20000x20000 --output field.png",
                               "{ until grep -q left '" + m_Folder.string() +
                                   ".errors'; do sleep 0.1; done; kill -INT $$; } & exec");
    EXPECT_EQ(result.m_ExitCode, -SIGINT) << result.m_Errors;
    EXPECT_TRUE(std::regex_search(
        result.m_Errors,
        std::regex(
            "drawing (25|50|75) %, [0-9.]+( thousand| million)? pixels/s, ([0-9]+ min )?[0-9]+ s left\n")))
        << result.m_Errors;
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
