#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>

namespace NoisePreview {

/// A list of positions, read piece by piece.
class CPositionFile {
public:
    virtual ~CPositionFile() = default;

    /// Opens a file, whose name ends in .npy or .csv. Throws std::runtime_error, with a message for the user.
    static std::unique_ptr<CPositionFile> Open(const std::string& path);

    /// Reads as many positions as there are, and as there is room for; how many. 0 at the end. Throws as Open
    /// does.
    virtual size_t Read(std::span<float> coordinates) = 0;

    /// How many coordinates a position has: 1 to 4.
    uint32_t Dimension() const {
        return m_Dimension;
    }

    /// The bytes of the file, and those that have been read.
    uint64_t ByteCount() const {
        return m_ByteCount;
    }
    uint64_t ReadByteCount() const {
        return m_ReadByteCount;
    }

protected:
    explicit CPositionFile(const std::string& path);

    /// Throws std::runtime_error, with a message for the user.
    [[noreturn]] void _Fail(const std::string& reason) const;

    std::string m_Path;
    uint32_t m_Dimension = 0;
    uint64_t m_ByteCount = 0;
    uint64_t m_ReadByteCount = 0;
};

} // namespace NoisePreview
