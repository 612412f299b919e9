#include "strict_arithmetic.h"

#include <zr_support/simd_float4.h>
#include <zr_support/simd_streams.h>

#include <cassert>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <iterator>

namespace Vestrel::SIMD_Neon::FullPrecision {

namespace {

/// Two doubles in one register, in the way of the compilers, which have the operators of double for them on
/// every platform.
using Double2 [[gnu::vector_size(16)]] = double;

[[gnu::always_inline]] inline double SquareRoot(double value) {
    return __builtin_sqrt(value);
}

[[gnu::always_inline]] inline Double2 SquareRoot(Double2 value) {
    return Double2{__builtin_sqrt(value[0]), __builtin_sqrt(value[1])};
}

/// asin(x) / x by the square of x, for squares up to 1/4, with a relative error of 2^-52.
///
/// The coefficients are those of stream_coefficients.sollya. With one less, the rounding to float is no
/// longer right for every x.
template <typename TDouble>
[[gnu::always_inline]] inline TDouble ArcSinRatio(TDouble square) {
    constexpr double kCoefficients[] = {0x1.0234902fa268ep-5, -0x1.7f682dcc97466p-7, 0x1.2b084d97c85ddp-6,
                                        0x1.336c9e66647e5p-7, 0x1.d54ed2648c723p-7,  0x1.1baccf1325caap-6,
                                        0x1.6e97027cbd914p-6, 0x1.f1c69c91c988ep-6,  0x1.6db6dd0dde88ep-5,
                                        0x1.3333333091739p-4, 0x1.5555555556cffp-3,  1.0};
    TDouble sum = square * kCoefficients[0] + kCoefficients[1];
    for (size_t k = 2; k < std::size(kCoefficients); ++k) {
        sum = sum * square + kCoefficients[k];
    }
    return sum;
}

/// The arcsine of something from 0 on, in double: not a number beyond 1, where the square root is none. From
/// 1/2 on, where the arcsine is too steep for a polynomial, it is pi/2 - 2 asin(sqrt((1 - x) / 2)).
template <typename TDouble>
[[gnu::always_inline]] inline TDouble ArcSinOfMagnitude(TDouble magnitude) {
    constexpr double kHalfPi = 0x1.921fb54442d18p0;
    const auto isSteep = magnitude > 0.5;
    const TDouble square = isSteep ? (1.0 - magnitude) * 0.5 : magnitude * magnitude;
    const TDouble root = isSteep ? SquareRoot(square) : magnitude;
    const TDouble arc = root * ArcSinRatio(square);
    return isSteep ? kHalfPi - 2.0 * arc : arc;
}

/// Below this, the float nearest to the arcsine of x is x. (Denormals are so left alone even where a program
/// has them flushed to 0.)
constexpr float kSmall = 0x1p-12f;

} // namespace

float ArcSin(float x) noexcept {
    const float magnitude = std::fabs(x);
    if (magnitude < kSmall) {
        return x;
    }
    return std::copysign(static_cast<float>(ArcSinOfMagnitude(static_cast<double>(magnitude))), x);
}

void ArcSinStream_Aligned16(const float* in, float* out, uint32_t count) noexcept {
    assert(count % 4 == 0 && "a stream takes four at a time");
    for (uint32_t k = 0; k < count; k += 4) {
        const Float4 x = LoadAligned(in + k);
        alignas(16) float magnitudes[4];
        const Float4 magnitude = x & Int4(INT32_MAX);
        StoreAligned(magnitudes, magnitude);
        const Double2 low = ArcSinOfMagnitude(Double2{magnitudes[0], magnitudes[1]});
        const Double2 high = ArcSinOfMagnitude(Double2{magnitudes[2], magnitudes[3]});
        const Float4 arc(static_cast<float>(low[0]), static_cast<float>(low[1]), static_cast<float>(high[0]),
                         static_cast<float>(high[1]));
        const Float4 signedArc = arc ^ (x & Int4(INT32_MIN));
        const Int4 isSmall = GreaterThan(Float4(kSmall), magnitude);
        StoreAligned(out + k, signedArc ^ ((signedArc ^ x) & isSmall));
    }
}

} // namespace Vestrel::SIMD_Neon::FullPrecision
