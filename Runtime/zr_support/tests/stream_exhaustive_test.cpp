// The streams, for every float.

#include "instruction_sets.h"
#include "stream_test_support.h"

#include <zr_support/simd_streams.h>

#include <gtest/gtest.h>
#include <mpfr.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <vector>

namespace {

using namespace Vestrel;
using SIMD_Neon::FullPrecision::ArcSinStream_Aligned16;
using SIMD_Neon::LowPrecision::SinStream_Aligned16;

/// With every instruction set, negating the inputs of a block negates its outputs and changes nothing else.
void ExpectOdd(CStream stream, const CStreamBlock& block) {
    static const std::vector<EInstructionSet> sets = SupportedInstructionSets();
    static CStreamBlock negative;
    for (size_t k = 0; k < kBlock; ++k) {
        negative.m_In[k] = -block.m_In[k];
    }
    for (const EInstructionSet set : sets) {
        const CSelectedInstructionSet selected(set);
        stream(negative.m_In.data(), negative.m_Out.data(), kBlock);
        uint32_t differences = 0;
        for (size_t k = 0; k < kBlock; ++k) {
            differences |= CanonicalBits(negative.m_Out[k]) ^ CanonicalBits(-block.m_Out[k]);
        }
        ASSERT_EQ(differences, 0u) << Internal::NameOf(set) << ", in the block from " << std::hexfloat
                                   << block.m_In[0];
    }
}

/// The arcsine by MPFR, correctly rounded.
float ArcSinByMpfr(float x) {
    mpfr_t value;
    mpfr_init2(value, 24);
    mpfr_set_flt(value, x, MPFR_RNDN);
    mpfr_asin(value, value, MPFR_RNDN);
    const float result = mpfr_get_flt(value, MPFR_RNDN);
    mpfr_clear(value);
    return result;
}

// The C library's double has a relative error below 2^-51, enough to round nearly all arcsines; MPFR decides
// the others.
TEST(ArcSinStreamExhaustive, IsCorrectlyRoundedForEveryFloat) {
    static CStreamBlock block;
    int openCount = 0;
    const uint32_t one = std::bit_cast<uint32_t>(1.0f);
    for (uint32_t first = 0; first <= one; first += kBlock) {
        block.Run(ArcSinStream_Aligned16, first, 1);
        for (size_t k = 0; k < kBlock && block.m_In[k] <= 1.0f; ++k) {
            const double exact = std::asin(static_cast<double>(block.m_In[k]));
            float expected = static_cast<float>(exact * (1.0 - 0x1p-51));
            if (expected != static_cast<float>(exact * (1.0 + 0x1p-51))) {
                expected = ArcSinByMpfr(block.m_In[k]);
                ++openCount;
            }
            ASSERT_EQ(CanonicalBits(block.m_Out[k]), CanonicalBits(expected))
                << std::hexfloat << block.m_In[k];
        }
        ExpectOdd(ArcSinStream_Aligned16, block);
    }
    EXPECT_GT(openCount, 0) << "double decided all arcsines, which is unlikely";
    EXPECT_LT(openCount, 1000);
    // MPFR agrees in easy cases.
    for (const float x : {0.1f, 0.5f, 0.75f, 1.0f}) {
        EXPECT_EQ(ArcSinByMpfr(x), static_cast<float>(std::asin(static_cast<double>(x))));
    }
}

TEST(ArcSinStreamExhaustive, EveryFloatOutsideTheDomainGivesNan) {
    static CStreamBlock block;
    const uint32_t first = std::bit_cast<uint32_t>(1.0f) + 1;
    for (uint64_t bits = first; bits < 0x80000000u; bits += kBlock) {
        block.Run(ArcSinStream_Aligned16,
                  static_cast<uint32_t>(std::min<uint64_t>(bits, 0x80000000u - kBlock)), 1);
        size_t numbers = 0;
        for (const float value : block.m_Out) {
            numbers += std::isnan(value) ? 0 : 1;
        }
        ASSERT_EQ(numbers, 0u) << "in the block from " << std::hexfloat << block.m_In[0];
        ExpectOdd(ArcSinStream_Aligned16, block);
    }
}

/// The sines and cosines, in double, of `count` multiples of an angle.
struct CMultiples {
    CMultiples(double angle, size_t count) : m_Sines(count), m_Cosines(count) {
        for (size_t k = 0; k < count; ++k) {
            m_Sines[k] = std::sin(angle * static_cast<double>(k));
            m_Cosines[k] = std::cos(angle * static_cast<double>(k));
        }
    }

