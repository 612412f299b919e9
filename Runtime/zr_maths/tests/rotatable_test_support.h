#pragma once

// What the tests of the rotating field share.

#include "rotatable_reference.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <vector>

namespace Vestrel {

inline void ExpectWrapped(const COpenRotatable& noise) {
    EXPECT_EQ(BitsOf(noise.m_Basis + 256), BitsOf(noise.m_Basis));
    EXPECT_EQ(CanonicalBits(noise.m_Basis[512]), CanonicalBits(noise.m_Basis[0]));
}

class RotatableFastNoise : public testing::Test {
protected:
    CRecordingGenerator m_Generator;
    COpenRotatable m_Noise{&m_Generator};
};

inline void ExpectNear(const float* basis, const std::vector<float>& expected, float sign, float tolerance) {
    for (size_t k = 0; k < 256; ++k) {
        EXPECT_NEAR(basis[k], sign * expected[k], tolerance) << "entry " << k;
    }
}

/// Fills the spare block of the phases.
inline void FillSpare(const COpenRotatable& noise, unsigned char pattern) {
    std::memset(noise.m_Phases + 512, pattern, 257 * sizeof(float));
}

inline std::vector<float> BasisOf(const COpenRotatable& noise) {
    return std::vector<float>(noise.m_Basis, noise.m_Basis + 256);
}

} // namespace Vestrel
