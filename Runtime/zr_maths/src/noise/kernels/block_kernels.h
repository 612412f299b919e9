#pragma once

// The kernels as templates over an instruction set, in two passes per block: the first splits coordinates
// into cells and weights, the second looks up and blends. In one loop, look-ups waiting for the split would
// fill the out-of-order window.
//
// `TSet` has the types and steps that differ between instruction sets:
// - CFloat: the lane type.
// - MakeLookup<kDimension>(basis): the tables, made once per call.
// - TEdges<kDimension>: scratch memory of a block.
// - LookUpBlock(lookup, block, edges): look-ups for the whole block.
// - Blend(lookup, edges, block, first), Corners(...): the noise, or the corners, at CFloat::kLanes positions.

#include "../lattice/gradient.h"
#include "kernels.h"

#include <cstddef>
#include <cstdint>

namespace Vestrel::Internal {

// Variables instead of functions: without optimisation, functions would be code that all sources share.

template <EKernelInput kInput>
inline constexpr int kDimensionOf = kInput == EKernelInput::k1D   ? 1
                                    : kInput == EKernelInput::k2D ? 2
                                    : kInput == EKernelInput::k4D ? 4
                                                                  : 3;

template <EKernelInput kInput>
inline constexpr size_t kFloatsApart = kInput == EKernelInput::kPadded3D ? 4 : size_t{kDimensionOf<kInput>};

/// The positions of a block, by axis. With inputs four floats apart, the lanes of each register are in the
/// order of LoadInterleaved4. Cells after the first axis are HashOperands. TFloat is in the name so that each
/// instruction set has its own type.
template <typename TFloat, int kDimension>
struct TBlock {
    alignas(64) float m_Weights[kDimension][kPositionsPerBlock]; ///< fractions, for gradients
    alignas(64) uint32_t m_Cells[kDimension][kPositionsPerBlock];
};

/// TFloat::kLanes positions, one value per axis.
template <EKernelInput kInput, typename TFloat>
[[gnu::always_inline]] inline void _LoadPositions(const float* source, TFloat* axes) {
    if constexpr (kInput == EKernelInput::k1D) {
        axes[0] = TFloat::Load(source);
    } else if constexpr (kInput == EKernelInput::k2D) {
        LoadInterleaved2(source, axes);
    } else if constexpr (kInput == EKernelInput::k3D) {
        LoadInterleaved3(source, axes);
    } else if constexpr (kInput == EKernelInput::kPadded3D) {
        LoadPadded3(source, axes);
    } else {
        LoadInterleaved4(source, axes);
    }
}

/// The samples of such positions, in memory order.
template <EKernelInput kInput, typename TFloat>
[[gnu::always_inline]] inline TFloat _InMemoryOrder(TFloat samples) {
    return kFloatsApart<kInput> == 4 ? RestoreMemoryOrder(samples) : samples;
}

enum class ERange { kInt32, kAny };

/// Splits a block. With ERange::kInt32: false, contents undefined, if a coordinate is NaN or outside int32,
/// where conversion gives INT32_MIN.
///
/// Inside int32 `coordinate - floor` is the fraction of SplitCoordinates bit for bit, with fewer operations:
/// both round once, because the difference from the truncated coordinate is exact.
template <EKernelInput kInput, ENoiseQuality kQuality, ERange kRange, typename TFloat>
[[gnu::always_inline]] inline bool _Split(const float* positions,
                                          TBlock<TFloat, kDimensionOf<kInput>>& block) {
    constexpr size_t kDimension = kDimensionOf<kInput>;
    using CInt = typename TFloat::CInt;
    CInt least(INT32_MAX);
    for (size_t first = 0; first < kPositionsPerBlock; first += TFloat::kLanes) {
        TFloat coordinates[4]; // the fourth of padded positions is 0
        _LoadPositions<kInput>(positions + kFloatsApart<kInput> * first, coordinates);
        for (size_t axis = 0; axis < kDimension; ++axis) {
            TFloat fraction;
            CInt cell;
            if constexpr (kRange == ERange::kInt32) {
                const TFloat floor = Floor(coordinates[axis]);
                fraction = coordinates[axis] - floor;
                cell = TruncateInRange(floor);
                least = Min(least, cell);
                cell = cell & CInt(kPeriod - 1);
            } else {
                const auto split = SplitCoordinates(coordinates[axis]);
                fraction = split.m_Fraction;
                cell = split.m_Cell;
            }
            Store(block.m_Weights[axis] + first, Fade<kQuality>(fraction));
            Store(block.m_Cells[axis] + first, axis == 0 ? cell : HashOperand(cell));
        }
    }
    return kRange == ERange::kAny || !AnyIs(INT32_MIN, least);
}

template <EKernelInput kInput, ENoiseQuality kQuality, typename TFloat>
[[gnu::noinline, gnu::cold]] void _SplitAny(const float* positions,
                                            TBlock<TFloat, kDimensionOf<kInput>>& block) noexcept {
    _Split<kInput, kQuality, ERange::kAny>(positions, block);
}

/// Samples packed or padded positions.
template <typename TSet, EKernelInput kInput, ENoiseQuality kQuality>
void SampleBlocks(const float* basis, void* samples, const void* positions, size_t count) noexcept {
    constexpr int kDimension = kDimensionOf<kInput>;
    using CFloat = typename TSet::CFloat;
    const auto lookup = TSet::template MakeLookup<kDimension>(basis);
    float* output = static_cast<float*>(samples);
    const float* position = static_cast<const float*>(positions);
    TBlock<CFloat, kDimension> block;
    typename TSet::template TEdges<kDimension> edges;
    for (size_t k = 0; k < count; k += kPositionsPerBlock) {
        if (!_Split<kInput, kQuality, ERange::kInt32>(position, block)) [[unlikely]] {
            _SplitAny<kInput, kQuality>(position, block);
        }
        TSet::LookUpBlock(lookup, block, edges);
        for (size_t first = 0; first < kPositionsPerBlock; first += CFloat::kLanes) {
            Store(output + first, _InMemoryOrder<kInput>(TSet::Blend(lookup, edges, block, first)));
        }
        position += kFloatsApart<kInput> * kPositionsPerBlock;
        output += kPositionsPerBlock;
    }
}

/// The gradients of records, each of four floats, the fractions, and four integers, the cell.
template <typename TSet, ENoiseQuality kQuality>
void GradientBlocks(const float* basis, void* gradients, const void* records, size_t count) noexcept {
    using CFloat = typename TSet::CFloat;
    const auto lookup = TSet::template MakeLookup<3>(basis);
    float* output = static_cast<float*>(gradients);
    const float* record = static_cast<const float*>(records);
    TBlock<CFloat, 3> block;
    typename TSet::template TEdges<3> edges;
    for (size_t k = 0; k < count; k += kPositionsPerBlock) {
        for (size_t first = 0; first < kPositionsPerBlock; first += CFloat::kLanes) {
            CFloat fractions[4];
            typename CFloat::CInt cells[4];
            LoadRecords(record + 8 * first, fractions, cells);
            for (size_t axis = 0; axis < 3; ++axis) {
                Store(block.m_Weights[axis] + first, fractions[axis]);
                Store(block.m_Cells[axis] + first, axis == 0 ? cells[axis] : HashOperand(cells[axis]));
            }
        }
        TSet::LookUpBlock(lookup, block, edges);
        for (size_t first = 0; first < kPositionsPerBlock; first += CFloat::kLanes) {
            CFloat fractions[3];
            for (size_t axis = 0; axis < 3; ++axis) {
                fractions[axis] = CFloat::Load(block.m_Weights[axis] + first);
            }
            CFloat columns[4];
            GradientLanes<kQuality>(TSet::Corners(lookup, edges, block, first), fractions, columns);
            columns[3] = CFloat(0.0f);
            CFloat rows[4];
            TransposeFours(columns, rows);
            for (size_t row = 0; row < 4; ++row) {
                Store(output + 4 * first + CFloat::kLanes * row, rows[row]);
            }
        }
        record += 8 * kPositionsPerBlock;
        output += 4 * kPositionsPerBlock;
    }
}

template <typename TSet, EKernelInput kInput>
inline constexpr std::array<CKernel, 3> kSamplers = {SampleBlocks<TSet, kInput, ENoiseQuality::kLinear>,
                                                     SampleBlocks<TSet, kInput, ENoiseQuality::kCubic>,
                                                     SampleBlocks<TSet, kInput, ENoiseQuality::kQuintic>};

template <typename TSet>
inline constexpr std::array<CKernel, 3> kGradients = {GradientBlocks<TSet, ENoiseQuality::kLinear>,
                                                      GradientBlocks<TSet, ENoiseQuality::kCubic>,
                                                      GradientBlocks<TSet, ENoiseQuality::kQuintic>};

} // namespace Vestrel::Internal
