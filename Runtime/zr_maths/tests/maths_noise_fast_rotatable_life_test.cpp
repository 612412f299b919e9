// The rotating field: construction, reset, copies and assignment.

#include "operations.h"
#include "rotatable_test_support.h"

#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <type_traits>
#include <utility>
#include <vector>

namespace {

using namespace Vestrel;

class RotatableFastNoiseLife : public RotatableFastNoise {};

TEST(RotatableFastNoiseLayout, MembersFollowTheBasisInOrder) {
    if (sizeof(void*) != 8) {
        GTEST_SKIP() << "the layout of 64-bit platforms";
    }
    static_assert(sizeof(void*) != 8 || sizeof(CRotatableFastNoise3) == 48);
    static_assert(std::is_base_of_v<CFastNoise3, CRotatableFastNoise3>);
    const COpenRotatable noise(nullptr);
    const auto offsetOf = [&](const auto& member) {
        return reinterpret_cast<const char*>(&member) - reinterpret_cast<const char*>(&noise);
    };
    EXPECT_EQ(offsetOf(noise.m_Basis), 8);
    EXPECT_EQ(offsetOf(noise.m_Phases), 16);
    EXPECT_EQ(offsetOf(noise.m_SpinSpeeds), 24);
    EXPECT_EQ(offsetOf(noise.m_NoSpinVariation), 32);
    EXPECT_EQ(offsetOf(noise.m_SpinVariation), 36);
    EXPECT_EQ(offsetOf(noise.m_LastTime), 40);
}

TEST_F(RotatableFastNoiseLife, StartsWithDefaults) {
    EXPECT_EQ(m_Noise.m_SpinSpeeds, m_Noise.m_Phases + 256);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(m_Noise.m_Phases) % 32, 0u);
    EXPECT_FALSE(m_Noise.m_NoSpinVariation);
    EXPECT_EQ(m_Noise.m_SpinVariation, 0.2f);
    EXPECT_EQ(CanonicalBits(m_Noise.m_LastTime), 0u);
}

TEST_F(RotatableFastNoiseLife, DrawsTheBasisThenTheSpeeds) {
    ASSERT_EQ(m_Generator.m_Requests.size(), 2u);
    EXPECT_EQ(m_Generator.m_Requests[0].m_Data, m_Noise.m_Basis);
    EXPECT_EQ(m_Generator.m_Requests[0].m_Count, 256u);
    EXPECT_EQ(m_Generator.m_Requests[0].m_Min, -1.0f);
    EXPECT_EQ(m_Generator.m_Requests[0].m_Max, 1.0f);
    const float halfWidth = 0.2f * kPi;
    EXPECT_EQ(m_Generator.m_Requests[1].m_Data, m_Noise.m_SpinSpeeds);
    EXPECT_EQ(m_Generator.m_Requests[1].m_Count, 256u);
    EXPECT_EQ(m_Generator.m_Requests[1].m_Min, kTwoPi - halfWidth);
    EXPECT_EQ(m_Generator.m_Requests[1].m_Max, halfWidth + kTwoPi);
    ExpectWrapped(m_Noise);
}

TEST_F(RotatableFastNoiseLife, ResetRedrawsAndKeepsTimeAndVariation) {
    m_Noise.SetSpinVariation(0.5f);
    m_Noise.SetSpinVariation(0.0f);
    m_Noise.RotateBasis(0.3f);
    const float* const basis = m_Noise.m_Basis;
    const float* const phases = m_Noise.m_Phases;
    m_Generator.m_Requests.clear();
    m_Noise.ResetSampler(&m_Generator);
    EXPECT_EQ(m_Noise.m_Basis, basis) << "tables are drawn anew, not allocated anew";
    EXPECT_EQ(m_Noise.m_Phases, phases);
    ASSERT_EQ(m_Generator.m_Requests.size(), 2u);
    EXPECT_EQ(m_Generator.m_Requests[0].m_Data, m_Noise.m_Basis);
    EXPECT_EQ(m_Generator.m_Requests[0].m_Min, -1.0f);
    EXPECT_EQ(m_Generator.m_Requests[0].m_Max, 1.0f);
    // Drawn with the kept variation, although all turn at one speed.
    EXPECT_EQ(m_Generator.m_Requests[1].m_Data, m_Noise.m_SpinSpeeds);
    EXPECT_EQ(m_Generator.m_Requests[1].m_Min, kTwoPi - 0.5f * kPi);
    EXPECT_EQ(m_Generator.m_Requests[1].m_Max, 0.5f * kPi + kTwoPi);
    EXPECT_TRUE(m_Noise.m_NoSpinVariation);
    EXPECT_EQ(m_Noise.m_SpinVariation, 0.5f);
    EXPECT_EQ(m_Noise.m_LastTime, 0.3f);
    ExpectWrapped(m_Noise);
}

