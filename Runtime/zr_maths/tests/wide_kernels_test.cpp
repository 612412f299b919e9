#include "wide/wide_kernels.h"

#include "chosen_kernels.h"
#include "guarded_memory.h"
#include "noise_reference.h"
#include "noise_test_support.h"
#include "sparse_memory.h"

#include <zr_maths/limit_instruction_set.h>
#include <zr_support/simd_streams.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

namespace {

using namespace Vestrel;
using namespace Vestrel::Internal;

std::string NameWithoutBlanks(const CWideKernels& kernels) {
    std::string name = kernels.m_Name;
    std::erase_if(name, [](unsigned char c) { return std::isalnum(c) == 0; });
    return name;
}

TEST(WideKernels, EndWithThoseOfFourLanes) {
    const auto here = WideKernelsHere();
    ASSERT_FALSE(here.empty());
    EXPECT_STREQ(here.back()->m_Name, "four lanes");
    for (const auto& samplers : here.back()->m_Samplers) {
        EXPECT_TRUE(std::all_of(samplers.begin(), samplers.end(), [](auto* s) { return s == nullptr; }));
    }
}

/// Whether Linux says that the processor has a feature.
[[maybe_unused]] bool HasFeature(const std::string& feature) {
    std::ifstream file("/proc/cpuinfo");
    for (std::string line; std::getline(file, line);) {
        if (line.starts_with("flags")) {
            return (line + " ").find(" " + feature + " ") != std::string::npos;
        }
    }
    return false;
}

TEST(WideKernels, AreThoseThatTheProcessorHas) {
#if VESTREL_WIDE_KERNELS
    const bool hasAvx512 = HasFeature("avx512f") && HasFeature("avx512bw") && HasFeature("avx512vbmi");
    const bool hasAvx2 = HasFeature("avx2");
#else
    const bool hasAvx512 = false;
    const bool hasAvx2 = false;
#endif
    std::vector<std::string> expected;
    if (hasAvx512) {
        expected.push_back("AVX-512");
    }
    if (hasAvx2) {
        expected.push_back("AVX2");
    }
    expected.push_back("four lanes");
    std::vector<std::string> found;
    for (const CWideKernels* kernels : WideKernelsHere()) {
        found.push_back(kernels->m_Name);
    }
    EXPECT_EQ(found, expected);
}

// The limit.

constexpr EInstructionSet kInstructionSets[] = {EInstructionSet::kFourLanes, EInstructionSet::kAvx2,
                                                EInstructionSet::kAvx512};

/// Puts back, in the end, what a limit has changed.
class InstructionSetLimit : public testing::Test {
protected:
    InstructionSetLimit() : m_Chosen(WideKernels()) {}

    CChosenKernels m_Chosen;
};

TEST_F(InstructionSetLimit, IsTheLesserOfWhatIsAskedForAndWhatTheProcessorHas) {
    const auto here = WideKernelsHere();
    const size_t widest = here.size() - 1;
    for (const size_t before : {0u, 1u, 2u}) {
        for (const size_t most : {0u, 1u, 2u}) {
            LimitInstructionSet(kInstructionSets[before]);
            const size_t expected = std::min(most, widest);
            EXPECT_EQ(LimitInstructionSet(kInstructionSets[most]), kInstructionSets[expected])
                << most << " after " << before;
            EXPECT_EQ(WideKernels().m_Name, here[widest - expected]->m_Name) << most << " after " << before;
        }
    }
}

TEST_F(InstructionSetLimit, IsNoneWithValuesThatAreNoInstructionSet) {
    const auto here = WideKernelsHere();
    for (const uint32_t value : {3u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu}) {
        LimitInstructionSet(EInstructionSet::kFourLanes);
        EXPECT_EQ(LimitInstructionSet(static_cast<EInstructionSet>(value)), kInstructionSets[here.size() - 1])
            << value;
        EXPECT_EQ(WideKernels().m_Name, here[0]->m_Name) << value;
    }
}

// Kernels that only take note of how they are called.

struct CKernelCall {
    int m_Layout;
    size_t m_Count;

