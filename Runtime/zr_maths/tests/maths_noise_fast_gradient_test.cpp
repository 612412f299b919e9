// First-order derivatives, of one position and of a batch.

#include "gradient_test_support.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <random>
#include <vector>

namespace {

using namespace Vestrel;
using SIMD_Neon::Float4;

INSTANTIATE_TEST_SUITE_P(All, GradientSamplers, testing::ValuesIn(kPointSamplers), CNameOfInstance());

std::array<uint32_t, 3> BitsOf(float x, float y, float z) {
    return {CanonicalBits(x), CanonicalBits(y), CanonicalBits(z)};
}

template <typename TVector>
std::array<uint32_t, 3> BitsOf(const TVector& gradient) {
    return BitsOf(gradient.x, gradient.y, gradient.z);
}

std::vector<CRecord> RandomRecords(size_t count, uint32_t seed) {
    std::mt19937 random(seed);
    CCoordinates coordinates(seed);
    std::vector<CRecord> records(count);
    for (CRecord& record : records) {
        const auto cell = [&] { return static_cast<int>(random() % 256); };
        // Most fractions are in [0, 1), some are of any kind.
        const auto fraction = [&] {
            return random() % 8 == 0 ? coordinates.Next() : static_cast<float>(random() >> 8) * 0x1p-24f;
        };
        record = {{fraction(), fraction(), fraction(), coordinates.Next()},
                  {cell(), cell(), cell(), static_cast<int>(random())}};
    }
    return records;
}

TEST_P(GradientSamplers, SingleFormGivesTheBitsOfTheReference) {
    CCoordinates coordinates(1000);
    for (int trial = 0; trial < 200000; ++trial) {
        const float x = coordinates.Next();
        const float y = coordinates.Next();
        const float z = coordinates.Next();
        ASSERT_EQ(BitsOf(SampleOneAt(x, y, z)), BitsOf(Expected(Reference::RecordOf(x, y, z), false)))
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

/// Enough for wide kernels, with some records left.
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

TEST_P(GradientSamplers, BatchFormMayOverwriteItsRecords) {
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

TEST_P(GradientSamplers, NoCellsWriteNothing) {
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
        const CGradient batch = SampleBatchOfOne(Reference::RecordOf(x, y, z));
        ASSERT_NEAR(one.x, batch.x, 1e-5f) << std::hexfloat << x << ", " << y << ", " << z;
        ASSERT_NEAR(one.y, batch.y, 1e-5f) << std::hexfloat << x << ", " << y << ", " << z;
        ASSERT_NEAR(one.z, batch.z, 1e-5f) << std::hexfloat << x << ", " << y << ", " << z;
    }
}

TEST_P(GradientSamplers, LatticePointsGiveDifferencesOrZero) {
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

TEST_P(GradientSamplers, FractionOneGivesZeroExceptInLinearQuality) {
    // -1e-10 lies in cell 255 with a fraction that rounds to 1.
    ASSERT_EQ(Reference::Split(-1e-10f).m_Fraction, 1.0f);
    const CGradient one = SampleOneAt(-1e-10f, -1e-10f, -1e-10f);
    const CGradient batch = SampleBatchOfOne({{1.0f, 1.0f, 1.0f, 0.0f}, {255, 255, 255, 0}});
    for (const CGradient& gradient : {one, batch}) {
        EXPECT_EQ(gradient.x == 0.0f, !IsLinear());
        EXPECT_EQ(gradient.y == 0.0f, !IsLinear());
        EXPECT_EQ(gradient.z == 0.0f, !IsLinear());
    }
    // Axes are independent.
    EXPECT_NE(SampleOneAt(-1e-10f, 0.5f, -1e-10f).y, 0.0f);
}

TEST(LinearGradient, AlongXIsConstantInXAndJumpsAtTheFace) {
    const COpenNoise noise = EvenNoise();
    const auto ofOne = [&](float x) {
        return SIMD_Neon::ExtractLane<0>(
            noise.Sample1stOrderDerivativesLinear(Float4(x, 8.25f, -2.5f, 0.0f)));
    };
    const auto ofBatch = [&](float x) {
        const CRecord record = Reference::RecordOf(x, 8.25f, -2.5f);
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

// A linear derivative does not depend on the fraction along its own axis.
TEST_P(GradientSamplers, ANanFractionAffectsOnlyDerivativesThatDependOnIt) {
    constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
    for (size_t bad = 0; bad < 3; ++bad) {
        float position[3] = {3.25f, 8.5f, -2.75f};
        std::vector<CRecord> records(5, Reference::RecordOf(position[0], position[1], position[2]));
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

TEST_P(GradientSamplers, Lane3IsIgnoredAndZeroInResults) {
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
