#pragma once

#include <zr_support/config.h>
#include <zr_support/random_generator.h>

#include <cstdint>

namespace Vestrel {

/// A generator for callers without one of their own: `std::mt19937`, seeded by one number.
///
/// The same seed gives the same floats, bit for bit, on every platform and with every standard library. A
/// value is min * (1 - u) + max * u, each operation rounded to float, with u uniform over the 2^24 multiples
/// of 2^-24 in [0, 1). Values that rounding moves out of [min, max] are clamped to the bound.
class VESTREL_PUBLIC CStdRandomGenerator final : public CAbstractRandomGenerator {
public:
    /// Starts the sequence of `seed`, which may be any number. Allocates the engine's state, and throws
    /// std::bad_alloc if that fails.
    explicit CStdRandomGenerator(uint32_t seed);
    ~CStdRandomGenerator() override;

    CStdRandomGenerator(const CStdRandomGenerator&) = delete;
    CStdRandomGenerator& operator=(const CStdRandomGenerator&) = delete;

    void FillRandomFloats(const TMemoryView<float>& view, float min, float max) override;

private:
    // Behind a pointer so that this header does not include <random>.
    struct CEngine;
    CEngine* m_Engine;
};

} // namespace Vestrel
