#pragma once

// The table of samplers, for tests, pinned bits, fuzz targets and benchmarks. It contains calls only, no
// arithmetic, because pinned_operations.cpp may be compiled with any flags.

#include <zr_maths/maths_noise_fast.h>

#include <cstdint>
#include <ostream>
#include <string>

namespace Vestrel {

enum class EQuality { kLinear, kCubic, kQuintic };

/// A split position for gradients in a batch: fractions and cell.
using CRecord = TPair<TVector<float, 4>, TVector<int, 4>>;
using CGradient = TVector<float, 4>;

/// A batch sampler.
struct CBatchSampler {
    const char* m_Name;
    int m_Dimension;
    EQuality m_Quality;
    void (*m_Sample)(const CFastNoise3& noise, const TStridedMemoryView<float>& output, const void* positions,
                     uint32_t positionCount, uint32_t positionStride);

    uint32_t PositionSize() const {
        return static_cast<uint32_t>(m_Dimension) * uint32_t{sizeof(float)};
    }

    friend std::ostream& operator<<(std::ostream& stream, const CBatchSampler& sampler) {
        return stream << sampler.m_Name;
    }
};

template <typename TPosition, auto kSample>
constexpr CBatchSampler Batch(const char* name, EQuality quality) {
    return {name, sizeof(TPosition) / sizeof(float), quality,
            [](const CFastNoise3& noise, const TStridedMemoryView<float>& output, const void* positions,
               uint32_t positionCount, uint32_t positionStride) {
                (noise.*kSample)(output,
                                 {static_cast<const TPosition*>(positions), positionCount, positionStride});
            }};
}

inline constexpr CBatchSampler kBatchSamplers[] = {
    Batch<float, &CFastNoise3::SampleLinear1D>("SampleLinear1D", EQuality::kLinear),
    Batch<float, &CFastNoise3::SampleCubic1D>("SampleCubic1D", EQuality::kCubic),
    Batch<float, &CFastNoise3::SampleQuintic1D>("SampleQuintic1D", EQuality::kQuintic),
    Batch<TVector<float, 2>, &CFastNoise3::SampleLinear2D>("SampleLinear2D", EQuality::kLinear),
    Batch<TVector<float, 2>, &CFastNoise3::SampleCubic2D>("SampleCubic2D", EQuality::kCubic),
    Batch<TVector<float, 2>, &CFastNoise3::SampleQuintic2D>("SampleQuintic2D", EQuality::kQuintic),
    Batch<TVector<float, 3>, &CFastNoise3::SampleLinear3D>("SampleLinear3D", EQuality::kLinear),
    Batch<TVector<float, 3>, &CFastNoise3::SampleCubic3D>("SampleCubic3D", EQuality::kCubic),
    Batch<TVector<float, 3>, &CFastNoise3::SampleQuintic3D>("SampleQuintic3D", EQuality::kQuintic),
    Batch<TVector<float, 4>, &CFastNoise3::SampleLinear4D>("SampleLinear4D", EQuality::kLinear),
    Batch<TVector<float, 4>, &CFastNoise3::SampleCubic4D>("SampleCubic4D", EQuality::kCubic),
    Batch<TVector<float, 4>, &CFastNoise3::SampleQuintic4D>("SampleQuintic4D", EQuality::kQuintic),
};

/// The other samplers of one quality, all in 3D.
struct CPointSamplers {
    const char* m_Name; // the end of the samplers' names
    EQuality m_Quality;
    float (CFastNoise3::*m_Sample)(SIMD_Neon::Float4) const noexcept;
    SIMD_Neon::Float4 (CFastNoise3::*m_Coherent)(const SIMD_Neon::Float4*) const noexcept;
    SIMD_Neon::Float4 (CFastNoise3::*m_Gradient)(SIMD_Neon::Float4) const noexcept;
    void (CFastNoise3::*m_GradientBatch)(const TMemoryView<const CRecord>&,
                                         const TMemoryView<CGradient>&) const noexcept;

    friend std::ostream& operator<<(std::ostream& stream, const CPointSamplers& samplers) {
        return stream << samplers.m_Name;
    }
};

inline constexpr CPointSamplers kPointSamplers[] = {
    {"Linear", EQuality::kLinear, &CFastNoise3::SampleLinear, &CFastNoise3::CoherentSampleLinear,
     &CFastNoise3::Sample1stOrderDerivativesLinear, &CFastNoise3::Sample1stOrderDerivativesLinear},
    {"Cubic", EQuality::kCubic, &CFastNoise3::SampleCubic, &CFastNoise3::CoherentSampleCubic,
     &CFastNoise3::Sample1stOrderDerivativesCubic, &CFastNoise3::Sample1stOrderDerivativesCubic},
    {"Quintic", EQuality::kQuintic, &CFastNoise3::SampleQuintic, &CFastNoise3::CoherentSampleQuintic,
     &CFastNoise3::Sample1stOrderDerivativesQuintic, &CFastNoise3::Sample1stOrderDerivativesQuintic},
};

/// Names the instances of a parameterised test, from GoogleTest's TestParamInfo.
struct CNameOfInstance {
    template <typename TParamInfo>
    std::string operator()(const TParamInfo& instance) const {
        return instance.param.m_Name;
    }
};

} // namespace Vestrel
