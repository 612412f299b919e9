#include <zr_support/simd_float4.h>

#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <random>
#include <type_traits>

namespace {

using namespace Vestrel::SIMD_Neon;

using CBits = std::array<uint32_t, 4>;

template <typename TLanes>
CBits BitsOf(TLanes value) {
    alignas(16) CBits bits;
    StoreAligned(bits.data(), value);
    return bits;
}

CBits BitsOf(float a, float b, float c, float d) {
    return {std::bit_cast<uint32_t>(a), std::bit_cast<uint32_t>(b), std::bit_cast<uint32_t>(c),
            std::bit_cast<uint32_t>(d)};
}

CBits BitsOf(int32_t a, int32_t b, int32_t c, int32_t d) {
    return {static_cast<uint32_t>(a), static_cast<uint32_t>(b), static_cast<uint32_t>(c),
            static_cast<uint32_t>(d)};
}

/// The same value, hidden from the compiler.
float AtRunTime(float value) {
    volatile float hidden = value;
    return hidden;
}

Float4 AtRunTime(float a, float b, float c, float d) {
    return Float4(AtRunTime(a), AtRunTime(b), AtRunTime(c), AtRunTime(d));
}

constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr float kDenormal = 0x1p-149f;
constexpr float kLargestDenormal = 0x1.fffffcp-127f;
constexpr int32_t kIntMax = INT32_MAX;
constexpr int32_t kIntMin = INT32_MIN;

TEST(SimdFloat4, TypesAreTrivial) {
    static_assert(sizeof(Float4) == 16 && alignof(Float4) == 16);
    static_assert(std::is_trivially_copyable_v<Float4>);
    static_assert(std::is_default_constructible_v<Float4>);
    static_assert(std::is_constructible_v<Float4, float, float, float, float>);
    static_assert(!std::is_convertible_v<float, Float4>);
}

TEST(SimdFloat4, LaneZeroIsFirstInMemory) {
    EXPECT_EQ(BitsOf(Float4(1.0f, 2.0f, 3.0f, 4.0f)), BitsOf(1.0f, 2.0f, 3.0f, 4.0f));
    EXPECT_EQ(BitsOf(AtRunTime(1.0f, 2.0f, 3.0f, 4.0f)), BitsOf(1.0f, 2.0f, 3.0f, 4.0f));
    EXPECT_EQ(BitsOf(Int4(1, -2, 3, kIntMin)), BitsOf(1, -2, 3, kIntMin));
    EXPECT_EQ(BitsOf(Float4(-0.0f)), BitsOf(-0.0f, -0.0f, -0.0f, -0.0f));
    EXPECT_EQ(BitsOf(Int4(-7)), BitsOf(-7, -7, -7, -7));
}

TEST(SimdFloat4, ConstantOfOnesIsAlignedAndHoldsOnes) {
    const void* const address = &Constants::_Constant_Fp32_1_1_1_1;
    EXPECT_EQ(reinterpret_cast<uintptr_t>(address) % 16, 0u);
    CBits bits;
    std::memcpy(bits.data(), address, sizeof(bits));
    EXPECT_EQ(bits, BitsOf(1.0f, 1.0f, 1.0f, 1.0f));
}

TEST(SimdFloat4, LoadsKeepEveryBitPattern) {
    alignas(16) uint32_t source[8];
    std::mt19937 random(1);
    for (int trial = 0; trial < 1000; ++trial) {
        for (uint32_t& word : source) {
            word = static_cast<uint32_t>(random());
        }
        source[trial % 8] = 0x7F800001u; // a signalling NaN
        EXPECT_EQ(BitsOf(LoadAligned(source)), (CBits{source[0], source[1], source[2], source[3]}));
        EXPECT_EQ(BitsOf(LoadPair(source + 3)), (CBits{source[3], source[4], 0, 0}));
        EXPECT_EQ(BitsOf(LoadTwoPairs(source + 5, source + 2)),
                  (CBits{source[5], source[6], source[2], source[3]}));
        for (size_t offset = 0; offset <= 16; ++offset) {
            const char* const from = reinterpret_cast<const char*>(source) + offset;
            CBits expected;
            std::memcpy(expected.data(), from, 16);
            EXPECT_EQ(BitsOf(LoadUnaligned(from)), expected) << "offset " << offset;
            expected[3] = 0;
            EXPECT_EQ(BitsOf(LoadTriple(from)), expected) << "offset " << offset;
        }
    }
}

TEST(SimdFloat4, StoresWriteExactlySixteenBytes) {
    const Float4 value = AtRunTime(1.0f, -0.0f, kDenormal, 4.0f);
    for (size_t offset = 0; offset <= 16; ++offset) {
        alignas(16) unsigned char target[32];
        std::memset(target, 0xA5, sizeof(target));
        StoreUnaligned(target + offset, value);
        CBits bits;
        std::memcpy(bits.data(), target + offset, sizeof(bits));
        EXPECT_EQ(bits, BitsOf(value)) << "offset " << offset;
        for (size_t k = 0; k < sizeof(target); ++k) {
            if (k < offset || k >= offset + 16) {
                EXPECT_EQ(target[k], 0xA5) << "byte " << k << ", offset " << offset;
            }
        }
    }
}

TEST(SimdFloat4, InterleavedLoadGivesOneValuePerComponent) {
    alignas(16) const float records[12] = {0.0f,  1.0f,  2.0f,  10.0f, 11.0f, 12.0f,
                                           20.0f, 21.0f, 22.0f, 30.0f, 31.0f, 32.0f};
    const Float4x3 loaded = LoadAlignedInterleaved3(records);
    EXPECT_EQ(BitsOf(loaded.m_X), BitsOf(0.0f, 10.0f, 20.0f, 30.0f));
    EXPECT_EQ(BitsOf(loaded.m_Y), BitsOf(1.0f, 11.0f, 21.0f, 31.0f));
    EXPECT_EQ(BitsOf(loaded.m_Z), BitsOf(2.0f, 12.0f, 22.0f, 32.0f));
}

TEST(SimdFloat4, ArithmeticEqualsThatOfFloats) {
    std::mt19937 random(2);
    for (int trial = 0; trial < 20000; ++trial) {
        std::array<float, 4> a;
        std::array<float, 4> b;
        for (size_t lane = 0; lane < 4; ++lane) {
            // Exponents close to each other, so that sums round and cancel; some close to denormals.
            const int exponent = trial % 2 == 0 ? 0 : -140;
            a[lane] = std::ldexp(static_cast<float>(random() % 0x2000000) - 16777216.0f, exponent);
            b[lane] = std::ldexp(static_cast<float>(random() % 0x2000000) - 16777216.0f, exponent - 3);
        }
        const Float4 left(a[0], a[1], a[2], a[3]);
        const Float4 right(b[0], b[1], b[2], b[3]);
        ASSERT_EQ(BitsOf(left + right), BitsOf(a[0] + b[0], a[1] + b[1], a[2] + b[2], a[3] + b[3]));
        ASSERT_EQ(BitsOf(left - right), BitsOf(a[0] - b[0], a[1] - b[1], a[2] - b[2], a[3] - b[3]));
        ASSERT_EQ(BitsOf(left * right), BitsOf(a[0] * b[0], a[1] * b[1], a[2] * b[2], a[3] * b[3]));
        ASSERT_EQ(BitsOf(PairwiseAdd(left, right)),
                  BitsOf(a[0] + a[1], a[2] + a[3], b[0] + b[1], b[2] + b[3]));
    }
}

TEST(SimdFloat4, ArithmeticKeepsSignedZeros) {
    const CBits sum = BitsOf(-0.0f, 0.0f, 0.0f, 0.0f);
    EXPECT_EQ(BitsOf(Float4(-0.0f, -0.0f, 0.0f, 1.0f) + Float4(-0.0f, 0.0f, 0.0f, -1.0f)), sum);
    EXPECT_EQ(BitsOf(AtRunTime(-0.0f, -0.0f, 0.0f, 1.0f) + AtRunTime(-0.0f, 0.0f, 0.0f, -1.0f)), sum);
    EXPECT_EQ(BitsOf(AtRunTime(-0.0f, 0.0f, -0.0f, 0.0f) - AtRunTime(0.0f, 0.0f, -0.0f, -0.0f)),
              BitsOf(-0.0f, 0.0f, 0.0f, 0.0f));
    EXPECT_EQ(BitsOf(AtRunTime(-0.0f, -0.0f, 0.0f, -kDenormal) * AtRunTime(1.0f, -1.0f, -1.0f, 0.25f)),
              BitsOf(-0.0f, 0.0f, -0.0f, -0.0f));
}

TEST(SimdFloat4, ArithmeticKeepsDenormals) {
    EXPECT_EQ(BitsOf(AtRunTime(kDenormal, kDenormal, 0x1p-126f, kLargestDenormal) +
                     AtRunTime(0.0f, kDenormal, -kDenormal, kDenormal)),
              BitsOf(kDenormal, 2.0f * kDenormal, kLargestDenormal, 0x1p-126f));
    EXPECT_EQ(
        BitsOf(AtRunTime(0x1p-126f, 0x1p-126f, kDenormal, kDenormal) * AtRunTime(0.5f, 0x1p-23f, 2.0f, 1.0f)),
        BitsOf(0x1p-127f, kDenormal, 2.0f * kDenormal, kDenormal));
}

// With x = 1 + 2^-12, x * x is 1 + 2^-11 + 2^-24, whose last digit is lost in rounding: the sum with -(1 +
// 2^-11) is 0, or 2^-24 if the two operations are fused.
TEST(SimdFloat4, ProductAndSumAreNotFused) {
    // One product per expression: compilers do not fuse a product that is used twice.
    const auto factor = [] { return Float4(AtRunTime(1.0f + 0x1p-12f)); };
    const auto addend = [] { return Float4(AtRunTime(-1.0f - 0x1p-11f)); };
    const Float4 first = factor();
    EXPECT_EQ(BitsOf(first * first + addend()), BitsOf(0.0f, 0.0f, 0.0f, 0.0f));
    const Float4 second = factor();
    EXPECT_EQ(BitsOf(addend() + second * second), BitsOf(0.0f, 0.0f, 0.0f, 0.0f));
    const Float4 third = factor();
    EXPECT_EQ(BitsOf(third * third - (Float4(0.0f) - addend())), BitsOf(0.0f, 0.0f, 0.0f, 0.0f));
}

TEST(SimdFloat4, IntegerAdditionWraps) {
    EXPECT_EQ(BitsOf(Int4(kIntMax, kIntMin, -1, 5) + Int4(1, -1, 1, -9)), BitsOf(kIntMin, kIntMax, 0, -4));
}

/// Checks once with constants (inlined, so compilers see the literals) and once at run time.
[[gnu::always_inline]] inline void ExpectTruncation(float a, float b, float c, float d, CBits expected) {
    EXPECT_EQ(BitsOf(TruncateToInt(Float4(a, b, c, d))), expected)
        << "constants " << a << ' ' << b << ' ' << c << ' ' << d;
    EXPECT_EQ(BitsOf(TruncateToInt(AtRunTime(a, b, c, d))), expected)
        << a << ' ' << b << ' ' << c << ' ' << d;
}

TEST(SimdFloat4, ConversionRoundsTowardZero) {
    ExpectTruncation(0.75f, -0.75f, 1.5f, -1.5f, BitsOf(0, 0, 1, -1));
    ExpectTruncation(-0.0f, 0.0f, kDenormal, -kDenormal, BitsOf(0, 0, 0, 0));
    ExpectTruncation(8388607.5f, -8388607.5f, 16777216.0f, -16777215.0f,
                     BitsOf(8388607, -8388607, 16777216, -16777215));
    ExpectTruncation(0x1.fffffep30f, -0x1.fffffep30f, -0x1p31f, 1e-30f,
                     BitsOf(2147483520, -2147483520, kIntMin, 0));
}

TEST(SimdFloat4, ConversionSaturatesBeyondTheIntegers) {
    ExpectTruncation(0x1p31f, 0x1.000002p31f, 3e9f, 1e38f, BitsOf(kIntMax, kIntMax, kIntMax, kIntMax));
    ExpectTruncation(-0x1p31f, -0x1.000002p31f, -3e9f, -1e38f, BitsOf(kIntMin, kIntMin, kIntMin, kIntMin));
    ExpectTruncation(kInfinity, -kInfinity, 0x1p32f, -0x1p32f, BitsOf(kIntMax, kIntMin, kIntMax, kIntMin));
    ExpectTruncation(0x1p63f, -0x1p63f, 0x1p64f, -0x1p64f, BitsOf(kIntMax, kIntMin, kIntMax, kIntMin));
}

TEST(SimdFloat4, ConversionOfNanGivesZero) {
    ExpectTruncation(kNan, -kNan, 1.0f, kNan, BitsOf(0, 0, 1, 0));
    ExpectTruncation(std::numeric_limits<float>::signaling_NaN(), 2.0f, kNan, -3.0f, BitsOf(0, 2, 0, -3));
}

TEST(SimdFloat4, ConversionDistinguishesNanFromInfinity) {
    alignas(16) const uint32_t bits[4] = {0x7F800001u, 0xFF800001u, 0x7F800000u, 0xFF800000u};
    EXPECT_EQ(BitsOf(TruncateToInt(LoadAligned(bits))), BitsOf(0, 0, kIntMax, kIntMin));
}

TEST(SimdFloat4, BothConversionsAgreeForNumbers) {
    std::mt19937 random(3);
    for (int trial = 0; trial < 100000; ++trial) {
        const float value = std::bit_cast<float>(static_cast<uint32_t>(random()));
        if (!std::isnan(value)) {
            ASSERT_EQ(BitsOf(TruncateNumberToInt(Float4(value))), BitsOf(TruncateToInt(Float4(value))))
                << value;
        }
    }
    EXPECT_EQ(BitsOf(TruncateNumberToInt(Float4(0x1p31f, -3e9f, kInfinity, -kInfinity))),
              BitsOf(kIntMax, kIntMin, kIntMax, kIntMin));
}

TEST(SimdFloat4, IntegersConvertToTheNearestFloat) {
    EXPECT_EQ(BitsOf(ToFloat(Int4(0, -1, 255, 16777217))), BitsOf(0.0f, -1.0f, 255.0f, 16777216.0f));
    EXPECT_EQ(BitsOf(ToFloat(Int4(16777219, kIntMax, kIntMin, -16777217))),
              BitsOf(16777220.0f, 0x1p31f, -0x1p31f, -16777216.0f));
}

TEST(SimdFloat4, GreaterThanGivesAllOnesOrAllZeros) {
    EXPECT_EQ(BitsOf(GreaterThan(Float4(1.0f, 2.0f, 3.0f, -1.0f), Float4(2.0f, 1.0f, 3.0f, -2.0f))),
              BitsOf(0, -1, 0, -1));
    EXPECT_EQ(
        BitsOf(GreaterThan(AtRunTime(0.0f, -0.0f, kDenormal, 0.0f), AtRunTime(-0.0f, 0.0f, 0.0f, kDenormal))),
        BitsOf(0, 0, -1, 0));
    EXPECT_EQ(BitsOf(GreaterThan(AtRunTime(kNan, 1.0f, kNan, kInfinity), AtRunTime(1.0f, kNan, kNan, 1e38f))),
              BitsOf(0, 0, 0, -1));
}

TEST(SimdFloat4, BitOperations) {
    const Int4 mask(-1, 0, -1, 0);
    EXPECT_EQ(BitsOf(Int4(12, 12, -1, 255) & Int4(10, 10, 255, -256)), BitsOf(8, 8, 255, 0));
    EXPECT_EQ(BitsOf(Int4(12, 12, -1, 0) ^ Int4(10, -1, -1, 7)), BitsOf(6, -13, 0, 7));
    EXPECT_EQ(BitsOf(Float4(1.0f, 1.0f, -2.0f, kNan) & mask), BitsOf(1.0f, 0.0f, -2.0f, 0.0f));
    EXPECT_EQ(BitsOf(Float4(1.0f, -2.0f, 0.0f, -0.0f) ^ Float4(0.0f, -0.0f, -0.0f, -0.0f)),
              BitsOf(1.0f, 2.0f, -0.0f, 0.0f));
}

TEST(SimdFloat4, ShiftMovesBitsAndFillsWithZeros) {
    EXPECT_EQ(BitsOf(ShiftLeft<31>(Int4(1, 2, -1, kIntMin))), BitsOf(kIntMin, 0, kIntMin, 0));
    EXPECT_EQ(BitsOf(ShiftLeft<1>(Int4(1, kIntMax, -1, kIntMin))), BitsOf(2, -2, -2, 0));
}

TEST(SimdFloat4, AllTrueNeedsAllLanes) {
    for (int lanes = 0; lanes < 16; ++lanes) {
        const Int4 mask(-(lanes & 1), -(lanes >> 1 & 1), -(lanes >> 2 & 1), -(lanes >> 3 & 1));
        EXPECT_EQ(AllTrue(mask), lanes == 15) << lanes;
    }
}

TEST(SimdFloat4, BitCastsKeepBits) {
    EXPECT_EQ(BitsOf(AsInts(AtRunTime(1.0f, -0.0f, kNan, kDenormal))), BitsOf(1.0f, -0.0f, kNan, kDenormal));
    EXPECT_EQ(BitsOf(AsFloats(Int4(kIntMin, kIntMax, 0, 0x3F800000))),
              BitsOf(kIntMin, kIntMax, 0, 0x3F800000));
}

TEST(SimdFloat4, LaneMovementKeepsBits) {
    const Float4 a(1.0f, 2.0f, 3.0f, 4.0f);
    const Float4 b(5.0f, 6.0f, 7.0f, 8.0f);
    EXPECT_EQ(BitsOf(BroadcastLane<0>(a)), BitsOf(1.0f, 1.0f, 1.0f, 1.0f));
    EXPECT_EQ(BitsOf(BroadcastLane<1>(a)), BitsOf(2.0f, 2.0f, 2.0f, 2.0f));
    EXPECT_EQ(BitsOf(BroadcastLane<2>(a)), BitsOf(3.0f, 3.0f, 3.0f, 3.0f));
    EXPECT_EQ(BitsOf(BroadcastLane<3>(a)), BitsOf(4.0f, 4.0f, 4.0f, 4.0f));
    EXPECT_EQ(BitsOf(ShuffleLanes<1, 2, 0, 3>(a)), BitsOf(2.0f, 3.0f, 1.0f, 4.0f));
    EXPECT_EQ(BitsOf(ShuffleLanes<3, 3, 0, 2>(a)), BitsOf(4.0f, 4.0f, 1.0f, 3.0f));
    EXPECT_EQ(BitsOf(InterleaveLow(a, b)), BitsOf(1.0f, 5.0f, 2.0f, 6.0f));
    EXPECT_EQ(BitsOf(InterleaveHigh(a, b)), BitsOf(3.0f, 7.0f, 4.0f, 8.0f));
    EXPECT_EQ(BitsOf(DeinterleaveEven(a, b)), BitsOf(1.0f, 3.0f, 5.0f, 7.0f));
    EXPECT_EQ(BitsOf(DeinterleaveOdd(a, b)), BitsOf(2.0f, 4.0f, 6.0f, 8.0f));
}

TEST(SimdFloat4, TransposeTurnsRowsIntoColumns) {
    const Float4x4 transposed =
        Transpose(Float4(1.0f, 2.0f, 3.0f, 4.0f), Float4(5.0f, 6.0f, 7.0f, 8.0f),
                  Float4(9.0f, 10.0f, 11.0f, 12.0f), Float4(13.0f, 14.0f, 15.0f, 16.0f));
    EXPECT_EQ(BitsOf(transposed.m_Rows[0]), BitsOf(1.0f, 5.0f, 9.0f, 13.0f));
    EXPECT_EQ(BitsOf(transposed.m_Rows[1]), BitsOf(2.0f, 6.0f, 10.0f, 14.0f));
    EXPECT_EQ(BitsOf(transposed.m_Rows[2]), BitsOf(3.0f, 7.0f, 11.0f, 15.0f));
    EXPECT_EQ(BitsOf(transposed.m_Rows[3]), BitsOf(4.0f, 8.0f, 12.0f, 16.0f));
}

TEST(SimdFloat4, SingleLanesAreExtractedAndInserted) {
    const Float4 floats = AtRunTime(1.0f, -0.0f, 3.0f, kDenormal);
    EXPECT_EQ(ExtractLane<0>(floats), 1.0f);
    EXPECT_EQ(std::bit_cast<uint32_t>(ExtractLane<1>(floats)), 0x80000000u);
    EXPECT_EQ(ExtractLane<2>(floats), 3.0f);
    EXPECT_EQ(ExtractLane<3>(floats), kDenormal);
    const Int4 ints(7, -8, kIntMin, kIntMax);
    EXPECT_EQ(ExtractLane<0>(ints), 7);
    EXPECT_EQ(ExtractLane<1>(ints), -8);
    EXPECT_EQ(ExtractLane<2>(ints), kIntMin);
    EXPECT_EQ(ExtractLane<3>(ints), kIntMax);
    EXPECT_EQ(BitsOf(InsertLane<0>(floats, 9.0f)), BitsOf(9.0f, -0.0f, 3.0f, kDenormal));
    EXPECT_EQ(BitsOf(InsertLane<1>(floats, 9.0f)), BitsOf(1.0f, 9.0f, 3.0f, kDenormal));
    EXPECT_EQ(BitsOf(InsertLane<2>(floats, -0.0f)), BitsOf(1.0f, -0.0f, -0.0f, kDenormal));
    EXPECT_EQ(BitsOf(InsertLane<3>(floats, 9.0f)), BitsOf(1.0f, -0.0f, 3.0f, 9.0f));
}

} // namespace
