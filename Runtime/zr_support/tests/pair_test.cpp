#include <zr_support/pair.h>

#include <gtest/gtest.h>

#include <type_traits>

namespace {

using namespace Vestrel;

TEST(Pair, IntegerHalfStartsSixteenBytesAfterTheFloatHalf) {
    const TPair<TVector<float, 4>, TVector<int, 4>> record = {{0.1f, 0.2f, 0.3f, 0.4f}, {1, 2, 3, 4}};
    EXPECT_EQ(reinterpret_cast<const char*>(&record.second) - reinterpret_cast<const char*>(&record.first),
              16);
    EXPECT_EQ(sizeof(record), 32u);
    EXPECT_EQ(record.second.z, 3);
}

TEST(Pair, IsAnAggregate) {
    static_assert(std::is_aggregate_v<TPair<TVector<float, 4>, TVector<int, 4>>>);
}

} // namespace
