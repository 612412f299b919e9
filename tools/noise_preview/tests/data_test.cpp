#include "noise_preview_run.h"
#include "picture_reference.h"

#include <zr_maths/maths_noise_fast.h>

#include <OpenEXR/ImfChannelList.h>
#include <OpenEXR/ImfFrameBuffer.h>
#include <OpenEXR/ImfHeader.h>
#include <OpenEXR/ImfInputFile.h>

#include <cstring>
#include <string>
#include <vector>

namespace {

using namespace PictureReference;

/// The floats of a NumPy or raw file, whose header must be `header` and padding.
std::vector<float> FloatsOf(const std::string& content, const std::string& header) {
    constexpr size_t kHeaderSize = 128;
    EXPECT_GE(content.size(), kHeaderSize);
    const std::string begin = content.substr(0, kHeaderSize);
    EXPECT_EQ(begin.substr(0, header.size()), header);
    EXPECT_EQ(begin.find_first_not_of(" \n", header.size()), std::string::npos) << begin;
    EXPECT_EQ(begin.back(), '\n');
    std::vector<float> floats((content.size() - kHeaderSize) / sizeof(float));
    std::memcpy(floats.data(), content.data() + kHeaderSize, floats.size() * sizeof(float));
    EXPECT_EQ(content.size(), kHeaderSize + floats.size() * sizeof(float));
    return floats;
}

/// By the format's definition: signature, version 1.0, and the length of the dictionary, 118.
std::string NumpyHeader(const std::string& shape) {
    return std::string("\x93NUMPY\x01\x00\x76\x00", 10) +
           "{'descr': '<f4', 'fortran_order': False, 'shape': " + shape + ", }";
}

std::string RawHeader(const std::string& shape) {
    return "vestrel noise raw 1\nfloat32 little-endian\nshape " + shape;
}

void ExpectSameBits(const std::vector<float>& values, const std::vector<float>& expected,
                    const std::string& what) {
    ASSERT_EQ(values.size(), expected.size()) << what;
    for (size_t k = 0; k < values.size(); ++k) {
        ASSERT_EQ(std::memcmp(&values[k], &expected[k], sizeof(float)), 0)
            << what << ", number " << k << ": " << values[k] << " instead of " << expected[k];
    }
}

class NoisePreviewData : public NoisePreview {
protected:
    template <typename TPosition>
    std::vector<float> Samples(TSampler<TPosition> sampler, const std::vector<TPosition>& positions) const {
        std::vector<float> samples(kPixelCount);
        (m_Noise.*sampler)({samples.data(), kPixelCount, 4},
                           {positions.data(), kPixelCount, sizeof(TPosition)});
        return samples;
    }

    /// Three derivatives for each pixel, in the slice at 0.5.
    std::vector<float> Gradients() const {
        const auto cells = RecordsOf([](float x, float y) {
            const int i = static_cast<int>(x);
            const int j = static_cast<int>(y);
            return CSplitPosition{{x - static_cast<float>(i), y - static_cast<float>(j), 0.5f, 0.0f},
                                  {i, j, 0, 0}};
        });
        std::vector<TVector<float, 4>> gradients(kPixelCount);
        m_Noise.Sample1stOrderDerivativesQuintic({cells.data(), kPixelCount},
                                                 {gradients.data(), kPixelCount});
        std::vector<float> floats;
        for (const TVector<float, 4>& gradient : gradients) {
            floats.insert(floats.end(), {gradient.x, gradient.y, gradient.z});
        }
        return floats;
    }

    std::string Written(const std::string& options, const std::string& name) const {
        const CResult result = Run(kOptions + options + " --output " + name);
        EXPECT_EQ(result.m_ExitCode, 0) << options << ": " << result.m_Errors;
        return ReadFile(m_Folder / name);
    }

