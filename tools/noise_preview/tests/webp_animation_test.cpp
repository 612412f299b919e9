#include "noise_preview_run.h"
#include "picture_reference.h"

#include <zr_maths/maths_noise_fast.h>

#include <webp/demux.h>

#include <cmath>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <memory>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

using namespace PictureReference;

struct CFrame {
    std::vector<uint8_t> m_Pixels;
    int m_End; // in milliseconds
};

struct CAnimation {
    uint32_t m_Width = 0;
    uint32_t m_Height = 0;
    uint32_t m_LoopCount = 1;
    uint32_t m_FrameCount = 0;
    std::vector<CFrame> m_Frames;
};

/// Checks that all pixels are grey, up to the decoder's rounding.
CFrame GreyFrameOf(const uint8_t* rgba, size_t pixelCount, int end) {
    CFrame frame = {std::vector<uint8_t>(pixelCount), end};
    size_t colouredCount = 0;
    for (size_t k = 0; k < pixelCount; ++k) {
        const auto [least, most] = std::minmax({rgba[4 * k], rgba[4 * k + 1], rgba[4 * k + 2]});
        colouredCount += most - least > 1 || rgba[4 * k + 3] != 255 ? 1 : 0;
        frame.m_Pixels[k] = rgba[4 * k + 1];
    }
    EXPECT_EQ(colouredCount, 0u);
    return frame;
}

CAnimation ReadWebp(const fs::path& path) {
    const std::string content = ReadFile(path);
    uint32_t size = 0; // of what follows
    std::memcpy(&size, content.data() + 4, content.size() < 8 ? 0 : 4);
    EXPECT_EQ(size + 8, content.size());
    const WebPData data = {reinterpret_cast<const uint8_t*>(content.data()), content.size()};
    const std::unique_ptr<WebPAnimDecoder, decltype(&WebPAnimDecoderDelete)> decoder(
        WebPAnimDecoderNew(&data, nullptr), WebPAnimDecoderDelete);
    CAnimation animation;
    WebPAnimInfo info;
    if (decoder == nullptr || WebPAnimDecoderGetInfo(decoder.get(), &info) == 0) {
        ADD_FAILURE() << path << " is no animation";
        return animation;
    }
    animation = {info.canvas_width, info.canvas_height, info.loop_count, info.frame_count, {}};
    while (WebPAnimDecoderHasMoreFrames(decoder.get()) != 0) {
        uint8_t* rgba = nullptr;
        int end = 0;
        if (WebPAnimDecoderGetNext(decoder.get(), &rgba, &end) == 0) {
            ADD_FAILURE() << path << ": frame " << animation.m_Frames.size() << " cannot be decoded";
            break;
        }
        const size_t pixelCount = size_t{info.canvas_width} * info.canvas_height;
        animation.m_Frames.push_back(GreyFrameOf(rgba, pixelCount, end));
    }
    return animation;
}

/// The mean difference of two pictures, in greys.
template <typename TGrey>
double Difference(const std::vector<uint8_t>& pixels, const std::vector<TGrey>& greys) {
    EXPECT_EQ(pixels.size(), greys.size());
    double sum = 0.0;
    for (size_t k = 0; k < pixels.size() && k < greys.size(); ++k) {
        sum += std::fabs(static_cast<double>(pixels[k]) - static_cast<double>(greys[k]));
    }
    return sum / static_cast<double>(pixels.size());
}

/// Mean error of the lossy encoder; consecutive frames differ much more.
constexpr double kLoss = 1.5;

class NoisePreviewAnimation : public NoisePreview {
protected:
    CAnimation Animate(const std::string& options) const {
        const CResult result = Run(options + " --output a.webp");
        EXPECT_EQ(result.m_ExitCode, 0) << result.m_Errors;
        EXPECT_EQ(result.m_Errors, "") << options; // quiet where there is no terminal
        return ReadWebp(m_Folder / "a.webp");
    }

    /// Compares each frame with what `draw` makes of the field at that time.
    template <typename TDraw>
    void ExpectFrames(const std::string& options, const TDraw& draw, float variation = 0.5f,
                      float turnsPerSecond = 1.0f) const {
        const CAnimation animation = Animate(
            kOptions + options + " --animate 0.8 --fps 10 --spin-variation " + std::to_string(variation));
        CStdRandomGenerator generator(kSeed);
        CRotatableFastNoise3 noise(&generator);
        noise.SetSpinVariation(variation);
        ASSERT_EQ(animation.m_Frames.size(), 8u);
        for (size_t k = 0; k < 8; ++k) {
            noise.RotateBasis(static_cast<float>(k) / 10.0f * turnsPerSecond);
            const std::vector<double> greys = draw(noise);
            EXPECT_LT(Difference(animation.m_Frames[k].m_Pixels, greys), kLoss) << options << ", frame " << k;
            EXPECT_GT(Difference(animation.m_Frames[(k + 1) % 8].m_Pixels, greys), 2.0 * kLoss)
                << options << ": frame " << k << " does not differ from the next";
        }
    }
};

TEST_F(NoisePreviewAnimation, FramesOfA3DSlice) {
    ExpectFrames("--slice 2.25 --quality linear",
                 [positions = SlicePositions(2.25f)](const CFastNoise3& noise) {
                     return DrawValues(noise, &CFastNoise3::SampleLinear3D, positions);
                 });
}

TEST_F(NoisePreviewAnimation, FramesOfA4DSlice) {
    const std::string options = "--dimension 4 --slice 2.25 --slice-w 8.75";
    ExpectFrames(options, [positions = SlicePositions(2.25f, 8.75f)](const CFastNoise3& noise) {
        return DrawValues(noise, &CFastNoise3::SampleQuintic4D, positions);
    });
}

