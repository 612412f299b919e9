// Runs the program like a user, and reads its pictures.
#pragma once

#include <gtest/gtest.h>
#include <png.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace fs = std::filesystem;

struct CResult {
    int m_ExitCode; // negative: the signal that ended the program
    std::string m_Output;
    std::string m_Errors;
};

inline std::string ReadFile(const fs::path& path) {
    std::ostringstream text;
    text << std::ifstream(path, std::ios::binary).rdbuf();
    return text.str();
}

inline std::string WithoutProgress(const std::string& text) {
    std::istringstream lines(text);
    std::string rest;
    for (std::string line; std::getline(lines, line);) {
        if (!line.starts_with("sampling ") && !line.starts_with("drawing ")) {
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

inline CGreyPng ReadPng(const fs::path& path) {
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

/// Each test has a folder of its own, in which the program runs.
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
        const std::string command = "cd '" + m_Folder.string() + "' || exit; " + before +
                                    " '" NOISE_PREVIEW "' >'" + output + "' 2>'" + errors + "' </dev/null " +
                                    arguments;
        const int status = std::system(command.c_str());
        CResult result = {WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status), ReadFile(output),
                          ReadFile(errors)};
        fs::remove(errors);
        fs::remove(output);
        return result;
    }

    /// The run must print one line that contains `about`, and leave the folder as it was.
    void ExpectFailure(const std::string& arguments, const std::string& about,
                       const std::string& before = "exec", int exitCode = 1) const {
        const auto filesBefore = Files();
        const CResult result = Run(arguments, before);
        EXPECT_EQ(result.m_ExitCode, exitCode) << arguments;
        EXPECT_EQ(result.m_Output, "") << arguments;
        const std::string line = WithoutProgress(result.m_Errors);
        EXPECT_EQ(std::count(line.begin(), line.end(), '\n'), 1) << arguments << ": " << result.m_Errors;
        EXPECT_EQ(line.find("noise_preview: "), 0u) << arguments << ": " << result.m_Errors;
        EXPECT_NE(line.find(about), std::string::npos) << arguments << ": " << result.m_Errors;
        EXPECT_TRUE(Files() == filesBefore) << arguments << " left something behind";
    }

    void ExpectUsageError(const std::string& arguments, const std::string& about) const {
        ExpectFailure(arguments, about, "exec", 2);
    }

    std::vector<std::pair<std::string, std::string>> Files() const {
        std::vector<std::pair<std::string, std::string>> files;
        for (const fs::directory_entry& entry : fs::directory_iterator(m_Folder)) {
            std::error_code error; // such as that of a link to itself
            files.emplace_back(entry.path().filename(),
                               entry.is_regular_file(error) ? ReadFile(entry.path()) : "");
        }
        std::sort(files.begin(), files.end());
        return files;
    }

    fs::path m_Folder;
};
