#pragma once

// The noise at one position, at four side by side, and at four that share a cell, put together from the rules
// of the lattice.

#include "maths_noise_fast_lattice.h"

namespace Vestrel::Internal {

template <int kDimension, typename TEnds, size_t... kEdges>
[[gnu::always_inline]] inline std::array<Float4, sizeof...(kEdges)>
_LoadEdges(TEnds ends, const std::array<uint32_t, sizeof...(kEdges)>& hashes,
           std::index_sequence<kEdges...>) {
    return {ends.LoadEdge(hashes[kEdges])...};
}

template <int kDimension, typename TEnds, size_t... kEdges>
[[gnu::always_inline]] inline std::array<Float4, sizeof...(kEdges)>
_LoadEdgesOfTwo(TEnds ends, const std::array<uint32_t, sizeof...(kEdges)>& hashes0,
                const std::array<uint32_t, sizeof...(kEdges)>& hashes1, std::index_sequence<kEdges...>) {
    return {ends.LoadTwoEdges(hashes0[kEdges], hashes1[kEdges])...};
}

/// The noise at the position in the first lanes of `position`; the other lanes are ignored.
///
/// Split and fade take one axis per lane. They are those of SampleFour to the letter, which gives the same
/// bits for every bit pattern; a true floor in scalar arithmetic would not beyond +-2^31.
template <int kDimension, ENoiseQuality kQuality, typename TEnds>
[[gnu::always_inline]] inline float SampleOne(TEnds ends, Float4 position) {
    const auto split = SplitCoordinates(position);
    const Float4 weights = Fade<kQuality>(split.m_Fraction);

    alignas(16) uint32_t cell[4];
    SIMD_Neon::SpillAligned(cell, split.m_Cell);
    const Float4 axisWeights[3] = {SIMD_Neon::BroadcastLane<0>(weights), SIMD_Neon::BroadcastLane<1>(weights),
                                   SIMD_Neon::BroadcastLane<2>(weights)};
    const Float4 edge = BlendEdges(_LoadEdges<kDimension>(ends, HashEdges<kDimension>(cell),
                                                          std::make_index_sequence<kEdgeCount<kDimension>>()),
                                   axisWeights);
    return Lerp(SIMD_Neon::ExtractLane<0>(edge), SIMD_Neon::ExtractLane<1>(edge),
                SIMD_Neon::ExtractLane<kDimension - 1>(weights));
}

/// The 3D noise at the position in lanes 0 to 2.
template <ENoiseQuality kQuality>
[[gnu::always_inline]] inline float SampleAt(const float* basis, Float4 position) {
    return SampleOne<3, kQuality>(TEdgeEnds<3>{basis}, ClearLane3(position));
}

/// The weights of positions side by side, one axis after the other: as they are, and twice each, those of the
/// first half of the positions and those of the second.
template <int kDimension, typename TFloat>
struct TPairWeights {
    std::array<TFloat, kDimension> m_Each;
    std::array<TFloat, kDimension> m_Twice01;
    std::array<TFloat, kDimension> m_Twice23;

    [[gnu::always_inline]] void Set(size_t axis, TFloat weights) {
        m_Each[axis] = weights;
        m_Twice01[axis] = InterleaveLow(weights, weights);
        m_Twice23[axis] = InterleaveHigh(weights, weights);
    }
};

/// The last blend. Up to here both ends of an edge are blended side by side, as pairs of neighbours, (lower
/// 0, upper 0, lower 1, upper 1), those of the first positions in `edges01` and of the others in `edges23`;
/// with more than four lanes, so in each four. Now the ends part.
template <typename TFloat>
[[gnu::always_inline]] inline TFloat LerpPairs(TFloat edges01, TFloat edges23, TFloat weights) {
    return Lerp(DeinterleaveEven(edges01, edges23), DeinterleaveOdd(edges01, edges23), weights);
}

/// The noise at four positions, given as one value per axis: lane n belongs to position n.
template <int kDimension, ENoiseQuality kQuality, typename TEnds>
[[gnu::always_inline]] inline Float4 SampleFour(TEnds ends,
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
    constexpr auto allEdges = std::make_index_sequence<kEdgeCount<kDimension>>();
    const Float4 edges01 = BlendEdges(_LoadEdgesOfTwo<kDimension>(ends, HashEdges<kDimension>(cell[0]),
                                                                  HashEdges<kDimension>(cell[1]), allEdges),
                                      &weights.m_Twice01[0]);
    const Float4 edges23 = BlendEdges(_LoadEdgesOfTwo<kDimension>(ends, HashEdges<kDimension>(cell[2]),
                                                                  HashEdges<kDimension>(cell[3]), allEdges),
                                      &weights.m_Twice23[0]);
    return LerpPairs(edges01, edges23, weights.m_Each[kDimension - 1]);
}

/// The 3D noise at four positions in the cell of the first, each with its axes in lanes 0 to 2: lane n of the
/// result belongs to position n. Positions outside that cell continue its blend.
template <ENoiseQuality kQuality>
[[gnu::always_inline]] inline Float4 SampleCoherent(CAdjacentEnds ends, const Float4* positions) {
    const Float4 first = ClearLane3(positions[0]);
    const auto split = SplitCoordinates(first);
    alignas(16) uint32_t cell[4];
    SIMD_Neon::SpillAligned(cell, split.m_Cell);
    const auto hashes = HashEdges<3>(cell);
    const Float4 lower = ends.LoadTwoEdges(hashes[0], hashes[1]); // corners 000 001 010 011
    const Float4 upper = ends.LoadTwoEdges(hashes[2], hashes[3]); // corners 100 101 110 111

    const Float4 fraction0 = split.m_Fraction;
    const auto fractionOf = [&](Float4 position) { return (ClearLane3(position) - first) + fraction0; };
    const SIMD_Neon::Float4x4 fractions = SIMD_Neon::Transpose(
        fraction0, fractionOf(positions[1]), fractionOf(positions[2]), fractionOf(positions[3]));
    const Float4 weights[3] = {Fade<kQuality>(fractions.m_Rows[0]), Fade<kQuality>(fractions.m_Rows[1]),
                               Fade<kQuality>(fractions.m_Rows[2])};
    // Along x the differences are those of the corners, the same for all four positions.
    const Float4 difference = upper - lower;
    const std::array<Float4, 4> edges = {
        LerpBy(SIMD_Neon::BroadcastLane<0>(lower), SIMD_Neon::BroadcastLane<0>(difference), weights[0]),
        LerpBy(SIMD_Neon::BroadcastLane<1>(lower), SIMD_Neon::BroadcastLane<1>(difference), weights[0]),
        LerpBy(SIMD_Neon::BroadcastLane<2>(lower), SIMD_Neon::BroadcastLane<2>(difference), weights[0]),
        LerpBy(SIMD_Neon::BroadcastLane<3>(lower), SIMD_Neon::BroadcastLane<3>(difference), weights[0])};
    return BlendEdges(edges, weights + 1);
}

} // namespace Vestrel::Internal
