// Linking with -ffast-math makes a program start with denormals flushed to 0, however its sources were
// compiled. Samples then break their promise, and VerifyArithmetic detects it.

#include "noise_test_support.h"

#include <zr_maths/verify_arithmetic.h>

#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <cfenv>
#include <cstdint>

namespace {

using namespace Vestrel;

/// Samples a denormal next to the origin of a field that is 0 there.
uint32_t BitsOfSampleAtDenormal() {
    constexpr size_t kEntryOfOrigin = 151; // the first number of the permutation
    std::array<float, 256> values = EvenValues();
    values[kEntryOfOrigin] = 0.0f;
    CListGenerator generator(values);
    const CFastNoise3 noise(&generator);
    const float position = 0x1p-130f;
    float sample;
    noise.SampleLinear1D({&sample, 1, sizeof(float)}, {&position, 1, sizeof(float)});
    return std::bit_cast<uint32_t>(sample);
}

bool DenormalsAreKept() {
    volatile float least = 0x1p-126f;
    return least * 0.5f != 0.0f;
}

TEST(FlushedDenormals, AreDetectedAndCanBeRestored) {
#if !defined(__x86_64__)
    if (DenormalsAreKept()) {
        GTEST_SKIP() << "there is nothing here that -ffast-math could have added";
    }
#endif
    ASSERT_FALSE(DenormalsAreKept()) << "this program was not linked with -ffast-math";
    EXPECT_FALSE(VerifyArithmetic());
    EXPECT_FALSE(VerifyCallerArithmetic());
    const uint32_t flushed = BitsOfSampleAtDenormal();
    ASSERT_EQ(std::fesetenv(FE_DFL_ENV), 0);
    EXPECT_TRUE(VerifyArithmetic());
    EXPECT_TRUE(VerifyCallerArithmetic());
    const uint32_t kept = BitsOfSampleAtDenormal();
    EXPECT_EQ(flushed & 0x7FFFFFFFu, 0u);
    EXPECT_NE(kept & 0x7FFFFFFFu, 0u);
}

} // namespace
