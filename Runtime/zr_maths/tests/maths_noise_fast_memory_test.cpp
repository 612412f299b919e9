// What samplers read and write, checked with guard pages.

#include "batch_calls.h"
#include "guarded_memory.h"
#include "kernels/kernels.h"
#include "noise_reference.h"
#include "noise_test_support.h"
#include "sample_batch.h"
#include "selected_kernels.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <map>
#include <optional>
#include <set>
#include <sys/mman.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace {

using namespace Vestrel;

using Internal::kPositionsPerBlock;

/// Counts around the ends of paths: of four lanes, long runs, blocks of the wide kernels, and the minimum
/// count of the kernels in use.
std::vector<uint32_t> CountsAround(uint32_t minimumCount) {
    std::set<uint32_t> counts;
    for (uint32_t count = 0; count <= 33; ++count) {
        counts.insert(count);
    }
    for (const uint32_t edge : {kPositionsPerBlock, 2 * kPositionsPerBlock, Internal::kLongRun, minimumCount,
                                minimumCount + kPositionsPerBlock}) {
        for (uint32_t count = edge - std::min(edge, 3u); count <= edge + 5; ++count) {
            counts.insert(count);
        }
    }
    return {counts.begin(), counts.end()};
}

/// The minimum count of the selected kernels for such a call.
uint32_t MinimumCountOf(const CBatchSampler& sampler, uint32_t positionStride) {
    const bool isPadded = sampler.m_Dimension == 3 && positionStride == 4 * sizeof(float);
    return MinimumCount(isPadded ? Internal::EKernelInput::kPadded3D
                                 : static_cast<Internal::EKernelInput>(sampler.m_Dimension - 1));
}

/// The largest of all counts.
uint32_t LastCount() {
    return CountsAround(MaxMinimumCount()).back();
}

/// Offsets of two views from multiples of 16. For any size in whole floats, one of them makes a view end
/// exactly at the guard page. Only the first allows the fast path.
struct COffsets {
    size_t m_Output;
    size_t m_Input;
};

constexpr COffsets kOffsets[] = {{0, 0}, {0, 4}, {0, 8}, {0, 12}, {4, 0}, {8, 0}, {12, 0}};

// Batch samplers.

struct CStrides {
    uint32_t m_Output;
    uint32_t m_Position;
};

class SamplerMemory : public testing::TestWithParam<CBatchSampler> {
protected:
    SamplerMemory() {
        m_Positions.MakeReadOnly();
    }

    /// Makes the call with both views next to the first guard page, and next to the last.
    void Check(const CBatchCall& call) {
        const CExtent extent = ExtentOf(call);
        for (const EEdge edge : kEdges) {
            Check(call, edge, m_Output.Place(edge, extent.m_WrittenSize, call.m_OutputOffset), m_Positions,
                  m_Positions.Place(edge, extent.m_ReadSize, call.m_PositionOffset));
        }
    }

    /// The same with the output over the positions.
    void CheckInPlace(const CBatchCall& call) {
        const CExtent extent = ExtentOf(call);
        const size_t size = std::max(extent.m_ReadSize, extent.m_WrittenSize);
        for (const EEdge edge : kEdges) {
            unsigned char* const both = m_Output.Place(edge, size, call.m_OutputOffset);
            Check(call, edge, both, m_Output, both);
        }
    }

private:
    /// The bytes of its views that a call may touch.
    struct CExtent {
        size_t m_ReadSize = 0;
        size_t m_WrittenSize = 0;
    };

    CExtent ExtentOf(const CBatchCall& call) {
        m_Places.clear();
        AppendPlacesOf(call, GetParam(), m_Places);
        CExtent extent;
        for (const CPlace& place : m_Places) {
            extent.m_ReadSize =
                std::max<size_t>(extent.m_ReadSize, place.m_Position + GetParam().PositionSize());
            extent.m_WrittenSize = std::max<size_t>(extent.m_WrittenSize, place.m_Output + sizeof(float));
        }
        return extent;
    }

