// Positions beyond 4 GiB, which 32-bit strides reach.

#include "guarded_memory.h"
#include "noise_reference.h"
#include "noise_test_support.h"
#include "sparse_memory.h"

#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace {

using namespace Vestrel;

/// Four at a time and two more. (Mutation tests limit the address space to 24 GiB.)
constexpr uint32_t kCount = 6;

// Offsets truncated to 32 bits would lead to another position or to none.
TEST(FastNoiseFarPositions, AreReachedByStrides) {
    const COpenNoise noise = EvenNoise();
    for (const uint32_t stride :
         {0x40000000u, 0x55555554u, 0x80000000u, 0xC0000001u, 0xFFFFFFFCu, 0xFFFFFFFFu}) {
        const CSparseMemory memory(size_t{stride} * (kCount - 1) + 16);
        CCoordinates coordinates(stride);
        std::array<const unsigned char*, kCount> positions;
        for (size_t k = 0; k < kCount; ++k) {
            unsigned char* const position = memory.Use(k * stride, 16);
            std::memcpy(position, coordinates.Fill(4).data(), 16);
            positions[k] = position;
        }
        for (const CBatchSampler& sampler : kBatchSamplers) {
            const CFaultReporter reporter(
                [&](std::ostream& text) { text << sampler << ", positions " << stride << " bytes apart"; });
            alignas(16) float samples[kCount];
            sampler.m_Sample(noise, {samples, kCount, sizeof(float)}, memory.Begin(), 0, stride);
            for (size_t k = 0; k < kCount; ++k) {
                ASSERT_EQ(CanonicalBits(samples[k]),
                          CanonicalBits(Reference::Sample(noise.Basis(), sampler, positions[k])))
                    << reporter.Text() << ": sample " << k;
            }
        }
    }
}

} // namespace
