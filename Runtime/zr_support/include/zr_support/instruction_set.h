#pragma once

#include <zr_support/compiler.h>

#include <cstdint>

namespace Vestrel {

/// The instruction sets that the libraries choose from at run time, in order: a processor that can run one of
/// them can run those before it, too.
enum class EInstructionSet : uint32_t {
    /// Four floats at a time, by the SIMD backend that the library was built with. It runs everywhere.
    kFourLanes,
    /// Eight floats at a time: AVX2, on x86-64.
    kAvx2,
    /// Sixteen floats at a time: AVX-512 with its parts F, BW and VBMI, on x86-64.
    kAvx512,
};

} // namespace Vestrel
