#pragma once

#include "kernels/kernels.h"

#include <algorithm>
#include <cstdint>

namespace Vestrel {

/// The minimum count of the selected kernels; 0 with four lanes, which have no kernels.
inline uint32_t MinimumCount(Internal::EKernelInput input) {
    const Internal::CKernels* const kernels =
        Internal::g_Kernels[static_cast<size_t>(Internal::SelectedInstructionSet())];
    return kernels == nullptr ? 0 : (*kernels)[static_cast<size_t>(input)].m_MinimumCount;
}

/// The largest MinimumCount.
inline uint32_t MaxMinimumCount() {
    uint32_t maximum = 0;
    for (size_t input = 0; input < Internal::kKernelInputCount; ++input) {
        maximum = std::max(maximum, MinimumCount(static_cast<Internal::EKernelInput>(input)));
    }
    return maximum;
}

} // namespace Vestrel
