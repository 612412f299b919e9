#pragma once

// The four-lane SIMD values and their operations, with the same results on every platform. A backend (one
// file under simd/) supplies the primitives on its register types; everything composed from them is here.
//
// All operations work lane by lane and round each lane separately. Lane 0 is first in memory.

#include <zr_support/compiler.h>
#include <zr_support/config.h>

#include <cstdint>
#include <type_traits>

#if VESTREL_SIMD_BACKEND_NEON
#include <zr_support/simd/neon.h>
#elif VESTREL_SIMD_BACKEND_SSE
#include <zr_support/simd/sse.h>
#elif VESTREL_SIMD_BACKEND_WASM
#include <zr_support/simd/wasm.h>
#elif VESTREL_SIMD_BACKEND_PORTABLE
#include <zr_support/simd/portable.h>
#else
#error "zr_support/config.h names no SIMD backend: configure the library with CMake."
#endif

// On 32-bit x86, g++ aligns register arguments on the stack and clang++ does not. So the types have the
// compiler in their mangled names there: functions that take four-lane values do not link with a library
// built by the other compiler. Everything else does.
#if !defined(__i386__) || !VESTREL_SIMD_BACKEND_SSE
#define VESTREL_LANES_TYPE
#elif defined(__clang__)
#define VESTREL_LANES_TYPE [[gnu::abi_tag("passed_as_by_clang")]]
#else
#define VESTREL_LANES_TYPE [[gnu::abi_tag("passed_as_by_gcc")]]
#endif

/// Four-lane values for the instructions that the library was built for, and functions over arrays of floats.
namespace Vestrel::SIMD_Neon {

/// Four floats, in one register if the platform has one.
struct VESTREL_LANES_TYPE alignas(16) Float4 {
    /// The backend's register. Its type differs between backends, so portable programs do not use it.
    Backend::FloatRegister m_Register;

    /// Lanes with unspecified contents.
    Float4() = default;

    /// A value for each lane; lane 0 is first in memory.
    [[gnu::always_inline]] constexpr Float4(float lane0, float lane1, float lane2, float lane3)
        : m_Register(Backend::MakeFloats(lane0, lane1, lane2, lane3)) {}

    /// The same value in all four lanes.
    [[gnu::always_inline]] explicit constexpr Float4(float allLanes)
        : Float4(allLanes, allLanes, allLanes, allLanes) {}

    /// The lanes of a backend's register.
    [[gnu::always_inline]] explicit constexpr Float4(Backend::FloatRegister value) : m_Register(value) {}
};

/// Four signed 32-bit integers, in one register if the platform has one. In a mask, each lane is -1 (all
/// ones) or 0.
struct VESTREL_LANES_TYPE alignas(16) Int4 {
    /// The backend's register. Its type differs between backends, so portable programs do not use it.
    Backend::IntRegister m_Register;

    /// Lanes with unspecified contents.
    Int4() = default;

    /// A value for each lane; lane 0 is first in memory.
    [[gnu::always_inline]] Int4(int32_t lane0, int32_t lane1, int32_t lane2, int32_t lane3)
        : m_Register(Backend::MakeInts(lane0, lane1, lane2, lane3)) {}

    /// The same value in all four lanes.
    [[gnu::always_inline]] explicit Int4(int32_t allLanes) : Int4(allLanes, allLanes, allLanes, allLanes) {}

