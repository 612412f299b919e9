#pragma once

// Comparing results by their bits, in tests and in what the library checks of itself.

#include <bit>
#include <cstdint>

namespace Vestrel {

/// The bits of a float, all not-a-numbers being one. They are told by their bits, for under some flags
/// std::isnan is always false.
inline uint32_t CanonicalBits(float value) {
    constexpr uint32_t kInfinity = 0x7F800000u;
    const uint32_t bits = std::bit_cast<uint32_t>(value);
    return (bits & 0x7FFFFFFFu) > kInfinity ? 0x7FC00000u : bits;
}

/// A hash of floats by their folded bits: FNV-1a by words. It begins with kEmptyHash and takes one after the
/// other.
constexpr uint64_t kEmptyHash = 14695981039346656037u;

inline uint64_t HashWith(uint64_t hash, float value) {
    return (hash ^ CanonicalBits(value)) * 1099511628211u;
}

} // namespace Vestrel
