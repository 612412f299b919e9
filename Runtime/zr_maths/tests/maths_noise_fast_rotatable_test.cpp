// The rotating field: rotations and spin variations.

#include "noise_reference.h"
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
        EXPECT_EQ(CanonicalBits(m_Noise.m_Phases[k]), CanonicalBits(expected)) << "entry " << k;
        EXPECT_GE(m_Noise.m_Phases[k], k % 2 == 0 ? -1.5707964f : 1.5707963f) << "entry " << k;
        EXPECT_LE(m_Noise.m_Phases[k], k % 2 == 0 ? 1.5707964f : 4.712389f) << "entry " << k;
        EXPECT_NEAR(std::sin(static_cast<double>(m_Noise.m_Phases[k])), m_Noise.m_Basis[k], 3e-7)
            << "entry " << k;
    }
}

// Even phases add 0, which turns the arcsine -0 into +0.
TEST(RotatableFastNoisePhases, OfMinusZeroArePlusZeroAndPi) {
    std::array<float, 256> values;
    values.fill(-0.0f);
    CListGenerator generator(values);
    const COpenRotatable noise(&generator);
    for (size_t k = 0; k < 256; ++k) {
        EXPECT_EQ(CanonicalBits(noise.m_Phases[k]), CanonicalBits(k % 2 == 0 ? 0.0f : kPi)) << "entry " << k;
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

TEST_F(RotatableFastNoise, RotationsFollowTheDefinitionAtEveryTime) {
    const std::vector<float> phases(m_Noise.m_Phases, m_Noise.m_Phases + 512);
    for (const float variation : {0.2f, 0.0f, 1.5f, -1.0f, 1e-5f}) {
        m_Noise.SetSpinVariation(0.2f);
        m_Noise.SetSpinVariation(variation);
        // The first is not 0, the initial time.
        for (const float time : {0.5f, 0.0f, 1.0f, -0.75f, -1234.5f, 1e4f, 1e7f, 3e38f, -3e38f, kNan, 2.0f}) {
            m_Noise.RotateBasis(time);
            EXPECT_EQ(BitsOf(m_Noise.m_Basis), ExpectedBasis(m_Noise, time))
                << "time " << time << ", " << variation;
            ExpectWrapped(m_Noise);
            EXPECT_EQ(CanonicalBits(m_Noise.m_LastTime), CanonicalBits(time));
        }
    }
}

// The limits documented at RotateBasis and SetSpinVariation.
constexpr double kMaxProduct = 1e38; // of a time and 2 + v
constexpr float kMaxVariation = 5e37f;
constexpr double kMaxRatio = 3e38; // of a variation to the previous one

/// Alternates between the ends of the interval of speeds, which random speeds rarely reach.
class CEndsGenerator final : public CAbstractRandomGenerator {
public:
    void FillRandomFloats(const TMemoryView<float>& view, float min, float max) override {
        for (uint32_t k = 0; k < view.m_Count; ++k) {
            view.m_Data[k] = k % 3 == 0 ? min : max;
        }
    }
};

/// The greatest angle by definition: phase + time * speed.
double MaxAngle(const COpenRotatable& noise, float time) {
    double greatest = 0.0;
    for (size_t k = 0; k < 256; ++k) {
        const float speed = noise.m_NoSpinVariation ? kTwoPi : noise.m_SpinSpeeds[k];
        greatest = std::max(greatest, std::fabs(static_cast<double>(noise.m_Phases[k]) +
                                                static_cast<double>(time) * static_cast<double>(speed)));
    }
    return greatest;
}

TEST(RotatableFastNoiseLimits, ValuesStayWithinOneUpToTheTimeLimit) {
    for (const float variation : {0.0f, 1e-5f, 0.2f, 2.0f, 9.0f, 1000.0f, 1e20f, kMaxVariation}) {
        CEndsGenerator generator;
        COpenRotatable noise(&generator);
        noise.SetSpinVariation(variation);
        const double least = kMaxProduct / (2.0 + static_cast<double>(variation));
        const float time = std::nextafter(static_cast<float>(least), 0.0f);
        for (const float sign : {1.0f, -1.0f}) {
            noise.RotateBasis(sign * time);
            for (size_t k = 0; k < 513; ++k) {
                ASSERT_LE(std::fabs(noise.m_Basis[k]), 1.0f)
                    << "entry " << k << ", time " << sign * time << ", variation " << variation;
            }
        }
        // The limit is tight: angles come within 10 % of the largest float.
        constexpr double kMaxFloat = std::numeric_limits<float>::max();
        EXPECT_GT(MaxAngle(noise, time), 0.9 * kMaxFloat) << "variation " << variation;
        noise.RotateBasis(1.1f * time);
        EXPECT_GT(MaxAngle(noise, 1.1f * time), kMaxFloat) << "variation " << variation;
        EXPECT_TRUE(std::isnan(noise.m_Basis[1])) << "variation " << variation;
    }
}

/// Whether all speeds lie in the interval of the variation, within 1 % of its width.
bool AreSpeedsInPlace(const COpenRotatable& noise, float variation) {
    const double halfWidth = 1.02 * static_cast<double>(variation * kPi);
    return std::all_of(noise.m_SpinSpeeds, noise.m_SpinSpeeds + 256, [&](float speed) {
        return std::fabs(static_cast<double>(speed) - static_cast<double>(kTwoPi)) <= halfWidth + 1e-6;
    });
}

TEST(RotatableFastNoiseLimits, VariationsUpToTheLimitsKeepSpeedsInPlace) {
    constexpr float kVariations[] = {1e-5f, 1.5e-5f, 1e-3f, 0.16f, 0.2f,
                                     1.0f,  9.0f,    1e20f, 1e33f, kMaxVariation};
    for (const float first : kVariations) {
        for (const float second : kVariations) {
            const float most = static_cast<float>(kMaxRatio * static_cast<double>(first));
            const float variation = std::min(second, std::nextafter(most, 0.0f));
            CEndsGenerator generator;
            COpenRotatable noise(&generator);
            noise.SetSpinVariation(first);
            noise.SetSpinVariation(variation);
            ASSERT_TRUE(AreSpeedsInPlace(noise, variation)) << first << ", then " << variation;
            noise.SetSpinVariation(0.2f);
            ASSERT_TRUE(AreSpeedsInPlace(noise, 0.2f)) << first << ", then " << variation << " and 0.2";
        }
    }
}

TEST(RotatableFastNoiseLimits, VariationsBeyondTheLimitsSpoilSpeedsUntilRedrawn) {
    constexpr float kInfinity = std::numeric_limits<float>::infinity();
    for (const auto& [first, second] :
         {std::pair{0.2f, 6e37f}, {1e-5f, 1e35f}, {0.2f, kInfinity}, {0.2f, kNan}}) {
        CStdRandomGenerator generator(5);
        COpenRotatable noise(&generator);
        noise.SetSpinVariation(first);
        noise.SetSpinVariation(second);
        EXPECT_FALSE(AreSpeedsInPlace(noise, second)) << first << ", then " << second;
        noise.SetSpinVariation(kMaxVariation);
        noise.ResetSampler(&generator);
        EXPECT_TRUE(AreSpeedsInPlace(noise, kMaxVariation)) << first << ", then " << second;
    }
}

/// The place of a speed in its interval: 0 at the lower end, 1 at the upper.
double PlaceOf(float speed, float variation) {
    const float halfWidth = variation * kPi;
    const float lowest = kTwoPi - halfWidth;
    return (static_cast<double>(speed) - static_cast<double>(lowest)) /
           (2.0 * static_cast<double>(halfWidth));
}

TEST(RotatableFastNoiseLimits, VariationsMovePlacesWithinTheBound) {
    constexpr float kVariations[] = {1e-5f, 3.3e-5f, 1e-3f, 0.17f, 0.2f, 1.1f, 9.0f, 1e33f, kMaxVariation};
    double worst = 0.0;
    for (const float first : kVariations) {
        for (const float second : kVariations) {
            if (static_cast<double>(second) > kMaxRatio * static_cast<double>(first)) {
                continue;
            }
            CStdRandomGenerator generator(77);
            COpenRotatable noise(&generator);
            noise.SetSpinVariation(first);
            const COpenRotatable before = noise;
            noise.SetSpinVariation(second);
            const double bound = 1e-7 / static_cast<double>(second) + 3e-7;
            for (size_t k = 0; k < 256; ++k) {
                const double moved = std::fabs(PlaceOf(noise.m_SpinSpeeds[k], second) -
                                               PlaceOf(before.m_SpinSpeeds[k], first));
                ASSERT_LE(moved, bound) << "entry " << k << ", " << first << ", then " << second;
                worst = std::max(worst, moved / bound);
            }
        }
    }
    EXPECT_GT(worst, 0.5) << "the bound says much more than is so";
}

// Product and sum each round by at most half a unit in the last place, 2^-24 of their value: together 2^-23 *
// (|t| (2 + v) pi + 2.4), for phases below 4.72.
TEST(RotatableFastNoiseErrors, ValuesAreSinesOfExactAnglesWithinTheBound) {
    double worst = 0.0;
    for (const uint32_t seed : {1u, 2u, 3u, 4u}) {
        for (const float variation : {0.0f, 1e-5f, 0.2f, 1.5f, 9.0f}) {
            CStdRandomGenerator generator(seed);
            COpenRotatable noise(&generator);
            noise.SetSpinVariation(variation);
            for (const float time : {0.1f, -0.77f, 1.0f, 3.3f, -10.1f, 100.3f, -1234.5f, 1e5f, 345678.9f}) {
                noise.RotateBasis(time);
                const double angleError =
                    4e-7 *
                    (std::fabs(static_cast<double>(time)) * (2.0 + static_cast<double>(variation)) + 1.0);
                for (size_t k = 0; k < 256; ++k) {
                    const float speed = noise.m_NoSpinVariation ? kTwoPi : noise.m_SpinSpeeds[k];
                    const double angle = static_cast<double>(noise.m_Phases[k]) +
                                         static_cast<double>(time) * static_cast<double>(speed);
                    const double error = std::fabs(static_cast<double>(noise.m_Basis[k]) - std::sin(angle));
                    ASSERT_LE(error, 3.1e-7 + angleError) << "entry " << k << ", seed " << seed << ", time "
                                                          << time << ", variation " << variation;
                    worst = std::max(worst, error / angleError);
                }
            }
        }
    }
    EXPECT_GT(worst, 0.5) << "the bound says much more than is so";
}

// As above, and the float 2 pi exceeds a turn by 1.75e-7.
TEST(RotatableFastNoiseErrors, WithoutVariationWholeTimesRepeatWithinTheBound) {
    CStdRandomGenerator generator(1);
    COpenRotatable noise(&generator);
    const std::vector<float> drawn = BasisOf(noise);
    noise.SetSpinVariation(0.0f);
    double worst = 0.0;
    for (int turns = 1; turns <= 1000; ++turns) {
        noise.RotateBasis(static_cast<float>(turns));
        const double bound = 1e-6 * (turns + 1);
        for (size_t k = 0; k < 256; ++k) {
            const double error =
                std::fabs(static_cast<double>(noise.m_Basis[k]) - static_cast<double>(drawn[k]));
            ASSERT_LE(error, bound) << "entry " << k << " after " << turns << " turns";
            worst = std::max(worst, error / bound);
        }
    }
    EXPECT_GT(worst, 0.5) << "the bound says much more than is so";
}

TEST_F(RotatableFastNoise, RotationKeepsPhasesAndSpeeds) {
    std::array<float, 512> before;
    std::memcpy(before.data(), m_Noise.m_Phases, sizeof(before));
    m_Noise.RotateBasis(0.3f);
    m_Noise.RotateBasis(kNan);
    EXPECT_EQ(std::memcmp(before.data(), m_Noise.m_Phases, sizeof(before)), 0);
}

TEST_F(RotatableFastNoise, AnInitialRotationToTimeZeroDoesNothing) {
    const CTable before = BitsOf(m_Noise.m_Basis);
    m_Noise.RotateBasis(0.0f);
    EXPECT_EQ(BitsOf(m_Noise.m_Basis), before);
    m_Noise.RotateBasis(-0.0f); // which equals 0
    EXPECT_EQ(BitsOf(m_Noise.m_Basis), before);
}

TEST_F(RotatableFastNoise, RotationBackToTimeZeroGivesTheDrawnValues) {
    const std::vector<float> drawn = BasisOf(m_Noise);
    m_Noise.RotateBasis(0.5f);
    m_Noise.RotateBasis(0.0f);
    EXPECT_EQ(BitsOf(m_Noise.m_Basis), ExpectedBasis(m_Noise, 0.0f));
    ExpectNear(m_Noise.m_Basis, drawn, 1.0f, 1e-6f);
}

TEST_F(RotatableFastNoise, TheBasisDependsOnlyOnTheTime) {
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

TEST_F(RotatableFastNoise, ASecondRotationToTheSameTimeDoesNothing) {
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

TEST_F(RotatableFastNoise, RotationsToNanAlwaysRotate) {
    m_Noise.RotateBasis(kNan);
    for (size_t k = 0; k < 513; ++k) {
        EXPECT_TRUE(std::isnan(m_Noise.m_Basis[k])) << "entry " << k;
    }
    m_Noise.m_Basis[7] = 0.25f;
    m_Noise.RotateBasis(kNan);
    EXPECT_TRUE(std::isnan(m_Noise.m_Basis[7])) << "a NaN time differs from itself, so it rotates again";
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
                EXPECT_EQ(CanonicalBits(samples[k]),
                          CanonicalBits(Reference::Sample(m_Noise.m_Basis, sampler, position)))
                    << sampler.m_Name << " at time " << time;
            }
        }
    }
}

TEST_F(RotatableFastNoise, UniformModeNegatesValuesAfterHalfATurn) {
    const std::vector<float> drawn = BasisOf(m_Noise);
    m_Noise.SetSpinVariation(0.0f);
    m_Noise.RotateBasis(0.5f);
    ExpectNear(m_Noise.m_Basis, drawn, -1.0f, 2e-6f);
}

TEST_F(RotatableFastNoise, VariationsBelowTheThresholdSelectUniformMode) {
    const CTable speeds = BitsOf(m_Noise.m_SpinSpeeds);
    for (const float variation :
         {0.0f, -0.0f, -1.0f, std::nextafter(1e-5f, 0.0f), -std::numeric_limits<float>::infinity()}) {
        m_Noise.SetSpinVariation(variation);
        EXPECT_TRUE(m_Noise.m_NoSpinVariation) << variation;
        EXPECT_EQ(m_Noise.m_SpinVariation, 0.2f) << variation;
        EXPECT_EQ(BitsOf(m_Noise.m_SpinSpeeds), speeds) << variation;
    }
}

/// Speeds after a change of the variation, by definition.
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
        expected[k] = CanonicalBits(newLo + scaled);
    }
    return expected;
}

