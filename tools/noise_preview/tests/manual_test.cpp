#include "noise_preview_run.h"

#include <zr_support/config.h>

#include <set>
#include <string>
#include <vector>

namespace {

class NoisePreviewManual : public NoisePreview {
protected:
    /// The options in --help.
    std::set<std::string> Options() const {
        std::istringstream lines(Run("--help").m_Output);
        std::set<std::string> options;
        for (std::string line; std::getline(lines, line);) {
            line.erase(0, line.find_first_not_of(' '));
            line.erase(0, line.starts_with("-h,") || line.starts_with("-o,") ? 3 : 0);
            if (line.starts_with("--")) {
                options.insert(line.substr(0, line.find_first_not_of("-abcdefghijklmnopqrstuvwxyz")));
            }
        }
        return options;
    }

    /// What Bash completes the last of `words` to.
    std::string Completed(const std::string& words) const {
        std::ofstream(m_Folder / "script")
            << Run("--print-bash-completion").m_Output << "COMP_WORDS=(" << words
            << ")\nCOMP_CWORD=$((${#COMP_WORDS[@]} - 1))\n"
            << "compopt() { :; }\n_noise_preview\necho \"${COMPREPLY[*]}\" >reply\n";
        const std::string command = "cd '" + m_Folder.string() + "' && bash script";
        EXPECT_EQ(std::system(command.c_str()), 0);
        std::string reply = ReadFile(m_Folder / "reply");
        return reply.substr(0, reply.find('\n'));
    }
};

TEST_F(NoisePreviewManual, ThePageExplainsEveryOption) {
    const CResult page = Run("--print-man-page");
    EXPECT_EQ(page.m_ExitCode, 0);
    EXPECT_EQ(page.m_Output.find(".TH NOISE_PREVIEW 1 "), 0u);
    const std::set<std::string> options = Options();
    EXPECT_EQ(options.size(), 24u); // --help and --version among them
    for (const std::string& option : options) {
        std::string name; // with escaped hyphens
        for (const char c : option) {
            name += c == '-' ? "\\-" : std::string(1, c);
        }
        EXPECT_NE(page.m_Output.find("\\fB" + name + "\\fR"), std::string::npos) << option;
    }
    // No line of a text begins with a command of roff.
    std::istringstream lines(page.m_Output);
    for (std::string line; std::getline(lines, line);) {
        ASSERT_FALSE(line.empty());
        const std::set<std::string> commands = {".TH", ".SH", ".TP", ".B"};
        EXPECT_TRUE(line[0] != '.' || commands.contains(line.substr(0, line.find(' ')))) << line;
        EXPECT_NE(line[0], '\'') << line;
    }
}

TEST_F(NoisePreviewManual, BashCompletesOptionsAndTheirWords) {
    std::string all;
    for (const std::string& option : Options()) {
        all += (all.empty() ? "" : " ") + option;
    }
    std::istringstream words(Completed("noise_preview --"));
    const std::set<std::string> offered{std::istream_iterator<std::string>(words), {}};
    EXPECT_EQ(offered, Options());
    EXPECT_EQ(Completed("noise_preview --qu"), "--quality");
    EXPECT_EQ(Completed("noise_preview --quality ''"), "linear cubic quintic");
    EXPECT_EQ(Completed("noise_preview --quality c"), "cubic");
    EXPECT_EQ(Completed("noise_preview --dimension ''"), "1 2 3 4");
    EXPECT_EQ(Completed("noise_preview --seed ''"), "");
    std::ofstream(m_Folder / "points.csv") << "";
    EXPECT_EQ(Completed("noise_preview --positions po"), "points.csv");
    EXPECT_EQ(Completed("noise_preview -o po"), "points.csv");
    EXPECT_EQ(Completed("noise_preview --stats --compare d"), "dimensions");
    // Bash splits --quality=c at the equals sign.
    EXPECT_EQ(Completed("noise_preview --quality = c"), "cubic");
    EXPECT_EQ(Completed("noise_preview --quality ="), "linear cubic quintic");
}

TEST_F(NoisePreviewManual, TheVersionIsThatOfTheLibrary) {
    const CResult result = Run("--version");
    EXPECT_EQ(result.m_ExitCode, 0);
    EXPECT_EQ(result.m_Output, "noise_preview " VESTREL_VERSION_STRING "\n");
}

TEST_F(NoisePreviewManual, NeitherIsInTheHelp) {
    EXPECT_EQ(Run("--help").m_Output.find("--print"), std::string::npos);
    EXPECT_EQ(Run("--print-man-page >/dev/full").m_ExitCode, 1);
}

} // namespace
