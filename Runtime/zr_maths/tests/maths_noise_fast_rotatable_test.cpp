// The rotating field.

#include "batch_samplers.h"
#include "noise_test_support.h"

#include <zr_support/simd_streams.h>

#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <memory>
#include <type_traits>
#include <vector>

namespace {

using namespace Vestrel;

constexpr float kPi = 3.1415927f;
constexpr float kTwoPi = 6.2831855f;
constexpr float kNan = std::numeric_limits<float>::quiet_NaN();

using CTable = std::array<uint32_t, 256>;

/// The bits of 256 entries.
CTable BitsOf(const float* table) {
    CTable bits;
    for (size_t k = 0; k < bits.size(); ++k) {
        bits[k] = FoldedBits(table[k]);
    }
    return bits;
}

void ExpectWrapped(const COpenRotatable& noise) {
    EXPECT_EQ(BitsOf(noise.m_Basis + 256), BitsOf(noise.m_Basis));
    EXPECT_EQ(FoldedBits(noise.m_Basis[512]), FoldedBits(noise.m_Basis[0]));
}

/// Keeps what it was asked for, and delivers numbers that are evenly spread between the bounds, in the order
/// of multiples of 37.
class CRecordingGenerator final : public CAbstractRandomGenerator {
public:
    void FillRandomFloats(const TMemoryView<float>& view, float min, float max) override {
        m_Requests.push_back({view.m_Data, view.m_Count, min, max});
        for (uint32_t k = 0; k < view.m_Count; ++k) {
            view.m_Data[k] = min + (max - min) * static_cast<float>(k * 37 % 256) / 255.0f;
        }
    }

