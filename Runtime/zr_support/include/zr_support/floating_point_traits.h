#pragma once

#include <zr_support/compiler.h>

#include <cstring>

namespace Vestrel {

/// The layout of a binary IEEE 754 format, lowest bits first: mantissa, exponent, sign. `TBits` is the
/// unsigned integer of the same size.
template <typename TBits, int kMantissaBitCount, int kExponentBitCount>
struct TAbstractIEEE754_FpConstants {
    /// The unsigned integer of the same size.
    using Bits = TBits;

    /// +infinity: all exponent bits set, no others.
    static constexpr TBits kPositiveInfinityBits = ((TBits(1) << kExponentBitCount) - 1) << kMantissaBitCount;
};

/// Constants of the floating-point type `TFloat`, whose format is `TConstants`.
template <typename TFloat, typename TConstants>
struct TAbstractFloatingPointRepresentation {
    /// +infinity. Initialised once when the program is loaded.
    ///
    /// The caller guarantees not to read it from other static initialisers, which may run earlier.
    static const TFloat kPositiveInfinity;

private:
    static TFloat _FromBits(typename TConstants::Bits bits) {
        static_assert(sizeof(TFloat) == sizeof(bits));
        TFloat value;
        std::memcpy(&value, &bits, sizeof(value));
        return value;
    }
};

template <typename TFloat, typename TConstants>
const TFloat TAbstractFloatingPointRepresentation<TFloat, TConstants>::kPositiveInfinity =
    _FromBits(TConstants::kPositiveInfinityBits);

} // namespace Vestrel
