#pragma once

#include <zr_support/memory_view.h>

#include <array>
#include <cstdint>
#include <limits>
#include <string>

namespace NoisePreview {

/// Minimum, maximum, mean and distribution of samples.
class CStatistics {
public:
    void Add(Vestrel::TMemoryView<const float> samples);

    /// Lines of text: minimum, maximum, mean, and a histogram over [-1, 1]. NaNs are counted on a line of
    /// their own and otherwise ignored. Empty without samples.
    std::string Text() const;

private:
    static constexpr int kBarCount = 16;

    uint64_t m_Count = 0;
    uint64_t m_NotANumberCount = 0;
    float m_Min = std::numeric_limits<float>::infinity();
    float m_Max = -std::numeric_limits<float>::infinity();
    double m_Sum = 0.0;
    std::array<uint64_t, kBarCount> m_Bars = {};
};

} // namespace NoisePreview
