// What the samplers read and write of memory, shown with pages that must not be touched.

#include "batch_calls.h"
#include "batch_samplers.h"
#include "child_process.h"
#include "guarded_memory.h"
#include "noise_test_support.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <sys/resource.h>
#include <vector>

namespace {

using namespace Vestrel;

constexpr uint32_t kLastCount = 260;
/// How far two views are from multiples of 16. Whatever the sizes in whole floats, with one of these either
/// view ends, to the byte, where the page begins; with the first, samplers may take their fast path, with the
/// others they may not.
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

/// What a call reads and writes, from the start of the views.
struct CExtent {
    size_t m_ReadSize = 0;
    size_t m_WrittenSize = 0;
    std::vector<size_t> m_Written;
};

CExtent ExtentOf(const CBatchCall& call, const CBatchSampler& sampler) {
    CExtent extent;
    std::vector<CPlace> places;
    AppendPlacesOf(call, sampler, places);
    for (const CPlace& place : places) {
        extent.m_ReadSize = std::max<size_t>(extent.m_ReadSize, place.m_Position + place.m_ReadSize);
        extent.m_WrittenSize = std::max<size_t>(extent.m_WrittenSize, place.m_Output + sizeof(float));
        extent.m_Written.push_back(place.m_Output);
    }
    return extent;
}

class SamplerMemory : public testing::TestWithParam<CBatchSampler> {
protected:
    SamplerMemory() {
        m_Positions.MakeReadOnly();
    }

    void Sample(const CBatchCall& call, unsigned char* output, const unsigned char* positions) {
        GetParam().m_Sample(m_Noise, {reinterpret_cast<float*>(output), call.m_Count, call.m_OutputStride},
                            positions, 0, call.m_PositionStride);
    }

    /// Makes the call with both views next to the first page, and next to the last.
    void Check(const CBatchCall& call) {
        const CExtent extent = ExtentOf(call, GetParam());
        for (const EEdge edge : kEdges) {
            const CFaultReporter reporter(
                [&](std::ostream& text) { text << GetParam() << ", " << call << ", " << edge; });
            unsigned char* const output = m_Output.Place(edge, extent.m_WrittenSize, call.m_OutputOffset);
            Sample(call, output, m_Positions.Place(edge, extent.m_ReadSize, call.m_PositionOffset));
            ASSERT_TRUE(m_Output.HasWritten(output, extent.m_Written)) << reporter.Text();
        }
    }

    /// The same with the output over the positions.
    void CheckInPlace(const CBatchCall& call) {
        const CExtent extent = ExtentOf(call, GetParam());
        const size_t size = std::max(extent.m_ReadSize, extent.m_WrittenSize);
        for (const EEdge edge : kEdges) {
            const CFaultReporter reporter(
                [&](std::ostream& text) { text << GetParam() << " in place, " << call << ", " << edge; });
            unsigned char* const both = m_Output.Place(edge, size, call.m_OutputOffset);
            Sample(call, both, both);
            ASSERT_TRUE(m_Output.HasWritten(both, extent.m_Written)) << reporter.Text();
        }
    }

