#pragma once

// The noise at one position, at four, and at four that share a cell.

#include "lattice.h"

namespace Vestrel::Internal {

template <typename TLookup, size_t... kEdges>
[[gnu::always_inline]] inline std::array<Float4, sizeof...(kEdges)>
_LoadEdgesOfOne(const TLookup& lookup, const std::array<uint32_t, sizeof...(kEdges)>& hashes,
                std::index_sequence<kEdges...>) {
    return {lookup.LoadEdge(hashes[kEdges])...};
}

/// The noise at the position in the first lanes of `position`; the other lanes are ignored.
///
/// Split and fade take one axis per lane, by the same functions as SampleFour: floor in scalar arithmetic
/// would give other bits beyond +-2^31.
template <int kDimension, ENoiseQuality kQuality, typename TLookup>
[[gnu::always_inline]] inline float SampleOne(TLookup lookup, Float4 position) {
    const auto split = SplitCoordinates(position);
    const Float4 weights = Fade<kQuality>(split.m_Fraction);

    alignas(16) uint32_t cell[4];
    SIMD_Neon::SpillAligned(cell, split.m_Cell);
    const Float4 axisWeights[3] = {SIMD_Neon::BroadcastLane<0>(weights), SIMD_Neon::BroadcastLane<1>(weights),
                                   SIMD_Neon::BroadcastLane<2>(weights)};
    const Float4 edge = BlendEdges(_LoadEdgesOfOne(lookup, HashEdges<kDimension>(cell),
                                                   std::make_index_sequence<kEdgeCount<kDimension>>()),
                                   axisWeights);
    return Lerp(SIMD_Neon::ExtractLane<0>(edge), SIMD_Neon::ExtractLane<1>(edge),
                SIMD_Neon::ExtractLane<kDimension - 1>(weights));
}

/// The 3D noise at the position in lanes 0 to 2.
template <ENoiseQuality kQuality>
[[gnu::always_inline]] inline float SampleAtPosition(const float* basis, Float4 position) {
    return SampleOne<3, kQuality>(TBasisLookup<3>{basis}, ClearLane3(position));
}

// Several positions, one per lane. Up to the last blend, an edge's two ends are blended side by side, as
// pairs: one register holds (lower 0, upper 0, lower 1, upper 1) of positions 0 and 1, another those of
// positions 2 and 3. With eight lanes the upper halves hold positions 4 and 5, and 6 and 7.

template <size_t kEdge, typename TLookup, typename... THashes>
[[gnu::always_inline]] inline auto _LoadEdge(const TLookup& lookup, const THashes&... hashes) {
    return lookup.LoadEdges(hashes[kEdge]...);
}

template <size_t... kEdges, typename TLookup, typename... THashes>
[[gnu::always_inline]] inline auto _LoadAllEdges(std::index_sequence<kEdges...>, const TLookup& lookup,
                                                 const THashes&... hashes) {
    return std::array{_LoadEdge<kEdges>(lookup, hashes...)...};
}

/// The edges of as many cells as fit a register, as pairs. `hashes` are the HashEdges of each cell.
template <int kDimension, typename TLookup, typename... THashes>
[[gnu::always_inline]] inline auto LoadEdgePairs(const TLookup& lookup, const THashes&... hashes) {
    return _LoadAllEdges(std::make_index_sequence<kEdgeCount<kDimension>>(), lookup, hashes...);
}

/// The weights of several positions, per axis: one per lane, and repeated for both ends of a pair.
template <int kDimension, typename TFloat>
struct TPairWeights {
    std::array<TFloat, kDimension> m_Lanes;
    std::array<TFloat, kDimension> m_Pairs01;
    std::array<TFloat, kDimension> m_Pairs23;

