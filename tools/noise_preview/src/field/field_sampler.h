#pragma once

#include "field/sampling_record.h"
#include "options/options.h"

#include <zr_maths/maths_noise_fast.h>

#include <algorithm>
#include <cstdint>
#include <vector>

namespace NoisePreview {

/// Samples one field in one dimension and quality.
class CFieldSampler {
public:
    /// Samples taken per call of a sampler of the library: enough to make the call's own cost vanish, few
    /// enough to stay in the cache.
    static constexpr uint32_t kChunk = 16384;

    /// `noise` and `record` are borrowed. The options say dimension, quality, slices and the pixels' raster.
    CFieldSampler(const Vestrel::CFastNoise3& noise, const COptions& options, CSamplingRecord& record);

    /// Samples the field at the centres of the pixels from number `first` on, as many as there is room for,
    /// at most kChunk; pixels are counted row by row from the top. In 1D, and along a line, the first row is
    /// all there is.
    void SampleValues(uint64_t first, Vestrel::TMemoryView<float> values);

    /// Likewise the gradient of a 3D field: its derivatives along x, y and z per cell.
    void SampleGradients(uint64_t first, Vestrel::TMemoryView<Vestrel::TVector<float, 4>> gradients);

    /// Likewise the values, as something beside what is drawn: they count for the statistics alone.
    void SampleValuesBeside(uint64_t first, Vestrel::TMemoryView<float> values);

    /// The values at positions, which have as many coordinates as the field has dimensions, packed.
    void SampleAt(const float* positions, Vestrel::TMemoryView<float> values);

    const COptions& Options() const {
        return m_Options;
    }

private:
    float _CoordinateOf(uint64_t pixel, double origin) const;
    void _SetPositions(uint64_t first, uint32_t count);
    void _Sample(const float* positions, const Vestrel::TMemoryView<float>& values) const;

    const Vestrel::CFastNoise3& m_Noise;
    COptions m_Options;
    CSamplingRecord& m_Record;
    double m_Left = 0.0; // the coordinates of the picture's upper left corner
    double m_Top = 0.0;
    std::vector<float> m_Positions; // of the pixels that are sampled
};

/// Calls `use` with the first of `total` samples in each chunk, and with how many there are.
template <typename TUse>
void ForEachChunk(uint64_t total, const TUse& use) {
    for (uint64_t first = 0; first < total; first += CFieldSampler::kChunk) {
        use(first, static_cast<uint32_t>(std::min<uint64_t>(CFieldSampler::kChunk, total - first)));
    }
}

} // namespace NoisePreview