    COpenNoise m_Noise = EvenNoise();
    // For four times as many 4D positions as samples are asked for, in place with an output stride of 16.
    CWatchedMemory m_Positions{4 * kLastCount * 16};
    CWatchedMemory m_Output{4 * kLastCount * 16};
};

INSTANTIATE_TEST_SUITE_P(All, SamplerMemory, testing::ValuesIn(kBatchSamplers), CNameOfInstance());

TEST_P(SamplerMemory, NothingIsTouchedBesideWhatACallMayTouch) {
    const uint32_t size = GetParam().PositionSize();
    for (const CStrides& strides :
         {CStrides{4, size}, {4, 0}, {4, 16}, {4, 20}, {6, size}, {8, size}, {8, 20}}) {
        for (uint32_t count = 0; count <= kLastCount && !HasFailure(); ++count) {
            for (const COffsets& offsets : kOffsets) {
                Check({count, strides.m_Output, strides.m_Position, offsets.m_Output, offsets.m_Input});
            }
        }
    }
}

TEST_P(SamplerMemory, NothingIsTouchedBesideWhatACallInPlaceMayTouch) {
    const uint32_t size = GetParam().PositionSize();
    for (const CStrides& strides : {CStrides{4, size}, {size, size}, {4, 20}, {20, 20}}) {
        for (uint32_t count = 0; count <= kLastCount && !HasFailure(); ++count) {
            for (const size_t offset : kFloatOffsets) {
                CheckInPlace({count, strides.m_Output, strides.m_Position, offset, offset});
            }
        }
    }
}

// Of a single 3D position 16 bytes are read: the above shows that it is no more. So a packed view that ends
// with readable memory is outside the caller's guarantee.
TEST(FastNoiseMemory, OneAtATimeAll16BytesOfA3DPositionAreRead) {
#if VESTREL_SIMD_BACKEND_PORTABLE
    GTEST_SKIP() << "plain C++ leaves the unused lane unread when it is optimised";
#endif
    const COpenNoise noise = EvenNoise();
    const CGuardedMemory positions(16 * 12);
    alignas(16) float output[16];
    const auto sample = [&](const CBatchSampler& sampler, uint32_t count, size_t readable) {
        return RunInChild([&] {
            const rlimit noCore = {0, 0};
            setrlimit(RLIMIT_CORE, &noCore);
            std::signal(SIGSEGV, SIG_DFL); // which sanitizers take
            const unsigned char* const last = positions.End() - readable;
            sampler.m_Sample(noise, {output + 1, count, 4}, last - 12 * (count - 1), count, 12);
        });
    };
    for (const CBatchSampler& sampler : kBatchSamplers) {
        // Single ones, and four side by side.
        for (const uint32_t count : {1u, 3u, 4u, 8u, 9u}) {
            if (sampler.m_Dimension == 3) {
                EXPECT_TRUE(sample(sampler, count, 16).HasExitedWith(0)) << sampler << ", count " << count;
                for (size_t readable = 12; readable < 16; ++readable) {
                    EXPECT_TRUE(sample(sampler, count, readable).WasKilledBy(SIGSEGV))
                        << sampler << ", count " << count << ", " << readable
                        << " bytes from the last position";
                }
            }
        }
    }
}

// Other samplers.

using CRecord = TPair<TVector<float, 4>, TVector<int, 4>>;
using CSampleOne = float (CFastNoise3::*)(SIMD_Neon::Float4) const noexcept;
using CSampleCoherent = SIMD_Neon::Float4 (CFastNoise3::*)(const SIMD_Neon::Float4*) const noexcept;
using CGradientOfOne = SIMD_Neon::Float4 (CFastNoise3::*)(SIMD_Neon::Float4) const noexcept;
using CGradientBatch = void (CFastNoise3::*)(const TMemoryView<const CRecord>&,
                                             const TMemoryView<TVector<float, 4>>&) const noexcept;

constexpr CSampleOne kOneSamplers[] = {&CFastNoise3::SampleLinear, &CFastNoise3::SampleCubic,
                                       &CFastNoise3::SampleQuintic};
constexpr CSampleCoherent kCoherentSamplers[] = {&CFastNoise3::CoherentSampleLinear,
                                                 &CFastNoise3::CoherentSampleCubic,
                                                 &CFastNoise3::CoherentSampleQuintic};
constexpr CGradientOfOne kGradients[] = {&CFastNoise3::Sample1stOrderDerivativesLinear,
                                         &CFastNoise3::Sample1stOrderDerivativesCubic,
                                         &CFastNoise3::Sample1stOrderDerivativesQuintic};
constexpr CGradientBatch kBatchGradients[] = {&CFastNoise3::Sample1stOrderDerivativesLinear,
                                              &CFastNoise3::Sample1stOrderDerivativesCubic,
                                              &CFastNoise3::Sample1stOrderDerivativesQuintic};

TEST(FastNoiseMemory, CoherentSamplersReadFourPositions) {
    const COpenNoise noise = EvenNoise();
    const CWatchedMemory memory(1);
    memory.MakeReadOnly();
    for (const CSampleCoherent sampler : kCoherentSamplers) {
        for (const EEdge edge : kEdges) {
            const CFaultReporter reporter([&](std::ostream& text) { text << "coherent sampler " << edge; });
            const unsigned char* const positions = memory.Place(edge, 64);
            (noise.*sampler)(reinterpret_cast<const SIMD_Neon::Float4*>(positions));
        }
    }
}

/// Fills memory with records of all sorts.
void FillWithRecords(unsigned char* data, size_t count) {
    for (size_t k = 0; k < count; ++k) {
        const int cell = static_cast<int>(k);
        const float fraction = static_cast<float>(k % 16 + 1) / 18.0f;
        const CRecord record = {{fraction, 0.25f, 1.0f - fraction, 1000.0f},
                                {cell % 256, cell * 7 % 256, 255 - cell % 256, -1}};
        std::memcpy(data + k * sizeof(record), &record, sizeof(record));
    }
}

class GradientMemory : public testing::TestWithParam<CGradientBatch> {
protected:
    void Compute(uint32_t count, unsigned char* output, const unsigned char* records) {
        const CGradientBatch gradient = GetParam();
        (m_Noise.*gradient)({reinterpret_cast<const CRecord*>(records), count},
                            {reinterpret_cast<TVector<float, 4>*>(output), 0});
    }

