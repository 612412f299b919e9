#pragma once

// Primitives of the four-lane values for WebAssembly with 128-bit SIMD; zr_support/simd_float4.h defines
// them.

#include <wasm_simd128.h>

#include <cstdint>

namespace Vestrel::SIMD_Neon::Backend {

// v128_t is an integer vector; arithmetic operators on floats need a float vector.
using FloatRegister [[gnu::vector_size(16)]] = float;
using IntRegister = v128_t;

struct FloatRegisterX3 {
    FloatRegister m_X, m_Y, m_Z;
};

[[gnu::always_inline]] constexpr FloatRegister MakeFloats(float lane0, float lane1, float lane2,
                                                          float lane3) {
    return FloatRegister{lane0, lane1, lane2, lane3};
}

[[gnu::always_inline]] inline IntRegister MakeInts(int32_t lane0, int32_t lane1, int32_t lane2,
                                                   int32_t lane3) {
    return wasm_i32x4_make(lane0, lane1, lane2, lane3);
}

[[gnu::always_inline]] inline FloatRegister AsFloats(IntRegister value) {
    return reinterpret_cast<FloatRegister>(value);
}

[[gnu::always_inline]] inline IntRegister AsInts(FloatRegister value) {
    return reinterpret_cast<IntRegister>(value);
}

[[gnu::always_inline]] inline FloatRegister LoadUnaligned(const void* source) {
    return AsFloats(wasm_v128_load(source));
}

[[gnu::always_inline]] inline FloatRegister LoadAligned(const void* source) {
    return LoadUnaligned(source);
}

[[gnu::always_inline]] inline FloatRegister LoadPair(const void* source) {
    return AsFloats(wasm_v128_load64_zero(source));
}

[[gnu::always_inline]] inline FloatRegister LoadTriple(const void* source) {
    const void* const third = static_cast<const char*>(source) + 2 * sizeof(float);
    return AsFloats(wasm_v128_load32_lane(third, wasm_v128_load64_zero(source), 2));
}

[[gnu::always_inline]] inline FloatRegister LoadTwoPairs(const void* first, const void* second) {
    return AsFloats(wasm_v128_load64_lane(second, wasm_v128_load64_zero(first), 1));
}

/// Lanes 0 to 3 are those of `a`, 4 to 7 those of `b`.
template <int k0, int k1, int k2, int k3>
[[gnu::always_inline]] inline FloatRegister ShuffleTwo(FloatRegister a, FloatRegister b) {
    return AsFloats(wasm_i32x4_shuffle(AsInts(a), AsInts(b), k0, k1, k2, k3));
}

[[gnu::always_inline]] inline FloatRegisterX3 LoadAlignedInterleaved3(const void* source) {
    const float* const floats = static_cast<const float*>(source);
    const FloatRegister a = LoadAligned(floats);             // x0 y0 z0 x1
    const FloatRegister b = LoadAligned(floats + 4);         // y1 z1 x2 y2
    const FloatRegister c = LoadAligned(floats + 8);         // z2 x3 y3 z3
    const FloatRegister xy23 = ShuffleTwo<2, 3, 5, 6>(b, c); // x2 y2 x3 y3
    const FloatRegister yz01 = ShuffleTwo<1, 2, 4, 5>(a, b); // y0 z0 y1 z1
    return {ShuffleTwo<0, 3, 4, 6>(a, xy23), ShuffleTwo<0, 2, 5, 7>(yz01, xy23),
            ShuffleTwo<1, 3, 4, 7>(yz01, c)};
}

[[gnu::always_inline]] inline void StoreUnaligned(void* target, FloatRegister value) {
    wasm_v128_store(target, AsInts(value));
}

[[gnu::always_inline]] inline void StoreAligned(void* target, FloatRegister value) {
    StoreUnaligned(target, value);
}

[[gnu::always_inline]] inline void StoreAligned(void* target, IntRegister value) {
    wasm_v128_store(target, value);
}

// In memory: clang++ 19 accepts no vector register as an operand.
[[gnu::always_inline]] inline FloatRegister Pin(FloatRegister value) {
    asm("" : "+m"(value));
    return value;
}

[[gnu::always_inline]] inline IntRegister Pin(IntRegister value) {
    asm("" : "+m"(value));
    return value;
}

[[gnu::always_inline]] inline FloatRegister Add(FloatRegister a, FloatRegister b) {
    return a + b;
}

[[gnu::always_inline]] inline FloatRegister Subtract(FloatRegister a, FloatRegister b) {
    return a - b;
}

[[gnu::always_inline]] inline FloatRegister Multiply(FloatRegister a, FloatRegister b) {
    return a * b;
}

[[gnu::always_inline]] inline IntRegister Add(IntRegister a, IntRegister b) {
    return wasm_i32x4_add(a, b);
}

[[gnu::always_inline]] inline IntRegister TruncateToInt(FloatRegister value) {
    return wasm_i32x4_trunc_sat_f32x4(AsInts(value));
}

[[gnu::always_inline]] inline IntRegister TruncateNumberToInt(FloatRegister value) {
    return TruncateToInt(value);
}

[[gnu::always_inline]] inline FloatRegister ToFloat(IntRegister value) {
    return AsFloats(wasm_f32x4_convert_i32x4(value));
}

[[gnu::always_inline]] inline IntRegister GreaterThan(FloatRegister a, FloatRegister b) {
    return wasm_f32x4_gt(AsInts(a), AsInts(b));
}

[[gnu::always_inline]] inline IntRegister And(IntRegister a, IntRegister b) {
    return wasm_v128_and(a, b);
}

[[gnu::always_inline]] inline IntRegister Xor(IntRegister a, IntRegister b) {
    return wasm_v128_xor(a, b);
}

template <int kBits>
[[gnu::always_inline]] inline IntRegister ShiftLeft(IntRegister value) {
    return wasm_i32x4_shl(value, kBits);
}

[[gnu::always_inline]] inline bool AllTrue(IntRegister mask) {
    return wasm_i32x4_all_true(mask);
}

template <int k0, int k1, int k2, int k3>
[[gnu::always_inline]] inline FloatRegister ShuffleLanes(FloatRegister value) {
    return ShuffleTwo<k0, k1, k2, k3>(value, value);
}

template <int kLane>
[[gnu::always_inline]] inline float ExtractLane(FloatRegister value) {
    return value[kLane];
}

template <int kLane>
[[gnu::always_inline]] inline int32_t ExtractLane(IntRegister value) {
    return wasm_i32x4_extract_lane(value, kLane);
}

template <int kLane>
[[gnu::always_inline]] inline FloatRegister InsertLane(FloatRegister value, float lane) {
    value[kLane] = lane;
    return value;
}

[[gnu::always_inline]] inline FloatRegister InterleaveLow(FloatRegister a, FloatRegister b) {
    return ShuffleTwo<0, 4, 1, 5>(a, b);
}

[[gnu::always_inline]] inline FloatRegister InterleaveHigh(FloatRegister a, FloatRegister b) {
    return ShuffleTwo<2, 6, 3, 7>(a, b);
}

[[gnu::always_inline]] inline FloatRegister DeinterleaveEven(FloatRegister a, FloatRegister b) {
    return ShuffleTwo<0, 2, 4, 6>(a, b);
}

[[gnu::always_inline]] inline FloatRegister DeinterleaveOdd(FloatRegister a, FloatRegister b) {
    return ShuffleTwo<1, 3, 5, 7>(a, b);
}

} // namespace Vestrel::SIMD_Neon::Backend
