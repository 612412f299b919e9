#pragma once

#include <bit>
#include <cmath>
#include <cstdint>

namespace Vestrel {

/// The bits of a float, all not-a-numbers being one.
inline uint32_t FoldedBits(float value) {
    return std::isnan(value) ? 0x7FC00000u : std::bit_cast<uint32_t>(value);
}

} // namespace Vestrel
