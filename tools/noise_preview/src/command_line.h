#pragma once

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
    bool m_HasStatistics = false;
    std::string m_Output;
};

/// The options of a command line. Without a value where the program has nothing more to do: `exitCode` is
/// then 0 after --help, and 2 after a bad option, about which one line is on standard error.
std::optional<COptions> ParseCommandLine(int argumentCount, char** arguments, int& exitCode);

} // namespace NoisePreview
