#pragma once

// The rules of the noise value at a point: in which lattice cell it lies and where (SplitCoordinates), which
// basis values stand at the corners of that cell (HashEdges, CAdjacentEnds, CPermutedEnds), how far the point
// has gone from one side to the other (Fade), and the mean of the corners so weighted (Lerp, Blend). Every
// sampler is made of these. What is a template over the type of a value works for one position and for
// several side by side.

#include "maths_noise_fast_permutations.h"

#include <zr_support/simd_float4.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <type_traits>
#include <utility>

namespace Vestrel::Internal {

using SIMD_Neon::Float4;
using SIMD_Neon::Int4;

enum class ENoiseQuality { kLinear, kCubic, kQuintic };

/// `position` with 0 in lane 3. Lane 3 is ignored, but arithmetic on what a caller has there would show: a
/// denormal takes several times as long, and a NaN or 3e9 raises FE_INVALID. Pinned, because compilers drop
/// the mask once they see that lane 3 is unused.
[[gnu::always_inline]] inline Float4 ClearLane3(Float4 position) {
    return Float4(SIMD_Neon::Backend::Pin((position & Int4(-1, -1, -1, 0)).m_Register));
}

/// Coordinates, each split into its cell on the lattice, reduced to 0 to 255, and its fraction within it.
template <typename TFloat, typename TInt>
struct TSplitCoordinates {
    TInt m_Cell;
    TFloat m_Fraction;
};

/// Splits coordinates, several side by side. Fractions lie in [0, 1]: exactly 0 for integral coordinates, and
/// rounded to exactly 1 just below some of them. This form, with its saturating conversion, says what the
/// noise is for every bit pattern: the fraction of -0 is +0; beyond +-2^31 the cell stays put and the
/// fraction grows; not-a-number has a fraction that is not a number, and cell 0, which linear gradients
/// depend on.
template <typename TFloat>
[[gnu::always_inline]] inline auto SplitCoordinates(TFloat coordinates) {
    const auto truncated = TruncateNumberToInt(coordinates);
    const TFloat rounded = ToFloat(truncated);
    const auto isAbove = GreaterThan(rounded, coordinates);
    const auto cell = (truncated + isAbove) & decltype(truncated)(kPeriod - 1);
    return TSplitCoordinates<TFloat, std::remove_const_t<decltype(cell)>>{cell, (coordinates - rounded) +
                                                                                    (TFloat(1.0f) & isAbove)};
}

/// The weight of the upper side at the fraction `t`. The order of operations is part of the noise's
/// definition.
template <ENoiseQuality kQuality, typename TValue>
[[gnu::always_inline]] inline TValue Fade(TValue t) {
    if constexpr (kQuality == ENoiseQuality::kCubic) {
        return (t * t) * (TValue(3.0f) - (t + t));
    } else if constexpr (kQuality == ENoiseQuality::kQuintic) {
        return (t * (t * t)) * (t * (t * TValue(6.0f) + TValue(-15.0f)) + TValue(10.0f));
    } else {
        return t;
    }
}

/// The part `t` of the way from `a` to another value, for those that have the difference already.
template <typename TValue>
[[gnu::always_inline]] inline TValue LerpBy(TValue a, TValue difference, TValue t) {
    return a + difference * t;
}

template <typename TValue>
[[gnu::always_inline]] inline TValue Lerp(TValue a, TValue b, TValue t) {
    return LerpBy(a, b - a, t);
}

/// The corners of a cell come in edges along the last axis. An edge's number has its offset along each of the
/// other axes as a binary digit, x first: edge 2 of a 3D cell, 10 in digits, goes from corner 100 to corner
/// 101.
template <int kDimension>
inline constexpr size_t kEdgeCount = size_t{1} << (kDimension - 1);

/// The permutation, looked up entry by entry.
struct CPermutationEntries {
    /// The hash that follows `hash` on the lower (0) or the upper (1) side of the next axis.
    template <size_t kSide>
    [[gnu::always_inline]] uint32_t Next(uint32_t hash, uint32_t coordinate) const {
        return kFastNoisePermutations[hash + kSide] + coordinate;
    }
};

template <typename THash, typename TPermutations, size_t... kEdges>
[[gnu::always_inline]] inline std::array<THash, sizeof...(kEdges)>
_HashNextAxis(const TPermutations& permutations, const std::array<THash, sizeof...(kEdges) / 2>& hashes,
              THash coordinate, std::index_sequence<kEdges...>) {
    return {permutations.template Next<kEdges % 2>(hashes[kEdges / 2], coordinate)...};
}

/// The hash of every edge of a cell: the first coordinate, looked up in the permutation and the next one
/// added, and so on to the last. `cell` holds kDimension coordinates in 0 to 255; a hash is in 0 to 510, or
/// that modulo 256, after which all tables repeat.
template <int kDimension, typename THash, typename TPermutations = CPermutationEntries>
[[gnu::always_inline]] inline std::array<THash, kEdgeCount<kDimension>>
HashEdges(const THash* cell, const TPermutations& permutations = {}) {
    if constexpr (kDimension == 1) {
        return {cell[0]};
    } else {
        return _HashNextAxis(permutations, HashEdges<kDimension - 1>(cell, permutations),
                             cell[kDimension - 1], std::make_index_sequence<kEdgeCount<kDimension>>());
    }
}

/// Edges whose hash is the index of the lower end, the upper end being its neighbour.
struct CAdjacentEnds {
    const float* m_Values;

