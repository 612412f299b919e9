#pragma once

#include <zr_support/config.h>
#include <zr_support/random_generator.h>

#include <cstdint>

namespace Vestrel {

/// A generator for callers without one of their own: `std::mt19937`, seeded by one number.
///
/// The same seed gives the same floats, to the bit, on every platform and with every standard library. A
/// value is min * (1 - u) + max * u, each operation rounded to float, with u uniform over the 2^24 multiples
/// of 2^-24 from 0 up to, but not including, 1; what rounding takes out of [min, max] is put back to the
/// bound.
///
/// The constructor allocates the engine's state, and throws std::bad_alloc where that fails.
class VESTREL_PUBLIC CStdRandomGenerator final : public CAbstractRandomGenerator {
public:
    /// A generator at the beginning of the sequence that `seed` names. Any seed will do.
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
