#pragma once

// Sixteen floats and sixty-four bytes side by side, for sources that are compiled for AVX-512 with VBMI.
// Operations mean what their namesakes in zr_support/simd_float4.h mean. As in avx2_lanes.h, every function
// is in this namespace or has a type of it in its name.

#include <immintrin.h>

#include <cstddef>
#include <cstdint>

namespace Vestrel::Internal::Avx512 {

struct IntX16 {
    __m512i m_Register;

    IntX16() = default;
    [[gnu::always_inline]] explicit IntX16(__m512i value) : m_Register(value) {}
    [[gnu::always_inline]] explicit IntX16(int32_t allLanes) : m_Register(_mm512_set1_epi32(allLanes)) {}

    [[gnu::always_inline]] static IntX16 Load(const void* source) {
        return IntX16(_mm512_loadu_si512(source));
    }
};

struct FloatX16 {
    using CInt = IntX16;
    static constexpr size_t kLanes = 16;

    __m512 m_Register;

    FloatX16() = default;
    [[gnu::always_inline]] explicit FloatX16(__m512 value) : m_Register(value) {}
    [[gnu::always_inline]] explicit FloatX16(float allLanes) : m_Register(_mm512_set1_ps(allLanes)) {}

    [[gnu::always_inline]] static FloatX16 Load(const void* source) {
        return FloatX16(_mm512_loadu_ps(source));
    }
};

/// A bit for each lane. As an operand of + or &: -1 or 0 in each lane.
struct MaskX16 {
    __mmask16 m_Bits;
};

/// Sums wrap at 256.
struct ByteX64 {
    __m512i m_Register;

    ByteX64() = default;
    [[gnu::always_inline]] explicit ByteX64(__m512i value) : m_Register(value) {}
    [[gnu::always_inline]] explicit ByteX64(uint32_t allLanes)
        : m_Register(_mm512_set1_epi8(static_cast<char>(allLanes))) {}

