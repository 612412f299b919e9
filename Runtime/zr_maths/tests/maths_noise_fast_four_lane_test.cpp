// The samplers that take one 3D position in a four-lane value.

#include "noise_reference.h"
#include "noise_test_support.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <ostream>
#include <vector>

namespace {

using namespace Vestrel;
using SIMD_Neon::Float4;

class FourLaneSamplers : public testing::TestWithParam<CPointSamplers> {
protected:
    float SampleAt(float x, float y, float z, float lane3 = 0.0f) const {
        return (m_Noise.*GetParam().m_Sample)(Float4(x, y, z, lane3));
    }

    COpenNoise m_Noise = EvenNoise();
};

INSTANTIATE_TEST_SUITE_P(All, FourLaneSamplers, testing::ValuesIn(kPointSamplers), CNameOfInstance());

TEST_P(FourLaneSamplers, GiveTheBitsOfTheReference) {
    CCoordinates coordinates(800);
    for (int trial = 0; trial < 200000; ++trial) {
        const TVector<float, 3> position = {coordinates.Next(), coordinates.Next(), coordinates.Next()};
        const float expected = Reference::Sample(m_Noise.Basis(), GetParam().m_Quality, position);
        ASSERT_EQ(CanonicalBits(SampleAt(position.x, position.y, position.z)), CanonicalBits(expected))
            << std::hexfloat << position.x << ", " << position.y << ", " << position.z;
    }
}

TEST_P(FourLaneSamplers, GiveTheBitsOfTheBatchSamplers) {
    for (const CBatchSampler& batch : kBatchSamplers) {
        if (batch.m_Dimension != 3 || batch.m_Quality != GetParam().m_Quality) {
            continue;
        }
        const std::vector<float> positions = CCoordinates(801).Fill(3 * 1000 + 1);
        std::vector<float> samples(1000);
        batch.m_Sample(m_Noise, {samples.data(), 1000, 4}, positions.data(), 1000, 12);
        for (size_t k = 0; k < 1000; ++k) {
            const float* const position = &positions[3 * k];
            EXPECT_EQ(CanonicalBits(SampleAt(position[0], position[1], position[2])),
                      CanonicalBits(samples[k]))
                << "position " << k;
        }
    }
}

TEST_P(FourLaneSamplers, Lane3IsIgnored) {
    CCoordinates coordinates(802);
    for (int trial = 0; trial < 20000; ++trial) {
        const float x = coordinates.Next();
        const float y = coordinates.Next();
        const float z = coordinates.Next();
        const float lane3 = coordinates.Next();
        ASSERT_EQ(CanonicalBits(SampleAt(x, y, z, lane3)), CanonicalBits(SampleAt(x, y, z))) << lane3;
    }
    EXPECT_FALSE(std::isnan(SampleAt(0.5f, 1.5f, 2.5f, std::numeric_limits<float>::quiet_NaN())));
}

TEST_P(FourLaneSamplers, LatticePointsGiveTheirValues) {
    const auto& P = Internal::kFastNoisePermutations;
    const float* const B = m_Noise.Basis();
    for (int x = -3; x < 4; ++x) {
        for (int y = 250; y < 260; ++y) {
            for (int z = -260; z < -250; ++z) {
                const uint32_t a = P[static_cast<uint32_t>(x) & 255] + (static_cast<uint32_t>(y) & 255);
                const float expected = B[P[a] + (static_cast<uint32_t>(z) & 255)];
                EXPECT_EQ(SampleAt(static_cast<float>(x), static_cast<float>(y), static_cast<float>(z)),
                          expected)
                    << x << ", " << y << ", " << z;
            }
        }
    }
}

TEST_P(FourLaneSamplers, NegativeCoordinatesFloorDownward) {
    const auto& P = Internal::kFastNoisePermutations;
    const float* const B = m_Noise.Basis();
    // x = -0.25 lies in cell 255 at 3/4, between the corners of P[255] = 180 and P[256] = 151, whose linear
    // blend is exact here.
    const float lower = B[P[180]];
    const float upper = B[P[151]];
    if (GetParam().m_Quality == EQuality::kLinear) {
        EXPECT_EQ(SampleAt(-0.25f, 0.0f, 0.0f), lower + (upper - lower) * 0.75f);
    }
    EXPECT_GT(SampleAt(-0.25f, 0.0f, 0.0f), std::min(lower, upper));
    EXPECT_LT(SampleAt(-0.25f, 0.0f, 0.0f), std::max(lower, upper));
}

TEST_P(FourLaneSamplers, RepeatEvery256Cells) {
    EXPECT_EQ(SampleAt(0.5f, 0.5f, 0.5f), SampleAt(256.5f, 0.5f, 0.5f));
    EXPECT_EQ(SampleAt(0.5f, 0.5f, 0.5f), SampleAt(0.5f, -255.5f, 0.5f));
    EXPECT_EQ(SampleAt(0.5f, 0.5f, 0.5f), SampleAt(0.5f, 0.5f, 512.5f));
}

} // namespace
