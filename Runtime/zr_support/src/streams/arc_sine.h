#pragma once

// The arcsine in double precision, as templates over one double and over lanes: a polynomial up to 1/2, and
// beyond it the half-angle identity (Cody and Waite, Software Manual for the Elementary Functions, 1980,
// chapter 10).

#include "float4_lanes.h"

#include <cstddef>
#include <cstdint>
#include <iterator>

namespace Vestrel::SIMD_Neon::FullPrecision {

/// asin(x) / x by the square of x, for squares up to 1/4, with a relative error of 2^-52.
///
/// stream_coefficients.sollya prints the coefficients. With one fewer, the rounding to float is not correct
/// for every x.
///
/// `TDoubles` names the type, CValue, and its SquareRoot. It is a type of the instruction set, unlike the
/// vector types of compilers, and keeps the names of its functions apart from those of others.
template <typename TDoubles>
[[gnu::always_inline]] inline typename TDoubles::CValue ArcSinRatio(typename TDoubles::CValue square) {
    constexpr double kCoefficients[] = {0x1.0234902fa268ep-5, -0x1.7f682dcc97466p-7, 0x1.2b084d97c85ddp-6,
                                        0x1.336c9e66647e5p-7, 0x1.d54ed2648c723p-7,  0x1.1baccf1325caap-6,
                                        0x1.6e97027cbd914p-6, 0x1.f1c69c91c988ep-6,  0x1.6db6dd0dde88ep-5,
                                        0x1.3333333091739p-4, 0x1.5555555556cffp-3,  1.0};
    typename TDoubles::CValue sum = square * kCoefficients[0] + kCoefficients[1];
    constexpr size_t kCount = std::size(kCoefficients);
    for (size_t k = 2; k < kCount; ++k) {
        sum = sum * square + kCoefficients[k];
    }
    return sum;
}

/// The arcsine of a value that is not negative. NaN above 1, from the square root. From 1/2 on, where the
/// arcsine is too steep for a polynomial, it is pi/2 - 2 asin(sqrt((1 - x) / 2)).
template <typename TDoubles>
[[gnu::always_inline]] inline typename TDoubles::CValue
ArcSinOfMagnitude(typename TDoubles::CValue magnitude) {
    using CValue = typename TDoubles::CValue;
    constexpr double kHalfPi = 0x1.921fb54442d18p0;
    const auto isSteep = magnitude > 0.5;
    const CValue square = isSteep ? (1.0 - magnitude) * 0.5 : magnitude * magnitude;
    const CValue root = isSteep ? TDoubles::SquareRoot(square) : magnitude;
    const CValue arc = root * ArcSinRatio<TDoubles>(square);
    return isSteep ? kHalfPi - 2.0 * arc : arc;
}

/// Below this, the float nearest to the arcsine of x is x. (So denormals pass, even where a program flushes
/// them.)
inline constexpr float kSmall = 0x1p-12f;

/// The arcsines of several floats, lane by lane. `TInt` is the integer type of the lanes; ToDoubles, ToFloats
/// and Select are those of `TFloat`.
template <typename TDoubles, typename TInt, typename TFloat>
[[gnu::always_inline]] inline TFloat ArcSinOfLanes(TFloat x) {
    const TFloat magnitude = x & TInt(INT32_MAX);
    typename TDoubles::CValue low;
    typename TDoubles::CValue high;
    ToDoubles(magnitude, low, high);
    TFloat arc;
    ToFloats(ArcSinOfMagnitude<TDoubles>(low), ArcSinOfMagnitude<TDoubles>(high), arc);
    return Select(GreaterThan(TFloat(kSmall), magnitude), x, arc ^ (x & TInt(INT32_MIN)));
}

} // namespace Vestrel::SIMD_Neon::FullPrecision
