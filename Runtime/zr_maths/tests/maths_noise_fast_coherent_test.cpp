// The samplers that take four 3D positions of one cell.

#include "noise_reference.h"
#include "noise_test_support.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstdint>
#include <ostream>
#include <random>
#include <sstream>
#include <string>

namespace {

using namespace Vestrel;
using SIMD_Neon::Float4;

using CPosition = TVector<float, 3>;

struct CPositions {
    CPosition m_Positions[4];
};

std::string TextOf(const CPositions& positions) {
    std::ostringstream text;
    text << std::hexfloat;
    for (const CPosition& position : positions.m_Positions) {
        text << "(" << position.x << ", " << position.y << ", " << position.z << ") ";
    }
    return text.str();
}

class CoherentSamplers : public testing::TestWithParam<CPointSamplers> {
protected:
    std::array<float, 4> SampleAt(const CPositions& positions, const std::array<float, 4>& lane3 = {}) const {
        Float4 values[4];
        for (size_t k = 0; k < 4; ++k) {
            const CPosition& position = positions.m_Positions[k];
            values[k] = Float4(position.x, position.y, position.z, lane3[k]);
        }
        alignas(16) std::array<float, 4> samples;
        SIMD_Neon::StoreAligned(samples.data(), (m_Noise.*GetParam().m_Coherent)(values));
        return samples;
    }

    float SampleOneAt(const CPosition& position) const {
        return (m_Noise.*GetParam().m_Sample)(Float4(position.x, position.y, position.z, 0.0f));
    }

    void ExpectReference(const CPositions& positions) const {
        const std::array<float, 4> samples = SampleAt(positions);
        for (size_t k = 0; k < 4; ++k) {
            const float expected =
                Reference::SampleCoherent(m_Noise.Basis(), GetParam().m_Quality, positions.m_Positions, k);
            ASSERT_EQ(CanonicalBits(samples[k]), CanonicalBits(expected))
                << "lane " << k << ": " << TextOf(positions);
        }
    }

