#pragma once

#include <zr_support/compiler.h>
#include <zr_support/config.h>
#include <zr_support/instruction_set.h>

namespace Vestrel {

/// Limits the instruction set of all samplers, gradients and rotations in the process, from now on. Returns
/// what they use then: `most`, or the widest that processor and operating system support, if that is less.
///
/// It is for diagnosis: does a crash or a slow call depend on the instruction set? Programs do not need it
/// otherwise, for the library takes the widest by itself. Results stay the same, bit for bit; only the time
/// that they take changes.
///
/// It only lowers: no call makes the library use what the processor does not support. Each call replaces the
/// limit of the one before. kAvx512 is no limit, and neither is a value outside the
/// enumeration.
///
/// Any thread may call it at any time. It does not lock or allocate. Calls that run meanwhile on other
/// threads end with the instructions that they began with.
VESTREL_PUBLIC EInstructionSet LimitInstructionSet(EInstructionSet most) noexcept;

} // namespace Vestrel
