#pragma once

#include <zr_support/config.h>
#include <zr_support/memory_view.h>

namespace Vestrel {

/// A source of random floats that a caller lends to the noise module. The module borrows it for the length of
/// one call and keeps no pointer to it.
class VESTREL_PUBLIC CAbstractRandomGenerator {
public:
    virtual ~CAbstractRandomGenerator() = default;

    /// Writes `view.m_Count` floats from `view.m_Data` on, each a random value between `min` and `max`
    /// (uniformly distributed ones are expected, bounds included or not), and touches nothing else.
    ///
    /// An implementation must not throw. The caller guarantees finite bounds with min <= max.
    virtual void FillRandomFloats(const TMemoryView<float>& view, float min, float max) = 0;
};

} // namespace Vestrel