TEST_F(NoisePreviewAnimation, FramesOfAGradient) {
    ExpectFrames("--shade gradient --slice 2.25", [](const CFastNoise3& noise) {
        return DrawGradients(noise, &CFastNoise3::Sample1stOrderDerivativesQuintic, 2, 0.25f);
    });
}

TEST_F(NoisePreviewAnimation, TurnsTakeAsLongAsAsked) {
    const auto draw = [positions = SlicePositions(0.5f)](const CFastNoise3& noise) {
        return DrawValues(noise, &CFastNoise3::SampleQuintic3D, positions);
    };
    ExpectFrames("--turn-seconds 2.5", draw, 0.0f, 0.4f);
}

TEST_F(NoisePreviewAnimation, LoopsForEverWithFramesAsLongAsAsked) {
    const CAnimation animation = Animate("--animate 1 --fps 30 --size 31x17");
    EXPECT_EQ(animation.m_Width, 31u);
    EXPECT_EQ(animation.m_Height, 17u);
    EXPECT_EQ(animation.m_LoopCount, 0u); // for ever
    EXPECT_EQ(animation.m_FrameCount, 30u);
    ASSERT_EQ(animation.m_Frames.size(), 30u);
    for (size_t k = 0; k < 30; ++k) {
        // 33 or 34 milliseconds each, without drift.
        EXPECT_EQ(animation.m_Frames[k].m_End, std::lround(static_cast<double>(k + 1) * 1000.0 / 30.0));
    }
}

TEST_F(NoisePreviewAnimation, FrameCountsAreRounded) {
    const std::string tiny = "--size 4x4 --cells 1 ";
    EXPECT_EQ(Animate(tiny + "--animate 0.26 --fps 10").m_Frames.size(), 3u);
    EXPECT_EQ(Animate(tiny + "--animate 0.24 --fps 10").m_Frames.size(), 2u);
    EXPECT_EQ(Animate(tiny + "--animate 2").m_Frames.size(), 50u);
    EXPECT_EQ(Animate(tiny + "--animate 0.5 --fps 100").m_Frames.size(), 50u);
    EXPECT_EQ(Animate(tiny + "--animate 60 --fps 1").m_Frames.size(), 60u); // all alike
    EXPECT_EQ(Animate(tiny + "--animate 1 --fps 1").m_Frames.size(), 1u);
}

TEST_F(NoisePreviewAnimation, WholeTurnsRepeatWithoutSpinVariation) {
    const CAnimation animation = Animate("--animate 2 --fps 10 --size 100x100");
    ASSERT_EQ(animation.m_Frames.size(), 20u);
    for (size_t k = 0; k < 10; ++k) {
        EXPECT_LT(Difference(animation.m_Frames[k].m_Pixels, animation.m_Frames[k + 10].m_Pixels), kLoss);
    }
    EXPECT_GT(Difference(animation.m_Frames[0].m_Pixels, animation.m_Frames[5].m_Pixels), 10.0);
}

TEST_F(NoisePreviewAnimation, TheDefaultNameIsThatOfTheFormat) {
    const std::string options = "--size 10x10 ";
    ASSERT_EQ(Run(options + "--animate 0.1").m_ExitCode, 0);
    EXPECT_EQ(ReadWebp(m_Folder / "noise.webp").m_Width, 10u);
    EXPECT_EQ(Files().size(), 1u);
    fs::create_directory(m_Folder / "folder");
    EXPECT_EQ(Run(options + "--output folder/ --animate 0.1").m_Output.find("folder/noise.webp: "), 0u);
    EXPECT_EQ(ReadWebp(m_Folder / "folder/noise.webp").m_Width, 10u);
}

TEST_F(NoisePreviewAnimation, TheLongestSidesWork) {
    EXPECT_EQ(Animate("--animate 0.04 --size 16383x1").m_Width, 16383u);
    EXPECT_EQ(Animate("--animate 0.04 --size 1x16383 --cells 1").m_Height, 16383u);
}

TEST_F(NoisePreviewAnimation, FramesAreNotKeptAsPictures) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "sanitizers need more address space than is left here";
#endif
    // 60 MB of pixels in 40 MB of memory.
    const CResult result = Run("--animate 1 --fps 60 --size 1000x1000 --cells 2", "ulimit -v 40000 && exec");
    EXPECT_EQ(result.m_ExitCode, 0) << result.m_Errors;
    ExpectFailure("--animate 1 --size 8000x8000 --output b.webp",
                  "8000 x 8000 pixels does not fit into memory", "ulimit -v 100000 && exec");
}

TEST_F(NoisePreviewAnimation, ATerminalGetsABar) {
    const int terminal = posix_openpt(O_RDWR | O_NOCTTY);
    if (terminal < 0) {
        GTEST_SKIP() << "this machine has no pseudo-terminals";
    }
    ASSERT_EQ(grantpt(terminal), 0);
    ASSERT_EQ(unlockpt(terminal), 0);
    const std::string name = ptsname(terminal);
    const int other = open(name.c_str(), O_RDWR | O_NOCTTY); // keeps the output until it is read
    ASSERT_GE(other, 0);
    EXPECT_EQ(Run("--animate 0.5 --fps 4 --size 40x40 2>" + name).m_ExitCode, 0);
    char text[4096] = "";
    EXPECT_GT(read(terminal, text, sizeof(text) - 1), 0);
    const std::string full(40, '#');
    EXPECT_NE(std::string(text).find("\rdrawing [" + full + "] 100 %\r\n"), std::string::npos) << text;
    close(other);
    close(terminal);
}

} // namespace
