#pragma once

#include "files/position_file.h"

#include <fstream>
#include <string>
#include <vector>

namespace NoisePreview {

/// Text with a line of numbers and commas for each position. Empty lines, those that begin with #, and names
/// in the first of the others are passed over.
class CCsvPositions final : public CPositionFile {
public:
    explicit CCsvPositions(const std::string& path);

    size_t Read(std::span<float> coordinates) override;

private:
    bool _NextLine();
    void _ParseLine();

    std::ifstream m_File;
    std::string m_Line;
    uint64_t m_LineNumber = 0;
    std::vector<float> m_Numbers; // of the line that is to be taken next; empty at the end
};

} // namespace NoisePreview
