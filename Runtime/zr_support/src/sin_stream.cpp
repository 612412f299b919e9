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
// 2^14 go there in floats. Beyond, where floats have no digits to spare, it takes an integer product; such
// angles are rare, and done one by one. Which way an angle goes depends on it alone, so that one angle has
// one sine.

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

/// An angle between -1/4 and 1/4 turn with the same sine, for angles below kFar and for those that are none,
/// of which it makes not-a-number.
///
/// Half turns are counted by a sum whose last bit is 1, so that the number is rounded, and odd if that bit is
/// set. Of the two parts of pi the first has 11 bits, so that its product with the count, of up to 13 bits,
/// is exact, and so is the difference from the angle.
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

/// As ReduceNear, for angles from kFar on, of any magnitude.
///
/// The significand is a whole number, so that the turns of its unit may go without the whole ones, and the
/// product may wrap; the digits that are cut off make less than 2^-32 turns.
float ReduceFar(float radians) {
    const uint32_t bits = std::bit_cast<uint32_t>(radians);
    const uint64_t significand = (bits & 0x007FFFFFu) | 0x00800000u;
    const uint32_t turns = static_cast<uint32_t>(significand * kTurnsPerUnit[bits >> 23 & 0xFFu] >> 32);
    // From the top of the wave, at 1/4 turn, it falls alike on both sides.
    constexpr uint32_t kQuarterTurn = 1u << 30;
    const float fromTop = std::fabs(static_cast<float>(static_cast<int32_t>(turns - kQuarterTurn)));
    const float reduced = (float{kQuarterTurn} - fromTop) * (0x1.921fb6p0f * 0x1p-30f);
    // An infinity minus itself is not a number; any other angle minus itself is 0.
    return std::copysign(1.0f, radians) * (reduced + (radians - radians));
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

bool IsNear(float radians) {
    return std::fabs(radians) < kFar;
}

} // namespace

float Sin(float radians) noexcept {
    return SinOfReduced(IsNear(radians) ? ReduceNear(radians) : ReduceFar(radians));
}

void SinStream_Aligned16(const float* in, float* out, uint32_t count) noexcept {
    assert(count % 4 == 0 && "a stream takes four at a time");
    const Int4 magnitudeMask(INT32_MAX);
    for (uint32_t k = 0; k < count; k += 4) {
        const Float4 radians = LoadAligned(in + k);
        Float4 reduced = ReduceNear(radians);
        if (!AllTrue(GreaterThan(Float4(kFar), radians & magnitudeMask))) [[unlikely]] {
            alignas(16) float lanes[4];
            StoreAligned(lanes, reduced);
            for (uint32_t lane = 0; lane < 4; ++lane) {
                lanes[lane] = IsNear(in[k + lane]) ? lanes[lane] : ReduceFar(in[k + lane]);
            }
            reduced = LoadAligned(lanes);
        }
        StoreAligned(out + k, SinOfReduced(reduced));
    }
}

} // namespace Vestrel::SIMD_Neon::LowPrecision
