// How far gradients are from the exact derivatives of the field.

#include "gradient_test_support.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <random>

namespace {

using namespace Vestrel;

/// Fade in double.
double FadeInDouble(EQuality quality, double t) {
    switch (quality) {
    case EQuality::kCubic:
        return t * t * (3.0 - 2.0 * t);
    case EQuality::kQuintic:
        return t * t * t * (t * (t * 6.0 - 15.0) + 10.0);
    case EQuality::kLinear:
        break;
    }
    return t;
}

/// Its derivative.
double SlopeInDouble(EQuality quality, double t) {
    switch (quality) {
    case EQuality::kCubic:
        return 6.0 * t * (1.0 - t);
    case EQuality::kQuintic:
        return 30.0 * t * t * (1.0 - t) * (1.0 - t);
    case EQuality::kLinear:
        break;
    }
    return 1.0;
}

class GradientErrors : public GradientSamplers {
protected:
    /// The field in double, at any fractions.
    double FieldInDouble(const CRecord& record, double x, double y, double z) const {
        const auto& c = Reference::CornersOf(m_Noise.Basis(), static_cast<uint32_t>(record.second.x),
                                             static_cast<uint32_t>(record.second.y),
                                             static_cast<uint32_t>(record.second.z))
                            .c;
        const EQuality quality = GetParam().m_Quality;
        const double weights[3] = {FadeInDouble(quality, x), FadeInDouble(quality, y),
                                   FadeInDouble(quality, z)};
        double sum = 0.0;
        for (int corner = 0; corner < 8; ++corner) {
            const int side[3] = {corner >> 2, corner >> 1 & 1, corner & 1};
            double weight = 1.0;
            for (int axis = 0; axis < 3; ++axis) {
                weight *= side[axis] != 0 ? weights[axis] : 1.0 - weights[axis];
            }
            sum += weight * static_cast<double>(c[side[0]][side[1]][side[2]]);
        }
        return sum;
    }

    /// The gradient of the field in double, at any fractions.
    std::array<double, 3> GradientInDouble(const CRecord& record, const double (&fractions)[3]) const {
        const auto& c = Reference::CornersOf(m_Noise.Basis(), static_cast<uint32_t>(record.second.x),
                                             static_cast<uint32_t>(record.second.y),
                                             static_cast<uint32_t>(record.second.z))
                            .c;
        const EQuality quality = GetParam().m_Quality;
        std::array<double, 3> gradient{};
        for (size_t along = 0; along < 3; ++along) {
            for (int corner = 0; corner < 8; ++corner) {
                const int side[3] = {corner >> 2, corner >> 1 & 1, corner & 1};
                double weight = 1.0;
                for (size_t axis = 0; axis < 3; ++axis) {
                    const double upper = axis == along ? SlopeInDouble(quality, fractions[axis])
                                                       : FadeInDouble(quality, fractions[axis]);
                    const double lower = axis == along ? -upper : 1.0 - upper;
                    weight *= side[axis] != 0 ? upper : lower;
                }
                gradient[along] += weight * static_cast<double>(c[side[0]][side[1]][side[2]]);
            }
        }
        return gradient;
    }

    /// The largest error of the three derivatives at a position, compared with doubles.
    double ErrorAt(float x, float y, float z, bool isBatch) const {
        const auto fraction = [](float coordinate) {
            return static_cast<double>(coordinate) - std::floor(static_cast<double>(coordinate));
        };
        const CRecord record = Reference::RecordOf(x, y, z);
        const CGradient gradient = isBatch ? SampleBatchOfOne(record) : SampleOneAt(x, y, z);
        const std::array<double, 3> exact = GradientInDouble(record, {fraction(x), fraction(y), fraction(z)});
        return std::max({std::fabs(static_cast<double>(gradient.x) - exact[0]),
                         std::fabs(static_cast<double>(gradient.y) - exact[1]),
                         std::fabs(static_cast<double>(gradient.z) - exact[2])});
    }

