#pragma once

// The streams of each instruction set. All take any count that is a multiple of 4.

#include <zr_support_internal/selected_instruction_set.h>

#include <array>
#include <cstddef>
#include <cstdint>

namespace Vestrel::Internal {

using CStream = void (*)(const float* in, float* out, uint32_t count) noexcept;

struct CStreams {
    CStream m_Sin;
    CStream m_ArcSin;
};

/// By the SIMD backend; runs everywhere.
void SinStreamOfFourLanes(const float* in, float* out, uint32_t count) noexcept;
void ArcSinStreamOfFourLanes(const float* in, float* out, uint32_t count) noexcept;

namespace Avx2 {
extern const CStreams kStreams;
}

namespace Avx512 {
extern const CStreams kStreams;
}

/// By EInstructionSet. Without wide sources, four lanes alone.
extern const std::array<const CStreams*, kInstructionSetCount> kStreamsOf;

/// The streams of the selected instruction set.
inline const CStreams& SelectedStreams() noexcept {
    return *kStreamsOf[static_cast<size_t>(SelectedInstructionSet())];
}

} // namespace Vestrel::Internal
