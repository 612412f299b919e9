#pragma once

// The pattern of the batch samplers by definition: where a call writes its samples and reads their positions.

#include "operations.h"

#include <cstddef>
#include <cstdint>
#include <ostream>
#include <vector>

namespace Vestrel {

/// One call of a sampler.
struct CBatchCall {
    uint32_t m_Count;
    uint32_t m_OutputStride = 4;
    uint32_t m_PositionStride = 0; // tests that leave it use packed positions
    size_t m_OutputOffset = 0;     // from a multiple of 16
    size_t m_PositionOffset = 0;   // from a multiple of 16

    /// The size of the output, a product that wraps.
    uint32_t OutputBytes() const {
        return m_OutputStride == 0 ? 4 : m_Count * m_OutputStride;
    }

    friend std::ostream& operator<<(std::ostream& stream, const CBatchCall& call) {
        return stream << "count " << call.m_Count << ", output stride " << call.m_OutputStride
                      << ", position stride " << call.m_PositionStride << ", output offset "
                      << call.m_OutputOffset << ", position offset " << call.m_PositionOffset;
    }
};

/// A sample's offset in the output and its position's offset in the positions, in bytes.
struct CPlace {
    uint64_t m_Output;
    uint64_t m_Position;
};

/// Appends the places of a call's samples. Endless for calls that do not return (output stride 0).
inline void AppendPlacesOf(const CBatchCall& call, const CBatchSampler& sampler,
                           std::vector<CPlace>& places) {
    const uint64_t end = call.OutputBytes();
    const uint32_t size = sampler.PositionSize();
    const bool isPacked = call.m_PositionOffset % 16 == 0 && call.m_PositionStride == size;
    uint64_t output = 0;
    uint64_t position = 0;
    const auto place = [&](uint32_t outputStep, uint32_t positionStep) {
        places.push_back({output, position});
        output += outputStep;
        position += positionStep;
    };
    if (sampler.m_Dimension == 4) {
        // The fast path depends on the positions only and fills the output to its end.
        while (isPacked && output < end) {
            place(4, size);
        }
    } else {
        while (isPacked && call.m_OutputOffset % 16 == 0 && output + 16 <= end) {
            for (int lane = 0; lane < 4; ++lane) {
                place(4, size);
            }
        }
    }
    while (output < end) {
        place(call.m_OutputStride, call.m_PositionStride);
    }
}

} // namespace Vestrel
