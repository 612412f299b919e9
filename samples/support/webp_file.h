#pragma once

#include "picture.h"

#include <webp/encode.h>
#include <webp/mux.h>

#include <cstdint>
#include <memory>
#include <new>
#include <stdexcept>
#include <string>
#include <vector>

namespace Samples {

/// Builds a WebP animation that loops forever.
class CWebpAnimation {
public:
    /// `quality` of the lossy encoding, up to 100.
    CWebpAnimation(uint32_t width, uint32_t height, int millisecondsPerFrame, float quality)
        : m_MillisecondsPerFrame(millisecondsPerFrame), m_Encoder(nullptr, WebPAnimEncoderDelete) {
        WebPAnimEncoderOptions options;
        if (WebPAnimEncoderOptionsInit(&options) == 0 || WebPConfigInit(&m_Config) == 0 ||
            WebPPictureInit(&m_Frame) == 0) {
            throw std::runtime_error("libwebp is of another version than its headers");
        }
        // Only whole frames: in parts that hardly change, lossy encoding would keep the old frame.
        options.kmax = 1;
        m_Config.quality = quality;
        m_Frame.width = static_cast<int>(width);
        m_Frame.height = static_cast<int>(height);
        m_Frame.use_argb = 1;
        m_Encoder.reset(WebPAnimEncoderNew(m_Frame.width, m_Frame.height, &options));
        if (m_Encoder == nullptr) {
            throw std::bad_alloc();
        }
    }

    ~CWebpAnimation() {
        WebPPictureFree(&m_Frame);
    }

    CWebpAnimation(const CWebpAnimation&) = delete;
    CWebpAnimation& operator=(const CWebpAnimation&) = delete;

    /// Throws std::bad_alloc, or std::runtime_error.
    void Add(const CPicture& picture) {
        if (WebPPictureImportRGB(&m_Frame, picture.m_Pixels.data(), m_Frame.width * 3) == 0) {
            throw std::bad_alloc();
        }
        _Check(WebPAnimEncoderAdd(m_Encoder.get(), &m_Frame, m_End, &m_Config));
        m_End += m_MillisecondsPerFrame;
    }

    /// The content of the file. Throws std::runtime_error.
    std::vector<uint8_t> Finish() {
        WebPData content = {};
        _Check(WebPAnimEncoderAdd(m_Encoder.get(), nullptr, m_End, nullptr));
        _Check(WebPAnimEncoderAssemble(m_Encoder.get(), &content));
        const std::unique_ptr<WebPData, decltype(&WebPDataClear)> guard(&content, WebPDataClear);
        return {content.bytes, content.bytes + content.size};
    }

private:
    void _Check(int isDone) const {
        if (isDone == 0) {
            throw std::runtime_error(std::string("libwebp: ") + WebPAnimEncoderGetError(m_Encoder.get()));
        }
    }

    int m_MillisecondsPerFrame;
    int m_End = 0; // of the frames so far, in milliseconds
    std::unique_ptr<WebPAnimEncoder, decltype(&WebPAnimEncoderDelete)> m_Encoder;
    WebPConfig m_Config;
    WebPPicture m_Frame;
};

} // namespace Samples
