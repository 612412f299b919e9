// What the samplers read of memory, shown with pages that must not be touched.

#include "batch_samplers.h"
#include "child_process.h"
#include "noise_test_support.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <sys/mman.h>
#include <unistd.h>

namespace {

using namespace Vestrel;

/// One readable page between two that must not be touched.
class CGuardedPage {
public:
    CGuardedPage() : m_Size(static_cast<size_t>(sysconf(_SC_PAGESIZE))) {
        void* const pages = mmap(nullptr, 3 * m_Size, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        m_Pages = pages == MAP_FAILED ? nullptr : static_cast<unsigned char*>(pages);
        EXPECT_NE(m_Pages, nullptr);
        EXPECT_EQ(mprotect(m_Pages + m_Size, m_Size, PROT_READ | PROT_WRITE), 0);
    }

    ~CGuardedPage() {
        munmap(m_Pages, 3 * m_Size);
    }

    CGuardedPage(const CGuardedPage&) = delete;
    CGuardedPage& operator=(const CGuardedPage&) = delete;

    unsigned char* Begin() const {
        return m_Pages + m_Size;
    }

    unsigned char* End() const {
        return m_Pages + 2 * m_Size;
    }

private:
    size_t m_Size;
    unsigned char* m_Pages = nullptr;
};

// Whole blocks of the fast path stay within packed positions and outputs, at both ends.
TEST(FastNoiseMemory, FastPathTouchesNothingBesideItsViews) {
    const COpenNoise noise = EvenNoise();
    const CGuardedPage positions;
    const CGuardedPage output;
    for (const CBatchSampler& sampler : kBatchSamplers) {
        for (uint32_t count = 4; count <= 64; count += 4) {
            const uint32_t size = sampler.PositionSize();
            sampler.m_Sample(noise, {reinterpret_cast<float*>(output.End() - 4 * count), count, 4},
                             positions.End() - count * size, count, size);
            sampler.m_Sample(noise, {reinterpret_cast<float*>(output.Begin()), count, 4}, positions.Begin(),
                             count, size);
        }
    }
}

// One at a time, 1D positions are read as 4 bytes and 3D positions as 16, at any alignment.
TEST(FastNoiseMemory, OneAtATimeReadsFourBytesIn1DAndSixteenIn3D) {
    const COpenNoise noise = EvenNoise();
    const CGuardedPage positions;
    const CGuardedPage output;
    for (const CBatchSampler& sampler : kBatchSamplers) {
        const uint32_t size = sampler.PositionSize();
        const uint32_t slack = sampler.ReadSize() - size;
        for (const uint32_t count : {1u, 2u, 3u, 7u}) {
            for (uint32_t shift = 0; shift < 4; ++shift) {
                sampler.m_Sample(noise, {reinterpret_cast<float*>(output.End() - 4 * count), count, 4},
                                 positions.End() - count * size - slack - shift, count, size);
                sampler.m_Sample(noise, {reinterpret_cast<float*>(output.Begin() + shift), count, 4},
                                 positions.Begin(), count, size);
            }
        }
    }
}

// So a packed 3D view that ends with readable memory is outside the caller's guarantee.
TEST(FastNoiseMemory, TheLast3DPositionNeedsFourReadableBytesBehindIt) {
#if VESTREL_SIMD_BACKEND_PORTABLE
    GTEST_SKIP() << "plain C++ leaves the unused lane unread when it is optimised";
#endif
    const COpenNoise noise = EvenNoise();
    const CGuardedPage positions;
    float sample = 0.0f;
    for (const CBatchSampler& sampler : kBatchSamplers) {
        if (sampler.m_Dimension == 3) {
            for (size_t missing = 1; missing <= 4; ++missing) {
                const CChildResult result = RunInChild([&] {
                    sampler.m_Sample(noise, {&sample, 1, 4}, positions.End() - 16 + missing, 1, 12);
                });
                EXPECT_FALSE(result.HasExitedWith(0)) << sampler << " did not read byte " << 16 - missing;
            }
        }
    }
}

/// Samples from a basis of which nothing beyond entry 511 can be read.
class CGuardedNoise final : public CFastNoise3 {
public:
    CGuardedNoise() : CFastNoise3(nullptr), m_OwnBasis(m_Basis) {
        const std::array<float, 256> values = EvenValues();
        m_Basis = reinterpret_cast<float*>(m_Page.End()) - 512;
        std::copy(values.begin(), values.end(), m_Basis);
        std::copy(values.begin(), values.end(), m_Basis + 256);
    }

    ~CGuardedNoise() override {
        m_Basis = m_OwnBasis;
    }

private:
    CGuardedPage m_Page;
    float* m_OwnBasis;
};

// Corners are read in pairs, never more of their neighbours: every cell on a face z = 255 has pairs that may
// be the last.
TEST(FastNoiseMemory, SamplersOfFourLanesReadNothingBeyondTheBasis) {
    const CGuardedNoise noise;
    for (int x = 0; x < 256; ++x) {
        for (int y = 0; y < 256; ++y) {
            const SIMD_Neon::Float4 position(static_cast<float>(x) + 0.5f, static_cast<float>(y) + 0.5f,
                                             255.5f, 0.0f);
            const SIMD_Neon::Float4 positions[4] = {position, position, position, position};
            const float sample = noise.SampleLinear(position);
            EXPECT_LE(std::abs(sample), 1.0f) << x << ", " << y;
            EXPECT_EQ(SIMD_Neon::ExtractLane<3>(noise.CoherentSampleLinear(positions)), sample)
                << x << ", " << y;
            const TPair<TVector<float, 4>, TVector<int, 4>> record = {{0.5f, 0.5f, 0.5f, 0.0f},
                                                                      {x, y, 255, 0}};
            const TPair<TVector<float, 4>, TVector<int, 4>> records[5] = {record, record, record, record,
                                                                          record};
            TVector<float, 4> gradients[5];
            noise.Sample1stOrderDerivativesCubic({records, 5}, {gradients, 5});
            EXPECT_EQ(gradients[0].x, gradients[4].x) << x << ", " << y;
            EXPECT_NEAR(SIMD_Neon::ExtractLane<0>(noise.Sample1stOrderDerivativesCubic(position)),
                        gradients[0].x, 1e-5f)
                << x << ", " << y;
        }
    }
}

// Forms for four cells read their records and write their gradients, and nothing beside them.
TEST(FastNoiseMemory, DerivativesTouchNothingBesideTheirViews) {
    const COpenNoise noise = EvenNoise();
    const CGuardedPage records;
    const CGuardedPage gradients;
    using CRecord = TPair<TVector<float, 4>, TVector<int, 4>>;
    for (uint32_t count = 1; count <= 9; ++count) {
        noise.Sample1stOrderDerivativesQuintic(
            {reinterpret_cast<const CRecord*>(records.End()) - count, count},
            {reinterpret_cast<TVector<float, 4>*>(gradients.End()) - count, count});
        noise.Sample1stOrderDerivativesQuintic(
            {reinterpret_cast<const CRecord*>(records.Begin()), count},
            {reinterpret_cast<TVector<float, 4>*>(gradients.Begin()), count});
    }
}

} // namespace
