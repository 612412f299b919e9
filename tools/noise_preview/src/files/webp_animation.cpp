#include "files/picture_file.h"

#include <webp/encode.h>

#include <cmath>
#include <memory>
#include <new>
#include <string>
#include <utility>
#include <vector>

namespace NoisePreview {

namespace {

constexpr float kQuality = 90.0f; // of 100

/// Little-endian, in `size` bytes.
std::string Bytes(uint64_t number, int size) {
    std::string bytes;
    for (int k = 0; k < size; ++k) {
        bytes += static_cast<char>(number >> 8 * k & 255);
    }
    return bytes;
}

std::string Chunk(const std::string& name, const std::string& content) {
    return name + Bytes(content.size(), 4) + content;
}

/// Frames are written as they come: libwebpmux would keep all of them in memory. The container is as in
/// Google's "WebP Container Specification". Lossy, as smooth greys then take a quarter of the bytes and half
/// the time, with errors of a few greys.
class CWebpAnimation final : public CPictureFile {
public:
    CWebpAnimation(COutputFile& file, const CPictureSize& size) : m_File(file) {
        WebPConfigInit(&m_Config);
        m_Config.quality = kQuality;
        WebPPictureInit(&m_Frame);
        m_Frame.width = static_cast<int>(size.m_Width);
        m_Frame.height = static_cast<int>(size.m_Height);
        if (WebPPictureAlloc(&m_Frame) == 0) {
            throw std::bad_alloc();
        }
        m_Bytes.reserve(3 * size.m_Width * size.m_Height);
        m_File.Write("RIFF\0\0\0\0", 8); // Finish writes the length
        constexpr uint64_t kIsAnimated = 2;
        const std::string sides = Bytes(size.m_Width - 1, 3) + Bytes(size.m_Height - 1, 3);
        constexpr uint64_t kWhite = 0xFFFFFFFF;
        constexpr uint64_t kForEver = 0;
        _Write("WEBP" + Chunk("VP8X", Bytes(kIsAnimated, 4) + sides) +
               Chunk("ANIM", Bytes(kWhite, 4) + Bytes(kForEver, 2)));
    }

    ~CWebpAnimation() override {
        WebPPictureFree(&m_Frame);
    }

    void AddRow(std::span<const CPixel> pixels) override {
        for (const CPixel& pixel : pixels) {
            for (const float brightness : {pixel.r, pixel.g, pixel.b}) {
                m_Bytes.push_back(static_cast<uint8_t>(Rounded(brightness, 255)));
            }
        }
    }

    void FinishFrame(double end) override {
        if (WebPPictureImportRGB(&m_Frame, m_Bytes.data(), 3 * m_Frame.width) == 0) {
            throw std::bad_alloc();
        }
        m_Bytes.clear();
        WebPMemoryWriter encoded;
        WebPMemoryWriterInit(&encoded);
        const std::unique_ptr<WebPMemoryWriter, decltype(&WebPMemoryWriterClear)> guard(
            &encoded, WebPMemoryWriterClear);
        _Encode(encoded);
        // Durations are in milliseconds; ends are rounded, so that the errors do not add up.
        const int milliseconds = static_cast<int>(std::lround(end * 1000.0));
        const uint64_t duration = static_cast<uint64_t>(milliseconds - std::exchange(m_End, milliseconds));
        // The whole canvas, replacing the previous frame.
        constexpr uint64_t kIsNotBlended = 2;
        const std::string place = Bytes(0, 6) + Bytes(static_cast<uint64_t>(m_Frame.width - 1), 3) +
                                  Bytes(static_cast<uint64_t>(m_Frame.height - 1), 3);
        constexpr size_t kHeaderSize = 12; // RIFF header of a still picture
        const std::string picture(reinterpret_cast<const char*>(encoded.mem) + kHeaderSize,
                                  encoded.size - kHeaderSize);
        _Write(Chunk("ANMF", place + Bytes(duration, 3) + Bytes(kIsNotBlended, 1) + picture));
    }

    void Finish() override {
        m_File.Seek(4);
        m_File.Write(Bytes(m_ByteCount, 4).data(), 4);
        m_File.Finish();
    }

private:
    void _Write(const std::string& bytes) {
        constexpr uint64_t kMaxByteCount = UINT32_MAX - 9; // by the format
        m_ByteCount += bytes.size();
        if (m_ByteCount > kMaxByteCount) {
            m_File.Fail("WebP files hold at most 4 GB");
        }
        m_File.Write(bytes.data(), bytes.size());
    }

    void _Encode(WebPMemoryWriter& encoded) {
        m_Frame.writer = WebPMemoryWrite;
        m_Frame.custom_ptr = &encoded;
        if (WebPEncode(&m_Config, &m_Frame) != 0) {
            return;
        }
        const WebPEncodingError error = m_Frame.error_code;
        if (error == VP8_ENC_ERROR_OUT_OF_MEMORY || error == VP8_ENC_ERROR_BITSTREAM_OUT_OF_MEMORY) {
            throw std::bad_alloc();
        }
        m_File.Fail("its frames cannot be encoded, libwebp's error " + std::to_string(error));
    }

    COutputFile& m_File;
    uint64_t m_ByteCount = 0; // written so far, without the first eight
    WebPConfig m_Config;
    WebPPicture m_Frame;
    std::vector<uint8_t> m_Bytes; // RGB of the current frame's rows
    int m_End = 0;                // of the last frame, in milliseconds
};

} // namespace

std::unique_ptr<CPictureFile> OpenWebp(COutputFile& file, const CPictureSize& size) {
    return std::make_unique<CWebpAnimation>(file, size);
}

} // namespace NoisePreview
