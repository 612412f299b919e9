#include <zr_support_internal/strict_arithmetic.h>

#include <zr_support/std_random_generator.h>

#include <algorithm>
#include <random>

namespace Vestrel {

struct CStdRandomGenerator::CEngine {
    std::mt19937 m_Bits;
};

CStdRandomGenerator::CStdRandomGenerator(uint32_t seed) : m_Engine(new CEngine{std::mt19937(seed)}) {}

CStdRandomGenerator::~CStdRandomGenerator() {
    delete m_Engine; // GCOVR_EXCL_BR_LINE: never null, which compilers test for
}

// The standard fixes the bits of its engines, but not the results of its distributions. So the upper 24 bits,
// as many as a float holds exactly, give u in [0, 1) here. Weighting both bounds never overflows with finite
// bounds, unlike min + (max - min) * u.
void CStdRandomGenerator::FillRandomFloats(const TMemoryView<float>& view, float min, float max) {
    for (uint32_t k = 0; k < view.m_Count; ++k) {
        const float u = static_cast<float>(m_Engine->m_Bits() >> 8) * 0x1p-24f;
        const float value = min * (1.0f - u) + max * u;
        view.m_Data[k] = std::min(std::max(value, min), max);
    }
}

} // namespace Vestrel
