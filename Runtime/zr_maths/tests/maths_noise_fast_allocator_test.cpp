// Replaces the library's allocator: blocks are counted, and filled with a pattern by which tests recognise an
// undrawn field. Calls of operator new are counted, too.

#include <zr_maths/maths_noise_fast.h>
#include <zr_support/mem_alloc.h>

#include "noise_test_support.h"
#include "operations.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <map>
#include <new>
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

size_t s_NewCount = 0;

constexpr unsigned char kPattern = 0x3E; // floats of 0x3E3E3E3E, about 0.186

} // namespace

// Not inlined: compilers warn about memory from new that is passed to free.
[[gnu::noinline]] void* operator new(size_t size) {
    ++s_NewCount;
    void* const block = std::malloc(size);
    if (block == nullptr) {
        std::abort();
    }
    return block;
}

[[gnu::noinline]] void operator delete(void* block) noexcept {
    std::free(block);
}

[[gnu::noinline]] void operator delete(void* block, size_t) noexcept {
    std::free(block);
}

namespace Vestrel::Mem {

void* _RawAlloc(uint64_t size, uint32_t alignment, EAllocType type, EOrigin origin) {
    const size_t newCount = s_NewCount;
    s_Requests.push_back({size, alignment, static_cast<uint32_t>(type), static_cast<uint32_t>(origin)});
    void* block =
        std::aligned_alloc(alignment, (static_cast<size_t>(size) + alignment - 1) / alignment * alignment);
    std::memset(block, kPattern, static_cast<size_t>(size));
    s_FreeCounts[block] = 0;
    s_NewCount = newCount; // without the allocations of the counting itself
    return block;
}

void _RawFree(void* ptr, EAllocType type, EOrigin origin) {
    EXPECT_EQ(static_cast<uint32_t>(type), 0u);
    EXPECT_EQ(static_cast<uint32_t>(origin), 0u);
    ++s_FreeCounts[ptr];
    // Not freed, so that no later block has the same address.
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
    static constexpr CRequest kPhasesRequest = {3076, 32, 0, 0};
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

TEST_F(FastNoiseAllocator, EveryConstructorOfARotatableFieldAllocatesABasisAndPhases) {
    using CRequests = std::vector<CRequest>;
    CStdRandomGenerator generator(1);
    const CRotatableFastNoise3 drawn(&generator);
    EXPECT_EQ(s_Requests, (CRequests{kBasisRequest, kPhasesRequest}));
    const CRotatableFastNoise3 undrawn(nullptr);
    EXPECT_EQ(s_Requests, (CRequests{kBasisRequest, kPhasesRequest, kBasisRequest, kPhasesRequest}));
    const CRotatableFastNoise3 copy(drawn);
    EXPECT_EQ(s_Requests, (CRequests{kBasisRequest, kPhasesRequest, kBasisRequest, kPhasesRequest,
                                     kBasisRequest, kPhasesRequest}));
}

/// Counts what `call` allocates.
template <typename TCall>
size_t AllocationsOf(const TCall& call) {
    const size_t before = s_Requests.size() + s_NewCount;
    call();
    return s_Requests.size() + s_NewCount - before;
}

TEST_F(FastNoiseAllocator, AllocationsOfBothKindsAreCounted) {
    EXPECT_EQ(AllocationsOf([] { delete new CFastNoise3(nullptr); }), 2u);
}

TEST_F(FastNoiseAllocator, AssignmentAndResetAllocateNothing) {
    CStdRandomGenerator generator(1);
    CFastNoise3 noise(&generator);
    const CFastNoise3 other(&generator);
    CRotatableFastNoise3 rotatable(&generator);
    const CRotatableFastNoise3 otherRotatable(&generator);
    EXPECT_EQ(AllocationsOf([&] {
                  noise = other;
                  noise.ResetSampler(&generator);
                  noise.ResetSampler(nullptr);
                  rotatable = otherRotatable;
                  rotatable.ResetSampler(&generator);
                  rotatable.ResetSampler(nullptr);
              }),
              0u);
}

TEST_F(FastNoiseAllocator, SamplingAllocatesNothing) {
    CStdRandomGenerator generator(1);
    const CFastNoise3 noise(&generator);
    constexpr uint32_t kCount = 5000;
    const std::vector<float> positions(4 * kCount + 1, 0.5f);
    std::vector<float> samples(kCount);
    for (const CBatchSampler& sampler : kBatchSamplers) {
        EXPECT_EQ(AllocationsOf([&] {
                      sampler.m_Sample(noise, {samples.data(), kCount, 4}, positions.data(), kCount,
                                       sampler.PositionSize());
                      sampler.m_Sample(noise, {samples.data() + 1, kCount - 1, 4}, positions.data() + 1,
                                       kCount - 1, sampler.PositionSize());
                  }),
                  0u)
            << sampler.m_Name;
    }
    const SIMD_Neon::Float4 position(0.5f);
    const SIMD_Neon::Float4 four[4] = {position, position, position, position};
    const std::vector<TPair<TVector<float, 4>, TVector<int, 4>>> cells(9);
    std::vector<TVector<float, 4>> gradients(9);
    float sum = 0.0f;
    EXPECT_EQ(AllocationsOf([&] {
                  sum += noise.SampleQuintic(position);
                  sum += SIMD_Neon::ExtractLane<0>(noise.CoherentSampleQuintic(four));
                  sum += SIMD_Neon::ExtractLane<0>(noise.Sample1stOrderDerivativesQuintic(position));
                  noise.Sample1stOrderDerivativesQuintic({cells.data(), 9}, {gradients.data(), 9});
              }),
              0u);
    EXPECT_TRUE(std::isfinite(sum));
}

TEST_F(FastNoiseAllocator, RotatingAllocatesNothing) {
    CStdRandomGenerator generator(1);
    CRotatableFastNoise3 noise(&generator);
    EXPECT_EQ(AllocationsOf([&] {
                  noise.RotateBasis(0.5f);
                  noise.SetSpinVariation(0.0f);
                  noise.RotateBasis(1e30f);
                  noise.SetSpinVariation(1.0f);
                  noise.RotateBasis(-2.0f);
              }),
              0u);
}

TEST_F(FastNoiseAllocator, AnUndrawnObjectKeepsTheContentsOfItsBlock) {
    const COpenNoise noise(nullptr);
    std::vector<unsigned char> expected(2052, kPattern);
    EXPECT_EQ(std::memcmp(noise.Basis(), expected.data(), expected.size()), 0);
}

TEST_F(FastNoiseAllocator, ResetOrAssignmentDrawsAnUndrawnObject) {
    CListGenerator generator(EvenValues());
    COpenNoise noise(nullptr);
    noise.ResetSampler(&generator);
    EXPECT_EQ(noise.Basis()[0], -1.0f);
    COpenNoise assigned(nullptr);
    assigned = noise;
    EXPECT_EQ(assigned.Basis()[0], -1.0f);
    EXPECT_EQ(assigned.Basis()[512], -1.0f);
}

TEST_F(FastNoiseAllocator, DeletionThroughTheBaseFreesTheTables) {
    CFastNoise3* const noise = new COpenNoise(nullptr);
    delete noise;
    ASSERT_EQ(s_FreeCounts.size(), 1u);
    CFastNoise3* const rotatable = new CRotatableFastNoise3(nullptr);
    delete rotatable;
    ASSERT_EQ(s_FreeCounts.size(), 3u);
    for (const auto& [block, count] : s_FreeCounts) {
        EXPECT_EQ(count, 1);
    }
}

} // namespace
