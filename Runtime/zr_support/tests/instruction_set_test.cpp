#include <zr_support/instruction_set.h>

#include "instruction_sets.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <fstream>
#include <string>
#include <vector>

namespace {

using namespace Vestrel;
using Internal::SelectedInstructionSet;
using Internal::SupportedInstructionSet;

/// Whether Linux reports a processor feature.
[[maybe_unused]] bool HasFeature(const std::string& feature) {
    std::ifstream file("/proc/cpuinfo");
    for (std::string line; std::getline(file, line);) {
        if (line.starts_with("flags")) {
            return (line + " ").find(" " + feature + " ") != std::string::npos;
        }
    }
    return false;
}

TEST(InstructionSet, IsWhatTheProcessorSupports) {
    EInstructionSet expected = EInstructionSet::kFourLanes;
#if VESTREL_WIDE_KERNELS
    if (HasFeature("avx512f") && HasFeature("avx512bw") && HasFeature("avx512vbmi")) {
        expected = EInstructionSet::kAvx512;
    } else if (HasFeature("avx2")) {
        expected = EInstructionSet::kAvx2;
    }
#endif
    EXPECT_EQ(SupportedInstructionSet(), expected) << Internal::NameOf(SupportedInstructionSet());
}

TEST(InstructionSet, HasADisplayName) {
    EXPECT_STREQ(Internal::NameOf(EInstructionSet::kFourLanes), "four lanes");
    EXPECT_STREQ(Internal::NameOf(EInstructionSet::kAvx2), "AVX2");
    EXPECT_STREQ(Internal::NameOf(EInstructionSet::kAvx512), "AVX-512");
}

constexpr EInstructionSet kInstructionSets[] = {EInstructionSet::kFourLanes, EInstructionSet::kAvx2,
                                                EInstructionSet::kAvx512};

/// Restores the selection.
class InstructionSetLimit : public testing::Test {
    CSelectedInstructionSet m_Restored{SelectedInstructionSet()};
};

TEST_F(InstructionSetLimit, IsTheNarrowerOfRequestAndSupport) {
    for (const EInstructionSet before : kInstructionSets) {
        for (const EInstructionSet most : kInstructionSets) {
            LimitInstructionSet(before);
            const EInstructionSet expected = std::min(most, SupportedInstructionSet());
            EXPECT_EQ(LimitInstructionSet(most), expected)
                << Internal::NameOf(most) << " after " << Internal::NameOf(before);
            EXPECT_EQ(SelectedInstructionSet(), expected)
                << Internal::NameOf(most) << " after " << Internal::NameOf(before);
        }
    }
}

TEST_F(InstructionSetLimit, IsRemovedByValuesOutsideTheEnumeration) {
    for (const uint32_t value : {3u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu}) {
        LimitInstructionSet(EInstructionSet::kFourLanes);
        EXPECT_EQ(LimitInstructionSet(static_cast<EInstructionSet>(value)), SupportedInstructionSet())
            << value;
        EXPECT_EQ(SelectedInstructionSet(), SupportedInstructionSet()) << value;
    }
}

TEST_F(InstructionSetLimit, IsTheWidestAtTheFirstCall) {
    Internal::g_SelectedInstructionSet.store(Internal::kNotSelected);
    EXPECT_EQ(SelectedInstructionSet(), SupportedInstructionSet());
    EXPECT_EQ(Internal::g_SelectedInstructionSet.load(), SupportedInstructionSet());
}

// As if another thread called LimitInstructionSet between the first check and the selection.
TEST_F(InstructionSetLimit, IsKeptByALateSelection) {
    LimitInstructionSet(EInstructionSet::kFourLanes);
    EXPECT_EQ(Internal::_SelectInstructionSet(), EInstructionSet::kFourLanes);
    EXPECT_EQ(SelectedInstructionSet(), EInstructionSet::kFourLanes);
}

} // namespace
