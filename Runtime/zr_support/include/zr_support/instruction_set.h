#pragma once

#include <zr_support/compiler.h>
#include <zr_support/config.h>

#include <cstdint>

namespace Vestrel {

/// The instruction sets that the libraries choose from at run time, narrowest first. A processor that
/// supports one supports those before it, too.
enum class EInstructionSet : uint32_t {
    /// Four floats at a time, by the SIMD backend that the library was built with. Runs everywhere.
    kFourLanes,
    /// Eight floats at a time: AVX2, on x86-64.
    kAvx2,
    /// Sixteen floats at a time: AVX-512 F, BW and VBMI, on x86-64.
    kAvx512,
};

/// Limits the instruction set of all samplers, gradients, rotations and streams in the process. Returns the
/// one that they use from now on: `most`, or the widest that processor and operating system support if that
/// is less.
///
/// For diagnosis: does a crash or a slow call depend on the instruction set? By default the library uses the
/// widest. Results stay the same, bit for bit; only speed changes.
///
/// Each call replaces the limit of the previous one. kAvx512, or a value outside the enumeration, removes it.
///
/// Any thread may call it at any time. It does not lock or allocate. Calls in progress on other threads
/// finish with the instructions that they started with.
VESTREL_PUBLIC EInstructionSet LimitInstructionSet(EInstructionSet most) noexcept;

} // namespace Vestrel