TEST_F(RotatableFastNoise, VariationsRescaleTheSpeeds) {
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

TEST_F(RotatableFastNoise, AVariationAtTheThresholdCompressesTheSpeeds) {
    const CTable expected = ExpectedSpeeds(m_Noise.m_SpinSpeeds, 0.2f, 1e-5f);
    m_Noise.SetSpinVariation(1e-5f);
    EXPECT_FALSE(m_Noise.m_NoSpinVariation);
    EXPECT_EQ(m_Noise.m_SpinVariation, 1e-5f);
    EXPECT_EQ(BitsOf(m_Noise.m_SpinSpeeds), expected);
    for (size_t k = 0; k < 256; ++k) {
        EXPECT_NEAR(m_Noise.m_SpinSpeeds[k], kTwoPi, 3.3e-5f);
    }
}

TEST_F(RotatableFastNoise, ANanVariationSelectsVariationMode) {
    m_Noise.SetSpinVariation(0.0f);
    m_Noise.SetSpinVariation(kNan);
    EXPECT_FALSE(m_Noise.m_NoSpinVariation);
    EXPECT_TRUE(std::isnan(m_Noise.m_SpinVariation));
    for (size_t k = 0; k < 256; ++k) {
        EXPECT_TRUE(std::isnan(m_Noise.m_SpinSpeeds[k])) << "entry " << k;
    }
}

TEST_F(RotatableFastNoise, VariationsDoNotChangeTheBasis) {
    const CTable before = BitsOf(m_Noise.m_Basis);
    m_Noise.SetSpinVariation(0.7f);
    m_Noise.SetSpinVariation(0.0f);
    EXPECT_EQ(BitsOf(m_Noise.m_Basis), before);
    EXPECT_EQ(m_Generator.m_Requests.size(), 2u) << "nothing is drawn";
}

} // namespace
