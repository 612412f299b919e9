#pragma once

#include <cstdio>
#include <filesystem>
#include <string>

namespace NoisePreview {

/// A file in the making. Nothing is at its path, or what was there before, until it is complete.
class COutputFile {
public:
    /// Makes sure that `path` can be written. Throws std::runtime_error, with a message for the user.
    explicit COutputFile(const std::filesystem::path& path);

    /// Leaves nothing behind unless Finish has succeeded.
    ~COutputFile();

    COutputFile(const COutputFile&) = delete;
    COutputFile& operator=(const COutputFile&) = delete;

    /// Where the content goes to, until Finish.
    std::FILE* Stream() const {
        return m_Stream;
    }

    /// Puts the file in its place. Throws std::runtime_error, with a message for the user.
    void Finish();

    /// Throws std::runtime_error, with a message for the user.
    [[noreturn]] void Fail(const std::string& reason) const;

private:
    std::filesystem::path m_Path;
    std::string m_PartialPath;
    std::FILE* m_Stream = nullptr;
};

} // namespace NoisePreview
