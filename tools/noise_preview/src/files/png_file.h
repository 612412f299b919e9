#pragma once

#include "files/output_file.h"
#include "painting/pixel.h"

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

namespace NoisePreview {

struct CPngState;

/// A PNG picture in the making, row by row.
class CPngFile {
public:
    /// `file` is borrowed. `bits` are 8 or 16 for each grey or colour; greys are the red of the pixels.
    /// Throws std::bad_alloc, or std::runtime_error with a message for the user.
    CPngFile(COutputFile& file, uint32_t width, uint32_t height, uint32_t bits, bool isGrey);

    ~CPngFile();

    CPngFile(const CPngFile&) = delete;
    CPngFile& operator=(const CPngFile&) = delete;

    /// Adds the next row. Throws std::runtime_error, with a message for the user.
    void AddRow(std::span<const CPixel> pixels);

    /// Completes and finishes the file, after as many rows as it is high. Throws as AddRow does.
    void Finish();

private:
    template <typename TCall>
    void _Guarded(const TCall& call);

    COutputFile& m_File;
    uint32_t m_Bits;
    bool m_IsGrey;
    std::vector<uint8_t> m_Bytes; // of a row
    std::unique_ptr<CPngState> m_State;
};

} // namespace NoisePreview
