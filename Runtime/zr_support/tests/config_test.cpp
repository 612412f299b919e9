#include <zr_support/config.h>

#include <gtest/gtest.h>

#include <string>

namespace {

TEST(Config, VersionMacrosAgree) {
    EXPECT_EQ(std::string(VESTREL_VERSION_STRING), std::to_string(VESTREL_VERSION_MAJOR) + "." +
                                                       std::to_string(VESTREL_VERSION_MINOR) + "." +
                                                       std::to_string(VESTREL_VERSION_PATCH));
}

TEST(Config, NamesExactlyOneBackend) {
    EXPECT_EQ(VESTREL_SIMD_BACKEND_NEON + VESTREL_SIMD_BACKEND_SSE + VESTREL_SIMD_BACKEND_PORTABLE, 1);
}

} // namespace
