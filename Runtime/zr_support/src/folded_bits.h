#pragma once

// Comparing results by their bits, in tests and in what the library checks of itself.

#include <bit>
#include <cmath>
#include <cstdint>

namespace Vestrel {

/// The bits of a float, all not-a-numbers being one.
inline uint32_t FoldedBits(float value) {
    return std::isnan(value) ? 0x7FC00000u : std::bit_cast<uint32_t>(value);
}

/// A hash of floats by their folded bits: FNV-1a by words. It begins with kEmptyHash and takes one after the
/// other.
constexpr uint64_t kEmptyHash = 14695981039346656037u;

inline uint64_t HashWith(uint64_t hash, float value) {
    return (hash ^ FoldedBits(value)) * 1099511628211u;
}

} // namespace Vestrel
