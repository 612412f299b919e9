// The kernels of every instruction set: nanoseconds per item, and the speed relative to four lanes in the
// same run.

#include "benchmark_sections.h"
#include "instruction_sets.h"
#include "noise_test_support.h"
#include "operations.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <functional>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

namespace Vestrel::Benchmarks {

namespace {

using SIMD_Neon::Float4;

constexpr uint32_t kCount = 4096;
constexpr uint32_t kMaxCount = 1 << 24;

/// Positions for all dimensions, and memory for samples and gradients.
struct CData {
    std::vector<float> m_Coordinates;
    std::vector<float> m_Results;
    std::vector<CRecord> m_Records;
    CStdRandomGenerator m_Generator{3};
    COpenNoise m_Noise{&m_Generator};
    COpenRotatable m_Rotatable{&m_Generator};
    float m_Time = 0.25f;

    CData() : m_Coordinates(3 * kMaxCount + 64), m_Results(kMaxCount + 64), m_Records(kCount) {
        m_Generator.FillRandomFloats({m_Coordinates.data(), uint32_t(m_Coordinates.size())}, -128.0f, 128.0f);
        for (CRecord& record : m_Records) {
            float numbers[6];
            m_Generator.FillRandomFloats({numbers, 6}, 0.0f, 0.999f);
            const auto cell = [](float number) { return static_cast<int>(number * 256.0f); };
            record = {{numbers[0], numbers[1], numbers[2], 0.0f},
                      {cell(numbers[3]), cell(numbers[4]), cell(numbers[5]), 0}};
        }
    }
};

CData& Data() {
    static CData data;
    return data;
}

/// An operation on `m_Count` items.
struct CCase {
    std::string m_Name;
    uint32_t m_Count;
    std::function<void()> m_Run;
};

CCase SamplerCase(const CBatchSampler& sampler, const std::string& name, uint32_t count, uint32_t stride,
                  size_t offset) {
    return {name, count, [&sampler, count, stride, offset] {
                CData& data = Data();
                sampler.m_Sample(data.m_Noise, {Aligned(data.m_Results), count, sizeof(float)},
                                 Aligned(data.m_Coordinates) + offset, count, stride);
            }};
}

const CBatchSampler& SamplerNamed(const char* name) {
    return *std::find_if(
        std::begin(kBatchSamplers), std::end(kBatchSamplers),
        [&](const CBatchSampler& sampler) { return std::strcmp(sampler.m_Name, name) == 0; });
}

std::vector<CCase> CasesOfOperations() {
    std::vector<CCase> cases;
    for (const CBatchSampler& sampler : kBatchSamplers) {
        cases.push_back(SamplerCase(sampler, sampler.m_Name, kCount, sampler.PositionSize(), 0));
    }
    const CBatchSampler& cubic = SamplerNamed("SampleCubic3D");
    cases.push_back(SamplerCase(cubic, "SampleCubic3D, misaligned", kCount, 12, 1));
    cases.push_back(SamplerCase(cubic, "SampleCubic3D, padded", kCount, 16, 0));
    cases.push_back(SamplerCase(cubic, "SampleCubic3D, 256 positions", 256, 12, 0));
    cases.push_back(SamplerCase(cubic, "SampleCubic3D, 256 misaligned", 256, 12, 1));
    cases.push_back(SamplerCase(cubic, "SampleCubic3D, 256 padded", 256, 16, 0));
    cases.push_back({"Sample1stOrderDerivativesQuintic, batch", kCount, [] {
                         CData& data = Data();
                         data.m_Noise.Sample1stOrderDerivativesQuintic(
                             {data.m_Records.data(), kCount},
                             {reinterpret_cast<CGradient*>(Aligned(data.m_Results)), kCount});
                     }});
    cases.push_back({"RotateBasis", 1, [] {
                         CData& data = Data();
                         data.m_Time = 1.0f - data.m_Time; // back and forth
                         data.m_Rotatable.RotateBasis(data.m_Time);
                     }});
    return cases;
}

/// Powers of two, and counts next to multiples of a block, which leave a remainder.
std::vector<CCase> CasesOfCounts() {
    std::vector<CCase> cases;
    for (uint32_t count = 1; count <= kMaxCount; count *= 2) {
        cases.push_back(
            SamplerCase(SamplerNamed("SampleCubic3D"), "counts/" + std::to_string(count), count, 12, 0));
    }
    for (const uint32_t count : {63u, 65u, 100u, 127u, 129u, 191u}) {
        cases.push_back(
            SamplerCase(SamplerNamed("SampleCubic3D"), "counts/" + std::to_string(count), count, 12, 0));
    }
    // The cheapest samples around the minimum counts, where kernels could be slower.
    for (const char* name : {"SampleLinear1D", "SampleLinear2D", "SampleLinear3D", "SampleLinear4D"}) {
        const CBatchSampler& sampler = SamplerNamed(name);
        for (const uint32_t count : {64u, 127u, 128u, 191u, 256u, 319u, 512u, 575u}) {
            cases.push_back(SamplerCase(sampler, std::string("first/") + name + "/" + std::to_string(count),
                                        count, sampler.PositionSize(), 0));
        }
    }
    return cases;
}

/// Repeats short calls, so that even a single iteration takes long enough to measure.
void Run(benchmark::State& state, const CCase& run) {
    const uint32_t repeats = std::max(1u, 65536 / run.m_Count);
    for (auto _ : state) {
        for (uint32_t k = 0; k < repeats; ++k) {
            run.m_Run();
            benchmark::ClobberMemory();
        }
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations()) * repeats * run.m_Count);
}

void RunWith(benchmark::State& state, EInstructionSet set, const CCase& run) {
    const CSelectedInstructionSet selected(set);
    Run(state, run);
}

/// Reads twelve bytes and writes four per position, as a lower bound.
void Stream(uint32_t count) {
    const float* const source = Aligned(Data().m_Coordinates);
    float* const target = Aligned(Data().m_Results);
    for (uint32_t k = 0; k < count; k += 4) {
        const float* const positions = source + size_t{3} * k;
        const Float4 all = SIMD_Neon::LoadAligned(positions) + SIMD_Neon::LoadAligned(positions + 4) +
                           SIMD_Neon::LoadAligned(positions + 8);
        SIMD_Neon::StoreAligned(target + k, all);
    }
}

/// Samples one object with several threads, each with a part of the positions.
void SampleWithThreads(uint32_t threadCount) {
    CData& data = Data();
    constexpr uint32_t kAll = 1 << 22;
    const uint32_t part = kAll / threadCount;
    std::vector<std::thread> threads;
    for (uint32_t thread = 0; thread < threadCount; ++thread) {
        threads.emplace_back([&data, part, first = thread * part] {
            const auto* const positions =
                reinterpret_cast<const TVector<float, 3>*>(Aligned(data.m_Coordinates));
            data.m_Noise.SampleCubic3D({Aligned(data.m_Results) + first, part, sizeof(float)},
                                       {positions + first, part, sizeof(TVector<float, 3>)});
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

std::string NameOf(EInstructionSet set, const std::string& name) {
    return std::string("kernels/") + Internal::NameOf(set) + "/" + name;
}

void Register(const CCase& run) {
    for (const EInstructionSet set : SupportedInstructionSets()) {
        benchmark::RegisterBenchmark(NameOf(set, run.m_Name).c_str(),
                                     [set, run](benchmark::State& state) { RunWith(state, set, run); });
    }
}

void PrintRow(const CMedians& medians, const CCase& run) {
    const auto sets = SupportedInstructionSets();
    const auto nanoseconds = [&](EInstructionSet set) {
        return medians.Nanoseconds(NameOf(set, run.m_Name));
    };
    if (std::isnan(nanoseconds(EInstructionSet::kFourLanes))) {
        return; // left out by a filter
    }
    std::printf("%-41s", run.m_Name.c_str());
    for (const EInstructionSet set : sets) {
        PrintNumber(nanoseconds(set));
        std::printf(" %4.1f %%", 100.0 * medians.Spread(NameOf(set, run.m_Name)));
    }
    for (const EInstructionSet set : sets) {
        if (set == EInstructionSet::kFourLanes) {
            break;
        }
        PrintNumber(nanoseconds(EInstructionSet::kFourLanes) / nanoseconds(set));
    }
    std::printf("\n");
}

} // namespace

void RegisterKernelBenchmarks() {
    for (const auto& cases : {CasesOfOperations(), CasesOfCounts()}) {
        for (const CCase& run : cases) {
            Register(run);
        }
    }
    for (uint32_t count = 4; count <= kMaxCount; count *= 2) {
        const CCase run = {"", count, [count] { Stream(count); }};
        benchmark::RegisterBenchmark(("stream/" + std::to_string(count)).c_str(),
                                     [run](benchmark::State& state) { Run(state, run); });
    }
    for (const uint32_t threadCount : {1u, 2u}) {
        const CCase run = {"", 1 << 22, [threadCount] { SampleWithThreads(threadCount); }};
        benchmark::RegisterBenchmark(("threads/" + std::to_string(threadCount)).c_str(),
                                     [run](benchmark::State& state) { Run(state, run); })
            ->UseRealTime();
    }
}

void PrintKernelBenchmarks(const CMedians& medians) {
    const auto sets = SupportedInstructionSets();
    std::printf("\n%-41s", "nanoseconds, medians and their spread");
    for (const EInstructionSet set : sets) {
        std::printf("%16s", Internal::NameOf(set));
    }
    std::printf("  times as fast as four lanes\n");
    for (const auto& cases : {CasesOfOperations(), CasesOfCounts()}) {
        for (const CCase& run : cases) {
            PrintRow(medians, run);
        }
    }
}

} // namespace Vestrel::Benchmarks