TEST_F(RotatableFastNoiseLife, ResetKeepsTheDrawnBasisUntilAnotherTime) {
    m_Noise.RotateBasis(0.3f);
    m_Noise.ResetSampler(&m_Generator);
    const CTable drawn = BitsOf(m_Noise.m_Basis);
    m_Noise.RotateBasis(0.3f);
    EXPECT_EQ(BitsOf(m_Noise.m_Basis), drawn);
    m_Noise.RotateBasis(0.0f);
    EXPECT_EQ(BitsOf(m_Noise.m_Basis), ExpectedBasis(m_Noise, 0.0f));
}

TEST_F(RotatableFastNoiseLife, RotationToZeroAfterAResetAtZeroDoesNothing) {
    m_Noise.ResetSampler(&m_Generator);
    const CTable drawn = BitsOf(m_Noise.m_Basis);
    m_Noise.RotateBasis(0.0f);
    EXPECT_EQ(BitsOf(m_Noise.m_Basis), drawn);
    m_Noise.RotateBasis(0.25f);
    EXPECT_EQ(BitsOf(m_Noise.m_Basis), ExpectedBasis(m_Noise, 0.25f));
}

TEST_F(RotatableFastNoiseLife, ResetWithoutAGeneratorStartsFromTheCurrentBasis) {
    m_Noise.RotateBasis(0.3f);
    const CTable before = BitsOf(m_Noise.m_Basis);
    m_Noise.m_Basis[300] = 9.0f;
    m_Noise.ResetSampler(nullptr);
    EXPECT_EQ(BitsOf(m_Noise.m_Basis), before);
    ExpectWrapped(m_Noise);
    for (size_t k = 0; k < 256; ++k) {
        const float arc = SIMD_Neon::FullPrecision::ArcSin(m_Noise.m_Basis[k]);
        EXPECT_EQ(m_Noise.m_Phases[k], k % 2 == 0 ? arc : -arc + kPi) << "entry " << k;
    }
}

TEST(RotatableFastNoiseUndrawn, SpeedsAreTheMeanOfTheirInterval) {
    COpenRotatable noise(nullptr);
    for (const float variation : {0.2f, 0.7f, 1.9f}) {
        noise.SetSpinVariation(variation);
        noise.ResetSampler(nullptr);
        const float halfWidth = variation * kPi;
        const float lowest = kTwoPi - halfWidth;
        const float highest = halfWidth + kTwoPi;
        const float sum = lowest + highest;
        for (size_t k = 0; k < 256; ++k) {
            EXPECT_EQ(CanonicalBits(noise.m_SpinSpeeds[k]), CanonicalBits(sum * 0.5f))
                << variation << ", entry " << k;
        }
    }
}

TEST(RotatableFastNoiseUndrawn, AllSpeedsAreOneTurnAndBothModesAgree) {
    COpenRotatable noise(nullptr);
    for (size_t k = 0; k < 256; ++k) {
        EXPECT_EQ(noise.m_SpinSpeeds[k], kTwoPi) << "entry " << k;
    }
    CListGenerator generator(EvenValues());
    static_cast<CFastNoise3&>(noise) = CFastNoise3(&generator);
    noise.ResetSampler(nullptr);
    noise.SetSpinVariation(1.3f);
    for (size_t k = 0; k < 256; ++k) {
        EXPECT_NEAR(noise.m_SpinSpeeds[k], kTwoPi, 2e-6f) << "entry " << k;
    }
    noise.RotateBasis(0.3f);
    const std::vector<float> varied = BasisOf(noise);
    noise.SetSpinVariation(0.0f);
    noise.RotateBasis(0.0f);
    noise.RotateBasis(0.3f);
    ExpectNear(noise.m_Basis, varied, 1.0f, 2e-6f);
}

