#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace Samples {

/// Red, green and blue, each from 0 to 1.
struct CColour {
    float r, g, b;
};

constexpr CColour operator+(CColour a, CColour b) {
    return {a.r + b.r, a.g + b.g, a.b + b.b};
}
constexpr CColour operator*(CColour a, float factor) {
    return {a.r * factor, a.g * factor, a.b * factor};
}

/// `a` where `t` is 0, `b` where it is 1.
constexpr CColour Mix(CColour a, CColour b, float t) {
    return a * (1.0f - t) + b * t;
}

/// The colour at `t` of a ramp whose colours are evenly spaced from 0 to 1.
inline CColour RampAt(std::span<const CColour> colours, float t) {
    const float place = std::clamp(t, 0.0f, 1.0f) * static_cast<float>(colours.size() - 1);
    const size_t index = std::min(static_cast<size_t>(place), colours.size() - 2);
    return Mix(colours[index], colours[index + 1], place - static_cast<float>(index));
}

/// Three bytes per pixel, red, green and blue, row by row from the top.
struct CPicture {
    uint32_t m_Width;
    uint32_t m_Height;
    std::vector<uint8_t> m_Pixels;

    CPicture(uint32_t width, uint32_t height)
        : m_Width(width), m_Height(height), m_Pixels(size_t{3} * width * height) {}

    /// Parts of the colour that leave 0 to 1 are clamped.
    void Set(uint32_t x, uint32_t y, CColour colour) {
        uint8_t* const pixel = m_Pixels.data() + 3 * (static_cast<size_t>(y) * m_Width + x);
        pixel[0] = _ByteOf(colour.r);
        pixel[1] = _ByteOf(colour.g);
        pixel[2] = _ByteOf(colour.b);
    }

private:
    static uint8_t _ByteOf(float part) {
        return static_cast<uint8_t>(std::clamp(part, 0.0f, 1.0f) * 255.0f + 0.5f);
    }
};

} // namespace Samples
