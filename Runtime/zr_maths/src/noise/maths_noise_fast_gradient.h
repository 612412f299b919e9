#pragma once

// The gradient of the 3D noise: how a cell's blend changes along each axis, and the chain rule through the
// fades.

#include "maths_noise_fast_lattice.h"
#include "wide/wide_kernels.h"

#include <zr_support/memory_view.h>
#include <zr_support/pair.h>
#include <zr_support/vector.h>

#include <array>
#include <cstddef>
#include <cstdint>

namespace Vestrel::Internal {

/// A position as the batch form takes it: the fractions of its coordinates, and its cell.
using CFractionsAndCell = TPair<TVector<float, 4>, TVector<int, 4>>;

/// The two forms add the same terms in different orders, and so agree only up to rounding. Either order is
/// part of its form's definition. That of the single form is the one in which the terms are read off the
/// formula; that of the batch form has sums that do not wait for each other.
enum class EGradientForm { kSingle, kBatch };

/// The derivative of Fade at the fraction `t`. Linear quality has none, for it is 1.
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

/// The chain rule: from the derivative with respect to a faded fraction that with respect to the fraction.
template <ENoiseQuality kQuality, typename TValue>
[[gnu::always_inline]] inline TValue _ThroughFade(TValue derivative, TValue fraction) {
    if constexpr (kQuality == ENoiseQuality::kLinear) {
        return derivative;
    } else {
        return FadeDerivative<kQuality>(fraction) * derivative;
    }
}

/// The differences between a cell's corners that its gradient is made of.
template <typename TValue>
struct TCornerDifferences {
    /// Of the corners next to corner 000, along x, y and z.
    std::array<TValue, 3> m_First;
    /// How a first difference changes with another axis: x with y, y with z, z with x.
    std::array<TValue, 3> m_Second;
    /// How a second one changes with the third axis, negated.
    TValue m_NegatedThird;
};

/// A corner's index has its offsets as binary digits, x first: corner 5 is 101.
template <EGradientForm kForm, typename TValue>
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
    const TValue third = kForm == EGradientForm::kSingle ? (diagonal + xBesideY) + (yBesideZ + zBesideX)
                                                         : diagonal + (zBesideX + (yBesideZ + xBesideY));
    return {{x, y, z}, {xBesideY - x, yBesideZ - y, zBesideX - z}, third};
}

/// The derivative of the blend along one axis. With the axes in cyclic order, `first` is the first difference
/// along it; `weight1` and `weight2` are the faded fractions of the two axes after it, `second1` and
/// `second2` how the first difference changes with each.
template <EGradientForm kForm, typename TValue>
[[gnu::always_inline]] inline TValue DerivativeOfBlend(TValue first, TValue weight1, TValue second1,
                                                       TValue weight2, TValue second2, TValue negatedThird) {
    if constexpr (kForm == EGradientForm::kSingle) {
        return ((first + weight1 * second1) + weight2 * second2) - (weight2 * weight1) * negatedThird;
    } else {
        return (first + weight1 * second1) + (weight2 * second2 - weight1 * (weight2 * negatedThird));
    }
}

/// The gradient at one position: one axis per lane, and 0 in lane 3.
template <ENoiseQuality kQuality, EGradientForm kForm>
[[gnu::always_inline]] inline Float4 GradientAtOne(CAdjacentEnds ends, Float4 fractions,
                                                   const uint32_t* cell) {
    const auto hashes = HashEdges<3>(cell);
    alignas(16) float lower[4]; // corners 000 001 010 011
    alignas(16) float upper[4]; // corners 100 101 110 111
    SIMD_Neon::SpillAligned(lower, ends.LoadTwoEdges(hashes[0], hashes[1]));
    SIMD_Neon::SpillAligned(upper, ends.LoadTwoEdges(hashes[2], hashes[3]));
    const auto [first, second, negatedThird] = DifferencesOfCorners<kForm>(
        std::array<float, 8>{lower[0], lower[1], lower[2], lower[3], upper[0], upper[1], upper[2], upper[3]});

    const Float4 weights = Fade<kQuality>(fractions);
    const Float4 second1(second[0], second[1], second[2], 0.0f);
    const Float4 gradient = DerivativeOfBlend<kForm>(
        Float4(first[0], first[1], first[2], 0.0f), SIMD_Neon::ShuffleLanes<1, 2, 0, 3>(weights), second1,
        SIMD_Neon::ShuffleLanes<2, 0, 1, 3>(weights), SIMD_Neon::ShuffleLanes<2, 0, 1, 3>(second1),
        Float4(negatedThird));
    return _ThroughFade<kQuality>(gradient, fractions) & Int4(-1, -1, -1, 0);
}

[[gnu::always_inline]] inline std::array<uint32_t, 3> _CellOf(const CFractionsAndCell& record) {
    const TVector<int, 4>& cell = record.second;
    return {static_cast<uint32_t>(cell.x), static_cast<uint32_t>(cell.y), static_cast<uint32_t>(cell.z)};
}

