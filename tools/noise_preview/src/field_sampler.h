#pragma once

#include "command_line.h"

#include <zr_maths/maths_noise_fast.h>

#include <cstdint>

namespace NoisePreview {

/// What sampling has cost so far, without the making of positions.
struct CSamplingCost {
    uint64_t m_PositionCount = 0;
    double m_Seconds = 0.0;
};

/// Samples the field at the centres of the pixels from number `first` on, as many as there is room for;
/// pixels are counted row by row from the top. In 1D the first row stands for all.
void SampleValues(const Vestrel::CFastNoise3& noise, const COptions& options, uint64_t first,
                  Vestrel::TMemoryView<float> values, CSamplingCost& cost);

/// Likewise the gradient of a 3D field: its derivatives along x, y and z per cell.
void SampleGradients(const Vestrel::CFastNoise3& noise, const COptions& options, uint64_t first,
                     Vestrel::TMemoryView<Vestrel::TVector<float, 4>> gradients, CSamplingCost& cost);

} // namespace NoisePreview