    struct CRequest {
        float* m_Data;
        uint32_t m_Count;
        float m_Min;
        float m_Max;
    };
    std::vector<CRequest> m_Requests;
};

class RotatableFastNoise : public testing::Test {
protected:
    CRecordingGenerator m_Generator;
    COpenRotatable m_Noise{&m_Generator};
};

/// The basis at `time`, put together from its parts by the definition.
CTable ExpectedBasis(const COpenRotatable& noise, float time) {
    CTable expected;
    for (size_t k = 0; k < expected.size(); ++k) {
        const float turned = time * kTwoPi;
        const float spun = time * noise.m_SpinSpeeds[k];
        const float angle = noise.m_NoSpinVariation ? turned + noise.m_Phases[k] : noise.m_Phases[k] + spun;
        expected[k] = FoldedBits(SIMD_Neon::LowPrecision::Sin(angle));
    }
    return expected;
}

void ExpectNear(const float* basis, const std::vector<float>& expected, float sign, float tolerance) {
    for (size_t k = 0; k < 256; ++k) {
        EXPECT_NEAR(basis[k], sign * expected[k], tolerance) << "entry " << k;
    }
}

/// Fills the spare block of the phases.
void FillSpare(const COpenRotatable& noise, unsigned char pattern) {
    std::memset(noise.m_Phases + 512, pattern, 257 * sizeof(float));
}

std::vector<float> BasisOf(const COpenRotatable& noise) {
    return std::vector<float>(noise.m_Basis, noise.m_Basis + 256);
}

TEST(RotatableFastNoiseLayout, MembersFollowTheBasisInTheirOrder) {
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

TEST_F(RotatableFastNoise, BeginsWithTheDefaults) {
    EXPECT_EQ(m_Noise.m_SpinSpeeds, m_Noise.m_Phases + 256);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(m_Noise.m_Phases) % 32, 0u);
    EXPECT_FALSE(m_Noise.m_NoSpinVariation);
    EXPECT_EQ(m_Noise.m_SpinVariation, 0.2f);
    EXPECT_EQ(FoldedBits(m_Noise.m_LastTime), 0u);
}

TEST_F(RotatableFastNoise, DrawsTheBasisAndThenTheSpeeds) {
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

TEST_F(RotatableFastNoise, ResetDrawsAnewAndKeepsTimeAndVariation) {
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
    // By the variation that is kept, although all turn at one speed.
    EXPECT_EQ(m_Generator.m_Requests[1].m_Data, m_Noise.m_SpinSpeeds);
    EXPECT_EQ(m_Generator.m_Requests[1].m_Min, kTwoPi - 0.5f * kPi);
    EXPECT_EQ(m_Generator.m_Requests[1].m_Max, 0.5f * kPi + kTwoPi);
    EXPECT_TRUE(m_Noise.m_NoSpinVariation);
    EXPECT_EQ(m_Noise.m_SpinVariation, 0.5f);
    EXPECT_EQ(m_Noise.m_LastTime, 0.3f);
    ExpectWrapped(m_Noise);
}

TEST_F(RotatableFastNoise, AfterAResetTheBasisStaysAsDrawnUntilAnotherTime) {
    m_Noise.RotateBasis(0.3f);
    m_Noise.ResetSampler(&m_Generator);
    const CTable drawn = BitsOf(m_Noise.m_Basis);
    m_Noise.RotateBasis(0.3f);
    EXPECT_EQ(BitsOf(m_Noise.m_Basis), drawn);
    m_Noise.RotateBasis(0.0f);
    EXPECT_EQ(BitsOf(m_Noise.m_Basis), ExpectedBasis(m_Noise, 0.0f));
}

TEST_F(RotatableFastNoise, AfterAResetAtTimeZeroARotationToZeroLeavesTheBasisAsDrawn) {
    m_Noise.ResetSampler(&m_Generator);
    const CTable drawn = BitsOf(m_Noise.m_Basis);
    m_Noise.RotateBasis(0.0f);
    EXPECT_EQ(BitsOf(m_Noise.m_Basis), drawn);
    m_Noise.RotateBasis(0.25f);
    EXPECT_EQ(BitsOf(m_Noise.m_Basis), ExpectedBasis(m_Noise, 0.25f));
}

TEST_F(RotatableFastNoise, ResetWithoutAGeneratorStartsFromTheBasisThatIsThere) {
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

TEST(RotatableFastNoiseUndrawn, SpeedsAreInTheMiddleOfTheirInterval) {
    COpenRotatable noise(nullptr);
    for (const float variation : {0.2f, 0.7f, 1.9f}) {
        noise.SetSpinVariation(variation);
        noise.ResetSampler(nullptr);
        const float halfWidth = variation * kPi;
        const float lowest = kTwoPi - halfWidth;
        const float highest = halfWidth + kTwoPi;
        const float sum = lowest + highest;
        for (size_t k = 0; k < 256; ++k) {
            EXPECT_EQ(FoldedBits(noise.m_SpinSpeeds[k]), FoldedBits(sum * 0.5f))
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

TEST_F(RotatableFastNoise, ACopyTakesAllButTheTime) {
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

TEST_F(RotatableFastNoise, NothingButCopiesTouchesTheSpareBlock) {
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

TEST_F(RotatableFastNoise, ACopySamplesLikeItsSourceAndRotatesLikeIt) {
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

TEST_F(RotatableFastNoise, AssignmentTakesAllButTheTimeIntoTheTablesThatAreThere) {
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

TEST_F(RotatableFastNoise, SelfAssignmentIsHarmless) {
    m_Noise.RotateBasis(0.7f);
    FillSpare(m_Noise, 0x69);
    const COpenRotatable before(m_Noise);
    const COpenRotatable& itself = m_Noise;
    m_Noise = itself;
    EXPECT_EQ(std::memcmp(m_Noise.m_Basis, before.m_Basis, 2052), 0);
    EXPECT_EQ(std::memcmp(m_Noise.m_Phases, before.m_Phases, 3076), 0);
    EXPECT_EQ(m_Noise.m_LastTime, 0.7f);
}

TEST_F(RotatableFastNoise, AssignmentThroughTheBaseTakesTheBasisAlone) {
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
    CListGenerator indexed(EvenValues());
    generator.m_Requests.clear();
    noise->ResetSampler(&generator);
    EXPECT_EQ(generator.m_Requests.size(), 2u) << "the speeds are drawn as well";
}

template <typename T>
concept TShowsItsSteps = requires(T& noise) {
    noise._RefreshFromBasis();
};

TEST(RotatableFastNoiseVirtual, ItsStepsArePrivate) {
    static_assert(!TShowsItsSteps<CRotatableFastNoise3> && !TShowsItsSteps<COpenRotatable>);
}

} // namespace
