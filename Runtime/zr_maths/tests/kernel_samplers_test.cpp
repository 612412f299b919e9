// Every batch sampler with every instruction set.

#include "instruction_sets.h"
#include "kernels/kernels.h"
#include "noise_reference.h"
#include "noise_test_support.h"

#include <gtest/gtest.h>

#include <array>
#include <cctype>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace {

using namespace Vestrel;
using namespace Vestrel::Internal;

using CCase = std::tuple<EInstructionSet, CBatchSampler>;

/// Every batch sampler with every supported instruction set.
class KernelSamplers : public testing::TestWithParam<CCase> {
protected:
    const CBatchSampler& Sampler() const {
        return std::get<1>(GetParam());
    }

    /// Samples `count` positions, `stride` bytes apart, at these offsets from multiples of 64, and checks the
    /// samples and the memory around them.
    void Check(const std::vector<float>& coordinates, uint32_t count, uint32_t stride, size_t positionOffset,
               size_t outputOffset) {
        if (HasFailure()) {
            return; // one failing call is enough
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

    /// Check for all strides that kernels support.
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

/// Coordinates of every kind in the range of the integers, for which blocks use the fast split.
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

TEST_P(KernelSamplers, CountsAroundBlocks) {
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

// A block with a coordinate that is NaN or outside the integers uses the slow split.
TEST_P(KernelSamplers, OneCoordinateOutOfRange) {
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

// In 1D every value is tried at every place; the bits show the sign of 0.
TEST_P(KernelSamplers, SignedZerosAndTheirNeighbours) {
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

/// A field of zeros of both signs shows fractions that are -0 instead of +0.
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

TEST_P(KernelSamplers, InPlaceFromTheStartOfThePositions) {
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