    /// Expects the output to hold the samples at m_Places, written in their order, and nothing else.
    void Check(const CBatchCall& call, EEdge edge, unsigned char* output, const CWatchedMemory& memory,
               const unsigned char* positions) {
        const CFaultReporter reporter(
            [&](std::ostream& text) { text << GetParam() << ", " << call << ", " << edge; });
        GetParam().m_Sample(m_Noise, {reinterpret_cast<float*>(output), call.m_Count, call.m_OutputStride},
                            positions, 0, call.m_PositionStride);
        std::vector<CWrittenFloat> writes;
        for (const CPlace& place : m_Places) {
            const float sample = ExpectedAt(memory, positions + place.m_Position);
            writes.push_back({static_cast<size_t>(place.m_Output), sample});
        }
        ASSERT_TRUE(m_Output.HoldsAfter(output, writes)) << reporter.Text();
    }

    /// The expected sample of the position at that place, computed once per place.
    float ExpectedAt(const CWatchedMemory& memory, const unsigned char* position) {
        auto& expected = m_Expected[{&memory == &m_Output, static_cast<size_t>(position - memory.Begin())}];
        if (!expected.has_value()) {
            expected = Reference::Sample(m_Noise.Basis(), GetParam(), memory.ContentsAt(position));
        }
        return *expected;
    }

    COpenNoise m_Noise = EvenNoise();
    // In place with an output stride of 16, 4D takes four times as many positions as the count.
    CWatchedMemory m_Positions{4 * LastCount() * 16};
    CWatchedMemory m_Output{4 * LastCount() * 16};
    std::vector<CPlace> m_Places;
    std::map<std::pair<bool, size_t>, std::optional<float>> m_Expected;
};

INSTANTIATE_TEST_SUITE_P(All, SamplerMemory, testing::ValuesIn(kBatchSamplers), CNameOfInstance());

TEST_P(SamplerMemory, OnlyTheViewsAreAccessed) {
    const uint32_t size = GetParam().PositionSize();
    for (const CStrides& strides : {CStrides{4, size}, {4, 0}, {4, 16}, {4, 20}, {8, size}, {8, 20}}) {
        for (const uint32_t count : CountsAround(MinimumCountOf(GetParam(), strides.m_Position))) {
            for (const COffsets& offsets : kOffsets) {
                Check({count, strides.m_Output, strides.m_Position, offsets.m_Output, offsets.m_Input});
            }
        }
    }
}

// Samples overlap or are misaligned; the last one ends up to 3 bytes behind count * stride.
TEST_P(SamplerMemory, MisalignedOutputStridesWriteWholeSamples) {
    const uint32_t size = GetParam().PositionSize();
    for (const uint32_t outputStride : {1u, 2u, 3u, 5u, 6u, 7u}) {
        for (const uint32_t positionStride : {size, 20u}) {
            for (uint32_t count = 0; count <= 33; ++count) {
                for (const COffsets& offsets : kOffsets) {
                    Check({count, outputStride, positionStride, offsets.m_Output, offsets.m_Input});
                }
            }
        }
    }
}

TEST_P(SamplerMemory, OnlyTheViewsAreAccessedInPlace) {
    const uint32_t size = GetParam().PositionSize();
    for (const CStrides& strides : {CStrides{4, size}, {size, size}, {4, 20}, {20, 20}}) {
        for (const uint32_t count : CountsAround(MinimumCountOf(GetParam(), strides.m_Position))) {
            for (const size_t offset : kFloatOffsets) {
                CheckInPlace({count, strides.m_Output, strides.m_Position, offset, offset});
            }
        }
    }
}

// Every second page is a guard page, so there is one between any two positions.
TEST_P(SamplerMemory, NothingBetweenPositionsIsRead) {
    const size_t pageSize = static_cast<size_t>(sysconf(_SC_PAGESIZE));
    const uint32_t stride = static_cast<uint32_t>(2 * pageSize);
    constexpr uint32_t kMaxPositions = 9;
    const CGuardedMemory memory(kMaxPositions * stride);
    for (uint32_t k = 0; k < kMaxPositions; ++k) {
        ASSERT_EQ(mprotect(memory.Begin() + k * stride + pageSize, pageSize, PROT_NONE), 0);
    }
    const COpenNoise noise = EvenNoise();
    float output[kMaxPositions];
    for (uint32_t count = 1; count <= kMaxPositions; ++count) {
        for (const size_t first : {size_t{0}, pageSize - GetParam().PositionSize()}) {
            const CFaultReporter reporter([&](std::ostream& text) {
                text << GetParam() << ", " << count << " positions at byte " << first << " of their pages";
            });
            GetParam().m_Sample(noise, {output, count, 4}, memory.Begin() + first, 0, stride);
        }
    }
}

