#pragma once

// Primitives of the four-lane values for arm64; zr_support/simd_float4.h defines them.

#include <arm_neon.h>

#include <cstdint>
#include <cstring>

namespace Vestrel::SIMD_Neon::Backend {

using FloatRegister = float32x4_t;
using IntRegister = int32x4_t;

struct FloatRegisterX3 {
    FloatRegister m_X, m_Y, m_Z;
};

[[gnu::always_inline]] constexpr FloatRegister MakeFloats(float lane0, float lane1, float lane2,
                                                          float lane3) {
    return FloatRegister{lane0, lane1, lane2, lane3};
}

[[gnu::always_inline]] inline IntRegister MakeInts(int32_t lane0, int32_t lane1, int32_t lane2,
                                                   int32_t lane3) {
    return IntRegister{lane0, lane1, lane2, lane3};
}

[[gnu::always_inline]] inline FloatRegister LoadAligned(const void* source) {
    return vld1q_f32(static_cast<const float*>(source));
}

// Byte loads: compilers may assume that a load of floats has the alignment of a float.
[[gnu::always_inline]] inline FloatRegister LoadUnaligned(const void* source) {
    return vreinterpretq_f32_u8(vld1q_u8(static_cast<const uint8_t*>(source)));
}

[[gnu::always_inline]] inline float32x2_t LoadTwoFloats(const void* source) {
    return vreinterpret_f32_u8(vld1_u8(static_cast<const uint8_t*>(source)));
}

[[gnu::always_inline]] inline FloatRegister LoadPair(const void* source) {
    return vcombine_f32(LoadTwoFloats(source), vdup_n_f32(0.0f));
}

[[gnu::always_inline]] inline FloatRegister LoadTriple(const void* source) {
    const uint8_t* const third = static_cast<const uint8_t*>(source) + 2 * sizeof(float);
    float z;
    std::memcpy(&z, third, sizeof(z));
    return vcombine_f32(LoadTwoFloats(source), vset_lane_f32(z, vdup_n_f32(0.0f), 0));
}

[[gnu::always_inline]] inline FloatRegister LoadTwoPairs(const void* first, const void* second) {
    return vcombine_f32(LoadTwoFloats(first), LoadTwoFloats(second));
}

[[gnu::always_inline]] inline FloatRegisterX3 LoadAlignedInterleaved3(const void* source) {
    const float32x4x3_t loaded = vld3q_f32(static_cast<const float*>(source));
    return {loaded.val[0], loaded.val[1], loaded.val[2]};
}

[[gnu::always_inline]] inline void StoreAligned(void* target, FloatRegister value) {
    vst1q_f32(static_cast<float*>(target), value);
}

[[gnu::always_inline]] inline void StoreUnaligned(void* target, FloatRegister value) {
    vst1q_u8(static_cast<uint8_t*>(target), vreinterpretq_u8_f32(value));
}

[[gnu::always_inline]] inline void StoreAligned(void* target, IntRegister value) {
    vst1q_s32(static_cast<int32_t*>(target), value);
}

[[gnu::always_inline]] inline FloatRegister Pin(FloatRegister value) {
    asm("" : "+w"(value));
    return value;
}

[[gnu::always_inline]] inline IntRegister Pin(IntRegister value) {
    asm("" : "+w"(value));
    return value;
}

[[gnu::always_inline]] inline FloatRegister Add(FloatRegister a, FloatRegister b) {
    return vaddq_f32(a, b);
}

[[gnu::always_inline]] inline FloatRegister Subtract(FloatRegister a, FloatRegister b) {
    return vsubq_f32(a, b);
}

[[gnu::always_inline]] inline FloatRegister Multiply(FloatRegister a, FloatRegister b) {
    return vmulq_f32(a, b);
}

[[gnu::always_inline]] inline IntRegister Add(IntRegister a, IntRegister b) {
    return vaddq_s32(a, b);
}

// The instruction saturates and gives 0 for not-a-number.
[[gnu::always_inline]] inline IntRegister TruncateToInt(FloatRegister value) {
    return vcvtq_s32_f32(value);
}

[[gnu::always_inline]] inline IntRegister TruncateNumberToInt(FloatRegister value) {
    return TruncateToInt(value);
}

[[gnu::always_inline]] inline FloatRegister ToFloat(IntRegister value) {
    return vcvtq_f32_s32(value);
}

[[gnu::always_inline]] inline IntRegister GreaterThan(FloatRegister a, FloatRegister b) {
    return vreinterpretq_s32_u32(vcgtq_f32(a, b));
}

[[gnu::always_inline]] inline IntRegister And(IntRegister a, IntRegister b) {
    return vandq_s32(a, b);
}

[[gnu::always_inline]] inline IntRegister Xor(IntRegister a, IntRegister b) {
    return veorq_s32(a, b);
}

template <int kBits>
[[gnu::always_inline]] inline IntRegister ShiftLeft(IntRegister value) {
    return vshlq_n_s32(value, kBits);
}

[[gnu::always_inline]] inline bool AllTrue(IntRegister mask) {
    return vminvq_u32(vreinterpretq_u32_s32(mask)) != 0;
}

[[gnu::always_inline]] inline FloatRegister AsFloats(IntRegister value) {
    return vreinterpretq_f32_s32(value);
}

[[gnu::always_inline]] inline IntRegister AsInts(FloatRegister value) {
    return vreinterpretq_s32_f32(value);
}

// NEON has no intrinsic for arbitrary lane orders; compilers choose the instructions.
template <int k0, int k1, int k2, int k3>
[[gnu::always_inline]] inline FloatRegister ShuffleLanes(FloatRegister value) {
    return __builtin_shufflevector(value, value, k0, k1, k2, k3);
}

template <int kLane>
[[gnu::always_inline]] inline float ExtractLane(FloatRegister value) {
    return vgetq_lane_f32(value, kLane);
}

template <int kLane>
[[gnu::always_inline]] inline int32_t ExtractLane(IntRegister value) {
    return vgetq_lane_s32(value, kLane);
}

template <int kLane>
[[gnu::always_inline]] inline FloatRegister InsertLane(FloatRegister value, float lane) {
    return vsetq_lane_f32(lane, value, kLane);
}

[[gnu::always_inline]] inline FloatRegister InterleaveLow(FloatRegister a, FloatRegister b) {
    return vzip1q_f32(a, b);
}

[[gnu::always_inline]] inline FloatRegister InterleaveHigh(FloatRegister a, FloatRegister b) {
    return vzip2q_f32(a, b);
}

[[gnu::always_inline]] inline FloatRegister DeinterleaveEven(FloatRegister a, FloatRegister b) {
    return vuzp1q_f32(a, b);
}

[[gnu::always_inline]] inline FloatRegister DeinterleaveOdd(FloatRegister a, FloatRegister b) {
    return vuzp2q_f32(a, b);
}

} // namespace Vestrel::SIMD_Neon::Backend
