#include "kernels/kernels.h"

#include "guarded_memory.h"
#include "instruction_sets.h"
#include "noise_reference.h"
#include "noise_test_support.h"
#include "sparse_memory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <string>
#include <tuple>
#include <vector>

namespace {

using namespace Vestrel;
using namespace Vestrel::Internal;

// Kernels that only record how they are called.

struct CKernelCall {
    EKernelInput m_Input;
    size_t m_Count;

    bool operator==(const CKernelCall&) const = default;
};

using CKernelCalls = std::vector<CKernelCall>;
CKernelCalls g_Calls;

template <EKernelInput kInput>
void Record(const float*, void*, const void*, size_t count) noexcept {
    g_Calls.push_back({kInput, count});
}

template <EKernelInput kInput>
constexpr CKernelsOfInput Recording(uint32_t minimumCount) {
    return {minimumCount, {Record<kInput>, Record<kInput>, Record<kInput>}};
}

constexpr CKernels kRecordingKernels = {{Recording<EKernelInput::k1D>(128), Recording<EKernelInput::k2D>(64),
                                         Recording<EKernelInput::k3D>(64), Recording<EKernelInput::k4D>(64),
                                         Recording<EKernelInput::kPadded3D>(256),
                                         Recording<EKernelInput::kRecords>(128)}};

class RecordedKernels : public testing::Test {
protected:
    RecordedKernels() {
        g_Calls.clear();
        g_Kernels.fill(&kRecordingKernels);
    }

    ~RecordedKernels() override {
        g_Kernels = m_Before;
    }

    CKernelCalls CallsOf(const CBatchSampler& sampler, uint32_t count, uint32_t outputStride, uint32_t stride,
                         size_t offset = 0) {
        alignas(16) static float positions[4 * 600];
        alignas(16) static float output[4 * 600];
        g_Calls.clear();
        sampler.m_Sample(m_Noise, {output + offset, count, outputStride}, positions + offset, 0, stride);
        return g_Calls;
    }