    bool operator==(const CKernelCall&) const = default;
};

std::vector<CKernelCall> g_Calls;

template <int kLayout>
void NoteSamples(const float*, void*, const void*, size_t count) noexcept {
    g_Calls.push_back({kLayout, count});
}

constexpr int kGradients = -1;
constexpr int kSines = -2;
bool g_AnglesAreNear = true;

template <int kLayout>
constexpr std::array<CWideSampler, 3> NoteAllQualities() {
    return {NoteSamples<kLayout>, NoteSamples<kLayout>, NoteSamples<kLayout>};
}

constexpr CWideKernels kNotingKernels = {
    "noting",
    {128, 64, 64, 64, 256},
    {NoteAllQualities<0>(), NoteAllQualities<1>(), NoteAllQualities<2>(), NoteAllQualities<3>(),
     NoteAllQualities<4>()},
    128,
    {NoteSamples<kGradients>, NoteSamples<kGradients>, NoteSamples<kGradients>},
    [](const float* angles, float* sines, size_t count) noexcept {
        std::copy_n(angles, count, sines);
        g_Calls.push_back({kSines, count});
        return g_AnglesAreNear;
    }};

class NotedKernels : public testing::Test {
protected:
    NotedKernels() {
        g_Calls.clear();
        g_AnglesAreNear = true;
    }

    std::vector<CKernelCall> CallsOf(const CBatchSampler& sampler, uint32_t count, uint32_t outputStride,
                                     uint32_t stride, size_t offset = 0) {
        alignas(16) static float positions[4 * 600];
        alignas(16) static float output[4 * 600];
        g_Calls.clear();
        sampler.m_Sample(m_Noise, {output + offset, count, outputStride}, positions + offset, 0, stride);
        return g_Calls;
    }

    CChosenKernels m_Chosen{kNotingKernels};
    COpenNoise m_Noise = EvenNoise();
};

using CKernelCalls = std::vector<CKernelCall>;

TEST_F(NotedKernels, TakeWholeBlocksOfPackedRunsAtAnyAlignment) {
    for (const CBatchSampler& sampler : kBatchSamplers) {
        const int layout = sampler.m_Dimension - 1;
        const uint32_t size = sampler.PositionSize();
        const size_t least = kNotingKernels.m_LeastCount[static_cast<size_t>(layout)];
        for (const uint32_t count : {0u, 1u, 63u, 64u, 127u, 128u, 129u, 255u, 256u, 300u}) {
            const size_t blocks = count / 64 * 64;
            const CKernelCalls expected = count >= least ? CKernelCalls{{layout, blocks}} : CKernelCalls{};
            EXPECT_EQ(CallsOf(sampler, count, 4, size), expected) << sampler << ", " << count;
            EXPECT_EQ(CallsOf(sampler, count, 4, size, 1), expected) << sampler << ", misaligned, " << count;
        }
    }
}

TEST_F(NotedKernels, TakePaddedPositionsIn3DAlone) {
    for (const CBatchSampler& sampler : kBatchSamplers) {
        const CKernelCalls expected = sampler.m_Dimension == 3   ? CKernelCalls{{4, 256}}
                                      : sampler.m_Dimension == 4 ? CKernelCalls{{3, 256}}
                                                                 : CKernelCalls{};
        EXPECT_EQ(CallsOf(sampler, 256, 4, 16), expected) << sampler;
    }
}

TEST_F(NotedKernels, LeaveOtherStridesAlone) {
    for (const CBatchSampler& sampler : kBatchSamplers) {
        EXPECT_EQ(CallsOf(sampler, 256, 8, sampler.PositionSize()), CKernelCalls{}) << sampler;
        EXPECT_EQ(CallsOf(sampler, 256, 4, sampler.PositionSize() + 1), CKernelCalls{}) << sampler;
        EXPECT_EQ(CallsOf(sampler, 256, 4, 0), CKernelCalls{}) << sampler;
    }
}

#if UINTPTR_MAX > UINT32_MAX
// The blocks, of which these kernels touch nothing, take more than 4 GiB of positions.
TEST_F(NotedKernels, LeaveARestBeyond4GiB) {
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
            const uint32_t blocks = static_cast<uint32_t>(k4GiB / stride / kWideBlock + 1) * kWideBlock;
            const size_t positionBytes = kRest * stride;
            const CSparseMemory positions(size_t{blocks} * stride + positionBytes);
            const CSparseMemory output(size_t{blocks + kRest} * sizeof(float));
            unsigned char* const rest = positions.Use(size_t{blocks} * stride, positionBytes);
            std::memcpy(rest, CCoordinates(10).Fill(positionBytes / sizeof(float)).data(), positionBytes);
            unsigned char* const samples = output.Use(size_t{blocks} * sizeof(float), kRest * sizeof(float));

            g_Calls.clear();
            sampler.m_Sample(m_Noise, {reinterpret_cast<float*>(output.Begin()), blocks + kRest, 4},
                             positions.Begin(), 0, stride);

            EXPECT_EQ(g_Calls, (CKernelCalls{{isPadded ? 4 : sampler.m_Dimension - 1, blocks}}))
                << reporter.Text();
            for (size_t k = 0; k < kRest; ++k) {
                float sample;
                std::memcpy(&sample, samples + k * sizeof(sample), sizeof(sample));
                ASSERT_EQ(FoldedBits(sample),
                          FoldedBits(Reference::Sample(m_Noise.Basis(), sampler, rest + k * stride)))
                    << reporter.Text() << ": sample " << k << " behind the blocks";
            }
        }
    }
}
#endif

