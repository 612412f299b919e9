#include "batch_calls.h"
#include "child_process.h"
#include "noise_reference.h"
#include "noise_test_support.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdint>
#include <cstring>
#include <sstream>
#include <sys/mman.h>
#include <sys/time.h>
#include <tuple>
#include <unistd.h>
#include <vector>

namespace {

using namespace Vestrel;

constexpr unsigned char kCanary = 0xC5;
constexpr size_t kMargin = 64;

/// Bytes at a chosen distance from a multiple of 64, with a margin of canaries on both sides.
class CBuffer {
public:
    CBuffer(size_t size, size_t offset) : m_Storage(size + offset + 2 * kMargin + 64, kCanary), m_Size(size) {
        const size_t past = reinterpret_cast<uintptr_t>(m_Storage.data()) % 64;
        m_Data = m_Storage.data() + (64 - past) + kMargin + offset;
    }

    CBuffer(const CBuffer&) = delete;
    CBuffer& operator=(const CBuffer&) = delete;

    unsigned char* Data() {
        return m_Data;
    }

    template <typename T>
    T* As() {
        return reinterpret_cast<T*>(m_Data);
    }

    bool MarginsAreIntact() const {
        const auto isCanary = [](unsigned char byte) { return byte == kCanary; };
        return std::all_of(m_Storage.data(), static_cast<const unsigned char*>(m_Data), isCanary) &&
               std::all_of(static_cast<const unsigned char*>(m_Data) + m_Size,
                           m_Storage.data() + m_Storage.size(), isCanary);
    }

private:
    std::vector<unsigned char> m_Storage;
    size_t m_Size;
    unsigned char* m_Data;
};

/// A large range of zeros; only pages that are written take memory.
class CZeroMemory {
public:
    explicit CZeroMemory(uint64_t size) : m_Size(static_cast<size_t>(size)) {
        void* const data =
            mmap(nullptr, m_Size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
        EXPECT_NE(data, MAP_FAILED);
        m_Data = static_cast<unsigned char*>(data);
    }

    ~CZeroMemory() {
        munmap(m_Data, m_Size);
    }

    CZeroMemory(const CZeroMemory&) = delete;
    CZeroMemory& operator=(const CZeroMemory&) = delete;

    unsigned char* Data() const {
        return m_Data;
    }

private:
    size_t m_Size;
    unsigned char* m_Data;
};

class BatchSamplers : public testing::TestWithParam<CBatchSampler> {
protected:
    /// Makes the call with coordinates of every kind and checks all bytes of the output and around it.
    /// Returns the number of samples.
    size_t Check(CBatchCall call, uint32_t seed) {
        const CBatchSampler& sampler = GetParam();
        if (HasFailure()) {
            return 0; // one failing call is enough
        }
        std::vector<CPlace> places;
        AppendPlacesOf(call, sampler, places);

        uint64_t outputBytes = call.OutputBytes();
        uint64_t positionBytes = 0;
        for (const CPlace& place : places) {
            outputBytes = std::max(outputBytes, place.m_Output + 4);
            positionBytes = std::max(positionBytes, place.m_Position + sampler.PositionSize());
        }
        CBuffer positions(positionBytes, call.m_PositionOffset);
        CCoordinates coordinates(seed);
        for (uint64_t at = 0; at + 4 <= positionBytes; at += 4) {
            const float coordinate = coordinates.Next();
            std::memcpy(positions.Data() + at, &coordinate, 4);
        }
        const std::vector<unsigned char> before(positions.Data(), positions.Data() + positionBytes);

        CBuffer output(outputBytes, call.m_OutputOffset);
        // The count of the position view is never read.
        sampler.m_Sample(m_Noise, {output.As<float>(), call.m_Count, call.m_OutputStride}, positions.Data(),
                         0, call.m_PositionStride);

        std::vector<unsigned char> remaining(output.Data(), output.Data() + outputBytes);
        for (size_t k = 0; k < places.size(); ++k) {
            float sample;
            std::memcpy(&sample, output.Data() + places[k].m_Output, 4);
            const unsigned char* const position = positions.Data() + places[k].m_Position;
            const float expected = Reference::Sample(m_Noise.Basis(), sampler, position);
            EXPECT_EQ(CanonicalBits(sample), CanonicalBits(expected))
                << sampler << ", " << call << ": sample " << k << " at " << Describe(position) << " is "
                << sample << ", not " << expected;
            std::memset(remaining.data() + places[k].m_Output, kCanary, 4);
        }
        EXPECT_TRUE(
            std::all_of(remaining.begin(), remaining.end(), [](unsigned char b) { return b == kCanary; }))
            << sampler << ", " << call << ": bytes between the samples were written";
        EXPECT_TRUE(output.MarginsAreIntact())
            << sampler << ", " << call << ": bytes around the output were written";
        EXPECT_TRUE(positions.MarginsAreIntact() &&
                    std::equal(before.begin(), before.end(), positions.Data()))
            << sampler << ", " << call << ": positions were written";
        return places.size();
    }

