#include <zr_support_internal/strict_arithmetic.h>

// The kernels for AVX-512 with VBMI: the cells of a block are bytes in one register, and so are the tables.

#include "block_kernels.h"

#include <zr_support_internal/avx512_lanes.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <type_traits>
#include <utility>

namespace Vestrel::Internal::Avx512 {

namespace {

constexpr size_t kLanes = FloatX16::kLanes;

/// The permutation as bytes. Hashes are modulo 256.
struct CPermutationBytes {
    CByteTable m_Bytes;

    template <size_t kSide>
    [[gnu::always_inline]] ByteX64 Next(ByteX64 hash, ByteX64 coordinate) const {
        return m_Bytes[kSide == 0 ? hash : hash + ByteX64(1u)] + coordinate;
    }
};

[[gnu::always_inline]] inline CPermutationBytes PermutationBytes() {
    static_assert(sizeof(kPerlinPermutation) == kPeriod);
    const auto* const bytes = reinterpret_cast<const uint8_t*>(&kPerlinPermutation);
    return {{{ByteX64::Load(bytes).m_Register, ByteX64::Load(bytes + 64).m_Register,
              ByteX64::Load(bytes + 128).m_Register, ByteX64::Load(bytes + 192).m_Register}}};
}

/// The basis as four planes: the lowest bytes of its floats, the second, and so on.
struct CBasisPlanes {
    CByteTable m_Planes[4];

    /// Stores the entries at sixty-four indices, which PackByQuarters packed.
    [[gnu::always_inline]] void LookUp(ByteX64 index, float* target) const {
        const ByteX64 bytes[4] = {m_Planes[0][index], m_Planes[1][index], m_Planes[2][index],
                                  m_Planes[3][index]};
        StoreByQuarters(target, bytes);
    }
};

template <int kPlane>
[[gnu::always_inline]] inline __m512i _BytesOf(const IntX16* floats) {
    IntX16 bytes[4];
    for (size_t k = 0; k < 4; ++k) {
        bytes[k] = ShiftRight<8 * kPlane>(floats[k]) & IntX16(0xFF);
    }
    return Pack(bytes[0], bytes[1], bytes[2], bytes[3]).m_Register;
}

[[gnu::always_inline]] inline CBasisPlanes _PlanesOf(const float* basis) {
    CBasisPlanes planes;
    for (size_t quarter = 0; quarter < 4; ++quarter) {
        IntX16 floats[4];
        for (size_t k = 0; k < 4; ++k) {
            floats[k] = IntX16::Load(basis + 64 * quarter + kLanes * k);
        }
        planes.m_Planes[0].m_Quarters[quarter] = _BytesOf<0>(floats);
        planes.m_Planes[1].m_Quarters[quarter] = _BytesOf<1>(floats);
        planes.m_Planes[2].m_Quarters[quarter] = _BytesOf<2>(floats);
        planes.m_Planes[3].m_Quarters[quarter] = _BytesOf<3>(floats);
    }
    return planes;
}

/// The basis by hash: itself in 3D and 4D, permuted in 1D and 2D.
template <int kDimension>
[[gnu::always_inline]] inline CBasisPlanes BasisByHash(const float* basis) {
    const CBasisPlanes planes = _PlanesOf(basis);
    if constexpr (std::is_same_v<TBasisLookup<kDimension>, CDirectLookup>) {
        return planes;
    } else {
        CBasisPlanes permuted;
        for (size_t plane = 0; plane < 4; ++plane) {
            for (size_t quarter = 0; quarter < 4; ++quarter) {
                permuted.m_Planes[plane].m_Quarters[quarter] =
                    planes.m_Planes[plane][ByteX64(PermutationBytes().m_Bytes.m_Quarters[quarter])]
                        .m_Register;
            }
        }
        return permuted;
    }
}

/// The basis values at both ends of the edges of a block of cells.
template <int kDimension>
struct TEdges {
    alignas(64) float m_Lower[kEdgeCount<kDimension>][kPositionsPerBlock];
    alignas(64) float m_Upper[kEdgeCount<kDimension>][kPositionsPerBlock];
};

[[gnu::always_inline]] inline ByteX64 _LoadCells(const uint32_t* cells) {
    IntX16 parts[4];
    for (size_t k = 0; k < 4; ++k) {
        parts[k] = IntX16::Load(cells + kLanes * k);
    }
    return PackByQuarters(parts[0], parts[1], parts[2], parts[3]);
}

template <int kDimension>
[[gnu::always_inline]] inline void _LookUpEdges(const CBasisPlanes& basis,
                                                const uint32_t (&blockCells)[kDimension][kPositionsPerBlock],
                                                TEdges<kDimension>& edges) {
    ByteX64 cells[kDimension];
    for (size_t axis = 0; axis < kDimension; ++axis) {
        cells[axis] = _LoadCells(blockCells[axis]);
    }
    const auto hashes = HashEdges<kDimension>(cells, PermutationBytes());
    for (size_t edge = 0; edge < kEdgeCount<kDimension>; ++edge) {
        basis.LookUp(hashes[edge], edges.m_Lower[edge]);
        basis.LookUp(hashes[edge] + ByteX64(1u), edges.m_Upper[edge]);
    }
}

template <size_t... kEdges>
[[gnu::always_inline]] inline std::array<FloatX16, sizeof...(kEdges)>
_LoadEnds(const float (&ends)[sizeof...(kEdges)][kPositionsPerBlock], size_t first,
          std::index_sequence<kEdges...>) {
    return {FloatX16::Load(ends[kEdges] + first)...};
}

struct CInstructionSet {
    using CFloat = FloatX16;

