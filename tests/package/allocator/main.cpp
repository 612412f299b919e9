// A program that replaces the allocator, which then allocates every table.

#include <zr_maths/maths_noise_fast.h>
#include <zr_support/mem_alloc.h>

#include <cstdio>
#include <cstdlib>

namespace {

int s_Allocated = 0;
int s_Freed = 0;

} // namespace

namespace Vestrel::Mem {

void* _RawAlloc(uint64_t size, uint32_t alignment, EAllocType, EOrigin) {
    ++s_Allocated;
    return std::aligned_alloc(alignment, (static_cast<size_t>(size) + alignment - 1) / alignment * alignment);
}

void _RawFree(void* ptr, EAllocType, EOrigin) {
    ++s_Freed;
    std::free(ptr);
}

} // namespace Vestrel::Mem

int main() {
    {
        Vestrel::CStdRandomGenerator generator(1);
        const Vestrel::CFastNoise3 noise(&generator);
        const Vestrel::CRotatableFastNoise3 rotatable(&generator);
    }
    std::printf("%d tables allocated, %d freed\n", s_Allocated, s_Freed);
    return s_Allocated == 3 && s_Freed == 3 ? 0 : 1;
}
