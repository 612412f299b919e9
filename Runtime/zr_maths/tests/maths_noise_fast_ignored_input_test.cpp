// Ignored input has no effect: lane 3 of positions and records, and memory between and behind positions.
// Apart from results, it could raise floating-point exceptions, or cost time if it is denormal, which x86
// reports as an exception.

#include "noise_test_support.h"
#include "operations.h"
#include "sample_batch.h"
#include "selected_kernels.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cfenv>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#if defined(__SSE2__)
#include <xmmintrin.h>
#endif

namespace {

using namespace Vestrel;
using SIMD_Neon::Float4;

/// Bits of ignored input: signalling and quiet NaN, infinities, numbers beyond the integers, an integer in
/// place of a float, and a denormal.
constexpr uint32_t kIgnored[] = {0x7F800001u, 0x7FC00000u, 0x7F800000u, 0xFF800000u,
                                 0x7F7FFFFFu, 0xDF000000u, 7u,          0x807FFFFFu};

/// The floating-point exceptions that an operation raises, on x86 including denormal operands.
template <typename TOperation>
unsigned ExceptionsOf(const TOperation& operation) {
#if defined(__SSE2__)
    const unsigned before = _mm_getcsr();
    _mm_setcsr(before & ~_MM_EXCEPT_MASK);
    operation();
    const unsigned raised = _mm_getcsr() & _MM_EXCEPT_MASK;
    _mm_setcsr(before);
    return raised;
#else
    std::feclearexcept(FE_ALL_EXCEPT);
    operation();
    return static_cast<unsigned>(std::fetestexcept(FE_ALL_EXCEPT));
#endif
}

/// Expects `operation(ignored)` to raise the same exceptions for 0 and for all of kIgnored.
template <typename TOperation>
void ExpectIgnored(const std::string& what, const TOperation& operation) {
    const unsigned expected = ExceptionsOf([&] { operation(0.0f); });
    for (const uint32_t bits : kIgnored) {
        const float ignored = std::bit_cast<float>(bits);
        EXPECT_EQ(ExceptionsOf([&] { operation(ignored); }), expected)
            << what << ", ignored bits 0x" << std::hex << bits;
    }
}

class IgnoredInput : public testing::TestWithParam<CPointSamplers> {
protected:
    COpenNoise m_Noise = EvenNoise();
    Float4 m_Result;
};

INSTANTIATE_TEST_SUITE_P(All, IgnoredInput, testing::ValuesIn(kPointSamplers), CNameOfInstance());

TEST_P(IgnoredInput, Lane3OfAPosition) {
    ExpectIgnored("a single sample", [&](float lane3) {
        m_Result = Float4((m_Noise.*GetParam().m_Sample)(Float4(1.25f, -2.5f, 3.75f, lane3)));
    });
    ExpectIgnored("a gradient", [&](float lane3) {
        m_Result = (m_Noise.*GetParam().m_Gradient)(Float4(1.25f, -2.5f, 3.75f, lane3));
    });
}

TEST_P(IgnoredInput, Lane3OfCoherentPositions) {
    for (size_t changed = 0; changed < 4; ++changed) {
        ExpectIgnored("coherent position " + std::to_string(changed), [&](float lane3) {
            Float4 positions[] = {Float4(1.25f, 2.5f, 3.75f, 0.0f), Float4(1.5f, 2.5f, 3.75f, 0.0f),
                                  Float4(1.25f, 2.75f, 3.5f, 0.0f), Float4(1.75f, 2.5f, 3.5f, 0.0f)};
            positions[changed] = SIMD_Neon::InsertLane<3>(positions[changed], lane3);
            m_Result = (m_Noise.*GetParam().m_Coherent)(positions);
        });
    }
}

TEST_P(IgnoredInput, FourthComponentsOfRecords) {
    for (const uint32_t count : {1u, 3u, 4u, 7u, 3 * Internal::kPositionsPerBlock + 7}) {
        std::vector<CRecord> records(count);
        std::vector<CGradient> gradients(count);
        ExpectIgnored(std::to_string(count) + " records", [&](float lane3) {
            for (CRecord& record : records) {
                record = {{0.25f, 0.5f, 0.75f, lane3}, {1, 2, 255, std::bit_cast<int>(lane3)}};
            }
            (m_Noise.*GetParam().m_GradientBatch)(records, gradients);
        });
    }
}

class IgnoredMemory : public testing::TestWithParam<CBatchSampler> {};

INSTANTIATE_TEST_SUITE_P(All, IgnoredMemory, testing::ValuesIn(kBatchSamplers), CNameOfInstance());

TEST_P(IgnoredMemory, BetweenAndBehindPositions) {
    const COpenNoise noise = EvenNoise();
    const uint32_t size = GetParam().PositionSize();
    const uint32_t longRun = MaxMinimumCount() + Internal::kPositionsPerBlock + 7;
    for (const uint32_t stride : {size, size + 4, 16u, 20u}) {
        for (const uint32_t count : {1u, 3u, 4u, 7u, longRun}) {
            std::vector<float> memory((size_t{count} * std::max(stride, size) + 16) / 4);
            std::vector<float> output(count);
            ExpectIgnored(std::string(GetParam().m_Name) + ", " + std::to_string(count) +
                              " positions, stride " + std::to_string(stride),
                          [&](float ignored) {
                              std::fill(memory.begin(), memory.end(), ignored);
                              for (uint32_t k = 0; k < count; ++k) {
                                  std::fill_n(&memory[k * stride / 4], size / 4, 1.25f);
                              }
                              GetParam().m_Sample(noise, {output.data(), count, 4}, memory.data(), 0, stride);
                          });
        }
    }
}

} // namespace
