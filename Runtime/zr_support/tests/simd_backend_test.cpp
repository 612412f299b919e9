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
    // The register type is that of the backend: an array of lanes in plain C++, a compiler's type elsewhere.
    static_assert(TMadeOfLanes<Float4> == (VESTREL_SIMD_BACKEND_PORTABLE == 1));
    std::printf("backend: %s\n", name.c_str());
}

TEST(SimdBackend, LanesReachTheLibraryInOrder) {
    const TVector<float, 4> lanes = _LanesAsReceived(Float4(1.0f, 2.0f, 3.0f, 4.0f));
    EXPECT_EQ(lanes.x, 1.0f);
    EXPECT_EQ(lanes.y, 2.0f);
    EXPECT_EQ(lanes.z, 3.0f);
    EXPECT_EQ(lanes.w, 4.0f);
}

TEST(SimdBackend, LanesReturnFromTheLibraryInOrder) {
    const Float4 factor(1.0f, 2.0f, 3.0f, 4.0f);
    const Float4 result =
        _MultiplyAdd(&factor, Float4(5.0f, 6.0f, 7.0f, 8.0f), Float4(0.5f, 0.25f, -1.0f, 0.0f));
    EXPECT_EQ(ExtractLane<0>(result), 5.5f);
    EXPECT_EQ(ExtractLane<1>(result), 12.25f);
    EXPECT_EQ(ExtractLane<2>(result), 20.0f);
    EXPECT_EQ(ExtractLane<3>(result), 32.0f);
}

} // namespace