    COpenNoise m_Noise = EvenNoise();

private:
    const std::array<const CKernels*, kInstructionSetCount> m_Before = g_Kernels;
};

EKernelInput PackedInput(const CBatchSampler& sampler) {
    return static_cast<EKernelInput>(sampler.m_Dimension - 1);
}

TEST_F(RecordedKernels, TakeWholeBlocksOfPackedRunsAtAnyAlignment) {
    for (const CBatchSampler& sampler : kBatchSamplers) {
        const EKernelInput input = PackedInput(sampler);
        const uint32_t size = sampler.PositionSize();
        const uint32_t minimum = kRecordingKernels[static_cast<size_t>(input)].m_MinimumCount;
        for (const uint32_t count : {0u, 1u, 63u, 64u, 127u, 128u, 129u, 255u, 256u, 300u}) {
            const size_t blocks = count / 64 * 64;
            const CKernelCalls expected = count >= minimum ? CKernelCalls{{input, blocks}} : CKernelCalls{};
            EXPECT_EQ(CallsOf(sampler, count, 4, size), expected) << sampler << ", " << count;
            EXPECT_EQ(CallsOf(sampler, count, 4, size, 1), expected) << sampler << ", misaligned, " << count;
        }
    }
}

TEST_F(RecordedKernels, TakePaddedPositionsIn3DAlone) {
    for (const CBatchSampler& sampler : kBatchSamplers) {
        const CKernelCalls expected = sampler.m_Dimension == 3 ? CKernelCalls{{EKernelInput::kPadded3D, 256}}
                                      : sampler.m_Dimension == 4 ? CKernelCalls{{EKernelInput::k4D, 256}}
                                                                 : CKernelCalls{};
        EXPECT_EQ(CallsOf(sampler, 256, 4, 16), expected) << sampler;
    }
}

TEST_F(RecordedKernels, LeaveOtherStridesAlone) {
    for (const CBatchSampler& sampler : kBatchSamplers) {
        EXPECT_EQ(CallsOf(sampler, 256, 8, sampler.PositionSize()), CKernelCalls{}) << sampler;
        EXPECT_EQ(CallsOf(sampler, 256, 4, sampler.PositionSize() + 1), CKernelCalls{}) << sampler;
        EXPECT_EQ(CallsOf(sampler, 256, 4, 0), CKernelCalls{}) << sampler;
    }
}

#if UINTPTR_MAX > UINT32_MAX
// The blocks, of which these kernels touch nothing, take more than 4 GiB of positions.
TEST_F(RecordedKernels, LeaveARestBeyond4GiB) {
    constexpr uint32_t kRest = 37;
    constexpr uint64_t k4GiB = uint64_t{1} << 32;
    for (const CBatchSampler& sampler : kBatchSamplers) {
        for (const uint32_t stride : {sampler.PositionSize(), uint32_t{16}}) {
            const bool isPadded = stride != sampler.PositionSize();
            if (sampler.m_Dimension == 1 || (isPadded && sampler.m_Dimension != 3)) {
                continue; // 4 GiB of 1D positions are more than a call takes
            }
            const CFaultReporter reporter(
                [&](std::ostream& text) { text << sampler << ", positions " << stride << " bytes apart"; });
            const uint32_t blocks =
                static_cast<uint32_t>(k4GiB / stride / kPositionsPerBlock + 1) * kPositionsPerBlock;
            const size_t positionBytes = kRest * stride;
            const CSparseMemory positions(size_t{blocks} * stride + positionBytes);
            const CSparseMemory output(size_t{blocks + kRest} * sizeof(float));
            unsigned char* const rest = positions.Use(size_t{blocks} * stride, positionBytes);
            std::memcpy(rest, CCoordinates(10).Fill(positionBytes / sizeof(float)).data(), positionBytes);
            unsigned char* const samples = output.Use(size_t{blocks} * sizeof(float), kRest * sizeof(float));

            g_Calls.clear();
            sampler.m_Sample(m_Noise, {reinterpret_cast<float*>(output.Begin()), blocks + kRest, 4},
                             positions.Begin(), 0, stride);

            EXPECT_EQ(g_Calls,
                      (CKernelCalls{{isPadded ? EKernelInput::kPadded3D : PackedInput(sampler), blocks}}))
                << reporter.Text();
            for (size_t k = 0; k < kRest; ++k) {
                float sample;
                std::memcpy(&sample, samples + k * sizeof(sample), sizeof(sample));
                ASSERT_EQ(CanonicalBits(sample),
                          CanonicalBits(Reference::Sample(m_Noise.Basis(), sampler, rest + k * stride)))
                    << reporter.Text() << ": sample " << k << " behind the blocks";
            }
        }
    }
}
#endif

TEST_F(RecordedKernels, TakeWholeBlocksOfGradients) {
    static CRecord records[300];
    static TVector<float, 4> gradients[300];
    for (const uint32_t count : {0u, 63u, 64u, 127u, 128u, 191u, 192u, 300u}) {
        g_Calls.clear();
        m_Noise.Sample1stOrderDerivativesCubic({records, count}, {gradients, 0});
        const CKernelCalls expected =
            count >= 128 ? CKernelCalls{{EKernelInput::kRecords, count / 64 * 64}} : CKernelCalls{};
        EXPECT_EQ(g_Calls, expected) << count;
    }
}

using CCase = std::tuple<EInstructionSet, CBatchSampler>;

/// Every batch sampler with every supported instruction set.
class KernelSamplers : public testing::TestWithParam<CCase> {
protected:
    const CBatchSampler& Sampler() const {
        return std::get<1>(GetParam());
    }

