#pragma once

#include "files/output_file.h"
#include "painting/pixel.h"

#include <webp/encode.h>

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace NoisePreview {

/// A WebP animation in the making, which loops for ever. Frames are written as they come: libwebpmux would
/// keep them all, and so the container is made here, as Google describes it ("WebP Container").
///
/// They are encoded with loss: smooth greys then take a quarter of the bytes and half the time, with errors
/// of a few greys at most.
class CWebpAnimation {
public:
    /// What a pixel takes while its frame is encoded: three bytes of its own; then one of brightness, half a
    /// byte of colour.
    static constexpr double kBytesPerPixel = 4.5;

    /// `file` is borrowed. No side may be longer than 16383. Throws std::bad_alloc.
    CWebpAnimation(COutputFile& file, uint32_t width, uint32_t height);

    ~CWebpAnimation();

    CWebpAnimation(const CWebpAnimation&) = delete;
    CWebpAnimation& operator=(const CWebpAnimation&) = delete;

    /// Adds the next row of a frame.
    void AddRow(std::span<const CPixel> pixels);

    /// Completes a frame that is shown until `end`, in seconds from the beginning of the animation. Throws
    /// std::bad_alloc, or std::runtime_error with a message for the user, also where the file gets longer
    /// than such files can be.
    void FinishFrame(double end);

    /// Writes the file and finishes it. Throws as FinishFrame does.
    void Finish();

private:
    void _Write(const std::string& bytes);
    void _Encode(WebPMemoryWriter& encoded);

    COutputFile& m_File;
    uint64_t m_ByteCount = 0; // written so far, but for the first eight
    WebPConfig m_Config;
    WebPPicture m_Frame;
    std::vector<uint8_t> m_Bytes; // red, green and blue of the frame's rows so far
    int m_End = 0;                // of the frames so far, in milliseconds
};

} // namespace NoisePreview