    /// Check with packed positions.
    size_t CheckPacked(CBatchCall call, uint32_t seed) {
        call.m_PositionStride = GetParam().PositionSize();
        return Check(call, seed);
    }

    std::string Describe(const unsigned char* position) const {
        std::ostringstream text;
        text << std::hexfloat << '(';
        for (int axis = 0; axis < GetParam().m_Dimension; ++axis) {
            float coordinate;
            std::memcpy(&coordinate, position + 4 * axis, 4);
            text << (axis > 0 ? ", " : "") << coordinate;
        }
        text << ')';
        return text.str();
    }

    COpenNoise m_Noise = EvenNoise();
};

INSTANTIATE_TEST_SUITE_P(All, BatchSamplers, testing::ValuesIn(kBatchSamplers), CNameOfInstance());

// Counts, strides and alignments.

TEST_P(BatchSamplers, CountsUpTo40OnBothPaths) {
    for (uint32_t count = 0; count <= 40; ++count) {
        EXPECT_EQ(CheckPacked({.m_Count = count}, 100 + count), count);
        EXPECT_EQ(CheckPacked({.m_Count = count, .m_OutputOffset = 4}, 200 + count), count);
    }
}

// From 256 positions on, 1D and 2D look values up directly instead of permuted.
TEST_P(BatchSamplers, LongRunsOnBothPaths) {
    for (const uint32_t count : {252u, 255u, 256u, 257u, 1026u, 4099u}) {
        EXPECT_EQ(CheckPacked({.m_Count = count}, 300 + count), count);
        EXPECT_EQ(CheckPacked({.m_Count = count, .m_PositionOffset = 4}, 400 + count), count);
    }
}

TEST_P(BatchSamplers, AllAlignmentsOfBothViews) {
    for (size_t output = 0; output < 16; ++output) {
        for (size_t position = 0; position < 16; ++position) {
            CheckPacked({.m_Count = 23, .m_OutputOffset = output, .m_PositionOffset = position}, 500);
        }
    }
}

TEST_P(BatchSamplers, OutputAndPositionStrides) {
    const uint32_t size = GetParam().PositionSize();
    for (const uint32_t outputStride : {4u, 6u, 8u, 12u, 16u, 20u}) {
        for (const uint32_t positionStride : {0u, 1u, 4u, 8u, 12u, 16u, 20u, size, size + 3}) {
            for (uint32_t count = 0; count <= 19; ++count) {
                Check({.m_Count = count, .m_OutputStride = outputStride, .m_PositionStride = positionStride},
                      600);
            }
        }
    }
}

// Samples at strides below 4 overlap; the later one wins.
TEST_P(BatchSamplers, LaterSamplesWinAtOutputStridesBelowFour) {
    const CBatchSampler& sampler = GetParam();
    const std::vector<float> coordinates = CCoordinates(601).Fill(4 * 12);
    const float* const positions =
        coordinates.data() + 1; // misaligned: the fast path of 4D ignores the stride
    for (const uint32_t outputStride : {1u, 2u, 3u}) {
        CBuffer output(10 * outputStride + 4, 4);
        sampler.m_Sample(m_Noise, {output.As<float>(), 11, outputStride}, positions, 11,
                         sampler.PositionSize());
        std::vector<unsigned char> expected(10 * outputStride + 4);
        for (size_t k = 0; k < 11; ++k) {
            const float sample =
                Reference::Sample(m_Noise.Basis(), sampler, &positions[k * sampler.PositionSize() / 4]);
            std::memcpy(&expected[k * outputStride], &sample, 4);
        }
        EXPECT_TRUE(std::equal(expected.begin(), expected.end(), output.Data())) << "stride " << outputStride;
        EXPECT_TRUE(output.MarginsAreIntact());
    }
}

// The edge cases of the pattern, one by one.

TEST_P(BatchSamplers, CountZeroWritesNothingAndReadsNothing) {
    EXPECT_EQ(CheckPacked({.m_Count = 0}, 700), 0u);
    EXPECT_EQ(CheckPacked({.m_Count = 0, .m_OutputStride = 16}, 700), 0u);
    GetParam().m_Sample(m_Noise, {nullptr, 0, 4}, nullptr, 0, GetParam().PositionSize());
    GetParam().m_Sample(m_Noise, {nullptr, 0, 4}, nullptr, 0, 16);
    GetParam().m_Sample(m_Noise, {}, nullptr, 0, 0);
    GetParam().m_Sample(m_Noise, {reinterpret_cast<float*>(uintptr_t{4}), 0, 4}, nullptr, 0, 16);
}

TEST_P(BatchSamplers, ThreeSamplesGoOneAtATime) {
    EXPECT_EQ(CheckPacked({.m_Count = 3}, 701), 3u);
}

TEST_P(BatchSamplers, PositionStrideZeroRepeatsOneSample) {
    CBuffer positions(16, 0);
    const float position[4] = {1.25f, -3.5f, 0.75f, 9.0f};
    std::memcpy(positions.Data(), position, 16);
    alignas(16) float samples[21];
    GetParam().m_Sample(m_Noise, {samples, 21, 4}, positions.Data(), 1, 0);
    for (const float sample : samples) {
        EXPECT_EQ(sample, Reference::Sample(m_Noise.Basis(), GetParam(), position));
    }
}

TEST_P(BatchSamplers, PaddedPositionsGiveTheSamplesOfPackedOnes) {
    const uint32_t size = GetParam().PositionSize();
    constexpr uint32_t kCount = 50;
    const std::vector<float> coordinates = CCoordinates(702).Fill(4 * kCount);
    CBuffer packed(kCount * size + 4, 0);
    CBuffer padded(kCount * (size + 4), 0);
    for (uint32_t k = 0; k < kCount; ++k) {
        std::memcpy(packed.Data() + k * size, &coordinates[4 * k], size);
        std::memcpy(padded.Data() + k * (size + 4), &coordinates[4 * k], size);
    }
    alignas(16) float fromPacked[kCount];
    alignas(16) float fromPadded[kCount];
    GetParam().m_Sample(m_Noise, {fromPacked, kCount, 4}, packed.Data(), kCount, size);
    GetParam().m_Sample(m_Noise, {fromPadded, kCount, 4}, padded.Data(), kCount, size + 4);
    for (uint32_t k = 0; k < kCount; ++k) {
        EXPECT_EQ(CanonicalBits(fromPadded[k]), CanonicalBits(fromPacked[k])) << "position " << k;
    }
}

TEST_P(BatchSamplers, FastPathWritesTwiceTheSamplesAtOutputStrideEight) {
    EXPECT_EQ(CheckPacked({.m_Count = 10, .m_OutputStride = 8}, 703), 20u);
    EXPECT_EQ(CheckPacked({.m_Count = 2, .m_OutputStride = 8}, 703), 4u);
    // The last 8 bytes of an odd count hold one sample, or two in 4D, whose fast path fills the output to its
    // end.
    const bool isToTheEnd = GetParam().m_Dimension == 4;
    EXPECT_EQ(CheckPacked({.m_Count = 11, .m_OutputStride = 8}, 703), isToTheEnd ? 22u : 21u);
    EXPECT_EQ(CheckPacked({.m_Count = 1, .m_OutputStride = 8}, 703), isToTheEnd ? 2u : 1u);
    // One at a time, the stride counts. 4D ignores the output's alignment.
    EXPECT_EQ(CheckPacked({.m_Count = 11, .m_OutputStride = 8, .m_OutputOffset = 4}, 703),
              isToTheEnd ? 22u : 11u);
    EXPECT_EQ(CheckPacked({.m_Count = 11, .m_OutputStride = 8, .m_PositionOffset = 4}, 703), 11u);
    EXPECT_EQ(CheckPacked({.m_Count = 11, .m_OutputStride = 8, .m_PositionOffset = 8}, 703), 11u);
}

TEST_P(BatchSamplers, OutputSizeWrapsAt4GiB) {
    constexpr uint32_t kQuarter = 1u << 30;
    EXPECT_EQ(CheckPacked({.m_Count = kQuarter}, 704), 0u);
    EXPECT_EQ(CheckPacked({.m_Count = kQuarter + 2}, 704), 2u);
    EXPECT_EQ(CheckPacked({.m_Count = kQuarter + 9}, 704), 9u);
    EXPECT_EQ(CheckPacked({.m_Count = 1u << 28, .m_OutputStride = 16}, 704), 0u);
}

// Strides are 32-bit byte counts; multiples of them exceed 32 bits.
TEST_P(BatchSamplers, StridesOfManyGiB) {
    if (sizeof(void*) < 8) {
        GTEST_SKIP() << "needs more address space";
    }
    const CZeroMemory memory(uint64_t{9} << 31); // 18 GiB
    const std::vector<float> coordinates = CCoordinates(709).Fill(5 * 5);
    // 20 bytes apart, so that no fast path applies.
    const auto positionAt = [&](size_t k) { return &coordinates[5 * k]; };
    for (const uint32_t stride : {0x40000000u, 0x55555558u, 0x60000000u, 0x80000000u, 0xFFFFFFF0u}) {
        for (uint64_t k = 0; k < 5; ++k) {
            std::memcpy(memory.Data() + k * stride, positionAt(k), 16);
        }
        float samples[5] = {};
        GetParam().m_Sample(m_Noise, {samples, 5, 4}, memory.Data(), 5, stride);
        for (size_t k = 0; k < 5; ++k) {
            EXPECT_EQ(CanonicalBits(samples[k]),
                      CanonicalBits(Reference::Sample(m_Noise.Basis(), GetParam(), positionAt(k))))
                << "position stride " << stride << ", sample " << k;
        }
        // A single sample fits any stride; of several, the last one must begin below 4 GiB.
        float single[2] = {0.0f, 99.0f};
        GetParam().m_Sample(m_Noise, {single, 1, stride}, positionAt(2), 1, 20);
        EXPECT_EQ(CanonicalBits(single[0]),
                  CanonicalBits(Reference::Sample(m_Noise.Basis(), GetParam(), positionAt(2))))
            << stride;
        EXPECT_EQ(single[1], 99.0f) << "output stride " << stride;
    }
    // 7 times the last stride wraps to just over 3 strides, which makes four samples.
    for (const auto& [count, stride, sampleCount] :
         {std::tuple(5u, 0x33333330u, 5u), std::tuple(4u, 0x3FFFFFF0u, 4u), std::tuple(3u, 0x55555550u, 3u),
          std::tuple(2u, 0x7FFFFFF0u, 2u), std::tuple(7u, 0x40000001u, 4u)}) {
        unsigned char* const output = memory.Data() + 4;
        // Where one step more leads in 64 bits, and where it leads in 32 bits.
        unsigned char* const behind = output + uint64_t{sampleCount} * stride;
        std::memset(behind, kCanary, 4);
        std::memset(output + 4, kCanary, 64);
        GetParam().m_Sample(m_Noise, {reinterpret_cast<float*>(output), count, stride}, positionAt(0), count,
                            20);
        for (uint32_t k = 0; k < sampleCount; ++k) {
            float sample;
            std::memcpy(&sample, output + uint64_t{k} * stride, 4);
            EXPECT_EQ(CanonicalBits(sample),
                      CanonicalBits(Reference::Sample(m_Noise.Basis(), GetParam(), positionAt(k))))
                << count << " samples, output stride " << stride << ", sample " << k;
        }
        EXPECT_EQ(behind[0], kCanary) << count << " samples, output stride " << stride;
        EXPECT_TRUE(std::all_of(output + 4, output + 68, [](unsigned char byte) { return byte == kCanary; }))
            << count << " samples, output stride " << stride;
    }
}

TEST_P(BatchSamplers, PositionCountIsNotRead) {
    const std::vector<float> coordinates = CCoordinates(705).Fill(4 * 9);
    float zero[9];
    float huge[9];
    GetParam().m_Sample(m_Noise, {zero, 9, 4}, coordinates.data(), 0, GetParam().PositionSize());
    GetParam().m_Sample(m_Noise, {huge, 9, 4}, coordinates.data(), UINT32_MAX, GetParam().PositionSize());
    for (size_t k = 0; k < 9; ++k) {
        EXPECT_EQ(CanonicalBits(zero[k]), CanonicalBits(huge[k])) << "sample " << k;
    }
}

// Overlap.

/// Samples in place over a copy of the positions and expects the results of separate memory.
void ExpectOverlapIsHarmless(const CBatchSampler& sampler, const COpenNoise& noise, size_t offset,
                             uint32_t stride, uint32_t outputStride) {
    constexpr uint32_t kCount = 301; // long enough for direct look-ups in 1D and 2D
    CBuffer positions(size_t{kCount} * stride + 16, offset);
    CCoordinates coordinates(706);
    for (size_t at = 0; at + 4 <= size_t{kCount} * stride + 16; at += 4) {
        const float coordinate = coordinates.Next();
        std::memcpy(positions.Data() + at, &coordinate, 4);
    }
    std::vector<float> expected(kCount);
    for (uint32_t k = 0; k < kCount; ++k) {
        expected[k] = Reference::Sample(noise.Basis(), sampler, positions.Data() + size_t{k} * stride);
    }
    sampler.m_Sample(noise, {positions.As<float>(), kCount, outputStride}, positions.Data(), kCount, stride);
    for (uint32_t k = 0; k < kCount; ++k) {
        float sample;
        std::memcpy(&sample, positions.Data() + size_t{k} * outputStride, 4);
        ASSERT_EQ(CanonicalBits(sample), CanonicalBits(expected[k]))
            << sampler << ", offset " << offset << ", strides " << stride << " and " << outputStride
            << ": sample " << k;
    }
}

TEST_P(BatchSamplers, OutputMayOverlapFromTheStartOfThePositions) {
    const uint32_t size = GetParam().PositionSize();
    ExpectOverlapIsHarmless(GetParam(), m_Noise, 0, size, 4);
    ExpectOverlapIsHarmless(GetParam(), m_Noise, 4, size, 4);
    ExpectOverlapIsHarmless(GetParam(), m_Noise, 0, 20, 4);
}

TEST_P(BatchSamplers, OutputMayBeInPlaceOneAtATime) {
    const uint32_t size = GetParam().PositionSize();
    ExpectOverlapIsHarmless(GetParam(), m_Noise, 4, size, size);
    ExpectOverlapIsHarmless(GetParam(), m_Noise, 0, 20, 20);
}

// With an output stride of 0, one float is written forever.

volatile const float* s_WatchedSamples = nullptr;

extern "C" void ReportWatchedSamples(int) {
    // The endless call has written the sample, and nothing behind it.
    _exit(s_WatchedSamples[0] == 0.25f && s_WatchedSamples[1] == 99.0f ? 42 : 1);
}

TEST_P(BatchSamplers, OutputStrideZeroNeverReturnsAndDebugBuildsAssert) {
    // The fast path of 4D ignores the stride; see below.
    const size_t offset = GetParam().m_Dimension == 4 ? 4 : 0;
    std::array<float, 256> values;
    values.fill(0.25f);
    CListGenerator generator(values);
    m_Noise.ResetSampler(&generator);
    // Aligned and packed, so that a fast path that checks for 16 bytes of output too late is found. The call
    // reads positions without end; it is interrupted after 50 ms of CPU time, long before it has read 4 GiB
    // of zeros.
    const CZeroMemory positions(uint64_t{1} << 32);
    alignas(16) float samples[8];
    std::fill_n(samples, 8, 99.0f);
    const auto sample = [&] {
        s_WatchedSamples = samples;
        std::signal(SIGVTALRM, ReportWatchedSamples);
        const itimerval soon = {{0, 0}, {0, 50000}};
        setitimer(ITIMER_VIRTUAL, &soon, nullptr);
        GetParam().m_Sample(m_Noise, {samples, 5, 0}, positions.Data() + offset, 5,
                            GetParam().PositionSize());
    };
    const CChildResult result = RunInChild(sample);
#ifdef NDEBUG
    EXPECT_TRUE(result.HasExitedWith(42)) << "status " << result.m_Status;
#else
    EXPECT_TRUE(result.WasKilledBy(SIGABRT)) << "status " << result.m_Status;
    EXPECT_NE(result.m_Errors.find("a sampler needs an output stride"), std::string::npos) << result.m_Errors;
#endif
}

TEST(BatchSamplers, TakeContainers) {
    const COpenNoise noise = EvenNoise();
    const std::array<TVector<float, 3>, 3> positions = {
        {{0.5f, 1.5f, 2.5f}, {3.25f, 0.0f, 9.0f}, {-1.0f, 7.5f, 8.25f}}};
    std::vector<float> samples(positions.size());
    noise.SampleCubic3D(samples, positions);
    for (size_t k = 0; k < samples.size(); ++k) {
        const float expected = Reference::Sample(noise.Basis(), EQuality::kCubic, positions[k]);
        EXPECT_EQ(CanonicalBits(samples[k]), CanonicalBits(expected)) << "position " << k;
    }
}

// The fast path of 4D.

TEST(BatchSamplers4D, FastPathWritesOneFloatAtOutputStrideZero) {
    const COpenNoise noise = EvenNoise();
    alignas(16) const float position[8] = {0.5f, 1.5f, 2.5f, 3.5f, 9.0f, 9.0f, 9.0f, 9.0f};
    for (const CBatchSampler& sampler : kBatchSamplers) {
        if (sampler.m_Dimension == 4) {
            for (const uint32_t count : {0u, 1u, 5u}) {
                float samples[2] = {99.0f, 99.0f};
                sampler.m_Sample(noise, {samples, count, 0}, position, 1, 16);
                EXPECT_EQ(samples[0], Reference::Sample(noise.Basis(), sampler, position))
                    << sampler << ", count " << count;
                EXPECT_EQ(samples[1], 99.0f) << sampler << ", count " << count;
            }
        }
    }
}

} // namespace
