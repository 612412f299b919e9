#include "noise_preview_run.h"

#include <zr_maths/maths_noise_fast.h>

#include <cmath>
#include <cstdio>
#include <sstream>
#include <string>
#include <vector>

namespace {

using namespace Vestrel;

struct CBar {
    double m_From = 0.0;
    double m_To = 0.0;
    unsigned long long m_Count = 0;
    size_t m_Length = 0;
};

struct CStatisticsText {
    double m_Min = 0.0;
    double m_Max = 0.0;
    double m_Mean = 0.0;
    std::vector<CBar> m_Bars;
};

CBar ParseBar(const std::string& line) {
    CBar bar;
    EXPECT_EQ(std::sscanf(line.c_str(), "%lf to %lf %llu", &bar.m_From, &bar.m_To, &bar.m_Count), 3) << line;
    bar.m_Length = static_cast<size_t>(std::count(line.begin(), line.end(), '#'));
    return bar;
}

/// Parses the lines after the report.
CStatisticsText ParseStatistics(const std::string& output) {
    CStatisticsText text;
    std::istringstream lines(output);
    std::string line;
    std::getline(lines, line);
    EXPECT_NE(line.find(" ns per position"), std::string::npos) << line;
    std::getline(lines, line);
    EXPECT_EQ(std::sscanf(line.c_str(), "minimum %lf, maximum %lf, mean %lf", &text.m_Min, &text.m_Max,
                          &text.m_Mean),
              3)
        << line;
    while (std::getline(lines, line)) {
        text.m_Bars.push_back(ParseBar(line));
    }
    return text;
}

void ExpectStatistics(const CStatisticsText& text, const std::vector<float>& samples) {
    double sum = 0.0;
    for (const float sample : samples) {
        sum += static_cast<double>(sample);
    }
    EXPECT_NEAR(text.m_Min, static_cast<double>(*std::min_element(samples.begin(), samples.end())), 1e-6);
    EXPECT_NEAR(text.m_Max, static_cast<double>(*std::max_element(samples.begin(), samples.end())), 1e-6);
    EXPECT_NEAR(text.m_Mean, sum / static_cast<double>(samples.size()), 1e-6);
    ASSERT_EQ(text.m_Bars.size(), 16u);
    unsigned long long most = 0;
    for (const CBar& bar : text.m_Bars) {
        most = std::max(most, bar.m_Count);
    }
    for (size_t k = 0; k < 16; ++k) {
        const CBar& bar = text.m_Bars[k];
        EXPECT_EQ(bar.m_From, -1.0 + 0.125 * static_cast<double>(k));
        EXPECT_EQ(bar.m_To, bar.m_From + 0.125);
        const auto isInside = [&](float sample) {
            return static_cast<double>(sample) >= bar.m_From &&
                   (static_cast<double>(sample) < bar.m_To || k == 15);
        };
        EXPECT_EQ(bar.m_Count, std::count_if(samples.begin(), samples.end(), isInside)) << "bar " << k;
        const double length = 50.0 * static_cast<double>(bar.m_Count) / static_cast<double>(most);
        EXPECT_EQ(static_cast<double>(bar.m_Length), std::ceil(length)) << "bar " << k;
    }
}

TEST_F(NoisePreview, StatisticsOfASlice) {
    // More samples than the program takes per chunk.
    constexpr uint32_t kSide = 200;
    std::vector<TVector<float, 2>> positions(kSide * kSide);
    for (uint32_t k = 0; k < positions.size(); ++k) {
        positions[k] = {(static_cast<float>(k % kSide) + 0.5f) * 0.125f,
                        (static_cast<float>(k / kSide) + 0.5f) * 0.125f};
    }
    std::vector<float> samples(positions.size());
    CStdRandomGenerator generator(3);
    CFastNoise3(&generator)
        .SampleLinear2D({samples.data(), kSide * kSide, 4}, {positions.data(), kSide * kSide, 8});

    const std::string options = "--dimension 2 --quality linear --cells 25 --size 200x200 --seed 3";
    const CResult result = Run(options + " --stats");
    ASSERT_EQ(result.m_ExitCode, 0) << result.m_Errors;
    ExpectStatistics(ParseStatistics(result.m_Output), samples);
}

TEST_F(NoisePreview, StatisticsOfAGradientPictureAreOfTheValues) {
    const CResult values = Run("--size 200x150 --stats");
    const CResult gradient = Run("--size 200x150 --stats --shade gradient");
    ASSERT_EQ(gradient.m_ExitCode, 0) << gradient.m_Errors;
    EXPECT_EQ(gradient.m_Output.substr(gradient.m_Output.find('\n')),
              values.m_Output.substr(values.m_Output.find('\n')));
    EXPECT_EQ(gradient.m_Output.find("noise.png: 30000 positions, "), 0u) << gradient.m_Output;
}

TEST_F(NoisePreview, StatisticsOfAnAnimationAreOfAllFrames) {
    constexpr uint32_t kColumns = 300;
    constexpr uint32_t kFrames = 7;
    std::vector<float> positions(kColumns);
    for (uint32_t k = 0; k < kColumns; ++k) {
        positions[k] = static_cast<float>((k + 0.5) * 16.0 / 300.0);
    }
    std::vector<float> samples(kColumns * kFrames);
    CStdRandomGenerator generator(1);
    CRotatableFastNoise3 noise(&generator);
    noise.SetSpinVariation(0.25f);
    for (uint32_t frame = 0; frame < kFrames; ++frame) {
        noise.RotateBasis(static_cast<float>(frame / 10.0));
        noise.SampleQuintic1D({samples.data() + frame * kColumns, kColumns, 4},
                              {positions.data(), kColumns, 4});
    }
    const CResult result =
        Run("--dimension 1 --size 300x20 --animate 0.7 --fps 10 --spin-variation 0.25 --stats");
    ASSERT_EQ(result.m_ExitCode, 0) << result.m_Errors;
    EXPECT_EQ(result.m_Output.find("noise.webp: 2100 positions, "), 0u) << result.m_Output;
    ExpectStatistics(ParseStatistics(result.m_Output), samples);
}

TEST_F(NoisePreview, StatisticsOfASingleSample) {
    const CResult result = Run("--size 1x1 --cells 1 --stats");
    ASSERT_EQ(result.m_ExitCode, 0) << result.m_Errors;
    const CStatisticsText text = ParseStatistics(result.m_Output);
    EXPECT_EQ(text.m_Min, text.m_Max);
    EXPECT_EQ(text.m_Min, text.m_Mean);
}

} // namespace
