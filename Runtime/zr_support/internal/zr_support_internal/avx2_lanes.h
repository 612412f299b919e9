#pragma once

// Eight floats side by side, for sources that are compiled for AVX2. Operations mean what their namesakes in
// zr_support/simd_float4.h mean.
//
// Every function is in this namespace or has a type of it in its name. Otherwise the linker might keep this
// copy of a function that other sources instantiate too, and older processors would run it.

#include <immintrin.h>

#include <cstddef>
#include <cstdint>

namespace Vestrel::Internal::Avx2 {

struct IntX8 {
    __m256i m_Register;

    IntX8() = default;
    [[gnu::always_inline]] explicit IntX8(__m256i value) : m_Register(value) {}
    [[gnu::always_inline]] explicit IntX8(int32_t allLanes) : m_Register(_mm256_set1_epi32(allLanes)) {}
};

struct FloatX8 {
    using CInt = IntX8;
    static constexpr size_t kLanes = 8;

    __m256 m_Register;

    FloatX8() = default;
    [[gnu::always_inline]] explicit FloatX8(__m256 value) : m_Register(value) {}
    [[gnu::always_inline]] explicit FloatX8(float allLanes) : m_Register(_mm256_set1_ps(allLanes)) {}

    [[gnu::always_inline]] static FloatX8 Load(const void* source) {
        return FloatX8(_mm256_loadu_ps(static_cast<const float*>(source)));
    }
};

[[gnu::always_inline]] inline FloatX8 operator+(FloatX8 a, FloatX8 b) {
    return FloatX8(_mm256_add_ps(a.m_Register, b.m_Register));
}

[[gnu::always_inline]] inline FloatX8 operator-(FloatX8 a, FloatX8 b) {
    return FloatX8(_mm256_sub_ps(a.m_Register, b.m_Register));
}

[[gnu::always_inline]] inline FloatX8 operator*(FloatX8 a, FloatX8 b) {
    return FloatX8(_mm256_mul_ps(a.m_Register, b.m_Register));
}

[[gnu::always_inline]] inline IntX8 operator+(IntX8 a, IntX8 b) {
    return IntX8(_mm256_add_epi32(a.m_Register, b.m_Register));
}

[[gnu::always_inline]] inline IntX8 operator&(IntX8 a, IntX8 b) {
    return IntX8(_mm256_and_si256(a.m_Register, b.m_Register));
}

[[gnu::always_inline]] inline FloatX8 operator&(FloatX8 a, IntX8 b) {
    return FloatX8(_mm256_and_ps(a.m_Register, _mm256_castsi256_ps(b.m_Register)));
}

[[gnu::always_inline]] inline FloatX8 operator^(FloatX8 a, FloatX8 b) {
    return FloatX8(_mm256_xor_ps(a.m_Register, b.m_Register));
}

/// A mask: -1 or 0 in each lane.
[[gnu::always_inline]] inline IntX8 GreaterThan(FloatX8 a, FloatX8 b) {
    return IntX8(_mm256_castps_si256(_mm256_cmp_ps(a.m_Register, b.m_Register, _CMP_GT_OQ)));
}

/// Rounds toward zero. Outside int32 and for NaN: -2^31.
[[gnu::always_inline]] inline IntX8 TruncateInRange(FloatX8 value) {
    return IntX8(_mm256_cvttps_epi32(value.m_Register));
}

/// Rounds toward zero. Saturates; NaN gives -2^31.
[[gnu::always_inline]] inline IntX8 TruncateNumberToInt(FloatX8 value) {
    const __m256 isAbove = _mm256_cmp_ps(value.m_Register, FloatX8(0x1p31f).m_Register, _CMP_GE_OQ);
    return IntX8(_mm256_xor_si256(TruncateInRange(value).m_Register, _mm256_castps_si256(isAbove)));
}

[[gnu::always_inline]] inline FloatX8 ToFloat(IntX8 value) {
    return FloatX8(_mm256_cvtepi32_ps(value.m_Register));
}

[[gnu::always_inline]] inline FloatX8 Floor(FloatX8 value) {
    return FloatX8(_mm256_floor_ps(value.m_Register));
}

[[gnu::always_inline]] inline IntX8 Min(IntX8 a, IntX8 b) {
    return IntX8(_mm256_min_epi32(a.m_Register, b.m_Register));
}

[[gnu::always_inline]] inline bool AnyIs(int32_t number, IntX8 value) {
    return _mm256_movemask_epi8(_mm256_cmpeq_epi32(value.m_Register, IntX8(number).m_Register)) != 0;
}

[[gnu::always_inline]] inline bool AllTrue(IntX8 mask) {
    return _mm256_movemask_ps(_mm256_castsi256_ps(mask.m_Register)) == 0xFF;
}

/// Not by _mm256_setr_epi32, which inserts lanes one after another.
[[gnu::always_inline]] inline void FromLanes(const int32_t (&lanes)[8], IntX8& value) {
    __m128i pairs[4];
    for (size_t k = 0; k < 4; ++k) {
        pairs[k] = _mm_unpacklo_epi32(_mm_cvtsi32_si128(lanes[2 * k]), _mm_cvtsi32_si128(lanes[2 * k + 1]));
    }
    const __m128i lower = _mm_unpacklo_epi64(pairs[0], pairs[1]);
    value = IntX8(_mm256_set_m128i(_mm_unpacklo_epi64(pairs[2], pairs[3]), lower));
}

/// `a` where the mask is -1, else `b`.
[[gnu::always_inline]] inline FloatX8 Select(IntX8 mask, FloatX8 a, FloatX8 b) {
    return FloatX8(_mm256_blendv_ps(b.m_Register, a.m_Register, _mm256_castsi256_ps(mask.m_Register)));
}

/// `value` with its sign flipped where the last bit of `number` is set.
[[gnu::always_inline]] inline FloatX8 FlipSignIfOdd(FloatX8 value, FloatX8 number) {
    const __m256i signs = _mm256_slli_epi32(_mm256_castps_si256(number.m_Register), 31);
    return FloatX8(_mm256_xor_ps(value.m_Register, _mm256_castsi256_ps(signs)));
}

/// Cells as HashEdges adds them: each in both 16-bit halves of its lane, for two hashes at once.
[[gnu::always_inline]] inline IntX8 HashOperand(IntX8 cells) {
    return IntX8(_mm256_or_si256(cells.m_Register, _mm256_slli_epi32(cells.m_Register, 16)));
}

[[gnu::always_inline]] inline void Store(void* target, FloatX8 value) {
    _mm256_storeu_ps(static_cast<float*>(target), value.m_Register);
}

[[gnu::always_inline]] inline void Store(void* target, IntX8 value) {
    _mm256_storeu_si256(static_cast<__m256i*>(target), value.m_Register);
}

// Movement of lanes within each 128-bit half.

/// (a0, b0, a1, b1)
[[gnu::always_inline]] inline FloatX8 InterleaveLow(FloatX8 a, FloatX8 b) {
    return FloatX8(_mm256_unpacklo_ps(a.m_Register, b.m_Register));
}

/// (a2, b2, a3, b3)
[[gnu::always_inline]] inline FloatX8 InterleaveHigh(FloatX8 a, FloatX8 b) {
    return FloatX8(_mm256_unpackhi_ps(a.m_Register, b.m_Register));
}

/// (a0, a2, b0, b2)
[[gnu::always_inline]] inline FloatX8 DeinterleaveEven(FloatX8 a, FloatX8 b) {
    return FloatX8(_mm256_shuffle_ps(a.m_Register, b.m_Register, _MM_SHUFFLE(2, 0, 2, 0)));
}

/// (a1, a3, b1, b3)
[[gnu::always_inline]] inline FloatX8 DeinterleaveOdd(FloatX8 a, FloatX8 b) {
    return FloatX8(_mm256_shuffle_ps(a.m_Register, b.m_Register, _MM_SHUFFLE(3, 1, 3, 1)));
}

// Records of several components, packed, as one value per component. Each half of a register loads its own
// records, so that no lane crosses halves.

/// Four floats for the lower half, four for the upper.
[[gnu::always_inline]] inline FloatX8 LoadHalves(const float* lower, const float* upper) {
    return FloatX8(_mm256_insertf128_ps(_mm256_castps128_ps256(_mm_loadu_ps(lower)), _mm_loadu_ps(upper), 1));
}

[[gnu::always_inline]] inline void LoadInterleaved2(const float* source, FloatX8* axes) {
    const FloatX8 xy01 = LoadHalves(source, source + 8);
    const FloatX8 xy23 = LoadHalves(source + 4, source + 12);
    axes[0] = DeinterleaveEven(xy01, xy23);
    axes[1] = DeinterleaveOdd(xy01, xy23);
}

[[gnu::always_inline]] inline void LoadInterleaved3(const float* source, FloatX8* axes) {
    const __m256 a = LoadHalves(source, source + 12).m_Register;          // x0 y0 z0 x1
    const __m256 b = LoadHalves(source + 4, source + 16).m_Register;      // y1 z1 x2 y2
    const __m256 c = LoadHalves(source + 8, source + 20).m_Register;      // z2 x3 y3 z3
    const __m256 xy23 = _mm256_shuffle_ps(b, c, _MM_SHUFFLE(2, 1, 3, 2)); // x2 y2 x3 y3
    const __m256 yz01 = _mm256_shuffle_ps(a, b, _MM_SHUFFLE(1, 0, 2, 1)); // y0 z0 y1 z1
    axes[0] = FloatX8(_mm256_shuffle_ps(a, xy23, _MM_SHUFFLE(2, 0, 3, 0)));
    axes[1] = FloatX8(_mm256_shuffle_ps(yz01, xy23, _MM_SHUFFLE(3, 1, 2, 0)));
    axes[2] = FloatX8(_mm256_shuffle_ps(yz01, c, _MM_SHUFFLE(3, 0, 3, 1)));
}

/// Four rows of four become columns, within each half.
[[gnu::always_inline]] inline void TransposeFours(const FloatX8* rows, FloatX8* axes) {
    const FloatX8 ac01 = InterleaveLow(rows[0], rows[2]);
    const FloatX8 bd01 = InterleaveLow(rows[1], rows[3]);
    const FloatX8 ac23 = InterleaveHigh(rows[0], rows[2]);
    const FloatX8 bd23 = InterleaveHigh(rows[1], rows[3]);
    axes[0] = InterleaveLow(ac01, bd01);
    axes[1] = InterleaveHigh(ac01, bd01);
    axes[2] = InterleaveLow(ac23, bd23);
    axes[3] = InterleaveHigh(ac23, bd23);
}

/// Not in memory order: lanes are records 0, 2, 4, 6, 1, 3, 5, 7. See RestoreMemoryOrder.
[[gnu::always_inline]] inline void LoadInterleaved4(const float* source, FloatX8* axes) {
    FloatX8 rows[4];
    for (size_t k = 0; k < 4; ++k) {
        rows[k] = FloatX8::Load(source + FloatX8::kLanes * k);
    }
    TransposeFours(rows, axes);
}

/// Records of three floats, each followed by one that is not read. In the order of LoadInterleaved4.
[[gnu::always_inline]] inline void LoadPadded3(const float* source, FloatX8* axes) {
    const __m256i xyz = _mm256_setr_epi32(-1, -1, -1, 0, -1, -1, -1, 0);
    FloatX8 rows[4];
    for (size_t k = 0; k < 4; ++k) {
        rows[k] = FloatX8(_mm256_maskload_ps(source + FloatX8::kLanes * k, xyz));
    }
    TransposeFours(rows, axes);
}

/// The lower halves of both.
[[gnu::always_inline]] inline FloatX8 LowerHalves(FloatX8 a, FloatX8 b) {
    return FloatX8(_mm256_permute2f128_ps(a.m_Register, b.m_Register, 0x20));
}

/// The upper halves of both.
[[gnu::always_inline]] inline FloatX8 UpperHalves(FloatX8 a, FloatX8 b) {
    return FloatX8(_mm256_permute2f128_ps(a.m_Register, b.m_Register, 0x31));
}

/// Eight records of four floats and four integers, one value per component. In the order of LoadInterleaved4.
[[gnu::always_inline]] inline void LoadRecords(const float* source, FloatX8* floats, IntX8* integers) {
    FloatX8 firstHalves[4];
    FloatX8 secondHalves[4];
    for (size_t k = 0; k < 4; ++k) {
        const FloatX8 record0 = FloatX8::Load(source + 16 * k);
        const FloatX8 record1 = FloatX8::Load(source + 16 * k + 8);
        firstHalves[k] = LowerHalves(record0, record1);
        secondHalves[k] = UpperHalves(record0, record1);
    }
    TransposeFours(firstHalves, floats);
    FloatX8 columns[4];
    TransposeFours(secondHalves, columns);
    for (size_t k = 0; k < 4; ++k) {
        integers[k] = IntX8(_mm256_castps_si256(columns[k].m_Register));
    }
}

/// Undoes the lane order of LoadInterleaved4.
[[gnu::always_inline]] inline FloatX8 RestoreMemoryOrder(FloatX8 value) {
    const __m256i order = _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7);
    return FloatX8(_mm256_permutevar8x32_ps(value.m_Register, order));
}

