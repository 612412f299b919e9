#include <zr_support/simd_backend.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <string>

namespace {

using namespace Vestrel;
using namespace Vestrel::SIMD_Neon;

template <typename T>
concept TMadeOfLanes = requires(T value) {
    value.m_Register.m_Lanes;
};

TEST(SimdBackend, NameIsThatOfTheConfiguration) {
    const std::string name = BackendName();
    EXPECT_EQ(name == "NEON", VESTREL_SIMD_BACKEND_NEON == 1);
    EXPECT_EQ(name == "SSE", VESTREL_SIMD_BACKEND_SSE == 1);
    EXPECT_EQ(name == "wasm", VESTREL_SIMD_BACKEND_WASM == 1);
    EXPECT_EQ(name == "portable", VESTREL_SIMD_BACKEND_PORTABLE == 1);
    // And the type is that backend's: an array of lanes in plain C++, elsewhere the compiler's own for a
    // register.
    static_assert(TMadeOfLanes<Float4> == (VESTREL_SIMD_BACKEND_PORTABLE == 1));
    std::printf("backend: %s\n", name.c_str());
}

TEST(SimdBackend, LanesCrossIntoTheLibraryInOrder) {
    const TVector<float, 4> lanes = _LanesAsReceived(Float4(1.0f, 2.0f, 3.0f, 4.0f));
    EXPECT_EQ(lanes.x, 1.0f);
    EXPECT_EQ(lanes.y, 2.0f);
    EXPECT_EQ(lanes.z, 3.0f);
    EXPECT_EQ(lanes.w, 4.0f);
}

} // namespace