    template <int kDimension>
    [[gnu::always_inline]] static CBasisPlanes MakeLookup(const float* basis) {
        return BasisByHash<kDimension>(basis);
    }

    template <int kDimension>
    using TEdges = Avx512::TEdges<kDimension>;

    template <int kDimension>
    [[gnu::always_inline]] static void LookUpBlock(const CBasisPlanes& lookup,
                                                   const TBlock<FloatX16, kDimension>& block,
                                                   TEdges<kDimension>& edges) {
        _LookUpEdges<kDimension>(lookup, block.m_Cells, edges);
    }

    template <int kDimension>
    [[gnu::always_inline]] static FloatX16 Blend(const CBasisPlanes&, const TEdges<kDimension>& edges,
                                                 const TBlock<FloatX16, kDimension>& block, size_t first) {
        constexpr auto kAllEdges = std::make_index_sequence<kEdgeCount<kDimension>>();
        FloatX16 weights[kDimension];
        for (size_t axis = 0; axis < kDimension; ++axis) {
            weights[axis] = FloatX16::Load(block.m_Weights[axis] + first);
        }
        return Lerp(BlendEdges(_LoadEnds(edges.m_Lower, first, kAllEdges), weights),
                    BlendEdges(_LoadEnds(edges.m_Upper, first, kAllEdges), weights), weights[kDimension - 1]);
    }

    [[gnu::always_inline]] static std::array<FloatX16, 8> Corners(const CBasisPlanes&, const TEdges<3>& edges,
                                                                  const TBlock<FloatX16, 3>&, size_t first) {
        std::array<FloatX16, 8> corners;
        for (size_t edge = 0; edge < 4; ++edge) {
            corners[2 * edge] = FloatX16::Load(edges.m_Lower[edge] + first);
            corners[2 * edge + 1] = FloatX16::Load(edges.m_Upper[edge] + first);
        }
        return corners;
    }
};

} // namespace

constinit const CKernels kKernels = {{
    {2 * kPositionsPerBlock, kSamplers<CInstructionSet, EKernelInput::k1D>},
    {kPositionsPerBlock, kSamplers<CInstructionSet, EKernelInput::k2D>},
    {kPositionsPerBlock, kSamplers<CInstructionSet, EKernelInput::k3D>},
    {kPositionsPerBlock, kSamplers<CInstructionSet, EKernelInput::k4D>},
    {kPositionsPerBlock, kSamplers<CInstructionSet, EKernelInput::kPadded3D>},
    {2 * kPositionsPerBlock, kGradients<CInstructionSet>},
}};

} // namespace Vestrel::Internal::Avx512
