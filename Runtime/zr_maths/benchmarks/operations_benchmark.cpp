// Every operation except the batch samplers, compared with an alternative.

#include "benchmark_sections.h"
#include "noise_reference.h"
#include "noise_test_support.h"
#include "plain_split.h"

#include <zr_maths/verify_arithmetic.h>
#include <zr_support/simd_streams.h>

#include <benchmark/benchmark.h>
#include <sleef.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

namespace Vestrel::Benchmarks {

namespace {

using SIMD_Neon::Float4;

using CPosition = TVector<float, 3>;

constexpr uint32_t kCount = 4096;
constexpr uint32_t kEntries = 256;

/// The greatest angle of the sine benchmarks.
constexpr float kMaxAngle = 1e4f;

/// Inputs and outputs of the operations.
struct CData {
    CStdRandomGenerator m_Generator{2};
    COpenNoise m_Noise{&m_Generator};
    COpenRotatable m_Rotatable{&m_Generator};
    std::vector<CPosition> m_Positions = std::vector<CPosition>(kCount);
    std::vector<Float4> m_FourLanes = std::vector<Float4>(kCount);
    std::vector<CRecord> m_Records = std::vector<CRecord>(kCount);
    std::vector<float> m_Samples = std::vector<float>(kCount);
    std::vector<CGradient> m_Gradients = std::vector<CGradient>(kCount);
    alignas(16) float m_Angles[kEntries];
    alignas(16) float m_Sines[kEntries];
    alignas(16) float m_Ratios[kEntries];
    float m_Time = 0.0f;