    /// The promised maximum error for values in [-1, 1]. It is the sum of half a unit in the last place of
    /// each intermediate result and of the errors of the fade and its derivative: 19 and 31 times 2^-24 in
    /// quintic quality, 1.3 and 4.7 in cubic.
    double Bound() const {
        switch (GetParam().m_Quality) {
        case EQuality::kLinear:
            return 3e-6;
        case EQuality::kCubic:
            return 6e-6;
        case EQuality::kQuintic:
            break;
        }
        return 2.5e-5;
    }
};

INSTANTIATE_TEST_SUITE_P(All, GradientErrors, testing::ValuesIn(kPointSamplers), CNameOfInstance());

TEST_P(GradientErrors, AreCentralDifferencesOfTheField) {
    // The error of central differences is h^2 / 6 times the third derivative, which is at most 2 * 60 here.
    constexpr double kStep = 1e-4;
    std::mt19937 random(1005);
    const auto coordinate = [&] { return static_cast<float>(random() >> 8) * 0x1p-24f * 16.0f - 8.0f; };
    for (int trial = 0; trial < 20000; ++trial) {
        const float x = coordinate();
        const float y = coordinate();
        const float z = coordinate();
        const CRecord record = Reference::RecordOf(x, y, z);
        const double fx = static_cast<double>(record.first.x);
        const double fy = static_cast<double>(record.first.y);
        const double fz = static_cast<double>(record.first.z);
        const auto difference = [&](double dx, double dy, double dz) {
            return (FieldInDouble(record, fx + dx, fy + dy, fz + dz) -
                    FieldInDouble(record, fx - dx, fy - dy, fz - dz)) /
                   (2.0 * kStep);
        };
        const double expected[3] = {difference(kStep, 0, 0), difference(0, kStep, 0),
                                    difference(0, 0, kStep)};
        for (const CGradient& gradient : {SampleOneAt(x, y, z), SampleBatchOfOne(record)}) {
            ASSERT_NEAR(gradient.x, expected[0], 1e-5) << TextOf(record);
            ASSERT_NEAR(gradient.y, expected[1], 1e-5) << TextOf(record);
            ASSERT_NEAR(gradient.z, expected[2], 1e-5) << TextOf(record);
        }
    }
}

TEST_P(GradientErrors, AreExactDerivativesWithinBounds) {
    std::mt19937 random(1008);
    const auto unit = [&] { return static_cast<float>(random() >> 8) * 0x1p-24f; };
    for (int trial = 0; trial < 50000; ++trial) {
        if (trial % 500 == 0) {
            std::array<float, 256> values;
            for (float& value : values) {
                value = random() % 2 == 0 ? 2.0f * unit() - 1.0f : random() % 2 == 0 ? 1.0f : -1.0f;
            }
            CListGenerator generator(values);
            m_Noise._ResetSampler(&generator);
        }
        // The fade has its largest error near the upper end of a cell; just below 0 the fraction rounds, too.
        const auto coordinate = [&] {
            const float cell = random() % 2 == 0 ? 0.0f : static_cast<float>(random() % 256) - 128.0f;
            const float near[] = {unit(), 0.99f + 0.01f * unit(), -0.01f * unit(), 0.5f};
            return cell + near[random() % 4];
        };
        const float x = coordinate();
        const float y = coordinate();
        const float z = coordinate();
        for (const bool isBatch : {false, true}) {
            ASSERT_LE(ErrorAt(x, y, z, isBatch), Bound())
                << std::hexfloat << x << ", " << y << ", " << z << ", " << (isBatch ? "batch" : "single");
        }
    }
}

/// The corners and positions with the largest errors that a random search found.
struct CHardCell {
    EQuality m_Quality;
    bool m_IsBatch;
    float m_Position[3];
    float m_Corners[8];
};

constexpr CHardCell kHardCells[] = {
    {EQuality::kLinear,
     false,
     {0x1.6b6ee8p-7f, 0x1.fb44a6p-1f, 0x1.fecbd4p-1f},
     {0x1.fa70c2p-1f, -0x1.fe41cp-1f, -0x1.a563e8p-1f, 0x1.7a2a46p-1f, -0x1.4f6e74p-1f, 0x1p+0f,
      -0x1.5ded18p-2f, 0x1.37ea46p-4f}},
    {EQuality::kLinear,
     true,
     {0x1.febbb6p-1f, 0x1.fd8d26p-1f, 0x1.f8d604p-1f},
     {0x1.fcd436p-1f, -0x1.4fa316p-1f, -0x1.d5386cp-1f, 0x1.ed4bfcp-3f, -0x1.fe5718p-1f, 0x1.987c62p-1f,
      0x1.967434p-2f, 0x1.c1f93ep-2f}},
    {EQuality::kCubic,
     false,
     {0x1.efe2cep-1f, 0x1.fe5d0ep-1f, 0x1.032a2ep-1f},
     {-0x1.8b7dc6p-4f, -0x1.faff8ap-1f, -0x1.de7754p-1f, 0x1.c400c4p-1f, -0x1.ff02a8p-1f, 0x1.fffeecp-1f,
      0x1.fa68a6p-1f, -0x1.ffffcap-1f}},
    {EQuality::kCubic,
     true,
     {0x1.d96c44p-1f, 0x1.d83eecp-2f, 0x1.f9937p-1f},
     {0x1p+0f, -0x1.fffefep-1f, 0x1.e58e34p-1f, 0x1.fffffp-1f, -0x1.fe4366p-1f, 0x1.ff2294p-1f,
      0x1.f8bf38p-1f, -0x1.32798ap-1f}},
    {EQuality::kQuintic,
     false,
     {0x1.ff0d52p-1f, 0x1.028836p-1f, 0x1.fec3d2p-1f},
     {0x1.d68a1p-1f, 0x1p+0f, 0x1.fdfb94p-1f, -0x1p+0f, 0x1p+0f, -0x1.fe7ae6p-1f, -0x1p+0f, 0x1.efd908p-1f}},
    {EQuality::kQuintic,
     true,
     {0x1.ff79b2p-1f, 0x1.123a38p-1f, 0x1.ff4e12p-1f},
     {-0x1.d50518p-1f, 0x1p+0f, 0x1.de371cp-1f, -0x1p+0f, 0x1.fffff2p-1f, -0x1.ffff24p-1f, -0x1p+0f,
      0x1.ffff5ep-1f}},
};

TEST_P(GradientErrors, HardCellsComeCloseToTheBounds) {
    const auto& P = Internal::kFastNoisePermutations;
    for (const CHardCell& hard : kHardCells) {
        if (hard.m_Quality != GetParam().m_Quality) {
            continue;
        }
        std::array<float, 256> values{};
        for (uint32_t corner = 0; corner < 8; ++corner) {
            const uint32_t hash = P[P[corner >> 2] + (corner >> 1 & 1)] + (corner & 1);
            values[hash % 256] = hard.m_Corners[corner];
        }
        CListGenerator generator(values);
        m_Noise._ResetSampler(&generator);
        const auto& [x, y, z] = hard.m_Position;
        const double error = ErrorAt(x, y, z, hard.m_IsBatch);
        EXPECT_LE(error, Bound()) << (hard.m_IsBatch ? "batch" : "single");
        EXPECT_GE(error, 0.5 * Bound()) << (hard.m_IsBatch ? "batch" : "single");
    }
}

} // namespace
