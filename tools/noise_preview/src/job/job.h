#pragma once

#include "job/format.h"
#include "job/picture.h"

#include <cstdint>
#include <string>

namespace NoisePreview {

/// What a terminal can show.
enum class ETerminalColours { kNone, k256, kAll };

/// What to make, and where to write it.
struct CJob : CPicture {
    uint32_t m_Seed = 1;
    uint32_t m_FrameCount = 0; // of an animation; 0 is a still picture
    uint32_t m_FramesPerSecond = 25;
    double m_TurnSeconds = 1.0;
    double m_SpinVariation = 0.0;
    bool m_HasStatistics = false;
    std::string m_Positions; // file to sample at, or - for standard input; empty: sample the view
    EFormat m_Format = EFormat::kPng;
    uint32_t m_Bits = 8;  // of each channel of a PNG file
    std::string m_Output; // file, or - for standard output
    ETerminalColours m_TerminalColours = ETerminalColours::kNone;

    bool IsAnimation() const {
        return m_FrameCount > 0;
    }
    bool HasPositions() const {
        return !m_Positions.empty();
    }
    /// The file holds the samples themselves, not a picture of them.
    bool IsData() const {
        return m_Format == EFormat::kExr || m_Format == EFormat::kNpy || m_Format == EFormat::kRaw;
    }
    /// In a file, before compression.
    uint32_t BytesPerPixel() const {
        return IsData() ? (IsGradient() ? 12 : 4) : m_Bits / 8 * (IsGrey() && !IsAnimation() ? 1 : 3);
    }
};

} // namespace NoisePreview