TEST_F(NotedKernels, TakeWholeBlocksOfGradients) {
    static CRecord records[300];
    static TVector<float, 4> gradients[300];
    for (const uint32_t count : {0u, 63u, 64u, 127u, 128u, 191u, 192u, 300u}) {
        g_Calls.clear();
        m_Noise.Sample1stOrderDerivativesCubic({records, count}, {gradients, 0});
        const CKernelCalls expected =
            count >= 128 ? CKernelCalls{{kGradients, count / 64 * 64}} : CKernelCalls{};
        EXPECT_EQ(g_Calls, expected) << count;
    }
}

TEST_F(NotedKernels, TakeRotationsButForFarAngles) {
    CStdRandomGenerator generator(8);
    COpenRotatable rotated(&generator);
    COpenRotatable expected = rotated;
    rotated.RotateBasis(0.5f);
    EXPECT_EQ(g_Calls, (CKernelCalls{{kSines, 256}}));
    g_AnglesAreNear = false;
    rotated.RotateBasis(0.75f);
    const CChosenKernels fourLanes(*WideKernelsHere().back());
    expected.RotateBasis(0.75f);
    EXPECT_EQ(std::memcmp(rotated.m_Basis, expected.m_Basis, 513 * sizeof(float)), 0);
}

TEST(WideSines, AreThoseOfTheStreamUnlessAnAngleIsFar) {
    namespace LowPrecision = SIMD_Neon::LowPrecision;
    CStdRandomGenerator generator(9);
    alignas(64) float angles[256];
    alignas(64) float expected[256];
    alignas(64) float sines[256];
    for (const CWideKernels* kernels : WideKernelsHere()) {
        if (kernels->m_Sines == nullptr) {
            continue;
        }
        generator.FillRandomFloats({angles, 256}, -16383.0f, 16383.0f);
        const float special[] = {0.0f, -0.0f, 0x1p-149f, -0x1p-130f, 0x1.fffffep13f, -0x1.fffffep13f};
        std::copy(std::begin(special), std::end(special), angles);
        LowPrecision::SinStream_Aligned16(angles, expected, 256);
        ASSERT_TRUE(kernels->m_Sines(angles, sines, 256)) << kernels->m_Name;
        for (size_t k = 0; k < 256; ++k) {
            ASSERT_EQ(FoldedBits(sines[k]), FoldedBits(expected[k])) << kernels->m_Name << ", " << angles[k];
        }
        for (size_t place = 0; place < 256; ++place) {
            for (const float far : {0x1p14f, -0x1p14f, 1e30f, -INFINITY, NAN}) {
                const float before = std::exchange(angles[place], far);
                EXPECT_FALSE(kernels->m_Sines(angles, sines, 256)) << kernels->m_Name << ", " << place;
                angles[place] = before;
            }
        }
    }
}

using CCase = std::tuple<const CWideKernels*, CBatchSampler>;

/// Every batch sampler with all kernels that can run here.
class WideSamplers : public testing::TestWithParam<CCase> {
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
            ASSERT_EQ(FoldedBits(sample), FoldedBits(expected))
                << Sampler() << " by " << std::get<0>(GetParam())->m_Name << ", " << count << " positions "
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

    CChosenKernels m_Chosen{*std::get<0>(GetParam())};
    COpenNoise m_Noise = EvenNoise();
};

struct CNameOfCase {
    std::string operator()(const testing::TestParamInfo<CCase>& instance) const {
        const auto& [kernels, sampler] = instance.param;
        return NameWithoutBlanks(*kernels) + "_" + sampler.m_Name;
    }
};

const auto kKernelsHere = WideKernelsHere();

