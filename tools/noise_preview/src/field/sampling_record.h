#pragma once

#include "field/statistics.h"

#include <cstdint>

namespace NoisePreview {

/// How many samples were taken, how long the library took for them, and their statistics if wanted.
struct CSamplingRecord {
    uint64_t m_PositionCount = 0;
    double m_Seconds = 0.0;
    bool m_HasStatistics = false;
    CStatistics m_Statistics;

    void AddTime(uint32_t positionCount, double seconds) {
        m_PositionCount += positionCount;
        m_Seconds += seconds;
    }
    void AddStatistics(Vestrel::TMemoryView<const float> values) {
        if (m_HasStatistics) {
            m_Statistics.Add(values);
        }
    }
};

} // namespace NoisePreview
