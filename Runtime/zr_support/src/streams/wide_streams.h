#pragma once

// The streams as templates over a lane type that is wider than four floats. Four lanes take what is left
// after the last whole register.

#include "arc_sine.h"
#include "sine.h"
#include "streams.h"

namespace Vestrel::Internal {

template <typename TFloat>
void SinStreamOfLanes(const float* in, float* out, uint32_t count) noexcept {
    constexpr uint32_t kLanes = TFloat::kLanes;
    uint32_t k = 0;
    for (; count - k >= kLanes; k += kLanes) {
        Store(out + k, SIMD_Neon::LowPrecision::SinOfLanes<typename TFloat::CInt>(TFloat::Load(in + k)));
    }
    SinStreamOfFourLanes(in + k, out + k, count - k);
}

template <typename TDoubles, typename TFloat>
void ArcSinStreamOfLanes(const float* in, float* out, uint32_t count) noexcept {
    constexpr uint32_t kLanes = TFloat::kLanes;
    uint32_t k = 0;
    for (; count - k >= kLanes; k += kLanes) {
        using SIMD_Neon::FullPrecision::ArcSinOfLanes;
        Store(out + k, ArcSinOfLanes<TDoubles, typename TFloat::CInt>(TFloat::Load(in + k)));
    }
    ArcSinStreamOfFourLanes(in + k, out + k, count - k);
}

} // namespace Vestrel::Internal