    CData() {
        m_Generator.FillRandomFloats({&m_Positions[0].x, 3 * kCount}, -128.0f, 128.0f);
        m_Generator.FillRandomFloats({m_Angles, kEntries}, 0.0f, kMaxAngle);
        m_Generator.FillRandomFloats({m_Ratios, kEntries}, -1.0f, 1.0f);
        for (uint32_t k = 0; k < kCount; ++k) {
            const CPosition& position = m_Positions[k];
            m_FourLanes[k] = Float4(position.x, position.y, position.z, 0.0f);
            m_Records[k] = Reference::RecordOf(position.x, position.y, position.z);
        }
    }
};

CData& Data() {
    static CData data;
    return data;
}

// Rows of kPointSamplers are template arguments, so that calls are direct.

template <size_t kRow>
void Samples(CData& data) {
    for (uint32_t k = 0; k < kCount; ++k) {
        data.m_Samples[k] = (data.m_Noise.*kPointSamplers[kRow].m_Sample)(data.m_FourLanes[k]);
    }
}

template <EQuality kQuality>
[[gnu::noinline]] float PlainSample(const float* basis, const CPosition& position) {
    return Reference::Sample(basis, kQuality, position, CPlainSplit());
}

template <size_t kRow>
void PlainSamples(CData& data) {
    for (uint32_t k = 0; k < kCount; ++k) {
        data.m_Samples[k] =
            PlainSample<kPointSamplers[kRow].m_Quality>(data.m_Noise.Basis(), data.m_Positions[k]);
    }
}

/// The positions of a call do not share a cell, which does not affect its cost.
template <size_t kRow>
void CoherentSamples(CData& data) {
    for (uint32_t k = 0; k < kCount; ++k) {
        SIMD_Neon::StoreUnaligned(&data.m_Gradients[k], (data.m_Noise.*kPointSamplers[kRow].m_Coherent)(
                                                            &data.m_FourLanes[k / 4 * 4]));
    }
}

template <size_t kRow>
void Gradients(CData& data) {
    for (uint32_t k = 0; k < kCount; ++k) {
        SIMD_Neon::StoreUnaligned(&data.m_Gradients[k],
                                  (data.m_Noise.*kPointSamplers[kRow].m_Gradient)(data.m_FourLanes[k]));
    }
}

template <EQuality kQuality>
[[gnu::noinline]] CGradient PlainGradient(const float* basis, const CPosition& position) {
    const Reference::CCell x = CPlainSplit()(position.x);
    const Reference::CCell y = CPlainSplit()(position.y);
    const Reference::CCell z = CPlainSplit()(position.z);
    const TVector<float, 3> gradient =
        Reference::Gradient(basis, kQuality, false, {x.m_Fraction, y.m_Fraction, z.m_Fraction},
                            x.m_Coordinate, y.m_Coordinate, z.m_Coordinate);
    return {gradient.x, gradient.y, gradient.z, 0.0f};
}

template <size_t kRow>
void PlainGradients(CData& data) {
    for (uint32_t k = 0; k < kCount; ++k) {
        data.m_Gradients[k] =
            PlainGradient<kPointSamplers[kRow].m_Quality>(data.m_Noise.Basis(), data.m_Positions[k]);
    }
}

template <size_t kRow>
void GradientBatch(CData& data) {
    (data.m_Noise.*kPointSamplers[kRow].m_GradientBatch)(data.m_Records, data.m_Gradients);
}

template <size_t kRow>
[[gnu::noinline]] void PlainGradientBatch(CData& data) {
    const float* const basis = data.m_Noise.Basis();
    const CRecord* const records = data.m_Records.data();
    CGradient* const gradients = data.m_Gradients.data();
    for (uint32_t k = 0; k < kCount; ++k) {
        const TVector<float, 3> gradient =
            Reference::Gradient(basis, kPointSamplers[kRow].m_Quality, true, records[k]);
        gradients[k] = {gradient.x, gradient.y, gradient.z, 0.0f};
    }
}

/// The next time of a thousand turns from `kFirst` on; a rotation to the same time would do nothing.
template <int kFirst>
float NextTime(CData& data) {
    constexpr float first = kFirst;
    const float next = data.m_Time + 0.125f;
    data.m_Time = first <= next && next < first + 1000.0f ? next : first;
    return data.m_Time;
}

template <int kFirst>
void Rotation(CData& data) {
    data.m_Rotatable.RotateBasis(NextTime<kFirst>(data));
}

/// RotateBasis with the C library's sine.
template <int kFirst>
void RotationBySinf(CData& data) {
    const float time = NextTime<kFirst>(data);
    COpenRotatable& noise = data.m_Rotatable;
    for (uint32_t k = 0; k < kEntries; ++k) {
        noise.m_Basis[k] = sinf(noise.m_Phases[k] + time * noise.m_SpinSpeeds[k]);
    }
    noise._RefreshBasis();
}

void Sines(CData& data) {
    SIMD_Neon::LowPrecision::SinStream_Aligned16(data.m_Angles, data.m_Sines, kEntries);
}

/// Applies a function of SLEEF, whose four-lane type differs by platform (its result type is const).
template <typename TResult, typename TFour>
void ApplyFourAtATime(TResult (*function)(TFour), const float* in, float* out) {
    for (uint32_t k = 0; k < kEntries; k += 4) {
        TFour four;
        std::memcpy(&four, in + k, sizeof(four));
        four = function(four);
        std::memcpy(out + k, &four, sizeof(four));
    }
}

void SinesBySleef(CData& data) {
    ApplyFourAtATime(Sleef_sinf4_u35, data.m_Angles, data.m_Sines);
}

void SinesBySinf(CData& data) {
    std::transform(data.m_Angles, data.m_Angles + kEntries, data.m_Sines,
                   [](float angle) { return sinf(angle); });
}

void ArcSines(CData& data) {
    SIMD_Neon::FullPrecision::ArcSinStream_Aligned16(data.m_Ratios, data.m_Sines, kEntries);
}

void ArcSinesByAsinf(CData& data) {
    std::transform(data.m_Ratios, data.m_Ratios + kEntries, data.m_Sines,
                   [](float ratio) { return asinf(ratio); });
}

void Verification(CData&) {
    benchmark::DoNotOptimize(VerifyArithmetic());
}

/// An operation of `m_Items` items and its alternative, if any.
struct COperation {
    const char* m_Name;
    const char* m_OtherName;
    uint32_t m_Items;
    void (*m_Run)(CData& data);
    void (*m_RunOther)(CData& data);
};

constexpr COperation kOperations[] = {
    {"SampleLinear", "in plain code", kCount, Samples<0>, PlainSamples<0>},
    {"SampleCubic", "in plain code", kCount, Samples<1>, PlainSamples<1>},
    {"SampleQuintic", "in plain code", kCount, Samples<2>, PlainSamples<2>},
    {"CoherentSampleLinear", "SampleLinear", kCount, CoherentSamples<0>, Samples<0>},
    {"CoherentSampleCubic", "SampleCubic", kCount, CoherentSamples<1>, Samples<1>},
    {"CoherentSampleQuintic", "SampleQuintic", kCount, CoherentSamples<2>, Samples<2>},
    {"Derivatives, linear", "in plain code", kCount, Gradients<0>, PlainGradients<0>},
    {"Derivatives, cubic", "in plain code", kCount, Gradients<1>, PlainGradients<1>},
    {"Derivatives, quintic", "in plain code", kCount, Gradients<2>, PlainGradients<2>},
    {"Derivatives in a batch, linear", "plain loop", kCount, GradientBatch<0>, PlainGradientBatch<0>},
    {"Derivatives in a batch, cubic", "plain loop", kCount, GradientBatch<1>, PlainGradientBatch<1>},
    {"Derivatives in a batch, quintic", "plain loop", kCount, GradientBatch<2>, PlainGradientBatch<2>},
    {"RotateBasis, all 256 entries", "with sinf", 1, Rotation<0>, RotationBySinf<0>},
    {"RotateBasis, after 10000 turns", "with sinf", 1, Rotation<10000>, RotationBySinf<10000>},
    {"SinStream_Aligned16", "SLEEF, 3.5 ULP", kEntries, Sines, SinesBySleef},
    {"SinStream_Aligned16", "sinf", kEntries, Sines, SinesBySinf},
    {"ArcSinStream_Aligned16", "asinf", kEntries, ArcSines, ArcSinesByAsinf},
    {"VerifyArithmetic", "nothing", 1, Verification, nullptr},
};

std::string NameOf(const COperation& operation, bool isOther) {
    return std::string(operation.m_Name) + (isOther ? "/other: " : "/beside: ") + operation.m_OtherName;
}

void Run(benchmark::State& state, void (*run)(CData& data), uint32_t items) {
    CData& data = Data();
    for (auto _ : state) {
        run(data);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations()) * items);
}

} // namespace

