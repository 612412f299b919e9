#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace NoisePreview {

/// A grey picture, one byte per pixel, row by row from the top.
struct CPicture {
    uint32_t m_Width;
    uint32_t m_Height;
    std::vector<uint8_t> m_Pixels;

    /// May throw std::bad_alloc.
    CPicture(uint32_t width, uint32_t height)
        : m_Width(width), m_Height(height), m_Pixels(static_cast<size_t>(width) * height) {}

    uint8_t* Row(uint32_t y) {
        return m_Pixels.data() + static_cast<size_t>(y) * m_Width;
    }
    const uint8_t* Row(uint32_t y) const {
        return m_Pixels.data() + static_cast<size_t>(y) * m_Width;
    }
};

} // namespace NoisePreview
