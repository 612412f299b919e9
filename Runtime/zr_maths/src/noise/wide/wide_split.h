#pragma once

// The first pass of all wide kernels: a block of positions, each coordinate split into cell and weight. The
// second one, which looks up and blends, is another for each instruction set. With both in one loop,
// processors run out of room for instructions that wait long before they run out of work.
//
// `TFloat` is the lane type of an instruction set, with the operations that are named after those of
// zr_support/simd_float4.h.

#include "../maths_noise_fast_lattice.h"
#include "wide_kernels.h"

#include <cstddef>
#include <cstdint>

namespace Vestrel::Internal {

// Variables and no functions, which in a build without optimisation would be code that all sources share.

template <EWideLayout kLayout>
inline constexpr int kDimensionOf = kLayout == EWideLayout::k1D   ? 1
                                    : kLayout == EWideLayout::k2D ? 2
                                    : kLayout == EWideLayout::k4D ? 4
                                                                  : 3;

template <EWideLayout kLayout>
inline constexpr size_t kFloatsApart = kLayout == EWideLayout::kPadded3D ? 4 : size_t{kDimensionOf<kLayout>};

/// The positions of a block, by axis. The order is that of the positions, but for those four floats apart.
/// What is stored of the cells behind the first axis is what AsNextCoordinate makes of them.
/// TFloat keeps the names of one instruction set apart from those of another.
template <typename TFloat, int kDimension>
struct TSplitBlock {
    alignas(64) float m_Weights[kDimension][kWideBlock];
    alignas(64) uint32_t m_Cells[kDimension][kWideBlock];
};

template <typename TFloat>
[[gnu::always_inline]] inline TFloat LoadLanes(const float* source) {
    TFloat value;
    Load(source, value);
    return value;
}

/// As many positions as there are lanes, one value per axis.
template <EWideLayout kLayout, typename TFloat>
[[gnu::always_inline]] inline void _LoadPositions(const float* source, TFloat* axes) {
    if constexpr (kLayout == EWideLayout::k1D) {
        Load(source, axes[0]);
    } else if constexpr (kLayout == EWideLayout::k2D) {
        LoadInterleaved2(source, axes);
    } else if constexpr (kLayout == EWideLayout::k3D) {
        LoadInterleaved3(source, axes);
    } else if constexpr (kLayout == EWideLayout::kPadded3D) {
        LoadPadded3(source, axes);
    } else {
        LoadInterleaved4(source, axes);
    }
}

/// Samples that were made of such positions, in the order of the positions.
template <EWideLayout kLayout, typename TFloat>
[[gnu::always_inline]] inline TFloat InOrderOf(TFloat samples) {
    return kFloatsApart<kLayout> == 4 ? InOrder(samples) : samples;
}

/// How the coordinates of a block are split.
enum class ERange { kOfIntegers, kAny };

/// Splits a block, and returns true. With ERange::kOfIntegers it returns false if there are coordinates, or
/// what is not a number, that lie beyond, and cells and weights are of no use.
///
/// In that range, and only there, the difference to the floor is the fraction of SplitCoordinates bit for
/// bit: either has one rounding, for the one to the truncated coordinate is exact. It takes fewer operations.
template <EWideLayout kLayout, ENoiseQuality kQuality, ERange kRange, typename TFloat>
[[gnu::always_inline]] inline bool _Split(const float* positions,
                                          TSplitBlock<TFloat, kDimensionOf<kLayout>>& block) {
    constexpr size_t kDimension = kDimensionOf<kLayout>;
    using CInt = typename TFloat::CInt;
    CInt least(INT32_MAX);
    for (size_t first = 0; first < kWideBlock; first += TFloat::kLanes) {
        TFloat coordinates[4]; // of padded positions, the fourth one is 0
        _LoadPositions<kLayout>(positions + kFloatsApart<kLayout> * first, coordinates);
        for (size_t axis = 0; axis < kDimension; ++axis) {
            TFloat fraction;
            CInt cell;
            if constexpr (kRange == ERange::kOfIntegers) {
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
            Store(block.m_Cells[axis] + first, axis == 0 ? cell : AsNextCoordinate(cell));
        }
    }
    return kRange == ERange::kAny || !AnyIs(INT32_MIN, least);
}

template <EWideLayout kLayout, ENoiseQuality kQuality, typename TFloat>
[[gnu::noinline, gnu::cold]] void _SplitAny(const float* positions,
                                            TSplitBlock<TFloat, kDimensionOf<kLayout>>& block) noexcept {
    _Split<kLayout, kQuality, ERange::kAny>(positions, block);
}

template <EWideLayout kLayout, ENoiseQuality kQuality, typename TFloat>
[[gnu::always_inline]] inline void SplitBlock(const float* positions,
                                              TSplitBlock<TFloat, kDimensionOf<kLayout>>& block) {
    if (!_Split<kLayout, kQuality, ERange::kOfIntegers>(positions, block)) [[unlikely]] {
        _SplitAny<kLayout, kQuality>(positions, block);
    }
}

} // namespace Vestrel::Internal
