#include "noise_preview_run.h"

#include <cstdio>

namespace {

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
    EXPECT_NE(result.m_Errors.find("drawing 25 %\n"), std::string::npos) << result.m_Errors;
    EXPECT_NE(result.m_Errors.find("drawing 100 %\n"), std::string::npos) << result.m_Errors;
}

TEST_F(NoisePreview, TooLargeForMemoryIsSaid) {
    ExpectFailure("--size 2000000000x2000000000", "2000000000 x 2000000000 pixels does not fit into memory");
}

TEST_F(NoisePreview, ExhaustedMemoryIsSaid) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "sanitizers need more address space than is left here";
#endif
    ExpectFailure("--size 30000000x1", "30000000 x 1 pixels does not fit into memory",
                  "ulimit -v 200000 && exec");
}

TEST_F(NoisePreview, ClosedStandardStreamsDoNoHarm) {
    EXPECT_EQ(Run("--size 50x50 --output a.png 0<&- 2>&-").m_ExitCode, 0);
    EXPECT_EQ(ReadPng(m_Folder / "a.png").m_Width, 50u);
    // Without standard output, the report cannot be written, and neither can a file.
    EXPECT_EQ(Run("--size 60x50 --output a.png 0<&- 1>&- 2>&-").m_ExitCode, 1);
    EXPECT_EQ(ReadPng(m_Folder / "a.png").m_Width, 60u);
    ExpectFailure("--size 50x50 --output - 1>&-", "standard output cannot be written: Bad file descriptor");
}

TEST_F(NoisePreview, AReportThatCannotBeWrittenIsSaid) {
    const CResult result = Run("--size 5x5 --output a.png --stats >/dev/full");
    EXPECT_EQ(result.m_ExitCode, 1);
    EXPECT_EQ(WithoutProgress(result.m_Errors),
              "noise_preview: the report cannot be written to standard output\n");
    EXPECT_EQ(ReadPng(m_Folder / "a.png").m_Width, 5u);
}

} // namespace
