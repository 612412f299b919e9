#pragma once

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>
#include <system_error>
#include <unistd.h>
#include <vector>

namespace Samples {

[[noreturn]] inline void FailToWrite(const std::filesystem::path& path, const char* reason) {
    throw std::runtime_error("'" + path.string() + "' cannot be written: " + reason);
}

/// Throws std::runtime_error if it is already clear that `path` cannot be written.
inline void CheckWritable(const std::filesystem::path& path) {
    std::error_code error;
    const bool exists = std::filesystem::exists(path, error);
    if (exists && !std::filesystem::is_regular_file(path, error)) {
        FailToWrite(path, "it is not a file");
    }
    const std::filesystem::path folder = path.has_parent_path() ? path.parent_path() : ".";
    if (path.filename().empty() || access(folder.c_str(), W_OK | X_OK) != 0 ||
        (exists && access(path.c_str(), W_OK) != 0)) {
        FailToWrite(path, path.filename().empty() ? "it is not the name of a file" : std::strerror(errno));
    }
}

/// The temporary name of `path` until the file is complete.
inline std::filesystem::path PartialPathOf(const std::filesystem::path& path) {
    return path.string() + ".partial";
}

/// Writes a complete file or nothing: until it is complete, an old file stays. Throws std::runtime_error.
inline void WriteWholeFile(const std::filesystem::path& path, const void* content, size_t size) {
    // Resolve symbolic links, so that they stay.
    const std::filesystem::path target = std::filesystem::weakly_canonical(path);
    const std::filesystem::path partial = PartialPathOf(target);
    std::FILE* const file = std::fopen(partial.c_str(), "wb");
    if (file == nullptr) {
        FailToWrite(path, std::strerror(errno));
    }
    const bool isWritten = std::fwrite(content, 1, size, file) == size;
    const int reason = errno;
    const bool isClosed = std::fclose(file) == 0;
    if (!isWritten || !isClosed || std::rename(partial.c_str(), target.c_str()) != 0) {
        const int lastReason = isWritten ? errno : reason;
        std::remove(partial.c_str());
        FailToWrite(path, std::strerror(lastReason));
    }
}

} // namespace Samples
