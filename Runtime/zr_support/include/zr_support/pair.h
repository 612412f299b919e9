#pragma once

#include <zr_support/compiler.h>
#include <zr_support/vector.h>

#include <cstddef>

namespace Vestrel {

/// `first` followed by `second`, without padding if the alignment of `second` needs none, as in every pair of
/// four-component vectors. An aggregate.
template <typename A, typename B>
struct TPair {
    A first;  ///< first in memory
    B second; ///< second in memory
};

namespace Internal {
using TFractionsAndCell =
    TPair<TVector<float, 4>, TVector<int, 4>>; // offsetof is a macro and trips over a comma
}
static_assert(sizeof(Internal::TFractionsAndCell) == 32 &&
              offsetof(Internal::TFractionsAndCell, second) == 16);

} // namespace Vestrel
