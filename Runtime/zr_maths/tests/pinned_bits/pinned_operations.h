#pragma once

// The calls whose results are pinned. They have their own source file because it may be compiled with any
// flags; the reference may not.

#include <zr_maths/maths_noise_fast.h>

#include <cstddef>

namespace Vestrel {

/// Kinds of calls. Samplers also need a row of kBatchSamplers or kPointSamplers.
enum class EPinnedCall {
    kBatch, ///< aligned views, sampled four at a time by four lanes
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

constexpr size_t kMaxPinnedItems = 4096;

/// Computes the results of at most kMaxPinnedItems items, each with the same number of inputs.
void MakePinnedResults(EPinnedCall call, size_t row, const CPinnedSubjects& subjects, const float* inputs,
                       size_t itemCount, float* results);

} // namespace Vestrel
