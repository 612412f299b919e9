// Only these two functions may be in this file: a program that defines its own must not pull this object out
// of the library for something else in it.

#include <zr_support_internal/strict_arithmetic.h>

#include <zr_support/mem_alloc.h>

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <cstdlib>

namespace Vestrel::Mem {

void* _RawAlloc(uint64_t size, uint32_t alignment, EAllocType, EOrigin) {
    // std::aligned_alloc requires a size that is a multiple of the alignment. An empty block gets an address
    // of its own.
    const uint64_t step = std::max<uint64_t>(alignment, alignof(std::max_align_t));
    const uint64_t padded = (std::max<uint64_t>(size, 1) + (step - 1)) & ~(step - 1);
    const bool fits = padded >= size && padded <= SIZE_MAX;
    void* const block =
        fits ? std::aligned_alloc(static_cast<size_t>(step), static_cast<size_t>(padded)) : nullptr;
    if (block == nullptr) {
        std::fprintf(stderr, "Vestrel: out of memory: no block of %llu bytes, aligned to %u, is left\n",
                     static_cast<unsigned long long>(size), static_cast<unsigned>(alignment));
        std::abort();
    }
    return block;
}

void _RawFree(void* ptr, EAllocType, EOrigin) {
    std::free(ptr);
}

} // namespace Vestrel::Mem
