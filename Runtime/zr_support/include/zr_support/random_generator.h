#pragma once

#include <zr_support/config.h>
#include <zr_support/memory_view.h>

namespace Vestrel {

/// A source of random floats. The noise module borrows it for the length of one call and keeps no pointer to
/// it.
class VESTREL_PUBLIC CAbstractRandomGenerator {
public:
    virtual ~CAbstractRandomGenerator() = default;

    /// Fills `view` with random values between `min` and `max`, uniformly distributed, bounds included or
    /// not.
    ///
    /// An implementation guarantees
    /// - to write all `view.m_Count` floats and nothing else;
    /// - not to throw.
    ///
    /// The caller guarantees finite bounds with min <= max.
    virtual void FillRandomFloats(const TMemoryView<float>& view, float min, float max) = 0;
};

} // namespace Vestrel
