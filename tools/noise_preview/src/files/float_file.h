#pragma once

#include "files/output_file.h"

#include <cstdint>
#include <memory>
#include <span>

namespace NoisePreview {

/// Writes samples as 32-bit floats. All of it throws std::bad_alloc, or std::runtime_error with a message for
/// the user.
class CFloatFile {
public:
    virtual ~CFloatFile() = default;

    /// Adds any number of floats, sample by sample and row by row.
    virtual void Add(std::span<const float> values) = 0;

    /// Completes the file. The last extent of `shape` is that of neighbouring floats.
    virtual void Finish(std::span<const uint64_t> shape) = 0;
};

// `file` must outlive them.

/// OpenEXR with the channel Y; or gradient.x, gradient.y and gradient.z.
std::unique_ptr<CFloatFile> OpenExr(COutputFile& file, uint32_t width, uint32_t height, bool isGradient);

/// A header with the shape, followed by the floats.
std::unique_ptr<CFloatFile> OpenNumpyOrRaw(COutputFile& file, bool isNumpy);

} // namespace NoisePreview