INSTANTIATE_TEST_SUITE_P(All, WideSamplers,
                         testing::Combine(testing::ValuesIn(kKernelsHere.begin(), kKernelsHere.end()),
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

TEST_P(WideSamplers, EveryCountAroundBlocks) {
    const std::vector<float> inRange = CoordinatesInRange(1, kCoordinateCount);
    const std::vector<float> any = CCoordinates(2).Fill(kCoordinateCount);
    for (uint32_t count = 0; count <= 4 * kWideBlock + 1; ++count) {
        CheckStrides(inRange, count, 0, 0);
        CheckStrides(any, count, 4, 0);
    }
    for (const uint32_t count : {511u, 512u, 513u, 579u}) {
        CheckStrides(inRange, count, 0, 0);
    }
}

TEST_P(WideSamplers, EveryAlignment) {
    const std::vector<float> coordinates = CoordinatesInRange(3, kCoordinateCount);
    for (size_t positionOffset = 0; positionOffset < 64; ++positionOffset) {
        CheckStrides(coordinates, 4 * kWideBlock + 9, positionOffset, 0);
        CheckStrides(coordinates, 4 * kWideBlock + 9, positionOffset, 16);
        CheckStrides(coordinates, 4 * kWideBlock + 9, 0, positionOffset);
        CheckStrides(coordinates, 4 * kWideBlock + 9, positionOffset, 63 - positionOffset);
    }
}

// A block with one coordinate beyond the integers, or what is none, is split in another way.
TEST_P(WideSamplers, OneCoordinateOutOfRangeAtEveryPlace) {
    std::vector<float> coordinates = CoordinatesInRange(4, kCoordinateCount);
    const float beyond[] = {0x1p31f,  -0x1p31f, 0x1.fffffep30f, -0x1.000002p31f,
                            0x1p100f, -0x1p32f, INFINITY,       NAN};
    const size_t used = static_cast<size_t>(Sampler().m_Dimension) * 4 * kWideBlock;
    for (size_t place = 0; place < used; ++place) {
        const float before = std::exchange(coordinates[place], beyond[place % std::size(beyond)]);
        Check(coordinates, 4 * kWideBlock, Sampler().PositionSize(), 0, 0);
        coordinates[place] = before;
    }
}

// In 1D every kind of coordinate meets every place; the sign of a 0 shows in the bits.
TEST_P(WideSamplers, ZerosOfBothSignsAndTheFloatsBesideThem) {
    const float values[] = {0.0f,  -0.0f,     0x1p-149f,      -0x1p-149f, 1.0f,
                            -1.0f, -0x1p-24f, 0x1.fffffep-1f, -256.0f};
    std::vector<float> coordinates(kCoordinateCount);
    for (size_t shift = 0; shift < std::size(values); ++shift) {
        for (size_t k = 0; k < coordinates.size(); ++k) {
            coordinates[k] = values[(k + shift) % std::size(values)];
        }
        CheckStrides(coordinates, 4 * kWideBlock, 0, 0);
    }
}

/// A field of zeros of both signs: fractions that are -0 instead of +0 would show.
TEST_P(WideSamplers, SignsOfZeroInAFieldOfZeros) {
    std::array<float, 256> zeros = {};
    for (size_t k = 0; k < zeros.size(); k += 3) {
        zeros[k] = -0.0f;
    }
    CListGenerator generator(zeros);
    m_Noise.ResetSampler(&generator);
    const std::vector<float> coordinates = CoordinatesInRange(5, kCoordinateCount);
    CheckStrides(coordinates, 4 * kWideBlock, 0, 0);
    CheckStrides(std::vector<float>(kCoordinateCount, -0.0f), 4 * kWideBlock, 0, 0);
}

TEST_P(WideSamplers, OverTheStartOfThePositions) {
    const uint32_t size = Sampler().PositionSize();
    for (const size_t offset : {size_t{0}, size_t{4}, size_t{20}}) {
        for (const uint32_t stride : {size, uint32_t{16}}) {
            for (const uint32_t count : {kWideBlock, 4 * kWideBlock, 5 * kWideBlock + 3}) {
                const std::vector<float> coordinates = CoordinatesInRange(6, stride / 4 * count + 4);
                alignas(64) unsigned char memory[64 + 16 * (5 * kWideBlock + 4)];
                const size_t bytes = coordinates.size() * sizeof(float);
                std::memcpy(memory + offset, coordinates.data(), bytes);
                float* const both = reinterpret_cast<float*>(memory + offset);
                Sampler().m_Sample(m_Noise, {both, count, sizeof(float)}, both, 0, stride);
                for (uint32_t k = 0; k < count; ++k) {
                    float sample;
                    std::memcpy(&sample, memory + offset + k * sizeof(float), sizeof(sample));
                    const float expected =
                        Reference::Sample(m_Noise.Basis(), Sampler(), &coordinates[k * stride / 4]);
                    ASSERT_EQ(FoldedBits(sample), FoldedBits(expected))
                        << Sampler() << " by " << std::get<0>(GetParam())->m_Name << " in place, " << count
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
