#include "files/webp_animation.h"

#include <cmath>
#include <new>
#include <string>
#include <utility>

namespace NoisePreview {

namespace {

constexpr float kQuality = 90.0f; // of 100

} // namespace

CWebpAnimation::CWebpAnimation(COutputFile& file, uint32_t width, uint32_t height)
    : m_File(file), m_Mux(WebPMuxNew(), WebPMuxDelete) {
    WebPConfigInit(&m_Config);
    m_Config.quality = kQuality;
    WebPPictureInit(&m_Frame);
    m_Frame.width = static_cast<int>(width);
    m_Frame.height = static_cast<int>(height);
    if (m_Mux == nullptr || WebPPictureAlloc(&m_Frame) == 0) {
        throw std::bad_alloc();
    }
    m_Bytes.reserve(size_t{3} * width * height);
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
    WebPMuxFrameInfo frame = {};
    frame.bitstream = {encoded.mem, encoded.size};
    frame.duration = milliseconds - std::exchange(m_End, milliseconds);
    frame.id = WEBP_CHUNK_ANMF;
    frame.dispose_method = WEBP_MUX_DISPOSE_NONE;
    frame.blend_method = WEBP_MUX_NO_BLEND;
    _Check(WebPMuxPushFrame(m_Mux.get(), &frame, 1));
}

void CWebpAnimation::Finish() {
    WebPMuxAnimParams forever = {};
    forever.bgcolor = 0xFFFFFFFF;
    _Check(WebPMuxSetAnimationParams(m_Mux.get(), &forever));
    WebPData content = {};
    _Check(WebPMuxAssemble(m_Mux.get(), &content));
    const std::unique_ptr<WebPData, decltype(&WebPDataClear)> guard(&content, WebPDataClear);
    m_File.Write(content.bytes, content.size);
    m_File.Finish();
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

void CWebpAnimation::_Check(WebPMuxError error) const {
    if (error == WEBP_MUX_MEMORY_ERROR) {
        throw std::bad_alloc();
    }
    if (error != WEBP_MUX_OK) {
        m_File.Fail("its frames cannot be joined, libwebpmux's error " + std::to_string(error));
    }
}

} // namespace NoisePreview
