#include "strict_arithmetic.h"

#include <zr_support/simd_float4.h>
#include <zr_support/simd_streams.h>

#include <array>
#include <bit>
#include <cassert>
#include <cmath>
#include <cstddef>
#include <cstdint>

// An angle is first brought to between -1/4 and 1/4 turn, where its sine is a polynomial of it. Angles below
// 2^14 go there in floats. Beyond, where floats have no digits to spare, it takes an integer product for
// each. Which way an angle goes depends on it alone, so that one angle has one sine.

namespace Vestrel::SIMD_Neon::LowPrecision {

namespace {

// All constants here are printed by stream_coefficients.sollya.

/// Angles from here on are brought down by ReduceFar.
constexpr float kFar = 0x1p14f;

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

/// The binary digits of 1 / (2 pi) behind the point.
constexpr uint64_t kTurnsPerRadian[] = {0x28BE60DB9391054Au, 0x7F09D5F47D4D3770u, 0x36D8A5664F10E410u};

/// 64 of those digits, from number `first` on, number 0 being the first one.
constexpr uint64_t DigitsFrom(int first) {
    const int word = first / 64;
    const int shift = first % 64;
    return shift == 0 ? kTurnsPerRadian[word]
                      : kTurnsPerRadian[word] << shift | kTurnsPerRadian[word + 1] >> (64 - shift);
}

constexpr uint32_t kExponentBias = 127 + 23; // of the significand as a whole number

/// By the exponent of a far angle: how many turns the unit of its significand is, without the whole ones, in
/// units of 2^-64. From kFar on that takes the digits from number -9 on, the first nine of which are 0.
constexpr std::array<uint64_t, 256> TurnsPerUnit() {
    std::array<uint64_t, 256> turns = {};
    for (uint32_t exponent = std::bit_cast<uint32_t>(kFar) >> 23; exponent < 255; ++exponent) {
        turns[exponent] = exponent < kExponentBias ? kTurnsPerRadian[0] >> (kExponentBias - exponent)
                                                   : DigitsFrom(static_cast<int>(exponent - kExponentBias));
    }
    return turns;
}

constexpr std::array<uint64_t, 256> kTurnsPerUnit = TurnsPerUnit();

constexpr int32_t kQuarterTurn = 1 << 30;

/// The angle with these bits, from kFar on and with its sign left out, without whole turns: in units of 2^-32
/// turns from the top of the wave, which is at 1/4 turn.
///
/// The significand is a whole number, so that the turns of its unit may go without the whole ones, and the
/// product may wrap; the digits that are cut off make less than one of the units.
[[gnu::always_inline]] inline int32_t UnitsFromTop(uint32_t bits) {
    const uint64_t significand = (bits & 0x007FFFFFu) | 0x00800000u;
    const uint32_t turns = static_cast<uint32_t>(significand * kTurnsPerUnit[bits >> 23 & 0xFFu] >> 32);
    return static_cast<int32_t>(turns - uint32_t{kQuarterTurn});
}

/// The wave falls alike on both sides of its top: so far from it, whichever way, the sine is that of this
/// angle.
template <typename TValue>
[[gnu::always_inline]] inline TValue AngleOf(TValue unitsFromTop) {
    return (TValue(0x1p30f) - unitsFromTop) * TValue(0x1.921fb6p0f * 0x1p-30f);
}

/// As ReduceNear, for angles from kFar on, of any magnitude, and for those that are none. (What is infinite
/// or not a number minus itself is not a number; any other angle minus itself is 0.)
float ReduceFar(float radians) {
    const uint32_t bits = std::bit_cast<uint32_t>(radians);
    const float angle = AngleOf(std::fabs(static_cast<float>(UnitsFromTop(bits)))) + (radians - radians);
    return std::bit_cast<float>(std::bit_cast<uint32_t>(angle) ^ (bits & 0x80000000u));
}

Float4 ReduceFar(Float4 radians) {
    alignas(16) uint32_t bits[4];
    SpillAligned(bits, radians);
    const Float4 fromTop = ToFloat(
        Int4(UnitsFromTop(bits[0]), UnitsFromTop(bits[1]), UnitsFromTop(bits[2]), UnitsFromTop(bits[3])));
    const Float4 angle = AngleOf(fromTop & Int4(INT32_MAX)) + (radians - radians);
    return angle ^ (radians & Int4(INT32_MIN));
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

} // namespace

float Sin(float radians) noexcept {
    return SinOfReduced(std::fabs(radians) < kFar ? ReduceNear(radians) : ReduceFar(radians));
}

void SinStream_Aligned16(const float* in, float* out, uint32_t count) noexcept {
    assert(count % 4 == 0 && "a stream takes four at a time");
    for (uint32_t k = 0; k < count; k += 4) {
        const Float4 radians = LoadAligned(in + k);
        const Int4 isNear = GreaterThan(Float4(kFar), radians & Int4(INT32_MAX));
        Float4 reduced = ReduceNear(radians);
        if (!AllTrue(isNear)) [[unlikely]] {
            const Float4 far = ReduceFar(radians);
            reduced = far ^ ((far ^ reduced) & isNear);
        }
        StoreAligned(out + k, SinOfReduced(reduced));
    }
}

} // namespace Vestrel::SIMD_Neon::LowPrecision
