#pragma once

// The batch samplers as a table, for tests and benchmarks to walk: each with its reference and the size of
// its positions.

#include "noise_reference.h"

#include <zr_maths/maths_noise_fast.h>

#include <cstdint>
#include <cstring>
#include <ostream>
#include <string>

namespace Vestrel {

struct CBatchSampler {
    const char* m_Name;
    int m_Dimension;
    Reference::EQuality m_Quality;
    void (*m_Sample)(const CFastNoise3& noise, const TStridedMemoryView<float>& output, const void* positions,
                     uint32_t positionCount, uint32_t positionStride);
    /// The sample that the reference gives for the position at `bytes`, at any alignment.
    float (*m_Expected)(const float* basis, const void* bytes);

    uint32_t PositionSize() const {
        return static_cast<uint32_t>(m_Dimension) * uint32_t{sizeof(float)};
    }

    friend std::ostream& operator<<(std::ostream& stream, const CBatchSampler& sampler) {
        return stream << sampler.m_Name;
    }
};

template <typename TPosition, Reference::EQuality kQuality, auto kSample>
constexpr CBatchSampler BatchSamplerOf(const char* name) {
    const auto sample = [](const CFastNoise3& noise, const TStridedMemoryView<float>& output,
                           const void* positions, uint32_t positionCount, uint32_t positionStride) {
        (noise.*kSample)(output, TStridedMemoryView<const TPosition>(static_cast<const TPosition*>(positions),
                                                                     positionCount, positionStride));
    };
    const auto expected = [](const float* basis, const void* bytes) {
        TPosition position;
        std::memcpy(&position, bytes, sizeof(position));
        return Reference::Sample(basis, kQuality, position);
    };
    return {name, sizeof(TPosition) / sizeof(float), kQuality, sample, expected};
}

inline constexpr CBatchSampler kBatchSamplers[] = {
    BatchSamplerOf<float, Reference::EQuality::kLinear, &CFastNoise3::SampleLinear1D>("SampleLinear1D"),
    BatchSamplerOf<float, Reference::EQuality::kCubic, &CFastNoise3::SampleCubic1D>("SampleCubic1D"),
    BatchSamplerOf<float, Reference::EQuality::kQuintic, &CFastNoise3::SampleQuintic1D>("SampleQuintic1D"),
    BatchSamplerOf<TVector<float, 2>, Reference::EQuality::kLinear, &CFastNoise3::SampleLinear2D>(
        "SampleLinear2D"),
    BatchSamplerOf<TVector<float, 2>, Reference::EQuality::kCubic, &CFastNoise3::SampleCubic2D>(
        "SampleCubic2D"),
    BatchSamplerOf<TVector<float, 2>, Reference::EQuality::kQuintic, &CFastNoise3::SampleQuintic2D>(
        "SampleQuintic2D"),
    BatchSamplerOf<TVector<float, 3>, Reference::EQuality::kLinear, &CFastNoise3::SampleLinear3D>(
        "SampleLinear3D"),
    BatchSamplerOf<TVector<float, 3>, Reference::EQuality::kCubic, &CFastNoise3::SampleCubic3D>(
        "SampleCubic3D"),
    BatchSamplerOf<TVector<float, 3>, Reference::EQuality::kQuintic, &CFastNoise3::SampleQuintic3D>(
        "SampleQuintic3D"),
    BatchSamplerOf<TVector<float, 4>, Reference::EQuality::kLinear, &CFastNoise3::SampleLinear4D>(
        "SampleLinear4D"),
    BatchSamplerOf<TVector<float, 4>, Reference::EQuality::kCubic, &CFastNoise3::SampleCubic4D>(
        "SampleCubic4D"),
    BatchSamplerOf<TVector<float, 4>, Reference::EQuality::kQuintic, &CFastNoise3::SampleQuintic4D>(
        "SampleQuintic4D"),
};

/// Names the instances of a parameterised test, from GoogleTest's TestParamInfo.
struct CNameOfInstance {
    template <typename TParamInfo>
    std::string operator()(const TParamInfo& instance) const {
        return instance.param.m_Name;
    }
};

} // namespace Vestrel
