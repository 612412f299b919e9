#include "noise_preview_run.h"

#include <zr_maths/maths_noise_fast.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <utility>
#include <vector>

namespace {

using namespace Vestrel;

// More pixels than the program samples at once, 240 of them over 12 cells.
constexpr uint32_t kWidth = 240;
constexpr uint32_t kHeight = 140;
constexpr uint32_t kPixelCount = kWidth * kHeight;
const std::string kSlice = " --size 240x140 --cells 12 --seed 7 --output field.png ";

/// The coordinate of a pixel's centre.
float CoordinateOf(uint32_t pixel) {
    return static_cast<float>((pixel + 0.5) / 20.0);
}

/// The positions of kSlice, where `place` makes one of x and y, and a spare that may be read behind them.
template <typename TPlace>
auto PositionsOf(const TPlace& place) {
    std::vector<decltype(place(0.0f, 0.0f))> positions(kPixelCount + 1);
    for (uint32_t k = 0; k < kPixelCount; ++k) {
        positions[k] = place(CoordinateOf(k % kWidth), CoordinateOf(k / kWidth));
    }
    return positions;
}

template <typename TPosition>
using TSampler = void (CFastNoise3::*)(const TStridedMemoryView<float>&,
                                       const TStridedMemoryView<const TPosition>&) const noexcept;

class NoisePreviewPictures : public NoisePreview {
protected:
    /// Draws kSlice with `options`, and compares each pixel with what the sampler gives.
    template <typename TPosition>
    void ExpectPicture(const std::string& options, TSampler<TPosition> sampler,
                       const std::vector<TPosition>& positions) const {
        CStdRandomGenerator generator(7);
        const CFastNoise3 noise(&generator);
        std::vector<float> samples(kPixelCount);
        (noise.*sampler)({samples.data(), kPixelCount, 4},
                         {positions.data(), kPixelCount, sizeof(TPosition)});
        const CResult result = Run(kSlice + options);
        ASSERT_EQ(result.m_ExitCode, 0) << result.m_Errors;
        const CGreyPng picture = ReadPng(m_Folder / "field.png");
        ASSERT_EQ(picture.m_Width, kWidth);
        ASSERT_EQ(picture.m_Height, kHeight);
        for (uint32_t k = 0; k < kPixelCount; ++k) {
            ASSERT_EQ(picture.m_Pixels[k], std::lround((samples[k] + 1.0f) * 127.5f))
                << options << ", pixel " << k % kWidth << ", " << k / kWidth;
        }
    }
};

TEST_F(NoisePreviewPictures, EveryQualityOfA2DPlanePixelByPixel) {
    const auto positions = PositionsOf([](float x, float y) { return TVector<float, 2>{x, y}; });
    ExpectPicture("--dimension 2 --quality linear", &CFastNoise3::SampleLinear2D, positions);
    ExpectPicture("--dimension 2 --quality cubic", &CFastNoise3::SampleCubic2D, positions);
    ExpectPicture("--dimension 2 --quality quintic", &CFastNoise3::SampleQuintic2D, positions);
}

TEST_F(NoisePreviewPictures, EveryQualityOfA3DSlicePixelByPixel) {
    const auto positions = PositionsOf([](float x, float y) { return TVector<float, 3>{x, y, -1.75f}; });
    const std::string options = "--dimension 3 --slice -1.75 --quality ";
    ExpectPicture(options + "linear", &CFastNoise3::SampleLinear3D, positions);
    ExpectPicture(options + "cubic", &CFastNoise3::SampleCubic3D, positions);
    ExpectPicture(options + "quintic", &CFastNoise3::SampleQuintic3D, positions);
}

TEST_F(NoisePreviewPictures, EveryQualityOfA4DSlicePixelByPixel) {
    const auto positions = PositionsOf([](float x, float y) {
        return TVector<float, 4>{x, y, -1.75f, 300.3f};
    });
    const std::string options = "--dimension 4 --slice -1.75 --slice-w 300.3 --quality ";
    ExpectPicture(options + "linear", &CFastNoise3::SampleLinear4D, positions);
    ExpectPicture(options + "cubic", &CFastNoise3::SampleCubic4D, positions);
    ExpectPicture(options + "quintic", &CFastNoise3::SampleQuintic4D, positions);
}

using CSplitPosition = TPair<TVector<float, 4>, TVector<int, 4>>;
using TGradientSampler = void (CFastNoise3::*)(const TMemoryView<const CSplitPosition>&,
                                               const TMemoryView<TVector<float, 4>>&) const noexcept;

/// The formula of --help.
double LightOf(const TVector<float, 4>& gradient) {
    const double a = 0.3 * static_cast<double>(gradient.x);
    const double b = 0.3 * static_cast<double>(gradient.y);
    return 255.0 * std::max(0.0, 1.0 + a + b) / std::sqrt(3.0 * (1.0 + a * a + b * b));
}

TEST_F(NoisePreviewPictures, EveryQualityOfAGradientPixelByPixel) {
    CStdRandomGenerator generator(7);
    const CFastNoise3 noise(&generator);
    // The floor of -1.75 is -2, which is the same lattice plane as 254.
    const auto positions = PositionsOf([](float x, float y) {
        const int i = static_cast<int>(x);
        const int j = static_cast<int>(y);
        return CSplitPosition{{x - static_cast<float>(i), y - static_cast<float>(j), 0.25f, 0.0f},
                              {i, j, 254, 0}};
    });
    const std::pair<std::string, TGradientSampler> samplers[] = {
        {"linear", &CFastNoise3::Sample1stOrderDerivativesLinear},
        {"cubic", &CFastNoise3::Sample1stOrderDerivativesCubic},
        {"quintic", &CFastNoise3::Sample1stOrderDerivativesQuintic}};
    for (const auto& [quality, sampler] : samplers) {
        std::vector<TVector<float, 4>> gradients(kPixelCount);
        (noise.*sampler)({positions.data(), kPixelCount}, {gradients.data(), kPixelCount});
        ASSERT_EQ(Run(kSlice + "--shade gradient --slice -1.75 --quality " + quality).m_ExitCode, 0);
        const CGreyPng picture = ReadPng(m_Folder / "field.png");
        ASSERT_EQ(picture.m_Pixels.size(), kPixelCount);
        for (uint32_t k = 0; k < kPixelCount; ++k) {
            // Rounded to the nearest grey, but for the floats that the program has calculated with.
            ASSERT_NEAR(picture.m_Pixels[k], LightOf(gradients[k]), 0.501)
                << quality << ", pixel " << k % kWidth << ", " << k / kWidth;
        }
    }
}

TEST_F(NoisePreviewPictures, AGradientRepeatsWithTheField) {
    // Wider than the 256 cells of the field, so that its cells are reduced along x and y.
    const std::string options = "--shade gradient --size 1536x1536 --cells 768 --output a.png";
    ASSERT_EQ(Run(options).m_ExitCode, 0);
    const CGreyPng picture = ReadPng(m_Folder / "a.png");
    for (size_t y = 0; y < 512; ++y) {
        for (size_t x = 0; x < 512; ++x) {
            const uint8_t grey = picture.m_Pixels[y * 1536 + x];
            ASSERT_EQ(picture.m_Pixels[(y + 512) * 1536 + x], grey) << x << ", " << y;
            ASSERT_EQ(picture.m_Pixels[y * 1536 + x + 1024], grey) << x << ", " << y;
        }
    }
}

TEST_F(NoisePreviewPictures, TheCurveOfA1DField) {
    // More positions than the program samples at once.
    constexpr uint32_t kColumns = 20000;
    ASSERT_EQ(Run("--dimension 1 --quality cubic --size 20000x200 --cells 8 --seed 3 --output curve.png")
                  .m_ExitCode,
              0);
    const CGreyPng picture = ReadPng(m_Folder / "curve.png");
    ASSERT_EQ(picture.m_Width, kColumns);
    ASSERT_EQ(picture.m_Height, 200u);

    CStdRandomGenerator generator(3);
    const CFastNoise3 noise(&generator);
    std::vector<float> positions(kColumns);
    std::vector<float> samples(kColumns);
    for (size_t x = 0; x < kColumns; ++x) {
        positions[x] = static_cast<float>((static_cast<double>(x) + 0.5) / 2500.0);
    }
    noise.SampleCubic1D({samples.data(), kColumns, 4}, {positions.data(), kColumns, 4});
    for (size_t x = 0; x < kColumns; ++x) {
        // The curve is at the sample's height: +-1.1 on 200 pixels, upward; half a picture away nothing is
        // dark.
        const long row = std::lround(100.0 - static_cast<double>(samples[x]) / 1.1 * 100.0 - 0.5);
        ASSERT_LT(picture.m_Pixels[static_cast<size_t>(row) * kColumns + x], 128) << "column " << x;
        ASSERT_GE(picture.m_Pixels[static_cast<size_t>((row + 100) % 200) * kColumns + x], 200)
            << "column " << x;
    }
}

TEST_F(NoisePreviewPictures, SameSeedSamePictureOtherSeedOtherPicture) {
    ASSERT_EQ(Run("--size 50x50 --seed 5 --output a.png").m_ExitCode, 0);
    ASSERT_EQ(Run("--size 50x50 --seed 5 --output b.png").m_ExitCode, 0);
    ASSERT_EQ(Run("--size 50x50 --seed 6 --output c.png").m_ExitCode, 0);
    EXPECT_EQ(ReadFile(m_Folder / "a.png"), ReadFile(m_Folder / "b.png"));
    EXPECT_NE(ReadFile(m_Folder / "a.png"), ReadFile(m_Folder / "c.png"));
}

TEST_F(NoisePreviewPictures, SmallestAndOddestSizes) {
    for (const std::string size : {"1x1", "1x50", "50x1", "3x7"}) {
        for (const std::string dimension : {"1", "2", "3", "4"}) {
            const CResult result =
                Run("--cells 1 --size " + size + " --dimension " + dimension + " --output a.png");
            EXPECT_EQ(result.m_ExitCode, 0) << size << ", " << dimension << ": " << result.m_Errors;
            const CGreyPng picture = ReadPng(m_Folder / "a.png");
            EXPECT_EQ(std::to_string(picture.m_Width) + "x" + std::to_string(picture.m_Height), size);
        }
    }
}

} // namespace
