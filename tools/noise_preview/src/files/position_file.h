#pragma once

#include <cstdint>
#include <fstream>
#include <istream>
#include <memory>
#include <span>
#include <string>

namespace NoisePreview {

/// A list of positions, read piece by piece from a file or from standard input.
class CPositionFile {
public:
    virtual ~CPositionFile() = default;

    CPositionFile(const CPositionFile&) = delete;
    CPositionFile& operator=(const CPositionFile&) = delete;

    /// Opens a .npy or .csv file; - is standard input, whose first byte tells which of them it is. Throws
    /// std::runtime_error with a message for the user.
    static std::unique_ptr<CPositionFile> Open(const std::string& path);

    /// Reads as many positions as `coordinates` has room for and returns their number, 0 at the end. Throws
    /// as Open does.
    virtual size_t Read(std::span<float> coordinates) = 0;

    /// Coordinates per position, 1 to 4.
    uint32_t Dimension() const {
        return m_Dimension;
    }

    /// How many positions there are; 0 if that is unknown, as of text.
    uint64_t Count() const {
        return m_Count;
    }

    /// The size of the file, 0 for standard input; and how much of it has been read.
    uint64_t ByteCount() const {
        return m_ByteCount;
    }
    uint64_t ReadByteCount() const {
        return m_ReadByteCount;
    }

protected:
    explicit CPositionFile(const std::string& path);

    /// Throws std::runtime_error with a message for the user.
    [[noreturn]] void _Fail(const std::string& reason) const;

private:
    std::string m_Name; // in messages
    std::ifstream m_OwnFile;

protected:
    std::istream& m_File;
    uint32_t m_Dimension = 0;
    uint64_t m_Count = 0;
    uint64_t m_ByteCount = 0;
    uint64_t m_ReadByteCount = 0;
};

// Of either kind; - is standard input.
std::unique_ptr<CPositionFile> OpenCsvPositions(const std::string& path);
std::unique_ptr<CPositionFile> OpenNpyPositions(const std::string& path);

} // namespace NoisePreview
