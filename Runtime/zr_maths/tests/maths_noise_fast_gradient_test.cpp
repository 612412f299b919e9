// The first-order derivatives, of one position and of a batch.

#include "noise_reference.h"
#include "noise_test_support.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <ostream>
#include <random>
#include <sstream>
#include <string>
#include <vector>

namespace {

using namespace Vestrel;
using SIMD_Neon::Float4;

CRecord SplitOf(float x, float y, float z) {
    const Reference::CCell cellX = Reference::Split(x);
    const Reference::CCell cellY = Reference::Split(y);
    const Reference::CCell cellZ = Reference::Split(z);
    return {{cellX.m_Fraction, cellY.m_Fraction, cellZ.m_Fraction, 0.0f},
            {static_cast<int>(cellX.m_Coordinate), static_cast<int>(cellY.m_Coordinate),
             static_cast<int>(cellZ.m_Coordinate), 0}};
}

std::string TextOf(const CRecord& record) {
    std::ostringstream text;
    text << std::hexfloat << "fractions " << record.first.x << ", " << record.first.y << ", "
         << record.first.z << " in cell " << record.second.x << ", " << record.second.y << ", "
         << record.second.z;
    return text.str();
}

std::array<uint32_t, 3> BitsOf(float x, float y, float z) {
    return {CanonicalBits(x), CanonicalBits(y), CanonicalBits(z)};
}

template <typename TVector>
std::array<uint32_t, 3> BitsOf(const TVector& gradient) {
    return BitsOf(gradient.x, gradient.y, gradient.z);
}

/// The weight and the position of a double in its cell.
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

class GradientSamplers : public testing::TestWithParam<CPointSamplers> {
protected:
    CGradient SampleOneAt(float x, float y, float z, float lane3 = 0.0f) const {
        alignas(16) CGradient gradient;
        SIMD_Neon::StoreAligned(&gradient, (m_Noise.*GetParam().m_Gradient)(Float4(x, y, z, lane3)));
        return gradient;
    }

    void SampleBatch(const CRecord* records, uint32_t count, CGradient* gradients) const {
        // The count of the output is not read, and so may be none.
        (m_Noise.*GetParam().m_GradientBatch)({records, count}, {gradients, 0});
    }

    CGradient SampleBatchOfOne(const CRecord& record) const {
        CGradient gradient;
        SampleBatch(&record, 1, &gradient);
        return gradient;
    }

    TVector<float, 3> Expected(const CRecord& record, bool isBatch) const {
        return Reference::Gradient(
            m_Noise.Basis(), GetParam().m_Quality, isBatch, {record.first.x, record.first.y, record.first.z},
            static_cast<uint32_t>(record.second.x), static_cast<uint32_t>(record.second.y),
            static_cast<uint32_t>(record.second.z));
    }

    /// The field itself, free of the rounding of floats.
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

    /// The derivatives of the field, free of the rounding of floats, at fractions that may be exact.
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

    /// How far the gradient at a position, or at its record, is from that in double at the most.
    double ErrorAt(float x, float y, float z, bool isBatch) const {
        const auto fraction = [](float coordinate) {
            return static_cast<double>(coordinate) - std::floor(static_cast<double>(coordinate));
        };
        const CRecord record = SplitOf(x, y, z);
        const CGradient gradient = isBatch ? SampleBatchOfOne(record) : SampleOneAt(x, y, z);
        const std::array<double, 3> exact = GradientInDouble(record, {fraction(x), fraction(y), fraction(z)});
        return std::max({std::fabs(static_cast<double>(gradient.x) - exact[0]),
                         std::fabs(static_cast<double>(gradient.y) - exact[1]),
                         std::fabs(static_cast<double>(gradient.z) - exact[2])});
    }

    /// The greatest error that is promised, for values in [-1, 1]. It is what half a unit in the last place
    /// of each intermediate result comes to, and the errors of the fade and of its derivative: 19 and 31
    /// times 2^-24 in quintic quality, 1.3 and 4.7 in cubic.
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

    bool IsLinear() const {
        return GetParam().m_Quality == EQuality::kLinear;
    }

