// Compiled once per set of flags, with VESTREL_EXPRESSIONS as the name of the function. Everything here and
// in included files must have internal linkage or be always inlined, so that the linker shares no copy
// between sets of flags.

#include "flag_expressions.h"

#include <cstdint>
#include <iterator>

namespace Vestrel {

namespace {

using namespace SIMD_Neon;

/// The sum of the lanes of b * c, as a caller's own floats.
float SumOfProducts(Float4 b, Float4 c) {
    const Float4 products = b * c;
    return ExtractLane<0>(products) + ExtractLane<1>(products);
}

Float4 Quintic(Float4 t) {
    return (t * (t * t)) * (t * (t * Float4(6.0f) + Float4(-15.0f)) + Float4(10.0f));
}

Float4 SumOfAll(const Float4* v) {
    Float4 sum(0.0f);
    for (int round = 0; round < 4; ++round) {
        for (int k = 0; k < 4; ++k) {
            sum = sum + v[k] * v[(k + round) & 3];
        }
    }
    return sum;
}

constexpr CFlagExpression kExpressions[] = {
    // fused
    {"a * b + c", [](const Float4* v) { return v[0] * v[1] + v[2]; }},
    {"c + a * b", [](const Float4* v) { return v[2] + v[0] * v[1]; }},
    {"a * b - c", [](const Float4* v) { return v[0] * v[1] - v[2]; }},
    {"c - a * b", [](const Float4* v) { return v[2] - v[0] * v[1]; }},
    {"a * b + c * d", [](const Float4* v) { return v[0] * v[1] + v[2] * v[3]; }},
    {"a + (b - a) * c", [](const Float4* v) { return v[0] + (v[1] - v[0]) * v[2]; }},
    {"the quintic fade of a", [](const Float4* v) { return Quintic(v[0]); }},
    {"PairwiseAdd(a * b, c * d)", [](const Float4* v) { return PairwiseAdd(v[0] * v[1], v[2] * v[3]); }},
    {"a * ToFloat(bits of b) + c", [](const Float4* v) { return v[0] * ToFloat(AsInts(v[1])) + v[2]; }},
    {"the first two lanes of a * b, added as floats",
     [](const Float4* v) { return Float4(SumOfProducts(v[0], v[1])); }},
    {"the sum of 16 products", [](const Float4* v) { return SumOfAll(v); }},
    // reordered
    {"(a + b) - a", [](const Float4* v) { return (v[0] + v[1]) - v[0]; }},
    {"(a - b) + b", [](const Float4* v) { return (v[0] - v[1]) + v[1]; }},
    {"(a + 2^23) - 2^23", [](const Float4* v) { return (v[0] + Float4(0x1.8p23f)) - Float4(0x1.8p23f); }},
    {"((a + b) + c) + d", [](const Float4* v) { return ((v[0] + v[1]) + v[2]) + v[3]; }},
    {"a + (b + (c + d))", [](const Float4* v) { return v[0] + (v[1] + (v[2] + v[3])); }},
    {"(a + 1) + 2^-24", [](const Float4* v) { return (v[0] + Float4(1.0f)) + Float4(0x1p-24f); }},
    {"(a * 3) * (1 / 3)", [](const Float4* v) { return (v[0] * Float4(3.0f)) * Float4(1.0f / 3.0f); }},
    {"(a * b) * (c * d)", [](const Float4* v) { return (v[0] * v[1]) * (v[2] * v[3]); }},
    {"((a * a) * a) * a", [](const Float4* v) { return ((v[0] * v[0]) * v[0]) * v[0]; }},
    {"a * b + a * c", [](const Float4* v) { return v[0] * v[1] + v[0] * v[2]; }},
    {"(a + b) + (a + b)", [](const Float4* v) { return (v[0] + v[1]) + (v[0] + v[1]); }},
    {"PairwiseAdd(PairwiseAdd(a, b), c)",
     [](const Float4* v) { return PairwiseAdd(PairwiseAdd(v[0], v[1]), v[2]); }},
    {"ToFloat(bits of a) + ToFloat(bits of b)",
     [](const Float4* v) { return ToFloat(AsInts(v[0])) + ToFloat(AsInts(v[1])); }},
    // removed
    {"a + 0", [](const Float4* v) { return v[0] + Float4(0.0f); }},
    {"0 + a", [](const Float4* v) { return Float4(0.0f) + v[0]; }},
    {"a - 0", [](const Float4* v) { return v[0] - Float4(0.0f); }},
    {"0 - a", [](const Float4* v) { return Float4(0.0f) - v[0]; }},
    {"-0 - a", [](const Float4* v) { return AsFloats(Int4(INT32_MIN)) - v[0]; }},
    {"a * 0", [](const Float4* v) { return v[0] * Float4(0.0f); }},
    {"a * 1", [](const Float4* v) { return v[0] * Float4(1.0f); }},
    {"a * -1", [](const Float4* v) { return v[0] * Float4(-1.0f); }},
    {"a - a", [](const Float4* v) { return v[0] - v[0]; }},
    {"a + -a", [](const Float4* v) { return v[0] + (v[0] ^ Float4(-0.0f)); }},
    {"-(a - b)", [](const Float4* v) { return (v[0] - v[1]) ^ Float4(-0.0f); }},
    {"(a - b) - (a - b)", [](const Float4* v) { return (v[0] - v[1]) - (v[0] - v[1]); }},
    {"(a - b) + (b - a)", [](const Float4* v) { return (v[0] - v[1]) + (v[1] - v[0]); }},
    {"a + (1 where b > c)", [](const Float4* v) { return v[0] + (Float4(1.0f) & GreaterThan(v[1], v[2])); }},
    // conversions
    {"TruncateToInt(a)", [](const Float4* v) { return AsFloats(TruncateToInt(v[0])); }},
    {"TruncateNumberToInt(a - a + 1)",
     [](const Float4* v) { return AsFloats(TruncateNumberToInt((v[0] & Int4(0x4FFFFFFF)) + Float4(1.0f))); }},
    {"ToFloat(TruncateToInt(a))", [](const Float4* v) { return ToFloat(TruncateToInt(v[0])); }},
    {"TruncateToInt(ToFloat(bits of a))",
     [](const Float4* v) { return AsFloats(TruncateToInt(ToFloat(AsInts(v[0])))); }},
    {"a - ToFloat(TruncateToInt(a))", [](const Float4* v) { return v[0] - ToFloat(TruncateToInt(v[0])); }},
    {"the floor of a",
     [](const Float4* v) {
         const Float4 rounded = ToFloat(TruncateToInt(v[0]));
         return rounded - (Float4(1.0f) & GreaterThan(rounded, v[0]));
     }},
    // comparisons
    {"a > b", [](const Float4* v) { return AsFloats(GreaterThan(v[0], v[1])); }},
    {"not a > b", [](const Float4* v) { return AsFloats(GreaterThan(v[0], v[1]) ^ Int4(-1)); }},
    {"a > a", [](const Float4* v) { return AsFloats(GreaterThan(v[0], v[0])); }},
    {"0 > a", [](const Float4* v) { return AsFloats(GreaterThan(Float4(0.0f), v[0])); }},
    {"a > infinity", [](const Float4* v) { return AsFloats(GreaterThan(v[0], AsFloats(Int4(0x7F800000)))); }},
    {"a + b > a", [](const Float4* v) { return AsFloats(GreaterThan(v[0] + v[1], v[0])); }},
    {"a - b > 0", [](const Float4* v) { return AsFloats(GreaterThan(v[0] - v[1], Float4(0.0f))); }},
    {"a > b and b > a",
     [](const Float4* v) { return AsFloats(GreaterThan(v[0], v[1]) & GreaterThan(v[1], v[0])); }},
    {"whether all of a > b",
     [](const Float4* v) { return Float4(AllTrue(GreaterThan(v[0], v[1])) ? 1.0f : 0.0f); }},
    // lanes
    {"a with lane 0 of b", [](const Float4* v) { return InsertLane<1>(v[0], ExtractLane<0>(v[1])); }},
    {"lanes of a",
     [](const Float4* v) { return Float4(ExtractLane<3>(v[0]), ExtractLane<0>(v[0]), 0.0f, 1.0f); }},
};

} // namespace

CFlagExpressions VESTREL_EXPRESSIONS() {
    return {kExpressions, std::size(kExpressions)};
}

} // namespace Vestrel
