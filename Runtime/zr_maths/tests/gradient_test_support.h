#pragma once

// What the tests of gradients share.

#include "noise_reference.h"
#include "noise_test_support.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <sstream>
#include <string>

namespace Vestrel {

inline std::string TextOf(const CRecord& record) {
    std::ostringstream text;
    text << std::hexfloat << "fractions " << record.first.x << ", " << record.first.y << ", "
         << record.first.z << " in cell " << record.second.x << ", " << record.second.y << ", "
         << record.second.z;
    return text.str();
}

class GradientSamplers : public testing::TestWithParam<CPointSamplers> {
protected:
    CGradient SampleOneAt(float x, float y, float z, float lane3 = 0.0f) const {
        alignas(16) CGradient gradient;
        SIMD_Neon::StoreAligned(&gradient,
                                (m_Noise.*GetParam().m_Gradient)(SIMD_Neon::Float4(x, y, z, lane3)));
        return gradient;
    }

    void SampleBatch(const CRecord* records, uint32_t count, CGradient* gradients) const {
        // The count of the output is never read.
        (m_Noise.*GetParam().m_GradientBatch)({records, count}, {gradients, 0});
    }

    CGradient SampleBatchOfOne(const CRecord& record) const {
        CGradient gradient;
        SampleBatch(&record, 1, &gradient);
        return gradient;
    }

    TVector<float, 3> Expected(const CRecord& record, bool isBatch) const {
        return Reference::Gradient(m_Noise.Basis(), GetParam().m_Quality, isBatch, record);
    }

    bool IsLinear() const {
        return GetParam().m_Quality == EQuality::kLinear;
    }

    COpenNoise m_Noise = EvenNoise();
};

} // namespace Vestrel