// Other samplers.

TEST(FastNoiseMemory, CoherentSamplersReadFourPositions) {
    const COpenNoise noise = EvenNoise();
    const CWatchedMemory memory(1);
    memory.MakeReadOnly();
    for (const CPointSamplers& samplers : kPointSamplers) {
        for (const EEdge edge : kEdges) {
            const CFaultReporter reporter(
                [&](std::ostream& text) { text << "CoherentSample" << samplers << ", positions " << edge; });
            const unsigned char* const positions = memory.Place(edge, 64);
            (noise.*samplers.m_Coherent)(reinterpret_cast<const SIMD_Neon::Float4*>(positions));
        }
    }
}

/// Fills memory with varied records.
void FillWithRecords(unsigned char* data, size_t count) {
    for (size_t k = 0; k < count; ++k) {
        const int cell = static_cast<int>(k);
        const float fraction = static_cast<float>(k % 16 + 1) / 18.0f;
        const CRecord record = {{fraction, 0.25f, 1.0f - fraction, 1000.0f},
                                {cell % 256, cell * 7 % 256, 255 - cell % 256, -1}};
        std::memcpy(data + k * sizeof(record), &record, sizeof(record));
    }
}

class GradientMemory : public testing::TestWithParam<CPointSamplers> {
protected:
    void Compute(uint32_t count, unsigned char* output, const unsigned char* records) {
        (m_Noise.*GetParam().m_GradientBatch)({reinterpret_cast<const CRecord*>(records), count},
                                              {reinterpret_cast<TVector<float, 4>*>(output), 0});
    }

    COpenNoise m_Noise = EvenNoise();
    const std::vector<uint32_t> m_Counts = CountsAround(MinimumCount(Internal::EKernelInput::kRecords));
    CWatchedMemory m_Records{LastCount() * sizeof(CRecord)};
    CWatchedMemory m_Output{LastCount() * sizeof(CRecord)};
};

INSTANTIATE_TEST_SUITE_P(All, GradientMemory, testing::ValuesIn(kPointSamplers), CNameOfInstance());

TEST_P(GradientMemory, OnlyTheViewsAreAccessed) {
    for (const uint32_t count : m_Counts) {
        for (const EEdge edge : kEdges) {
            for (const COffsets& offsets : kOffsets) {
                const CFaultReporter reporter([&](std::ostream& text) {
                    text << count << " records " << edge << ", offset " << offsets.m_Input
                         << ", output offset " << offsets.m_Output;
                });
                unsigned char* const records =
                    m_Records.Place(edge, count * sizeof(CRecord), offsets.m_Input);
                unsigned char* const output = m_Output.Place(edge, count * 16, offsets.m_Output);
                FillWithRecords(records, count);
                m_Records.Remember();
                Compute(count, output, records);
                ASSERT_TRUE(m_Output.HasWritten(output, PackedOffsets(4 * count))) << reporter.Text();
                ASSERT_TRUE(m_Records.HasWritten(records, {})) << reporter.Text();
            }
        }
    }
}

TEST_P(GradientMemory, OnlyTheViewsAreAccessedInPlace) {
    for (const uint32_t count : m_Counts) {
        for (const EEdge edge : kEdges) {
            for (const size_t offset : kFloatOffsets) {
                const CFaultReporter reporter([&](std::ostream& text) {
                    text << count << " records " << edge << ", offset " << offset;
                });
                unsigned char* const both = m_Output.Place(edge, count * sizeof(CRecord), offset);
                FillWithRecords(both, count);
                m_Output.Remember();
                Compute(count, both, both);
                ASSERT_TRUE(m_Output.HasWritten(both, PackedOffsets(4 * count))) << reporter.Text();
            }
        }
    }
}

