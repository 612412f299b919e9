#pragma once

// What the tests of the noise share.

#include <zr_support_internal/canonical_bits.h>

#include <zr_maths/maths_noise_fast.h>

#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <random>
#include <vector>

namespace Vestrel {

/// A noise object with access to its basis.
class COpenNoise : public CFastNoise3 {
public:
    using CFastNoise3::_RefreshBasis;
    using CFastNoise3::_ResetSampler;
    using CFastNoise3::CFastNoise3;

    float* Basis() const {
        return m_Basis;
    }
};

/// A rotating object with access to its members.
class COpenRotatable : public CRotatableFastNoise3 {
public:
    using CFastNoise3::_RefreshBasis;
    using CRotatableFastNoise3::CRotatableFastNoise3;
    using CRotatableFastNoise3::m_Basis;
    using CRotatableFastNoise3::m_LastTime;
    using CRotatableFastNoise3::m_NoSpinVariation;
    using CRotatableFastNoise3::m_Phases;
    using CRotatableFastNoise3::m_SpinSpeeds;
    using CRotatableFastNoise3::m_SpinVariation;
};

/// Returns given values, whatever the bounds, and records the request.
class CListGenerator final : public CAbstractRandomGenerator {
public:
    explicit CListGenerator(const std::array<float, 256>& values) : m_Values(values) {}

    void FillRandomFloats(const TMemoryView<float>& view, float min, float max) override {
        m_View = view;
        m_Min = min;
        m_Max = max;
        ++m_CallCount;
        std::memcpy(view.m_Data, m_Values.data(), view.m_Count * sizeof(float));
    }

    std::array<float, 256> m_Values;
    TMemoryView<float> m_View;
    float m_Min = 0.0f;
    float m_Max = 0.0f;
    int m_CallCount = 0;
};

/// Evenly spaced values from -1 to 1, permuted by multiples of 91. Their mean is 0. Sums of them round and
/// neighbours differ irregularly, so that tests notice another order of operations.
inline std::array<float, 256> EvenValues() {
    std::array<float, 256> values;
    for (size_t k = 0; k < values.size(); ++k) {
        values[k] = (2.0f * static_cast<float>(k * 91 % 256) - 255.0f) / 255.0f;
    }
    return values;
}

/// A field of EvenValues.
inline COpenNoise EvenNoise() {
    CListGenerator generator(EvenValues());
    return COpenNoise(&generator);
}

/// A coordinate of one of many kinds: random, integral, negative, tiny, denormal, large, infinite, NaN, or
/// any bit pattern. `kind` and `bits` may be any numbers.
inline float CoordinateOf(uint32_t kind, uint32_t bits) {
    constexpr float kInfinity = std::numeric_limits<float>::infinity();
    constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
    constexpr std::array<float, 22> kSpecial = {
        0.0f,    -0.0f,     1.0f,       -1.0f,    -0.25f,         -1e-10f,       0x1p23f, -0x1p23f,
        0x1p31f, -0x1p31f,  0x1p30f,    -0x1p30f, 0x1.fffffep30f, 3e9f,          -3e9f,   1e38f,
        -1e38f,  kInfinity, -kInfinity, kNan,     -kNan,          0x1.fffffep-1f};
    const float unit = static_cast<float>(bits >> 8) * 0x1p-24f;
    switch (kind % 12) {
    case 0:
        return std::bit_cast<float>(bits);
    case 1:
        return std::floor(unit * 1024.0f - 512.0f);
    case 2:
        return (unit - 0.5f) * 0x1p-20f;
    case 3:
        return std::bit_cast<float>(bits & 0x807FFFFFu); // denormals and zeros of both signs
    case 4:
        return (unit - 0.5f) * 0x1p33f;
    case 5:
        return kSpecial[bits % kSpecial.size()];
    case 6:
        return std::nextafter(std::floor(unit * 512.0f - 256.0f), (bits & 1) != 0 ? 1e9f : -1e9f);
    default:
        return unit * 1000.0f - 500.0f;
    }
}

/// Coordinates of every kind.
class CCoordinates {
public:
    explicit CCoordinates(uint32_t seed) : m_Random(seed) {}
    virtual ~CCoordinates() = default;

    virtual float Next() {
        const uint32_t bits = static_cast<uint32_t>(m_Random());
        return CoordinateOf(static_cast<uint32_t>(m_Random()), bits);
    }

    std::vector<float> Fill(size_t count) {
        std::vector<float> values(count);
        for (float& value : values) {
            value = Next();
        }
        return values;
    }

private:
    std::mt19937 m_Random;
};

} // namespace Vestrel