void RegisterOperationBenchmarks() {
    for (const COperation& operation : kOperations) {
        for (const bool isOther : {false, true}) {
            const auto run = isOther ? operation.m_RunOther : operation.m_Run;
            if (run == nullptr) {
                continue;
            }
            benchmark::RegisterBenchmark(
                NameOf(operation, isOther).c_str(),
                [run, items = operation.m_Items](auto& state) { Run(state, run, items); });
        }
    }
}

void PrintOperationBenchmarks(const CMedians& medians) {
    bool hasHeader = false;
    for (const COperation& operation : kOperations) {
        const double own = medians.Nanoseconds(NameOf(operation, false));
        const double other = medians.Nanoseconds(NameOf(operation, true));
        if (std::isnan(own) && std::isnan(other)) {
            continue; // left out by a filter
        }
        if (!std::exchange(hasHeader, true)) {
            std::printf("\n%-34s%9s   %-16s%9s%9s\n", "nanoseconds, medians", "", "beside", "", "ratio");
        }
        std::printf("%-34s", operation.m_Name);
        PrintNumber(own);
        std::printf("   %-16s", operation.m_OtherName);
        PrintNumber(other);
        PrintNumber(other / own);
        std::printf("\n");
    }
}

} // namespace Vestrel::Benchmarks