// The basis.

/// Samples from a basis of entries 0 to 511, next to a guard page.
class CGuardedNoise final : public CFastNoise3 {
public:
    explicit CGuardedNoise(EEdge edge) : CFastNoise3(nullptr), m_OwnBasis(m_Basis) {
        const std::array<float, 256> values = EvenValues();
        m_Basis = reinterpret_cast<float*>(m_Memory.Place(edge, 512 * sizeof(float)));
        std::copy(values.begin(), values.end(), m_Basis);
        std::copy(values.begin(), values.end(), m_Basis + 256);
        m_Memory.MakeReadOnly();
    }

    ~CGuardedNoise() override {
        m_Basis = m_OwnBasis;
    }

private:
    CGuardedMemory m_Memory{512 * sizeof(float)};
    float* m_OwnBasis;
};

/// Calls every operation, at single positions and in rows: four at a time, one at a time, as a long run and
/// by the wide kernels. Rows are along the second-last axis, so that they look up all 256 values; on the last
/// axis, along which edges are read in pairs, they are in the cell `last`.
void SampleRow(const CFastNoise3& noise, int first, int last) {
    static const uint32_t count = LastCount();
    static std::vector<SIMD_Neon::Float4> positionMemory(count), sampleMemory(count);
    static std::vector<CRecord> records(count);
    static std::vector<TVector<float, 4>> gradients(count);
    float* const positions = reinterpret_cast<float*>(positionMemory.data());
    float* const samples = reinterpret_cast<float*>(sampleMemory.data());
    for (const CBatchSampler& sampler : kBatchSamplers) {
        const uint32_t dimension = sampler.PositionSize() / 4;
        const auto coordinateOf = [&](uint32_t k, uint32_t axis) {
            if (axis + 2 == dimension || dimension == 1) {
                return static_cast<int>(k);
            }
            return axis + 1 == dimension ? last : first;
        };
        for (uint32_t k = 0; k < dimension * count; ++k) {
            positions[k] = static_cast<float>(coordinateOf(k / dimension, k % dimension));
        }
        for (const uint32_t rowCount : {count, 256u, 128u}) {
            sampler.m_Sample(noise, {samples, rowCount, 4}, positions, 0, sampler.PositionSize());
            sampler.m_Sample(noise, {samples + 1, rowCount, 4}, positions, 0, sampler.PositionSize());
        }
        for (uint32_t k = 0; k < 256; ++k) {
            sampler.m_Sample(noise, {samples, 1, 4}, positions + k * dimension, 1, sampler.PositionSize());
        }
    }
    for (uint32_t k = 0; k < count; ++k) {
        records[k] = {{0.5f, 0.5f, 0.5f, 0.0f}, {first, static_cast<int>(k % 256), last, 0}};
    }
    for (uint32_t k = 0; k < 256; ++k) {
        const SIMD_Neon::Float4 position(static_cast<float>(first), static_cast<float>(k),
                                         static_cast<float>(last), 0.0f);
        const SIMD_Neon::Float4 four[4] = {position, position, position, position};
        for (const CPointSamplers& samplers : kPointSamplers) {
            (noise.*samplers.m_Sample)(position);
            (noise.*samplers.m_Coherent)(four);
            (noise.*samplers.m_Gradient)(position);
            (noise.*samplers.m_GradientBatch)({&records[k], 1}, {gradients.data(), 1});
        }
    }
    for (const CPointSamplers& samplers : kPointSamplers) {
        (noise.*samplers.m_GradientBatch)(records, gradients);
    }
}

TEST(FastNoiseMemory, TheBasisIsNotReadBeyondEntry511) {
    for (const EEdge edge : kEdges) {
        const CGuardedNoise noise(edge);
        for (int first = 0; first < 256; first += 17) {
            for (const int last : {0, 255}) {
                const CFaultReporter reporter([&](std::ostream& text) {
                    text << "the row " << first << ", " << last << ", a basis " << edge;
                });
                SampleRow(noise, first, last);
            }
        }
    }
}

} // namespace