/// (first[0], first[1], second[0], second[1])
[[gnu::always_inline]] inline __m128 _LoadTwoPairs(const float* first, const float* second) {
    const __m128 low = _mm_castsi128_ps(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(first)));
    return _mm_loadh_pi(low, reinterpret_cast<const __m64*>(second));
}

/// Four pairs of neighbours: pairs 0 and 1 in the lower half, 2 and 3 in the upper.
[[gnu::always_inline]] inline FloatX8 LoadFourPairs(const float* pair0, const float* pair1,
                                                    const float* pair2, const float* pair3) {
    const __m256 lower = _mm256_castps128_ps256(_LoadTwoPairs(pair0, pair1));
    return FloatX8(_mm256_insertf128_ps(lower, _LoadTwoPairs(pair2, pair3), 1));
}

// Doubles.

/// Four doubles, with the operators that the compilers define for vector types.
struct CDoubleX4 {
    using CValue [[gnu::vector_size(32)]] = double;

    [[gnu::always_inline]] static CValue SquareRoot(CValue value) {
        return _mm256_sqrt_pd(value);
    }
};

/// Lanes 0 to 3, and 4 to 7.
[[gnu::always_inline]] inline void ToDoubles(FloatX8 value, CDoubleX4::CValue& low, CDoubleX4::CValue& high) {
    low = _mm256_cvtps_pd(_mm256_castps256_ps128(value.m_Register));
    high = _mm256_cvtps_pd(_mm256_extractf128_ps(value.m_Register, 1));
}

/// The nearest floats. Not by _mm256_cvtpd_ps, at which MemorySanitizer stops, even if nobody uses the
/// results.
[[gnu::always_inline]] inline void ToFloats(CDoubleX4::CValue low, CDoubleX4::CValue high, FloatX8& value) {
    using CFloats [[gnu::vector_size(16)]] = float;
    const __m256 lowFloats = _mm256_castps128_ps256(__builtin_convertvector(low, CFloats));
    value = FloatX8(_mm256_insertf128_ps(lowFloats, __builtin_convertvector(high, CFloats), 1));
}

} // namespace Vestrel::Internal::Avx2
