// A program that defines both functions of the allocator gets its own: blocks here are counted, and filled
// with a pattern that an undrawn field can be told by.

#include <zr_maths/maths_noise_fast.h>
#include <zr_support/mem_alloc.h>

#include "noise_test_support.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <map>
#include <utility>
#include <vector>

namespace {

struct CRequest {
    uint64_t m_Size;
    uint32_t m_Alignment;
    uint32_t m_Type;
    uint32_t m_Origin;
    bool operator==(const CRequest&) const = default;
};

std::vector<CRequest> s_Requests;
std::map<void*, int> s_FreeCounts;

constexpr unsigned char kPattern = 0x3E; // floats of 0x3E3E3E3E, about 0.186

} // namespace

namespace Vestrel::Mem {

void* _RawAlloc(uint64_t size, uint32_t alignment, EAllocType type, EOrigin origin) {
    s_Requests.push_back({size, alignment, static_cast<uint32_t>(type), static_cast<uint32_t>(origin)});
    void* block =
        std::aligned_alloc(alignment, (static_cast<size_t>(size) + alignment - 1) / alignment * alignment);
    std::memset(block, kPattern, static_cast<size_t>(size));
    s_FreeCounts[block] = 0;
    return block;
}

void _RawFree(void* ptr, EAllocType type, EOrigin origin) {
    EXPECT_EQ(static_cast<uint32_t>(type), 0u);
    EXPECT_EQ(static_cast<uint32_t>(origin), 0u);
    ++s_FreeCounts[ptr];
    // Kept, so that no later block has the same address.
}

} // namespace Vestrel::Mem

namespace {

using namespace Vestrel;

class FastNoiseAllocator : public testing::Test {
protected:
    void SetUp() override {
        s_Requests.clear();
        s_FreeCounts.clear();
    }

    void TearDown() override {
        for (const auto& [block, count] : s_FreeCounts) {
            EXPECT_EQ(count, 1) << "a block was not freed exactly once";
            std::free(block);
        }
    }

    static constexpr CRequest kBasisRequest = {2052, 32, 0, 0};
};

TEST_F(FastNoiseAllocator, EveryConstructorAllocatesOneBasis) {
    CStdRandomGenerator generator(1);
    const CFastNoise3 drawn(&generator);
    EXPECT_EQ(s_Requests, (std::vector<CRequest>{kBasisRequest}));
    const CFastNoise3 undrawn(nullptr);
    EXPECT_EQ(s_Requests, (std::vector<CRequest>{kBasisRequest, kBasisRequest}));
    const CFastNoise3 copy(drawn);
    EXPECT_EQ(s_Requests, (std::vector<CRequest>{kBasisRequest, kBasisRequest, kBasisRequest}));
}

TEST_F(FastNoiseAllocator, AssignmentResetAndSamplingAllocateNothing) {
    CStdRandomGenerator generator(1);
    CFastNoise3 noise(&generator);
    CFastNoise3 other(&generator);
    s_Requests.clear();
    noise = other;
    noise.ResetSampler(&generator);
    noise.ResetSampler(nullptr);
    std::vector<float> positions(3 * 5000 + 1, 0.5f);
    std::vector<float> samples(5000);
    noise.SampleQuintic1D({samples.data(), 5000, 4}, {positions.data(), 5000, 4});
    const auto* vectors = reinterpret_cast<const TVector<float, 3>*>(positions.data());
    noise.SampleQuintic3D({samples.data(), 5000, 4}, {vectors, 5000, 12});
    EXPECT_TRUE(s_Requests.empty());
}

TEST_F(FastNoiseAllocator, AnUndrawnObjectKeepsWhatTheAllocationHeld) {
    const COpenNoise noise(nullptr);
    std::vector<unsigned char> expected(2052, kPattern);
    EXPECT_EQ(std::memcmp(noise.Basis(), expected.data(), expected.size()), 0);
}

TEST_F(FastNoiseAllocator, AnUndrawnObjectIsDrawnByResetOrAssignment) {
    CListGenerator generator(IndexedValues());
    COpenNoise noise(nullptr);
    noise.ResetSampler(&generator);
    EXPECT_EQ(noise.Basis()[0], -1.0f);
    COpenNoise assigned(nullptr);
    assigned = noise;
    EXPECT_EQ(assigned.Basis()[0], -1.0f);
    EXPECT_EQ(assigned.Basis()[512], -1.0f);
}

TEST_F(FastNoiseAllocator, DeletionThroughTheBaseFreesTheTable) {
    CFastNoise3* const noise = new COpenNoise(nullptr);
    delete noise;
    ASSERT_EQ(s_FreeCounts.size(), 1u);
    EXPECT_EQ(s_FreeCounts.begin()->second, 1);
}

} // namespace
