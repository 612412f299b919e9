#pragma once

// The batch of gradients: long runs in whole blocks by the wide kernels, the rest by four lanes.

#include "kernels/kernels.h"
#include "lattice/gradient.h"
#include "lattice/sample.h"

#include <zr_support/memory_view.h>
#include <zr_support/pair.h>
#include <zr_support/vector.h>

#include <array>
#include <cstddef>
#include <cstdint>

namespace Vestrel::Internal {

/// An input of the batch: the fractions of a position's coordinates, and its cell.
using CGradientRecord = TPair<TVector<float, 4>, TVector<int, 4>>;

[[gnu::always_inline]] inline std::array<uint32_t, 4> _HashesOf(const CGradientRecord& record) {
    const TVector<int, 4>& cell = record.second;
    const uint32_t coordinates[3] = {static_cast<uint32_t>(cell.x), static_cast<uint32_t>(cell.y),
                                     static_cast<uint32_t>(cell.z)};
    return HashEdges<3>(coordinates);
}

/// Writes the gradients at four positions.
template <ENoiseQuality kQuality>
[[gnu::always_inline]] inline void
_GradientsOfFourRecords(CDirectLookup lookup, const CGradientRecord* records, TVector<float, 4>* output) {
    const SIMD_Neon::Float4x4 fractions = SIMD_Neon::Transpose(
        SIMD_Neon::LoadUnaligned(&records[0].first), SIMD_Neon::LoadUnaligned(&records[1].first),
        SIMD_Neon::LoadUnaligned(&records[2].first), SIMD_Neon::LoadUnaligned(&records[3].first));
    std::array<uint32_t, 4> hashes[4];
#pragma GCC unroll 4
    for (size_t k = 0; k < 4; ++k) {
        hashes[k] = _HashesOf(records[k]);
    }
    const auto corners = CornersOfPairs<Float4>([&](size_t edge, size_t k) __attribute__((always_inline)) {
        return lookup.LoadEdges(hashes[k][edge], hashes[k + 1][edge]);
    });
    Float4 gradients[3];
    GradientLanes<kQuality>(corners, fractions.m_Rows, gradients);
    const SIMD_Neon::Float4x4 rows =
        SIMD_Neon::Transpose(gradients[0], gradients[1], gradients[2], Float4(0.0f));
    for (size_t k = 0; k < 4; ++k) {
        SIMD_Neon::StoreUnaligned(output + k, rows.m_Rows[k]);
    }
}

/// The gradients of the records from `first` on.
template <ENoiseQuality kQuality>
[[gnu::noinline]] void _GradientsByFourLanes(const float* basis, const CGradientRecord* records,
                                             TVector<float, 4>* output, size_t first, size_t count) noexcept {
    const CDirectLookup lookup = {basis};
    size_t k = first;
    for (; k + 4 <= count; k += 4) {
        _GradientsOfFourRecords<kQuality>(lookup, records + k, output + k);
    }
    for (; k < count; ++k) {
        const Float4 fractions = ClearLane3(SIMD_Neon::LoadUnaligned(&records[k].first));
        SIMD_Neon::StoreUnaligned(output + k, GradientInCell<kQuality, ESummationOrder::kBatch>(
                                                  lookup, fractions, _HashesOf(records[k])));
    }
}

/// The body of the batch; CFastNoise3 documents what it promises and what its caller guarantees.
template <ENoiseQuality kQuality>
void GradientBatch(const float* basis, const TMemoryView<const CGradientRecord>& records,
                   const TMemoryView<TVector<float, 4>>& output) noexcept {
    uint32_t done = 0;
    if (records.m_Count >= kPositionsPerBlock) {
        done = RunWholeBlocks<kQuality>(EKernelInput::kRecords, basis, output.m_Data, records.m_Data,
                                        records.m_Count);
    }
    _GradientsByFourLanes<kQuality>(basis, records.m_Data, output.m_Data, done, records.m_Count);
}

} // namespace Vestrel::Internal