    COpenNoise m_Noise = EvenNoise();
    CWatchedMemory m_Records{kLastCount * sizeof(CRecord)};
    CWatchedMemory m_Output{kLastCount * sizeof(CRecord)};
};

INSTANTIATE_TEST_SUITE_P(All, GradientMemory, testing::ValuesIn(kBatchGradients));

TEST_P(GradientMemory, NothingIsTouchedBesideRecordsAndGradients) {
    for (uint32_t count = 0; count <= kLastCount && !HasFailure(); ++count) {
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

TEST_P(GradientMemory, NothingIsTouchedBesideRecordsWithGradientsOverThem) {
    for (uint32_t count = 0; count <= kLastCount && !HasFailure(); ++count) {
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

/// Samples from a basis of entries 0 to 511, next to a page that must not be touched.
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

/// Every operation, at single positions and in a row of 256 that go four at a time, one at a time and in a
/// long run. The row is along the last axis but one, so that what is looked up for it are all 256 values
/// there are; on the last axis, by which edges are read in pairs, it is in the cell `last`.
void SampleRow(const CFastNoise3& noise, int first, int last) {
    constexpr uint32_t kCount = 256;
    alignas(16) static float positions[4 * kCount + 4];
    alignas(16) static float samples[kCount + 4];
    alignas(16) static CRecord records[kCount];
    alignas(16) static TVector<float, 4> gradients[kCount];
    for (const CBatchSampler& sampler : kBatchSamplers) {
        const uint32_t dimension = sampler.PositionSize() / 4;
        const auto coordinateOf = [&](uint32_t k, uint32_t axis) {
            if (axis + 2 == dimension || dimension == 1) {
                return static_cast<int>(k);
            }
            return axis + 1 == dimension ? last : first;
        };
        for (uint32_t k = 0; k < dimension * kCount; ++k) {
            positions[k] = static_cast<float>(coordinateOf(k / dimension, k % dimension));
        }
        sampler.m_Sample(noise, {samples, kCount, 4}, positions, kCount, sampler.PositionSize());
        sampler.m_Sample(noise, {samples, kCount / 2, 4}, positions, kCount, sampler.PositionSize());
        sampler.m_Sample(noise, {samples + 1, kCount, 4}, positions, kCount, sampler.PositionSize());
        for (uint32_t k = 0; k < kCount; ++k) {
            sampler.m_Sample(noise, {samples, 1, 4}, positions + k * dimension, 1, sampler.PositionSize());
        }
    }
    for (int k = 0; k < static_cast<int>(kCount); ++k) {
        records[k] = {{0.5f, 0.5f, 0.5f, 0.0f}, {first, k, last, 0}};
        const SIMD_Neon::Float4 position(static_cast<float>(first), static_cast<float>(k),
                                         static_cast<float>(last), 0.0f);
        const SIMD_Neon::Float4 four[4] = {position, position, position, position};
        for (const CSampleOne sampler : kOneSamplers) {
            (noise.*sampler)(position);
        }
        for (const CSampleCoherent sampler : kCoherentSamplers) {
            (noise.*sampler)(four);
        }
        for (const CGradientOfOne gradient : kGradients) {
            (noise.*gradient)(position);
        }
        for (const CGradientBatch gradient : kBatchGradients) {
            (noise.*gradient)({records + k, 1}, {gradients, 1});
        }
    }
    for (const CGradientBatch gradient : kBatchGradients) {
        (noise.*gradient)({records, kCount}, {gradients, kCount});
    }
}

TEST(FastNoiseMemory, OfTheBasisNothingIsReadBeyondEntry511) {
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
