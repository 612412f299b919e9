#pragma once

// Primitives of the four-lane values in plain C++, for all other platforms; zr_support/simd_float4.h defines
// them.

#include <zr_support/simd/flushing_vectors.h>

#include <cstdint>
#include <cstring>

namespace Vestrel::SIMD_Neon::Backend {

struct alignas(16) FloatRegister {
    float m_Lanes[4];
};

struct alignas(16) IntRegister {
    int32_t m_Lanes[4];
};

struct FloatRegisterX3 {
    FloatRegister m_X, m_Y, m_Z;
};

[[gnu::always_inline]] constexpr FloatRegister MakeFloats(float lane0, float lane1, float lane2,
                                                          float lane3) {
    return {{lane0, lane1, lane2, lane3}};
}

[[gnu::always_inline]] constexpr IntRegister MakeInts(int32_t lane0, int32_t lane1, int32_t lane2,
                                                      int32_t lane3) {
    return {{lane0, lane1, lane2, lane3}};
}

[[gnu::always_inline]] inline FloatRegister LoadUnaligned(const void* source) {
    FloatRegister value;
    std::memcpy(&value, source, sizeof(value));
    return value;
}

[[gnu::always_inline]] inline FloatRegister LoadAligned(const void* source) {
    return LoadUnaligned(source);
}

[[gnu::always_inline]] inline FloatRegister LoadPair(const void* source) {
    FloatRegister value = {};
    std::memcpy(&value.m_Lanes[0], source, 8);
    return value;
}

[[gnu::always_inline]] inline FloatRegister LoadTriple(const void* source) {
    FloatRegister value = {};
    std::memcpy(&value.m_Lanes[0], source, 12);
    return value;
}

[[gnu::always_inline]] inline FloatRegister LoadTwoPairs(const void* first, const void* second) {
    FloatRegister value;
    std::memcpy(&value.m_Lanes[0], first, 8);
    std::memcpy(&value.m_Lanes[2], second, 8);
    return value;
}

[[gnu::always_inline]] inline FloatRegisterX3 LoadAlignedInterleaved3(const void* source) {
    float f[12];
    std::memcpy(f, source, sizeof(f));
    return {{{f[0], f[3], f[6], f[9]}}, {{f[1], f[4], f[7], f[10]}}, {{f[2], f[5], f[8], f[11]}}};
}

[[gnu::always_inline]] inline void StoreUnaligned(void* target, FloatRegister value) {
    std::memcpy(target, &value, sizeof(value));
}

[[gnu::always_inline]] inline void StoreAligned(void* target, FloatRegister value) {
    StoreUnaligned(target, value);
}

[[gnu::always_inline]] inline void StoreAligned(void* target, IntRegister value) {
    std::memcpy(target, &value, sizeof(value));
}

#if VESTREL_VECTORS_FLUSH

// Each lane in its own scalar register: compilers would vectorise operations on lanes that are adjacent in
// memory.
[[gnu::always_inline]] inline void PinLane(float& lane) {
#if defined(__arm__)
    asm("" : "+t"(lane));
#else
    asm("" : "+f"(lane));
#endif
}

[[gnu::always_inline]] inline void PinLane(int32_t& lane) {
    asm("" : "+r"(lane));
}

template <typename TRegister>
[[gnu::always_inline]] inline TRegister Pin(TRegister value) {
    PinLane(value.m_Lanes[0]);
    PinLane(value.m_Lanes[1]);
    PinLane(value.m_Lanes[2]);
    PinLane(value.m_Lanes[3]);
    return value;
}

#else

// In memory: the constraint for float registers differs by platform.
template <typename TRegister>
[[gnu::always_inline]] inline TRegister Pin(TRegister value) {
    asm("" : "+m"(value));
    return value;
}

#endif

// Single floats. With -ffast-math on Cortex-A5 and A8, clang++ computes even these with NEON, so ARM uses the
// scalar instructions explicitly.
#if VESTREL_VECTORS_FLUSH && defined(__arm__)

[[gnu::always_inline]] inline float Add(float a, float b) {
    float sum;
    asm("vadd.f32 %0, %1, %2" : "=t"(sum) : "t"(a), "t"(b));
    return sum;
}

[[gnu::always_inline]] inline float Subtract(float a, float b) {
    float difference;
    asm("vsub.f32 %0, %1, %2" : "=t"(difference) : "t"(a), "t"(b));
    return difference;
}

[[gnu::always_inline]] inline float Multiply(float a, float b) {
    float product;
    asm("vmul.f32 %0, %1, %2" : "=t"(product) : "t"(a), "t"(b));
    return product;
}

#else

[[gnu::always_inline]] inline float Add(float a, float b) {
    return a + b;
}

[[gnu::always_inline]] inline float Subtract(float a, float b) {
    return a - b;
}

[[gnu::always_inline]] inline float Multiply(float a, float b) {
    return a * b;
}

#endif

[[gnu::always_inline]] inline FloatRegister Add(FloatRegister a, FloatRegister b) {
    return {{Add(a.m_Lanes[0], b.m_Lanes[0]), Add(a.m_Lanes[1], b.m_Lanes[1]),
             Add(a.m_Lanes[2], b.m_Lanes[2]), Add(a.m_Lanes[3], b.m_Lanes[3])}};
}

[[gnu::always_inline]] inline FloatRegister Subtract(FloatRegister a, FloatRegister b) {
    return {{Subtract(a.m_Lanes[0], b.m_Lanes[0]), Subtract(a.m_Lanes[1], b.m_Lanes[1]),
             Subtract(a.m_Lanes[2], b.m_Lanes[2]), Subtract(a.m_Lanes[3], b.m_Lanes[3])}};
}

[[gnu::always_inline]] inline FloatRegister Multiply(FloatRegister a, FloatRegister b) {
    return {{Multiply(a.m_Lanes[0], b.m_Lanes[0]), Multiply(a.m_Lanes[1], b.m_Lanes[1]),
             Multiply(a.m_Lanes[2], b.m_Lanes[2]), Multiply(a.m_Lanes[3], b.m_Lanes[3])}};
}

[[gnu::always_inline]] inline int32_t WrappingAdd(int32_t a, int32_t b) {
    return static_cast<int32_t>(static_cast<uint32_t>(a) + static_cast<uint32_t>(b));
}

[[gnu::always_inline]] inline IntRegister Add(IntRegister a, IntRegister b) {
    return {{WrappingAdd(a.m_Lanes[0], b.m_Lanes[0]), WrappingAdd(a.m_Lanes[1], b.m_Lanes[1]),
             WrappingAdd(a.m_Lanes[2], b.m_Lanes[2]), WrappingAdd(a.m_Lanes[3], b.m_Lanes[3])}};
}

// The second comparison is false for NaN, whose cast would be undefined.
[[gnu::always_inline]] inline int32_t TruncateNumberToInt(float value) {
    if (value >= 0x1p31f) {
        return INT32_MAX;
    }
    return value > -0x1p31f ? static_cast<int32_t>(value) : INT32_MIN;
}

[[gnu::always_inline]] inline IntRegister TruncateNumberToInt(FloatRegister value) {
    return {{TruncateNumberToInt(value.m_Lanes[0]), TruncateNumberToInt(value.m_Lanes[1]),
             TruncateNumberToInt(value.m_Lanes[2]), TruncateNumberToInt(value.m_Lanes[3])}};
}

// By the bits: some flags let compilers remove value != value.
[[gnu::always_inline]] inline bool IsNan(float value) {
    uint32_t bits;
    std::memcpy(&bits, &value, sizeof(bits));
    return (bits & 0x7FFFFFFFu) > 0x7F800000u; // infinity
}

[[gnu::always_inline]] inline int32_t TruncateToInt(float value) {
    return IsNan(value) ? 0 : TruncateNumberToInt(value);
}

[[gnu::always_inline]] inline IntRegister TruncateToInt(FloatRegister value) {
    return {{TruncateToInt(value.m_Lanes[0]), TruncateToInt(value.m_Lanes[1]),
             TruncateToInt(value.m_Lanes[2]), TruncateToInt(value.m_Lanes[3])}};
}

[[gnu::always_inline]] inline FloatRegister ToFloat(IntRegister value) {
    return {{static_cast<float>(value.m_Lanes[0]), static_cast<float>(value.m_Lanes[1]),
             static_cast<float>(value.m_Lanes[2]), static_cast<float>(value.m_Lanes[3])}};
}

[[gnu::always_inline]] inline IntRegister GreaterThan(FloatRegister a, FloatRegister b) {
    return {{a.m_Lanes[0] > b.m_Lanes[0] ? -1 : 0, a.m_Lanes[1] > b.m_Lanes[1] ? -1 : 0,
             a.m_Lanes[2] > b.m_Lanes[2] ? -1 : 0, a.m_Lanes[3] > b.m_Lanes[3] ? -1 : 0}};
}

[[gnu::always_inline]] inline IntRegister And(IntRegister a, IntRegister b) {
    return {{a.m_Lanes[0] & b.m_Lanes[0], a.m_Lanes[1] & b.m_Lanes[1], a.m_Lanes[2] & b.m_Lanes[2],
             a.m_Lanes[3] & b.m_Lanes[3]}};
}

[[gnu::always_inline]] inline IntRegister Xor(IntRegister a, IntRegister b) {
    return {{a.m_Lanes[0] ^ b.m_Lanes[0], a.m_Lanes[1] ^ b.m_Lanes[1], a.m_Lanes[2] ^ b.m_Lanes[2],
             a.m_Lanes[3] ^ b.m_Lanes[3]}};
}

template <int kBits>
[[gnu::always_inline]] inline int32_t ShiftLeft(int32_t value) {
    return static_cast<int32_t>(static_cast<uint32_t>(value) << kBits);
}

template <int kBits>
[[gnu::always_inline]] inline IntRegister ShiftLeft(IntRegister value) {
    return {{ShiftLeft<kBits>(value.m_Lanes[0]), ShiftLeft<kBits>(value.m_Lanes[1]),
             ShiftLeft<kBits>(value.m_Lanes[2]), ShiftLeft<kBits>(value.m_Lanes[3])}};
}

[[gnu::always_inline]] inline bool AllTrue(IntRegister mask) {
    return (mask.m_Lanes[0] & mask.m_Lanes[1] & mask.m_Lanes[2] & mask.m_Lanes[3]) == -1;
}

[[gnu::always_inline]] inline FloatRegister AsFloats(IntRegister value) {
    FloatRegister result;
    std::memcpy(&result, &value, sizeof(result));
    return result;
}

[[gnu::always_inline]] inline IntRegister AsInts(FloatRegister value) {
    IntRegister result;
    std::memcpy(&result, &value, sizeof(result));
    return result;
}

template <int k0, int k1, int k2, int k3>
[[gnu::always_inline]] inline FloatRegister ShuffleLanes(FloatRegister value) {
    return {{value.m_Lanes[k0], value.m_Lanes[k1], value.m_Lanes[k2], value.m_Lanes[k3]}};
}

template <int kLane>
[[gnu::always_inline]] inline float ExtractLane(FloatRegister value) {
    return value.m_Lanes[kLane];
}

template <int kLane>
[[gnu::always_inline]] inline int32_t ExtractLane(IntRegister value) {
    return value.m_Lanes[kLane];
}

template <int kLane>
[[gnu::always_inline]] inline FloatRegister InsertLane(FloatRegister value, float lane) {
    value.m_Lanes[kLane] = lane;
    return value;
}

[[gnu::always_inline]] inline FloatRegister InterleaveLow(FloatRegister a, FloatRegister b) {
    return {{a.m_Lanes[0], b.m_Lanes[0], a.m_Lanes[1], b.m_Lanes[1]}};
}

[[gnu::always_inline]] inline FloatRegister InterleaveHigh(FloatRegister a, FloatRegister b) {
    return {{a.m_Lanes[2], b.m_Lanes[2], a.m_Lanes[3], b.m_Lanes[3]}};
}

[[gnu::always_inline]] inline FloatRegister DeinterleaveEven(FloatRegister a, FloatRegister b) {
    return {{a.m_Lanes[0], a.m_Lanes[2], b.m_Lanes[0], b.m_Lanes[2]}};
}

[[gnu::always_inline]] inline FloatRegister DeinterleaveOdd(FloatRegister a, FloatRegister b) {
    return {{a.m_Lanes[1], a.m_Lanes[3], b.m_Lanes[1], b.m_Lanes[3]}};
}

} // namespace Vestrel::SIMD_Neon::Backend
