#pragma once

// All bit patterns there are, a block at a time, for tests that leave none out.

#include <zr_support_internal/canonical_bits.h>

#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <ios>

namespace Vestrel {

/// How far it is from one visited pattern to the next. All of them take minutes, so that most builds visit
/// one in nine. What is odd has no factor in common with the powers of two that patterns are made of: both
/// signs and all exponents are visited, in each of these every ninth significand, and among those every value
/// of the lowest bits as often as any other.
constexpr uint32_t kPatternStep = VESTREL_TESTS_VISIT_EVERY_FLOAT ? 1 : 9;

constexpr uint32_t kPatternCount = 4096;

/// What a test makes of a block.
template <typename TValue>
struct alignas(16) TPatternResults {
    std::array<TValue, kPatternCount> m_Values;
};

/// Some of the patterns, as they are and as floats.
struct CPatternBlock {
    alignas(16) std::array<uint32_t, kPatternCount> m_Bits;
    alignas(16) std::array<float, kPatternCount> m_Floats;

    /// The patterns `first`, `first` + kPatternStep and so on, in an order turned by `turn` places: numbers
    /// with many zeros at the end, like the whole ones, would otherwise all go to lane 0.
    void Fill(uint32_t first, uint32_t turn) {
        for (uint32_t k = 0; k < kPatternCount; ++k) {
            m_Bits[k] = first + (k + turn) % kPatternCount * kPatternStep;
        }
        m_Floats = std::bit_cast<std::array<float, kPatternCount>>(m_Bits);
    }
};

/// Calls `visit(block)` until all patterns have been visited or a test has failed fatally. Behind the last
/// pattern some are visited again, to fill the last block.
template <typename TVisit>
void VisitBitPatterns(const TVisit& visit) {
    static CPatternBlock block;
    constexpr uint64_t kPatternsInAll = uint64_t{1} << 32;
    uint32_t turn = 0;
    for (uint64_t first = 0; first < kPatternsInAll && !testing::Test::HasFatalFailure();
         first += uint64_t{kPatternStep} * kPatternCount) {
        block.Fill(static_cast<uint32_t>(first), turn++);
        visit(block);
    }
}

inline uint32_t CanonicalBits(int32_t value) {
    return static_cast<uint32_t>(value);
}

/// Holds what was made of a block to what is expected; `what` names it. All in one go, for a check of each
/// would take longer than what is checked.
template <typename TValue>
void ExpectSameBits(const CPatternBlock& block, const TPatternResults<TValue>& actual,
                    const TPatternResults<TValue>& expected, const char* what) {
    uint32_t differences = 0;
    for (uint32_t k = 0; k < kPatternCount; ++k) {
        differences |= CanonicalBits(actual.m_Values[k]) ^ CanonicalBits(expected.m_Values[k]);
    }
    for (uint32_t k = 0; differences != 0 && k < kPatternCount; ++k) {
        ASSERT_EQ(CanonicalBits(actual.m_Values[k]), CanonicalBits(expected.m_Values[k]))
            << what << " of the bits 0x" << std::hex << block.m_Bits[k] << std::dec << ", as a float "
            << std::hexfloat << block.m_Floats[k] << ", is " << actual.m_Values[k] << ", not "
            << expected.m_Values[k];
    }
}

} // namespace Vestrel
