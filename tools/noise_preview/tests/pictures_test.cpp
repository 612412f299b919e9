// Colours, panels, curves and seams.
#include "noise_preview_run.h"
#include "picture_reference.h"
#include "png_reader.h"

#include <zr_maths/maths_noise_fast.h>
#include <zr_support/simd_backend.h>

#include <array>
#include <cmath>
#include <string>
#include <vector>

namespace {

using namespace PictureReference;

class NoisePreviewMorePictures : public NoisePreview {
protected:
    CRawPng Draw(const std::string& options) const {
        const CResult result = Run(options + " --output a.png");
        EXPECT_EQ(result.m_ExitCode, 0) << options << ": " << result.m_Errors;
        return ReadRawPng(m_Folder / "a.png");
    }

    std::vector<float> Samples() const {
        const auto positions = SlicePositions(0.5f);
        std::vector<float> samples(kPixelCount);
        m_Noise.SampleQuintic3D({samples.data(), kPixelCount, 4}, {positions.data(), kPixelCount, 12});
        return samples;
    }

    CStdRandomGenerator m_Generator = CStdRandomGenerator(kSeed);
    const CFastNoise3 m_Noise = CFastNoise3(&m_Generator);
};

TEST_F(NoisePreviewMorePictures, SixteenBitsPixelByPixel) {
    const CRawPng picture = Draw(kOptions + "--bits 16");
    ASSERT_EQ(picture.m_Bits, 16u);
    ASSERT_EQ(picture.m_Channels, 1u);
    const std::vector<float> samples = Samples();
    for (size_t k = 0; k < kPixelCount; ++k) {
        ASSERT_NEAR(picture.m_Levels[k], (static_cast<double>(samples[k]) + 1.0) * 32767.5, 0.51)
            << "pixel " << k;
    }
    EXPECT_EQ(Draw(kOptions + "--bits 16 --colours magma").m_Bits, 16u);
    EXPECT_EQ(Draw(kOptions + "--bits 8").m_Bits, 8u);
}

/// Five colours of each map from -1 to 1, by the papers and tables that define it.
struct CColourMap {
    std::string m_Name;
    std::vector<std::array<double, 3>> m_Colours;
};

const CColourMap kColourMaps[] = {
    {"viridis", {{68, 1, 84}, {59, 82, 139}, {33, 145, 140}, {94, 201, 98}, {253, 231, 37}}},
    {"magma", {{0, 0, 4}, {81, 18, 124}, {183, 55, 121}, {252, 137, 97}, {252, 253, 191}}},
    {"coolwarm", {{59, 76, 192}, {141, 176, 254}, {221, 221, 221}, {244, 152, 122}, {180, 4, 38}}},
};

TEST_F(NoisePreviewMorePictures, ColoursAreThoseOfTheMaps) {
    const std::vector<float> samples = Samples();
    for (const CColourMap& map : kColourMaps) {
        const CRawPng picture = Draw(kOptions + "--colours " + map.m_Name);
        ASSERT_EQ(picture.m_Channels, 3u);
        for (size_t k = 0; k < kPixelCount; ++k) {
            // Interpolated between five colours, where the program has nine: some levels apart.
            const double place = std::clamp((static_cast<double>(samples[k]) + 1.0) * 2.0, 0.0, 3.999);
            const size_t index = static_cast<size_t>(place);
            for (size_t channel = 0; channel < 3; ++channel) {
                const double from = map.m_Colours[index][channel];
                const double to = map.m_Colours[index + 1][channel];
                const double colour = from + (to - from) * (place - static_cast<double>(index));
                ASSERT_NEAR(picture.m_Levels[3 * k + channel], colour, 26.0) << map.m_Name << ", pixel " << k;
            }
        }
    }
}

TEST_F(NoisePreviewMorePictures, GreyIsTheDefaultColour) {
    EXPECT_EQ(Draw(kOptions + "--colours grey").m_Levels, Draw(kOptions).m_Levels);
}

TEST_F(NoisePreviewMorePictures, ColoursOfAGradientAreLit) {
    const CRawPng colours = Draw(kOptions + "--colours terrain");
    const CRawPng light = Draw(kOptions + "--shade gradient --bits 16");
    const CRawPng lit = Draw(kOptions + "--shade gradient --colours terrain");
    for (size_t k = 0; k < kPixelCount; ++k) {
        // Level ground has a grey of 255 / sqrt(3), and keeps its colour.
        const double share = light.m_Levels[k] / 65535.0 * std::sqrt(3.0);
        for (size_t channel = 0; channel < 3; ++channel) {
            const double expected = std::min(255.0, colours.m_Levels[3 * k + channel] * share);
            ASSERT_NEAR(lit.m_Levels[3 * k + channel], expected, 2.0) << "pixel " << k;
        }
    }
}

/// The panel is in `picture`, below the labels, from column `left` on.
void ExpectPanel(const CRawPng& picture, uint32_t left, const CRawPng& panel, const std::string& what) {
    constexpr uint32_t kTop = 26;
    ASSERT_EQ(picture.m_Height, panel.m_Height + kTop);
    ASSERT_GE(picture.m_Width, left + panel.m_Width);
    for (uint32_t y = 0; y < panel.m_Height; ++y) {
        for (uint32_t x = 0; x < panel.m_Width; ++x) {
            ASSERT_EQ(picture.Level(left + x, y + kTop), panel.Level(x, y))
                << what << " at " << x << ", " << y;
        }
    }
    size_t inkCount = 0;
    for (uint32_t y = 0; y < kTop; ++y) {
        for (uint32_t x = 0; x < panel.m_Width; ++x) {
            inkCount += picture.Level(left + x, y) == 0 ? 1 : 0;
        }
    }
    EXPECT_GT(inkCount, 40u) << what << " has no label";
}

TEST_F(NoisePreviewMorePictures, QualitiesSideBySide) {
    const std::string options = "--size 200x90 --cells 5 ";
    for (const std::string more : {"--shade gradient", "--dimension 2", "--curve"}) {
        const CRawPng picture = Draw(options + more + " --compare qualities");
        ASSERT_EQ(picture.m_Width, 3 * 200u + 2 * 8u);
        uint32_t left = 0;
        for (const std::string quality : {"linear", "cubic", "quintic"}) {
            ExpectPanel(picture, left, Draw(options + more + " --quality " + quality), quality + ", " + more);
            left += 208;
        }
    }
}

TEST_F(NoisePreviewMorePictures, DimensionsSideBySide) {
    const std::string options = "--size 160x70 --cells 5 ";
    const CRawPng picture = Draw(options + "--slice 2.25 --slice-w 3.5 --compare dimensions");
    ASSERT_EQ(picture.m_Width, 4 * 160u + 3 * 8u);
    ExpectPanel(picture, 0, Draw(options + "--dimension 1"), "1D");
    ExpectPanel(picture, 168, Draw(options + "--dimension 2"), "2D");
    ExpectPanel(picture, 336, Draw(options + "--dimension 3 --slice 2.25"), "3D");
    ExpectPanel(picture, 504, Draw(options + "--dimension 4 --slice 2.25 --slice-w 3.5"), "4D");
}

/// The centre of the curve in column x of the plot in these rows.
double CurveRow(const CRawPng& picture, uint32_t x, uint32_t top, uint32_t bottom) {
    double weight = 0.0;
    double sum = 0.0;
    for (uint32_t y = top; y < bottom; ++y) {
        const double ink = std::max(0.0, 224.0 - picture.Level(x, y)); // red; grid lines have 224
        weight += ink;
        sum += ink * (y + 0.5);
    }
    return sum / weight;
}

TEST_F(NoisePreviewMorePictures, ALineAndItsDerivative) {
    constexpr uint32_t kColumns = 600;
    const CRawPng picture =
        Draw("--curve --line 3.25 --slice 0.75 --size 600x400 --cells 6 --seed 7 --quality cubic");
    ASSERT_EQ(picture.m_Channels, 3u);
    for (uint32_t x = 0; x < kColumns; ++x) {
        const float place = static_cast<float>((x + 0.5) / 100.0);
        const SIMD_Neon::Float4 position(place, 3.25f, 0.75f, 0.0f);
        const TVector<float, 3> packed[2] = {{place, 3.25f, 0.75f}, {}};
        float value = 0.0f;
        m_Noise.SampleCubic3D({&value, 1, 4}, {packed, 1, 12});
        const TVector<float, 4> gradient =
            SIMD_Neon::_LanesAsReceived(m_Noise.Sample1stOrderDerivativesCubic(position));
        // Below its label of 26 rows, a plot has 174, from 1.1 to -1.1 or from 4 to -4.
        EXPECT_NEAR(CurveRow(picture, x, 26, 200), 113.0 - static_cast<double>(value) / 1.1 * 87.0, 1.0) << x;
        EXPECT_NEAR(CurveRow(picture, x, 226, 400), 313.0 - static_cast<double>(gradient.x) / 4.0 * 87.0, 1.0)
            << x;
    }
}

TEST_F(NoisePreviewMorePictures, WhereADerivativeJumpsItsLineGoesNoFurther) {
    constexpr uint32_t kColumns = 600;
    const CRawPng picture =
        Draw("--curve --line 3.25 --slice 0.75 --size 600x400 --cells 6 --seed 7 --quality linear");
    std::vector<double> rows; // of the curve; in this quality, the derivative is constant in a cell
    for (uint32_t x = 0; x < kColumns; ++x) {
        const SIMD_Neon::Float4 position(static_cast<float>((x + 0.5) / 100.0), 3.25f, 0.75f, 0.0f);
        const TVector<float, 4> gradient =
            SIMD_Neon::_LanesAsReceived(m_Noise.Sample1stOrderDerivativesLinear(position));
        rows.push_back(313.0 - static_cast<double>(gradient.x) / 4.0 * 87.0);
    }
    for (uint32_t x = 1; x + 1 < kColumns; ++x) {
        const auto [least, most] = std::minmax({rows[x - 1], rows[x], rows[x + 1]});
        for (uint32_t y = 226; y < 400; ++y) {
            const bool isCovered = y + 1 > least - 1.0 && y < most + 1.0;
            // Grid lines have a level of 224.
            EXPECT_TRUE(isCovered || picture.Level(x, y) >= 224.0) << x << ", " << y;
            const bool isInside = y > least && y + 1 < most;
            EXPECT_TRUE(!isInside || picture.Level(x, y) < 64.0) << x << ", " << y;
        }
    }
}

/// The label at each size is the whole text or its first word, clear of the curve.
TEST_F(NoisePreviewMorePictures, LabelsOfCurvesAreNotCutShort) {
    const CRawPng large = Draw("--curve --size 1000x400");
    const CRawPng small = Draw("--curve --size 200x200");
    const CRawPng tiny = Draw("--curve --size 60x120");
    for (uint32_t top : {0u, 1u}) { // the upper and the lower plot
        size_t inkCount = 0;
        for (uint32_t y = 0; y < 13; ++y) {
            for (uint32_t x = 0; x < 200; ++x) {
                // Half as large, 6 columns from the left.
                const uint32_t level = large.Level(x < 6 ? x : 2 * x - 6, top * 200 + 2 * y);
                EXPECT_EQ(small.Level(x, top * 100 + y), level) << x << ", " << y;
                inkCount += level < 255 ? 1 : 0;
                const uint32_t wordWidth = top == 0 ? 36 : 30; // "value" or "d/dx"
                if (x < 60) {
                    EXPECT_EQ(tiny.Level(x, top * 60 + y), x < wordWidth ? level : 255) << x << ", " << y;
                }
            }
        }
        EXPECT_GT(inkCount, 100u);
    }
    EXPECT_EQ(Draw("--curve --size 1x1").m_Width, 1u);
    EXPECT_EQ(Draw("--curve --size 3x2 --cells 1000").m_Height, 2u);
}

TEST_F(NoisePreviewMorePictures, TheEndOfAPeriodMeetsTheBeginningOfTheNext) {
    // 240 x 140 pixels of 12 x 7 cells, the middle of which is the lattice point (256, 256).
    const CRawPng picture = Draw(kOptions + "--tile");
    ASSERT_EQ(picture.m_Channels, 3u);
    const auto positions = RecordsOf([](float x, float y) {
        // One period earlier, where the middle of the picture is the origin.
        return TVector<float, 3>{x - 6.0f, y - 3.5f, 0.5f};
    });
    std::vector<float> samples(kPixelCount);
    m_Noise.SampleQuintic3D({samples.data(), kPixelCount, 4}, {positions.data(), kPixelCount, 12});
    size_t markCount = 0;
    for (uint32_t y = 0; y < kHeight; ++y) {
        for (uint32_t x = 0; x < kWidth; ++x) {
            if (picture.Level(x, y, 0) != picture.Level(x, y, 1)) {
                const bool isAtMiddle = x == 119 || x == 120 || y == 69 || y == 70;
                EXPECT_TRUE(isAtMiddle) << "a mark at " << x << ", " << y;
                ++markCount;
                continue;
            }
            const double grey = (static_cast<double>(samples[y * kWidth + x]) + 1.0) * 127.5;
            ASSERT_NEAR(picture.Level(x, y), grey, 0.51) << x << ", " << y;
        }
    }
    EXPECT_EQ(markCount, 4u * 2u * (140u / 16u));
}

TEST_F(NoisePreviewMorePictures, AlongACurvePeriodsMeetInTheMiddleOfItsWidth) {
    for (const std::string more : {"--dimension 1", "--compare dimensions"}) {
        const CRawPng picture = Draw("--tile --cells 6 --size 120x80 " + more);
        const uint32_t top = picture.m_Height - 80; // below the labels, if there are any
        size_t markCount = 0;
        for (uint32_t y = top; y < picture.m_Height; ++y) {
            for (uint32_t x = 0; x < 120; ++x) {
                const bool isMark = picture.Level(x, y, 0) != picture.Level(x, y, 1);
                markCount += isMark ? 1 : 0;
                EXPECT_TRUE(!isMark || x == 59 || x == 60) << more << ": a mark at " << x << ", " << y;
            }
        }
        EXPECT_EQ(markCount, 2u * 2u * (80u / 16u)) << more;
    }
}

} // namespace
