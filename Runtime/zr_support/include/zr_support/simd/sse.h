#pragma once

// Primitives of the four-lane values for x86 with SSE2; zr_support/simd_float4.h defines them. Single lanes
// are accessed by subscript, for which compilers use SSE4.1 if the build allows it.

#include <emmintrin.h>

#include <cstdint>
#include <cstring>

namespace Vestrel::SIMD_Neon::Backend {

using FloatRegister = __m128;
using IntRegister = __m128i;

struct FloatRegisterX3 {
    FloatRegister m_X, m_Y, m_Z;
};

[[gnu::always_inline]] constexpr FloatRegister MakeFloats(float lane0, float lane1, float lane2,
                                                          float lane3) {
    return FloatRegister{lane0, lane1, lane2, lane3};
}

[[gnu::always_inline]] inline IntRegister MakeInts(int32_t lane0, int32_t lane1, int32_t lane2,
                                                   int32_t lane3) {
    return _mm_setr_epi32(lane0, lane1, lane2, lane3);
}

[[gnu::always_inline]] inline FloatRegister LoadAligned(const void* source) {
    return _mm_load_ps(static_cast<const float*>(source));
}

[[gnu::always_inline]] inline FloatRegister LoadUnaligned(const void* source) {
    return _mm_loadu_ps(static_cast<const float*>(source));
}

[[gnu::always_inline]] inline FloatRegister LoadPair(const void* source) {
    return _mm_castsi128_ps(_mm_loadl_epi64(static_cast<const __m128i*>(source)));
}

[[gnu::always_inline]] inline FloatRegister LoadTriple(const void* source) {
    float third;
    std::memcpy(&third, static_cast<const char*>(source) + 2 * sizeof(float), sizeof(third));
    return _mm_movelh_ps(LoadPair(source), _mm_set_ss(third));
}

[[gnu::always_inline]] inline FloatRegister LoadTwoPairs(const void* first, const void* second) {
    const __m128 low = _mm_castsi128_ps(_mm_loadl_epi64(static_cast<const __m128i*>(first)));
    return _mm_loadh_pi(low, static_cast<const __m64*>(second));
}

[[gnu::always_inline]] inline FloatRegisterX3 LoadAlignedInterleaved3(const void* source) {
    const float* const floats = static_cast<const float*>(source);
    const __m128 a = _mm_load_ps(floats);                              // x0 y0 z0 x1
    const __m128 b = _mm_load_ps(floats + 4);                          // y1 z1 x2 y2
    const __m128 c = _mm_load_ps(floats + 8);                          // z2 x3 y3 z3
    const __m128 xy23 = _mm_shuffle_ps(b, c, _MM_SHUFFLE(2, 1, 3, 2)); // x2 y2 x3 y3
    const __m128 yz01 = _mm_shuffle_ps(a, b, _MM_SHUFFLE(1, 0, 2, 1)); // y0 z0 y1 z1
    return {_mm_shuffle_ps(a, xy23, _MM_SHUFFLE(2, 0, 3, 0)),
            _mm_shuffle_ps(yz01, xy23, _MM_SHUFFLE(3, 1, 2, 0)),
            _mm_shuffle_ps(yz01, c, _MM_SHUFFLE(3, 0, 3, 1))};
}

[[gnu::always_inline]] inline void StoreAligned(void* target, FloatRegister value) {
    _mm_store_ps(static_cast<float*>(target), value);
}

[[gnu::always_inline]] inline void StoreUnaligned(void* target, FloatRegister value) {
    _mm_storeu_ps(static_cast<float*>(target), value);
}

[[gnu::always_inline]] inline void StoreAligned(void* target, IntRegister value) {
    _mm_store_si128(static_cast<__m128i*>(target), value);
}

// Any vector register, including the upper 16 of AVX-512.
[[gnu::always_inline]] inline FloatRegister Pin(FloatRegister value) {
    asm("" : "+v"(value));
    return value;
}

[[gnu::always_inline]] inline IntRegister Pin(IntRegister value) {
    asm("" : "+v"(value));
    return value;
}

[[gnu::always_inline]] inline FloatRegister Add(FloatRegister a, FloatRegister b) {
    return _mm_add_ps(a, b);
}

[[gnu::always_inline]] inline FloatRegister Subtract(FloatRegister a, FloatRegister b) {
    return _mm_sub_ps(a, b);
}

[[gnu::always_inline]] inline FloatRegister Multiply(FloatRegister a, FloatRegister b) {
    return _mm_mul_ps(a, b);
}

[[gnu::always_inline]] inline IntRegister Add(IntRegister a, IntRegister b) {
    return _mm_add_epi32(a, b);
}

// Out of range and for NaN the instruction gives 0x80000000; the mask turns that into 0x7FFFFFFF above the
// range. Constant folding may give another result, so Pin hides constants from the compiler.
[[gnu::always_inline]] inline IntRegister TruncateNumberToInt(FloatRegister value) {
    value = Pin(value);
    const __m128i isAbove = _mm_castps_si128(_mm_cmpge_ps(value, _mm_set1_ps(0x1p31f)));
    return _mm_xor_si128(_mm_cvttps_epi32(value), isAbove);
}

// NaN by its bits: some flags let compilers remove value != value.
[[gnu::always_inline]] inline IntRegister TruncateToInt(FloatRegister value) {
    const __m128i magnitude = _mm_and_si128(_mm_castps_si128(value), _mm_set1_epi32(INT32_MAX));
    const __m128i isNan = _mm_cmpgt_epi32(magnitude, _mm_set1_epi32(0x7F800000)); // infinity
    return _mm_andnot_si128(isNan, TruncateNumberToInt(value));
}

[[gnu::always_inline]] inline FloatRegister ToFloat(IntRegister value) {
    return _mm_cvtepi32_ps(value);
}

[[gnu::always_inline]] inline IntRegister GreaterThan(FloatRegister a, FloatRegister b) {
    return _mm_castps_si128(_mm_cmpgt_ps(a, b));
}

[[gnu::always_inline]] inline IntRegister And(IntRegister a, IntRegister b) {
    return _mm_and_si128(a, b);
}

[[gnu::always_inline]] inline IntRegister Xor(IntRegister a, IntRegister b) {
    return _mm_xor_si128(a, b);
}

template <int kBits>
[[gnu::always_inline]] inline IntRegister ShiftLeft(IntRegister value) {
    return _mm_slli_epi32(value, kBits);
}

[[gnu::always_inline]] inline bool AllTrue(IntRegister mask) {
    return _mm_movemask_ps(_mm_castsi128_ps(mask)) == 0xF;
}

[[gnu::always_inline]] inline FloatRegister AsFloats(IntRegister value) {
    return _mm_castsi128_ps(value);
}

[[gnu::always_inline]] inline IntRegister AsInts(FloatRegister value) {
    return _mm_castps_si128(value);
}

template <int k0, int k1, int k2, int k3>
[[gnu::always_inline]] inline FloatRegister ShuffleLanes(FloatRegister value) {
    return _mm_shuffle_ps(value, value, _MM_SHUFFLE(k3, k2, k1, k0));
}

template <int kLane>
[[gnu::always_inline]] inline float ExtractLane(FloatRegister value) {
    return value[kLane];
}

template <int kLane>
[[gnu::always_inline]] inline int32_t ExtractLane(IntRegister value) {
    return reinterpret_cast<__v4si>(value)[kLane];
}

template <int kLane>
[[gnu::always_inline]] inline FloatRegister InsertLane(FloatRegister value, float lane) {
    value[kLane] = lane;
    return value;
}

[[gnu::always_inline]] inline FloatRegister InterleaveLow(FloatRegister a, FloatRegister b) {
    return _mm_unpacklo_ps(a, b);
}

[[gnu::always_inline]] inline FloatRegister InterleaveHigh(FloatRegister a, FloatRegister b) {
    return _mm_unpackhi_ps(a, b);
}

[[gnu::always_inline]] inline FloatRegister DeinterleaveEven(FloatRegister a, FloatRegister b) {
    return _mm_shuffle_ps(a, b, _MM_SHUFFLE(2, 0, 2, 0));
}

[[gnu::always_inline]] inline FloatRegister DeinterleaveOdd(FloatRegister a, FloatRegister b) {
    return _mm_shuffle_ps(a, b, _MM_SHUFFLE(3, 1, 3, 1));
}

} // namespace Vestrel::SIMD_Neon::Backend
