#pragma once

// Sine and arcsine of whole arrays, 4, 8 or 16 floats at a time, and of single floats with the same bits.
// They consist of plain IEEE operations, so the bits are the same on every platform in the default
// floating-point environment (round to nearest, denormals kept). They call the C library only for sqrt, which
// is correctly rounded, and only on processors without such an instruction (docs/guarantees.md).
//
// Polynomials are fitted by Sollya's fpminimax (src/streams/stream_coefficients.sollya; Brisebarre and
// Chevillard, "Efficient polynomial L-infinity approximations", ARITH 2007).

#include <zr_support/compiler.h>
#include <zr_support/config.h>

#include <cstdint>

namespace Vestrel::SIMD_Neon {

/// Correctly rounded functions.
namespace FullPrecision {

/// The arcsine of `x`, in radians, correctly rounded: the float nearest to the true arcsine. It lies in
/// [-pi/2, pi/2] (as floats) and is odd, bit for bit. Gives NaN for NaN and outside [-1, 1].
///
/// The error is at most half a unit in the last place, and comes closest to that at 0.532136559
/// (0x1.107434p-1), of all floats.
///
/// Method: a polynomial in double up to 1/2; above, asin(x) = pi/2 - 2 asin(sqrt((1 - x) / 2)) (Cody and
/// Waite, "Software Manual for the Elementary Functions", 1980).
VESTREL_PUBLIC float ArcSin(float x) noexcept;

/// `out[k]` = ArcSin(`in[k]`), bit for bit, for k < `count`. `in` may hold any bit patterns.
///
/// The caller guarantees
/// - a `count` that is a multiple of 4;
/// - 16-byte aligned arrays;
/// - arrays that do not overlap.
VESTREL_PUBLIC void ArcSinStream_Aligned16(const float* in, float* out, uint32_t count) noexcept;

} // namespace FullPrecision

/// Functions with a small, documented error.
namespace LowPrecision {

/// The sine of `radians`, an angle of any magnitude, within 3.06e-7 of the true sine. It lies in [-1, 1] and
/// is odd, bit for bit. Gives NaN for NaN and infinities.
///
/// Of all floats, the error is largest at 14092.6465 (0x1.b8652cp+13).
///
/// Method: Cody-Waite reduction by multiples of pi below 2^14 (Cody and Waite, "Software Manual for the
/// Elementary Functions", 1980); from there on Payne-Hanek reduction ("Radian reduction for trigonometric
/// functions", ACM SIGNUM Newsletter 18(1), 1983), which takes more than twice as long, in a stream for the
/// whole group of 4, 8 or 16; then a polynomial.
VESTREL_PUBLIC float Sin(float radians) noexcept;

/// `out[k]` = Sin(`in[k]`), bit for bit, for k < `count`. `in` may hold any bit patterns.
///
/// The caller guarantees
/// - a `count` that is a multiple of 4;
/// - 16-byte aligned arrays;
/// - arrays that do not overlap.
VESTREL_PUBLIC void SinStream_Aligned16(const float* in, float* out, uint32_t count) noexcept;

} // namespace LowPrecision

} // namespace Vestrel::SIMD_Neon
