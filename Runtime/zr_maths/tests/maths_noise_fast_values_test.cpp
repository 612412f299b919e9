// The values of samples, compared with known properties of the field. maths_noise_fast_batch_test.cpp tests
// where samplers read and write.

#include "lattice/permutations.h"
#include "noise_test_support.h"
#include "operations.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <numeric>
#include <random>
#include <vector>

namespace {

using namespace Vestrel;

class SamplerValues : public testing::TestWithParam<CBatchSampler> {
protected:
    /// The sample of one position; a sampler uses as many coordinates as it has axes.
    float SampleAt(float x, float y = 0.0f, float z = 0.0f, float w = 0.0f) const {
        const float position[4] = {x, y, z, w};
        float sample = 0.0f;
        GetParam().m_Sample(m_Noise, {&sample, 1, 4}, position, 1, GetParam().PositionSize());
        return sample;
    }

    COpenNoise m_Noise = EvenNoise();
};

INSTANTIATE_TEST_SUITE_P(All, SamplerValues, testing::ValuesIn(kBatchSamplers), CNameOfInstance());

TEST_P(SamplerValues, LatticePointsGiveTheirValues) {
    const auto& P = Internal::kFastNoisePermutations;
    const float* const B = m_Noise.Basis();
    for (const int x : {0, 1, -1, 5, 255, 256, -256, -1000, 8388608}) {
        for (const int y : {0, 1, -1, 77, -300}) {
            const uint32_t i = static_cast<uint32_t>(x) & 255;
            const uint32_t j = static_cast<uint32_t>(y) & 255;
            const uint32_t k = 254;
            const uint32_t l = 3;
            const float corners[] = {B[P[i]], B[P[P[i] + j]], B[P[P[i] + j] + k], B[P[P[P[i] + j] + k] + l]};
            EXPECT_EQ(SampleAt(static_cast<float>(x), static_cast<float>(y), -2.0f, 259.0f),
                      corners[GetParam().m_Dimension - 1])
                << x << ", " << y;
        }
    }
}

TEST_P(SamplerValues, PeriodIs256OnEveryAxis) {
    std::mt19937 random(707);
    for (int trial = 0; trial < 2000; ++trial) {
        // Coordinates in steps of 2^-12, so that a shift by 256 is exact.
        const auto coordinate = [&random] {
            return static_cast<float>(random() % 0x100000) * 0x1p-12f - 128.0f;
        };
        const float x = coordinate();
        const float y = coordinate();
        const float z = coordinate();
        const float w = coordinate();
        const float sample = SampleAt(x, y, z, w);
        ASSERT_EQ(SampleAt(x + 256.0f, y, z, w), sample) << x << ", " << y << ", " << z << ", " << w;
        ASSERT_EQ(SampleAt(x, y - 256.0f, z, w), sample) << x << ", " << y << ", " << z << ", " << w;
        ASSERT_EQ(SampleAt(x, y, z + 512.0f, w), sample) << x << ", " << y << ", " << z << ", " << w;
        ASSERT_EQ(SampleAt(x, y, z, w - 256.0f), sample) << x << ", " << y << ", " << z << ", " << w;
    }
}

/// How far outside [-1, 1] a sample of `sampler` may be. If the quintic fade f exceeds 1, which it does by up
/// to 1.07e-6 (maths_noise_fast_lattice_test.cpp), each axis widens [-1, 1] by the factor 2 f - 1, and its
/// blend rounds by less than 2.5 * 2^-23.
double OvershootOf(const CBatchSampler& sampler) {
    return sampler.m_Quality == EQuality::kQuintic ? 2.5e-6 * sampler.m_Dimension : 0.0;
}

/// Values that alternate between the corners of the cell at 0, with `sign` at the uppermost corner: the blend
/// along each axis overshoots as far as it can.
std::array<float, 256> AlternatingCorners(int dimension, float sign) {
    const auto& P = Internal::kFastNoisePermutations;
    std::array<float, 256> values{};
    for (uint32_t corner = 0; corner < 1u << dimension; ++corner) {
        uint32_t index = P[corner & 1];
        for (int axis = 1; axis < dimension; ++axis) {
            // In 3D and 4D the last coordinate is not permuted.
            const uint32_t sum = index + (corner >> axis & 1);
            index = axis == dimension - 1 && dimension > 2 ? sum : P[sum];
        }
        const bool isNegative = (dimension - std::popcount(corner)) % 2 != 0;
        values[index % 256] = isNegative ? -sign : sign;
    }
    return values;
}

TEST_P(SamplerValues, AlternatingCornersReachTheBoundOfSamples) {
    const int dimension = GetParam().m_Dimension;
    for (const float sign : {1.0f, -1.0f}) {
        CListGenerator generator(AlternatingCorners(dimension, sign));
        m_Noise._ResetSampler(&generator);
        double farthest = 0.0;
        for (float t = 0.99f; t < 1.0f; t = std::nextafter(t, 2.0f)) {
            const float sample = SampleAt(t, t, t, t);
            const double overshoot = std::fabs(static_cast<double>(sample)) - 1.0;
            ASSERT_LE(overshoot, OvershootOf(GetParam()))
                << std::hexfloat << t << " on all axes, sign " << sign;
            farthest = std::max(farthest, overshoot);
        }
        // The bound is tight except for rounding.
        EXPECT_GE(farthest, 0.85 * OvershootOf(GetParam())) << "the bound says much more than is so";
    }
    EXPECT_EQ(SampleAt(1.0f, 1.0f, 1.0f, 1.0f), -1.0f) << "the uppermost corner";
}

TEST_P(SamplerValues, SamplesStayWithinTheirBounds) {
    std::mt19937 random(708);
    const double bound = 1.0 + OvershootOf(GetParam());
    const auto unit = [&random] { return static_cast<float>(random() >> 8) * 0x1p-24f; };
    for (int trial = 0; trial < 20000; ++trial) {
        if (trial % 200 == 0) {
            // Corners at or just inside +-1, so that various sums round.
            std::array<float, 256> values;
            for (float& value : values) {
                value =
                    (random() % 2 == 0 ? 1.0f : -1.0f) * (1.0f - static_cast<float>(random() % 4) * 0x1p-24f);
            }
            CListGenerator generator(values);
            m_Noise._ResetSampler(&generator);
        }
        const auto coordinate = [&] {
            const float cell = std::floor(unit() * 16.0f);
            const float fraction = random() % 2 == 0 ? unit() : 0.99f + 0.01f * unit();
            return random() % 2 == 0 ? cell + fraction : fraction;
        };
        const float x = coordinate();
        const float y = coordinate();
        const float z = coordinate();
        const float w = coordinate();
        ASSERT_LE(std::fabs(static_cast<double>(SampleAt(x, y, z, w))), bound)
            << std::hexfloat << x << ", " << y << ", " << z << ", " << w;
    }
}

TEST_P(SamplerValues, NanAffectsNoOtherSample) {
    const uint32_t size = GetParam().PositionSize();
    const size_t floats = size / 4;
    constexpr uint32_t kCount = 11;
    for (size_t bad = 0; bad < kCount; ++bad) {
        for (size_t axis = 0; axis < floats; ++axis) {
            alignas(16) float positions[4 * kCount];
            for (size_t k = 0; k < 4 * kCount; ++k) {
                positions[k] = static_cast<float>(k) * 0.37f - 5.0f;
            }
            positions[bad * floats + axis] = std::numeric_limits<float>::quiet_NaN();
            alignas(16) float samples[kCount];
            GetParam().m_Sample(m_Noise, {samples, kCount, 4}, positions, kCount, size);
            for (size_t k = 0; k < kCount; ++k) {
                EXPECT_EQ(std::isnan(samples[k]), k == bad) << "sample " << k << ", not-a-number in " << bad;
            }
        }
    }
}

// Repetitions in the field, as documented in docs/guide/10-range.md.

/// 256 samples one cell apart along `axis`. Axes before it are at whole coordinates, with `line` on x; axes
/// after it are at 1/2. If `axis` is x, `line` is on y.
std::vector<float> LineAlong(const CFastNoise3& noise, const CBatchSampler& sampler, size_t axis,
                             uint32_t line) {
    float position[4] = {};
    for (size_t other = 0; other < 4; ++other) {
        position[other] = other > axis ? 0.5f : static_cast<float>(line / 256 * 7);
    }
    position[axis == 0 ? 1 : 0] = static_cast<float>(line % 256);
    const size_t dimension = static_cast<size_t>(sampler.m_Dimension);
    std::vector<float> positions(256 * dimension);
    for (size_t k = 0; k < 256; ++k) {
        position[axis] = static_cast<float>(k);
        std::copy_n(position, dimension, &positions[k * dimension]);
    }
    std::vector<float> samples(256);
    sampler.m_Sample(noise, {samples.data(), 256, 4}, positions.data(), 256, sampler.PositionSize());
    return samples;
}

/// The cyclic shift, in cells, that turns the line into `sequence`; 256 if there is none.
size_t CellsToMove(std::vector<float> line, const std::vector<float>& sequence) {
    size_t cells = 0;
    while (cells < 256 && line != sequence) {
        std::rotate(line.begin(), line.begin() + 1, line.end());
        ++cells;
    }
    return cells;
}

TEST(SamplerValuesTogether, LinesAlongAllAxesButXAreShiftsOfOneSequence) {
    CStdRandomGenerator generator(1);
    const CFastNoise3 noise(&generator);
    for (const CBatchSampler& sampler : kBatchSamplers) {
        for (size_t axis = 0; axis < static_cast<size_t>(sampler.m_Dimension); ++axis) {
            if (sampler.m_Dimension == 1) {
                continue; // there is only one line
            }
            const std::vector<float> sequence = LineAlong(noise, sampler, axis, 0);
            std::array<uint32_t, 257> lines{};
            for (uint32_t line = 0; line < 512; ++line) {
                ++lines[CellsToMove(LineAlong(noise, sampler, axis, line), sequence)];
            }
            if (axis == 0) {
                EXPECT_EQ(lines[256], 510u)
                    << sampler << ": all lines along x but the first, which comes twice";
            } else {
                EXPECT_EQ(lines[256], 0u) << sampler << ": all lines along axis " << axis;
                EXPECT_EQ(std::count(lines.begin(), lines.end(), 0u), 1) << sampler << ", axis " << axis;
            }
        }
    }
}

// On average all corners of a cell have the same weight, and all values have the same number of lattice
// points.
TEST(SamplerValuesTogether, TheMeanOverAPeriodIsTheMeanOfTheValues) {
    CStdRandomGenerator generator(1);
    const COpenNoise noise(&generator);
    const double mean = std::accumulate(noise.Basis(), noise.Basis() + 256, 0.0) / 256.0;
    for (const CBatchSampler& sampler : kBatchSamplers) {
        // Cell centres along the first two axes; along the others the mean is the same everywhere.
        const uint32_t floats = static_cast<uint32_t>(sampler.m_Dimension);
        std::vector<float> positions(65536 * floats, 0.25f);
        for (uint32_t k = 0; k < 65536; ++k) {
            positions[k * floats] = static_cast<float>(k % 256) + 0.5f;
            if (floats > 1) {
                positions[k * floats + 1] = static_cast<float>(k / 256) + 0.5f;
            }
        }
        std::vector<float> samples(65536);
        sampler.m_Sample(noise, {samples.data(), 65536, 4}, positions.data(), 65536, sampler.PositionSize());
        EXPECT_NEAR(std::accumulate(samples.begin(), samples.end(), 0.0) / 65536.0, mean, 1e-6) << sampler;
    }
}

// The qualities compared with each other, and values computed by hand.

float SampleOne(const CFastNoise3& noise, EQuality quality, int dimension, const float (&position)[4]) {
    for (const CBatchSampler& sampler : kBatchSamplers) {
        if (sampler.m_Quality == quality && sampler.m_Dimension == dimension) {
            float sample = 0.0f;
            sampler.m_Sample(noise, {&sample, 1, 4}, position, 1, sampler.PositionSize());
            return sample;
        }
    }
    ADD_FAILURE() << "no such sampler";
    return 0.0f;
}

TEST(SamplerValuesTogether, QualitiesAgreeAtLatticePointsAndDifferInside) {
    const COpenNoise noise = EvenNoise();
    using enum EQuality;
    for (const int dimension : {1, 2, 3, 4}) {
        for (int n = -20; n < 20; ++n) {
            const float at = static_cast<float>(n);
            const float corner[4] = {at, at + 3.0f, at - 7.0f, at + 90.0f};
            EXPECT_EQ(SampleOne(noise, kLinear, dimension, corner),
                      SampleOne(noise, kCubic, dimension, corner));
            EXPECT_EQ(SampleOne(noise, kLinear, dimension, corner),
                      SampleOne(noise, kQuintic, dimension, corner));
            const float inside[4] = {at + 0.25f, at + 0.25f, at + 0.25f, at + 0.25f};
            EXPECT_NE(SampleOne(noise, kLinear, dimension, inside),
                      SampleOne(noise, kCubic, dimension, inside));
            EXPECT_NE(SampleOne(noise, kLinear, dimension, inside),
                      SampleOne(noise, kQuintic, dimension, inside));
            EXPECT_NE(SampleOne(noise, kCubic, dimension, inside),
                      SampleOne(noise, kQuintic, dimension, inside));
        }
    }
}

// A field that shows fused operations: the corners differ by 1 + 2^-12 and are blended at (1 + 2^-12) / 2,
// where the exact product has one digit more than a float and cancels with the lower corner.
TEST(SamplerValuesTogether, ProductAndSumAreNotFused) {
    const auto& P = Internal::kFastNoisePermutations;
    const float t = 0.5f + 0x1p-13f;
    for (const CBatchSampler& sampler : kBatchSamplers) {
        if (sampler.m_Quality != EQuality::kLinear) {
            continue; // only in linear quality is the weight the fraction
        }
        // Two neighbours along x, at 0 on the other axes: each axis permutes once more, except the last one
        // in 3D and 4D.
        const size_t lookUps = sampler.m_Dimension == 1 ? 0 : sampler.m_Dimension == 4 ? 2 : 1;
        size_t lower = 151;
        size_t upper = 160;
        for (size_t k = 0; k < lookUps; ++k) {
            lower = P[lower];
            upper = P[upper];
        }
        std::array<float, 256> values{};
        values[lower] = -0.5f - 0x1p-12f;
        values[upper] = 0.5f;
        CListGenerator generator(values);
        const COpenNoise noise(&generator);

        alignas(16) float positions[4 * 5] = {};
        for (size_t k = 0; k < 5; ++k) {
            positions[k * static_cast<size_t>(sampler.m_Dimension)] = t;
        }
        alignas(16) float samples[5];
        sampler.m_Sample(noise, {samples, 5, 4}, positions, 5, sampler.PositionSize());
        EXPECT_EQ(samples[0], 0.0f) << sampler << ", four at a time";
        EXPECT_EQ(samples[4], 0.0f) << sampler << ", one at a time";
    }
}

TEST(SamplerValuesTogether, TheFirstCellIn1DLiesBetweenEntries151And160) {
    const COpenNoise noise = EvenNoise();
    const float* const B = noise.Basis();
    // At 1/4, the fades are 0.25, 0.15625 and 0.103515625, all exact.
    const float quarter[4] = {0.25f, 0.0f, 0.0f, 0.0f};
    EXPECT_EQ(SampleOne(noise, EQuality::kLinear, 1, quarter), B[151] + (B[160] - B[151]) * 0.25f);
    EXPECT_EQ(SampleOne(noise, EQuality::kCubic, 1, quarter), B[151] + (B[160] - B[151]) * 0.15625f);
    EXPECT_EQ(SampleOne(noise, EQuality::kQuintic, 1, quarter), B[151] + (B[160] - B[151]) * 0.103515625f);
}

TEST(SamplerValuesTogether, MinusAQuarterIn1DLiesInCell255) {
    const COpenNoise noise = EvenNoise();
    const float* const B = noise.Basis();
    const float position[4] = {-0.25f, 0.0f, 0.0f, 0.0f};
    // P[255] is 180 and P[256] is 151.
    EXPECT_EQ(SampleOne(noise, EQuality::kLinear, 1, position), B[180] + (B[151] - B[180]) * 0.75f);
    for (const auto quality : {EQuality::kCubic, EQuality::kQuintic}) {
        const float sample = SampleOne(noise, quality, 1, position);
        EXPECT_GT(sample, std::min(B[180], B[151]));
        EXPECT_LT(sample, std::max(B[180], B[151]));
    }
}

// At -1e-10 the cell is 255 and the fraction rounds to 1, where every fade is 1: the blend is that from the
// lower side all the way to the upper, rounded.
TEST(SamplerValuesTogether, JustBelowZeroTheBlendReachesTheUpperSide) {
    const COpenNoise noise = EvenNoise();
    const auto& P = Internal::kFastNoisePermutations;
    const float* const B = noise.Basis();
    const auto upperSide = [](float lower, float upper) { return lower + (upper - lower); };
    using enum EQuality;
    for (const auto quality : {kLinear, kCubic, kQuintic}) {
        const float x[4] = {-1e-10f, 0.0f, 0.0f, 0.0f};
        EXPECT_EQ(SampleOne(noise, quality, 1, x), upperSide(B[180], B[151]));
        EXPECT_EQ(SampleOne(noise, quality, 2, x), upperSide(B[P[180]], B[P[151]]));
        const float y[4] = {0.0f, -1e-10f, 0.0f, 0.0f};
        EXPECT_EQ(SampleOne(noise, quality, 2, y), upperSide(B[P[151 + 255]], B[P[151 + 256]]));
        const float z[4] = {0.0f, 0.0f, -1e-10f, 0.0f};
        EXPECT_EQ(SampleOne(noise, quality, 3, z), upperSide(B[P[151] + 255], B[P[151] + 256]));
        const float w[4] = {0.0f, 0.0f, 0.0f, -1e-10f};
        EXPECT_EQ(SampleOne(noise, quality, 4, w), upperSide(B[P[P[151]] + 255], B[P[P[151]] + 256]));
    }
}

TEST(SamplerValuesTogether, MinusAQuarterIsThreeQuartersIntoCell255) {
    const COpenNoise noise = EvenNoise();
    const auto& P = Internal::kFastNoisePermutations;
    const float* const B = noise.Basis();
    const auto threeQuarters = [](float lower, float upper) { return lower + (upper - lower) * 0.75f; };
    constexpr auto kLinear = EQuality::kLinear;
    const float x[4] = {-0.25f, 0.0f, 0.0f, 0.0f};
    EXPECT_EQ(SampleOne(noise, kLinear, 1, x), threeQuarters(B[180], B[151]));
    EXPECT_EQ(SampleOne(noise, kLinear, 2, x), threeQuarters(B[P[180]], B[P[151]]));
    EXPECT_EQ(SampleOne(noise, kLinear, 3, x), threeQuarters(B[P[180]], B[P[151]]));
    EXPECT_EQ(SampleOne(noise, kLinear, 4, x), threeQuarters(B[P[P[180]]], B[P[P[151]]]));
    const float z[4] = {0.0f, 0.0f, -0.25f, 0.0f};
    EXPECT_EQ(SampleOne(noise, kLinear, 3, z), threeQuarters(B[P[151] + 255], B[P[151] + 256]));
}

} // namespace