    std::vector<double> m_Sines;
    std::vector<double> m_Cosines;
};

// The floats of a block differ from the first by up to 4095 units. So the C library computes only a few
// sines, and the angle sum formula the others, within 1e-15.
TEST(SinStreamExhaustive, HasTheDocumentedErrorForEveryFiniteFloat) {
    static CStreamBlock block;
    double worst = 0.0;
    float worstAngle = 0.0f;
    float greatest = 0.0f;
    for (uint32_t exponent = 0; exponent < 255; ++exponent) {
        const double unit = std::ldexp(1.0, static_cast<int>(std::max(exponent, 1u)) - 150);
        const CMultiples ofUnits(unit, kBlock);
        const CMultiples ofBlocks(unit * kBlock, 2 * 8388608 / kBlock);
        for (uint32_t number = 0; number < 8388608 / kBlock; ++number) {
            block.Run(SinStream_Aligned16, exponent << 23 | number * kBlock, 1);
            const size_t multiple = number + (exponent == 0 ? 0 : 8388608 / kBlock);
            const double sine = ofBlocks.m_Sines[multiple];
            const double cosine = ofBlocks.m_Cosines[multiple];
            double worstHere = 0.0;
            float greatestHere = 0.0f;
            float sum = 0.0f;
            const auto errorOf = [&](size_t k) {
                return std::fabs(static_cast<double>(block.m_Out[k]) -
                                 (sine * ofUnits.m_Cosines[k] + cosine * ofUnits.m_Sines[k]));
            };
            for (size_t k = 0; k < kBlock; ++k) {
                worstHere = std::max(worstHere, errorOf(k));
                greatestHere = std::max(greatestHere, std::fabs(block.m_Out[k]));
                sum += block.m_Out[k];
            }
            // std::max ignores NaN.
            ASSERT_TRUE(std::isfinite(sum)) << "in the block from " << std::hexfloat << block.m_In[0];
            ASSERT_LE(worstHere, 1e-6) << "in the block from " << std::hexfloat << block.m_In[0];
            ASSERT_LE(greatestHere, 1.0f) << "in the block from " << std::hexfloat << block.m_In[0];
            for (size_t k = 0; worstHere > worst && k < kBlock; ++k) {
                if (errorOf(k) == worstHere) {
                    worst = worstHere;
                    worstAngle = block.m_In[k];
                }
            }
            greatest = std::max(greatest, greatestHere);
            ExpectOdd(SinStream_Aligned16, block);
        }
    }
    EXPECT_EQ(greatest, 1.0f);
    // As documented in <zr_support/simd_streams.h>.
    EXPECT_NEAR(worst, 3.051e-7, 5e-11) << "at " << std::hexfloat << worstAngle;
    EXPECT_EQ(worstAngle, 0x1.b8652cp+13f) << std::hexfloat << worstAngle;
}

TEST(SinStreamExhaustive, EveryFloatThatIsNotFiniteGivesNan) {
    static CStreamBlock block;
    for (uint32_t first = 0x7F800000u; first < 0x80000000u; first += kBlock) {
        block.Run(SinStream_Aligned16, first, 1);
        for (const float value : block.m_Out) {
            ASSERT_TRUE(std::isnan(value)) << "in the block from bits " << std::hex << first;
        }
        ExpectOdd(SinStream_Aligned16, block);
    }
}

} // namespace
