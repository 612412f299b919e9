#pragma once

// Memory for the tables of noise objects.

#include <zr_support/mem_alloc.h>

#include <cstddef>
#include <cstdint>

namespace Vestrel::Internal {

/// 32-byte aligned and uninitialised. Never null.
inline float* AllocateTable(size_t bytes) {
    constexpr uint32_t kAlignment = 32;
    return static_cast<float*>(
        Mem::_RawAlloc(bytes, kAlignment, Mem::EAllocType::kGeneral, Mem::EOrigin::kUnspecified));
}

inline void FreeTable(float* table) {
    Mem::_RawFree(table, Mem::EAllocType::kGeneral, Mem::EOrigin::kUnspecified);
}

} // namespace Vestrel::Internal
