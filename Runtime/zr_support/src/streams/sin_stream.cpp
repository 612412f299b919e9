#include <zr_support_internal/strict_arithmetic.h>

#include "sine.h"
#include "streams.h"

#include <zr_support/simd_streams.h>

#include <bit>
#include <cassert>
#include <cmath>
#include <cstdint>

namespace Vestrel::SIMD_Neon::LowPrecision {

namespace {

/// ReducePayneHanek of sine.h for one float.
float ReducePayneHanek(float radians) {
    const uint32_t bits = std::bit_cast<uint32_t>(radians);
    const float units = std::fabs(static_cast<float>(UnitsFromQuarterTurn(bits)));
    const float angle = AngleOf(units) + (radians - radians);
    return std::bit_cast<float>(std::bit_cast<uint32_t>(angle) ^ (bits & 0x80000000u));
}

} // namespace

float Sin(float radians) noexcept {
    return SinOfReduced(std::fabs(radians) < kCodyWaiteLimit ? ReduceCodyWaite(radians)
                                                             : ReducePayneHanek(radians));
}

void SinStream_Aligned16(const float* in, float* out, uint32_t count) noexcept {
    assert(count % 4 == 0 && "a stream takes four at a time");
    Internal::SelectedStreams().m_Sin(in, out, count);
}

} // namespace Vestrel::SIMD_Neon::LowPrecision

namespace Vestrel::Internal {

void SinStreamOfFourLanes(const float* in, float* out, uint32_t count) noexcept {
    using namespace SIMD_Neon;
    for (uint32_t k = 0; k < count; k += 4) {
        StoreAligned(out + k, LowPrecision::SinOfLanes<Int4>(LoadAligned(in + k)));
    }
}

} // namespace Vestrel::Internal