TEST(RotatableFastNoiseUndrawn, AnyBitPatternInTheTableIsSafe) {
    CCoordinates any(1200);
    std::array<float, 256> values;
    for (float& value : values) {
        value = any.Next();
    }
    CListGenerator generator(values);
    COpenRotatable noise(nullptr);
    static_cast<CFastNoise3&>(noise) = CFastNoise3(&generator);
    noise.ResetSampler(nullptr);
    for (size_t k = 0; k < 256; ++k) {
        EXPECT_EQ(std::isnan(noise.m_Phases[k]), !(std::fabs(values[k]) <= 1.0f)) << values[k];
    }
    noise.RotateBasis(2.5f);
    EXPECT_EQ(BitsOf(noise.m_Basis), ExpectedBasis(noise, 2.5f));
}

TEST_F(RotatableFastNoiseLife, CopiesTakeAllButTheTime) {
    m_Noise.SetSpinVariation(0.6f);
    m_Noise.SetSpinVariation(0.0f);
    m_Noise.RotateBasis(0.7f);
    FillSpare(m_Noise, 0x5A);
    m_Noise.m_Basis[400] = 3.0f;
    const COpenRotatable copy(m_Noise);
    EXPECT_NE(copy.m_Basis, m_Noise.m_Basis);
    EXPECT_NE(copy.m_Phases, m_Noise.m_Phases);
    EXPECT_EQ(copy.m_SpinSpeeds, copy.m_Phases + 256);
    EXPECT_EQ(std::memcmp(copy.m_Basis, m_Noise.m_Basis, 2052), 0);
    EXPECT_EQ(std::memcmp(copy.m_Phases, m_Noise.m_Phases, 3076), 0) << "the spare block is copied as well";
    EXPECT_TRUE(copy.m_NoSpinVariation);
    EXPECT_EQ(copy.m_SpinVariation, 0.6f);
    EXPECT_EQ(copy.m_LastTime, 0.0f);
}

TEST_F(RotatableFastNoiseLife, OnlyCopiesWriteTheSpareBlock) {
    FillSpare(m_Noise, 0x96);
    m_Noise.RotateBasis(0.3f);
    m_Noise.SetSpinVariation(0.0f);
    m_Noise.RotateBasis(0.4f);
    m_Noise.SetSpinVariation(0.8f);
    m_Noise.ResetSampler(&m_Generator);
    m_Noise.ResetSampler(nullptr);
    const std::vector<unsigned char> expected(257 * sizeof(float), 0x96);
    EXPECT_EQ(std::memcmp(m_Noise.m_Phases + 512, expected.data(), expected.size()), 0);
}

TEST_F(RotatableFastNoiseLife, CopiesSampleAndRotateLikeTheirSource) {
    m_Noise.RotateBasis(0.7f);
    COpenRotatable copy(m_Noise);
    const std::vector<float> positions = CCoordinates(1201).Fill(4 * 101);
    const auto expectSame = [&] {
        for (const CBatchSampler& sampler : kBatchSamplers) {
            std::vector<float> samples(100);
            std::vector<float> others(100);
            sampler.m_Sample(m_Noise, {samples.data(), 100, 4}, positions.data(), 100,
                             sampler.PositionSize());
            sampler.m_Sample(copy, {others.data(), 100, 4}, positions.data(), 100, sampler.PositionSize());
            EXPECT_EQ(std::memcmp(samples.data(), others.data(), 400), 0) << sampler.m_Name;
        }
    };
    expectSame();
    m_Noise.RotateBasis(1.5f);
    copy.RotateBasis(1.5f);
    expectSame();
}

