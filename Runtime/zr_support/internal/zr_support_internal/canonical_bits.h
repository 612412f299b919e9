#pragma once

// Comparing results by their bits, in tests and in VerifyArithmetic.

#include <bit>
#include <cstdint>

namespace Vestrel {

/// The bits of a float, with one canonical NaN for all NaNs. Not by std::isnan, which some flags make always
/// false.
inline uint32_t CanonicalBits(float value) {
    constexpr uint32_t kInfinity = 0x7F800000u;
    const uint32_t bits = std::bit_cast<uint32_t>(value);
    return (bits & 0x7FFFFFFFu) > kInfinity ? 0x7FC00000u : bits;
}

/// A hash of floats by their canonical bits: FNV-1a over 32-bit words. Start with kEmptyHash.
constexpr uint64_t kEmptyHash = 14695981039346656037u;

inline uint64_t HashWith(uint64_t hash, float value) {
    return (hash ^ CanonicalBits(value)) * 1099511628211u;
}

} // namespace Vestrel
