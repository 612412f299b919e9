#pragma once

// The batch samplers: long runs in whole blocks by the wide kernels, the rest by four lanes.

#include "kernels/kernels.h"
#include "lattice/sample.h"

#include <zr_support/memory_view.h>
#include <zr_support/vector.h>

#include <algorithm>
#include <array>
#include <cassert>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

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

/// The progress of a batch. Counts the bytes left of the output instead of keeping its end, so that an empty
/// output may have any pointer.
struct CBatchCursor {
    const unsigned char* m_Position;
    unsigned char* m_Output;
    uint32_t m_OutputBytesLeft;

    /// Whether the last of `count` samples, `stride` bytes apart, would begin inside the output.
    [[gnu::always_inline]] bool HasRoomFor(uint32_t count, uint32_t stride) const {
        return m_OutputBytesLeft > uint64_t{stride} * (count - 1);
    }

    [[gnu::always_inline]] void Advance(uint32_t count, uint32_t positionStride, uint32_t outputStride) {
        const uint64_t outputBytes = uint64_t{count} * outputStride;
        m_Position += uint64_t{count} * positionStride;
        m_Output += outputBytes;
        m_OutputBytesLeft -= static_cast<uint32_t>(std::min<uint64_t>(m_OutputBytesLeft, outputBytes));
    }
};

constexpr uint32_t kFourSamplesBytes = 4 * sizeof(float);

[[gnu::always_inline]] inline float _LoadFloat(const unsigned char* source) {
    float value;
    std::memcpy(&value, source, sizeof(value));
    return value;
}

/// The position in the first lanes. Reads no bytes but its own.
template <int kDimension>
[[gnu::always_inline]] inline Float4 _LoadOnePosition(const unsigned char* position) {
    if constexpr (kDimension == 1) {
        return Float4(_LoadFloat(position), 0.0f, 0.0f, 0.0f);
    } else if constexpr (kDimension == 2) {
        return SIMD_Neon::LoadPair(position);
    } else if constexpr (kDimension == 3) {
        return SIMD_Neon::LoadTriple(position);
    } else {
        return SIMD_Neon::LoadUnaligned(position);
    }
}

/// Four floats `stride` bytes apart.
[[gnu::always_inline]] inline Float4 _GatherFourFloats(const unsigned char* source, size_t stride) {
    return Float4(_LoadFloat(source), _LoadFloat(source + stride), _LoadFloat(source + 2 * stride),
                  _LoadFloat(source + 3 * stride));
}

/// Four positions `stride` bytes apart, at any alignment, one value per axis. Reads no bytes between them.
template <int kDimension>
[[gnu::always_inline]] inline std::array<Float4, kDimension>
_GatherFourPositions(const unsigned char* position, size_t stride) {
    if constexpr (kDimension == 1) {
        return {_GatherFourFloats(position, stride)};
    } else if constexpr (kDimension == 4) {
        const auto [x, y, z, w] = SIMD_Neon::Transpose(SIMD_Neon::LoadUnaligned(position),
                                                       SIMD_Neon::LoadUnaligned(position + stride),
                                                       SIMD_Neon::LoadUnaligned(position + 2 * stride),
                                                       SIMD_Neon::LoadUnaligned(position + 3 * stride))
                                      .m_Rows;
        return {x, y, z, w};
    } else {
        const Float4 xy01 = SIMD_Neon::LoadTwoPairs(position, position + stride);
        const Float4 xy23 = SIMD_Neon::LoadTwoPairs(position + 2 * stride, position + 3 * stride);
        std::array<Float4, kDimension> axes = {SIMD_Neon::DeinterleaveEven(xy01, xy23),
                                               SIMD_Neon::DeinterleaveOdd(xy01, xy23)};
        if constexpr (kDimension == 3) {
            axes[2] = _GatherFourFloats(position + 2 * sizeof(float), stride);
        }
        return axes;
    }
}

