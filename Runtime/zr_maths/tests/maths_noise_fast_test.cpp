#include <zr_maths/maths_noise_fast.h>

#include "noise_test_support.h"
#include "operations.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <type_traits>
#include <vector>

namespace {

using namespace Vestrel;

std::vector<float> BasisOf(const COpenNoise& noise) {
    return std::vector<float>(noise.Basis(), noise.Basis() + 513);
}

void ExpectWrapped(const COpenNoise& noise) {
    for (size_t k = 0; k < 256; ++k) {
        EXPECT_EQ(CanonicalBits(noise.Basis()[k + 256]), CanonicalBits(noise.Basis()[k]))
            << "entry " << k + 256;
    }
    EXPECT_EQ(CanonicalBits(noise.Basis()[512]), CanonicalBits(noise.Basis()[0]));
}

TEST(FastNoise, IsItsVirtualTableAndItsBasis) {
    static_assert(std::is_polymorphic_v<CFastNoise3> && std::has_virtual_destructor_v<CFastNoise3>);
    static_assert(sizeof(void*) != 8 || sizeof(CFastNoise3) == 16);
    const COpenNoise noise = EvenNoise();
    const float* second = nullptr;
    std::memcpy(&second, reinterpret_cast<const char*>(&noise) + sizeof(void*), sizeof(second));
    EXPECT_EQ(second, noise.Basis());
}

TEST(FastNoise, SamplersAreNoexcept) {
    static_assert(std::is_nothrow_invocable_v<decltype(&CFastNoise3::SampleLinear1D), const CFastNoise3&,
                                              const TStridedMemoryView<float>&,
                                              const TStridedMemoryView<const float>&>);
    static_assert(std::is_nothrow_invocable_v<decltype(&CFastNoise3::SampleQuintic3D), const CFastNoise3&,
                                              const TStridedMemoryView<float>&,
                                              const TStridedMemoryView<const TVector<float, 3>>&>);
}

TEST(FastNoise, ConstructionRequests256ValuesInMinusOneToOne) {
    CListGenerator generator(EvenValues());
    const COpenNoise noise(&generator);
    EXPECT_EQ(generator.m_CallCount, 1);
    EXPECT_EQ(generator.m_View.m_Data, noise.Basis());
    EXPECT_EQ(generator.m_View.m_Count, 256u);
    EXPECT_EQ(generator.m_Min, -1.0f);
    EXPECT_EQ(generator.m_Max, 1.0f);
}

TEST(FastNoise, ConstructionWrapsTheBasis) {
    const COpenNoise noise = EvenNoise();
    EXPECT_EQ(noise.Basis()[7], EvenValues()[7]);
    EXPECT_EQ(noise.Basis()[255], EvenValues()[255]);
    ExpectWrapped(noise);
}

TEST(FastNoise, ConstructionWithoutAGeneratorStillWraps) {
    const COpenNoise noise(nullptr);
    ExpectWrapped(noise);
}

TEST(FastNoise, ResetWithoutAGeneratorKeepsTheValuesAndWrapsThem) {
    COpenNoise noise = EvenNoise();
    noise.Basis()[0] = 0.125f;
    noise.Basis()[300] = 99.0f;
    noise.ResetSampler(nullptr);
    EXPECT_EQ(noise.Basis()[0], 0.125f);
    EXPECT_EQ(noise.Basis()[256], 0.125f);
    EXPECT_EQ(noise.Basis()[512], 0.125f);
    EXPECT_EQ(noise.Basis()[300], noise.Basis()[44]);
    EXPECT_EQ(noise.Basis()[255], EvenValues()[255]);
}

TEST(FastNoise, ResetRedraws) {
    COpenNoise noise = EvenNoise();
    std::array<float, 256> values = EvenValues();
    values[3] = 0.5f;
    values[0] = -0.5f;
    CListGenerator generator(values);
    const float* const basis = noise.Basis();
    noise.ResetSampler(&generator);
    EXPECT_EQ(noise.Basis(), basis) << "the table is drawn anew, not allocated anew";
    EXPECT_EQ(generator.m_CallCount, 1);
    EXPECT_EQ(generator.m_Min, -1.0f);
    EXPECT_EQ(generator.m_Max, 1.0f);
    EXPECT_EQ(noise.Basis()[3], 0.5f);
    EXPECT_EQ(noise.Basis()[259], 0.5f);
    EXPECT_EQ(noise.Basis()[512], -0.5f);
}

TEST(FastNoise, NonVirtualResetRedraws) {
    COpenNoise noise(nullptr);
    CListGenerator generator(EvenValues());
    noise._ResetSampler(&generator);
    EXPECT_EQ(BasisOf(noise), BasisOf(EvenNoise()));
}

TEST(FastNoise, RefreshRepeatsTheFirstEntries) {
    COpenNoise noise = EvenNoise();
    noise.Basis()[0] = 0.75f;
    noise.Basis()[255] = -0.75f;
    noise._RefreshBasis();
    EXPECT_EQ(noise.Basis()[256], 0.75f);
    EXPECT_EQ(noise.Basis()[511], -0.75f);
    EXPECT_EQ(noise.Basis()[512], 0.75f);
}

TEST(FastNoise, CopyHasItsOwnTable) {
    const COpenNoise source = EvenNoise();
    const std::vector<float> before = BasisOf(source);
    COpenNoise copy(source);
    EXPECT_NE(copy.Basis(), source.Basis());
    EXPECT_EQ(BasisOf(copy), before);
    CStdRandomGenerator generator(4);
    copy.ResetSampler(&generator);
    EXPECT_NE(BasisOf(copy), before);
    EXPECT_EQ(BasisOf(source), before);
}

TEST(FastNoise, CopiesKeepAllEntries) {
    COpenNoise source = EvenNoise();
    source.Basis()[400] = 5.0f;
    source.Basis()[512] = 6.0f;
    const COpenNoise copy(source);
    EXPECT_EQ(BasisOf(copy), BasisOf(source)) << "no refresh";
    COpenNoise assigned(nullptr);
    assigned = source;
    EXPECT_EQ(BasisOf(assigned), BasisOf(source)) << "no refresh";
}

TEST(FastNoise, AssignmentCopiesIntoTheExistingTable) {
    const COpenNoise source = EvenNoise();
    COpenNoise target(nullptr);
    const float* const table = target.Basis();
    EXPECT_EQ(&(target = source), &target);
    EXPECT_EQ(target.Basis(), table);
    EXPECT_EQ(BasisOf(target), BasisOf(source));
}

TEST(FastNoise, SelfAssignmentIsHarmless) {
    COpenNoise noise = EvenNoise();
    const std::vector<float> before = BasisOf(noise);
    const COpenNoise& itself = noise;
    noise = itself;
    EXPECT_EQ(BasisOf(noise), before);
}

TEST(FastNoise, GeneratorsInTheSameStateGiveTheSameField) {
    CStdRandomGenerator first(31);
    CStdRandomGenerator second(31);
    const COpenNoise one(&first);
    const COpenNoise other(&second);
    EXPECT_EQ(BasisOf(one), BasisOf(other));
    const std::vector<float> positions = CCoordinates(1).Fill(4 * 101);
    for (const CBatchSampler& sampler : kBatchSamplers) {
        std::vector<float> samples(100);
        std::vector<float> others(100);
        sampler.m_Sample(one, {samples.data(), 100, 4}, positions.data(), 100, sampler.PositionSize());
        sampler.m_Sample(other, {others.data(), 100, 4}, positions.data(), 100, sampler.PositionSize());
        EXPECT_EQ(std::memcmp(samples.data(), others.data(), 400), 0) << sampler.m_Name;
    }
}

TEST(FastNoise, TableIsAlignedToThirtyTwoBytes) {
    EXPECT_EQ(reinterpret_cast<uintptr_t>(EvenNoise().Basis()) % 32, 0u);
}

/// Counts the calls of its overrides.
class CDerivedNoise final : public CFastNoise3 {
public:
    using CFastNoise3::CFastNoise3;
    ~CDerivedNoise() override {
        ++s_DestroyedCount;
    }
    void ResetSampler(CAbstractRandomGenerator*) override {
        ++m_ResetCount;
    }
    int m_ResetCount = 0;
    static inline int s_DestroyedCount = 0;
};

TEST(FastNoise, DestructorAndResetAreVirtual) {
    CDerivedNoise* const derived = new CDerivedNoise(nullptr);
    std::unique_ptr<CFastNoise3> noise(derived);
    noise->ResetSampler(nullptr);
    EXPECT_EQ(derived->m_ResetCount, 1);
    CDerivedNoise::s_DestroyedCount = 0;
    noise.reset();
    EXPECT_EQ(CDerivedNoise::s_DestroyedCount, 1);
}

// In the Itanium C++ ABI of all supported compilers, a virtual destructor has two slots (complete and
// deleting), other functions one each, in order of declaration.
TEST(FastNoise, VirtualSlotsAreTheDestructorThenReset) {
    CDerivedNoise noise(nullptr);
    using CReset = void (*)(CFastNoise3*, CAbstractRandomGenerator*);
    CReset* table = nullptr;
    std::memcpy(&table, static_cast<const void*>(static_cast<CFastNoise3*>(&noise)), sizeof(table));
    table[2](&noise, nullptr);
    EXPECT_EQ(noise.m_ResetCount, 1);
}

template <typename T>
concept TRefreshable = requires(T& noise) {
    noise._RefreshBasis();
};
template <typename T>
concept TResettable = requires(T& noise) {
    noise._ResetSampler(nullptr);
};

TEST(FastNoise, StepsAreProtected) {
    static_assert(!TRefreshable<CFastNoise3> && TRefreshable<COpenNoise>);
    static_assert(!TResettable<CFastNoise3> && TResettable<COpenNoise>);
}

} // namespace
