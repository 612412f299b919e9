#include "noise_preview_run.h"

#include <atomic>
#include <cstdio>
#include <fcntl.h>
#include <poll.h>
#include <string>
#include <sys/ioctl.h>
#include <thread>
#include <unistd.h>

namespace {

/// Runs the program with a terminal of 60 columns and 22 lines for standard output.
class NoisePreviewTerminal : public NoisePreview {
protected:
    void SetUp() override {
        NoisePreview::SetUp();
        m_Terminal = posix_openpt(O_RDWR | O_NOCTTY);
        if (m_Terminal < 0 || grantpt(m_Terminal) != 0 || unlockpt(m_Terminal) != 0) {
            GTEST_SKIP() << "this machine has no pseudo-terminals";
        }
        m_Name = ptsname(m_Terminal);
        m_Other = open(m_Name.c_str(), O_RDWR | O_NOCTTY); // keeps the output until it is read
        const winsize size = {22, 60, 0, 0};
        ASSERT_EQ(ioctl(m_Other, TIOCSWINSZ, &size), 0);
    }

    void TearDown() override {
        close(m_Other);
        close(m_Terminal);
        NoisePreview::TearDown();
    }

    /// What is shown on the terminal.
    std::string Shown(const std::string& options, const std::string& environment) const {
        std::string text;
        std::atomic<bool> isOver = false;
        std::thread reader([&] {
            pollfd ready = {m_Terminal, POLLIN, 0};
            char part[4096];
            while (poll(&ready, 1, 100) > 0 || !isOver) {
                const ssize_t count =
                    (ready.revents & POLLIN) != 0 ? read(m_Terminal, part, sizeof(part)) : 0;
                text.append(part, static_cast<size_t>(std::max<ssize_t>(count, 0)));
            }
        });
        const CResult result = Run(options + " >" + m_Name, environment + " exec");
        isOver = true;
        reader.join();
        EXPECT_EQ(result.m_ExitCode, 0) << result.m_Errors;
        return text;
    }

    static size_t CountOf(const std::string& what, const std::string& text) {
        size_t count = 0;
        for (size_t place = text.find(what); place != std::string::npos; place = text.find(what, place + 1)) {
            ++count;
        }
        return count;
    }

