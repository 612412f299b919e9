#pragma once

// The pattern of the batch samplers: where the output ends, which positions go four at a time and which one
// at a time, and the two loops.

#include "maths_noise_fast_sample.h"

#include <zr_support/memory_view.h>
#include <zr_support/vector.h>

#include <array>
#include <cassert>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace Vestrel::Internal {

/// The element of a view of positions.
template <int kDimension>
struct TPositionOf {
    using Type = TVector<float, kDimension>;
};
template <>
struct TPositionOf<1> {
    using Type = float;
};
template <int kDimension>
using TPosition = typename TPositionOf<kDimension>::Type;

/// Where a batch sampler has got to. The output is measured by the bytes that are left of it, rather than by
/// its end, so that an empty one may have any pointer.
struct CBatchCursor {
    const unsigned char* m_Position;
    unsigned char* m_Output;
    uint32_t m_OutputBytesLeft;
};

constexpr uint32_t kFourSamplesBytes = 4 * sizeof(float);

template <int kDimension>
[[gnu::always_inline]] inline std::array<Float4, kDimension>
_LoadFourPositions(const unsigned char* positions) {
    if constexpr (kDimension == 1) {
        return {SIMD_Neon::LoadAligned(positions)};
    } else {
        static_assert(kDimension == 3);
        const SIMD_Neon::Float4x3 loaded = SIMD_Neon::LoadAlignedInterleaved3(positions);
        return {loaded.m_X, loaded.m_Y, loaded.m_Z};
    }
}

/// The position in the first lanes.
template <int kDimension>
[[gnu::always_inline]] inline Float4 _LoadOnePosition(const unsigned char* position) {
    if constexpr (kDimension == 1) {
        float x;
        std::memcpy(&x, position, sizeof(x));
        return Float4(x, 0.0f, 0.0f, 0.0f);
    } else {
        // Reads 4 bytes more than the position has, which the caller guarantees to be readable.
        static_assert(kDimension == 3);
        return SIMD_Neon::LoadUnaligned(position);
    }
}

/// Samples packed, aligned positions as long as there is room for four samples, packed whatever the output
/// stride.
template <int kDimension, ENoiseQuality kQuality, typename TEnds>
[[gnu::always_inline]] inline void _SampleFourAtATime(TEnds ends, CBatchCursor& cursor) {
    while (cursor.m_OutputBytesLeft >= kFourSamplesBytes) {
        const auto positions = _LoadFourPositions<kDimension>(cursor.m_Position);
        SIMD_Neon::StoreAligned(cursor.m_Output, SampleFour<kDimension, kQuality>(ends, positions));
        cursor.m_Position += 4 * sizeof(TPosition<kDimension>);
        cursor.m_Output += kFourSamplesBytes;
        cursor.m_OutputBytesLeft -= kFourSamplesBytes;
    }
}

/// Samples what is left, with any alignment and any strides. With an output stride of 0 it does not return.
template <int kDimension, ENoiseQuality kQuality>
[[gnu::always_inline]] inline void _SampleOneAtATime(const float* basis, CBatchCursor cursor,
                                                     uint32_t positionStride, uint32_t outputStride) {
    assert((outputStride != 0 || cursor.m_OutputBytesLeft == 0) && "a sampler needs an output stride");
    while (cursor.m_OutputBytesLeft > 0) {
        const Float4 position = _LoadOnePosition<kDimension>(cursor.m_Position);
        const float sample = SampleOne<kDimension, kQuality>(TEdgeEnds<kDimension>{basis}, position);
        std::memcpy(cursor.m_Output, &sample, sizeof(sample));
        if (cursor.m_OutputBytesLeft <= outputStride) {
            return;
        }
        cursor.m_Position += positionStride;
        cursor.m_Output += outputStride;
        cursor.m_OutputBytesLeft -= outputStride;
    }
}

/// The basis in the order in which a 1D chain leads to it, so that the ends of its edges are neighbours.
inline std::array<float, 257> _PermuteBasis(const float* basis) {
    std::array<float, 257> permuted;
    for (size_t hash = 0; hash < permuted.size(); ++hash) {
        permuted[hash] = CPermutedEnds{basis}.Value(hash);
    }
    return permuted;
}

/// From this many samples on, _PermuteBasis takes less time than adjacent ends save.
constexpr uint32_t kLongRunBytes = 1024 * sizeof(float);

/// The body of every batch sampler; what it promises and what its caller guarantees stands at CFastNoise3.
template <int kDimension, ENoiseQuality kQuality>
void SampleBatch(const float* basis, const TStridedMemoryView<float>& output,
                 const TStridedMemoryView<const TPosition<kDimension>>& positions) noexcept {
    CBatchCursor cursor = {reinterpret_cast<const unsigned char*>(positions.m_Data),
                           reinterpret_cast<unsigned char*>(output.m_Data),
                           output.m_Stride == 0 ? uint32_t{sizeof(float)} : output.m_Count * output.m_Stride};

    const uintptr_t addresses =
        reinterpret_cast<uintptr_t>(cursor.m_Position) | reinterpret_cast<uintptr_t>(cursor.m_Output);
    if (addresses % 16 == 0 && positions.m_Stride == sizeof(TPosition<kDimension>)) {
        if (kDimension == 1 && cursor.m_OutputBytesLeft >= kLongRunBytes) {
            const std::array<float, 257> permuted = _PermuteBasis(basis);
            _SampleFourAtATime<kDimension, kQuality>(CAdjacentEnds{permuted.data()}, cursor);
        } else {
            _SampleFourAtATime<kDimension, kQuality>(TEdgeEnds<kDimension>{basis}, cursor);
        }
    }
    _SampleOneAtATime<kDimension, kQuality>(basis, cursor, positions.m_Stride, output.m_Stride);
}

} // namespace Vestrel::Internal
