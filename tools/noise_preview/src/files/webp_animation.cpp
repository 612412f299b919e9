#include "files/webp_animation.h"

#include <cerrno>
#include <cmath>
#include <cstring>
#include <memory>
#include <new>
#include <string>
#include <utility>

namespace NoisePreview {

namespace {

constexpr float kQuality = 90.0f; // of 100

/// A whole number in `size` bytes, the least significant one first.
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

} // namespace

CWebpAnimation::CWebpAnimation(COutputFile& file, uint32_t width, uint32_t height) : m_File(file) {
    WebPConfigInit(&m_Config);
    m_Config.quality = kQuality;
    WebPPictureInit(&m_Frame);
    m_Frame.width = static_cast<int>(width);
    m_Frame.height = static_cast<int>(height);
    if (WebPPictureAlloc(&m_Frame) == 0) {
        throw std::bad_alloc();
    }
    m_Bytes.reserve(size_t{3} * width * height);
    m_File.Write("RIFF\0\0\0\0", 8); // its length is known at the end
    constexpr uint64_t kIsAnimated = 2;
    const std::string sides = Bytes(width - 1, 3) + Bytes(height - 1, 3);
    constexpr uint64_t kWhite = 0xFFFFFFFF;
    constexpr uint64_t kForEver = 0;
    _Write("WEBP" + Chunk("VP8X", Bytes(kIsAnimated, 4) + sides) +
           Chunk("ANIM", Bytes(kWhite, 4) + Bytes(kForEver, 2)));
}

CWebpAnimation::~CWebpAnimation() {
    WebPPictureFree(&m_Frame);
}

void CWebpAnimation::AddRow(std::span<const CPixel> pixels) {
    for (const CPixel& pixel : pixels) {
        for (const float brightness : {pixel.r, pixel.g, pixel.b}) {
            m_Bytes.push_back(static_cast<uint8_t>(Rounded(brightness, 255)));
        }
    }
}

void CWebpAnimation::FinishFrame(double end) {
    if (WebPPictureImportRGB(&m_Frame, m_Bytes.data(), 3 * m_Frame.width) == 0) {
        throw std::bad_alloc();
    }
    m_Bytes.clear();
    WebPMemoryWriter encoded;
    WebPMemoryWriterInit(&encoded);
    const std::unique_ptr<WebPMemoryWriter, decltype(&WebPMemoryWriterClear)> guard(&encoded,
                                                                                    WebPMemoryWriterClear);
    _Encode(encoded);
    // Whole milliseconds, rounded so that their sum stays right.
    const int milliseconds = static_cast<int>(std::lround(end * 1000.0));
    const uint64_t duration = static_cast<uint64_t>(milliseconds - std::exchange(m_End, milliseconds));
    // At the left upper corner, as large as all, in the place of the frame before.
    constexpr uint64_t kIsNotBlended = 2;
    const std::string place = Bytes(0, 6) + Bytes(static_cast<uint64_t>(m_Frame.width - 1), 3) +
                              Bytes(static_cast<uint64_t>(m_Frame.height - 1), 3);
    // A still picture's file is a chunk behind a head of its own.
    constexpr size_t kHeadSize = 12;
    const std::string picture(reinterpret_cast<const char*>(encoded.mem) + kHeadSize,
                              encoded.size - kHeadSize);
    _Write(Chunk("ANMF", place + Bytes(duration, 3) + Bytes(kIsNotBlended, 1) + picture));
}

void CWebpAnimation::Finish() {
    if (std::fseek(m_File.Stream(), 4, SEEK_SET) != 0) {
        m_File.Fail(std::strerror(errno));
    }
    m_File.Write(Bytes(m_ByteCount, 4).data(), 4);
    m_File.Finish();
}

void CWebpAnimation::_Write(const std::string& bytes) {
    constexpr uint64_t kMost = UINT32_MAX - 9; // as the format says
    m_ByteCount += bytes.size();
    if (m_ByteCount > kMost) {
        m_File.Fail("WebP files are at most 4 GB long");
    }
    m_File.Write(bytes.data(), bytes.size());
}

void CWebpAnimation::_Encode(WebPMemoryWriter& encoded) {
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

} // namespace NoisePreview
