#pragma once

#include <zr_support/compiler.h>
#include <zr_support/config.h>
#include <zr_support/simd_backend.h>
#include <zr_support/simd_float4.h>

#include <cstdint>

namespace Vestrel {

/// Whether the samplers give the promised bits with this build of the library, on this processor, in the
/// floating-point environment of the calling thread. Compares a hash of the results of all samplers of a
/// fixed field, its gradients, two rotations and both streams.
///
/// The promise holds in the default environment: round to nearest, denormals kept. A program may lose it
/// unknowingly. On Linux, linking with -ffast-math, -Ofast or -funsafe-math-optimizations makes g++ and
/// clang++ flush denormals, and libraries and hosts (plug-ins, audio, engines) may set other modes per
/// thread. Check at start-up, and on threads created by others:
///
///     if (!Vestrel::VerifyArithmetic()) {
///         std::fesetenv(FE_DFL_ENV); // from <cfenv>, for this thread
///     }
///     const bool isExact = Vestrel::VerifyArithmetic();
///
/// Detects any rounding mode but round to nearest, denormal results flushed to 0, and denormal operands
/// treated as 0. Takes about 0.3 ms, at most 32 KB of stack in an optimised build (44 to 180 KB at -O0:
/// docs/guarantees.md), and temporarily the tables of one CRotatableFastNoise3. Any number of threads may
/// call it at once. It sets floating-point exception flags.
///
/// The caller guarantees that no floating-point exception traps (the default).
///
/// It does not check the four-lane operations that a program compiles itself: VerifyCallerArithmetic does.
VESTREL_PUBLIC bool VerifyArithmetic() noexcept;

namespace Internal {

/// Four lanes given by their bits and rotated: number `m_First`, 0 to 3, is in lane 0. With all four values
/// of `m_First`, each number is in each lane once.
struct CRotatedLanes {
    uint32_t m_First;

    /// The floats with these bits, hidden from the compiler: it can neither fold them nor compute with them
    /// before an earlier call, which may set the floating-point environment.
    [[gnu::always_inline]] SIMD_Neon::Float4 Floats(uint32_t bits0, uint32_t bits1, uint32_t bits2,
                                                    uint32_t bits3) const {
        uint32_t bits[] = {bits0, bits1, bits2, bits3, bits0, bits1, bits2};
        asm volatile("" : "+m"(bits));
        return SIMD_Neon::LoadUnaligned(bits + m_First);
    }

    [[gnu::always_inline]] SIMD_Neon::Float4 All(uint32_t bits) const {
        return Floats(bits, bits, bits, bits);
    }

