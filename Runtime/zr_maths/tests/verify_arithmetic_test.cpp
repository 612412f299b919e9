#include <zr_maths/verify_arithmetic.h>

#include "verify_arithmetic_hash.h"

#include <gtest/gtest.h>

#include <cfenv>
#include <cstdint>
#include <thread>

#if defined(__SSE2__)
#include <immintrin.h>
#endif

namespace {

using namespace Vestrel;

TEST(VerifyArithmetic, HoldsInTheDefaultEnvironment) {
    EXPECT_TRUE(VerifyArithmetic()) << std::hex << "the hash is 0x" << Internal::HashOfOperations();
    EXPECT_TRUE(VerifyArithmetic()) << "called again";
}

TEST(VerifyArithmetic, NoticesEveryOtherRounding) {
    for (const int rounding : {FE_TOWARDZERO, FE_UPWARD, FE_DOWNWARD}) {
        if (std::fesetround(rounding) != 0) {
            GTEST_SKIP() << "this processor cannot round in mode " << rounding;
        }
        const bool holds = VerifyArithmetic();
        std::fesetround(FE_TONEAREST);
        EXPECT_FALSE(holds) << "rounding mode " << rounding;
        EXPECT_TRUE(VerifyArithmetic()) << "after rounding mode " << rounding;
    }
}

#if defined(__SSE2__) || defined(__aarch64__)

/// The register that says what becomes of denormals, and its modes.
#if defined(__SSE2__)
using CControl = uint32_t;
constexpr CControl kFlushResults = 0x8000;
constexpr CControl kZeroOperands = 0x0040;
constexpr CControl kModes[] = {kFlushResults, kZeroOperands, kFlushResults | kZeroOperands};

CControl Control() {
    return _mm_getcsr();
}

void SetControl(CControl value) {
    _mm_setcsr(value);
}
#else
using CControl = uint64_t;
constexpr CControl kModes[] = {CControl{1} << 24}; // results and operands at once

CControl Control() {
    CControl value;
    asm volatile("mrs %0, fpcr" : "=r"(value));
    return value;
}

void SetControl(CControl value) {
    asm volatile("msr fpcr, %0" : : "r"(value));
}
#endif

TEST(VerifyArithmetic, NoticesWhatFlushesDenormals) {
    const CControl usual = Control();
    for (const CControl mode : kModes) {
        SetControl(usual | mode);
        const bool holds = VerifyArithmetic();
        SetControl(usual);
        EXPECT_FALSE(holds) << std::hex << "mode 0x" << mode;
        EXPECT_TRUE(VerifyArithmetic()) << std::hex << "after mode 0x" << mode;
    }
}

TEST(VerifyArithmetic, SpeaksOfItsOwnThreadAlone) {
    bool holdsThere = true;
    std::thread([&] {
        SetControl(Control() | kModes[0]);
        holdsThere = VerifyArithmetic();
    }).join();
    EXPECT_FALSE(holdsThere);
    EXPECT_TRUE(VerifyArithmetic());
}

#endif

} // namespace