    std::vector<float> Channel(const std::string& name, const std::string& channel) const {
        Imf::InputFile file((m_Folder / name).c_str());
        EXPECT_EQ(file.header().dataWindow().max.x + 1, static_cast<int>(kWidth));
        const int rowCount = file.header().dataWindow().max.y + 1;
        const Imf::Channel* const found = file.header().channels().findChannel(channel);
        if (found == nullptr || found->type != Imf::FLOAT) {
            ADD_FAILURE() << name << " has no floats " << channel;
            return {};
        }
        std::vector<float> values(size_t{kWidth} * static_cast<size_t>(rowCount));
        Imf::FrameBuffer buffer;
        buffer.insert(channel, Imf::Slice(Imf::FLOAT, reinterpret_cast<char*>(values.data()), sizeof(float),
                                          sizeof(float) * kWidth));
        file.setFrameBuffer(buffer);
        file.readPixels(0, rowCount - 1);
        return values;
    }

    CStdRandomGenerator m_Generator = CStdRandomGenerator(kSeed);
    const CFastNoise3 m_Noise = CFastNoise3(&m_Generator);
};

TEST_F(NoisePreviewData, FilesHoldTheSamplesBitForBit) {
    const auto expected2D = Samples(&CFastNoise3::SampleCubic2D, PlanePositions());
    const auto expected3D = Samples(&CFastNoise3::SampleLinear3D, SlicePositions(-1.75f));
    const auto expected4D = Samples(&CFastNoise3::SampleQuintic4D, SlicePositions(0.5f, 300.3f));
    const std::string numpy = NumpyHeader("(140, 240)");
    ExpectSameBits(FloatsOf(Written("--dimension 2 --quality cubic", "a.npy"), numpy), expected2D, "2D");
    ExpectSameBits(FloatsOf(Written("--slice -1.75 --quality linear", "a.npy"), numpy), expected3D, "3D");
    ExpectSameBits(FloatsOf(Written("--dimension 4 --slice-w 300.3", "a.npy"), numpy), expected4D, "4D");
    ExpectSameBits(FloatsOf(Written("--dimension 4 --slice-w 300.3", "a.raw"), RawHeader("140 240")),
                   expected4D, "raw");
    Written("--slice -1.75 --quality linear", "a.exr");
    ExpectSameBits(Channel("a.exr", "Y"), expected3D, "OpenEXR");
}

TEST_F(NoisePreviewData, AFieldIn1DIsOneRow) {
    std::vector<float> positions(kWidth);
    std::vector<float> expected(kWidth);
    for (uint32_t x = 0; x < kWidth; ++x) {
        positions[x] = static_cast<float>((x + 0.5) / 20.0);
    }
    m_Noise.SampleQuintic1D({expected.data(), kWidth, 4}, {positions.data(), kWidth, 4});
    ExpectSameBits(FloatsOf(Written("--dimension 1", "a.npy"), NumpyHeader("(240,)")), expected, "NumPy");
    ExpectSameBits(FloatsOf(Written("--dimension 1", "a.raw"), RawHeader("240")), expected, "raw");
    Written("--dimension 1", "a.exr");
    ExpectSameBits(Channel("a.exr", "Y"), expected, "OpenEXR");
}

TEST_F(NoisePreviewData, GradientsAreThreeFloats) {
    const std::vector<float> expected = Gradients();
    const std::string options = "--shade gradient";
    ExpectSameBits(FloatsOf(Written(options, "a.npy"), NumpyHeader("(140, 240, 3)")), expected, "NumPy");
    ExpectSameBits(FloatsOf(Written(options, "a.raw"), RawHeader("140 240 3")), expected, "raw");
    Written(options, "a.exr");
    const std::string names[] = {"gradient.x", "gradient.y", "gradient.z"};
    for (size_t axis = 0; axis < 3; ++axis) {
        const std::vector<float> values = Channel("a.exr", names[axis]);
        for (size_t k = 0; k < values.size(); ++k) {
            ASSERT_EQ(values[k], expected[3 * k + axis]) << names[axis] << ", pixel " << k;
        }
    }
}

TEST_F(NoisePreviewData, StandardOutputGetsWhatTheFileWould) {
    for (const std::string format : {"png", "exr", "npy", "raw"}) {
        const std::string expected = Written("", "a." + format);
        const CResult result = Run(kOptions + "--output - --format " + format);
        EXPECT_EQ(result.m_ExitCode, 0) << result.m_Errors;
        EXPECT_TRUE(result.m_Output == expected) << format;
        EXPECT_NE(result.m_Errors.find("standard output: 33600 positions, "), std::string::npos)
            << result.m_Errors;
    }
    EXPECT_TRUE(Run(kOptions + "--output -").m_Output == ReadFile(m_Folder / "a.png"))
        << "the default is PNG";
    const std::string moving = Written("--animate 0.2", "a.webp");
    EXPECT_TRUE(Run(kOptions + "--animate 0.2 --output -").m_Output == moving);
    EXPECT_EQ(Files().size(), 5u) << "nothing else was left";
}

TEST_F(NoisePreviewData, StandardOutputThatCannotBeWrittenIsSaid) {
    const CResult result = Run("--size 9x9 --output - >/dev/full");
    EXPECT_EQ(result.m_ExitCode, 1);
    EXPECT_EQ(WithoutProgress(result.m_Errors),
              "noise_preview: standard output cannot be written: No space left on device\n");
    ExpectFailure("--size 9x9 --output -", "a temporary file cannot be made", "TMPDIR=/nowhere exec");
}

TEST_F(NoisePreviewData, TheFormatMayBeNamed) {
    const std::string expected = Written("", "a.npy");
    EXPECT_TRUE(Written("--format npy", "b") == expected);
    EXPECT_TRUE(Written("--format npy", "a.NPY") == expected);
    ASSERT_EQ(Run(kOptions + "--format npy").m_ExitCode, 0);
    EXPECT_TRUE(ReadFile(m_Folder / "noise.npy") == expected);
    ExpectUsageError("--format npy --output a.raw", "--format: 'npy' is not the format of 'a.raw'");
    ExpectUsageError("--format webp", "which only --animate writes");
    ExpectUsageError("--format png --animate 1", "not a .webp file, as animations are");
}

TEST_F(NoisePreviewData, WhatOnlyPicturesHaveIsRefused) {
    for (const std::string name : {"a.exr", "a.npy", "a.raw"}) {
        for (const std::string option : {"--colours viridis", "--compare qualities", "--curve"}) {
            ExpectUsageError(option + " --output " + name,
                             option.substr(0, option.find(' ')) + ": it is for pictures, not for .exr");
        }
        ExpectUsageError("--bits 16 --output " + name, "--bits: it is for PNG files only");
    }
}

TEST_F(NoisePreviewData, SizesThatAFormatCannotHoldAreRefusedByName) {
    struct CCase {
        std::string m_Options;
        std::string m_Size;
        std::string m_Limit;
    };
    const CCase cases[] = {
        {"", "2147483648x1", "a PNG file, which has at most 2147483647 pixels a side"},
        {"--cells 1 --output a.exr", "128x1073741823",
         "an OpenEXR file, which has at most 1073741822 pixels a side"},
        {"--output a.exr", "536870912x1",
         "an OpenEXR file, which has at most 536870911 pixels of 4 bytes a row"},
        {"--shade gradient --output a.exr", "178956971x1",
         "an OpenEXR file, which has at most 178956970 pixels of 12 bytes a row"},
        {"--output a.npy", "4294967295x4294967295",
         "a NumPy file, which has at most 9223372036854775679 bytes of samples"},
        {"--animate 1", "16384x1", "a WebP file, which has at most 16383 pixels a side"},
    };
    for (const CCase& large : cases) {
        ExpectUsageError("--size " + large.m_Size + " " + large.m_Options,
                         "--size: '" + large.m_Size + "' is too large for " + large.m_Limit);
    }
    ExpectUsageError("--compare qualities --size 1000000000x1",
                     "--size: '3000000016x27' is too large for a PNG");
    ExpectUsageError("--animate 1 --compare qualities --size 6000x10", "too large for a WebP file");
}

TEST_F(NoisePreviewData, StatisticsAreThoseOfTheValues) {
    const std::string options = kOptions + "--stats --output ";
    const auto textOf = [&](const std::string& more) {
        const std::string output = Run(options + more).m_Output;
        return output.substr(output.find('\n'));
    };
    const std::string expected = textOf("a.png");
    EXPECT_GT(expected.size(), 100u);
    EXPECT_EQ(textOf("a.npy"), expected);
    EXPECT_EQ(textOf("a.exr --shade gradient"), expected);
}

} // namespace
