// Split, fades and 1D noise for every float, and batches of more than 4 GiB of positions.

#include "bit_patterns.h"
#include "noise_reference.h"
#include "noise_test_support.h"
#include "sample_batch.h"
#include "sparse_memory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>

namespace {

using namespace Vestrel;
using namespace Vestrel::Internal;

TEST(NoiseExhaustive, EveryCoordinateIsSplitAsInTheReference) {
    static TPatternResults<int32_t> cells, expectedCells;
    static TPatternResults<float> fractions, expectedFractions;
    VisitBitPatterns([](const CPatternBlock& block) {
        for (size_t k = 0; k < kPatternCount; k += 4) {
            const auto split = SplitCoordinates(SIMD_Neon::LoadAligned(&block.m_Floats[k]));
            SIMD_Neon::StoreAligned(&cells.m_Values[k], split.m_Cell);
            SIMD_Neon::StoreAligned(&fractions.m_Values[k], split.m_Fraction);
        }
        for (size_t k = 0; k < kPatternCount; ++k) {
            const Reference::CCell expected = Reference::Split(block.m_Floats[k]);
            expectedFractions.m_Values[k] = expected.m_Fraction;
            expectedCells.m_Values[k] = static_cast<int32_t>(expected.m_Coordinate);
        }
        ExpectSameBits(block, cells, expectedCells, "the cell");
        ExpectSameBits(block, fractions, expectedFractions, "the fraction");
    });
}

// The same by another definition: the true floor, and the coordinate minus that floor.
TEST(NoiseExhaustive, EveryCoordinateWithinTheIntegersIsSplitAtItsFloor) {
    static TPatternResults<int32_t> cells, expectedCells;
    static TPatternResults<float> fractions, expectedFractions;
    VisitBitPatterns([](const CPatternBlock& block) {
        for (size_t k = 0; k < kPatternCount; ++k) {
            const float x = std::fabs(block.m_Floats[k]) < 0x1p31f ? block.m_Floats[k] : 0.0f;
            const float floor = std::floor(x);
            const auto split = SplitCoordinates(Float4(x));
            cells.m_Values[k] = SIMD_Neon::ExtractLane<0>(split.m_Cell);
            fractions.m_Values[k] = SIMD_Neon::ExtractLane<0>(split.m_Fraction);
            expectedCells.m_Values[k] = static_cast<int32_t>(floor) & 255;
            expectedFractions.m_Values[k] = x - floor;
        }
        ExpectSameBits(block, cells, expectedCells, "the cell");
        ExpectSameBits(block, fractions, expectedFractions, "the fraction");
    });
}

/// Every fade is that of the reference. Fractions up to 1/2 fade to at most 1/2, those up to 1 to at most
/// `peak`.
template <ENoiseQuality kQuality>
void ExpectFades(EQuality quality, float peak) {
    static TPatternResults<float> ofLanes, ofOne, expected;
    VisitBitPatterns([quality, peak](const CPatternBlock& block) {
        for (size_t k = 0; k < kPatternCount; k += 4) {
            const Float4 fractions = SIMD_Neon::LoadAligned(&block.m_Floats[k]);
            SIMD_Neon::StoreAligned(&ofLanes.m_Values[k], Fade<kQuality>(fractions));
        }
        for (size_t k = 0; k < kPatternCount; ++k) {
            ofOne.m_Values[k] = Fade<kQuality>(block.m_Floats[k]);
            expected.m_Values[k] = Reference::Fade(quality, block.m_Floats[k]);
            const float fraction = block.m_Floats[k];
            if (fraction >= 0.0f && fraction <= 1.0f) {
                ASSERT_GE(expected.m_Values[k], 0.0f) << std::hexfloat << fraction;
                ASSERT_LE(expected.m_Values[k], fraction <= 0.5f ? 0.5f : peak) << std::hexfloat << fraction;
            }
        }
        ExpectSameBits(block, ofLanes, expected, "the fade in four lanes");
        ExpectSameBits(block, ofOne, expected, "the fade");
    });
}

TEST(NoiseExhaustive, LinearFadeOfEveryFloat) {
    ExpectFades<ENoiseQuality::kLinear>(EQuality::kLinear, 1.0f);
}

TEST(NoiseExhaustive, CubicFadeOfEveryFloat) {
    ExpectFades<ENoiseQuality::kCubic>(EQuality::kCubic, 1.0f);
}

TEST(NoiseExhaustive, QuinticFadeOfEveryFloat) {
    ExpectFades<ENoiseQuality::kQuintic>(EQuality::kQuintic, 1.0f + 9 * 0x1p-23f);
}

/// A path through the batch samplers: the batch size that a block is split into, and the offset of the output
/// from a multiple of 16. (Wide kernels, if chosen, run all paths but the last.)
struct CPath {
    const char* m_Name;
    uint32_t m_RunLength;
    size_t m_FloatsOffset;
};

constexpr CPath kPaths[] = {
    {"the sample, in a long run,", kPatternCount, 0},
    {"the sample, four at a time,", 128, 0},
    {"the sample, one at a time with three others,", kPatternCount, 1},
    {"the sample, one at a time,", 2, 0},
};
static_assert(kPatternCount >= kLongRun && 128 < kLongRun && kPatternCount % 128 == 0);

template <EQuality kQuality, auto kSample>
void ExpectSamples() {
    static const COpenNoise noise = EvenNoise();
    static TPatternResults<float> samples, expected;
    VisitBitPatterns([](const CPatternBlock& block) {
        for (size_t k = 0; k < kPatternCount; ++k) {
            expected.m_Values[k] = Reference::Sample(noise.Basis(), kQuality, block.m_Floats[k]);
        }
        for (const CPath& path : kPaths) {
            alignas(16) float output[kPatternCount + 4];
            for (uint32_t first = 0; first < kPatternCount; first += path.m_RunLength) {
                (noise.*kSample)({output + path.m_FloatsOffset + first, path.m_RunLength, 4},
                                 {&block.m_Floats[first], path.m_RunLength, 4});
            }
            std::copy_n(output + path.m_FloatsOffset, kPatternCount, samples.m_Values.begin());
            ExpectSameBits(block, samples, expected, path.m_Name);
        }
    });
}

TEST(NoiseExhaustive, LinearSampleOfEveryFloat) {
    ExpectSamples<EQuality::kLinear, &CFastNoise3::SampleLinear1D>();
}

TEST(NoiseExhaustive, CubicSampleOfEveryFloat) {
    ExpectSamples<EQuality::kCubic, &CFastNoise3::SampleCubic1D>();
}

TEST(NoiseExhaustive, QuinticSampleOfEveryFloat) {
    ExpectSamples<EQuality::kQuintic, &CFastNoise3::SampleQuintic1D>();
}

#if UINTPTR_MAX > UINT32_MAX
// Positions and samples repeat a few MiB of memory, so that the last samples written remain. 4 GiB is not a
// multiple of either period, so an address truncated to 32 bits is that of another position. One quality is
// enough: all share the loops.
TEST(NoiseExhaustive, LinearSamplesOfPackedPositionsBeyond4GiB) {
    const COpenNoise noise = EvenNoise();
    constexpr uint32_t kPositionPeriod = 3u << 20;
    constexpr uint32_t kOutputPeriod = 1u << 20;
    constexpr uint32_t kKept = kOutputPeriod / sizeof(float);
    for (const CBatchSampler& sampler : kBatchSamplers) {
        for (const uint32_t stride : {sampler.PositionSize(), uint32_t{16}}) {
            const bool isPadded = stride != sampler.PositionSize();
            if (sampler.m_Quality != EQuality::kLinear || sampler.m_Dimension < 3 ||
                (isPadded && sampler.m_Dimension != 3)) {
                continue;
            }
            const uint32_t count = static_cast<uint32_t>((uint64_t{1} << 32) / stride) + kKept + 37;
            const CRepeatedMemory positions(size_t{count} * stride, kPositionPeriod);
            const CRepeatedMemory output(size_t{count} * sizeof(float), kOutputPeriod);
            CStdRandomGenerator(stride).FillRandomFloats(
                {reinterpret_cast<float*>(positions.Begin()), kPositionPeriod / 4}, -500.0f, 500.0f);
            float* const samples = reinterpret_cast<float*>(output.Begin());

            sampler.m_Sample(noise, {samples, count, sizeof(float)}, positions.Begin(), 0, stride);

            for (uint32_t k = count - kKept; k < count; ++k) {
                const float expected =
                    Reference::Sample(noise.Basis(), sampler, positions.Begin() + size_t{k} * stride);
                ASSERT_EQ(CanonicalBits(samples[k]), CanonicalBits(expected))
                    << sampler << ", positions " << stride << " bytes apart: sample " << k << " of " << count;
            }
        }
    }
}
#endif

} // namespace
