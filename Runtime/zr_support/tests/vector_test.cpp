#include <zr_support/vector.h>

#include <gtest/gtest.h>

#include <cstring>
#include <type_traits>

namespace {

using namespace Vestrel;

TEST(Vector, ComponentsArePackedInOrder) {
    const TVector<float, 4> vector = {1.0f, 2.0f, 3.0f, 4.0f};
    float floats[4];
    std::memcpy(floats, &vector, sizeof(floats));
    EXPECT_EQ(floats[0], 1.0f);
    EXPECT_EQ(floats[1], 2.0f);
    EXPECT_EQ(floats[2], 3.0f);
    EXPECT_EQ(floats[3], 4.0f);
}

TEST(Vector, PackedArrayOfThreeFloatsHasAStrideOfTwelve) {
    const TVector<float, 3> positions[2] = {{1.0f, 2.0f, 3.0f}, {4.0f, 5.0f, 6.0f}};
    EXPECT_EQ(reinterpret_cast<const char*>(&positions[1]) - reinterpret_cast<const char*>(&positions[0]),
              12);
}

TEST(Vector, IsAnAggregate) {
    static_assert(std::is_aggregate_v<TVector<float, 2>> && std::is_aggregate_v<TVector<float, 3>> &&
                  std::is_aggregate_v<TVector<float, 4>> && std::is_aggregate_v<TVector<int, 4>>);
}

} // namespace
