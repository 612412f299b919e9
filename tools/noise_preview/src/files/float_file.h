#pragma once

#include "files/output_file.h"
#include "options/options.h"

#include <cstdint>
#include <span>

namespace NoisePreview {

/// A NumPy or a raw file in the making: a header that tells a shape, and floats of 4 bytes, the last index of
/// which runs fastest.
class CFloatFile {
public:
    /// `file` is borrowed. Throws std::runtime_error, with a message for the user.
    CFloatFile(COutputFile& file, EFormat format);

    /// Adds floats. Throws std::runtime_error, with a message for the user.
    void Add(std::span<const float> values);

    /// Completes and finishes the file, which has `shape`. Throws as Add does.
    void Finish(std::span<const uint64_t> shape);

private:
    COutputFile& m_File;
    EFormat m_Format;
};

} // namespace NoisePreview
