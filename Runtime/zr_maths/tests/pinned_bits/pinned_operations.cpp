#include "pinned_operations.h"

#include <zr_support/simd_streams.h>

#include <cstdint>
#include <cstring>

namespace Vestrel {

namespace {

using SIMD_Neon::Float4;

constexpr size_t kFloatSize = sizeof(float);

/// The samplers' memory: aligned, or one float away from it.
alignas(16) float g_Positions[4 * kMostPinnedItems + 8];
alignas(16) float g_Samples[kMostPinnedItems + 4];

/// Positions and samples in line, which go four at a time where four lanes take them, or out of line, which
/// go one at a time.
template <typename TPosition, bool kIsAligned, auto kSample>
void SampleBatch(const CPinnedSubjects& subjects, const float* inputs, size_t itemCount, float* results) {
    const size_t shift = kIsAligned ? 0 : 1;
    std::memcpy(g_Positions + shift, inputs, itemCount * sizeof(TPosition));
    const uint32_t count = static_cast<uint32_t>(itemCount);
    const TStridedMemoryView<float> samples(g_Samples + shift, count, kFloatSize);
    const void* const positions = g_Positions + shift;
    (subjects.m_Noise.*kSample)(samples,
                                {static_cast<const TPosition*>(positions), count, sizeof(TPosition)});
    std::memcpy(results, g_Samples + shift, itemCount * kFloatSize);
}

template <auto kSample>
void SampleOne(const CPinnedSubjects& subjects, const float* inputs, size_t itemCount, float* results) {
    for (size_t k = 0; k < itemCount; ++k, inputs += 4) {
        results[k] = (subjects.m_Noise.*kSample)(Float4(inputs[0], inputs[1], inputs[2], inputs[3]));
    }
}

template <auto kSample>
void SampleCoherent(const CPinnedSubjects& subjects, const float* inputs, size_t itemCount, float* results) {
    for (size_t k = 0; k < itemCount; ++k) {
        Float4 positions[4];
        for (Float4& position : positions) {
            position = Float4(inputs[0], inputs[1], inputs[2], 0.0f);
            inputs += 3;
        }
        SIMD_Neon::StoreUnaligned(results + 4 * k, (subjects.m_Noise.*kSample)(positions));
    }
}

using CRecord = TPair<TVector<float, 4>, TVector<int, 4>>;
using CGradient = TVector<float, 4>;
using CSampleGradient = Float4 (CFastNoise3::*)(Float4) const noexcept;
using CSampleGradients = void (CFastNoise3::*)(const TMemoryView<const CRecord>&,
                                               const TMemoryView<CGradient>&) const noexcept;

template <CSampleGradient kSample>
void SampleGradient(const CPinnedSubjects& subjects, const float* inputs, size_t itemCount, float* results) {
    for (size_t k = 0; k < 4 * itemCount; k += 4) {
        const Float4 position(inputs[k], inputs[k + 1], inputs[k + 2], inputs[k + 3]);
        SIMD_Neon::StoreUnaligned(results + k, (subjects.m_Noise.*kSample)(position));
    }
}

/// The inputs are records, with their cells as floats.
template <CSampleGradients kSample>
void SampleGradients(const CPinnedSubjects& subjects, const float* inputs, size_t itemCount, float* results) {
    static CRecord records[kMostPinnedItems];
    static CGradient gradients[kMostPinnedItems];
    for (size_t k = 0; k < itemCount; ++k, inputs += 8) {
        records[k].first = {inputs[0], inputs[1], inputs[2], inputs[3]};
        records[k].second = {static_cast<int>(inputs[4]), static_cast<int>(inputs[5]),
                             static_cast<int>(inputs[6]), static_cast<int>(inputs[7])};
    }
    const uint32_t count = static_cast<uint32_t>(itemCount);
    (subjects.m_Noise.*kSample)({records, count}, {gradients, count});
    std::memcpy(results, gradients, itemCount * sizeof(CGradient));
}

/// The inputs are times, the results the whole basis at each.
void Rotate(const CPinnedSubjects& subjects, const float* inputs, size_t itemCount, float* results) {
    for (size_t k = 0; k < itemCount; ++k) {
        subjects.m_Rotatable.RotateBasis(inputs[k]);
        std::memcpy(results + 256 * k, subjects.m_RotatableBasis, 256 * kFloatSize);
    }
}

template <auto kStream>
void Stream(const CPinnedSubjects&, const float* inputs, size_t itemCount, float* results) {
    std::memcpy(g_Positions, inputs, itemCount * kFloatSize);
    kStream(g_Positions, g_Samples, static_cast<uint32_t>(itemCount));
    std::memcpy(results, g_Samples, itemCount * kFloatSize);
}

/// Between bounds by which no product is exact.
void Generate(const CPinnedSubjects& subjects, const float*, size_t itemCount, float* results) {
    subjects.m_Generator.FillRandomFloats({results, static_cast<uint32_t>(itemCount)}, -0.7f, 6.9115f);
}

struct CNamedOperation {
    const char* m_Name;
    CPinnedOperation m_Operation;
};

using CPosition2 = TVector<float, 2>;
using CPosition3 = TVector<float, 3>;
using CPosition4 = TVector<float, 4>;

// clang-format off
constexpr CNamedOperation kOperations[] = {
    {"SampleLinear1D", SampleBatch<float, true, &CFastNoise3::SampleLinear1D>},
    {"SampleCubic1D", SampleBatch<float, true, &CFastNoise3::SampleCubic1D>},
    {"SampleQuintic1D", SampleBatch<float, true, &CFastNoise3::SampleQuintic1D>},
    {"SampleLinear2D", SampleBatch<CPosition2, true, &CFastNoise3::SampleLinear2D>},
    {"SampleCubic2D", SampleBatch<CPosition2, true, &CFastNoise3::SampleCubic2D>},
    {"SampleQuintic2D", SampleBatch<CPosition2, true, &CFastNoise3::SampleQuintic2D>},
    {"SampleLinear3D", SampleBatch<CPosition3, true, &CFastNoise3::SampleLinear3D>},
    {"SampleCubic3D", SampleBatch<CPosition3, true, &CFastNoise3::SampleCubic3D>},
    {"SampleQuintic3D", SampleBatch<CPosition3, true, &CFastNoise3::SampleQuintic3D>},
    {"SampleLinear4D", SampleBatch<CPosition4, true, &CFastNoise3::SampleLinear4D>},
    {"SampleCubic4D", SampleBatch<CPosition4, true, &CFastNoise3::SampleCubic4D>},
    {"SampleQuintic4D", SampleBatch<CPosition4, true, &CFastNoise3::SampleQuintic4D>},
    {"SampleLinear1DOneAtATime", SampleBatch<float, false, &CFastNoise3::SampleLinear1D>},
    {"SampleCubic1DOneAtATime", SampleBatch<float, false, &CFastNoise3::SampleCubic1D>},
    {"SampleQuintic1DOneAtATime", SampleBatch<float, false, &CFastNoise3::SampleQuintic1D>},
    {"SampleLinear2DOneAtATime", SampleBatch<CPosition2, false, &CFastNoise3::SampleLinear2D>},
    {"SampleCubic2DOneAtATime", SampleBatch<CPosition2, false, &CFastNoise3::SampleCubic2D>},
    {"SampleQuintic2DOneAtATime", SampleBatch<CPosition2, false, &CFastNoise3::SampleQuintic2D>},
    {"SampleLinear3DOneAtATime", SampleBatch<CPosition3, false, &CFastNoise3::SampleLinear3D>},
    {"SampleCubic3DOneAtATime", SampleBatch<CPosition3, false, &CFastNoise3::SampleCubic3D>},
    {"SampleQuintic3DOneAtATime", SampleBatch<CPosition3, false, &CFastNoise3::SampleQuintic3D>},
    {"SampleLinear4DOneAtATime", SampleBatch<CPosition4, false, &CFastNoise3::SampleLinear4D>},
    {"SampleCubic4DOneAtATime", SampleBatch<CPosition4, false, &CFastNoise3::SampleCubic4D>},
    {"SampleQuintic4DOneAtATime", SampleBatch<CPosition4, false, &CFastNoise3::SampleQuintic4D>},
    {"SampleLinear", SampleOne<&CFastNoise3::SampleLinear>},
    {"SampleCubic", SampleOne<&CFastNoise3::SampleCubic>},
    {"SampleQuintic", SampleOne<&CFastNoise3::SampleQuintic>},
    {"CoherentSampleLinear", SampleCoherent<&CFastNoise3::CoherentSampleLinear>},
    {"CoherentSampleCubic", SampleCoherent<&CFastNoise3::CoherentSampleCubic>},
    {"CoherentSampleQuintic", SampleCoherent<&CFastNoise3::CoherentSampleQuintic>},
    {"Sample1stOrderDerivativesLinear", SampleGradient<&CFastNoise3::Sample1stOrderDerivativesLinear>},
    {"Sample1stOrderDerivativesCubic", SampleGradient<&CFastNoise3::Sample1stOrderDerivativesCubic>},
    {"Sample1stOrderDerivativesQuintic", SampleGradient<&CFastNoise3::Sample1stOrderDerivativesQuintic>},
    {"Sample1stOrderDerivativesLinearBatch", SampleGradients<&CFastNoise3::Sample1stOrderDerivativesLinear>},
    {"Sample1stOrderDerivativesCubicBatch", SampleGradients<&CFastNoise3::Sample1stOrderDerivativesCubic>},
    {"Sample1stOrderDerivativesQuinticBatch", SampleGradients<&CFastNoise3::Sample1stOrderDerivativesQuintic>},
    {"RotateBasisVariationNone", Rotate},
    {"RotateBasisVariationDefault", Rotate},
    {"RotateBasisVariationLarge", Rotate},
    {"ArcSinStream", Stream<&SIMD_Neon::FullPrecision::ArcSinStream_Aligned16>},
    {"SinStream", Stream<&SIMD_Neon::LowPrecision::SinStream_Aligned16>},
    {"StdRandomGenerator", Generate},
};
// clang-format on

} // namespace

CPinnedOperation FindPinnedOperation(const char* name) {
    for (const CNamedOperation& named : kOperations) {
        if (std::strcmp(named.m_Name, name) == 0) {
            return named.m_Operation;
        }
    }
    return nullptr;
}

} // namespace Vestrel
