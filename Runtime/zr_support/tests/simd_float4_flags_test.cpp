// Operations on four-lane values have the same bits in files compiled with flags that let compilers change
// arithmetic, and in a file without.

#include "flag_expressions.h"
#include <zr_support_internal/canonical_bits.h>

#include <gtest/gtest.h>

#include <bit>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <limits>
#include <ostream>
#include <random>
#include <sstream>
#include <string>

namespace {

using namespace Vestrel;
using SIMD_Neon::Float4;

struct CFlags {
    const char* m_Name;
    CFlagExpressions (*m_Expressions)();
    bool (*m_CanRun)();

    friend std::ostream& operator<<(std::ostream& stream, const CFlags& flags) {
        return stream << flags.m_Name;
    }
};

constexpr auto kAlways = [] { return true; };

constexpr CFlags kFlags[] = {
#if defined(__x86_64__)
    {"Contracted", ContractedExpressions, [] { return __builtin_cpu_supports("fma") != 0; }},
    {"FastMathFma", FastMathFmaExpressions, [] { return __builtin_cpu_supports("fma") != 0; }},
    {"FastMathAvx512", FastMathAvx512Expressions,
     [] { return __builtin_cpu_supports("fma") != 0 && __builtin_cpu_supports("avx512vl") != 0; }},
#else
    {"Contracted", ContractedExpressions, kAlways},
#endif
    {"FastMath", FastMathExpressions, kAlways},
};

class SimdFloat4Flags : public testing::TestWithParam<CFlags> {};

INSTANTIATE_TEST_SUITE_P(All, SimdFloat4Flags, testing::ValuesIn(kFlags),
                         [](const auto& instance) { return std::string(instance.param.m_Name); });

/// Floats whose sums round and cancel; half of the trials include special values and any bits.
class CValues {
public:
    Float4 Next(bool isPlain) {
        return Float4(NextFloat(isPlain), NextFloat(isPlain), NextFloat(isPlain), NextFloat(isPlain));
    }

private:
    float NextFloat(bool isPlain) {
        constexpr float kInfinity = std::numeric_limits<float>::infinity();
        constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
        constexpr float kSpecial[] = {0.0f,      -0.0f,      1.0f,       -1.0f,   0.5f,     -1.5f,
                                      0x1p-149f, -0x1p-149f, 0x1p-126f,  0x1p31f, -0x1p31f, 3e9f,
                                      3e38f,     kInfinity,  -kInfinity, kNan,    -kNan};
        const uint32_t bits = static_cast<uint32_t>(m_Random());
        switch (isPlain ? 2 : m_Random() % 3) {
        case 0:
            return kSpecial[bits % std::size(kSpecial)];
        case 1:
            return std::bit_cast<float>(bits);
        default:
            return (static_cast<float>(bits >> 7) - 16777216.0f) * 0x1p-22f;
        }
    }

    std::mt19937 m_Random{20261122};
};

struct CLanes {
    explicit CLanes(Float4 value) {
        SIMD_Neon::StoreAligned(m_Lanes, value);
    }

    bool HasBitsOf(const CLanes& other) const {
        for (size_t k = 0; k < 4; ++k) {
            if (CanonicalBits(m_Lanes[k]) != CanonicalBits(other.m_Lanes[k])) {
                return false;
            }
        }
        return true;
    }

    friend std::ostream& operator<<(std::ostream& stream, const CLanes& lanes) {
        stream << std::hexfloat << '(';
        for (const float lane : lanes.m_Lanes) {
            stream << lane << " 0x" << std::hex << std::bit_cast<uint32_t>(lane) << ", ";
        }
        return stream << ')';
    }

    alignas(16) float m_Lanes[4];
};

void ExpectSameBits(const CFlagExpression& strict, const CFlagExpression& other) {
    CValues random;
    for (int trial = 0; trial < 10000; ++trial) {
        Float4 values[4];
        for (Float4& value : values) {
            value = random.Next(trial % 2 == 0);
        }
        const CLanes expected(strict.m_Evaluate(values));
        const CLanes result(other.m_Evaluate(values));
        ASSERT_TRUE(result.HasBitsOf(expected))
            << strict.m_Name << " is " << result << " instead of " << expected
            << " for a = " << CLanes(values[0]) << " b = " << CLanes(values[1])
            << " c = " << CLanes(values[2]) << " d = " << CLanes(values[3]);
    }
}

TEST_P(SimdFloat4Flags, ChangeNoBits) {
    if (!GetParam().m_CanRun()) {
        GTEST_SKIP() << "this processor lacks the instructions";
    }
    const CFlagExpressions strict = StrictExpressions();
    const CFlagExpressions others = GetParam().m_Expressions();
    ASSERT_EQ(others.m_Count, strict.m_Count);
    for (size_t k = 0; k < strict.m_Count; ++k) {
        ExpectSameBits(strict.m_Expressions[k], others.m_Expressions[k]);
    }
}

} // namespace
