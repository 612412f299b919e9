// The conversions of four lanes, for every float and every integer.

#include "bit_patterns.h"

#include <zr_support/simd_float4.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <cstdint>

namespace {

using namespace Vestrel;
using namespace Vestrel::SIMD_Neon;

constexpr uint32_t kInfinity = 0x7F800000u;

/// The conversion by definition, computed from the bits without a conversion instruction.
int32_t TruncationOfBits(uint32_t bits) {
    const uint32_t magnitude = bits & 0x7FFFFFFFu;
    const uint32_t exponent = magnitude >> 23;
    const bool isNegative = magnitude != bits;
    if (magnitude > kInfinity || exponent < 127) {
        return 0;
    }
    if (exponent >= 127 + 31) {
        return isNegative ? INT32_MIN : INT32_MAX;
    }
    const uint32_t significand = (bits & 0x007FFFFFu) | 0x00800000u;
    const uint32_t whole =
        exponent >= 150 ? significand << (exponent - 150) : significand >> (150 - exponent);
    return isNegative ? -static_cast<int32_t>(whole) : static_cast<int32_t>(whole);
}

TEST(SimdFloat4Exhaustive, EveryFloatIsTruncatedByDefinition) {
    static TPatternResults<int32_t> expected, truncated, truncatedNumbers;
    VisitBitPatterns([](const CPatternBlock& block) {
        for (size_t k = 0; k < kPatternCount; k += 4) {
            const Float4 floats = LoadAligned(&block.m_Floats[k]);
            StoreAligned(&truncated.m_Values[k], TruncateToInt(floats));
            StoreAligned(&truncatedNumbers.m_Values[k], TruncateNumberToInt(floats));
        }
        for (size_t k = 0; k < kPatternCount; ++k) {
            expected.m_Values[k] = TruncationOfBits(block.m_Bits[k]);
        }
        ExpectSameBits(block, truncated, expected, "TruncateToInt");
        // The second form may give anything for NaN.
        for (size_t k = 0; k < kPatternCount; ++k) {
            truncatedNumbers.m_Values[k] = (block.m_Bits[k] & 0x7FFFFFFFu) > kInfinity
                                               ? expected.m_Values[k]
                                               : truncatedNumbers.m_Values[k];
        }
        ExpectSameBits(block, truncatedNumbers, expected, "TruncateNumberToInt");
    });
}

// Integers are exact in double, so only the second conversion rounds.
TEST(SimdFloat4Exhaustive, EveryIntegerConvertsToTheNearestFloat) {
    static TPatternResults<float> expected, converted;
    VisitBitPatterns([](const CPatternBlock& block) {
        for (size_t k = 0; k < kPatternCount; k += 4) {
            StoreAligned(&converted.m_Values[k], ToFloat(AsInts(LoadAligned(&block.m_Bits[k]))));
        }
        for (size_t k = 0; k < kPatternCount; ++k) {
            expected.m_Values[k] =
                static_cast<float>(static_cast<double>(static_cast<int32_t>(block.m_Bits[k])));
        }
        ExpectSameBits(block, converted, expected, "ToFloat, as an integer,");
    });
}

} // namespace
