#pragma once

#include <algorithm>
#include <cmath>

namespace NoisePreview {

/// Red, green and blue, each from 0 to 1, gamma-encoded as in a file.
struct CPixel {
    float r = 1.0f;
    float g = 1.0f;
    float b = 1.0f;
};

inline CPixel Grey(float brightness) {
    return {brightness, brightness, brightness};
}

/// Blends linearly: `share` 0 is `from`, 1 is `to`.
inline CPixel Mixed(const CPixel& from, const CPixel& to, float share) {
    return {from.r + (to.r - from.r) * share, from.g + (to.g - from.g) * share,
            from.b + (to.b - from.b) * share};
}

/// Quantises a brightness to 0 ... max.
inline int Rounded(float brightness, int max) {
    const float top = static_cast<float>(max);
    return static_cast<int>(std::clamp(std::round(brightness * top), 0.0f, top));
}

} // namespace NoisePreview
