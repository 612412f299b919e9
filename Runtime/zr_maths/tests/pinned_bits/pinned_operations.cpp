#include "pinned_operations.h"

#include "../operations.h"

#include <zr_support/simd_streams.h>

#include <cstdint>
#include <cstring>

namespace Vestrel {

namespace {

using SIMD_Neon::Float4;

constexpr size_t kFloatSize = sizeof(float);

/// The samplers' memory, with room to shift by a float.
alignas(16) float g_Positions[4 * kMaxPinnedItems + 8];
alignas(16) float g_Samples[kMaxPinnedItems + 4];

template <size_t kShift>
void SampleBatch(size_t row, const CPinnedSubjects& subjects, const float* inputs, size_t itemCount,
                 float* results) {
    const CBatchSampler& sampler = kBatchSamplers[row];
    std::memcpy(g_Positions + kShift, inputs, itemCount * sampler.PositionSize());
    const TStridedMemoryView<float> samples(g_Samples + kShift, static_cast<uint32_t>(itemCount), kFloatSize);
    sampler.m_Sample(subjects.m_Noise, samples, g_Positions + kShift, samples.m_Count,
                     sampler.PositionSize());
    std::memcpy(results, g_Samples + kShift, itemCount * kFloatSize);
}

void Sample(size_t row, const CPinnedSubjects& subjects, const float* inputs, size_t itemCount,
            float* results) {
    const auto sample = kPointSamplers[row].m_Sample;
    for (size_t k = 0; k < itemCount; ++k, inputs += 4) {
        const Float4 position(inputs[0], inputs[1], inputs[2], inputs[3]);
        results[k] = (subjects.m_Noise.*sample)(position);
    }
}

void SampleCoherent(size_t row, const CPinnedSubjects& subjects, const float* inputs, size_t itemCount,
                    float* results) {
    const auto coherent = kPointSamplers[row].m_Coherent;
    for (size_t k = 0; k < itemCount; ++k) {
        Float4 positions[4];
        for (Float4& position : positions) {
            position = Float4(inputs[0], inputs[1], inputs[2], 0.0f);
            inputs += 3;
        }
        const Float4 samples = (subjects.m_Noise.*coherent)(positions);
        SIMD_Neon::StoreUnaligned(results + 4 * k, samples);
    }
}

void SampleGradient(size_t row, const CPinnedSubjects& subjects, const float* inputs, size_t itemCount,
                    float* results) {
    const auto gradient = kPointSamplers[row].m_Gradient;
    for (size_t k = 0; k < 4 * itemCount; k += 4) {
        const Float4 position(inputs[k], inputs[k + 1], inputs[k + 2], inputs[k + 3]);
        SIMD_Neon::StoreUnaligned(results + k, (subjects.m_Noise.*gradient)(position));
    }
}

/// The inputs are records, with their cells as floats.
void SampleGradientBatch(size_t row, const CPinnedSubjects& subjects, const float* inputs, size_t itemCount,
                         float* results) {
    static CRecord records[kMaxPinnedItems];
    static CGradient gradients[kMaxPinnedItems];
    for (size_t k = 0; k < itemCount; ++k, inputs += 8) {
        records[k].first = {inputs[0], inputs[1], inputs[2], inputs[3]};
        records[k].second = {static_cast<int>(inputs[4]), static_cast<int>(inputs[5]),
                             static_cast<int>(inputs[6]), static_cast<int>(inputs[7])};
    }
    const uint32_t count = static_cast<uint32_t>(itemCount);
    const auto gradientBatch = kPointSamplers[row].m_GradientBatch;
    (subjects.m_Noise.*gradientBatch)({records, count}, {gradients, count});
    std::memcpy(results, gradients, itemCount * sizeof(CGradient));
}

/// The inputs are times, the results the whole basis at each.
void Rotate(size_t, const CPinnedSubjects& subjects, const float* inputs, size_t itemCount, float* results) {
    for (size_t k = 0; k < itemCount; ++k) {
        subjects.m_Rotatable.RotateBasis(inputs[k]);
        std::memcpy(results + 256 * k, subjects.m_RotatableBasis, 256 * kFloatSize);
    }
}

template <auto kStream>
void Stream(size_t, const CPinnedSubjects&, const float* inputs, size_t itemCount, float* results) {
    std::memcpy(g_Positions, inputs, itemCount * kFloatSize);
    kStream(g_Positions, g_Samples, static_cast<uint32_t>(itemCount));
    std::memcpy(results, g_Samples, itemCount * kFloatSize);
}

/// Uses bounds with which no product is exact.
void Generate(size_t, const CPinnedSubjects& subjects, const float*, size_t itemCount, float* results) {
    subjects.m_Generator.FillRandomFloats({results, static_cast<uint32_t>(itemCount)}, -0.7f, 6.9115f);
}

/// In the order of EPinnedCall.
constexpr decltype(&Rotate) kCalls[] = {
    SampleBatch<0>,
    SampleBatch<1>,
    Sample,
    SampleCoherent,
    SampleGradient,
    SampleGradientBatch,
    Rotate,
    Stream<&SIMD_Neon::FullPrecision::ArcSinStream_Aligned16>,
    Stream<&SIMD_Neon::LowPrecision::SinStream_Aligned16>,
    Generate,
};

} // namespace

void MakePinnedResults(EPinnedCall call, size_t row, const CPinnedSubjects& subjects, const float* inputs,
                       size_t itemCount, float* results) {
    kCalls[static_cast<size_t>(call)](row, subjects, inputs, itemCount, results);
}

} // namespace Vestrel
