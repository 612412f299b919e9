#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <string>
#include <sys/types.h>
#include <unistd.h>
#include <utility>

namespace NoisePreview {

/// Owns a file descriptor; -1 is none.
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

    /// Leaves the descriptor to somebody else, who closes it.
    void Release() {
        m_Descriptor = -1;
    }

private:
    int m_Descriptor;
};

/// A file that appears at its path, or on standard output, when it is complete: all of it or nothing. Until
/// then its content is in a temporary file, which has no name where the file system allows that.
class COutputFile {
public:
    /// Checks that `path` can be written; - is standard output. Throws std::runtime_error with a message for
    /// the user, as all members do.
    explicit COutputFile(const std::filesystem::path& path);

    /// Leaves nothing behind unless Finish has succeeded.
    ~COutputFile();

    COutputFile(const COutputFile&) = delete;
    COutputFile& operator=(const COutputFile&) = delete;

    /// The content, until Finish.
    std::FILE* Stream() const {
        return m_Stream;
    }

    /// Fails if the file system has less than this left.
    void CheckSpace(uint64_t byteCount) const;

    void Write(const void* bytes, size_t count) const;

    /// Lets Write overwrite what is at this offset.
    void Seek(uint64_t offset) const;

    /// Puts the file in its place.
    void Finish();

    [[noreturn]] void Fail(const std::string& reason) const;

private:
    void _OpenFolder(const std::filesystem::path& path);
    void _ResolveLink();
    void _RefuseAllButFiles(mode_t mode) const;
    mode_t _Permissions() const;
    void _OpenTemporary(mode_t permissions);
    bool _Publish(int file);
    void _CopyToStandardOutput() const;

    bool m_IsStandardOutput;
    std::filesystem::path m_Path;
    CDescriptor m_Folder;        // of the temporary file
    std::string m_Name;          // of the output, in that folder
    std::string m_TemporaryName; // in that folder; empty while the file has no name
    std::FILE* m_Stream = nullptr;
};

} // namespace NoisePreview
