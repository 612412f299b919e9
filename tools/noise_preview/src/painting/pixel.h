#pragma once

#include <algorithm>
#include <cmath>

namespace NoisePreview {

/// Red, green and blue as they are shown, each from 0 to 1.
struct CPixel {
    float r = 1.0f;
    float g = 1.0f;
    float b = 1.0f;
};

inline CPixel Grey(float brightness) {
    return {brightness, brightness, brightness};
}

/// From one pixel to another; `share` of the second.
inline CPixel Mixed(const CPixel& from, const CPixel& to, float share) {
    return {from.r + (to.r - from.r) * share, from.g + (to.g - from.g) * share,
            from.b + (to.b - from.b) * share};
}

/// A brightness as a whole number from 0 to `max`.
inline int Rounded(float brightness, int max) {
    const float top = static_cast<float>(max);
    return static_cast<int>(std::clamp(std::round(brightness * top), 0.0f, top));
}

} // namespace NoisePreview
