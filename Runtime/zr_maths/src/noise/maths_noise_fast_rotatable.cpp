#include <zr_support_internal/strict_arithmetic.h>

#include <zr_maths/maths_noise_fast.h>

#include "lattice/permutations.h"
#include "tables.h"

#include <zr_support/simd_streams.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace Vestrel {

namespace {

using Internal::AllocateTable;
using Internal::FreeTable;
using Internal::kPeriod;
using SIMD_Neon::Float4;

/// The phases, the speeds, and a spare period and a float, which copies copy and nothing else touches.
constexpr size_t kPhaseTableBytes = (kPeriod + kPeriod + kPeriod + 1) * sizeof(float);

constexpr float kPi = 3.1415927f;
constexpr float kTwoPi = 6.2831855f;

/// Smaller variations count as none.
constexpr float kMinimumVariation = 1e-5f;

/// Speeds spread evenly around one turn per unit of time, by `halfWidth` to either side.
float LowestSpeed(float halfWidth) {
    return kTwoPi - halfWidth;
}

/// Calls `operation(index)` for every fourth entry of a table of kPeriod.
template <typename TOperation>
[[gnu::always_inline]] inline void ForEachFour(const TOperation& operation) {
    for (size_t k = 0; k < kPeriod; k += 4) {
        operation(k);
    }
}

} // namespace

static_assert(sizeof(void*) != 8 || sizeof(CRotatableFastNoise3) == 48);

CRotatableFastNoise3::CRotatableFastNoise3(CAbstractRandomGenerator* generator)
    : CFastNoise3(generator), m_Phases(AllocateTable(kPhaseTableBytes)), m_SpinSpeeds(m_Phases + kPeriod) {
    _ResetSampler(generator);
    _RefreshFromBasis();
}

CRotatableFastNoise3::CRotatableFastNoise3(const CRotatableFastNoise3& other)
    : CFastNoise3(other),
      m_Phases(AllocateTable(kPhaseTableBytes)),
      m_SpinSpeeds(m_Phases + kPeriod),
      m_NoSpinVariation(other.m_NoSpinVariation),
      m_SpinVariation(other.m_SpinVariation) {
    std::memcpy(m_Phases, other.m_Phases, kPhaseTableBytes);
}

CRotatableFastNoise3& CRotatableFastNoise3::operator=(const CRotatableFastNoise3& other) {
    CFastNoise3::operator=(other);
    // Both tables may be the same one.
    std::memmove(m_Phases, other.m_Phases, kPhaseTableBytes);
    m_NoSpinVariation = other.m_NoSpinVariation;
    m_SpinVariation = other.m_SpinVariation;
    return *this;
}

CRotatableFastNoise3::~CRotatableFastNoise3() {
    FreeTable(m_Phases);
}

void CRotatableFastNoise3::ResetSampler(CAbstractRandomGenerator* generator) {
    CFastNoise3::_ResetSampler(generator);
    _ResetSampler(generator);
    _RefreshFromBasis();
}

void CRotatableFastNoise3::SetSpinVariation(float variation) noexcept {
    if (variation < kMinimumVariation) {
        m_NoSpinVariation = true;
        return;
    }
    m_NoSpinVariation = false;
    const float oldHalfWidth = m_SpinVariation * kPi;
    const float newHalfWidth = variation * kPi;
    m_SpinVariation = variation;
    const Float4 oldLowest(LowestSpeed(oldHalfWidth));
    const Float4 newLowest(LowestSpeed(newHalfWidth));
    const Float4 ratio(newHalfWidth / oldHalfWidth);
    ForEachFour([&](size_t k) {
        const Float4 speeds = SIMD_Neon::LoadAligned(m_SpinSpeeds + k);
        SIMD_Neon::StoreAligned(m_SpinSpeeds + k, newLowest + ratio * (speeds - oldLowest));
    });
}

void CRotatableFastNoise3::RotateBasis(float time) noexcept {
    if (time == m_LastTime) {
        return;
    }
    m_LastTime = time;
    alignas(16) float angles[kPeriod];
    if (m_NoSpinVariation) {
        const Float4 turned(time * kTwoPi);
        ForEachFour([&](size_t k) {
            SIMD_Neon::StoreAligned(angles + k, turned + SIMD_Neon::LoadAligned(m_Phases + k));
        });
    } else {
        const Float4 elapsed(time);
        ForEachFour([&](size_t k) {
            SIMD_Neon::StoreAligned(angles + k, SIMD_Neon::LoadAligned(m_Phases + k) +
                                                    elapsed * SIMD_Neon::LoadAligned(m_SpinSpeeds + k));
        });
    }
    SIMD_Neon::LowPrecision::SinStream_Aligned16(angles, m_Basis, kPeriod);
    _RefreshBasis();
}

void CRotatableFastNoise3::_ResetSampler(CAbstractRandomGenerator* generator) {
    const float halfWidth = m_SpinVariation * kPi;
    const float lowest = LowestSpeed(halfWidth);
    const float highest = halfWidth + kTwoPi;
    if (generator != nullptr) {
        generator->FillRandomFloats(TMemoryView<float>(m_SpinSpeeds, kPeriod), lowest, highest);
    } else {
        std::fill_n(m_SpinSpeeds, kPeriod, (lowest + highest) * 0.5f);
    }
}

// sin(pi - x) = sin(x): odd entries start on the falling half of their wave, so that half of the field starts
// upward and half downward.
void CRotatableFastNoise3::_RefreshFromBasis() {
    SIMD_Neon::FullPrecision::ArcSinStream_Aligned16(m_Basis, m_Phases, kPeriod);
    const Float4 oddSigns(0.0f, -0.0f, 0.0f, -0.0f);
    const Float4 oddPi(0.0f, kPi, 0.0f, kPi);
    ForEachFour([&](size_t k) {
        SIMD_Neon::StoreAligned(m_Phases + k, (SIMD_Neon::LoadAligned(m_Phases + k) ^ oddSigns) + oddPi);
    });
}

} // namespace Vestrel
