// The rotating field: what a rotation and a variation do.

#include "batch_samplers.h"
#include "rotatable_test_support.h"

#include <array>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <limits>
#include <vector>

namespace {

using namespace Vestrel;

TEST_F(RotatableFastNoise, EvenPhasesRiseAndOddOnesFall) {
    for (size_t k = 0; k < 256; ++k) {
        const float arc = SIMD_Neon::FullPrecision::ArcSin(m_Noise.m_Basis[k]);
        const float negated = -arc;
        const float expected = k % 2 == 0 ? arc : negated + kPi;
        EXPECT_EQ(FoldedBits(m_Noise.m_Phases[k]), FoldedBits(expected)) << "entry " << k;
        EXPECT_GE(m_Noise.m_Phases[k], k % 2 == 0 ? -1.5707964f : 1.5707963f) << "entry " << k;
        EXPECT_LE(m_Noise.m_Phases[k], k % 2 == 0 ? 1.5707964f : 4.712389f) << "entry " << k;
        EXPECT_NEAR(std::sin(static_cast<double>(m_Noise.m_Phases[k])), m_Noise.m_Basis[k], 3e-7)
            << "entry " << k;
    }
}

// 0 is added to even phases, which makes +0 of the arcsine -0.
TEST(RotatableFastNoisePhases, OfMinusZeroArePlusZeroAndPi) {
    std::array<float, 256> values;
    values.fill(-0.0f);
    CListGenerator generator(values);
    const COpenRotatable noise(&generator);
    for (size_t k = 0; k < 256; ++k) {
        EXPECT_EQ(FoldedBits(noise.m_Phases[k]), FoldedBits(k % 2 == 0 ? 0.0f : kPi)) << "entry " << k;
    }
}

TEST_F(RotatableFastNoise, HalfOfTheValuesStartUpwardAndHalfDownward) {
    const std::vector<float> before = BasisOf(m_Noise);
    m_Noise.RotateBasis(0.001f);
    for (size_t k = 0; k < 256; ++k) {
        if (std::fabs(before[k]) < 0.99f) {
            EXPECT_EQ(m_Noise.m_Basis[k] > before[k], k % 2 == 0) << "entry " << k;
        }
    }
}

TEST_F(RotatableFastNoise, ARotationIsMadeOfItsPartsAtEveryTime) {
    const std::vector<float> phases(m_Noise.m_Phases, m_Noise.m_Phases + 512);
    for (const float variation : {0.2f, 0.0f, 1.5f, -1.0f, 1e-5f}) {
        m_Noise.SetSpinVariation(0.2f);
        m_Noise.SetSpinVariation(variation);
        // The first is not 0, at which the object begins.
        for (const float time : {0.5f, 0.0f, 1.0f, -0.75f, -1234.5f, 1e4f, 1e7f, 3e38f, -3e38f, kNan, 2.0f}) {
            m_Noise.RotateBasis(time);
            EXPECT_EQ(BitsOf(m_Noise.m_Basis), ExpectedBasis(m_Noise, time))
                << "time " << time << ", " << variation;
            ExpectWrapped(m_Noise);
            EXPECT_EQ(FoldedBits(m_Noise.m_LastTime), FoldedBits(time));
        }
    }
}

TEST_F(RotatableFastNoise, ValuesStayWithinOneUpToTheGreatestTimes) {
    for (const float variation : {0.0f, 0.2f, 2.0f}) {
        m_Noise.SetSpinVariation(variation);
        for (const float time : {1e37f, -1e37f, 1e20f, 123456.0f, 0.1f}) {
            m_Noise.RotateBasis(time);
            for (size_t k = 0; k < 513; ++k) {
                ASSERT_LE(std::fabs(m_Noise.m_Basis[k]), 1.0f)
                    << "entry " << k << ", " << time << ", " << variation;
            }
        }
    }
}

TEST_F(RotatableFastNoise, RotationLeavesPhasesAndSpeedsAlone) {
    std::array<float, 512> before;
    std::memcpy(before.data(), m_Noise.m_Phases, sizeof(before));
    m_Noise.RotateBasis(0.3f);
    m_Noise.RotateBasis(kNan);
    EXPECT_EQ(std::memcmp(before.data(), m_Noise.m_Phases, sizeof(before)), 0);
}

TEST_F(RotatableFastNoise, ARotationToTimeZeroAtFirstLeavesTheBasisAsDrawn) {
    const CTable before = BitsOf(m_Noise.m_Basis);
    m_Noise.RotateBasis(0.0f);
    EXPECT_EQ(BitsOf(m_Noise.m_Basis), before);
    m_Noise.RotateBasis(-0.0f); // which equals 0
    EXPECT_EQ(BitsOf(m_Noise.m_Basis), before);
}

TEST_F(RotatableFastNoise, ARotationBackToTimeZeroGivesTheDrawnValuesWithinThePrecisionOfTheStreams) {
    const std::vector<float> drawn = BasisOf(m_Noise);
    m_Noise.RotateBasis(0.5f);
    m_Noise.RotateBasis(0.0f);
    EXPECT_EQ(BitsOf(m_Noise.m_Basis), ExpectedBasis(m_Noise, 0.0f));
    ExpectNear(m_Noise.m_Basis, drawn, 1.0f, 1e-6f);
}

TEST_F(RotatableFastNoise, TheBasisDependsOnTheTimeAlone) {
    COpenRotatable other(m_Noise);
    for (const float time : {0.1f, 7.0f, -3.0f}) {
        other.RotateBasis(time);
    }
    for (const float time : {0.25f, 100.0f, 0.25f}) {
        m_Noise.RotateBasis(time);
        other.RotateBasis(time);
        EXPECT_EQ(BitsOf(m_Noise.m_Basis), BitsOf(other.m_Basis)) << time;
    }
}

TEST_F(RotatableFastNoise, ASecondRotationToTheSameTimeChangesNothingEvenWithOtherSpeeds) {
    m_Noise.RotateBasis(0.4f);
    const CTable before = BitsOf(m_Noise.m_Basis);
    m_Noise.m_Basis[3] = 0.125f;
    m_Noise.SetSpinVariation(0.9f);
    m_Noise.RotateBasis(0.4f);
    EXPECT_EQ(m_Noise.m_Basis[3], 0.125f) << "was rotated again";
    m_Noise.RotateBasis(0.5f);
    EXPECT_EQ(BitsOf(m_Noise.m_Basis), ExpectedBasis(m_Noise, 0.5f));
    m_Noise.RotateBasis(0.4f);
    EXPECT_NE(BitsOf(m_Noise.m_Basis), before) << "the new speeds show at another time";
}

TEST_F(RotatableFastNoise, ARotationToNotANumberAlwaysWorks) {
    m_Noise.RotateBasis(kNan);
    for (size_t k = 0; k < 513; ++k) {
        EXPECT_TRUE(std::isnan(m_Noise.m_Basis[k])) << "entry " << k;
    }
    m_Noise.m_Basis[7] = 0.25f;
    m_Noise.RotateBasis(kNan);
    EXPECT_TRUE(std::isnan(m_Noise.m_Basis[7])) << "a time that is not a number equals none, not even itself";
    m_Noise.RotateBasis(1.0f);
    EXPECT_EQ(BitsOf(m_Noise.m_Basis), ExpectedBasis(m_Noise, 1.0f));
}

TEST_F(RotatableFastNoise, SamplersSeeTheRotatedField) {
    for (const float time : {0.0f, 0.25f, 8.5f}) {
        m_Noise.RotateBasis(time);
        for (const CBatchSampler& sampler : kBatchSamplers) {
            const std::vector<float> positions = CCoordinates(1202).Fill(4 * 11);
            std::vector<float> samples(10);
            sampler.m_Sample(m_Noise, {samples.data(), 10, 4}, positions.data(), 10, sampler.PositionSize());
            for (size_t k = 0; k < 10; ++k) {
                const float* const position = &positions[k * static_cast<size_t>(sampler.m_Dimension)];
                EXPECT_EQ(FoldedBits(samples[k]), FoldedBits(sampler.m_Expected(m_Noise.m_Basis, position)))
                    << sampler.m_Name << " at time " << time;
            }
        }
    }
}

TEST_F(RotatableFastNoise, UniformModeRepeatsAfterAUnitOfTimeAndNegatesAfterHalf) {
    const std::vector<float> drawn = BasisOf(m_Noise);
    m_Noise.SetSpinVariation(0.0f);
    for (const float time : {1.0f, 2.0f, 3.0f}) {
        m_Noise.RotateBasis(time);
        // The float 2 pi is 1.7e-7 too large for a turn, and angles round.
        ExpectNear(m_Noise.m_Basis, drawn, 1.0f, 4e-6f);
    }
    m_Noise.RotateBasis(0.5f);
    ExpectNear(m_Noise.m_Basis, drawn, -1.0f, 2e-6f);
}

TEST_F(RotatableFastNoise, ZeroAndNegativeVariationsSwitchToUniformModeAndKeepTheLastRealOne) {
    const CTable speeds = BitsOf(m_Noise.m_SpinSpeeds);
    for (const float variation :
         {0.0f, -0.0f, -1.0f, std::nextafter(1e-5f, 0.0f), -std::numeric_limits<float>::infinity()}) {
        m_Noise.SetSpinVariation(variation);
        EXPECT_TRUE(m_Noise.m_NoSpinVariation) << variation;
        EXPECT_EQ(m_Noise.m_SpinVariation, 0.2f) << variation;
        EXPECT_EQ(BitsOf(m_Noise.m_SpinSpeeds), speeds) << variation;
    }
}

/// Speeds after a change of the variation, by the definition.
CTable ExpectedSpeeds(const float* speeds, float oldVariation, float newVariation) {
    const float oldA = oldVariation * kPi;
    const float newA = newVariation * kPi;
    const float oldLo = kTwoPi - oldA;
    const float newLo = kTwoPi - newA;
    const float ratio = newA / oldA;
    CTable expected;
    for (size_t k = 0; k < expected.size(); ++k) {
        const float place = speeds[k] - oldLo;
        const float scaled = ratio * place;
        expected[k] = FoldedBits(newLo + scaled);
    }
    return expected;
}

TEST_F(RotatableFastNoise, AVariationRescalesTheSpeedsFromTheLastRealOne) {
    float before = 0.2f;
    for (const float variation : {0.4f, 0.3f, 0.7f, 0.6f, 2.0f, 3.5f}) {
        const CTable expected = ExpectedSpeeds(m_Noise.m_SpinSpeeds, before, variation);
        m_Noise.SetSpinVariation(0.0f);
        m_Noise.SetSpinVariation(variation);
        EXPECT_FALSE(m_Noise.m_NoSpinVariation);
        EXPECT_EQ(m_Noise.m_SpinVariation, variation);
        EXPECT_EQ(BitsOf(m_Noise.m_SpinSpeeds), expected) << variation;
        for (size_t k = 0; k < 256; ++k) {
            EXPECT_GE(m_Noise.m_SpinSpeeds[k], kTwoPi - variation * kPi - 1e-5f) << variation;
            EXPECT_LE(m_Noise.m_SpinSpeeds[k], kTwoPi + variation * kPi + 1e-5f) << variation;
        }
        before = variation;
    }
    EXPECT_LT(m_Noise.m_SpinSpeeds[0], 0.0f) << "beyond 2, the slowest turn backwards";
}

TEST_F(RotatableFastNoise, AVariationOfExactlyTheThresholdSqueezesTheSpeeds) {
    const CTable expected = ExpectedSpeeds(m_Noise.m_SpinSpeeds, 0.2f, 1e-5f);
    m_Noise.SetSpinVariation(1e-5f);
    EXPECT_FALSE(m_Noise.m_NoSpinVariation);
    EXPECT_EQ(m_Noise.m_SpinVariation, 1e-5f);
    EXPECT_EQ(BitsOf(m_Noise.m_SpinSpeeds), expected);
    for (size_t k = 0; k < 256; ++k) {
        EXPECT_NEAR(m_Noise.m_SpinSpeeds[k], kTwoPi, 3.3e-5f);
    }
}

TEST_F(RotatableFastNoise, AVariationThatIsNotANumberIsVariationMode) {
    m_Noise.SetSpinVariation(0.0f);
    m_Noise.SetSpinVariation(kNan);
    EXPECT_FALSE(m_Noise.m_NoSpinVariation);
    EXPECT_TRUE(std::isnan(m_Noise.m_SpinVariation));
    for (size_t k = 0; k < 256; ++k) {
        EXPECT_TRUE(std::isnan(m_Noise.m_SpinSpeeds[k])) << "entry " << k;
    }
}

TEST_F(RotatableFastNoise, AVariationDoesNotTouchTheBasis) {
    const CTable before = BitsOf(m_Noise.m_Basis);
    m_Noise.SetSpinVariation(0.7f);
    m_Noise.SetSpinVariation(0.0f);
    EXPECT_EQ(BitsOf(m_Noise.m_Basis), before);
    EXPECT_EQ(m_Generator.m_Requests.size(), 2u) << "nothing is drawn";
}

} // namespace
