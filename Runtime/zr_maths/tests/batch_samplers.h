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

    uint32_t PositionSize() const {
        return static_cast<uint32_t>(m_Dimension) * uint32_t{sizeof(float)};
    }

    /// The expected sample of the position at `bytes`, at any alignment.
    float Expected(const float* basis, const void* bytes) const {
        if (m_Dimension == 1) {
            float x;
            std::memcpy(&x, bytes, sizeof(x));
            return Reference::Sample(basis, m_Quality, x);
        }
        TVector<float, 3> position;
        std::memcpy(&position, bytes, sizeof(position));
        return Reference::Sample(basis, m_Quality, position);
    }

    friend std::ostream& operator<<(std::ostream& stream, const CBatchSampler& sampler) {
        return stream << sampler.m_Name;
    }
};

template <typename TPosition,
          void (CFastNoise3::*kSample)(const TStridedMemoryView<float>&,
                                       const TStridedMemoryView<const TPosition>&) const noexcept>
void CallBatchSampler(const CFastNoise3& noise, const TStridedMemoryView<float>& output,
                      const void* positions, uint32_t positionCount, uint32_t positionStride) {
    (noise.*kSample)(output, TStridedMemoryView<const TPosition>(static_cast<const TPosition*>(positions),
                                                                 positionCount, positionStride));
}

inline constexpr CBatchSampler kBatchSamplers[] = {
    {"SampleLinear1D", 1, Reference::EQuality::kLinear,
     CallBatchSampler<float, &CFastNoise3::SampleLinear1D>},
    {"SampleCubic1D", 1, Reference::EQuality::kCubic, CallBatchSampler<float, &CFastNoise3::SampleCubic1D>},
    {"SampleQuintic1D", 1, Reference::EQuality::kQuintic,
     CallBatchSampler<float, &CFastNoise3::SampleQuintic1D>},
    {"SampleLinear3D", 3, Reference::EQuality::kLinear,
     CallBatchSampler<TVector<float, 3>, &CFastNoise3::SampleLinear3D>},
    {"SampleCubic3D", 3, Reference::EQuality::kCubic,
     CallBatchSampler<TVector<float, 3>, &CFastNoise3::SampleCubic3D>},
    {"SampleQuintic3D", 3, Reference::EQuality::kQuintic,
     CallBatchSampler<TVector<float, 3>, &CFastNoise3::SampleQuintic3D>},
};

/// Names the instances of a parameterised test, from GoogleTest's TestParamInfo.
struct CNameOfInstance {
    template <typename TParamInfo>
    std::string operator()(const TParamInfo& instance) const {
        return instance.param.m_Name;
    }
};

} // namespace Vestrel