    [[gnu::always_inline]] void Set(size_t axis, TFloat weights) {
        m_Lanes[axis] = weights;
        m_Pairs01[axis] = InterleaveLow(weights, weights);
        m_Pairs23[axis] = InterleaveHigh(weights, weights);
    }
};

/// The noise at several positions. `loadPairs(0)` and `loadPairs(2)` give their LoadEdgePairs.
template <int kDimension, typename TFloat, typename TLoadPairs>
[[gnu::always_inline]] inline TFloat BlendPairs(const TPairWeights<kDimension, TFloat>& weights,
                                                const TLoadPairs& loadPairs) {
    const TFloat edges01 = BlendEdges(loadPairs(0), &weights.m_Pairs01[0]);
    const TFloat edges23 = BlendEdges(loadPairs(2), &weights.m_Pairs23[0]);
    return Lerp(DeinterleaveEven(edges01, edges23), DeinterleaveOdd(edges01, edges23),
                weights.m_Lanes[kDimension - 1]);
}

/// The corners of several 3D cells, one cell per lane: corner 5 is 101, x first. `loadPair(edge, k)` with k =
/// 0 and k = 2 gives one edge of their LoadEdgePairs.
template <typename TFloat, typename TLoadPair>
[[gnu::always_inline]] inline std::array<TFloat, 8> CornersOfPairs(const TLoadPair& loadPair) {
    std::array<TFloat, 8> corners;
#pragma GCC unroll 4
    for (size_t edge = 0; edge < 4; ++edge) {
        const TFloat edge01 = loadPair(edge, 0);
        const TFloat edge23 = loadPair(edge, 2);
        corners[2 * edge] = DeinterleaveEven(edge01, edge23);
        corners[2 * edge + 1] = DeinterleaveOdd(edge01, edge23);
    }
    return corners;
}

/// The noise at four positions, given as one value per axis: lane n belongs to position n.
template <int kDimension, ENoiseQuality kQuality, typename TLookup>
[[gnu::always_inline]] inline Float4 SampleFour(TLookup lookup,
                                                const std::array<Float4, kDimension>& coordinates) {
    alignas(16) uint32_t cells[kDimension][4];
    TPairWeights<kDimension, Float4> weights;
#pragma GCC unroll 4
    for (size_t axis = 0; axis < kDimension; ++axis) {
        const auto split = SplitCoordinates(coordinates[axis]);
        SIMD_Neon::SpillAligned(cells[axis], split.m_Cell);
        weights.Set(axis, Fade<kQuality>(split.m_Fraction));
    }
    uint32_t cell[4][kDimension];
#pragma GCC unroll 4
    for (size_t axis = 0; axis < kDimension; ++axis) {
#pragma GCC unroll 4
        for (size_t lane = 0; lane < 4; ++lane) {
            cell[lane][axis] = cells[axis][lane];
        }
    }
    return BlendPairs(
        weights, [&](size_t k) __attribute__((always_inline)) {
            return LoadEdgePairs<kDimension>(lookup, HashEdges<kDimension>(cell[k]),
                                             HashEdges<kDimension>(cell[k + 1]));
        });
}

/// The 3D noise at four positions in the cell of the first, each with its axes in lanes 0 to 2: lane n of the
/// result belongs to position n. Positions outside that cell extrapolate its blend.
template <ENoiseQuality kQuality>
[[gnu::always_inline]] inline Float4 SampleCoherent(CDirectLookup lookup, const Float4* positions) {
    const Float4 first = ClearLane3(positions[0]);
    const auto split = SplitCoordinates(first);
    alignas(16) uint32_t cell[4];
    SIMD_Neon::SpillAligned(cell, split.m_Cell);
    const auto hashes = HashEdges<3>(cell);
    const Float4 lower = lookup.LoadEdges(hashes[0], hashes[1]); // corners 000 001 010 011
    const Float4 upper = lookup.LoadEdges(hashes[2], hashes[3]); // corners 100 101 110 111

    const Float4 fraction0 = split.m_Fraction;
    const auto fractionOf = [&](Float4 position) { return (ClearLane3(position) - first) + fraction0; };
    const SIMD_Neon::Float4x4 fractions = SIMD_Neon::Transpose(
        fraction0, fractionOf(positions[1]), fractionOf(positions[2]), fractionOf(positions[3]));
    const Float4 weights[3] = {Fade<kQuality>(fractions.m_Rows[0]), Fade<kQuality>(fractions.m_Rows[1]),
                               Fade<kQuality>(fractions.m_Rows[2])};
    // The differences along x are those of the corners, the same for all four positions.
    const Float4 difference = upper - lower;
    const std::array<Float4, 4> edges = {
        LerpBy(SIMD_Neon::BroadcastLane<0>(lower), SIMD_Neon::BroadcastLane<0>(difference), weights[0]),
        LerpBy(SIMD_Neon::BroadcastLane<1>(lower), SIMD_Neon::BroadcastLane<1>(difference), weights[0]),
        LerpBy(SIMD_Neon::BroadcastLane<2>(lower), SIMD_Neon::BroadcastLane<2>(difference), weights[0]),
        LerpBy(SIMD_Neon::BroadcastLane<3>(lower), SIMD_Neon::BroadcastLane<3>(difference), weights[0])};
    return BlendEdges(edges, weights + 1);
}

} // namespace Vestrel::Internal
