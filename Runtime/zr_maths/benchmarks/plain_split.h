#pragma once

#include "noise_reference.h"

#include <cstdint>

namespace Vestrel::Benchmarks {

/// A branchless split as one would write it for coordinates in range.
struct CPlainSplit {
    Reference::CCell operator()(float x) const {
        const int n = static_cast<int>(x);
        const float r = static_cast<float>(n);
        const int isAbove = r > x ? 1 : 0;
        return {static_cast<uint32_t>(n - isAbove) & 255u, (x - r) + static_cast<float>(isAbove)};
    }
};

} // namespace Vestrel::Benchmarks
