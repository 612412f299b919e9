#pragma once

#include "files/output_file.h"

#include <cstdint>
#include <memory>
#include <span>

namespace NoisePreview {

struct CExrState;

/// An OpenEXR picture of 32-bit floats in the making, row by row.
class CExrFile {
public:
    /// What a float of a wide row takes: in the row, and while OpenEXR compresses it.
    static constexpr double kBytesPerFloat = 16.0;

    /// `file` is borrowed. There is one channel, Y, or with `isGradient` three: gradient.x, gradient.y and
    /// gradient.z. Throws std::bad_alloc, or std::runtime_error with a message for the user.
    CExrFile(COutputFile& file, uint32_t width, uint32_t height, bool isGradient);

    ~CExrFile();

    CExrFile(const CExrFile&) = delete;
    CExrFile& operator=(const CExrFile&) = delete;

    /// Adds floats, pixel by pixel and row by row, any number at a time. Throws as the constructor does.
    void Add(std::span<const float> values);

    /// Completes and finishes the file, when there are as many as it holds. Throws as the constructor does.
    void Finish();

private:
    COutputFile& m_File;
    std::unique_ptr<CExrState> m_State;
};

} // namespace NoisePreview
