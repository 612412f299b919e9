#pragma once

#include <zr_support/compiler.h>

#include <cstddef>

namespace Vestrel {

/// `kCount` packed components, in the order x, y, z, w. An aggregate: `TVector<float, 3>{1.0f, 2.0f, 3.0f}`.
template <typename T, int kCount>
struct TVector;

/// Two packed components, without padding.
template <typename T>
struct TVector<T, 2> {
    T x; ///< first in memory
    T y; ///< second in memory
};

/// Three packed components, without padding: 12 bytes of floats.
template <typename T>
struct TVector<T, 3> {
    T x; ///< first in memory
    T y; ///< second in memory
    T z; ///< third in memory
};

/// Four packed components, without padding. It has the alignment of one component.
template <typename T>
struct TVector<T, 4> {
    T x; ///< first in memory
    T y; ///< second in memory
    T z; ///< third in memory
    T w; ///< fourth in memory
};

// The samplers recognise packed positions by these sizes.
static_assert(sizeof(TVector<float, 2>) == 8);
static_assert(sizeof(TVector<float, 3>) == 12);
static_assert(sizeof(TVector<float, 4>) == 16);
static_assert(sizeof(TVector<int, 4>) == 16);

namespace Internal {
using TFourFloats = TVector<float, 4>; // offsetof is a macro and trips over a comma
}
static_assert(offsetof(Internal::TFourFloats, y) == 4 && offsetof(Internal::TFourFloats, z) == 8 &&
              offsetof(Internal::TFourFloats, w) == 12);

} // namespace Vestrel