    COpenNoise m_Noise = EvenNoise();
};

INSTANTIATE_TEST_SUITE_P(All, GradientSamplers, testing::ValuesIn(kPointSamplers), CNameOfInstance());

std::vector<CRecord> RandomRecords(size_t count, uint32_t seed) {
    std::mt19937 random(seed);
    CCoordinates coordinates(seed);
    std::vector<CRecord> records(count);
    for (CRecord& record : records) {
        const auto cell = [&] { return static_cast<int>(random() % 256); };
        // Most fractions as they should be, some as they should not.
        const auto fraction = [&] {
            return random() % 8 == 0 ? coordinates.Next() : static_cast<float>(random() >> 8) * 0x1p-24f;
        };
        record = {{fraction(), fraction(), fraction(), coordinates.Next()},
                  {cell(), cell(), cell(), static_cast<int>(random())}};
    }
    return records;
}

TEST_P(GradientSamplers, SingleFormGivesTheBitsOfTheReferenceForEveryKindOfCoordinate) {
    CCoordinates coordinates(1000);
    for (int trial = 0; trial < 200000; ++trial) {
        const float x = coordinates.Next();
        const float y = coordinates.Next();
        const float z = coordinates.Next();
        ASSERT_EQ(BitsOf(SampleOneAt(x, y, z)), BitsOf(Expected(SplitOf(x, y, z), false)))
            << std::hexfloat << x << ", " << y << ", " << z;
    }
}

TEST_P(GradientSamplers, BatchFormGivesTheBitsOfTheReferenceAtEveryCount) {
    const std::vector<CRecord> records = RandomRecords(1000, 1001);
    for (const uint32_t count :
         {0u, 1u, 2u, 3u, 4u, 5u, 6u, 7u, 8u, 9u, 63u, 64u, 65u, 127u, 128u, 129u, 1000u}) {
        std::vector<CGradient> gradients(1002, {-7.0f, -7.0f, -7.0f, -7.0f});
        SampleBatch(records.data(), count, gradients.data() + 1);
        for (uint32_t k = 0; k < count; ++k) {
            ASSERT_EQ(BitsOf(gradients[k + 1]), BitsOf(Expected(records[k], true)))
                << "record " << k << " of " << count << ": " << TextOf(records[k]);
            ASSERT_EQ(CanonicalBits(gradients[k + 1].w), 0u);
        }
        EXPECT_EQ(gradients[0].x, -7.0f) << "wrote below the output";
        EXPECT_EQ(gradients[count + 1].x, -7.0f) << "wrote beyond the output";
    }
}

/// So many that wide kernels take a part, and that some are left.
constexpr uint32_t kSomeRecords = 139;

TEST_P(GradientSamplers, BatchFormTakesAnyAlignmentOfFloats) {
    const std::vector<CRecord> records = RandomRecords(kSomeRecords, 1002);
    for (size_t offset = 0; offset < 64; offset += 4) {
        alignas(64) unsigned char source[kSomeRecords * sizeof(CRecord) + 64];
        alignas(64) unsigned char target[kSomeRecords * sizeof(CGradient) + 64];
        std::memcpy(source + offset, records.data(), kSomeRecords * sizeof(CRecord));
        SampleBatch(reinterpret_cast<const CRecord*>(source + offset), kSomeRecords,
                    reinterpret_cast<CGradient*>(target + offset));
        for (size_t k = 0; k < kSomeRecords; ++k) {
            CGradient gradient;
            std::memcpy(&gradient, target + offset + k * sizeof(gradient), sizeof(gradient));
            ASSERT_EQ(BitsOf(gradient), BitsOf(Expected(records[k], true)))
                << "offset " << offset << ", " << k;
        }
    }
}

TEST_P(GradientSamplers, BatchFormMayWriteOverItsRecordsFromTheirStartOn) {
    const std::vector<CRecord> records = RandomRecords(kSomeRecords, 1003);
    alignas(16) unsigned char memory[kSomeRecords * sizeof(CRecord)];
    std::memcpy(memory, records.data(), sizeof(memory));
    SampleBatch(reinterpret_cast<const CRecord*>(memory), kSomeRecords, reinterpret_cast<CGradient*>(memory));
    for (size_t k = 0; k < kSomeRecords; ++k) {
        CGradient gradient;
        std::memcpy(&gradient, memory + k * sizeof(gradient), sizeof(gradient));
        ASSERT_EQ(BitsOf(gradient), BitsOf(Expected(records[k], true))) << k;
    }
}

TEST_P(GradientSamplers, NoCellsWriteNothingWhateverTheOutput) {
    SampleBatch(nullptr, 0, nullptr);
    SampleBatch(nullptr, 0, reinterpret_cast<CGradient*>(uintptr_t{4}));
}

TEST_P(GradientSamplers, FormsAgreeUpToRounding) {
    std::mt19937 random(1004);
    const auto coordinate = [&] { return static_cast<float>(random() >> 8) * 0x1p-24f * 512.0f - 256.0f; };
    for (int trial = 0; trial < 50000; ++trial) {
        const float x = coordinate();
        const float y = coordinate();
        const float z = coordinate();
        const CGradient one = SampleOneAt(x, y, z);
        const CGradient batch = SampleBatchOfOne(SplitOf(x, y, z));
        ASSERT_NEAR(one.x, batch.x, 1e-5f) << std::hexfloat << x << ", " << y << ", " << z;
        ASSERT_NEAR(one.y, batch.y, 1e-5f) << std::hexfloat << x << ", " << y << ", " << z;
        ASSERT_NEAR(one.z, batch.z, 1e-5f) << std::hexfloat << x << ", " << y << ", " << z;
    }
}

TEST_P(GradientSamplers, AreTheDifferencesOfTheFieldInDouble) {
    // Central differences: their own error is the third derivative, at most 2 * 60 here, by h^2 / 6.
    constexpr double kStep = 1e-4;
    std::mt19937 random(1005);
    const auto coordinate = [&] { return static_cast<float>(random() >> 8) * 0x1p-24f * 16.0f - 8.0f; };
    for (int trial = 0; trial < 20000; ++trial) {
        const float x = coordinate();
        const float y = coordinate();
        const float z = coordinate();
        const CRecord record = SplitOf(x, y, z);
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

TEST_P(GradientSamplers, AreTheExactDerivativesWithinTheirBounds) {
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
        // Near the upper end of a cell the fade is off the most; just below 0 the fraction rounds, too.
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

/// Of all corners and positions that a search by chance came to, those that are off the most.
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

TEST_P(GradientSamplers, HardCellsComeNearTheBounds) {
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

TEST_P(GradientSamplers, LatticePointsGiveTheFirstDifferencesOrNothing) {
    for (const int cell : {0, 3, 254, 255}) {
        const float* const B = m_Noise.Basis();
        const auto& c = Reference::CornersOf(B, static_cast<uint32_t>(cell), 8, 254).c;
        const float position = static_cast<float>(cell);
        for (const CGradient& gradient :
             {SampleOneAt(position, 8.0f, -2.0f), SampleBatchOfOne({{0, 0, 0, 0}, {cell, 8, 254, 0}})}) {
            if (IsLinear()) {
                EXPECT_EQ(gradient.x, c[1][0][0] - c[0][0][0]);
                EXPECT_EQ(gradient.y, c[0][1][0] - c[0][0][0]);
                EXPECT_EQ(gradient.z, c[0][0][1] - c[0][0][0]);
            } else {
                EXPECT_EQ(gradient.x, 0.0f);
                EXPECT_EQ(gradient.y, 0.0f);
                EXPECT_EQ(gradient.z, 0.0f);
            }
        }
    }
}

TEST_P(GradientSamplers, AFractionOfExactlyOneGivesNothingButInLinearQuality) {
    // -1e-10 lies in cell 255, at a fraction that rounds to 1.
    ASSERT_EQ(Reference::Split(-1e-10f).m_Fraction, 1.0f);
    const CGradient one = SampleOneAt(-1e-10f, -1e-10f, -1e-10f);
    const CGradient batch = SampleBatchOfOne({{1.0f, 1.0f, 1.0f, 0.0f}, {255, 255, 255, 0}});
    for (const CGradient& gradient : {one, batch}) {
        EXPECT_EQ(gradient.x == 0.0f, !IsLinear());
        EXPECT_EQ(gradient.y == 0.0f, !IsLinear());
        EXPECT_EQ(gradient.z == 0.0f, !IsLinear());
    }
    // Each axis by itself.
    EXPECT_NE(SampleOneAt(-1e-10f, 0.5f, -1e-10f).y, 0.0f);
}

TEST(LinearGradient, AlongXIsConstantInXAndJumpsAtTheFace) {
    const COpenNoise noise = EvenNoise();
    const auto ofOne = [&](float x) {
        return SIMD_Neon::ExtractLane<0>(
            noise.Sample1stOrderDerivativesLinear(Float4(x, 8.25f, -2.5f, 0.0f)));
    };
    const auto ofBatch = [&](float x) {
        const CRecord record = SplitOf(x, 8.25f, -2.5f);
        CGradient gradient;
        noise.Sample1stOrderDerivativesLinear({&record, 1}, {&gradient, 1});
        return gradient.x;
    };
    for (const float x : {3.125f, 3.5f, 3.75f, 3.999f}) {
        EXPECT_EQ(CanonicalBits(ofOne(x)), CanonicalBits(ofOne(3.0f))) << x;
        EXPECT_EQ(CanonicalBits(ofBatch(x)), CanonicalBits(ofBatch(3.0f))) << x;
    }
    EXPECT_NE(ofOne(4.0f), ofOne(3.0f));
    EXPECT_NE(ofBatch(4.0f), ofBatch(3.0f));
}

// The derivative along an axis depends on its own fraction by the fade alone, of which linear quality has
// none.
TEST_P(GradientSamplers, AFractionThatIsNotANumberSpoilsTheDerivativesThatDependOnItAndNoOtherRecord) {
    constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
    for (size_t bad = 0; bad < 3; ++bad) {
        float position[3] = {3.25f, 8.5f, -2.75f};
        std::vector<CRecord> records(5, SplitOf(position[0], position[1], position[2]));
        position[bad] = kNan;
        float fractions[3] = {0.25f, 0.5f, 0.25f};
        fractions[bad] = kNan;
        records[2].first = {fractions[0], fractions[1], fractions[2], 0.0f};
        std::vector<CGradient> gradients(5);
        SampleBatch(records.data(), 5, gradients.data());
        for (const CGradient& gradient : {SampleOneAt(position[0], position[1], position[2]), gradients[2]}) {
            EXPECT_EQ(std::isnan(gradient.x), !IsLinear() || bad != 0) << "not-a-number on axis " << bad;
            EXPECT_EQ(std::isnan(gradient.y), !IsLinear() || bad != 1) << "not-a-number on axis " << bad;
            EXPECT_EQ(std::isnan(gradient.z), !IsLinear() || bad != 2) << "not-a-number on axis " << bad;
        }
        for (const size_t other : {0u, 1u, 3u, 4u}) {
            EXPECT_FALSE(std::isnan(gradients[other].x + gradients[other].y + gradients[other].z)) << other;
        }
    }
}

TEST_P(GradientSamplers, LaneThreeNeverChangesTheGradientAndIsZero) {
    CCoordinates coordinates(1006);
    for (int trial = 0; trial < 20000; ++trial) {
        const float x = coordinates.Next();
        const float y = coordinates.Next();
        const float z = coordinates.Next();
        const float lane3 = coordinates.Next();
        const CGradient gradient = SampleOneAt(x, y, z, lane3);
        ASSERT_EQ(BitsOf(gradient), BitsOf(SampleOneAt(x, y, z))) << lane3;
        ASSERT_EQ(CanonicalBits(gradient.w), 0u) << lane3;
    }
    std::vector<CRecord> records = RandomRecords(7, 1007);
    std::vector<CGradient> before(7);
    std::vector<CGradient> after(7);
    SampleBatch(records.data(), 7, before.data());
    for (CRecord& record : records) {
        record.first.w = std::numeric_limits<float>::quiet_NaN();
        record.second.w = -1000000;
    }
    SampleBatch(records.data(), 7, after.data());
    for (size_t k = 0; k < 7; ++k) {
        EXPECT_EQ(BitsOf(before[k]), BitsOf(after[k])) << k;
    }
}

TEST_P(GradientSamplers, RepeatEvery256Cells) {
    const std::array<uint32_t, 3> expected = BitsOf(SampleOneAt(0.5f, 0.25f, 0.75f));
    EXPECT_EQ(BitsOf(SampleOneAt(256.5f, 0.25f, 0.75f)), expected);
    EXPECT_EQ(BitsOf(SampleOneAt(0.5f, -255.75f, 0.75f)), expected);
    EXPECT_EQ(BitsOf(SampleOneAt(0.5f, 0.25f, 512.75f)), expected);
}

} // namespace
