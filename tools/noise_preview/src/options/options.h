#pragma once

#include <cmath>
#include <cstdint>
#include <optional>
#include <string>

namespace NoisePreview {

/// From here on floats have no fractions, and the field no shape.
inline constexpr double kMaxCoordinate = 0x1p23;

enum class EQuality { kLinear, kCubic, kQuintic };
enum class EShade { kValue, kGradient };
enum class EColours { kGrey, kViridis, kMagma, kCoolwarm, kTerrain };
enum class ECompare { kNothing, kQualities, kDimensions };

/// What the program can write. The terminal is none that can be asked for: it gets a picture where no file
/// is.
enum class EFormat { kPng, kWebp, kExr, kNpy, kRaw, kTerminal };

/// What to draw and where to.
struct COptions {
    uint32_t m_Dimension = 3; // 0 is that of the positions in a file
    EQuality m_Quality = EQuality::kQuintic;
    EShade m_Shade = EShade::kValue;
    EColours m_Colours = EColours::kGrey;
    ECompare m_Compare = ECompare::kNothing;
    bool m_IsCurve = false;
    bool m_IsTile = false;
    uint32_t m_Width = 1024;
    uint32_t m_Height = 1024;
    uint32_t m_Cells = 16;
    float m_LineY = 0.0f;
    float m_Slice = 0.5f;
    float m_SliceW = 0.5f;
    uint32_t m_Seed = 1;
    double m_Seconds = 0.0; // of an animation; 0 is a still picture
    uint32_t m_FramesPerSecond = 25;
    double m_TurnSeconds = 1.0;
    float m_SpinVariation = 0.0f;
    uint32_t m_Bits = 8;
    bool m_HasStatistics = false;
    std::string m_Positions; // the file that they are read from; empty for those of a picture
    std::optional<EFormat> m_AskedFormat;
    EFormat m_Format = EFormat::kPng;
    std::string m_Output; // a file's name, or - for standard output

    bool IsAnimation() const {
        return m_Seconds > 0.0;
    }
    /// Numbers are written as they are, without being made into a picture.
    bool IsData() const {
        return m_Format == EFormat::kExr || m_Format == EFormat::kNpy || m_Format == EFormat::kRaw;
    }
    uint32_t FrameCount() const {
        return static_cast<uint32_t>(std::lround(m_Seconds * m_FramesPerSecond));
    }
};

} // namespace NoisePreview