    /// (lower end, upper end, 0, 0)
    [[gnu::always_inline]] Float4 LoadEdge(size_t hash) const {
        return SIMD_Neon::LoadPair(m_Values + hash);
    }

    /// (lower end 0, upper end 0, lower end 1, upper end 1)
    [[gnu::always_inline]] Float4 LoadTwoEdges(size_t hash0, size_t hash1) const {
        return SIMD_Neon::LoadTwoPairs(m_Values + hash0, m_Values + hash1);
    }
};

/// Edges whose ends both go through the permutation once more.
struct CPermutedEnds {
    const float* m_Basis;

    [[gnu::always_inline]] float Value(size_t hash) const {
        return m_Basis[kFastNoisePermutations[hash]];
    }

    /// As CAdjacentEnds.
    [[gnu::always_inline]] Float4 LoadEdge(size_t hash) const {
        return Float4(Value(hash), Value(hash + 1), 0.0f, 0.0f);
    }

    /// As CAdjacentEnds.
    [[gnu::always_inline]] Float4 LoadTwoEdges(size_t hash0, size_t hash1) const {
        return Float4(Value(hash0), Value(hash0 + 1), Value(hash1), Value(hash1 + 1));
    }
};

/// How a hash leads to the basis. From 3D on it is an index as it stands, which saves a round of look-ups: a
/// line along the last axis walks through the basis in order, each line from a start of its own. In 1D and
/// 2D, where such lines are all or half of what one sees, both ends go through the permutation once more.
template <int kDimension>
using TEdgeEnds = std::conditional_t<kDimension >= 3, CAdjacentEnds, CPermutedEnds>;

template <typename TValue, size_t... kEdges>
[[gnu::always_inline]] inline std::array<TValue, sizeof...(kEdges)>
_BlendOneAxis(const std::array<TValue, 2 * sizeof...(kEdges)>& edges, TValue weight,
              std::index_sequence<kEdges...>) {
    return {Lerp(edges[kEdges], edges[kEdges + sizeof...(kEdges)], weight)...};
}

/// Blends values into one, along the axis of their numbers' first digit first: the edges of a cell along x,
/// then y and z. `weights` has one weight for each digit. An edge's first digit tells its side on the first
/// axis, so that the sides are the two halves.
template <typename TValue, size_t kCount>
[[gnu::always_inline]] inline TValue BlendEdges(const std::array<TValue, kCount>& edges,
                                                const TValue* weights) {
    if constexpr (kCount == 1) {
        return edges[0];
    } else {
        return BlendEdges(_BlendOneAxis(edges, weights[0], std::make_index_sequence<kCount / 2>()),
                          weights + 1);
    }
}

} // namespace Vestrel::Internal
