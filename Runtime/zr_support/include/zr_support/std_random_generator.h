#pragma once

#include <zr_support/random_generator.h>

#include <cstdint>

namespace Vestrel {

/// A generator for callers without one of their own: `std::mt19937`, seeded by one number.
///
/// The same seed gives the same floats, to the bit, on every platform and with every standard library. Values
/// are uniform over 2^24 evenly spaced points from `min` (included) up to, but not including, `max`, each
/// rounded to the nearest float; rounding may reach `max` but no value is ever outside [min, max].
class CStdRandomGenerator final : public CAbstractRandomGenerator {
public:
    explicit CStdRandomGenerator(uint32_t seed);
    ~CStdRandomGenerator() override;

    CStdRandomGenerator(const CStdRandomGenerator&) = delete;
    CStdRandomGenerator& operator=(const CStdRandomGenerator&) = delete;

    void FillRandomFloats(const TMemoryView<float>& view, float min, float max) override;

private:
    // Behind a pointer so that this header does not bring <random> to everybody.
    struct CEngine;
    CEngine* m_Engine;
};

} // namespace Vestrel
