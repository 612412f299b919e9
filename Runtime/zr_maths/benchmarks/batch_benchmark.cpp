// Nanoseconds per position of every batch sampler, for packed positions, aligned and misaligned, compared
// with a plain scalar loop.

#include "benchmark_sections.h"
#include "noise_reference.h"
#include "noise_test_support.h"
#include "plain_split.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

namespace Vestrel::Benchmarks {

namespace {

constexpr uint32_t kCounts[] = {1, 7, 64, 4096, 4194304};
constexpr uint32_t kMaxCount = 4194304;

/// Short runs move through this many positions: with one short sequence, the branch predictor would learn the
/// signs of its coordinates, which favours code that branches on them.
constexpr uint32_t kWindow = 131072;

enum class EPath { kAligned, kMisaligned, kPlain };
constexpr EPath kPaths[] = {EPath::kAligned, EPath::kMisaligned, EPath::kPlain};

constexpr const char* NameOf(EPath path) {
    constexpr const char* names[] = {"aligned", "misaligned", "plain loop"};
    return names[static_cast<size_t>(path)];
}

/// Positions for all dimensions and memory for their samples, with slack for alignment and the last position.
struct CData {
    std::vector<float> m_Coordinates;
    std::vector<float> m_Samples;
    COpenNoise m_Noise{nullptr};

    CData() : m_Coordinates(4 * kMaxCount + 16), m_Samples(kMaxCount + 16) {
        CStdRandomGenerator generator(1);
        m_Noise.ResetSampler(&generator);
        generator.FillRandomFloats({m_Coordinates.data(), uint32_t(m_Coordinates.size())}, -128.0f, 128.0f);
    }
};

CData& Data() {
    static CData data;
    return data;
}

template <EQuality kQuality, typename TPosition>
[[gnu::noinline]] void PlainLoop(const float* basis, float* samples, const void* positions, uint32_t count) {
    const TPosition* const typed = static_cast<const TPosition*>(positions);
    for (uint32_t k = 0; k < count; ++k) {
        samples[k] = Reference::Sample(basis, kQuality, typed[k], CPlainSplit());
    }
}

using CPlainLoop = void (*)(const float* basis, float* samples, const void* positions, uint32_t count);

template <typename TPosition>
CPlainLoop PlainLoopOf(EQuality quality) {
    using enum EQuality;
    return quality == kLinear  ? PlainLoop<kLinear, TPosition>
           : quality == kCubic ? PlainLoop<kCubic, TPosition>
                               : PlainLoop<kQuintic, TPosition>;
}

CPlainLoop PlainLoopOf(const CBatchSampler& sampler) {
    switch (sampler.m_Dimension) {
    case 1:
        return PlainLoopOf<float>(sampler.m_Quality);
    case 2:
        return PlainLoopOf<TVector<float, 2>>(sampler.m_Quality);
    case 3:
        return PlainLoopOf<TVector<float, 3>>(sampler.m_Quality);
    default:
        return PlainLoopOf<TVector<float, 4>>(sampler.m_Quality);
    }
}

void Run(benchmark::State& state, const CBatchSampler& sampler, EPath path, uint32_t count) {
    CData& data = Data();
    const CPlainLoop plain = PlainLoopOf(sampler);
    const uint32_t window = std::max(count, kWindow);
    // A misaligned output makes short runs go one at a time.
    float* const samples = Aligned(data.m_Samples) + (path == EPath::kMisaligned ? 1 : 0);
    const float* const coordinates = Aligned(data.m_Coordinates);
    const uint32_t floats = sampler.PositionSize() / uint32_t{sizeof(float)};
    uint32_t first = 0;
    for (auto _ : state) {
        const float* const positions = coordinates + size_t{first} * floats;
        if (path == EPath::kPlain) {
            plain(data.m_Noise.Basis(), samples, positions, count);
        } else {
            sampler.m_Sample(data.m_Noise, {samples, count, sizeof(float)}, positions, count,
                             sampler.PositionSize());
        }
        benchmark::ClobberMemory();
        first += (count + 3) / 4 * 4; // multiples of four positions are aligned
        first = first + count <= window ? first : 0;
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations()) * count);
}

std::string NameOf(const CBatchSampler& sampler, EPath path, uint32_t count) {
    return std::string(sampler.m_Name) + "/" + NameOf(path) + "/" + std::to_string(count);
}

bool HasMedian(const CMedians& medians, const CBatchSampler& sampler) {
    return std::any_of(std::begin(kPaths), std::end(kPaths), [&](EPath path) {
        return std::any_of(std::begin(kCounts), std::end(kCounts), [&](uint32_t count) {
            return !std::isnan(medians.Nanoseconds(NameOf(sampler, path, count)));
        });
    });
}

template <typename TValue>
void PrintRow(const CBatchSampler& sampler, const std::string& name, const TValue& valueOf) {
    std::printf("%-16s %-27s", sampler.m_Name, name.c_str());
    for (const uint32_t count : kCounts) {
        PrintNumber(valueOf(count));
    }
    std::printf("\n");
}

void PrintHeader() {
    std::printf("%-44s", "nanoseconds per position, medians");
    for (const uint32_t count : kCounts) {
        std::printf("%9u", count);
    }
    std::printf("  positions\n");
}

void PrintSampler(const CMedians& medians, const CBatchSampler& sampler) {
    const auto median = [&](EPath path, uint32_t count) {
        return medians.Nanoseconds(NameOf(sampler, path, count));
    };
    for (const EPath path : kPaths) {
        PrintRow(sampler, NameOf(path), [&](uint32_t count) { return median(path, count); });
    }
    for (const EPath path : {EPath::kAligned, EPath::kMisaligned}) {
        PrintRow(sampler, std::string("plain loop : ") + NameOf(path),
                 [&](uint32_t count) { return median(EPath::kPlain, count) / median(path, count); });
    }
}

} // namespace

void RegisterBatchBenchmarks() {
    for (const CBatchSampler& sampler : kBatchSamplers) {
        for (const EPath path : kPaths) {
            for (const uint32_t count : kCounts) {
                benchmark::RegisterBenchmark(
                    NameOf(sampler, path, count).c_str(),
                    [&sampler, path, count](benchmark::State& state) { Run(state, sampler, path, count); });
            }
        }
    }
}

void PrintBatchBenchmarks(const CMedians& medians) {
    bool hasHeader = false;
    for (const CBatchSampler& sampler : kBatchSamplers) {
        if (!HasMedian(medians, sampler)) {
            continue; // left out by a filter
        }
        if (!std::exchange(hasHeader, true)) {
            PrintHeader();
        }
        PrintSampler(medians, sampler);
    }
}

} // namespace Vestrel::Benchmarks
