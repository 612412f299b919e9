#pragma once

#include "files/position_file.h"

#include <fstream>
#include <string>

namespace NoisePreview {

/// A NumPy array of floats of 4 bytes, with a row for each position; or of one column, for positions in 1D,
/// with or without a second index.
class CNpyPositions final : public CPositionFile {
public:
    explicit CNpyPositions(const std::string& path);

    size_t Read(std::span<float> coordinates) override;

private:
    std::string _ReadHeader();
    void _CheckType(const std::string& header) const;
    void _ParseShape(const std::string& header);

    std::ifstream m_File;
    uint64_t m_LeftCount = 0; // of the positions that have not been read
};

} // namespace NoisePreview
