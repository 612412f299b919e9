#include "kernels/kernels.h"

#include "guarded_memory.h"
#include "noise_reference.h"
#include "noise_test_support.h"
#include "sparse_memory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
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

TEST_F(RecordedKernels, CoverWholeBlocksOfPackedRuns) {
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

TEST_F(RecordedKernels, CoverPaddedPositionsOnlyIn3D) {
    for (const CBatchSampler& sampler : kBatchSamplers) {
        const CKernelCalls expected = sampler.m_Dimension == 3 ? CKernelCalls{{EKernelInput::kPadded3D, 256}}
                                      : sampler.m_Dimension == 4 ? CKernelCalls{{EKernelInput::k4D, 256}}
                                                                 : CKernelCalls{};
        EXPECT_EQ(CallsOf(sampler, 256, 4, 16), expected) << sampler;
    }
}

TEST_F(RecordedKernels, ExcludeOtherStrides) {
    for (const CBatchSampler& sampler : kBatchSamplers) {
        EXPECT_EQ(CallsOf(sampler, 256, 8, sampler.PositionSize()), CKernelCalls{}) << sampler;
        EXPECT_EQ(CallsOf(sampler, 256, 4, sampler.PositionSize() + 1), CKernelCalls{}) << sampler;
        EXPECT_EQ(CallsOf(sampler, 256, 4, 0), CKernelCalls{}) << sampler;
    }
}

#if UINTPTR_MAX > UINT32_MAX
// The blocks, which the recording kernels do not touch, are more than 4 GiB of positions.
TEST_F(RecordedKernels, LeaveARemainderBeyond4GiB) {
    constexpr uint32_t kRest = 37;
    constexpr uint64_t k4GiB = uint64_t{1} << 32;
    for (const CBatchSampler& sampler : kBatchSamplers) {
        for (const uint32_t stride : {sampler.PositionSize(), uint32_t{16}}) {
            const bool isPadded = stride != sampler.PositionSize();
            if (sampler.m_Dimension == 1 || (isPadded && sampler.m_Dimension != 3)) {
                continue; // 4 GiB of 1D positions exceed a call
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

TEST_F(RecordedKernels, CoverWholeBlocksOfGradients) {
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

} // namespace
