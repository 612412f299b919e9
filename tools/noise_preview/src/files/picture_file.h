#pragma once

#include "files/output_file.h"
#include "job/job.h"
#include "job/pixel.h"

#include <memory>
#include <span>

namespace NoisePreview {

/// Writes a picture or an animation row by row. All of it throws std::bad_alloc, or std::runtime_error with a
/// message for the user.
class CPictureFile {
public:
    virtual ~CPictureFile() = default;

    virtual void AddRow(std::span<const CPixel> pixels) = 0;

    /// Completes a frame that is shown until `end`, in seconds since the start of the animation.
    virtual void FinishFrame(double) {}

    /// Completes the file after its last row.
    virtual void Finish() = 0;
};

// `file` must outlive them.

std::unique_ptr<CPictureFile> OpenPng(COutputFile& file, const CJob& job);

/// An animation that loops for ever.
std::unique_ptr<CPictureFile> OpenWebp(COutputFile& file, const CPictureSize& size);

/// Two rows of pixels per line of text, to standard output.
std::unique_ptr<CPictureFile> OpenTerminal(ETerminalColours colours);

} // namespace NoisePreview
