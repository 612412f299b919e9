#pragma once

#include "picture.h"

#if !SAMPLES_WITHOUT_PNG
#include <png.h>
#endif

#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

namespace Samples {

/// The content of a PNG file. Throws std::runtime_error.
#if SAMPLES_WITHOUT_PNG // cross builds, which still run one sample for its checks
inline std::vector<uint8_t> PngOf(const CPicture&) {
    throw std::runtime_error("this build is without libpng");
}
#else
inline std::vector<uint8_t> PngOf(const CPicture& picture) {
    png_image image = {};
    image.version = PNG_IMAGE_VERSION;
    image.width = picture.m_Width;
    image.height = picture.m_Height;
    image.format = PNG_FORMAT_RGB;
    std::vector<uint8_t> content(PNG_IMAGE_PNG_SIZE_MAX(image));
    png_alloc_size_t size = content.size();
    if (png_image_write_to_memory(&image, content.data(), &size, 0, picture.m_Pixels.data(), 0, nullptr) ==
        0) {
        throw std::runtime_error(std::string("libpng: ") + image.message);
    }
    content.resize(size);
    return content;
}
#endif

} // namespace Samples
