#include "strict_arithmetic.h"

// The wide kernels for AVX-512 with VBMI: blocks of sixty-four positions, whose cells are bytes in a register
// and whose tables are registers.

#include "../maths_noise_fast_gradient.h"
#include "avx512_lanes.h"
#include "sin_of_near.h"
#include "wide_instruction_sets.h"
#include "wide_split.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <type_traits>
#include <utility>

namespace Vestrel::Internal::Avx512 {

namespace {

constexpr size_t kLanes = FloatX16::kLanes;

/// The permutation as bytes. All hashes are taken modulo 256, as bytes are.
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
    return {{{LoadBytes(bytes).m_Register, LoadBytes(bytes + 64).m_Register,
              LoadBytes(bytes + 128).m_Register, LoadBytes(bytes + 192).m_Register}}};
}

/// The basis, cut into the lowest bytes of its floats, the second ones, and so on.
struct CBasisPlanes {
    CByteTable m_Planes[4];

    /// Stores the entries at sixty-four indices, in the order of StoreByQuarters.
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

[[gnu::always_inline]] inline CBasisPlanes _CutBasis(const float* basis) {
    CBasisPlanes planes;
    for (size_t quarter = 0; quarter < 4; ++quarter) {
        IntX16 floats[4];
        for (size_t k = 0; k < 4; ++k) {
            Load(basis + 64 * quarter + kLanes * k, floats[k]);
        }
        planes.m_Planes[0].m_Quarters[quarter] = _BytesOf<0>(floats);
        planes.m_Planes[1].m_Quarters[quarter] = _BytesOf<1>(floats);
        planes.m_Planes[2].m_Quarters[quarter] = _BytesOf<2>(floats);
        planes.m_Planes[3].m_Quarters[quarter] = _BytesOf<3>(floats);
    }
    return planes;
}

/// The basis in the order in which hashes lead to it: in 1D and 2D through the permutation once more.
template <int kDimension>
[[gnu::always_inline]] inline CBasisPlanes BasisByHash(const float* basis) {
    const CBasisPlanes planes = _CutBasis(basis);
    if constexpr (std::is_same_v<TEdgeEnds<kDimension>, CAdjacentEnds>) {
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

/// The values at the ends of the edges of a block of cells.
template <int kDimension>
struct TBlockEdges {
    alignas(64) float m_Lower[kEdgeCount<kDimension>][kWideBlock];
    alignas(64) float m_Upper[kEdgeCount<kDimension>][kWideBlock];
};

[[gnu::always_inline]] inline ByteX64 _LoadCells(const uint32_t* cells) {
    IntX16 parts[4];
    for (size_t k = 0; k < 4; ++k) {
        Load(cells + kLanes * k, parts[k]);
    }
    return PackByQuarters(parts[0], parts[1], parts[2], parts[3]);
}

template <int kDimension>
[[gnu::always_inline]] inline void LookUpEdges(const CBasisPlanes& basis,
                                               const uint32_t (&blockCells)[kDimension][kWideBlock],
                                               TBlockEdges<kDimension>& edges) {
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
_LoadEnds(const float (&ends)[sizeof...(kEdges)][kWideBlock], size_t first, std::index_sequence<kEdges...>) {
    return {LoadLanes<FloatX16>(ends[kEdges] + first)...};
}

template <int kDimension>
[[gnu::always_inline]] inline FloatX16 Blend(const TBlockEdges<kDimension>& edges,
                                             const TSplitBlock<FloatX16, kDimension>& block, size_t first) {
    constexpr auto kAllEdges = std::make_index_sequence<kEdgeCount<kDimension>>();
    FloatX16 weights[kDimension];
    for (size_t axis = 0; axis < kDimension; ++axis) {
        Load(block.m_Weights[axis] + first, weights[axis]);
    }
    return Lerp(BlendEdges(_LoadEnds(edges.m_Lower, first, kAllEdges), weights),
                BlendEdges(_LoadEnds(edges.m_Upper, first, kAllEdges), weights), weights[kDimension - 1]);
}

template <EWideLayout kLayout, ENoiseQuality kQuality>
void SampleBlocks(const float* basis, void* samples, const void* positions, size_t count) noexcept {
    constexpr int kDimension = kDimensionOf<kLayout>;
    const CBasisPlanes planes = BasisByHash<kDimension>(basis);
    float* output = static_cast<float*>(samples);
    const float* position = static_cast<const float*>(positions);
    TSplitBlock<FloatX16, kDimension> block;
    TBlockEdges<kDimension> edges;
    for (size_t k = 0; k < count; k += kWideBlock) {
        SplitBlock<kLayout, kQuality>(position, block);
        LookUpEdges<kDimension>(planes, block.m_Cells, edges);
        for (size_t first = 0; first < kWideBlock; first += kLanes) {
            Store(output + first, InOrderOf<kLayout>(Blend<kDimension>(edges, block, first)));
        }
        position += kFloatsApart<kLayout> * kWideBlock;
        output += kWideBlock;
    }
}

/// A block of records, by axis, in the order of TransposeInQuarters.
struct CBlockOfRecords {
    alignas(64) float m_Fractions[3][kWideBlock];
    alignas(64) uint32_t m_Cells[3][kWideBlock];
};

/// Sixteen records, each of eight values: the first four of all by column, and the others.
[[gnu::always_inline]] inline void _LoadRecords(const float* records, FloatX16* fractions, FloatX16* cells) {
    FloatX16 firstHalves[4];
    FloatX16 secondHalves[4];
    for (size_t k = 0; k < 4; ++k) {
        const FloatX16 two = LoadLanes<FloatX16>(records + 2 * kLanes * k);
        const FloatX16 twoMore = LoadLanes<FloatX16>(records + 2 * kLanes * k + kLanes);
        firstHalves[k] = EvenQuarters(two, twoMore);
        secondHalves[k] = OddQuarters(two, twoMore);
    }
    TransposeInQuarters(firstHalves, fractions);
    TransposeInQuarters(secondHalves, cells);
}

[[gnu::always_inline]] inline void _LoadBlockOfRecords(const float* records, CBlockOfRecords& block) {
    for (size_t first = 0; first < kWideBlock; first += kLanes) {
        FloatX16 fractions[4];
        FloatX16 cells[4];
        _LoadRecords(records + 8 * first, fractions, cells);
        for (size_t axis = 0; axis < 3; ++axis) {
            Store(block.m_Fractions[axis] + first, fractions[axis]);
            Store(block.m_Cells[axis] + first, cells[axis]);
        }
    }
}

[[gnu::always_inline]] inline std::array<FloatX16, 8> _LoadCorners(const TBlockEdges<3>& edges,
                                                                   size_t first) {
    std::array<FloatX16, 8> corners;
    for (size_t edge = 0; edge < 4; ++edge) {
        corners[2 * edge] = LoadLanes<FloatX16>(edges.m_Lower[edge] + first);
        corners[2 * edge + 1] = LoadLanes<FloatX16>(edges.m_Upper[edge] + first);
    }
    return corners;
}

template <ENoiseQuality kQuality>
void GradientsOfBlocks(const float* basis, void* gradients, const void* records, size_t count) noexcept {
    const CBasisPlanes planes = BasisByHash<3>(basis);
    float* output = static_cast<float*>(gradients);
    const float* record = static_cast<const float*>(records);
    CBlockOfRecords block;
    TBlockEdges<3> edges;
    for (size_t k = 0; k < count; k += kWideBlock) {
        _LoadBlockOfRecords(record, block);
        LookUpEdges<3>(planes, block.m_Cells, edges);
        for (size_t first = 0; first < kWideBlock; first += kLanes) {
            FloatX16 fractions[3];
            for (size_t axis = 0; axis < 3; ++axis) {
                Load(block.m_Fractions[axis] + first, fractions[axis]);
            }
            FloatX16 columns[4];
            GradientOfBatch<kQuality>(_LoadCorners(edges, first), fractions, columns);
            columns[3] = FloatX16(0.0f);
            FloatX16 rows[4];
            TransposeInQuarters(columns, rows);
            for (size_t row = 0; row < 4; ++row) {
                Store(output + 4 * first + kLanes * row, rows[row]);
            }
        }
        record += 8 * kWideBlock;
        output += 4 * kWideBlock;
    }
}

bool SinesOfNear(const float* angles, float* sines, size_t count) noexcept {
    namespace LowPrecision = SIMD_Neon::LowPrecision;
    for (size_t k = 0; k < count; k += kLanes) {
        const FloatX16 angle = LoadLanes<FloatX16>(angles + k);
        if (!AllLess(Magnitude(angle), FloatX16(LowPrecision::kFar))) [[unlikely]] {
            return false;
        }
        Store(sines + k, LowPrecision::SinOfReduced(LowPrecision::ReduceNear(angle)));
    }
    return true;
}

template <EWideLayout kLayout>
constexpr std::array<CWideSampler, 3> AllQualities() {
    return {SampleBlocks<kLayout, ENoiseQuality::kLinear>, SampleBlocks<kLayout, ENoiseQuality::kCubic>,
            SampleBlocks<kLayout, ENoiseQuality::kQuintic>};
}

} // namespace

// clang-format off
constinit const CWideKernels kKernels = {
    "AVX-512",
    {2 * kWideBlock, kWideBlock, kWideBlock, kWideBlock, kWideBlock},
    {AllQualities<EWideLayout::k1D>(), AllQualities<EWideLayout::k2D>(), AllQualities<EWideLayout::k3D>(),
     AllQualities<EWideLayout::k4D>(), AllQualities<EWideLayout::kPadded3D>()},
    2 * kWideBlock,
    {GradientsOfBlocks<ENoiseQuality::kLinear>, GradientsOfBlocks<ENoiseQuality::kCubic>,
     GradientsOfBlocks<ENoiseQuality::kQuintic>},
    SinesOfNear};
// clang-format on

} // namespace Vestrel::Internal::Avx512