TEST_F(RotatableFastNoiseLife, AssignmentCopiesAllButTheTimeIntoExistingTables) {
    COpenRotatable target(nullptr);
    target.RotateBasis(0.9f);
    const float* const basis = target.m_Basis;
    const float* const phases = target.m_Phases;
    m_Noise.SetSpinVariation(0.6f);
    m_Noise.SetSpinVariation(0.0f);
    m_Noise.RotateBasis(0.7f);
    FillSpare(m_Noise, 0xC3);
    FillSpare(target, 0x3C);
    EXPECT_EQ(&(target = m_Noise), &target);
    EXPECT_EQ(target.m_Basis, basis);
    EXPECT_EQ(target.m_Phases, phases);
    EXPECT_EQ(target.m_SpinSpeeds, phases + 256);
    EXPECT_EQ(std::memcmp(target.m_Basis, m_Noise.m_Basis, 2052), 0);
    EXPECT_EQ(std::memcmp(target.m_Phases, m_Noise.m_Phases, 3076), 0) << "the spare block is copied as well";
    EXPECT_TRUE(target.m_NoSpinVariation);
    EXPECT_EQ(target.m_SpinVariation, 0.6f);
    EXPECT_EQ(target.m_LastTime, 0.9f);
}

// Copies are compared with the source, so the source must stay the same.
TEST_F(RotatableFastNoiseLife, CopiesAndAssignmentsDoNotChangeTheirSource) {
    m_Noise.SetSpinVariation(0.6f);
    m_Noise.RotateBasis(0.7f);
    FillSpare(m_Noise, 0x5A);
    const std::vector<float> basis(m_Noise.m_Basis, m_Noise.m_Basis + 513);
    const std::vector<float> phases(m_Noise.m_Phases, m_Noise.m_Phases + 769);
    const COpenRotatable copy(m_Noise);
    CRecordingGenerator generator;
    COpenRotatable target(&generator);
    FillSpare(target, 0xA5);
    target = m_Noise;
    for (const COpenRotatable* const noise : {&std::as_const(m_Noise), &copy, &std::as_const(target)}) {
        EXPECT_EQ(std::memcmp(noise->m_Basis, basis.data(), 2052), 0);
        EXPECT_EQ(std::memcmp(noise->m_Phases, phases.data(), 3076), 0);
        EXPECT_FALSE(noise->m_NoSpinVariation);
        EXPECT_EQ(noise->m_SpinVariation, 0.6f);
    }
    EXPECT_EQ(m_Noise.m_LastTime, 0.7f);
}

TEST_F(RotatableFastNoiseLife, SelfAssignmentIsHarmless) {
    m_Noise.RotateBasis(0.7f);
    FillSpare(m_Noise, 0x69);
    const COpenRotatable before(m_Noise);
    const COpenRotatable& itself = m_Noise;
    m_Noise = itself;
    EXPECT_EQ(std::memcmp(m_Noise.m_Basis, before.m_Basis, 2052), 0);
    EXPECT_EQ(std::memcmp(m_Noise.m_Phases, before.m_Phases, 3076), 0);
    EXPECT_EQ(m_Noise.m_LastTime, 0.7f);
}

TEST_F(RotatableFastNoiseLife, AssignmentThroughTheBaseCopiesOnlyTheBasis) {
    CRecordingGenerator generator;
    COpenRotatable target(&generator);
    target.SetSpinVariation(0.9f);
    std::array<float, 512> phases;
    std::memcpy(phases.data(), target.m_Phases, sizeof(phases));
    const COpenNoise source = EvenNoise();
    CFastNoise3& base = target;
    base = source;
    EXPECT_EQ(std::memcmp(target.m_Basis, source.Basis(), 2052), 0);
    EXPECT_EQ(std::memcmp(target.m_Phases, phases.data(), sizeof(phases)), 0);
    EXPECT_EQ(target.m_SpinVariation, 0.9f);
    target.RotateBasis(0.5f);
    EXPECT_EQ(BitsOf(target.m_Basis), ExpectedBasis(target, 0.5f)) << "its own field is back";
}

TEST(RotatableFastNoiseVirtual, ResetAndDestructionThroughTheBase) {
    CRecordingGenerator generator;
    COpenRotatable* const rotatable = new COpenRotatable(&generator);
    const std::unique_ptr<CFastNoise3> noise(rotatable);
    generator.m_Requests.clear();
    noise->ResetSampler(&generator);
    EXPECT_EQ(generator.m_Requests.size(), 2u) << "the speeds are drawn as well";
}

template <typename T>
concept TShowsItsSteps = requires(T& noise) {
    noise._RefreshFromBasis();
};

TEST(RotatableFastNoiseVirtual, StepsArePrivate) {
    static_assert(!TShowsItsSteps<CRotatableFastNoise3> && !TShowsItsSteps<COpenRotatable>);
}

} // namespace