/// Four packed, aligned positions, one value per axis.
template <int kDimension>
[[gnu::always_inline]] inline std::array<Float4, kDimension>
_LoadFourPositions(const unsigned char* positions) {
    if constexpr (kDimension == 1) {
        return {SIMD_Neon::LoadAligned(positions)};
    } else if constexpr (kDimension == 2) {
        const Float4 xy01 = SIMD_Neon::LoadAligned(positions);
        const Float4 xy23 = SIMD_Neon::LoadAligned(positions + 16);
        return {SIMD_Neon::DeinterleaveEven(xy01, xy23), SIMD_Neon::DeinterleaveOdd(xy01, xy23)};
    } else {
        static_assert(kDimension == 3);
        const SIMD_Neon::Float4x3 loaded = SIMD_Neon::LoadAlignedInterleaved3(positions);
        return {loaded.m_X, loaded.m_Y, loaded.m_Z};
    }
}

/// Samples packed, aligned positions while four samples fit the output. Writes them packed, whatever the
/// output stride.
template <int kDimension, ENoiseQuality kQuality, typename TLookup>
[[gnu::always_inline]] inline void _SampleAligned(TLookup lookup, CBatchCursor& cursor) {
    while (cursor.m_OutputBytesLeft >= kFourSamplesBytes) {
        const auto positions = _LoadFourPositions<kDimension>(cursor.m_Position);
        SIMD_Neon::StoreAligned(cursor.m_Output, SampleFour<kDimension, kQuality>(lookup, positions));
        cursor.Advance(4, sizeof(TPosition<kDimension>), sizeof(float));
    }
}

/// Writes four samples `stride` bytes apart.
[[gnu::always_inline]] inline void _ScatterFourSamples(unsigned char* output, size_t stride, Float4 samples) {
    alignas(16) float lanes[4];
    SIMD_Neon::StoreAligned(lanes, samples);
    std::memcpy(output, &lanes[0], sizeof(float));
    std::memcpy(output + stride, &lanes[1], sizeof(float));
    std::memcpy(output + 2 * stride, &lanes[2], sizeof(float));
    std::memcpy(output + 3 * stride, &lanes[3], sizeof(float));
}

/// Samples the rest, at any alignment and with any strides: four at a time while there are four, then one at
/// a time. Reading four positions before writing their samples makes no difference to callers, who guarantee
/// that no sample lies above its position.
///
/// With an output stride of 0 it does not return.
template <int kDimension, ENoiseQuality kQuality>
[[gnu::always_inline]] inline void _SampleStrided(const float* basis, CBatchCursor cursor,
                                                  uint32_t positionStride, uint32_t outputStride) {
    assert(outputStride != 0 && "a sampler needs an output stride");
    const TBasisLookup<kDimension> lookup = {basis};
    while (cursor.HasRoomFor(4, outputStride)) {
        const auto positions = _GatherFourPositions<kDimension>(cursor.m_Position, positionStride);
        _ScatterFourSamples(cursor.m_Output, outputStride,
                            SampleFour<kDimension, kQuality>(lookup, positions));
        cursor.Advance(4, positionStride, outputStride);
    }
    while (cursor.HasRoomFor(1, outputStride)) {
        const Float4 position = _LoadOnePosition<kDimension>(cursor.m_Position);
        const float sample = SampleOne<kDimension, kQuality>(lookup, position);
        std::memcpy(cursor.m_Output, &sample, sizeof(sample));
        cursor.Advance(1, positionStride, outputStride);
    }
}

/// One more than the highest hash of an edge's upper end.
template <int kDimension>
inline constexpr size_t kHashCount = kDimension == 1 ? kPeriod + 1 : 2 * kPeriod;

/// The basis by hash, for direct look-up.
template <int kDimension>
std::array<float, kHashCount<kDimension>> _PermuteBasis(const float* basis) {
    std::array<float, kHashCount<kDimension>> permuted;
    for (size_t hash = 0; hash < permuted.size(); ++hash) {
        permuted[hash] = CPermutedLookup{basis}.Value(hash);
    }
    return permuted;
}

/// From this many samples on, direct look-up saves more time than _PermuteBasis takes. Measured on Sapphire
/// Rapids, where they break even at about half as many.
constexpr uint32_t kLongRun = 256;

