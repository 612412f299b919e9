#pragma once

// The sine of angles below 2^14, as templates for one float, for four, and for more side by side. An angle is
// first brought to between -1/4 and 1/4 turn, where its sine is a polynomial of it.

#include <zr_support/simd_float4.h>

#include <bit>
#include <cstdint>

namespace Vestrel::SIMD_Neon::LowPrecision {

// All constants here are printed by stream_coefficients.sollya.

/// Angles from here on are not near.
inline constexpr float kFar = 0x1p14f;

/// `value` with its sign flipped if the last bit of `number` is set.
[[gnu::always_inline]] inline float FlipSignIfOdd(float value, float number) {
    return std::bit_cast<float>(std::bit_cast<uint32_t>(value) ^ std::bit_cast<uint32_t>(number) << 31);
}

[[gnu::always_inline]] inline Float4 FlipSignIfOdd(Float4 value, Float4 number) {
    return value ^ AsFloats(ShiftLeft<31>(AsInts(number)));
}

/// An angle between -1/4 and 1/4 turn with the same sine, for angles below kFar.
///
/// Half turns are counted by a sum whose last bit is worth 1, so that the number is rounded, and odd if that
/// bit is set. Of the two parts of pi the first has 11 bits, so that its product with the count, of up to 13
/// bits, is exact, and so is the difference from the angle.
template <typename TValue>
[[gnu::always_inline]] inline TValue ReduceNear(TValue radians) {
    const TValue lastBitIsOne(0x1.8p23f);
    const TValue counted = radians * TValue(0x1.45f306p-2f) + lastBitIsOne;
    const TValue halfTurns = counted - lastBitIsOne;
    const TValue rest = (radians - halfTurns * TValue(0x1.92p1f)) - halfTurns * TValue(0x1.fb5444p-11f);
    return FlipSignIfOdd(rest, counted);
}

/// The sine of an angle between -1/4 and 1/4 turn; nowhere above 1, for which the polynomial, fitted to a
/// sine that is a bit too small, pays with half a unit of the last place.
template <typename TValue>
[[gnu::always_inline]] inline TValue SinOfReduced(TValue x) {
    const TValue square = x * x;
    const TValue inner =
        TValue(0x1.110cb2p-7f) + square * (TValue(-0x1.9f2b9p-13f) + square * TValue(0x1.5acf94p-19f));
    return x * (TValue(0x1.fffffcp-1f) + square * (TValue(-0x1.55553p-3f) + square * inner));
}

} // namespace Vestrel::SIMD_Neon::LowPrecision
