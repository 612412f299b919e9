#pragma once

// What the lane templates of the streams need of Float4 beyond simd_float4.h, by the names that the wider
// types use.

#include <zr_support/simd_float4.h>

#include <cstdint>

namespace Vestrel::SIMD_Neon {

[[gnu::always_inline]] inline void Store(void* target, Float4 value) {
    StoreAligned(target, value);
}

[[gnu::always_inline]] inline void FromLanes(const int32_t (&lanes)[4], Int4& value) {
    value = Int4(lanes[0], lanes[1], lanes[2], lanes[3]);
}

/// `a` where the mask is -1, else `b`.
[[gnu::always_inline]] inline Float4 Select(Int4 mask, Float4 a, Float4 b) {
    return b ^ ((b ^ a) & mask);
}

} // namespace Vestrel::SIMD_Neon