/// Samples packed, aligned positions in fours, and leaves the rest.
template <int kDimension, ENoiseQuality kQuality>
[[gnu::always_inline]] inline void _SamplePacked(const float* basis, CBatchCursor& cursor) {
    if constexpr (std::is_same_v<TBasisLookup<kDimension>, CPermutedLookup>) {
        if (cursor.m_OutputBytesLeft >= kLongRun * sizeof(float)) {
            const auto permuted = _PermuteBasis<kDimension>(basis);
            return _SampleAligned<kDimension, kQuality>(CDirectLookup{permuted.data()}, cursor);
        }
    }
    _SampleAligned<kDimension, kQuality>(TBasisLookup<kDimension>{basis}, cursor);
}

/// The batch samplers by four lanes.
template <int kDimension, ENoiseQuality kQuality>
[[gnu::noinline]] void
_SampleByFourLanes(const float* basis, const TStridedMemoryView<float>& output,
                   const TStridedMemoryView<const TPosition<kDimension>>& positions) noexcept {
    // An output stride of 0 means room for one sample. CFastNoise3 says which calls return then.
    CBatchCursor cursor = {reinterpret_cast<const unsigned char*>(positions.m_Data),
                           reinterpret_cast<unsigned char*>(output.m_Data),
                           output.m_Stride == 0 ? uint32_t{sizeof(float)} : output.m_Count * output.m_Stride};
    const uintptr_t positionAddress = reinterpret_cast<uintptr_t>(cursor.m_Position);
    const uintptr_t outputAddress = reinterpret_cast<uintptr_t>(cursor.m_Output);
    const bool isPacked = positions.m_Stride == sizeof(TPosition<kDimension>);
    uint32_t outputStride = output.m_Stride;

    if constexpr (kDimension == 4) {
        // 4D needs no aligned path: each position fills a register. Packed, aligned positions only make the
        // samples packed, whatever the output stride.
        outputStride = isPacked && positionAddress % 16 == 0 ? uint32_t{sizeof(float)} : output.m_Stride;
    } else if (isPacked && (positionAddress | outputAddress) % 16 == 0) {
        _SamplePacked<kDimension, kQuality>(basis, cursor);
    }
    _SampleStrided<kDimension, kQuality>(basis, cursor, positions.m_Stride, outputStride);
}

/// Whether the wide kernels take positions with this stride.
template <int kDimension>
[[gnu::always_inline]] inline bool _HasKernel(uint32_t stride) {
    return stride == sizeof(TPosition<kDimension>) || (kDimension == 3 && stride == 4 * sizeof(float));
}

/// Samples whole blocks by the wide kernels, at any alignment, and the rest by four lanes. noinline: keeps
/// dispatch off short calls and its registers out of the loops.
template <int kDimension, ENoiseQuality kQuality>
[[gnu::noinline]] void
_SampleByKernels(const float* basis, const TStridedMemoryView<float>& output,
                 const TStridedMemoryView<const TPosition<kDimension>>& positions) noexcept {
    const bool isPacked = positions.m_Stride == sizeof(TPosition<kDimension>);
    const auto input = isPacked ? static_cast<EKernelInput>(kDimension - 1) : EKernelInput::kPadded3D;
    const uint32_t count = output.m_Count * output.m_Stride / uint32_t{sizeof(float)};
    const uint32_t done = RunWholeBlocks<kQuality>(input, basis, output.m_Data, positions.m_Data, count);
    const auto* const rest =
        reinterpret_cast<const unsigned char*>(positions.m_Data) + size_t{done} * positions.m_Stride;
    _SampleByFourLanes<kDimension, kQuality>(
        basis, {output.m_Data + done, count - done, sizeof(float)},
        {reinterpret_cast<const TPosition<kDimension>*>(rest), count - done, positions.m_Stride});
}

/// The body of every batch sampler; CFastNoise3 documents what it promises and what its caller guarantees.
template <int kDimension, ENoiseQuality kQuality>
[[gnu::always_inline]] inline void
SampleBatch(const float* basis, const TStridedMemoryView<float>& output,
            const TStridedMemoryView<const TPosition<kDimension>>& positions) noexcept {
    if (output.m_Stride == sizeof(float) && output.m_Count >= kPositionsPerBlock &&
        _HasKernel<kDimension>(positions.m_Stride)) {
        return _SampleByKernels<kDimension, kQuality>(basis, output, positions);
    }
    _SampleByFourLanes<kDimension, kQuality>(basis, output, positions);
}

} // namespace Vestrel::Internal
