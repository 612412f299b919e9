#include "field/statistics.h"

#include "text.h"

#include <algorithm>
#include <cmath>

namespace NoisePreview {

void CStatistics::Add(Vestrel::TMemoryView<const float> samples) {
    constexpr int kMiddle = kBarCount / 2;
    for (uint32_t k = 0; k < samples.m_Count; ++k) {
        const float sample = samples[k];
        if (std::isnan(sample)) {
            ++m_NotANumberCount;
            continue;
        }
        m_Min = std::min(m_Min, sample);
        m_Max = std::max(m_Max, sample);
        m_Sum += static_cast<double>(sample);
        // The outer bars include what lies beyond [-1, 1], and the last one the 1 itself.
        const int bar = kMiddle + static_cast<int>(std::floor(std::clamp(sample, -1.0f, 1.0f) * kMiddle));
        ++m_Bars[static_cast<size_t>(std::min(bar, kBarCount - 1))];
        ++m_Count;
    }
}

std::string CStatistics::Text() const {
    constexpr uint64_t kLongest = 50;
    std::string text;
    if (m_NotANumberCount > 0) {
        text = Format("not numbers: %llu\n", static_cast<unsigned long long>(m_NotANumberCount));
    }
    if (m_Count == 0) {
        return text;
    }
    text += Format("minimum %+.6f, maximum %+.6f, mean %+.6f\n", static_cast<double>(m_Min),
                   static_cast<double>(m_Max), m_Sum / static_cast<double>(m_Count));
    const uint64_t most = *std::max_element(m_Bars.begin(), m_Bars.end());
    double from = -1.0;
    for (const uint64_t count : m_Bars) {
        const double to = from + 2.0 / kBarCount;
        // Rounded up: only a count of 0 gives an empty bar.
        const uint64_t length = (count * kLongest + most - 1) / most;
        text += Format("%+.3f to %+.3f %14llu", from, to, static_cast<unsigned long long>(count));
        text += (count > 0 ? "  " : "") + std::string(length, '#') + '\n';
        from = to;
    }
    return text;
}

} // namespace NoisePreview
