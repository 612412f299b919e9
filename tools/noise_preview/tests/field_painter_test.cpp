#include "noise_preview_run.h"
#include "picture_reference.h"

#include <zr_maths/maths_noise_fast.h>

#include <cmath>
#include <string>
#include <vector>

namespace {

using namespace PictureReference;

class NoisePreviewPictures : public NoisePreview {
protected:
    void ExpectPicture(const std::string& options, const std::vector<double>& greys) const {
        const CResult result = Run(kOptions + options + " --output field.png");
        ASSERT_EQ(result.m_ExitCode, 0) << result.m_Errors;
        const CGreyPng picture = ReadPng(m_Folder / "field.png");
        ASSERT_EQ(picture.m_Width, kWidth);
        ASSERT_EQ(picture.m_Height, kHeight);
        for (uint32_t k = 0; k < kPixelCount; ++k) {
            // Rounded to the nearest grey, give or take float rounding.
            ASSERT_NEAR(picture.m_Pixels[k], greys[k], 0.5001)
                << options << ", pixel " << k % kWidth << ", " << k / kWidth;
        }
    }

    template <typename TPosition>
    void ExpectQualities(const std::string& options, const std::vector<TPosition>& positions,
                         TSampler<TPosition> linear, TSampler<TPosition> cubic,
                         TSampler<TPosition> quintic) const {
        ExpectPicture(options + " --quality linear", DrawValues(m_Noise, linear, positions));
        ExpectPicture(options + " --quality cubic", DrawValues(m_Noise, cubic, positions));
        ExpectPicture(options + " --quality quintic", DrawValues(m_Noise, quintic, positions));
    }

    CStdRandomGenerator m_Generator = CStdRandomGenerator(kSeed);
    const CFastNoise3 m_Noise = CFastNoise3(&m_Generator);
};

TEST_F(NoisePreviewPictures, EveryQualityOfA2DPlanePixelByPixel) {
    ExpectQualities("--dimension 2", PlanePositions(), &CFastNoise3::SampleLinear2D,
                    &CFastNoise3::SampleCubic2D, &CFastNoise3::SampleQuintic2D);
}

TEST_F(NoisePreviewPictures, EveryQualityOfA3DSlicePixelByPixel) {
    ExpectQualities("--dimension 3 --slice -1.75", SlicePositions(-1.75f), &CFastNoise3::SampleLinear3D,
                    &CFastNoise3::SampleCubic3D, &CFastNoise3::SampleQuintic3D);
}

TEST_F(NoisePreviewPictures, EveryQualityOfA4DSlicePixelByPixel) {
    ExpectQualities("--dimension 4 --slice -1.75 --slice-w 300.3", SlicePositions(-1.75f, 300.3f),
                    &CFastNoise3::SampleLinear4D, &CFastNoise3::SampleCubic4D, &CFastNoise3::SampleQuintic4D);
}

TEST_F(NoisePreviewPictures, EveryQualityOfAGradientPixelByPixel) {
    const auto draw = [&](TGradientSampler sampler) {
        return DrawGradients(m_Noise, sampler, 254, 0.25f); // cell -2, repeated after 256
    };
    const std::string options = "--shade gradient --slice -1.75 --quality ";
    ExpectPicture(options + "linear", draw(&CFastNoise3::Sample1stOrderDerivativesLinear));
    ExpectPicture(options + "cubic", draw(&CFastNoise3::Sample1stOrderDerivativesCubic));
    ExpectPicture(options + "quintic", draw(&CFastNoise3::Sample1stOrderDerivativesQuintic));
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
