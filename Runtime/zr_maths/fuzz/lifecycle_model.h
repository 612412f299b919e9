#pragma once

// The model that lifecycle_fuzz.cpp compares objects with.

#include "rotatable_reference.h"

#include <zr_support/simd_streams.h>

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace Vestrel::Fuzz {

/// Returns values between the bounds, sometimes the bounds themselves, that depend on a seed.
class CSeededGenerator final : public CAbstractRandomGenerator {
public:
    explicit CSeededGenerator(uint32_t seed) : m_State(seed) {}

    void FillRandomFloats(const TMemoryView<float>& view, float min, float max) override {
        for (uint32_t k = 0; k < view.m_Count; ++k) {
            m_State = m_State * 1664525u + 1013904223u;
            const float part = static_cast<float>(m_State >> 16) * (1.0f / 65535.0f);
            view.m_Data[k] = min * (1.0f - part) + max * part;
        }
    }

private:
    uint32_t m_State;
};

/// The expected state of an object. The contents of undrawn tables in unfilled blocks are unknown and not
/// checked.
struct CModel {
    bool m_IsRotatable;
    alignas(16) float m_Basis[513];
    alignas(16) float m_Phases[769]; // phases, speeds and the spare block
    bool m_IsBasisKnown;
    bool m_ArePhasesKnown; // the first 256 of them; the speeds always are
    bool m_IsSpareKnown;
    bool m_NoSpinVariation;
    float m_SpinVariation;
    float m_LastTime;

    float* Speeds() {
        return m_Phases + 256;
    }

    /// Constructs with tables in blocks that are filled with these bytes, or not filled.
    void Construct(bool isRotatable, CAbstractRandomGenerator* generator, bool isFilled, int basisPattern,
                   int phasesPattern) {
        m_IsRotatable = isRotatable;
        m_IsBasisKnown = m_IsSpareKnown = isFilled;
        std::memset(m_Basis, basisPattern, sizeof(m_Basis));
        std::memset(m_Phases, phasesPattern, sizeof(m_Phases));
        m_NoSpinVariation = false;
        m_SpinVariation = 0.2f;
        m_LastTime = 0.0f;
        Reset(generator);
    }

    void CopyBasis(const CModel& other) {
        std::memcpy(m_Basis, other.m_Basis, sizeof(m_Basis));
        m_IsBasisKnown = other.m_IsBasisKnown;
    }

    void CopyPhases(const CModel& other) {
        std::memcpy(m_Phases, other.m_Phases, sizeof(m_Phases));
        m_ArePhasesKnown = other.m_ArePhasesKnown;
        m_IsSpareKnown = other.m_IsSpareKnown;
        m_NoSpinVariation = other.m_NoSpinVariation;
        m_SpinVariation = other.m_SpinVariation;
    }

    void Wrap() {
        for (size_t k = 0; k < 257; ++k) {
            m_Basis[256 + k] = m_Basis[k];
        }
    }

    void Reset(CAbstractRandomGenerator* generator) {
        if (generator != nullptr) {
            generator->FillRandomFloats({m_Basis, 256}, -1.0f, 1.0f);
            m_IsBasisKnown = true;
        }
        Wrap();
        if (m_IsRotatable) {
            DrawSpeeds(generator);
            FindPhases();
        }
    }

    void DrawSpeeds(CAbstractRandomGenerator* generator) {
        const float spread = m_SpinVariation * kPi;
        const float slowest = kTwoPi - spread;
        const float fastest = spread + kTwoPi;
        if (generator != nullptr) {
            generator->FillRandomFloats({Speeds(), 256}, slowest, fastest);
        } else {
            const float mean = (slowest + fastest) * 0.5f;
            std::fill_n(Speeds(), 256, mean);
        }
    }

    void FindPhases() {
        m_ArePhasesKnown = m_IsBasisKnown;
        if (!m_ArePhasesKnown) {
            return;
        }
        SIMD_Neon::FullPrecision::ArcSinStream_Aligned16(m_Basis, m_Phases, 256);
        for (size_t k = 0; k < 256; k += 2) {
            m_Phases[k] = m_Phases[k] + 0.0f;
            m_Phases[k + 1] = kPi - m_Phases[k + 1];
        }
    }

    void SetSpinVariation(float variation) {
        m_NoSpinVariation = variation < 1e-5f;
        if (m_NoSpinVariation) {
            return;
        }
        const float oldSpread = m_SpinVariation * kPi;
        const float newSpread = variation * kPi;
        const float oldSlowest = kTwoPi - oldSpread;
        const float newSlowest = kTwoPi - newSpread;
        const float ratio = newSpread / oldSpread;
        m_SpinVariation = variation;
        for (size_t k = 0; k < 256; ++k) {
            const float place = Speeds()[k] - oldSlowest;
            const float scaled = ratio * place;
            Speeds()[k] = newSlowest + scaled;
        }
    }

    void Rotate(float time) {
        if (time == m_LastTime) {
            return;
        }
        m_LastTime = time;
        const float turned = time * kTwoPi;
        alignas(16) float angles[256];
        for (size_t k = 0; k < 256; ++k) {
            const float spun = time * Speeds()[k];
            angles[k] = m_NoSpinVariation ? turned + m_Phases[k] : m_Phases[k] + spun;
        }
        SIMD_Neon::LowPrecision::SinStream_Aligned16(angles, m_Basis, 256);
        m_IsBasisKnown = true;
        Wrap();
    }
};

} // namespace Vestrel::Fuzz
