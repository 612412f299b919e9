#pragma once

#include "field/sampling_record.h"
#include "job/view.h"

#include <zr_maths/maths_noise_fast.h>

#include <cstdint>
#include <vector>

namespace NoisePreview {

/// What to sample; gradients are for 3D fields. With kBoth, only the gradients are timed.
enum class ESamples { kValues, kGradients, kBoth };

/// Consecutive samples, of the kinds that were asked for.
struct CSamples {
    size_t m_Count;
    const float* m_Values;
    const Vestrel::TVector<float, 4>* m_Gradients; // derivatives along x, y and z, per cell
};

/// Samples a view from the first pixel to the last.
class CFieldSampler {
public:
    /// Samples per call of the library: enough to make the cost of a call negligible, few enough for the
    /// cache.
    static constexpr uint32_t kChunk = 16384;

    /// `noise` and `record` must outlive this.
    CFieldSampler(const Vestrel::CFastNoise3& noise, const CView& view, ESamples kind,
                  CSamplingRecord& record);

    /// The next samples, 1 to `maxCount`; valid until the next call. The caller must stop at the view's end.
    CSamples Next(uint64_t maxCount);

private:
    void _SampleChunk();
    double _SampleGradients(uint32_t count);
    float _CoordinateOf(uint64_t pixel, double origin) const;
    void _SetPositions(uint32_t count);

    const Vestrel::CFastNoise3& m_Noise;
    CView m_View;
    ESamples m_Kind;
    CSamplingRecord& m_Record;
    uint64_t m_SampledCount = 0;
    size_t m_Begin = 0; // of what is left of the chunk
    size_t m_End = 0;
    std::vector<float> m_Positions;
    std::vector<float> m_Values;
    std::vector<Vestrel::TVector<float, 4>> m_Gradients;
};

/// Samples packed positions of `dimension` coordinates; returns the seconds that the library took.
double SampleAt(const Vestrel::CFastNoise3& noise, uint32_t dimension, EQuality quality,
                const float* positions, Vestrel::TMemoryView<float> values);

} // namespace NoisePreview
