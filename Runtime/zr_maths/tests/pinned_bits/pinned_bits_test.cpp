#include "pinned_bits.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <string>

namespace {

using namespace Vestrel;

#if VESTREL_TESTS_ARE_EMULATED || defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr size_t kResults = kFewPinnedResults;
#else
constexpr size_t kResults = kManyPinnedResults;
#endif

struct CPinnedNameOfInstance {
    std::string operator()(const testing::TestParamInfo<size_t>& instance) const {
        return PinnedName(instance.param);
    }
};

class PinnedBits : public testing::TestWithParam<size_t> {};

INSTANTIATE_TEST_SUITE_P(All, PinnedBits, testing::Range(size_t{0}, PinnedCount()), CPinnedNameOfInstance());

TEST_P(PinnedBits, EqualTheTable) {
    const std::string mismatch = PinnedMismatch(GetParam(), kResults);
    EXPECT_TRUE(mismatch.empty()) << mismatch;
}

} // namespace