    /// The lanes of a backend's register.
    [[gnu::always_inline]] explicit constexpr Int4(Backend::IntRegister value) : m_Register(value) {}
};

static_assert(sizeof(Float4) == 16 && alignof(Float4) == 16 && std::is_trivially_copyable_v<Float4>);
static_assert(sizeof(Int4) == 16 && alignof(Int4) == 16 && std::is_trivially_copyable_v<Int4>);

/// Frequently used values.
namespace Constants {

/// 1.0f in all four lanes.
inline constexpr Float4 _Constant_Fp32_1_1_1_1{1.0f, 1.0f, 1.0f, 1.0f};

} // namespace Constants

// Loads and stores.

/// Reads 16 bytes. The caller guarantees an address that is a multiple of 16.
[[gnu::always_inline]] inline Float4 LoadAligned(const void* source) {
    return Float4(Backend::LoadAligned(source));
}

/// Reads 16 bytes, from any address.
[[gnu::always_inline]] inline Float4 LoadUnaligned(const void* source) {
    return Float4(Backend::LoadUnaligned(source));
}

/// Reads 8 bytes, from any address: (source[0], source[1], 0, 0).
[[gnu::always_inline]] inline Float4 LoadPair(const void* source) {
    return Float4(Backend::LoadPair(source));
}

/// Reads 12 bytes, from any address: (source[0], source[1], source[2], 0).
[[gnu::always_inline]] inline Float4 LoadTriple(const void* source) {
    return Float4(Backend::LoadTriple(source));
}

/// Reads two pairs of neighbours, 8 bytes from each of any two addresses: (first[0], first[1], second[0],
/// second[1]).
[[gnu::always_inline]] inline Float4 LoadTwoPairs(const void* first, const void* second) {
    return Float4(Backend::LoadTwoPairs(first, second));
}

/// Four records of three floats, one value per component.
struct Float4x3 {
    Float4 m_X; ///< the first components
    Float4 m_Y; ///< the second components
    Float4 m_Z; ///< the third components
};

/// Reads 48 bytes, (x0 y0 z0) to (x3 y3 z3), as (x0, x1, x2, x3), (y0, y1, y2, y3) and (z0, z1, z2, z3).
/// The caller guarantees an address that is a multiple of 16.
[[gnu::always_inline]] inline Float4x3 LoadAlignedInterleaved3(const void* source) {
    const Backend::FloatRegisterX3 loaded = Backend::LoadAlignedInterleaved3(source);
    return {Float4(loaded.m_X), Float4(loaded.m_Y), Float4(loaded.m_Z)};
}

/// Writes 16 bytes. The caller guarantees an address that is a multiple of 16.
[[gnu::always_inline]] inline void StoreAligned(void* target, Float4 value) {
    Backend::StoreAligned(target, value.m_Register);
}

/// Writes 16 bytes, to any address.
[[gnu::always_inline]] inline void StoreUnaligned(void* target, Float4 value) {
    Backend::StoreUnaligned(target, value.m_Register);
}

/// Writes 16 bytes. The caller guarantees an address that is a multiple of 16.
[[gnu::always_inline]] inline void StoreAligned(void* target, Int4 value) {
    Backend::StoreAligned(target, value.m_Register);
}

/// Writes the lanes to memory so that they can be read one by one. Without this, compilers replace the store
/// by lane extractions, which compete with arithmetic for execution ports.
///
/// The caller guarantees `lanes` at a multiple of 16.
template <typename TLane, typename TLanes>
[[gnu::always_inline]] inline void SpillAligned(TLane (&lanes)[4], TLanes value) {
    static_assert(sizeof(lanes) == sizeof(value));
    StoreAligned(lanes, value);
    asm("" : "+m"(lanes));
}

// Arithmetic. A product and a sum in one expression are rounded twice, and compilers neither fuse, reorder
// nor remove operations, whatever the flags of the file: results have the same bits with -ffp-contract=fast
// (the default) and with -ffast-math or any part of it. This includes signed zeros, denormals, infinities and
// NaN, and the conversions and comparisons below.
//
// A file's own floats still follow its flags: with -fno-signed-zeros a literal -0.0f may become 0.0f (but
// AsFloats(Int4(INT32_MIN)) is -0). And in a program linked with -ffast-math, the processor flushes
// denormals.

/// Hides the origin of `lanes` from the compiler, so that it can neither fuse nor remove the operation that
/// takes or gives them.
///
/// The library's own sources do not need it and are up to 5 % faster without: strict_arithmetic.h refuses the
/// flags that let compilers remove operations, and they are compiled with -ffp-contract=off.
template <typename TLanes>
[[gnu::always_inline]] inline void _Pin([[maybe_unused]] TLanes& lanes) {
#if !defined(VESTREL_STRICT_ARITHMETIC)
    lanes.m_Register = Backend::Pin(lanes.m_Register);
#endif
}

/// `lanes` after _Pin.
template <typename TLanes>
[[gnu::always_inline]] inline TLanes _Pinned(TLanes lanes) {
    _Pin(lanes);
    return lanes;
}

/// The sums of the lanes, each rounded to nearest.
[[gnu::always_inline]] inline Float4 operator+(Float4 a, Float4 b) {
    _Pin(a);
    _Pin(b);
    return _Pinned(Float4(Backend::Add(a.m_Register, b.m_Register)));
}

/// The differences of the lanes, each rounded to nearest.
[[gnu::always_inline]] inline Float4 operator-(Float4 a, Float4 b) {
    _Pin(a);
    _Pin(b);
    // Twice, because compilers merge two equal pins of one value and then fold x - x to 0.
    _Pin(b);
    return _Pinned(Float4(Backend::Subtract(a.m_Register, b.m_Register)));
}

/// The products of the lanes, each rounded to nearest and never fused with a sum.
[[gnu::always_inline]] inline Float4 operator*(Float4 a, Float4 b) {
    _Pin(a);
    _Pin(b);
    return _Pinned(Float4(Backend::Multiply(a.m_Register, b.m_Register)));
}

/// The sums of the lanes, modulo 2^32.
[[gnu::always_inline]] inline Int4 operator+(Int4 a, Int4 b) {
    return Int4(Backend::Add(a.m_Register, b.m_Register));
}

/// The sums of adjacent lanes: (a0 + a1, a2 + a3, b0 + b1, b2 + b3).
[[gnu::always_inline]] inline Float4 PairwiseAdd(Float4 a, Float4 b) {
    return Float4(Backend::DeinterleaveEven(a.m_Register, b.m_Register)) +
           Float4(Backend::DeinterleaveOdd(a.m_Register, b.m_Register));
}

// Conversions.

/// Rounds toward zero. Saturates: 2^31 and above give 2147483647, below -2^31 gives -2147483648. NaN gives 0.
[[gnu::always_inline]] inline Int4 TruncateToInt(Float4 value) {
    _Pin(value);
    return _Pinned(Int4(Backend::TruncateToInt(value.m_Register)));
}

/// TruncateToInt for values that are not NaN, cheaper on processors that do not saturate. NaN gives 0 or
/// -2147483648, or any value in a file compiled with -ffinite-math-only.
[[gnu::always_inline]] inline Int4 TruncateNumberToInt(Float4 value) {
    _Pin(value);
    return _Pinned(Int4(Backend::TruncateNumberToInt(value.m_Register)));
}

/// Rounds to the nearest float, ties to even.
[[gnu::always_inline]] inline Float4 ToFloat(Int4 value) {
    _Pin(value);
    return _Pinned(Float4(Backend::ToFloat(value.m_Register)));
}

// Comparison and bits.

/// A mask: -1 in lanes where a > b, 0 in others, including those with NaN. -0 and +0 are equal.
[[gnu::always_inline]] inline Int4 GreaterThan(Float4 a, Float4 b) {
    _Pin(a);
    _Pin(b);
    return _Pinned(Int4(Backend::GreaterThan(a.m_Register, b.m_Register)));
}

/// The bitwise AND of the lanes.
[[gnu::always_inline]] inline Int4 operator&(Int4 a, Int4 b) {
    return Int4(Backend::And(a.m_Register, b.m_Register));
}

/// The bitwise exclusive or of the lanes.
[[gnu::always_inline]] inline Int4 operator^(Int4 a, Int4 b) {
    return Int4(Backend::Xor(a.m_Register, b.m_Register));
}

/// The lanes shifted left by `kBits` bits, filled with zeros.
template <int kBits>
[[gnu::always_inline]] inline Int4 ShiftLeft(Int4 value) {
    static_assert(0 < kBits && kBits < 32);
    return Int4(Backend::ShiftLeft<kBits>(value.m_Register));
}

/// Whether every lane of a mask is -1.
///
/// The caller guarantees lanes that are -1 or 0.
[[gnu::always_inline]] inline bool AllTrue(Int4 mask) {
    return Backend::AllTrue(mask.m_Register);
}

/// The bits of the floats as integers.
[[gnu::always_inline]] inline Int4 AsInts(Float4 value) {
    return Int4(Backend::AsInts(value.m_Register));
}

/// The floats with these bits.
[[gnu::always_inline]] inline Float4 AsFloats(Int4 value) {
    _Pin(value); // with -fno-signed-zeros a constant -0 would become 0
    return Float4(Backend::AsFloats(value.m_Register));
}

/// The bitwise AND: with a mask, the lane or +0.
[[gnu::always_inline]] inline Float4 operator&(Float4 a, Int4 b) {
    return AsFloats(AsInts(a) & b);
}

/// The bitwise exclusive or: -0 in a lane of `b` flips the sign of that lane.
[[gnu::always_inline]] inline Float4 operator^(Float4 a, Float4 b) {
    return AsFloats(AsInts(a) ^ AsInts(b));
}

// Lane movement.

/// The lanes in another order: lane `k0` first, then lane `k1`, and so on.
template <int k0, int k1, int k2, int k3>
[[gnu::always_inline]] inline Float4 ShuffleLanes(Float4 value) {
    static_assert(0 <= k0 && k0 < 4 && 0 <= k1 && k1 < 4 && 0 <= k2 && k2 < 4 && 0 <= k3 && k3 < 4);
    return Float4(Backend::ShuffleLanes<k0, k1, k2, k3>(value.m_Register));
}

/// Lane `kLane` in all four lanes.
template <int kLane>
[[gnu::always_inline]] inline Float4 BroadcastLane(Float4 value) {
    return ShuffleLanes<kLane, kLane, kLane, kLane>(value);
}

/// Lane `kLane`, 0 to 3, as a float.
template <int kLane>
[[gnu::always_inline]] inline float ExtractLane(Float4 value) {
    static_assert(0 <= kLane && kLane < 4);
    return Backend::ExtractLane<kLane>(value.m_Register);
}

/// Lane `kLane`, 0 to 3, as an integer.
template <int kLane>
[[gnu::always_inline]] inline int32_t ExtractLane(Int4 value) {
    static_assert(0 <= kLane && kLane < 4);
    return Backend::ExtractLane<kLane>(value.m_Register);
}

/// `value` with `lane` in place of lane `kLane`.
template <int kLane>
[[gnu::always_inline]] inline Float4 InsertLane(Float4 value, float lane) {
    static_assert(0 <= kLane && kLane < 4);
    return Float4(Backend::InsertLane<kLane>(value.m_Register, lane));
}

/// (a0, b0, a1, b1)
[[gnu::always_inline]] inline Float4 InterleaveLow(Float4 a, Float4 b) {
    return Float4(Backend::InterleaveLow(a.m_Register, b.m_Register));
}

/// (a2, b2, a3, b3)
[[gnu::always_inline]] inline Float4 InterleaveHigh(Float4 a, Float4 b) {
    return Float4(Backend::InterleaveHigh(a.m_Register, b.m_Register));
}

/// Four values of four lanes each.
struct Float4x4 {
    Float4 m_Rows[4]; ///< row 0 first
};

/// The transpose of rows a, b, c, d: lane n of result row k is lane k of row n.
[[gnu::always_inline]] inline Float4x4 Transpose(Float4 a, Float4 b, Float4 c, Float4 d) {
    const Float4 ac01 = InterleaveLow(a, c);  // a0 c0 a1 c1
    const Float4 bd01 = InterleaveLow(b, d);  // b0 d0 b1 d1
    const Float4 ac23 = InterleaveHigh(a, c); // a2 c2 a3 c3
    const Float4 bd23 = InterleaveHigh(b, d); // b2 d2 b3 d3
    return {{InterleaveLow(ac01, bd01), InterleaveHigh(ac01, bd01), InterleaveLow(ac23, bd23),
             InterleaveHigh(ac23, bd23)}};
}

/// (a0, a2, b0, b2)
[[gnu::always_inline]] inline Float4 DeinterleaveEven(Float4 a, Float4 b) {
    return Float4(Backend::DeinterleaveEven(a.m_Register, b.m_Register));
}

/// (a1, a3, b1, b3)
[[gnu::always_inline]] inline Float4 DeinterleaveOdd(Float4 a, Float4 b) {
    return Float4(Backend::DeinterleaveOdd(a.m_Register, b.m_Register));
}

} // namespace Vestrel::SIMD_Neon
