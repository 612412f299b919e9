#pragma once

#include "kernels/kernels.h"

#include <algorithm>
#include <cstdint>

namespace Vestrel {

/// The shortest run that the selected kernels take; 0 with four lanes, which have none.
inline uint32_t MinimumCount(Internal::EKernelInput input) {
    const Internal::CKernels* const kernels =
        Internal::g_Kernels[static_cast<size_t>(Internal::SelectedInstructionSet())];
    return kernels == nullptr ? 0 : (*kernels)[static_cast<size_t>(input)].m_MinimumCount;
}

/// The greatest MinimumCount.
inline uint32_t GreatestMinimumCount() {
    uint32_t greatest = 0;
    for (size_t input = 0; input < Internal::kKernelInputCount; ++input) {
        greatest = std::max(greatest, MinimumCount(static_cast<Internal::EKernelInput>(input)));
    }
    return greatest;
}

} // namespace Vestrel
