#pragma once

// All 32-bit patterns, a block at a time, for exhaustive tests.

#include <zr_support_internal/canonical_bits.h>

#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <ios>

namespace Vestrel {

/// The step between visited patterns. All patterns take minutes, so most builds visit one in nine. An odd
/// step visits both signs and all exponents, every ninth significand in each, and all values of the lowest
/// bits equally often.
constexpr uint32_t kPatternStep = VESTREL_TESTS_VISIT_EVERY_FLOAT ? 1 : 9;

constexpr uint32_t kPatternCount = 4096;

/// A test's results for a block.
template <typename TValue>
struct alignas(16) TPatternResults {
    std::array<TValue, kPatternCount> m_Values;
};

/// A block of patterns, as bits and as floats.
struct CPatternBlock {
    alignas(16) std::array<uint32_t, kPatternCount> m_Bits;
    alignas(16) std::array<float, kPatternCount> m_Floats;

    /// The patterns `first`, `first` + kPatternStep and so on, rotated by `turn` places: otherwise patterns
    /// that end in many zeros, such as whole numbers, would all be in lane 0.
    void Fill(uint32_t first, uint32_t turn) {
        for (uint32_t k = 0; k < kPatternCount; ++k) {
            m_Bits[k] = first + (k + turn) % kPatternCount * kPatternStep;
        }
        m_Floats = std::bit_cast<std::array<float, kPatternCount>>(m_Bits);
    }
};

/// Calls `visit(block)` until all patterns have been visited or a test has failed fatally. The last block
/// visits some patterns again.
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

/// Compares all results of a block at once, because GoogleTest is slower per check than the tested code.
/// `what` names them.
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
