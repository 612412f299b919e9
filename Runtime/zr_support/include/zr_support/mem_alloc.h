#pragma once

#include <zr_support/compiler.h>
#include <zr_support/config.h>

#include <cstdint>

/// Memory: the one allocator that the library takes its tables from.
namespace Vestrel::Mem {

/// What a block is for. An allocator of one's own may sort blocks by it; the one of this library does not.
enum class EAllocType : uint32_t {
    kGeneral = 0, ///< anything: the only one that the library asks for
};

/// Which part of a program asks for a block. An allocator of one's own may sort blocks by it; the one of this
/// library does not.
enum class EOrigin : uint32_t {
    kUnspecified = 0, ///< no part in particular: the only one that the library gives
};

/// Allocates at least `size` bytes that start at a multiple of `alignment`, with unspecified contents.
///
/// Never returns null: when memory is exhausted it says so on standard error and aborts. The caller
/// guarantees that `alignment` is a power of two.
///
/// A program may define _RawAlloc and _RawFree itself, both of them; the library then takes every block from
/// the program's. They keep the same promises. Where the library is a shared one, this holds on systems whose
/// programs are ELF files, such as Linux.
VESTREL_PUBLIC void* _RawAlloc(uint64_t size, uint32_t alignment, EAllocType type, EOrigin origin);

/// Releases a block from _RawAlloc; `type` and `origin` are those that it was asked for with. Null is allowed
/// and ignored.
VESTREL_PUBLIC void _RawFree(void* ptr, EAllocType type, EOrigin origin);

} // namespace Vestrel::Mem