    /// Whether the lanes of `value` have these bits.
    [[gnu::always_inline]] bool Are(SIMD_Neon::Float4 value, uint32_t bits0, uint32_t bits1, uint32_t bits2,
                                    uint32_t bits3) const {
        alignas(16) uint32_t lanes[4];
        SIMD_Neon::SpillAligned(lanes, value);
        return ((lanes[(0 - m_First) & 3] ^ bits0) | (lanes[(1 - m_First) & 3] ^ bits1) |
                (lanes[(2 - m_First) & 3] ^ bits2) | (lanes[(3 - m_First) & 3] ^ bits3)) == 0;
    }
};

/// Implements VerifyCallerArithmetic. `multiplyAdd` is SIMD_Neon::_MultiplyAdd, or a wrong one in a test.
template <typename TMultiplyAdd>
[[gnu::always_inline]] inline bool CallerArithmeticHolds(TMultiplyAdd multiplyAdd) noexcept {
    using namespace SIMD_Neon;
    constexpr uint32_t kSign = 0x80000000;
    constexpr uint32_t kLeast = 1;                    // 2^-149
    constexpr uint32_t kLeastTimesTwo31 = 0x04800000; // 2^-118
    constexpr uint32_t kLeastNormal = 0x00800000;     // 2^-126
    constexpr uint32_t kHalfOfLast = 0x33800000;      // 2^-24, half a unit in the last place of 1
    constexpr uint32_t kHalf = 0x3F000000;
    constexpr uint32_t kOne = 0x3F800000;
    constexpr uint32_t kRoot = kOne + (1u << 11);   // 1 + 2^-12
    constexpr uint32_t kSquare = kOne + (1u << 12); // 1 + 2^-11, the square of kRoot, rounded
    constexpr uint32_t kTwo31 = 0x4F000000;
    constexpr uint32_t kInfinity = 0x7F800000;
    constexpr uint32_t kNan = 0x7FC00000;
    bool holds = true;
    for (uint32_t first = 0; first < 4; ++first) {
        const CRotatedLanes lanes = {first};
        // A denormal sum of denormals, and ties; every other rounding mode gets one of them wrong.
        holds &= lanes.Are(lanes.Floats(kLeast, kOne, kSign | kOne, kOne + 1) +
                               lanes.Floats(kLeast, kHalfOfLast, kSign | kHalfOfLast, kHalfOfLast),
                           kLeast + 1, kOne, kSign | kOne, kOne + 2);
        // A denormal difference of normal numbers, zeros, and a denormal minus 0.
        holds &= lanes.Are(lanes.Floats(kLeastNormal + 1, kOne, kSign, kLeast) -
                               lanes.Floats(kLeastNormal, kOne, 0, 0),
                           kLeast, 0, kSign, kLeast);
        // A denormal product of normal numbers, a normal product of a denormal, and rounded products.
        holds &= lanes.Are(lanes.Floats(kLeastNormal, kLeast, kSign | 3, kOne + 1) *
                               lanes.Floats(kHalf, kTwo31, kHalf, kOne + 1),
                           kLeastNormal / 2, kLeastTimesTwo31, kSign | 2, kOne + 2);
        // A rounded product minus its rounded value: 0, but +-2^-24 if fused.
        holds &= lanes.Are(lanes.All(kRoot) * lanes.All(kRoot) - lanes.All(kSquare), 0, 0, 0, 0);
        holds &= lanes.Are(lanes.All(kSquare) - lanes.All(kRoot) * lanes.All(kRoot), 0, 0, 0, 0);
        holds &= lanes.Are(lanes.All(kRoot) * lanes.All(kRoot) + lanes.All(kSign | kSquare), 0, 0, 0, 0);
        // Denormals are greater than 0, zeros are equal, and nothing is greater than NaN.
        holds &= lanes.Are(AsFloats(GreaterThan(lanes.Floats(kLeast, 0, 0, kOne),
                                                lanes.Floats(0, kSign | kLeast, kSign, kNan))),
                           UINT32_MAX, UINT32_MAX, 0, 0);
        // Conversions to integers saturate and round toward 0; conversions to floats round to nearest.
        holds &= lanes.Are(
            AsFloats(TruncateToInt(lanes.Floats(kTwo31, kSign | kInfinity, kNan, kSign | (kOne - 1)))),
            INT32_MAX, kSign, 0, 0);
        holds &= lanes.Are(ToFloat(AsInts(lanes.Floats(0x01000001, 0x01000003, 0xFEFFFFFF, INT32_MAX))),
                           0x4B800000, 0x4B800002, 0xCB800000, kTwo31);
        // In the library: values are passed there and back.
        const Float4 factor = lanes.Floats(kOne, kTwo31, kLeastNormal, kRoot);
        holds &= lanes.Are(multiplyAdd(&factor, lanes.Floats(kHalf, kLeast, kHalf, kRoot),
                                       lanes.Floats(kHalf, 0, kLeast, kSign | kSquare)),
                           kOne, kLeastTimesTwo31, kLeastNormal / 2 + 1, 0);
    }
    asm volatile("" : "+r"(holds)); // computed before any later call
    return holds;
}

} // namespace Internal

/// Whether the four-lane operations of zr_support/simd_float4.h give the promised bits in the calling source
/// file, with its compiler and flags, and whether four-lane values reach the library and return unchanged
/// (they do not if the headers are those of another build of the library).
///
/// It is compiled into its caller: call it in a file with the flags of the files that use four-lane values.
/// It checks the thread's floating-point environment as VerifyArithmetic does, but no samplers: call both. It
/// takes less than a microsecond in an optimised build and a few hundred bytes of stack. Any number of
/// threads may call it at once.
[[gnu::always_inline]] inline bool VerifyCallerArithmetic() noexcept {
    return Internal::CallerArithmeticHolds(SIMD_Neon::_MultiplyAdd);
}

} // namespace Vestrel
