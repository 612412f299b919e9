#include <zr_support/std_random_generator.h>

#include <gtest/gtest.h>

#include <bit>
#include <cfloat>
#include <cmath>
#include <cstdint>
#include <utility>
#include <vector>

namespace {

using namespace Vestrel;

std::vector<float> Draw(uint32_t seed, uint32_t count, float min, float max) {
    std::vector<float> values(count);
    CStdRandomGenerator(seed).FillRandomFloats({values.data(), count}, min, max);
    return values;
}

/// An output of the engine as a number in [0, 1): its upper 24 bits / 2^24.
float UnitFloat(uint32_t bits) {
    return static_cast<float>(bits >> 8) / 16777216.0f;
}

TEST(StdRandomGenerator, FollowsThePublishedSequenceOfTheEngine) {
    // The C++ standard specifies the 10000th output for the default seed 5489: 4123659995.
    EXPECT_EQ(Draw(5489, 10000, 0.0f, 1.0f).back(), UnitFloat(4123659995u));
    // The first outputs of MT19937 after init_genrand(1) of its authors' code.
    const std::vector<float> values = Draw(1, 3, 0.0f, 1.0f);
    EXPECT_EQ(values[0], UnitFloat(1791095845u));
    EXPECT_EQ(values[1], UnitFloat(4282876139u));
    EXPECT_EQ(values[2], UnitFloat(3093770124u));
}

TEST(StdRandomGenerator, SameSeedGivesTheSameBits) {
    EXPECT_EQ(Draw(77, 256, -1.0f, 1.0f), Draw(77, 256, -1.0f, 1.0f));
    EXPECT_NE(Draw(77, 256, -1.0f, 1.0f), Draw(78, 256, -1.0f, 1.0f));
}

TEST(StdRandomGenerator, SequenceContinuesAcrossCalls) {
    CStdRandomGenerator generator(3);
    std::vector<float> values(20);
    generator.FillRandomFloats({values.data(), 7}, -1.0f, 1.0f);
    generator.FillRandomFloats({values.data() + 7, 13}, -1.0f, 1.0f);
    EXPECT_EQ(values, Draw(3, 20, -1.0f, 1.0f));
}

TEST(StdRandomGenerator, ValuesInMinusOneToOneAreExact) {
    // On [-1, 1] the value is 2u - 1 without rounding.
    const std::vector<float> unit = Draw(9, 1000, 0.0f, 1.0f);
    const std::vector<float> basis = Draw(9, 1000, -1.0f, 1.0f);
    for (size_t k = 0; k < unit.size(); ++k) {
        EXPECT_EQ(static_cast<double>(basis[k]), 2.0 * static_cast<double>(unit[k]) - 1.0) << "value " << k;
    }
}

TEST(StdRandomGenerator, NeverLeavesTheInterval) {
    const float pi = 3.1415927f;
    const float intervals[][2] = {{-1.0f, 1.0f},
                                  {2.0f * pi - 0.2f * pi, 2.0f * pi + 0.2f * pi},
                                  {1.0f, std::nextafter(1.0f, 2.0f)},
                                  {-FLT_MAX, FLT_MAX},
                                  {0.9f * FLT_MAX, FLT_MAX},
                                  {0.0f, 0.0f},
                                  {5.0f, 5.0f},
                                  {0.1f, 0.1f}, // the weighted sum leaves these without clamping
                                  {-0x1p-149f, 0x1p-149f}};
    for (const auto& interval : intervals) {
        for (const float value : Draw(11, 20000, interval[0], interval[1])) {
            ASSERT_GE(value, interval[0]);
            ASSERT_LE(value, interval[1]);
        }
    }
}

// -0 * (1 - u) + 0 * u is +0, which equals both bounds and is not clamped.
TEST(StdRandomGenerator, BetweenZerosOfTwoSignsIsPlusZero) {
    for (const auto& [min, max] : {std::pair(-0.0f, 0.0f), std::pair(0.0f, -0.0f)}) {
        for (const float value : Draw(7, 100, min, max)) {
            ASSERT_EQ(std::bit_cast<uint32_t>(value), 0u) << min << " to " << max;
        }
    }
}

TEST(StdRandomGenerator, IsUniform) {
    constexpr int kBins = 16;
    constexpr uint32_t kCount = 160000;
    int bins[kBins] = {};
    double sum = 0.0;
    for (const float value : Draw(5, kCount, -1.0f, 1.0f)) {
        ++bins[static_cast<int>((value + 1.0f) * 0.5f * kBins)];
        sum += static_cast<double>(value);
    }
    // Six standard deviations of a bin's count (about 97) and of the mean (about 0.0014).
    for (const int count : bins) {
        EXPECT_NEAR(count, 10000, 600);
    }
    EXPECT_NEAR(sum / kCount, 0.0, 0.009);
}

/// FNV-1a over the bits of floats.
uint64_t HashOf(const std::vector<float>& values) {
    uint64_t hash = 14695981039346656037u;
    for (const float value : values) {
        hash = (hash ^ std::bit_cast<uint32_t>(value)) * 1099511628211u;
    }
    return hash;
}

// Hashes by a program that computes the values from the published engine in exact rational arithmetic, with
// each operation rounded to float. The second interval shows fused operations.
TEST(StdRandomGenerator, GivesTheSameBitsOnEveryPlatform) {
    EXPECT_EQ(HashOf(Draw(1, 256, -1.0f, 1.0f)), 0x2fa03e27de570a9bu);
    EXPECT_EQ(HashOf(Draw(1, 256, 5.654867172241211f, 6.911503791809082f)), 0x2a5ba269ffe99478u);
}

} // namespace
