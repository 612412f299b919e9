#include "painting/colour_map.h"

#include <array>
#include <cstdint>
#include <span>

namespace NoisePreview {

namespace {

// Equally spaced from -1 to 1, as 0xRRGGBB; blended linearly in between.

/// Nine of the 256 colours of viridis, by Stéfan van der Walt, Nathaniel Smith and Eric Firing (2015).
constexpr uint32_t kViridis[] = {0x440154, 0x472D7B, 0x3B528B, 0x2C728E, 0x21918C,
                                 0x28AE80, 0x5EC962, 0xADDC30, 0xFDE725};

/// Nine of the 256 colours of magma, by the same authors.
constexpr uint32_t kMagma[] = {0x000004, 0x1D1147, 0x51127C, 0x832681, 0xB73779,
                               0xE75263, 0xFC8961, 0xFEC488, 0xFCFDBF};

/// Diverging, neutral at 0: Kenneth Moreland, "Diverging Color Maps for Scientific Visualization" (2009).
constexpr uint32_t kCoolwarm[] = {0x3B4CC0, 0x6282EA, 0x8DB0FE, 0xB8D0F9, 0xDDDDDD,
                                  0xF5C4AD, 0xF4987A, 0xDE604D, 0xB40426};

/// As on a map: deep and shallow water below 0, then sand, grass, hills, rock and snow.
constexpr uint32_t kTerrain[] = {0x16305E, 0x1D4F86, 0x2F77AE, 0x6FB4D0, 0xD9CF9B,
                                 0x7CA456, 0x5C7F3F, 0x8C7355, 0xF7F7F5};

CPixel PixelOf(uint32_t colour) {
    const auto part = [&](int shift) { return static_cast<float>(colour >> shift & 255) / 255.0f; };
    return {part(16), part(8), part(0)};
}

CPixel Between(std::span<const uint32_t> colours, float place) {
    const float scaled = std::clamp(place, 0.0f, 1.0f) * static_cast<float>(colours.size() - 1);
    const size_t index = std::min(static_cast<size_t>(scaled), colours.size() - 2);
    return Mixed(PixelOf(colours[index]), PixelOf(colours[index + 1]), scaled - static_cast<float>(index));
}

} // namespace

CPixel ColourOf(EColours colours, float value) {
    const float place = (value + 1.0f) * 0.5f;
    switch (colours) {
    case EColours::kViridis:
        return Between(kViridis, place);
    case EColours::kMagma:
        return Between(kMagma, place);
    case EColours::kCoolwarm:
        return Between(kCoolwarm, place);
    case EColours::kTerrain:
        return Between(kTerrain, place);
    case EColours::kGrey:
        break;
    }
    return Grey(std::clamp(place, 0.0f, 1.0f));
}

} // namespace NoisePreview
