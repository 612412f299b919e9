#pragma once

#include <cmath>
#include <cstdint>
#include <optional>
#include <string>

namespace NoisePreview {

enum class EQuality { kLinear, kCubic, kQuintic };
enum class EShade { kValue, kGradient };

/// What to draw and where to.
struct COptions {
    uint32_t m_Dimension = 3;
    EQuality m_Quality = EQuality::kQuintic;
    EShade m_Shade = EShade::kValue;
    uint32_t m_Width = 1024;
    uint32_t m_Height = 1024;
    uint32_t m_Cells = 16;
    float m_Slice = 0.5f;
    float m_SliceW = 0.5f;
    uint32_t m_Seed = 1;
    double m_Seconds = 0.0; // of an animation; 0 is a still picture
    uint32_t m_FramesPerSecond = 25;
    double m_TurnSeconds = 1.0;
    float m_SpinVariation = 0.0f;
    bool m_HasStatistics = false;
    std::string m_Output;

    bool IsAnimation() const {
        return m_Seconds > 0.0;
    }
    uint32_t FrameCount() const {
        return static_cast<uint32_t>(std::lround(m_Seconds * m_FramesPerSecond));
    }
};

/// The options of a command line. Without a value where the program has nothing more to do: `exitCode` is
/// then 0 after --help, and 2 after a bad option, about which one line is on standard error.
std::optional<COptions> ParseCommandLine(int argumentCount, char** arguments, int& exitCode);

} // namespace NoisePreview