    int m_Terminal = -1;
    int m_Other = -1;
    std::string m_Name;
};

const std::string kColourful = "LC_ALL=C.UTF-8 NO_COLOR= COLORTERM=truecolor TERM=xterm";

TEST_F(NoisePreviewTerminal, ShowsThePictureInHalfBlocks) {
    // 8 x 6 pixels: three lines of eight blocks, each with a colour above and one below.
    const std::string text = Shown("--size 8x6 --cells 2", kColourful);
    EXPECT_EQ(CountOf("\u2580", text), 24u) << text;
    EXPECT_EQ(CountOf("\x1B[0m\r\n", text), 3u) << text;
    EXPECT_NE(text.find("seed 1: 48 positions, "), std::string::npos) << text;
    EXPECT_TRUE(Files().empty()) << "no file is written";
    // The greys are those of the file.
    ASSERT_EQ(Run("--size 8x6 --cells 2 --output a.png").m_ExitCode, 0);
    const CGreyPng picture = ReadPng(m_Folder / "a.png");
    size_t k = 0;
    for (size_t place = text.find("8;2;"); place != std::string::npos;
         place = text.find("8;2;", place + 1), ++k) {
        int red = 0;
        int green = 0;
        int blue = 0;
        EXPECT_EQ(std::sscanf(text.c_str() + place, "8;2;%d;%d;%dm", &red, &green, &blue), 3);
        EXPECT_EQ(text.substr(place - 3, 3), k % 2 == 0 ? "\x1B[3" : "\x1B[4");
        const size_t row = k / 16 * 2 + k % 2;
        const int grey = picture.m_Pixels[row * 8 + k % 16 / 2];
        EXPECT_TRUE(red == grey && green == grey && blue == grey) << "colour " << k;
    }
    EXPECT_EQ(k, 48u);
}

TEST_F(NoisePreviewTerminal, ShrinksThePictureToFit) {
    // 60 columns for 1024 pixels leave 60 rows, more than two for each of the 22 lines but two.
    const std::string square = Shown("", "LC_ALL=C.UTF-8 COLORTERM= TERM=xterm-256color");
    EXPECT_EQ(CountOf("\x1B[0m\r\n", square), 20u);
    EXPECT_EQ(CountOf("\u2580", square), 20u * 40u);
    const std::string wide = Shown("--size 1000x100", "LC_ALL=C.UTF-8 COLORTERM= TERM=xterm-256color");
    EXPECT_EQ(CountOf("\x1B[0m\r\n", wide), 3u);
    EXPECT_EQ(CountOf("\u2580", wide), 3u * 60u);
    const std::string compared =
        Shown("--compare qualities", "LC_ALL=C.UTF-8 COLORTERM= TERM=xterm-256color");
    EXPECT_LE(CountOf("\u2580", compared), 20u * 60u);
    EXPECT_GT(CountOf("\u2580", compared), 0u);
    const std::string largest = Shown("--size 4294967295x4294967295 --cells 9", kColourful);
    EXPECT_EQ(CountOf("\u2580", largest), 20u * 40u);
}

TEST_F(NoisePreviewTerminal, LabelsAndGapsWantRoom) {
    const winsize size = {22, 24, 0, 0}; // as wide as the gaps
    ASSERT_EQ(ioctl(m_Other, TIOCSWINSZ, &size), 0);
    ExpectFailure("--compare dimensions >" + m_Name,
                  "the terminal is too small for --compare; --output writes a file", kColourful + " exec");
}

TEST_F(NoisePreviewTerminal, KnowsTerminalsOf256Colours) {
    const std::string greys = Shown("--size 8x6", "LC_ALL=C.UTF-8 COLORTERM= TERM=screen-256color");
    EXPECT_EQ(CountOf(";5;2", greys), 48u) << greys; // 232 to 255
    EXPECT_EQ(CountOf(";2;", greys), 0u);
    const std::string colours =
        Shown("--size 8x6 --colours viridis", "LC_ALL=C.UTF-8 COLORTERM= TERM=screen-256color");
    EXPECT_EQ(CountOf(";5;", colours), 48u);
    EXPECT_LT(CountOf(";5;2", colours), 48u) << "colours are no greys";
}

TEST_F(NoisePreviewTerminal, OthersGetAFile) {
    for (const std::string environment :
         {"LC_ALL=C.UTF-8 COLORTERM= TERM=xterm", "LC_ALL=C.UTF-8 COLORTERM=truecolor TERM=dumb NO_COLOR=",
          "LC_ALL=C.UTF-8 COLORTERM=truecolor NO_COLOR=1", "LC_ALL=C COLORTERM=truecolor NO_COLOR="}) {
        const std::string text = Shown("--size 8x6", environment);
        EXPECT_EQ(text.find("noise.png: 48 positions"), 0u) << environment << ": " << text;
        EXPECT_TRUE(fs::remove(m_Folder / "noise.png")) << environment;
    }
    EXPECT_EQ(Shown("--size 8x6 --output a.png", kColourful).find("a.png: "), 0u);
    EXPECT_EQ(Shown("--size 8x6 --format png", kColourful).find("noise.png: "), 0u);
    EXPECT_EQ(Shown("--size 8x6 --animate 0.1", kColourful).find("noise.webp: "), 0u);
}

TEST_F(NoisePreviewTerminal, DoesNotGetTheBytesOfAFile) {
    ExpectUsageError("--output - 1>" + m_Name,
                     "--output: standard output is a terminal, which cannot show files");
}

} // namespace
