#include "lattice/permutations.h"

#include <gtest/gtest.h>

#include <type_traits>

namespace {

using Vestrel::Internal::kFastNoisePermutations;

TEST(Permutations, Has513UnsignedEntries) {
    static_assert(std::is_same_v<decltype(kFastNoisePermutations)::value_type, uint32_t>);
    EXPECT_EQ(kFastNoisePermutations.size(), 513u);
}

TEST(Permutations, StartsAndEndsAsPublished) {
    const uint32_t first[] = {151, 160, 137, 91, 90, 15, 131, 13};
    for (size_t k = 0; k < 8; ++k) {
        EXPECT_EQ(kFastNoisePermutations[k], first[k]) << "entry " << k;
    }
    EXPECT_EQ(kFastNoisePermutations[255], 180u);
}

// A hash of the published table finds exchanged entries.
TEST(Permutations, HasTheHashOfThePublishedTable) {
    uint64_t hash = 14695981039346656037u; // FNV-1a
    for (size_t k = 0; k < 256; ++k) {
        hash = (hash ^ kFastNoisePermutations[k]) * 1099511628211u;
    }
    EXPECT_EQ(hash, 0xa4d5c624dc06c7d5u);
}

TEST(Permutations, IsAPermutationAndRepeats) {
    int seen[256] = {};
    for (size_t k = 0; k < 256; ++k) {
        ASSERT_LT(kFastNoisePermutations[k], 256u) << "entry " << k;
        ++seen[kFastNoisePermutations[k]];
        EXPECT_EQ(kFastNoisePermutations[k + 256], kFastNoisePermutations[k]) << "entry " << k + 256;
    }
    for (size_t number = 0; number < 256; ++number) {
        EXPECT_EQ(seen[number], 1) << "number " << number;
    }
    EXPECT_EQ(kFastNoisePermutations[512], 151u);
}

} // namespace
