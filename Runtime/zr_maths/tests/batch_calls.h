#pragma once

// The pattern of the batch samplers, worked out from its definition: where the samples of a call go, and
// where their positions come from.

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
    uint32_t m_PositionStride = 0; // the size of a position, where a test does not say
    size_t m_OutputOffset = 0;     // from a multiple of 16
    size_t m_PositionOffset = 0;   // from a multiple of 16

    /// How long the output is, a product that wraps.
    uint32_t OutputBytes() const {
        return m_OutputStride == 0 ? 4 : m_Count * m_OutputStride;
    }

    friend std::ostream& operator<<(std::ostream& stream, const CBatchCall& call) {
        return stream << "count " << call.m_Count << ", output stride " << call.m_OutputStride
                      << ", position stride " << call.m_PositionStride << ", output offset "
                      << call.m_OutputOffset << ", position offset " << call.m_PositionOffset;
    }
};

/// Where a sample goes, in bytes from the start of the output, and where its position comes from, in bytes
/// from the start of the positions.
struct CPlace {
    uint64_t m_Output;
    uint64_t m_Position;
};

/// Appends the places of a call's samples. A call that would not return, for its output stride is 0, has no
/// end of them.
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
        // The fast path takes single positions to the end of the output, and looks at the positions alone.
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
