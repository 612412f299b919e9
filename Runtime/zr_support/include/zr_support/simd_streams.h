#pragma once

// Functions over whole arrays of floats, four at a time, and for single floats with the same bits. They are
// made of plain IEEE operations, so that the bits are the same on every platform, in the default
// floating-point environment (round to nearest, denormals kept). The C library is not asked, but for a
// correctly rounded sqrt where the processor has none (docs/guarantees.md).

#include <zr_support/compiler.h>
#include <zr_support/config.h>

#include <cstdint>

namespace Vestrel::SIMD_Neon {

/// Functions whose results are the nearest floats.
namespace FullPrecision {

/// The arcsine in radians, correctly rounded: of every float in [-1, 1] the result is the float nearest to
/// the true arcsine, so that it lies in [-pi/2, pi/2] (as floats) and is odd to the bit. The error is at most
/// half a unit in the last place, and comes closest to it at 0.532136559 (0x1.107434p-1). Anything outside
/// [-1, 1], and not-a-number, gives not-a-number.
VESTREL_PUBLIC float ArcSin(float x) noexcept;

/// `out[k]` = ArcSin(`in[k]`), bit for bit, for k below `count`.
///
/// The caller guarantees that `count` is a multiple of 4, that both arrays are 16-byte aligned, and that they
/// do not overlap. Any bit pattern may be in `in`.
VESTREL_PUBLIC void ArcSinStream_Aligned16(const float* in, float* out, uint32_t count) noexcept;

} // namespace FullPrecision

/// Functions with an error that is small, and said.
namespace LowPrecision {

/// The sine of an angle in radians, of any magnitude, within 3.06e-7 of the true sine; of all floats
/// 14092.6465 (0x1.b8652cp+13) is off the most. It is never outside [-1, 1], and odd to the bit. Infinities
/// and not-a-number give not-a-number. An angle from 2^14 on takes more than twice as long, and so does the
/// group of 4, 8 or 16 that it is in.
VESTREL_PUBLIC float Sin(float radians) noexcept;

/// `out[k]` = Sin(`in[k]`), bit for bit, for k below `count`.
///
/// The caller guarantees that `count` is a multiple of 4, that both arrays are 16-byte aligned, and that they
/// do not overlap. Any bit pattern may be in `in`.
VESTREL_PUBLIC void SinStream_Aligned16(const float* in, float* out, uint32_t count) noexcept;

} // namespace LowPrecision

} // namespace Vestrel::SIMD_Neon
