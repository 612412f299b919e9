#pragma once

#include <zr_support/compiler.h>

#include <cstring>

namespace Vestrel {

/// The bits of a binary IEEE 754 format, lowest first: mantissa, exponent, sign. `TBits` is the unsigned
/// integer of the format's size.
template <typename TBits, int kMantissaBitCount, int kExponentBitCount>
struct TAbstractIEEE754_FpConstants {
    /// The unsigned integer of the format's size.
    using Bits = TBits;

    /// +infinity: all bits of the exponent, and no others.
    static constexpr TBits kPositiveInfinityBits = ((TBits(1) << kExponentBitCount) - 1) << kMantissaBitCount;
};

/// Constants of the floating-point type `TFloat`, whose format is `TConstants`.
template <typename TFloat, typename TConstants>
struct TAbstractFloatingPointRepresentation {
    /// +infinity. Set once, behind the compiler's guard, when the program is loaded: not for use by other
    /// static initialisers.
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
