#pragma once

#include "field/statistics.h"

#include <cstdint>

namespace NoisePreview {

/// What the samples of a picture have cost, without the making of positions, and what they were.
struct CSamplingRecord {
    uint64_t m_PositionCount = 0;
    double m_Seconds = 0.0;
    bool m_HasStatistics = false;
    CStatistics m_Statistics;

    void Add(uint32_t positionCount, double seconds) {
        m_PositionCount += positionCount;
        m_Seconds += seconds;
    }
};

} // namespace NoisePreview
