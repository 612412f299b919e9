#pragma once

// The gradient of the 3D noise: the derivatives of a cell's blend by its weights, and the chain rule through
// the fades.

#include "lattice.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace Vestrel::Internal {

/// The order in which a gradient's terms are added. The single call adds them in the order of the formula;
/// the batch uses sums that do not wait for each other. The two round differently, and either is part of its
/// function's definition.
enum class ESummationOrder { kSingle, kBatch };

/// The derivative of Fade at the fraction `t`. Not for linear quality, where it is 1.
template <ENoiseQuality kQuality, typename TValue>
[[gnu::always_inline]] inline TValue FadeDerivative(TValue t) {
    if constexpr (kQuality == ENoiseQuality::kCubic) {
        const TValue slope = t * TValue(6.0f);
        return slope - t * slope;
    } else {
        static_assert(kQuality == ENoiseQuality::kQuintic);
        const TValue square = t * t;
        const TValue slope = square * TValue(30.0f);
        return slope + slope * (square - (t + t));
    }
}

/// The chain rule: turns the derivative by a weight into the derivative by the fraction.
template <ENoiseQuality kQuality, typename TValue>
[[gnu::always_inline]] inline TValue _ThroughFade(TValue derivative, TValue fraction) {
    if constexpr (kQuality == ENoiseQuality::kLinear) {
        return derivative;
    } else {
        return FadeDerivative<kQuality>(fraction) * derivative;
    }
}

/// The differences between a cell's corners that make up its gradient.
template <typename TValue>
struct TCornerDifferences {
    /// From corner 000 to the next one along x, y and z.
    std::array<TValue, 3> m_First;
    /// How a first difference changes along the next axis: x along y, y along z, z along x.
    std::array<TValue, 3> m_Second;
    /// How a second difference changes along the third axis, negated.
    TValue m_NegatedThird;
};

/// Corner 5 is 101, x first.
template <ESummationOrder kOrder, typename TValue>
[[gnu::always_inline]] inline TCornerDifferences<TValue>
DifferencesOfCorners(const std::array<TValue, 8>& corners) {
    const auto& [c000, c001, c010, c011, c100, c101, c110, c111] = corners;
    const TValue x = c100 - c000;
    const TValue y = c010 - c000;
    const TValue z = c001 - c000;
    const TValue xBesideY = c110 - c010;
    const TValue yBesideZ = c011 - c001;
    const TValue zBesideX = c101 - c100;
    const TValue diagonal = c000 - c111;
    const TValue third = kOrder == ESummationOrder::kSingle ? (diagonal + xBesideY) + (yBesideZ + zBesideX)
                                                            : diagonal + (zBesideX + (yBesideZ + xBesideY));
    return {{x, y, z}, {xBesideY - x, yBesideZ - y, zBesideX - z}, third};
}

/// The derivative of the blend by one axis's weight. `first` is the first difference along that axis;
/// `weight1` and `weight2` are the weights of the next two axes in cyclic order, and `second1` and `second2`
/// the changes of `first` along them.
template <ESummationOrder kOrder, typename TValue>
[[gnu::always_inline]] inline TValue DerivativeOfBlend(TValue first, TValue weight1, TValue second1,
                                                       TValue weight2, TValue second2, TValue negatedThird) {
    if constexpr (kOrder == ESummationOrder::kSingle) {
        return ((first + weight1 * second1) + weight2 * second2) - (weight2 * weight1) * negatedThird;
    } else {
        return (first + weight1 * second1) + (weight2 * second2 - weight1 * (weight2 * negatedThird));
    }
}

/// The gradient at one position, given as fractions and the hashes of its cell's edges: one axis per lane,
/// and 0 in lane 3.
template <ENoiseQuality kQuality, ESummationOrder kOrder>
[[gnu::always_inline]] inline Float4 GradientInCell(CDirectLookup lookup, Float4 fractions,
                                                    const std::array<uint32_t, 4>& hashes) {
    alignas(16) float lower[4]; // corners 000 001 010 011
    alignas(16) float upper[4]; // corners 100 101 110 111
    SIMD_Neon::SpillAligned(lower, lookup.LoadEdges(hashes[0], hashes[1]));
    SIMD_Neon::SpillAligned(upper, lookup.LoadEdges(hashes[2], hashes[3]));
    const auto [first, second, negatedThird] = DifferencesOfCorners<kOrder>(
        std::array<float, 8>{lower[0], lower[1], lower[2], lower[3], upper[0], upper[1], upper[2], upper[3]});

    const Float4 weights = Fade<kQuality>(fractions);
    const Float4 second1(second[0], second[1], second[2], 0.0f);
    const Float4 gradient = DerivativeOfBlend<kOrder>(
        Float4(first[0], first[1], first[2], 0.0f), SIMD_Neon::ShuffleLanes<1, 2, 0, 3>(weights), second1,
        SIMD_Neon::ShuffleLanes<2, 0, 1, 3>(weights), SIMD_Neon::ShuffleLanes<2, 0, 1, 3>(second1),
        Float4(negatedThird));
    return _ThroughFade<kQuality>(gradient, fractions) & Int4(-1, -1, -1, 0);
}

/// The gradient at the position in lanes 0 to 2: one axis per lane, and 0 in lane 3.
template <ENoiseQuality kQuality>
[[gnu::always_inline]] inline Float4 GradientAtPosition(const float* basis, Float4 position) {
    const auto split = SplitCoordinates(ClearLane3(position));
    alignas(16) uint32_t cell[4];
    SIMD_Neon::SpillAligned(cell, split.m_Cell);
    return GradientInCell<kQuality, ESummationOrder::kSingle>(CDirectLookup{basis}, split.m_Fraction,
                                                              HashEdges<3>(cell));
}

/// The gradients at several positions, one per lane: a value per axis. The same bits as GradientInCell with
/// ESummationOrder::kBatch.
template <ENoiseQuality kQuality, typename TFloat>
[[gnu::always_inline]] inline void GradientLanes(const std::array<TFloat, 8>& corners,
                                                 const TFloat* fractions, TFloat* gradients) {
    constexpr ESummationOrder kOrder = ESummationOrder::kBatch;
    const TCornerDifferences<TFloat> differences = DifferencesOfCorners<kOrder>(corners);
    TFloat weights[3];
    for (size_t axis = 0; axis < 3; ++axis) {
        weights[axis] = Fade<kQuality>(fractions[axis]);
    }
    for (size_t axis = 0; axis < 3; ++axis) {
        const size_t axis1 = (axis + 1) % 3;
        const size_t axis2 = (axis + 2) % 3;
        const TFloat derivative = DerivativeOfBlend<kOrder>(
            differences.m_First[axis], weights[axis1], differences.m_Second[axis], weights[axis2],
            differences.m_Second[axis2], differences.m_NegatedThird);
        gradients[axis] = _ThroughFade<kQuality>(derivative, fractions[axis]);
    }
}

} // namespace Vestrel::Internal