    [[gnu::always_inline]] static ByteX64 Load(const void* source) {
        return ByteX64(_mm512_loadu_si512(source));
    }
};

[[gnu::always_inline]] inline FloatX16 operator+(FloatX16 a, FloatX16 b) {
    return FloatX16(_mm512_add_ps(a.m_Register, b.m_Register));
}

[[gnu::always_inline]] inline FloatX16 operator-(FloatX16 a, FloatX16 b) {
    return FloatX16(_mm512_sub_ps(a.m_Register, b.m_Register));
}

[[gnu::always_inline]] inline FloatX16 operator*(FloatX16 a, FloatX16 b) {
    return FloatX16(_mm512_mul_ps(a.m_Register, b.m_Register));
}

[[gnu::always_inline]] inline FloatX16 operator&(FloatX16 a, MaskX16 mask) {
    return FloatX16(_mm512_maskz_mov_ps(mask.m_Bits, a.m_Register));
}

[[gnu::always_inline]] inline FloatX16 operator&(FloatX16 a, IntX16 b) {
    return FloatX16(_mm512_castsi512_ps(_mm512_and_si512(_mm512_castps_si512(a.m_Register), b.m_Register)));
}

[[gnu::always_inline]] inline FloatX16 operator^(FloatX16 a, FloatX16 b) {
    return FloatX16(_mm512_castsi512_ps(
        _mm512_xor_si512(_mm512_castps_si512(a.m_Register), _mm512_castps_si512(b.m_Register))));
}

[[gnu::always_inline]] inline IntX16 operator+(IntX16 a, MaskX16 mask) {
    return IntX16(_mm512_mask_sub_epi32(a.m_Register, mask.m_Bits, a.m_Register, IntX16(1).m_Register));
}

[[gnu::always_inline]] inline IntX16 operator&(IntX16 a, IntX16 b) {
    return IntX16(_mm512_and_si512(a.m_Register, b.m_Register));
}

[[gnu::always_inline]] inline ByteX64 operator+(ByteX64 a, ByteX64 b) {
    return ByteX64(_mm512_add_epi8(a.m_Register, b.m_Register));
}

[[gnu::always_inline]] inline MaskX16 GreaterThan(FloatX16 a, FloatX16 b) {
    return {_mm512_cmp_ps_mask(a.m_Register, b.m_Register, _CMP_GT_OQ)};
}

/// Rounds toward zero. Outside int32 and for NaN: -2^31.
[[gnu::always_inline]] inline IntX16 TruncateInRange(FloatX16 value) {
    return IntX16(_mm512_cvttps_epi32(value.m_Register));
}

/// Rounds toward zero. Saturates; NaN gives -2^31.
[[gnu::always_inline]] inline IntX16 TruncateNumberToInt(FloatX16 value) {
    const __mmask16 isAbove = _mm512_cmp_ps_mask(value.m_Register, FloatX16(0x1p31f).m_Register, _CMP_GE_OQ);
    return IntX16(
        _mm512_mask_mov_epi32(TruncateInRange(value).m_Register, isAbove, IntX16(INT32_MAX).m_Register));
}

[[gnu::always_inline]] inline FloatX16 ToFloat(IntX16 value) {
    return FloatX16(_mm512_cvtepi32_ps(value.m_Register));
}

[[gnu::always_inline]] inline FloatX16 Floor(FloatX16 value) {
    return FloatX16(_mm512_roundscale_ps(value.m_Register, _MM_FROUND_TO_NEG_INF | _MM_FROUND_NO_EXC));
}

[[gnu::always_inline]] inline IntX16 Min(IntX16 a, IntX16 b) {
    return IntX16(_mm512_min_epi32(a.m_Register, b.m_Register));
}

[[gnu::always_inline]] inline bool AnyIs(int32_t number, IntX16 value) {
    return _mm512_cmpeq_epi32_mask(value.m_Register, IntX16(number).m_Register) != 0;
}

[[gnu::always_inline]] inline bool AllTrue(MaskX16 mask) {
    return mask.m_Bits == 0xFFFF;
}

[[gnu::always_inline]] inline void FromLanes(const int32_t (&lanes)[16], IntX16& value) {
    value = IntX16(_mm512_loadu_si512(lanes));
}

/// `value` with its sign flipped where the last bit of `number` is set.
[[gnu::always_inline]] inline FloatX16 FlipSignIfOdd(FloatX16 value, FloatX16 number) {
    const __m512i signs = _mm512_slli_epi32(_mm512_castps_si512(number.m_Register), 31);
    return FloatX16(_mm512_castsi512_ps(_mm512_xor_si512(_mm512_castps_si512(value.m_Register), signs)));
}

/// `a` where the mask is set, else `b`.
[[gnu::always_inline]] inline FloatX16 Select(MaskX16 mask, FloatX16 a, FloatX16 b) {
    return FloatX16(_mm512_mask_mov_ps(b.m_Register, mask.m_Bits, a.m_Register));
}

/// Cells as HashEdges adds them. Identity: byte hashes need no packing.
[[gnu::always_inline]] inline IntX16 HashOperand(IntX16 cells) {
    return cells;
}

/// `kBits` may be 0.
template <int kBits>
[[gnu::always_inline]] inline IntX16 ShiftRight(IntX16 value) {
    return IntX16(_mm512_srli_epi32(value.m_Register, kBits));
}

[[gnu::always_inline]] inline void Store(void* target, FloatX16 value) {
    _mm512_storeu_ps(target, value.m_Register);
}

[[gnu::always_inline]] inline void Store(void* target, IntX16 value) {
    _mm512_storeu_si512(target, value.m_Register);
}

// Movement of lanes. A quarter is 128 bits.

/// The 32-bit lanes as a matrix whose rows are the quarters, transposed.
[[gnu::always_inline]] inline __m512i _TransposeQuarters(__m512i value) {
    const __m512i order = _mm512_setr_epi32(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15);
    return _mm512_permutexvar_epi32(order, value);
}

/// Undoes the lane order of LoadInterleaved4.
[[gnu::always_inline]] inline FloatX16 RestoreMemoryOrder(FloatX16 value) {
    return FloatX16(_mm512_castsi512_ps(_TransposeQuarters(_mm512_castps_si512(value.m_Register))));
}

// Records of several components, packed, as one value per component.

[[gnu::always_inline]] inline void _LoadEach(const float* source, FloatX16* loaded, size_t count) {
    for (size_t k = 0; k < count; ++k) {
        loaded[k] = FloatX16::Load(source + FloatX16::kLanes * k);
    }
}

[[gnu::always_inline]] inline void LoadInterleaved2(const float* source, FloatX16* axes) {
    FloatX16 loaded[2];
    _LoadEach(source, loaded, 2);
    const __m512i x = _mm512_setr_epi32(0, 2, 4, 6, 8, 10, 12, 14, 16, 18, 20, 22, 24, 26, 28, 30);
    const __m512i y = _mm512_setr_epi32(1, 3, 5, 7, 9, 11, 13, 15, 17, 19, 21, 23, 25, 27, 29, 31);
    axes[0] = FloatX16(_mm512_permutex2var_ps(loaded[0].m_Register, x, loaded[1].m_Register));
    axes[1] = FloatX16(_mm512_permutex2var_ps(loaded[0].m_Register, y, loaded[1].m_Register));
}

/// Lanes 0, 3, 6, ... of the first, 1, 4, 7, ... of the second, 2, 5, 8, ... of the third.
[[gnu::always_inline]] inline __m512 _BlendEveryThird(FloatX16 first, FloatX16 second, FloatX16 third) {
    return _mm512_mask_blend_ps(0x4924, _mm512_mask_blend_ps(0x2492, first.m_Register, second.m_Register),
                                third.m_Register);
}

/// The three registers hold a component in disjoint lanes: two blends collect it, one permutation orders it.
[[gnu::always_inline]] inline void LoadInterleaved3(const float* source, FloatX16* axes) {
    FloatX16 loaded[3];
    _LoadEach(source, loaded, 3);
    const __m512i x = _mm512_setr_epi32(0, 3, 6, 9, 12, 15, 2, 5, 8, 11, 14, 1, 4, 7, 10, 13);
    const __m512i y = _mm512_setr_epi32(1, 4, 7, 10, 13, 0, 3, 6, 9, 12, 15, 2, 5, 8, 11, 14);
    const __m512i z = _mm512_setr_epi32(2, 5, 8, 11, 14, 1, 4, 7, 10, 13, 0, 3, 6, 9, 12, 15);
    axes[0] = FloatX16(_mm512_permutexvar_ps(x, _BlendEveryThird(loaded[0], loaded[2], loaded[1])));
    axes[1] = FloatX16(_mm512_permutexvar_ps(y, _BlendEveryThird(loaded[1], loaded[0], loaded[2])));
    axes[2] = FloatX16(_mm512_permutexvar_ps(z, _BlendEveryThird(loaded[2], loaded[1], loaded[0])));
}

/// Four rows of four become columns, within each quarter.
[[gnu::always_inline]] inline void TransposeFours(const FloatX16* loaded, FloatX16* axes) {
    // with loaded values a, b, c and d
    const __m512 ac01 = _mm512_unpacklo_ps(loaded[0].m_Register, loaded[2].m_Register); // a0 c0 a1 c1
    const __m512 bd01 = _mm512_unpacklo_ps(loaded[1].m_Register, loaded[3].m_Register); // b0 d0 b1 d1
    const __m512 ac23 = _mm512_unpackhi_ps(loaded[0].m_Register, loaded[2].m_Register); // a2 c2 a3 c3
    const __m512 bd23 = _mm512_unpackhi_ps(loaded[1].m_Register, loaded[3].m_Register); // b2 d2 b3 d3
    axes[0] = FloatX16(_mm512_unpacklo_ps(ac01, bd01));
    axes[1] = FloatX16(_mm512_unpackhi_ps(ac01, bd01));
    axes[2] = FloatX16(_mm512_unpacklo_ps(ac23, bd23));
    axes[3] = FloatX16(_mm512_unpackhi_ps(ac23, bd23));
}

/// Not in memory order: lanes 0 to 3 are records 0, 4, 8, 12, lanes 4 to 7 records 1, 5, 9, 13, and so on.
/// See RestoreMemoryOrder.
[[gnu::always_inline]] inline void LoadInterleaved4(const float* source, FloatX16* axes) {
    FloatX16 loaded[4];
    _LoadEach(source, loaded, 4);
    TransposeFours(loaded, axes);
}

/// Records of three floats, each followed by one that is not read. In the order of LoadInterleaved4.
[[gnu::always_inline]] inline void LoadPadded3(const float* source, FloatX16* axes) {
    constexpr __mmask16 kXyz = 0x7777;
    FloatX16 loaded[4];
    for (size_t k = 0; k < 4; ++k) {
        loaded[k] = FloatX16(_mm512_maskz_loadu_ps(kXyz, source + FloatX16::kLanes * k));
    }
    TransposeFours(loaded, axes);
}

/// Quarters 0 and 2 of both.
[[gnu::always_inline]] inline FloatX16 EvenQuarters(FloatX16 a, FloatX16 b) {
    return FloatX16(_mm512_shuffle_f32x4(a.m_Register, b.m_Register, _MM_SHUFFLE(2, 0, 2, 0)));
}

/// Quarters 1 and 3 of both.
[[gnu::always_inline]] inline FloatX16 OddQuarters(FloatX16 a, FloatX16 b) {
    return FloatX16(_mm512_shuffle_f32x4(a.m_Register, b.m_Register, _MM_SHUFFLE(3, 1, 3, 1)));
}

/// Sixteen records of four floats and four integers, one value per component. In the order of
/// LoadInterleaved4.
[[gnu::always_inline]] inline void LoadRecords(const float* source, FloatX16* floats, IntX16* integers) {
    FloatX16 firstHalves[4];
    FloatX16 secondHalves[4];
    for (size_t k = 0; k < 4; ++k) {
        const FloatX16 records01 = FloatX16::Load(source + 32 * k);
        const FloatX16 records23 = FloatX16::Load(source + 32 * k + 16);
        firstHalves[k] = EvenQuarters(records01, records23);
        secondHalves[k] = OddQuarters(records01, records23);
    }
    TransposeFours(firstHalves, floats);
    FloatX16 columns[4];
    TransposeFours(secondHalves, columns);
    for (size_t k = 0; k < 4; ++k) {
        integers[k] = IntX16(_mm512_castps_si512(columns[k].m_Register));
    }
}

/// Sixty-four integers in 0 to 255 as bytes. Quarter n has lanes 4n to 4n + 3 of `a`, then of `b`, `c` and
/// `d`.
[[gnu::always_inline]] inline ByteX64 PackByQuarters(IntX16 a, IntX16 b, IntX16 c, IntX16 d) {
    return ByteX64(_mm512_packus_epi16(_mm512_packus_epi32(a.m_Register, b.m_Register),
                                       _mm512_packus_epi32(c.m_Register, d.m_Register)));
}

/// The same in memory order.
[[gnu::always_inline]] inline ByteX64 Pack(IntX16 a, IntX16 b, IntX16 c, IntX16 d) {
    return ByteX64(_TransposeQuarters(PackByQuarters(a, b, c, d).m_Register));
}

/// Stores sixty-four floats, given as four planes of bytes, lowest first. Undoes the order of PackByQuarters.
[[gnu::always_inline]] inline void StoreByQuarters(float* target, const ByteX64* bytes) {
    const __m512i low0 = _mm512_unpacklo_epi8(bytes[0].m_Register, bytes[1].m_Register);
    const __m512i high0 = _mm512_unpacklo_epi8(bytes[2].m_Register, bytes[3].m_Register);
    const __m512i low1 = _mm512_unpackhi_epi8(bytes[0].m_Register, bytes[1].m_Register);
    const __m512i high1 = _mm512_unpackhi_epi8(bytes[2].m_Register, bytes[3].m_Register);
    _mm512_store_si512(target, _mm512_unpacklo_epi16(low0, high0));
    _mm512_store_si512(target + 16, _mm512_unpackhi_epi16(low0, high0));
    _mm512_store_si512(target + 32, _mm512_unpacklo_epi16(low1, high1));
    _mm512_store_si512(target + 48, _mm512_unpackhi_epi16(low1, high1));
}

/// A table of 256 bytes in four registers, with sixty-four look-ups at a time.
struct CByteTable {
    __m512i m_Quarters[4];

