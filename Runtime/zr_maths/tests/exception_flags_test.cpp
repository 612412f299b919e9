// Which floating-point exception flags operations may set, by kind of coordinate.

#include "noise_test_support.h"
#include "operations.h"

#include <zr_support/simd_streams.h>

#include <gtest/gtest.h>

#include <cfenv>
#include <limits>
#include <ostream>
#include <string>
#include <vector>

namespace {

using namespace Vestrel;
using SIMD_Neon::Float4;

struct CCoordinates {
    const char* m_Name;
    int m_AllowedFlags;
    std::vector<float> m_Values;

    friend std::ostream& operator<<(std::ostream& stream, const CCoordinates& coordinates) {
        return stream << coordinates.m_Name;
    }
};

constexpr float kInfinity = std::numeric_limits<float>::infinity();

// The table of docs/guarantees.md.
const CCoordinates kAllCoordinates[] = {
    {"ordinary", FE_INEXACT, {0.0f, -0.0f, 1.0f, -7.0f, 0.37f, -12.75f, 1e6f + 0.5f, 0x1p-12f, -0x1p31f}},
    {"justAboveWhole", FE_INEXACT | FE_UNDERFLOW, {0x1p-149f, 0x1p-127f, 1e-30f, 0x1p-13f, 1.0f + 0x1p-23f}},
    {"justBelowWhole", FE_INEXACT, {-0x1p-149f, -0x1p-127f, -1e-30f, 1.0f - 0x1p-24f, -0x1p-24f}},
    {"beyondIntegers", FE_INEXACT | FE_INVALID | FE_OVERFLOW, {0x1p31f, -3e9f, 1e20f, -3e38f}},
    {"infinite", FE_INEXACT | FE_INVALID, {kInfinity, -kInfinity}},
    {"notANumber", FE_INEXACT | FE_INVALID, {std::numeric_limits<float>::quiet_NaN()}}};

std::string NamesOf(int flags) {
    std::string names;
    const auto append = [&](int flag, const char* name) { names += (flags & flag) != 0 ? name : ""; };
    append(FE_INVALID, " invalid");
    append(FE_DIVBYZERO, " divbyzero");
    append(FE_OVERFLOW, " overflow");
    append(FE_UNDERFLOW, " underflow");
    append(FE_INEXACT, " inexact");
    return names;
}

template <typename TOperation>
void ExpectAllowedFlags(const CCoordinates& coordinates, const std::string& name, float first,
                        const TOperation& operation) {
    std::feclearexcept(FE_ALL_EXCEPT);
    operation();
    const int raised = std::fetestexcept(FE_ALL_EXCEPT);
    EXPECT_EQ(raised & ~coordinates.m_AllowedFlags, 0)
        << name << " at " << first << " sets" << NamesOf(raised) << ", and may set"
        << NamesOf(coordinates.m_AllowedFlags);
}

class ExceptionFlags : public testing::TestWithParam<CCoordinates> {};

// With one kind of coordinate on all axes, and on every fifth.
TEST_P(ExceptionFlags, OfBatches) {
    constexpr uint32_t kCount = 1000;
    const COpenNoise noise = EvenNoise();
    std::vector<float> samples(kCount);
    for (const float value : GetParam().m_Values) {
        for (const uint32_t step : {1u, 5u}) {
            std::vector<float> coordinates(4 * kCount + 4, 0.37f);
            for (size_t k = 0; k < coordinates.size(); k += step) {
                coordinates[k] = value;
            }
            for (const CBatchSampler& sampler : kBatchSamplers) {
                for (const uint32_t stride : {sampler.PositionSize(), 16u}) {
                    ExpectAllowedFlags(GetParam(), sampler.m_Name, value, [&] {
                        sampler.m_Sample(noise, {samples.data(), kCount, sizeof(float)}, coordinates.data(),
                                         kCount, stride);
                    });
                }
            }
        }
    }
}

TEST_P(ExceptionFlags, OfSinglePositions) {
    const COpenNoise noise = EvenNoise();
    for (const float value : GetParam().m_Values) {
        const Float4 positions[] = {Float4(value, value, value, 0.0f), Float4(value, value, value, 0.0f),
                                    Float4(value, value, value, 0.0f), Float4(value, value, value, 0.0f)};
        const auto expect = [&](const std::string& name, const auto& operation) {
            ExpectAllowedFlags(GetParam(), name, value, operation);
        };
        float lanes[4];
        const auto store = [&](Float4 result) { SIMD_Neon::StoreUnaligned(lanes, result); };
        for (const CPointSamplers& samplers : kPointSamplers) {
            const std::string quality = samplers.m_Name;
            expect("Sample" + quality, [&] { lanes[0] = (noise.*samplers.m_Sample)(positions[0]); });
            expect("CoherentSample" + quality, [&] { store((noise.*samplers.m_Coherent)(positions)); });
            expect("gradient, " + quality, [&] { store((noise.*samplers.m_Gradient)(positions[0])); });
        }
    }
}

INSTANTIATE_TEST_SUITE_P(AllCoordinates, ExceptionFlags, testing::ValuesIn(kAllCoordinates),
                         CNameOfInstance());

TEST(ExceptionFlagsOfFractions, AreThoseOfTheirSize) {
    constexpr uint32_t kCount = 191;
    const COpenNoise noise = EvenNoise();
    const CCoordinates all[] = {
        {"ordinary", FE_INEXACT, {0.0f, 0x1p-12f, 0.37f, 1.0f}},
        {"tiny", FE_INEXACT | FE_UNDERFLOW, {0x1p-149f, 0x1p-127f, 1e-30f, 0x1p-13f}},
        {"notANumber", FE_INEXACT | FE_INVALID, {std::numeric_limits<float>::quiet_NaN()}}};
    for (const CCoordinates& fractions : all) {
        for (const float value : fractions.m_Values) {
            const std::vector<CRecord> records(kCount, {{value, value, value, 0.0f}, {1, 2, 3, 0}});
            std::vector<CGradient> gradients(kCount);
            for (const CPointSamplers& samplers : kPointSamplers) {
                ExpectAllowedFlags(fractions, samplers.m_Name, value,
                                   [&] { (noise.*samplers.m_GradientBatch)(records, gradients); });
            }
        }
    }
}

TEST(ExceptionFlagsOfRotations, AreInexactAndUnderflow) {
    for (const float time : {0.37f, -3.0f, 0x1p-149f, 20000.5f, 4.5e37f}) {
        const CCoordinates times = {"time", FE_INEXACT | FE_UNDERFLOW, {}};
        CListGenerator generator(EvenValues());
        CRotatableFastNoise3 noise(&generator);
        ExpectAllowedFlags(times, "RotateBasis", time, [&] { noise.RotateBasis(time); });
    }
}

TEST(ExceptionFlagsOfStreams, AreThoseOfTheirArguments) {
    using namespace SIMD_Neon;
    constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
    const auto expectOf = [](const char* name, auto single, auto stream, const CCoordinates& arguments) {
        for (const float value : arguments.m_Values) {
            alignas(16) float in[4] = {value, value, value, value};
            alignas(16) float out[4];
            ExpectAllowedFlags(arguments, name, value, [&] { stream(in, out, 4); });
            ExpectAllowedFlags(arguments, name, value, [&] { out[0] = single(value); });
        }
    };
    const auto expectOfSine = [&](const CCoordinates& arguments) {
        expectOf("Sin", LowPrecision::Sin, LowPrecision::SinStream_Aligned16, arguments);
    };
    expectOfSine({"ordinary", FE_INEXACT, {0.0f, 1e-12f, 0.37f, -3.0f, 20000.5f, -3e38f}});
    expectOfSine({"tiny", FE_INEXACT | FE_UNDERFLOW, {0x1p-149f, 1e-38f, -1e-20f}});
    expectOfSine({"notFinite", FE_INEXACT | FE_INVALID, {kInfinity, -kInfinity, kNan}});
    const auto expectOfArcSine = [&](const CCoordinates& arguments) {
        expectOf("ArcSin", FullPrecision::ArcSin, FullPrecision::ArcSinStream_Aligned16, arguments);
    };
    expectOfArcSine({"within", FE_INEXACT, {0.0f, 0x1p-149f, 1e-38f, -1e-20f, 0.37f, -1.0f, 1.0f}});
    expectOfArcSine({"beyond", FE_INEXACT | FE_INVALID | FE_OVERFLOW, {1.5f, -3e38f, kInfinity, kNan}});
}

} // namespace
