#pragma once

#include <zr_support/compiler.h>
#include <zr_support/config.h>
#include <zr_support/simd_backend.h>
#include <zr_support/simd_float4.h>

#include <cstdint>

namespace Vestrel {

/// Whether the samplers give the bits that they promise, here and now: with this build of the library, on
/// this processor, in the floating-point environment of the thread that calls. It compares a hash of what all
/// samplers of a fixed field, its gradients, two rotations and both streams give.
///
/// The promise holds in the default environment: round to nearest, denormals kept. A program may lose that
/// without knowing. On Linux, g++ and clang++ link it with -ffast-math, -Ofast or -funsafe-math-optimizations
/// so that denormals are 0, and what it loads or runs in (plug-ins, sound, engines) may set other modes,
/// thread by thread. Ask at start-up, and once more on threads that others have made:
///
///     if (!Vestrel::VerifyArithmetic()) {
///         std::fesetenv(FE_DFL_ENV); // from <cfenv>, for this thread
///     }
///     const bool isExact = Vestrel::VerifyArithmetic();
///
/// It finds every rounding but that to the nearest, denormal results that become 0, and denormal operands
/// that are taken for 0. It takes about 0.3 ms and at most 32 KB of the stack in an optimised build (44 to
/// 180 KB at -O0: docs/guarantees.md), and meanwhile the tables of one CRotatableFastNoise3. Any number of
/// threads may call it at once. It sets floating-point exception flags, and none of the exceptions may trap,
/// as by default they do not.
///
/// It says nothing of the four-lane operations that a program compiles itself: VerifyCallerArithmetic does.
VESTREL_PUBLIC bool VerifyArithmetic() noexcept;

namespace Internal {

/// Four lanes by their bits, turned: lane 0 is number `m_First`, from 0 to 3, so that with all four of them
/// each number has been in each lane.
struct CTurnedLanes {
    uint32_t m_First;

    /// The floats with these bits. Compilers know nothing of them, so that they work out nothing beforehand,
    /// nor before a call that comes first and may have set the floating-point environment.
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

/// The body of VerifyCallerArithmetic. `multiplyAdd` is SIMD_Neon::_MultiplyAdd, or in a test a wrong one.
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
    constexpr uint32_t kSquare = kOne + (1u << 12); // 1 + 2^-11, which is the square of that, rounded
    constexpr uint32_t kTwo31 = 0x4F000000;
    constexpr uint32_t kInfinity = 0x7F800000;
    constexpr uint32_t kNan = 0x7FC00000;
    bool holds = true;
    for (uint32_t first = 0; first < 4; ++first) {
        const CTurnedLanes lanes = {first};
        // A denormal sum of denormals, and ties, of which each other rounding gets one wrong.
        holds &= lanes.Are(lanes.Floats(kLeast, kOne, kSign | kOne, kOne + 1) +
                               lanes.Floats(kLeast, kHalfOfLast, kSign | kHalfOfLast, kHalfOfLast),
                           kLeast + 1, kOne, kSign | kOne, kOne + 2);
        // A denormal difference of normal numbers, zeros, and a denormal that stays.
        holds &= lanes.Are(lanes.Floats(kLeastNormal + 1, kOne, kSign, kLeast) -
                               lanes.Floats(kLeastNormal, kOne, 0, 0),
                           kLeast, 0, kSign, kLeast);
        // A denormal product of normal numbers, a normal one of a denormal, and one that is rounded.
        holds &= lanes.Are(lanes.Floats(kLeastNormal, kLeast, kSign | 3, kOne + 1) *
                               lanes.Floats(kHalf, kTwo31, kHalf, kOne + 1),
                           kLeastNormal / 2, kLeastTimesTwo31, kSign | 2, kOne + 2);
        // A product, rounded, less what it is rounded to: 0. If it were fused with the sum, +-2^-24.
        holds &= lanes.Are(lanes.All(kRoot) * lanes.All(kRoot) - lanes.All(kSquare), 0, 0, 0, 0);
        holds &= lanes.Are(lanes.All(kSquare) - lanes.All(kRoot) * lanes.All(kRoot), 0, 0, 0, 0);
        holds &= lanes.Are(lanes.All(kRoot) * lanes.All(kRoot) + lanes.All(kSign | kSquare), 0, 0, 0, 0);
        // Denormals are greater than 0, zeros equal, and nothing is greater than what is not a number.
        holds &= lanes.Are(AsFloats(GreaterThan(lanes.Floats(kLeast, 0, 0, kOne),
                                                lanes.Floats(0, kSign | kLeast, kSign, kNan))),
                           UINT32_MAX, UINT32_MAX, 0, 0);
        // Conversions saturate and round toward 0; those to floats round to nearest.
        holds &= lanes.Are(
            AsFloats(TruncateToInt(lanes.Floats(kTwo31, kSign | kInfinity, kNan, kSign | (kOne - 1)))),
            INT32_MAX, kSign, 0, 0);
        holds &= lanes.Are(ToFloat(AsInts(lanes.Floats(0x01000001, 0x01000003, 0xFEFFFFFF, INT32_MAX))),
                           0x4B800000, 0x4B800002, 0xCB800000, kTwo31);
        // In the library, with values that go there and come back.
        const Float4 factor = lanes.Floats(kOne, kTwo31, kLeastNormal, kRoot);
        holds &= lanes.Are(multiplyAdd(&factor, lanes.Floats(kHalf, kLeast, kHalf, kRoot),
                                       lanes.Floats(kHalf, 0, kLeast, kSign | kSquare)),
                           kOne, kLeastTimesTwo31, kLeastNormal / 2 + 1, 0);
    }
    asm volatile("" : "+r"(holds)); // nor after a call that comes next
    return holds;
}

} // namespace Internal

/// Whether the four-lane operations of zr_support/simd_float4.h give the bits that they promise in the source
/// file that calls this, with its compiler and its flags, and whether four-lane values come to the library
/// and back as they are. (They do not where the headers are those of another build of the library.)
///
/// It is compiled where it is called: ask in a file that has the flags of those that work with four-lane
/// values. It sees what VerifyArithmetic sees of the thread's floating-point environment too, but nothing of
/// the samplers: ask both. It takes less than a microsecond in an optimised build, and no memory but a few
/// hundred bytes of the stack. Any number of threads may call it at once.
[[gnu::always_inline]] inline bool VerifyCallerArithmetic() noexcept {
    return Internal::CallerArithmeticHolds(SIMD_Neon::_MultiplyAdd);
}

} // namespace Vestrel