    [[gnu::always_inline]] ByteX64 operator[](ByteX64 index) const {
        const __m512i lower = _mm512_permutex2var_epi8(m_Quarters[0], index.m_Register, m_Quarters[1]);
        const __m512i upper = _mm512_permutex2var_epi8(m_Quarters[2], index.m_Register, m_Quarters[3]);
        return ByteX64(_mm512_mask_blend_epi8(_mm512_movepi8_mask(index.m_Register), lower, upper));
    }
};

// Doubles.

/// Eight doubles, with the operators that the compilers define for vector types.
struct CDoubleX8 {
    using CValue [[gnu::vector_size(64)]] = double;

    [[gnu::always_inline]] static CValue SquareRoot(CValue value) {
        return _mm512_sqrt_pd(value);
    }
};

/// Lanes 0 to 7, and 8 to 15.
[[gnu::always_inline]] inline void ToDoubles(FloatX16 value, CDoubleX8::CValue& low,
                                             CDoubleX8::CValue& high) {
    const __m512d floats = _mm512_castps_pd(value.m_Register);
    low = _mm512_cvtps_pd(_mm512_castps512_ps256(value.m_Register));
    high = _mm512_cvtps_pd(_mm256_castpd_ps(_mm512_extractf64x4_pd(floats, 1)));
}

/// The nearest floats. As in avx2_lanes.h, not by an intrinsic.
[[gnu::always_inline]] inline void ToFloats(CDoubleX8::CValue low, CDoubleX8::CValue high, FloatX16& value) {
    using CFloats [[gnu::vector_size(32)]] = float;
    const __m256 lowFloats = __builtin_convertvector(low, CFloats);
    const __m256 highFloats = __builtin_convertvector(high, CFloats);
    const __m512d floats = _mm512_castps_pd(_mm512_castps256_ps512(lowFloats));
    value = FloatX16(_mm512_castpd_ps(_mm512_insertf64x4(floats, _mm256_castps_pd(highFloats), 1)));
}

} // namespace Vestrel::Internal::Avx512
