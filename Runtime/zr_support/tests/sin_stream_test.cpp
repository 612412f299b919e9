// The sine in reduced precision. stream_exhaustive_test.cpp checks its promises for every float.

#include "stream_test_support.h"

#include <zr_support/simd_streams.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>

namespace {

using namespace Vestrel;
using SIMD_Neon::LowPrecision::Sin;
using SIMD_Neon::LowPrecision::SinStream_Aligned16;

constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr float kNan = std::numeric_limits<float>::quiet_NaN();

TEST(SinStream, LanesGiveTheBitsOfOneFloat) {
    VisitFloats(SinStream_Aligned16, [](const CStreamBlock& block) {
        for (size_t k = 0; k < kBlock; ++k) {
            ASSERT_EQ(CanonicalBits(block.m_Out[k]), CanonicalBits(Sin(block.m_In[k])))
                << std::hexfloat << block.m_In[k];
        }
    });
}

TEST(SinStream, IsWithinAMillionthOfTheSine) {
    VisitFloats(SinStream_Aligned16, [](const CStreamBlock& block) {
        for (size_t k = 0; k < kBlock; ++k) {
            if (std::isfinite(block.m_In[k])) {
                ASSERT_NEAR(block.m_Out[k], std::sin(static_cast<double>(block.m_In[k])), 1e-6)
                    << std::hexfloat << block.m_In[k];
                ASSERT_LE(std::fabs(block.m_Out[k]), 1.0f) << std::hexfloat << block.m_In[k];
            } else {
                ASSERT_TRUE(std::isnan(block.m_Out[k])) << std::hexfloat << block.m_In[k];
            }
        }
    });
}

TEST(SinStream, IsOddToTheBit) {
    VisitFloats(SinStream_Aligned16, [](const CStreamBlock& block) {
        for (size_t k = 0; k < kBlock; ++k) {
            ASSERT_EQ(CanonicalBits(Sin(-block.m_In[k])), CanonicalBits(-block.m_Out[k]))
                << std::hexfloat << block.m_In[k];
        }
    });
}

TEST(SinStream, ZerosKeepTheirSign) {
    EXPECT_EQ(CanonicalBits(Sin(0.0f)), CanonicalBits(0.0f));
    EXPECT_EQ(CanonicalBits(Sin(-0.0f)), CanonicalBits(-0.0f));
}

TEST(SinStream, InfinitiesAndNanAffectOnlyTheirLane) {
    for (const float bad : {kInfinity, -kInfinity, kNan, -kNan}) {
        for (size_t lane = 0; lane < 4; ++lane) {
            alignas(16) float in[4] = {1.0f, 1e30f, -2.0f, -1e5f};
            alignas(16) float out[4];
            in[lane] = bad;
            SinStream_Aligned16(in, out, 4);
            for (size_t k = 0; k < 4; ++k) {
                EXPECT_EQ(std::isnan(out[k]), k == lane) << bad << " in lane " << lane << ", lane " << k;
                EXPECT_EQ(CanonicalBits(out[k]), CanonicalBits(Sin(in[k])));
            }
        }
    }
}

/// The stream's sine of an angle in `lane`, next to near and far angles; NaN if their sines change.
float SinInLane(float angle, uint32_t lane) {
    alignas(16) float in[4] = {1.0f, 1e6f, -2.0f, -1e30f};
    alignas(16) float out[4];
    in[lane] = angle;
    SinStream_Aligned16(in, out, 4);
    for (uint32_t k = 0; k < 4; ++k) {
        if (k != lane && out[k] != Sin(in[k])) {
            return kNan;
        }
    }
    return out[lane];
}

// Around 2^14, where Payne-Hanek reduction begins, and where the number of half turns changes.
TEST(SinStream, IsAccurateWhereTheReductionChanges) {
    for (const float centre :
         {0x1p14f, 1.5707964f, 3.1415927f, 4.712389f, 6.2831855f, 5213.5f * 3.1415927f}) {
        float angle = centre;
        for (int k = 0; k < 2000; ++k) {
            angle = std::nextafter(angle, 0.0f);
        }
        for (uint32_t k = 0; k < 4000; ++k) {
            ASSERT_NEAR(Sin(angle), std::sin(static_cast<double>(angle)), 4e-7) << std::hexfloat << angle;
            ASSERT_LE(std::fabs(Sin(angle)), 1.0f) << std::hexfloat << angle;
            ASSERT_EQ(CanonicalBits(SinInLane(angle, k % 4)), CanonicalBits(Sin(angle)))
                << std::hexfloat << angle;
            ASSERT_EQ(CanonicalBits(SinInLane(-angle, k % 4)), CanonicalBits(Sin(-angle)))
                << std::hexfloat << -angle;
            angle = std::nextafter(angle, kInfinity);
        }
    }
}

// Both reductions differ by one bit here, which shows which one is used.
TEST(SinStream, TheFirstFarAngleUsesPayneHanekReduction) {
    EXPECT_EQ(Sin(16384.0f), -0x1.1eb04p-1f) << std::hexfloat << Sin(16384.0f);
    EXPECT_EQ(SinInLane(16384.0f, 2), -0x1.1eb04p-1f) << std::hexfloat << SinInLane(16384.0f, 2);
}

// Of all floats, 16367173 * 2^72 is closest to a multiple of pi/2, about 2^-29 away (J.-M. Muller,
// "Elementary Functions", chapter on range reduction).
TEST(SinStream, IsAccurateForTheHardestAngles) {
    for (const float angle : {16367173.0f * 0x1p72f, 0x1.fffffep127f, 0x1p127f, 0x1p120f}) {
        EXPECT_NEAR(Sin(angle), std::sin(static_cast<double>(angle)), 4e-7) << std::hexfloat << angle;
    }
}

TEST(SinStream, WritesExactlyAnyMultipleOfFour) {
    float in[32];
    for (size_t k = 0; k < 32; ++k) {
        in[k] = static_cast<float>(k) * (k % 3 == 0 ? 0.7f : 3e6f);
    }
    ExpectMultiplesOfFour(SinStream_Aligned16, Sin, in);
}

// One hash for all configurations and platforms.
TEST(SinStream, GivesTheSameBitsOnEveryPlatform) {
    EXPECT_EQ(HashOfStream(SinStream_Aligned16), 0xb72197ddf678ce0au)
        << std::hex << HashOfStream(SinStream_Aligned16);
}

} // namespace
