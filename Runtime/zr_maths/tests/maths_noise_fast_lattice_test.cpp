#include "lattice/lattice.h"

#include "noise_reference.h"
#include "noise_test_support.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>

namespace {

using namespace Vestrel;
using namespace Vestrel::Internal;

struct COneSplit {
    uint32_t m_Cell;
    float m_Fraction;
};

/// The split of a coordinate, the same in all lanes.
COneSplit SplitOne(float x) {
    const auto split = SplitCoordinates(Float4(x));
    alignas(16) uint32_t cells[4];
    alignas(16) float fractions[4];
    SIMD_Neon::StoreAligned(cells, split.m_Cell);
    SIMD_Neon::StoreAligned(fractions, split.m_Fraction);
    for (int lane = 1; lane < 4; ++lane) {
        EXPECT_EQ(cells[lane], cells[0]) << "coordinate " << x << ", lane " << lane;
        EXPECT_EQ(CanonicalBits(fractions[lane]), CanonicalBits(fractions[0]))
            << "coordinate " << x << ", lane " << lane;
    }
    return {cells[0], fractions[0]};
}

TEST(Lattice, MinusAQuarterIsInCell255AtThreeQuarters) {
    EXPECT_EQ(SplitOne(-0.25f).m_Cell, 255u);
    EXPECT_EQ(SplitOne(-0.25f).m_Fraction, 0.75f);
}

TEST(Lattice, FractionsJustBelowZeroRoundToOne) {
    EXPECT_EQ(SplitOne(-1e-10f).m_Cell, 255u);
    EXPECT_EQ(SplitOne(-1e-10f).m_Fraction, 1.0f);
    EXPECT_EQ(SplitOne(-0x1p-149f).m_Cell, 255u);
    EXPECT_EQ(SplitOne(-0x1p-149f).m_Fraction, 1.0f);
}

TEST(Lattice, WholeCoordinatesHaveFractionZero) {
    for (int n = -600; n <= 600; ++n) {
        const COneSplit split = SplitOne(static_cast<float>(n));
        EXPECT_EQ(split.m_Cell, static_cast<uint32_t>(n) & 255u) << "coordinate " << n;
        EXPECT_EQ(std::bit_cast<uint32_t>(split.m_Fraction), 0u) << "coordinate " << n;
    }
}

TEST(Lattice, MinusZeroHasTheFractionPlusZero) {
    EXPECT_EQ(SplitOne(-0.0f).m_Cell, 0u);
    EXPECT_EQ(std::bit_cast<uint32_t>(SplitOne(-0.0f).m_Fraction), 0u);
}

TEST(Lattice, BeyondTheIntegersOnlyTheFractionGrows) {
    EXPECT_EQ(SplitOne(0x1p31f).m_Cell, 255u);
    EXPECT_EQ(SplitOne(0x1p31f).m_Fraction, 0.0f);
    EXPECT_EQ(SplitOne(0x1p32f).m_Cell, 255u);
    EXPECT_EQ(SplitOne(0x1p32f).m_Fraction, 0x1p31f);
    EXPECT_EQ(SplitOne(std::numeric_limits<float>::infinity()).m_Cell, 255u);
    EXPECT_EQ(SplitOne(-0x1p31f).m_Cell, 0u);
    EXPECT_EQ(SplitOne(-0x1p31f).m_Fraction, 0.0f);
    // -2^31 > x, so the cell is decremented, which wraps to 2^31 - 1.
    EXPECT_EQ(SplitOne(-0x1p32f).m_Cell, 255u);
    EXPECT_EQ(SplitOne(-0x1p32f).m_Fraction, -0x1p31f + 1.0f);
}

TEST(Lattice, NanHasANanFraction) {
    EXPECT_TRUE(std::isnan(SplitOne(std::numeric_limits<float>::quiet_NaN()).m_Fraction));
}

TEST(Lattice, SplitsAsTheReference) {
    CCoordinates coordinates(20);
    for (int trial = 0; trial < 500000; ++trial) {
        const float x = coordinates.Next();
        const COneSplit split = SplitOne(x);
        const Reference::CCell expected = Reference::Split(x);
        ASSERT_EQ(CanonicalBits(split.m_Fraction), CanonicalBits(expected.m_Fraction)) << std::hexfloat << x;
        if (!std::isnan(x)) {
            ASSERT_EQ(split.m_Cell, expected.m_Coordinate) << std::hexfloat << x;
        }
    }
}

// For |x| < 2^31 the split is the true floor, and x minus that floor, rounded once (except the sign of -0).
TEST(Lattice, SplitsAtTheTrueFloorWithinTheIntegers) {
    CCoordinates coordinates(21);
    for (int trial = 0; trial < 500000; ++trial) {
        const float x = coordinates.Next();
        if (!(std::fabs(x) < 0x1p31f)) {
            continue;
        }
        const COneSplit split = SplitOne(x);
        ASSERT_EQ(split.m_Cell, static_cast<uint32_t>(static_cast<int64_t>(std::floor(x)) & 255))
            << std::hexfloat << x;
        ASSERT_EQ(split.m_Fraction, x - std::floor(x)) << std::hexfloat << x;
    }
}

template <ENoiseQuality kQuality>
void ExpectFade(EQuality quality) {
    EXPECT_EQ(Fade<kQuality>(0.0f), 0.0f);
    EXPECT_EQ(Fade<kQuality>(0.5f), 0.5f);
    EXPECT_EQ(Fade<kQuality>(1.0f), 1.0f);
    std::mt19937 random(22);
    for (int trial = 0; trial < 100000; ++trial) {
        const float t = static_cast<float>(random() >> 8) * 0x1p-24f;
        const float faded = Fade<kQuality>(t);
        ASSERT_EQ(std::bit_cast<uint32_t>(faded), std::bit_cast<uint32_t>(Reference::Fade(quality, t))) << t;
        ASSERT_GE(faded, 0.0f) << t;
        ASSERT_LE(faded, 1.0f + 2e-6f) << t; // terms around 10 round beyond 1
        const Float4 lanes = Fade<kQuality>(Float4(t, 0.0f, 1.0f, t));
        ASSERT_EQ(std::bit_cast<uint32_t>(SIMD_Neon::ExtractLane<0>(lanes)), std::bit_cast<uint32_t>(faded))
            << t;
        ASSERT_EQ(std::bit_cast<uint32_t>(SIMD_Neon::ExtractLane<3>(lanes)), std::bit_cast<uint32_t>(faded))
            << t;
    }
}

TEST(Lattice, FadesEqualTheReference) {
    ExpectFade<ENoiseQuality::kLinear>(EQuality::kLinear);
    ExpectFade<ENoiseQuality::kCubic>(EQuality::kCubic);
    ExpectFade<ENoiseQuality::kQuintic>(EQuality::kQuintic);
}

// 3t^2 - 2t^3 and 6t^5 - 15t^4 + 10t^3, within the rounding of a few operations.
TEST(Lattice, FadesAreTheKnownPolynomials) {
    for (int step = 0; step <= 1000; ++step) {
        const double t = step / 1000.0;
        const float single = static_cast<float>(t);
        EXPECT_NEAR(static_cast<double>(Fade<ENoiseQuality::kCubic>(single)), (3.0 - 2.0 * t) * t * t, 5e-7)
            << t;
        EXPECT_NEAR(static_cast<double>(Fade<ENoiseQuality::kQuintic>(single)),
                    ((6.0 * t - 15.0) * t + 10.0) * t * t * t, 2e-6)
            << t;
    }
}

// The exact curve reaches 1 only at 1. The exhaustive tests show that no fade below 1/2 is above 1/2.
TEST(Lattice, TheQuinticFadePeaksNineUnitsAboveOne) {
    float peak = 0.0f;
    float peakOfCubic = 0.0f;
    bool isMonotone = true;
    float before = 0.0f;
    for (uint32_t bits = std::bit_cast<uint32_t>(0.5f); bits <= std::bit_cast<uint32_t>(1.0f); ++bits) {
        const float t = std::bit_cast<float>(bits);
        const float fade = Fade<ENoiseQuality::kQuintic>(t);
        isMonotone = isMonotone && before <= fade;
        before = fade;
        peak = std::max(peak, fade);
        peakOfCubic = std::max(peakOfCubic, Fade<ENoiseQuality::kCubic>(t));
    }
    EXPECT_EQ(peak, 1.0f + 9 * 0x1p-23f) << std::hexfloat << peak;
    EXPECT_FALSE(isMonotone);
    EXPECT_EQ(peakOfCubic, 1.0f) << std::hexfloat << peakOfCubic;
    EXPECT_EQ(Fade<ENoiseQuality::kQuintic>(0x1.ff0252p-1f), peak) << "its first occurrence";
}

TEST(Lattice, HashesStayInTheTables) {
    for (uint32_t i = 0; i < 256; ++i) {
        EXPECT_EQ(HashEdges<1>(&i)[0], i);
    }
    uint32_t highest = 0;
    for (uint32_t i = 0; i < 256; ++i) {
        for (uint32_t j = 0; j < 256; ++j) {
            const uint32_t cell[3] = {i, j, 255};
            for (const uint32_t hash : HashEdges<3>(cell)) {
                highest = std::max(highest, hash);
            }
        }
    }
    EXPECT_EQ(highest, 510u); // its edge ends at entry 511
}

} // namespace