/// The corners of four cells: lane n belongs to cell n.
[[gnu::always_inline]] inline std::array<Float4, 8> _CornersOfFour(CAdjacentEnds ends,
                                                                   const CFractionsAndCell* records) {
    std::array<uint32_t, 4> hashes[4];
#pragma GCC unroll 4
    for (size_t k = 0; k < 4; ++k) {
        hashes[k] = HashEdges<3>(_CellOf(records[k]).data());
    }
    std::array<Float4, 8> corners;
#pragma GCC unroll 4
    for (size_t edge = 0; edge < 4; ++edge) {
        const Float4 edge01 = ends.LoadTwoEdges(hashes[0][edge], hashes[1][edge]);
        const Float4 edge23 = ends.LoadTwoEdges(hashes[2][edge], hashes[3][edge]);
        corners[2 * edge] = SIMD_Neon::DeinterleaveEven(edge01, edge23);
        corners[2 * edge + 1] = SIMD_Neon::DeinterleaveOdd(edge01, edge23);
    }
    return corners;
}

/// The gradients at several positions, worked out side by side, one value per axis. The bits are those of
/// GradientAtOne.
template <ENoiseQuality kQuality, typename TFloat>
[[gnu::always_inline]] inline void GradientOfBatch(const std::array<TFloat, 8>& corners,
                                                   const TFloat* fractions, TFloat* gradients) {
    constexpr EGradientForm kForm = EGradientForm::kBatch;
    const TCornerDifferences<TFloat> differences = DifferencesOfCorners<kForm>(corners);
    TFloat weights[3];
    for (size_t axis = 0; axis < 3; ++axis) {
        weights[axis] = Fade<kQuality>(fractions[axis]);
    }
    for (size_t axis = 0; axis < 3; ++axis) {
        const size_t axis1 = (axis + 1) % 3;
        const size_t axis2 = (axis + 2) % 3;
        const TFloat derivative =
            DerivativeOfBlend<kForm>(differences.m_First[axis], weights[axis1], differences.m_Second[axis],
                                     weights[axis2], differences.m_Second[axis2], differences.m_NegatedThird);
        gradients[axis] = _ThroughFade<kQuality>(derivative, fractions[axis]);
    }
}

/// Writes the gradients at four positions.
template <ENoiseQuality kQuality>
[[gnu::always_inline]] inline void _GradientsAtFour(CAdjacentEnds ends, const CFractionsAndCell* records,
                                                    TVector<float, 4>* output) {
    const SIMD_Neon::Float4x4 fractions = SIMD_Neon::Transpose(
        SIMD_Neon::LoadUnaligned(&records[0].first), SIMD_Neon::LoadUnaligned(&records[1].first),
        SIMD_Neon::LoadUnaligned(&records[2].first), SIMD_Neon::LoadUnaligned(&records[3].first));
    Float4 gradients[3];
    GradientOfBatch<kQuality>(_CornersOfFour(ends, records), fractions.m_Rows, gradients);
    const SIMD_Neon::Float4x4 rows =
        SIMD_Neon::Transpose(gradients[0], gradients[1], gradients[2], Float4(0.0f));
    for (size_t k = 0; k < 4; ++k) {
        SIMD_Neon::StoreUnaligned(output + k, rows.m_Rows[k]);
    }
}

/// The gradient at the position in lanes 0 to 2.
template <ENoiseQuality kQuality>
[[gnu::always_inline]] inline Float4 GradientAt(const float* basis, Float4 position) {
    const auto split = SplitCoordinates(ClearLane3(position));
    alignas(16) uint32_t cell[4];
    SIMD_Neon::SpillAligned(cell, split.m_Cell);
    return GradientAtOne<kQuality, EGradientForm::kSingle>(CAdjacentEnds{basis}, split.m_Fraction, cell);
}

/// The body of the batch form; what it promises and what its caller guarantees stands at CFastNoise3.
template <ENoiseQuality kQuality>
void GradientBatch(const float* basis, const TMemoryView<const CFractionsAndCell>& cells,
                   const TMemoryView<TVector<float, 4>>& output) noexcept {
    const CAdjacentEnds ends = {basis};
    size_t k = 0;
    if (cells.m_Count >= kWideBlock) {
        const CWideKernels& kernels = WideKernels();
        const CWideGradients gradients = kernels.m_Gradients[static_cast<size_t>(kQuality)];
        if (gradients != nullptr && cells.m_Count >= kernels.m_LeastRecordCount) {
            k = cells.m_Count / kWideBlock * kWideBlock;
            gradients(basis, output.m_Data, cells.m_Data, k);
        }
    }
    for (; k + 4 <= cells.m_Count; k += 4) {
        _GradientsAtFour<kQuality>(ends, cells.m_Data + k, output.m_Data + k);
    }
    for (; k < cells.m_Count; ++k) {
        const CFractionsAndCell& record = cells.m_Data[k];
        const Float4 gradient = GradientAtOne<kQuality, EGradientForm::kBatch>(
            ends, ClearLane3(SIMD_Neon::LoadUnaligned(&record.first)), _CellOf(record).data());
        SIMD_Neon::StoreUnaligned(output.m_Data + k, gradient);
    }
}

} // namespace Vestrel::Internal
