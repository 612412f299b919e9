#pragma once

#include <zr_support/compiler.h>
#include <zr_support/config.h>

#include <cstdint>

/// The allocator of the library's tables.
namespace Vestrel::Mem {

/// What a block is for. The library's own allocator ignores it; a program's allocator may use it.
enum class EAllocType : uint32_t {
    kGeneral = 0, ///< anything; the only value that the library passes
};

/// Which part of a program asks for a block. The library's own allocator ignores it; a program's allocator
/// may use it.
enum class EOrigin : uint32_t {
    kUnspecified = 0, ///< no part in particular; the only value that the library passes
};

/// Allocates at least `size` bytes at a multiple of `alignment` bytes, with unspecified contents. Never
/// returns null: if memory is exhausted, it prints a message to standard error and aborts.
///
/// The caller guarantees that `alignment` is a power of two.
///
/// A program may define both _RawAlloc and _RawFree itself, with the same promises; the library then
/// allocates every block with the program's. With a shared library, this works where programs are ELF files,
/// such as on Linux.
VESTREL_PUBLIC void* _RawAlloc(uint64_t size, uint32_t alignment, EAllocType type, EOrigin origin);

/// Releases a block from _RawAlloc. Null is ignored.
///
/// The caller guarantees the `type` and `origin` that the block was allocated with.
VESTREL_PUBLIC void _RawFree(void* ptr, EAllocType type, EOrigin origin);

} // namespace Vestrel::Mem