    /// Samples `count` of `positions`, `stride` bytes apart, from and to addresses so far from a multiple of
    /// 64, and compares the samples, and what stands around them, with what is due.
    void Check(const std::vector<float>& coordinates, uint32_t count, uint32_t stride, size_t positionOffset,
               size_t outputOffset) {
        if (HasFailure()) {
            return; // the first that fails tells enough
        }
        constexpr float kCanary = 12345.0f;
        alignas(64) static unsigned char positions[64 * 1024];
        alignas(64) static unsigned char output[16 * 1024];
        const size_t positionBytes = size_t{stride} * count + 16;
        ASSERT_LE(positionBytes + positionOffset, sizeof(positions));
        ASSERT_LE(positionBytes, coordinates.size() * sizeof(float));
        std::memcpy(positions + positionOffset, coordinates.data(), positionBytes);
        const std::vector<float> around(count + 32, kCanary);
        std::memcpy(output + outputOffset, around.data(), around.size() * sizeof(float));
        float* const samples = reinterpret_cast<float*>(output + outputOffset + 16 * sizeof(float));

        Sampler().m_Sample(m_Noise, {samples, count, sizeof(float)}, positions + positionOffset, 0, stride);

        for (size_t k = 0; k < around.size(); ++k) {
            float sample;
            std::memcpy(&sample, output + outputOffset + k * sizeof(float), sizeof(sample));
            const bool isSample = 16 <= k && k < 16 + count;
            const unsigned char* const position =
                positions + positionOffset + (isSample ? (k - 16) * stride : 0);
            const float expected =
                isSample ? Reference::Sample(m_Noise.Basis(), Sampler(), position) : kCanary;
            ASSERT_EQ(CanonicalBits(sample), CanonicalBits(expected))
                << Sampler() << " by " << NameOf(std::get<0>(GetParam())) << ", " << count << " positions "
                << stride << " bytes apart, offsets " << positionOffset << " and " << outputOffset
                << ": sample " << static_cast<ptrdiff_t>(k) - 16 << " is " << sample << ", not " << expected;
        }
        EXPECT_EQ(std::memcmp(positions + positionOffset, coordinates.data(), positionBytes), 0)
            << "positions were written";
    }

    /// The same for all strides that kernels take.
    void CheckStrides(const std::vector<float>& coordinates, uint32_t count, size_t positionOffset,
                      size_t outputOffset) {
        Check(coordinates, count, Sampler().PositionSize(), positionOffset, outputOffset);
        if (Sampler().m_Dimension == 3) {
            Check(coordinates, count, 16, positionOffset, outputOffset);
        }
    }

