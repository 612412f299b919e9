#pragma once

#include <cstddef>
#include <cstdio>
#include <filesystem>
#include <string>
#include <sys/types.h>
#include <unistd.h>
#include <utility>

namespace NoisePreview {

/// A file descriptor that is closed in the end; -1 is none.
class CDescriptor {
public:
    explicit CDescriptor(int descriptor = -1) : m_Descriptor(descriptor) {}

    CDescriptor(CDescriptor&& other) noexcept : m_Descriptor(std::exchange(other.m_Descriptor, -1)) {}

    CDescriptor& operator=(CDescriptor&& other) noexcept {
        std::swap(m_Descriptor, other.m_Descriptor);
        return *this;
    }

    ~CDescriptor() {
        if (m_Descriptor >= 0) {
            close(m_Descriptor);
        }
    }

    int Get() const {
        return m_Descriptor;
    }

private:
    int m_Descriptor;
};

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
    void _OpenFolder(const std::filesystem::path& path);
    void _FollowLink();
    void _RefuseAllButFiles(mode_t mode) const;
    void _OpenBeside();
    void _OpenUnnamed();
    void _CopyToStandardOutput() const;

    bool m_IsStandardOutput;
    std::filesystem::path m_Path;
    CDescriptor m_Folder;
    std::string m_Name; // in that folder
    std::string m_PartialName;
    std::FILE* m_Stream = nullptr;
};

} // namespace NoisePreview
