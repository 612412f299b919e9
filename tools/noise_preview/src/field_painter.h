#pragma once

#include "command_line.h"
#include "field_sampler.h"
#include "picture.h"
#include "progress.h"
#include "statistics.h"

#include <zr_maths/maths_noise_fast.h>

#include <cstdint>

namespace NoisePreview {

/// How many samples a picture shows: one a pixel, or in 1D one a column.
uint64_t SampleCount(const COptions& options);

/// Draws a field, and keeps count of its samples.
class CFieldPainter {
public:
    /// What is given here is borrowed. `progress` is told how many samples were taken.
    CFieldPainter(const Vestrel::CFastNoise3& noise, const COptions& options, CProgress& progress);

    /// Draws all of the picture, which is as large as the options say. May throw std::bad_alloc.
    void Draw(CPicture& picture);

    const CSamplingCost& Cost() const {
        return m_Cost;
    }

    /// Of all samples so far, if the options ask for it.
    const CStatistics& Statistics() const {
        return m_Statistics;
    }

private:
    void _DrawCurve(CPicture& picture);
    void _DrawValues(CPicture& picture);
    void _DrawGradients(CPicture& picture);
    void _Sample(uint64_t first, Vestrel::TMemoryView<float> values);

    const Vestrel::CFastNoise3& m_Noise;
    const COptions& m_Options;
    CProgress& m_Progress;
    CSamplingCost m_Cost;
    CStatistics m_Statistics;
};

} // namespace NoisePreview
