#include <zr_support/floating_point_traits.h>

#include <gtest/gtest.h>

#include <bit>
#include <cstdint>

namespace {

using namespace Vestrel;

TEST(FloatingPointTraits, PositiveInfinityOfFloatHasItsBits) {
    using Float =
        TAbstractFloatingPointRepresentation<float, TAbstractIEEE754_FpConstants<unsigned int, 23, 8>>;
    EXPECT_EQ(std::bit_cast<uint32_t>(Float::kPositiveInfinity), 0x7F800000u);
}

TEST(FloatingPointTraits, PositiveInfinityOfDoubleHasItsBits) {
    using Double =
        TAbstractFloatingPointRepresentation<double, TAbstractIEEE754_FpConstants<uint64_t, 52, 11>>;
    EXPECT_EQ(std::bit_cast<uint64_t>(Double::kPositiveInfinity), 0x7FF0000000000000u);
}

} // namespace
