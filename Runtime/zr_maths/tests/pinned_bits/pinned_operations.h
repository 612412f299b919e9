#pragma once

// The calls whose results are pinned. They have a source file of their own because it may be compiled with
// any program's flags; the reference that their results are compared with may not.

#include <zr_maths/maths_noise_fast.h>

#include <cstddef>

namespace Vestrel {

/// What is called. Samplers are rows of kBatchSamplers or kPointSamplers.
enum class EPinnedCall {
    kBatch, ///< aligned positions and samples, which four lanes take four at a time
    kBatchOneAtATime,
    kSample,
    kCoherent,
    kGradient,
    kGradientBatch,
    kRotation,
    kArcSine,
    kSine,
    kGenerator,
};

struct CPinnedSubjects {
    const CFastNoise3& m_Noise;
    CRotatableFastNoise3& m_Rotatable;
    const float* m_RotatableBasis;
    CAbstractRandomGenerator& m_Generator;
};

constexpr size_t kMostPinnedItems = 4096;

/// Makes the results of at most kMostPinnedItems items, each from equally many inputs.
void MakePinnedResults(EPinnedCall call, size_t row, const CPinnedSubjects& subjects, const float* inputs,
                       size_t itemCount, float* results);

} // namespace Vestrel
