#include <zr_support_internal/strict_arithmetic.h>

#include "arc_sine.h"
#include "streams.h"

#include <zr_support/simd_streams.h>

#include <cassert>
#include <cmath>

namespace Vestrel::SIMD_Neon {

namespace {

struct CDouble {
    using CValue = double;

    [[gnu::always_inline]] static double SquareRoot(double value) {
        return __builtin_sqrt(value);
    }
};

/// Two doubles, with the operators that the compilers define for vector types on every platform.
struct CDoubleX2 {
    using CValue [[gnu::vector_size(16)]] = double;

    [[gnu::always_inline]] static CValue SquareRoot(CValue value) {
        return CValue{__builtin_sqrt(value[0]), __builtin_sqrt(value[1])};
    }
};

} // namespace

[[gnu::always_inline]] inline void ToDoubles(Float4 value, CDoubleX2::CValue& low, CDoubleX2::CValue& high) {
    alignas(16) float lanes[4];
    StoreAligned(lanes, value);
    low = CDoubleX2::CValue{lanes[0], lanes[1]};
    high = CDoubleX2::CValue{lanes[2], lanes[3]};
}

[[gnu::always_inline]] inline void ToFloats(CDoubleX2::CValue low, CDoubleX2::CValue high, Float4& value) {
    value = Float4(static_cast<float>(low[0]), static_cast<float>(low[1]), static_cast<float>(high[0]),
                   static_cast<float>(high[1]));
}

} // namespace Vestrel::SIMD_Neon

namespace Vestrel::Internal {

void ArcSinStreamOfFourLanes(const float* in, float* out, uint32_t count) noexcept {
    using namespace SIMD_Neon;
    for (uint32_t k = 0; k < count; k += 4) {
        StoreAligned(out + k, FullPrecision::ArcSinOfLanes<CDoubleX2, Int4>(LoadAligned(in + k)));
    }
}

} // namespace Vestrel::Internal

namespace Vestrel::SIMD_Neon::FullPrecision {

float ArcSin(float x) noexcept {
    const float magnitude = std::fabs(x);
    if (magnitude < kSmall) {
        return x;
    }
    return std::copysign(static_cast<float>(ArcSinOfMagnitude<CDouble>(static_cast<double>(magnitude))), x);
}

void ArcSinStream_Aligned16(const float* in, float* out, uint32_t count) noexcept {
    assert(count % 4 == 0 && "a stream takes four at a time");
    Internal::SelectedStreams().m_ArcSin(in, out, count);
}

} // namespace Vestrel::SIMD_Neon::FullPrecision
