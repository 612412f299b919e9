#pragma once

// The rotating field by definition, for tests and for programs without a test framework.

#include "noise_test_support.h"

#include <zr_support/simd_streams.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <vector>

namespace Vestrel {

constexpr float kPi = 3.1415927f;
constexpr float kTwoPi = 6.2831855f;
constexpr float kNan = std::numeric_limits<float>::quiet_NaN();

using CTable = std::array<uint32_t, 256>;

/// The bits of 256 entries.
inline CTable BitsOf(const float* table) {
    CTable bits;
    for (size_t k = 0; k < bits.size(); ++k) {
        bits[k] = CanonicalBits(table[k]);
    }
    return bits;
}

/// Records requests and returns evenly spaced numbers between the bounds, permuted by multiples of 37.
class CRecordingGenerator final : public CAbstractRandomGenerator {
public:
    void FillRandomFloats(const TMemoryView<float>& view, float min, float max) override {
        m_Requests.push_back({view.m_Data, view.m_Count, min, max});
        for (uint32_t k = 0; k < view.m_Count; ++k) {
            view.m_Data[k] = min + (max - min) * static_cast<float>(k * 37 % 256) / 255.0f;
        }
    }

    struct CRequest {
        float* m_Data;
        uint32_t m_Count;
        float m_Min;
        float m_Max;
    };
    std::vector<CRequest> m_Requests;
};

/// The basis at `time`, by definition.
inline CTable ExpectedBasis(const COpenRotatable& noise, float time) {
    CTable expected;
    for (size_t k = 0; k < expected.size(); ++k) {
        const float turned = time * kTwoPi;
        const float spun = time * noise.m_SpinSpeeds[k];
        const float angle = noise.m_NoSpinVariation ? turned + noise.m_Phases[k] : noise.m_Phases[k] + spun;
        expected[k] = CanonicalBits(SIMD_Neon::LowPrecision::Sin(angle));
    }
    return expected;
}

} // namespace Vestrel