    COpenNoise m_Noise = EvenNoise();
};

INSTANTIATE_TEST_SUITE_P(All, CoherentSamplers, testing::ValuesIn(kPointSamplers), CNameOfInstance());

TEST_P(CoherentSamplers, GiveTheBitsOfTheReference) {
    CCoordinates coordinates(900);
    for (int trial = 0; trial < 50000; ++trial) {
        CPositions positions;
        for (CPosition& position : positions.m_Positions) {
            position = {coordinates.Next(), coordinates.Next(), coordinates.Next()};
        }
        ExpectReference(positions);
    }
}

TEST_P(CoherentSamplers, GiveTheBitsOfTheReferenceInOneCell) {
    std::mt19937 random(901);
    const auto unit = [&] { return static_cast<float>(random() >> 8) * 0x1p-24f; };
    for (int trial = 0; trial < 50000; ++trial) {
        const CPosition cell = {std::floor(unit() * 1024.0f - 512.0f), std::floor(unit() * 1024.0f - 512.0f),
                                std::floor(unit() * 1024.0f - 512.0f)};
        CPositions positions;
        for (CPosition& position : positions.m_Positions) {
            position = {cell.x + unit(), cell.y + unit(), cell.z + unit()};
        }
        ExpectReference(positions);
    }
}

TEST_P(CoherentSamplers, FourCopiesOfAFinitePositionGiveItsSample) {
    // Finite, because infinity - infinity is NaN.
    CCoordinates coordinates(902);
    const auto finite = [&] {
        float coordinate = coordinates.Next();
        while (!std::isfinite(coordinate)) {
            coordinate = coordinates.Next();
        }
        return coordinate;
    };
    for (int trial = 0; trial < 50000; ++trial) {
        const CPosition position = {finite(), finite(), finite()};
        const uint32_t expected = CanonicalBits(SampleOneAt(position));
        for (const float sample : SampleAt({{position, position, position, position}})) {
            ASSERT_EQ(CanonicalBits(sample), expected) << TextOf({{position}});
        }
    }
}

TEST_P(CoherentSamplers, LanesEqualSingleSamplesIfFractionsAreExact) {
    // Multiples of 2^-10 near the origin have exact fractions, however they are computed.
    std::mt19937 random(903);
    const auto fraction = [&] { return static_cast<float>(random() % 1024) * 0x1p-10f; };
    for (int trial = 0; trial < 50000; ++trial) {
        const float cell = static_cast<float>(random() % 512) - 256.0f;
        CPositions positions;
        for (CPosition& position : positions.m_Positions) {
            position = {cell + fraction(), 7.0f + fraction(), -300.0f + fraction()};
        }
        const std::array<float, 4> samples = SampleAt(positions);
        for (size_t k = 0; k < 4; ++k) {
            ASSERT_EQ(CanonicalBits(samples[k]), CanonicalBits(SampleOneAt(positions.m_Positions[k])))
                << "lane " << k << ": " << TextOf(positions);
        }
    }
}

TEST_P(CoherentSamplers, PositionsBeyondTheCellContinueItsBlend) {
    // One cell to the right of the first, at the same fraction: the linear blend continues in a straight
    // line.
    const CPosition first = {3.25f, 8.0f, -2.0f};
    const CPosition right = {4.25f, 8.0f, -2.0f};
    ExpectReference({{first, right, right, right}});
    const auto& P = Internal::kFastNoisePermutations;
    const float* const B = m_Noise.Basis();
    const float c0 = B[P[P[3] + 8] + 254];
    const float c1 = B[P[P[4] + 8] + 254];
    const float continued = SampleAt({{first, right, first, first}})[1];
    if (GetParam().m_Quality == EQuality::kLinear) {
        EXPECT_EQ(continued, c0 + (c1 - c0) * 1.25f);
    }
    EXPECT_NE(continued, SampleOneAt(right)) << "not the value of the next cell";
}

TEST_P(CoherentSamplers, TheFirstPositionDeterminesTheCell) {
    const CPosition one = {3.5f, 8.25f, -2.5f};
    const CPosition other = {4.25f, 8.5f, -2.25f};
    const std::array<float, 4> samples = SampleAt({{one, other, one, other}});
    const std::array<float, 4> swapped = SampleAt({{other, one, other, one}});
    EXPECT_EQ(samples[0], SampleOneAt(one));
    EXPECT_EQ(swapped[0], SampleOneAt(other));
    EXPECT_NE(samples[1], swapped[0]);
    EXPECT_NE(samples[0], swapped[1]);
}

TEST_P(CoherentSamplers, Lane3IsIgnored) {
    CCoordinates coordinates(904);
    for (int trial = 0; trial < 20000; ++trial) {
        CPositions positions;
        std::array<float, 4> lane3;
        for (size_t k = 0; k < 4; ++k) {
            positions.m_Positions[k] = {coordinates.Next(), coordinates.Next(), coordinates.Next()};
            lane3[k] = coordinates.Next();
        }
        const std::array<float, 4> samples = SampleAt(positions, lane3);
        const std::array<float, 4> expected = SampleAt(positions);
        for (size_t k = 0; k < 4; ++k) {
            ASSERT_EQ(CanonicalBits(samples[k]), CanonicalBits(expected[k])) << TextOf(positions);
        }
    }
}

TEST_P(CoherentSamplers, RepeatEvery256Cells) {
    const CPositions positions = {
        {{0.5f, 0.25f, 0.5f}, {0.75f, 0.5f, 0.25f}, {0.5f, 0.5f, 0.0f}, {0.0f, 0.0f, 0.0f}}};
    CPositions moved = positions;
    for (CPosition& position : moved.m_Positions) {
        position = {position.x + 256.0f, position.y - 256.0f, position.z + 512.0f};
    }
    EXPECT_EQ(SampleAt(moved), SampleAt(positions));
}

} // namespace
