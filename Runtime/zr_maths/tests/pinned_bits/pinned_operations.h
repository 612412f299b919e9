#pragma once

// The calls whose results are pinned. They stand in a source file of their own, for it may be compiled with
// whatever flags somebody else's program has; what their results are compared with may not.

#include <zr_maths/maths_noise_fast.h>

#include <cstddef>

namespace Vestrel {

struct CPinnedSubjects {
    const CFastNoise3& m_Noise;
    CRotatableFastNoise3& m_Rotatable;
    const float* m_RotatableBasis;
    CAbstractRandomGenerator& m_Generator;
};

/// Makes the results of a block of items, at most kMostPinnedItems, each from equally many inputs.
using CPinnedOperation = void (*)(const CPinnedSubjects& subjects, const float* inputs, size_t itemCount,
                                  float* results);

constexpr size_t kMostPinnedItems = 4096;

/// Null if there is none of that name.
CPinnedOperation FindPinnedOperation(const char* name);

} // namespace Vestrel
