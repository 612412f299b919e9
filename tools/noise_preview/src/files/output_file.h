#pragma once

#include <cstddef>
#include <cstdio>
#include <filesystem>
#include <string>

namespace NoisePreview {

/// A file in the making. Nothing is at its path, or what was there before, until it is complete; nor has
/// anything been written to standard output before.
class COutputFile {
public:
    /// Makes sure that `path` can be written; - is standard output. Throws std::runtime_error, with a message
    /// for the user.
    explicit COutputFile(const std::filesystem::path& path);

    /// Leaves nothing behind unless Finish has succeeded.
    ~COutputFile();

    COutputFile(const COutputFile&) = delete;
    COutputFile& operator=(const COutputFile&) = delete;

    /// Where the content goes to, until Finish. What is before the end may be written again.
    std::FILE* Stream() const {
        return m_Stream;
    }

    /// Writes to the stream. Throws std::runtime_error, with a message for the user.
    void Write(const void* bytes, size_t count) const;

    /// Puts the file in its place. Throws std::runtime_error, with a message for the user.
    void Finish();

    /// Throws std::runtime_error, with a message for the user.
    [[noreturn]] void Fail(const std::string& reason) const;

private:
    void _OpenBeside();
    void _OpenUnnamed();
    void _CopyToStandardOutput() const;

    bool m_IsStandardOutput;
    std::filesystem::path m_Path;
    std::string m_PartialPath;
    std::FILE* m_Stream = nullptr;
};

} // namespace NoisePreview
