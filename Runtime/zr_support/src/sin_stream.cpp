#include "strict_arithmetic.h"

#include "sin_of_near.h"

#include <zr_support/simd_float4.h>
#include <zr_support/simd_streams.h>

#include <array>
#include <bit>
#include <cassert>
#include <cmath>
#include <cstddef>
#include <cstdint>

// Angles from 2^14 on, where floats have no digits to spare, take an integer product each to come to between
// -1/4 and 1/4 turn. Which way an angle goes depends on it alone, so that one angle has one sine.

namespace Vestrel::SIMD_Neon::LowPrecision {

namespace {

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
