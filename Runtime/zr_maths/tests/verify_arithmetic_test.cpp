#include <zr_maths/verify_arithmetic.h>

#include "unpinned_caller.h"
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
using SIMD_Neon::Float4;

TEST(VerifyArithmetic, HoldsInTheDefaultEnvironment) {
    EXPECT_TRUE(VerifyArithmetic()) << std::hex << "the hash is 0x" << Internal::HashOfOperations();
    EXPECT_TRUE(VerifyArithmetic()) << "called again";
}

TEST(VerifyCallerArithmetic, HoldsInTheDefaultEnvironment) {
    EXPECT_TRUE(VerifyCallerArithmetic());
}

TEST(VerifyArithmetic, DetectsOtherRoundingModes) {
    for (const int rounding : {FE_TOWARDZERO, FE_UPWARD, FE_DOWNWARD}) {
        if (std::fesetround(rounding) != 0) {
            GTEST_SKIP() << "this processor cannot round in mode " << rounding;
        }
        const bool holds = VerifyArithmetic();
        const bool callerHolds = VerifyCallerArithmetic();
        std::fesetround(FE_TONEAREST);
        EXPECT_FALSE(holds) << "rounding mode " << rounding;
        EXPECT_FALSE(callerHolds) << "rounding mode " << rounding;
        EXPECT_TRUE(VerifyArithmetic()) << "after rounding mode " << rounding;
        EXPECT_TRUE(VerifyCallerArithmetic()) << "after rounding mode " << rounding;
    }
}

TEST(VerifyCallerArithmetic, DetectsFusedOperations) {
#if defined(__x86_64__)
    if (!__builtin_cpu_supports("fma")) {
        GTEST_SKIP() << "this processor has no fused operations";
    }
#endif
    EXPECT_FALSE(VerifyUnpinnedCaller());
}

/// a * b + c as computed if values were passed to the library with other lanes.
template <int k0, int k1, int k2, int k3>
Float4 WithShuffledArgument(const Float4* a, Float4 b, Float4 c) {
    return SIMD_Neon::_MultiplyAdd(a, SIMD_Neon::ShuffleLanes<k0, k1, k2, k3>(b), c);
}

template <int k0, int k1, int k2, int k3>
Float4 WithShuffledResult(const Float4* a, Float4 b, Float4 c) {
    return SIMD_Neon::ShuffleLanes<k0, k1, k2, k3>(SIMD_Neon::_MultiplyAdd(a, b, c));
}

Float4 WithExchangedArguments(const Float4* a, Float4 b, Float4 c) {
    return SIMD_Neon::_MultiplyAdd(a, c, b);
}

/// In a function of its own: inlined into each call, it takes minutes to compile with sanitizers.
[[gnu::noinline]] bool HoldsWith(Float4 (*multiplyAdd)(const Float4*, Float4, Float4)) {
    return Internal::CallerArithmeticHolds(multiplyAdd);
}

TEST(VerifyCallerArithmetic, DetectsChangedLanes) {
    EXPECT_TRUE(HoldsWith(WithShuffledArgument<0, 1, 2, 3>));
    EXPECT_FALSE(HoldsWith(WithShuffledArgument<1, 2, 3, 0>));
    EXPECT_FALSE(HoldsWith(WithShuffledArgument<0, 1, 2, 2>)) << "the last lane is lost";
    EXPECT_FALSE(HoldsWith(WithShuffledResult<2, 3, 0, 1>));
    EXPECT_FALSE(HoldsWith(WithShuffledResult<0, 0, 2, 3>)) << "the second lane is lost";
    EXPECT_FALSE(HoldsWith(WithExchangedArguments));
}

#if defined(__SSE2__) || defined(__aarch64__)

/// The control register for denormals, and its modes.
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

TEST(VerifyArithmetic, DetectsFlushedDenormals) {
    const CControl usual = Control();
    for (const CControl mode : kModes) {
        SetControl(usual | mode);
        const bool holds = VerifyArithmetic();
        const bool callerHolds = VerifyCallerArithmetic();
        SetControl(usual);
        EXPECT_FALSE(holds) << std::hex << "mode 0x" << mode;
        EXPECT_FALSE(callerHolds) << std::hex << "mode 0x" << mode;
        EXPECT_TRUE(VerifyArithmetic()) << std::hex << "after mode 0x" << mode;
        EXPECT_TRUE(VerifyCallerArithmetic()) << std::hex << "after mode 0x" << mode;
    }
}

TEST(VerifyArithmetic, ChecksOnlyItsOwnThread) {
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