    CSelectedInstructionSet m_Selected{std::get<0>(GetParam())};
    COpenNoise m_Noise = EvenNoise();
};

struct CNameOfCase {
    std::string operator()(const testing::TestParamInfo<CCase>& instance) const {
        const auto& [set, sampler] = instance.param;
        std::string name = NameOf(set);
        std::erase_if(name, [](unsigned char c) { return std::isalnum(c) == 0; });
        return name + "_" + sampler.m_Name;
    }
};

INSTANTIATE_TEST_SUITE_P(All, KernelSamplers,
                         testing::Combine(testing::ValuesIn(SupportedInstructionSets()),
                                          testing::ValuesIn(kBatchSamplers)),
                         CNameOfCase());

/// Coordinates that integers reach, of all magnitudes there, among them integers, zeros of both signs and
/// denormals: what blocks take the quick way with.
std::vector<float> CoordinatesInRange(uint32_t seed, size_t count) {
    CCoordinates any(seed);
    std::vector<float> coordinates;
    while (coordinates.size() < count) {
        const float coordinate = any.Next();
        if (std::fabs(coordinate) < 0x1p31f) {
            coordinates.push_back(coordinate);
        }
    }
    return coordinates;
}

constexpr size_t kCoordinateCount = 4 * 600;

TEST_P(KernelSamplers, EveryCountAroundBlocks) {
    const std::vector<float> inRange = CoordinatesInRange(1, kCoordinateCount);
    const std::vector<float> any = CCoordinates(2).Fill(kCoordinateCount);
    for (uint32_t count = 0; count <= 4 * kPositionsPerBlock + 1; ++count) {
        CheckStrides(inRange, count, 0, 0);
        CheckStrides(any, count, 4, 0);
    }
    for (const uint32_t count : {511u, 512u, 513u, 579u}) {
        CheckStrides(inRange, count, 0, 0);
    }
}

TEST_P(KernelSamplers, EveryAlignment) {
    const std::vector<float> coordinates = CoordinatesInRange(3, kCoordinateCount);
    for (size_t positionOffset = 0; positionOffset < 64; ++positionOffset) {
        CheckStrides(coordinates, 4 * kPositionsPerBlock + 9, positionOffset, 0);
        CheckStrides(coordinates, 4 * kPositionsPerBlock + 9, positionOffset, 16);
        CheckStrides(coordinates, 4 * kPositionsPerBlock + 9, 0, positionOffset);
        CheckStrides(coordinates, 4 * kPositionsPerBlock + 9, positionOffset, 63 - positionOffset);
    }
}

// A block with one coordinate beyond the integers, or what is none, is split in another way.
TEST_P(KernelSamplers, OneCoordinateOutOfRangeAtEveryPlace) {
    std::vector<float> coordinates = CoordinatesInRange(4, kCoordinateCount);
    const float beyond[] = {0x1p31f,  -0x1p31f, 0x1.fffffep30f, -0x1.000002p31f,
                            0x1p100f, -0x1p32f, INFINITY,       NAN};
    const size_t used = static_cast<size_t>(Sampler().m_Dimension) * 4 * kPositionsPerBlock;
    for (size_t place = 0; place < used; ++place) {
        const float before = std::exchange(coordinates[place], beyond[place % std::size(beyond)]);
        Check(coordinates, 4 * kPositionsPerBlock, Sampler().PositionSize(), 0, 0);
        coordinates[place] = before;
    }
}

// In 1D every kind of coordinate meets every place; the sign of a 0 shows in the bits.
TEST_P(KernelSamplers, ZerosOfBothSignsAndTheFloatsBesideThem) {
    const float values[] = {0.0f,  -0.0f,     0x1p-149f,      -0x1p-149f, 1.0f,
                            -1.0f, -0x1p-24f, 0x1.fffffep-1f, -256.0f};
    std::vector<float> coordinates(kCoordinateCount);
    for (size_t shift = 0; shift < std::size(values); ++shift) {
        for (size_t k = 0; k < coordinates.size(); ++k) {
            coordinates[k] = values[(k + shift) % std::size(values)];
        }
        CheckStrides(coordinates, 4 * kPositionsPerBlock, 0, 0);
    }
}

/// A field of zeros of both signs: fractions that are -0 instead of +0 would show.
TEST_P(KernelSamplers, SignsOfZeroInAFieldOfZeros) {
    std::array<float, 256> zeros = {};
    for (size_t k = 0; k < zeros.size(); k += 3) {
        zeros[k] = -0.0f;
    }
    CListGenerator generator(zeros);
    m_Noise.ResetSampler(&generator);
    const std::vector<float> coordinates = CoordinatesInRange(5, kCoordinateCount);
    CheckStrides(coordinates, 4 * kPositionsPerBlock, 0, 0);
    CheckStrides(std::vector<float>(kCoordinateCount, -0.0f), 4 * kPositionsPerBlock, 0, 0);
}

TEST_P(KernelSamplers, OverTheStartOfThePositions) {
    const uint32_t size = Sampler().PositionSize();
    for (const size_t offset : {size_t{0}, size_t{4}, size_t{20}}) {
        for (const uint32_t stride : {size, uint32_t{16}}) {
            for (const uint32_t count :
                 {kPositionsPerBlock, 4 * kPositionsPerBlock, 5 * kPositionsPerBlock + 3}) {
                const std::vector<float> coordinates = CoordinatesInRange(6, stride / 4 * count + 4);
                alignas(64) unsigned char memory[64 + 16 * (5 * kPositionsPerBlock + 4)];
                const size_t bytes = coordinates.size() * sizeof(float);
                std::memcpy(memory + offset, coordinates.data(), bytes);
                float* const both = reinterpret_cast<float*>(memory + offset);
                Sampler().m_Sample(m_Noise, {both, count, sizeof(float)}, both, 0, stride);
                for (uint32_t k = 0; k < count; ++k) {
                    float sample;
                    std::memcpy(&sample, memory + offset + k * sizeof(float), sizeof(sample));
                    const float expected =
                        Reference::Sample(m_Noise.Basis(), Sampler(), &coordinates[k * stride / 4]);
                    ASSERT_EQ(CanonicalBits(sample), CanonicalBits(expected))
                        << Sampler() << " by " << NameOf(std::get<0>(GetParam())) << " in place, " << count
                        << " positions " << stride << " bytes apart, offset " << offset << ": sample " << k;
                }
                EXPECT_EQ(std::memcmp(memory + offset + count * sizeof(float), &coordinates[count],
                                      bytes - count * sizeof(float)),
                          0)
                    << "positions behind the samples were written";
            }
        }
    }
}

} // namespace
