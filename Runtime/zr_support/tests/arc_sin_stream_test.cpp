// The arcsine in full precision. stream_exhaustive_test.cpp shows that it is correctly rounded for every
// float.

#include "stream_test_support.h"

#include <zr_support/simd_streams.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>

#if defined(__SSE2__)
#include <xmmintrin.h>
#endif

namespace {

using namespace Vestrel;
using SIMD_Neon::FullPrecision::ArcSin;
using SIMD_Neon::FullPrecision::ArcSinStream_Aligned16;

TEST(ArcSinStream, LanesGiveTheBitsOfOneFloat) {
    VisitFloats(ArcSinStream_Aligned16, [](const CStreamBlock& block) {
        for (size_t k = 0; k < kBlock; ++k) {
            ASSERT_EQ(CanonicalBits(block.m_Out[k]), CanonicalBits(ArcSin(block.m_In[k])))
                << std::hexfloat << block.m_In[k];
        }
    });
}

TEST(ArcSinStream, IsTheRoundedArcsineInDouble) {
    VisitFloats(ArcSinStream_Aligned16, [](const CStreamBlock& block) {
        for (size_t k = 0; k < kBlock; ++k) {
            // If double cannot decide, both neighbours are accepted; this does not happen for these floats.
            const double exact = std::asin(static_cast<double>(block.m_In[k]));
            ASSERT_EQ(CanonicalBits(block.m_Out[k]), CanonicalBits(static_cast<float>(exact)))
                << std::hexfloat << block.m_In[k];
        }
    });
}

TEST(ArcSinStream, EndsAreHalfPi) {
    EXPECT_EQ(ArcSin(1.0f), 1.57079637f);
    EXPECT_EQ(ArcSin(-1.0f), -1.57079637f);
    EXPECT_EQ(CanonicalBits(ArcSin(0.5f)), CanonicalBits(0.523598790f)); // pi/6
    EXPECT_EQ(CanonicalBits(ArcSin(0.0f)), CanonicalBits(0.0f));
    EXPECT_EQ(CanonicalBits(ArcSin(-0.0f)), CanonicalBits(-0.0f));
}

// Of all arcsines of floats, this one is closest to the midpoint between two floats: 7e-10 units in the last
// place away. MPFR decides on which side; double cannot.
TEST(ArcSinStream, RoundsTheHardestCaseCorrectly) {
    EXPECT_EQ(ArcSin(0x1.107434p-1f), 0x1.1f4b64p-1f);
}

// Arcsines that change if a coefficient changes by a millionth; expected values by MPFR.
TEST(ArcSinStream, DependsOnTheLastDigitsOfItsCoefficients) {
    EXPECT_EQ(ArcSin(0x1.ba793ap-2f), 0x1.c98c18p-2f);
    EXPECT_EQ(ArcSin(0x1.18bb94p-1f), 0x1.2921fcp-1f);
    EXPECT_EQ(ArcSin(0x1.6fe272p-2f), 0x1.784bf4p-2f);
    EXPECT_EQ(ArcSin(0x1.7136c8p-2f), 0x1.79b8bcp-2f);
}

TEST(ArcSinStream, IsOddToTheBit) {
    VisitFloats(ArcSinStream_Aligned16, [](const CStreamBlock& block) {
        for (size_t k = 0; k < kBlock; ++k) {
            ASSERT_EQ(CanonicalBits(ArcSin(-block.m_In[k])), CanonicalBits(-block.m_Out[k]))
                << std::hexfloat << block.m_In[k];
        }
    });
}

TEST(ArcSinStream, SmallFloatsAreUnchanged) {
    for (const float small : {0x1p-149f, 0x1.fffffcp-127f, 0x1p-126f, 1e-20f, 0x1.fffffep-13f}) {
        EXPECT_EQ(CanonicalBits(ArcSin(small)), CanonicalBits(small)) << std::hexfloat << small;
        EXPECT_EQ(CanonicalBits(ArcSin(-small)), CanonicalBits(-small)) << std::hexfloat << -small;
    }
}

#if defined(__SSE2__)
// A program may be linked so that computed denormals are flushed; copied ones are not.
TEST(ArcSinStream, DenormalsAreKeptWhileResultsAreFlushed) {
    constexpr uint32_t kBits[4] = {1, 0x80000001u, 0x007FFFFFu, 0x807FFFFFu};
    alignas(16) float in[4];
    alignas(16) float out[4];
    float alone[4];
    std::memcpy(in, kBits, sizeof(in));
    const unsigned control = _mm_getcsr();
    _mm_setcsr(control | 0x8040u); // results to zero, and inputs
    ArcSinStream_Aligned16(in, out, 4);
    for (size_t k = 0; k < 4; ++k) {
        alone[k] = ArcSin(in[k]);
    }
    _mm_setcsr(control);
    EXPECT_EQ(std::memcmp(out, kBits, sizeof(out)), 0);
    EXPECT_EQ(std::memcmp(alone, kBits, sizeof(alone)), 0);
}
#endif

TEST(ArcSinStream, OutsideTheDomainOnlyItsLaneIsNan) {
    const float infinity = std::numeric_limits<float>::infinity();
    const float nan = std::numeric_limits<float>::quiet_NaN();
    for (const float outside : {0x1.000002p0f, 2.0f, 1e38f, infinity, nan}) {
        for (const float sign : {1.0f, -1.0f}) {
            for (size_t lane = 0; lane < 4; ++lane) {
                alignas(16) float in[4] = {0.25f, -0.75f, 1e-30f, 1.0f};
                alignas(16) float out[4];
                in[lane] = outside * sign;
                ArcSinStream_Aligned16(in, out, 4);
                for (size_t k = 0; k < 4; ++k) {
                    EXPECT_EQ(std::isnan(out[k]), k == lane) << outside * sign << " in lane " << lane;
                }
            }
        }
    }
}

TEST(ArcSinStream, WritesExactlyAnyMultipleOfFour) {
    float in[32];
    for (size_t k = 0; k < 32; ++k) {
        in[k] = (static_cast<float>(k) - 16.0f) / 16.0f;
    }
    ExpectMultiplesOfFour(ArcSinStream_Aligned16, ArcSin, in);
}

// One hash for all configurations and platforms.
TEST(ArcSinStream, GivesTheSameBitsOnEveryPlatform) {
    EXPECT_EQ(HashOfStream(ArcSinStream_Aligned16), 0x2e17edbade06402du)
        << std::hex << HashOfStream(ArcSinStream_Aligned16);
}

} // namespace
