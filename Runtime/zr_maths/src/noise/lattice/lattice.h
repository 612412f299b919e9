#pragma once

// The steps of lattice value noise, which all samplers share: a position's cell and its fraction in it
// (SplitCoordinates), the basis values at the cell's corners (HashEdges, TBasisLookup), the weights (Fade)
// and the blend (Lerp, BlendEdges). Templates over a value's type work on one position and on several lanes.

#include "permutations.h"

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

/// `position` with 0 in lane 3. Lane 3 is ignored, but arithmetic on a caller's value there would show: a
/// denormal is several times slower, and a NaN or 3e9 raises FE_INVALID. Pinned, because compilers drop the
/// mask once they see that lane 3 is unused.
[[gnu::always_inline]] inline Float4 ClearLane3(Float4 position) {
    return Float4(SIMD_Neon::Backend::Pin((position & Int4(-1, -1, -1, 0)).m_Register));
}

/// Coordinates split into lattice cells, modulo 256, and fractions within the cells.
template <typename TFloat, typename TInt>
struct TSplitCoordinates {
    TInt m_Cell;
    TFloat m_Fraction;
};

/// Splits coordinates, lane by lane. Fractions lie in [0, 1]: 0 for integers, and rounded to 1 just below
/// some of them. The saturating conversion defines the noise for every bit pattern: the fraction of -0 is +0;
/// beyond +-2^31 the cell stays put and the fraction grows; NaN has fraction NaN and cell 0, which linear
/// gradients depend on.
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

/// Linear interpolation from `a`, given the difference to the other end.
template <typename TValue>
[[gnu::always_inline]] inline TValue LerpBy(TValue a, TValue difference, TValue t) {
    return a + difference * t;
}

template <typename TValue>
[[gnu::always_inline]] inline TValue Lerp(TValue a, TValue b, TValue t) {
    return LerpBy(a, b - a, t);
}

/// A cell's corners are grouped in edges along the last axis. The binary digits of an edge's index are its
/// offsets along the other axes, x first: edge 2 (10) of a 3D cell joins corners 100 and 101.
template <int kDimension>
inline constexpr size_t kEdgeCount = size_t{1} << (kDimension - 1);

/// The permutation, one entry per look-up.
struct CPermutationEntries {
    /// Extends `hash` by the coordinate of the next axis, on its lower (0) or upper (1) side.
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

/// The hash of every edge of a cell. Starting with the first coordinate, each step looks the hash up in the
/// permutation and adds the next coordinate. `cell` has kDimension coordinates in 0 to 255. A hash is in 0 to
/// 510, or that modulo 256, the period of all tables.
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

/// Direct look-up: an edge's hash is the index of its lower end, and the upper end is the next entry.
struct CDirectLookup {
    const float* m_Values;

    /// (lower end, upper end, 0, 0)
    [[gnu::always_inline]] Float4 LoadEdge(size_t hash) const {
        return SIMD_Neon::LoadPair(m_Values + hash);
    }

    /// (lower end 0, upper end 0, lower end 1, upper end 1)
    [[gnu::always_inline]] Float4 LoadEdges(size_t hash0, size_t hash1) const {
        return SIMD_Neon::LoadTwoPairs(m_Values + hash0, m_Values + hash1);
    }
};

/// Permuted look-up: both ends go through the permutation once more.
struct CPermutedLookup {
    const float* m_Basis;

    [[gnu::always_inline]] float Value(size_t hash) const {
        return m_Basis[kFastNoisePermutations[hash]];
    }

    /// As CDirectLookup.
    [[gnu::always_inline]] Float4 LoadEdge(size_t hash) const {
        return Float4(Value(hash), Value(hash + 1), 0.0f, 0.0f);
    }

    /// As CDirectLookup.
    [[gnu::always_inline]] Float4 LoadEdges(size_t hash0, size_t hash1) const {
        return Float4(Value(hash0), Value(hash0 + 1), Value(hash1), Value(hash1 + 1));
    }
};

/// 3D and 4D look up directly, which saves a round of look-ups: a line along the last axis then walks through
/// the basis in order, each line from its own start. In 1D and 2D such lines would show, so both ends are
/// permuted.
template <int kDimension>
using TBasisLookup = std::conditional_t<kDimension >= 3, CDirectLookup, CPermutedLookup>;

template <typename TValue, size_t... kEdges>
[[gnu::always_inline]] inline std::array<TValue, sizeof...(kEdges)>
_BlendOneAxis(const std::array<TValue, 2 * sizeof...(kEdges)>& edges, TValue weight,
              std::index_sequence<kEdges...>) {
    return {Lerp(edges[kEdges], edges[kEdges + sizeof...(kEdges)], weight)...};
}

/// Blends the edges of a cell into one, along x first, then y and z. `weights` has one weight per axis. The
/// lower and upper sides of the first axis are the two halves of `edges`.
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
