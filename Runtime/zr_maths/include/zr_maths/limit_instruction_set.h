#pragma once

#include <zr_support/compiler.h>
#include <zr_support/config.h>
#include <zr_support/instruction_set.h>

namespace Vestrel {

/// Limits all samplers, gradients and rotations of the process to `most`, from now on. Returns what they use
/// then: `most`, or the widest instruction set of the processor if that is less.
///
/// This is for diagnosis: to see whether a crash or a slow call has to do with the instruction set, or what a
/// slower processor would make of a program. Nothing else needs it, for the library takes the widest one by
/// itself. Results stay the same, bit for bit; they only take longer.
///
/// Each call replaces the limit of the one before, so that a higher one lifts it again; kAvx512 lifts it
/// altogether. No call makes the library use what the processor or the operating system does not support, and
/// a value that is none of the enumeration's is no limit.
///
/// Any thread may call it at any time; it neither locks nor allocates. What runs at that moment on other
/// threads is finished with the instructions that it has begun with.
VESTREL_PUBLIC EInstructionSet LimitInstructionSet(EInstructionSet most) noexcept;

} // namespace Vestrel
