#pragma once

// The sine, as templates over one float and over lanes. An angle is reduced to between -1/4 and 1/4 turn,
// where the sine is an odd polynomial. Which reduction an angle takes depends on its own value alone, so that
// one angle has one sine.

#include "float4_lanes.h"

#include <bit>
#include <cstddef>
#include <cstdint>

namespace Vestrel::SIMD_Neon::LowPrecision {

// stream_coefficients.sollya prints all constants here.

/// Smaller angles take Cody-Waite reduction, others Payne-Hanek reduction.
inline constexpr float kCodyWaiteLimit = 0x1p14f;

/// `value` with its sign flipped if the last bit of `number` is set.
[[gnu::always_inline]] inline float FlipSignIfOdd(float value, float number) {
    return std::bit_cast<float>(std::bit_cast<uint32_t>(value) ^ std::bit_cast<uint32_t>(number) << 31);
}

[[gnu::always_inline]] inline Float4 FlipSignIfOdd(Float4 value, Float4 number) {
    return value ^ AsFloats(ShiftLeft<31>(AsInts(number)));
}

/// An angle between -1/4 and 1/4 turn with the same sine, for angles below kCodyWaiteLimit: Cody-Waite
/// reduction (W. J. Cody and W. Waite, Software Manual for the Elementary Functions, 1980, chapter 8).
///
/// Adding 1.5 * 2^23 rounds the number of half turns; the last bit of the sum says whether it is odd. Pi is
/// subtracted in two parts. The first has 11 bits, so that its product with the number, of up to 13 bits, is
/// exact, and so is the difference from the angle.
template <typename TValue>
[[gnu::always_inline]] inline TValue ReduceCodyWaite(TValue radians) {
    const TValue lastBitIsOne(0x1.8p23f);
    const TValue counted = radians * TValue(0x1.45f306p-2f) + lastBitIsOne;
    const TValue halfTurns = counted - lastBitIsOne;
    const TValue rest = (radians - halfTurns * TValue(0x1.92p1f)) - halfTurns * TValue(0x1.fb5444p-11f);
    return FlipSignIfOdd(rest, counted);
}

/// The first 192 binary digits of 1 / (2 pi) after the point.
inline constexpr uint64_t kTurnsPerRadian[] = {0x28BE60DB9391054Au, 0x7F09D5F47D4D3770u, 0x36D8A5664F10E410u};

/// 64 of those digits from index `first` on.
constexpr uint64_t DigitsFrom(uint32_t first) {
    const uint32_t word = first / 64;
    const uint32_t shift = first % 64;
    return shift == 0 ? kTurnsPerRadian[word]
                      : kTurnsPerRadian[word] << shift | kTurnsPerRadian[word + 1] >> (64 - shift);
}

/// By an angle's exponent: the turns in one unit of its significand, modulo 1, in units of 2^-64. From
/// kCodyWaiteLimit on that takes the digits from index -9 on; those before the point are 0.
struct CTurnsPerUnit {
    uint64_t m_Turns[256]; // std::array's functions would be code that sources with wider registers share
};

inline constexpr CTurnsPerUnit kTurnsPerUnit = [] {
    constexpr uint32_t kExponentBias = 127 + 23; // of the significand as an integer
    CTurnsPerUnit table = {};
    for (uint32_t exponent = std::bit_cast<uint32_t>(kCodyWaiteLimit) >> 23; exponent < 255; ++exponent) {
        table.m_Turns[exponent] = exponent < kExponentBias ? kTurnsPerRadian[0] >> (kExponentBias - exponent)
                                                           : DigitsFrom(exponent - kExponentBias);
    }
    return table;
}();

/// How far the magnitude of the angle with these bits lies from 1/4 turn, modulo 1 turn, in units of 2^-32
/// turns.
///
/// The significand is an integer, so whole turns per unit drop out and the product may wrap. The digits cut
/// off amount to less than one unit.
[[gnu::always_inline]] inline int32_t UnitsFromQuarterTurn(uint32_t bits) {
    constexpr uint32_t kQuarterTurn = 1u << 30;
    const uint64_t significand = (bits & 0x007FFFFFu) | 0x00800000u;
    const uint32_t turns =
        static_cast<uint32_t>(significand * kTurnsPerUnit.m_Turns[bits >> 23 & 0xFFu] >> 32);
    return static_cast<int32_t>(turns - kQuarterTurn);
}

/// The angle between -1/4 and 1/4 turn with the same sine: sin(pi/2 + d) = sin(pi/2 - d).
template <typename TValue>
[[gnu::always_inline]] inline TValue AngleOf(TValue unitsFromQuarterTurn) {
    return (TValue(0x1p30f) - unitsFromQuarterTurn) * TValue(0x1.921fb6p0f * 0x1p-30f);
}

/// As ReduceCodyWaite, for angles of any magnitude from kCodyWaiteLimit on: Payne-Hanek reduction, an integer
/// product with those digits of 1 / (2 pi) that matter (M. Payne and R. Hanek, Radian Reduction for
/// Trigonometric Functions, ACM SIGNUM Newsletter 18(1), 1983). `radians - radians` is 0, or NaN for
/// infinities and NaN.
template <typename TInt, typename TFloat>
[[gnu::always_inline]] inline TFloat ReducePayneHanek(TFloat radians) {
    constexpr size_t kLanes = sizeof(TFloat) / sizeof(float);
    alignas(TFloat) uint32_t bits[kLanes];
    Store(bits, radians);
    asm("" : "+m"(bits)); // read the lanes from memory, as SpillAligned does
    int32_t units[kLanes];
#pragma GCC unroll 16
    for (size_t k = 0; k < kLanes; ++k) {
        units[k] = UnitsFromQuarterTurn(bits[k]);
    }
    TInt fromQuarterTurn;
    FromLanes(units, fromQuarterTurn);
    const TFloat angle = AngleOf(ToFloat(fromQuarterTurn) & TInt(INT32_MAX)) + (radians - radians);
    return angle ^ (radians & TInt(INT32_MIN));
}

/// The sine of an angle between -1/4 and 1/4 turn. Never above 1: the polynomial is fitted to a slightly
/// smaller sine, at the cost of half a unit in the last place.
template <typename TValue>
[[gnu::always_inline]] inline TValue SinOfReduced(TValue x) {
    const TValue square = x * x;
    const TValue inner =
        TValue(0x1.110cb2p-7f) + square * (TValue(-0x1.9f2b9p-13f) + square * TValue(0x1.5acf94p-19f));
    return x * (TValue(0x1.fffffcp-1f) + square * (TValue(-0x1.55553p-3f) + square * inner));
}

/// The sines of several angles, lane by lane. `TInt` is the integer type of the lanes.
template <typename TInt, typename TFloat>
[[gnu::always_inline]] inline TFloat SinOfLanes(TFloat radians) {
    const auto isNear = GreaterThan(TFloat(kCodyWaiteLimit), radians & TInt(INT32_MAX));
    TFloat reduced = ReduceCodyWaite(radians);
    if (!AllTrue(isNear)) [[unlikely]] {
        reduced = Select(isNear, reduced, ReducePayneHanek<TInt>(radians));
    }
    return SinOfReduced(reduced);
}

} // namespace Vestrel::SIMD_Neon::LowPrecision
