#pragma once

#include "picture.h"

#include <cstdio>
#include <filesystem>
#include <string>

namespace NoisePreview {

/// A PNG file in the making. Nothing is at its path, or what was there before, until it is complete.
class CPngFile {
public:
    /// Makes sure that `path` can be written. Throws std::runtime_error, with a message for the user.
    explicit CPngFile(const std::filesystem::path& path);

    /// Leaves nothing behind unless Write has succeeded.
    ~CPngFile();

    CPngFile(const CPngFile&) = delete;
    CPngFile& operator=(const CPngFile&) = delete;

    /// Writes the picture and puts the file in its place. Shows its progress. Throws std::runtime_error, with
    /// a message for the user.
    void Write(const CPicture& picture);

private:
    [[noreturn]] void _Fail(const std::string& reason) const;

    std::filesystem::path m_Path;
    std::string m_PartialPath;
    std::FILE* m_File = nullptr;
};

} // namespace NoisePreview
