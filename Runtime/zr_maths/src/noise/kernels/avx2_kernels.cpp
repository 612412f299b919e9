#include <zr_support_internal/strict_arithmetic.h>

// The kernels for AVX2: cells are hashed one by one, two hashes per addition, and blended eight at a time.

#include "../lattice/sample.h"
#include "block_kernels.h"

#include <zr_support_internal/avx2_lanes.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace Vestrel::Internal::Avx2 {

namespace {

/// For every hash, its permutation value in the lower half and that of the next hash in the upper half.
struct CPairTable {
    uint32_t m_Pairs[2 * kPeriod];
};

constexpr CPairTable kPermutationPairs = [] {
    CPairTable table{};
    for (size_t hash = 0; hash < 2 * kPeriod; ++hash) {
        table.m_Pairs[hash] = kFastNoisePermutations[hash] | kFastNoisePermutations[hash + 1] << 16;
    }
    return table;
}();

/// A hash, or a coordinate as a HashOperand.
struct CHash {
    uint32_t m_Value;
};

/// Two 16-bit sums in one add; no carry, 255 + 255 < 2^16. Compilers share the load and the add between the
/// sides.
struct CPermutationPairs {
    template <size_t kSide>
    [[gnu::always_inline]] CHash Next(CHash hash, CHash coordinate) const {
        const uint32_t pair = kPermutationPairs.m_Pairs[hash.m_Value] + coordinate.m_Value;
        return {kSide == 0 ? pair & 0xFFFF : pair >> 16};
    }
};

/// Direct look-up, four edges at a time.
struct CEdgeLookup {
    const float* m_Values;

    [[gnu::always_inline]] FloatX8 LoadEdges(CHash hash0, CHash hash1, CHash hash2, CHash hash3) const {
        return LoadFourPairs(m_Values + hash0.m_Value, m_Values + hash1.m_Value, m_Values + hash2.m_Value,
                             m_Values + hash3.m_Value);
    }
};

/// The basis itself, in 3D and 4D.
struct CBasis {
    const float* m_Values;

    [[gnu::always_inline]] explicit CBasis(const float* basis) : m_Values(basis) {}
};

/// A copy of the basis by hash, in 1D and 2D.
struct CPermutedBasis {
    float m_Values[2 * kPeriod];

    [[gnu::always_inline]] explicit CPermutedBasis(const float* basis) {
        for (size_t hash = 0; hash < 2 * kPeriod; ++hash) {
            m_Values[hash] = basis[kPermutationPairs.m_Pairs[hash] & 0xFFFF];
        }
    }
};

struct CInstructionSet {
    using CFloat = FloatX8;

    template <int kDimension>
    using TLookup =
        std::conditional_t<std::is_same_v<TBasisLookup<kDimension>, CDirectLookup>, CBasis, CPermutedBasis>;

    template <int kDimension>
    [[gnu::always_inline]] static TLookup<kDimension> MakeLookup(const float* basis) {
        return TLookup<kDimension>(basis);
    }

    template <int kDimension>
    struct TEdges {};

    /// Look-ups read cells one by one. The barrier stops compilers from extracting them from registers
    /// instead of memory.
    template <int kDimension>
    [[gnu::always_inline]] static void LookUpBlock(const TLookup<kDimension>&,
                                                   TBlock<FloatX8, kDimension>& block, TEdges<kDimension>&) {
        asm("" : "+m"(block));
    }

    template <int kDimension>
    [[gnu::always_inline]] static auto _HashesOf(const TBlock<FloatX8, kDimension>& block, size_t position) {
        CHash cell[kDimension];
        for (size_t axis = 0; axis < kDimension; ++axis) {
            cell[axis] = {block.m_Cells[axis][position]};
        }
        return HashEdges<kDimension>(cell, CPermutationPairs());
    }

    template <int kDimension>
    [[gnu::always_inline]] static FloatX8 Blend(const TLookup<kDimension>& lookup, const TEdges<kDimension>&,
                                                const TBlock<FloatX8, kDimension>& block, size_t first) {
        TPairWeights<kDimension, FloatX8> weights;
        for (size_t axis = 0; axis < kDimension; ++axis) {
            weights.Set(axis, FloatX8::Load(block.m_Weights[axis] + first));
        }
        const auto hashesOf = [&](size_t k) __attribute__((always_inline)) {
            return _HashesOf<kDimension>(block, first + k);
        };
        return BlendPairs(
            weights, [&](size_t k) __attribute__((always_inline)) {
                return LoadEdgePairs<kDimension>(CEdgeLookup{lookup.m_Values}, hashesOf(k), hashesOf(k + 1),
                                                 hashesOf(k + 4), hashesOf(k + 5));
            });
    }

    [[gnu::always_inline]] static std::array<FloatX8, 8>
    Corners(const TLookup<3>& lookup, const TEdges<3>&, const TBlock<FloatX8, 3>& block, size_t first) {
        std::array<CHash, 4> hashes[FloatX8::kLanes];
#pragma GCC unroll 8
        for (size_t k = 0; k < FloatX8::kLanes; ++k) {
            hashes[k] = _HashesOf<3>(block, first + k);
        }
        return CornersOfPairs<FloatX8>([&](size_t edge, size_t k) __attribute__((always_inline)) {
            return CEdgeLookup{lookup.m_Values}.LoadEdges(hashes[k][edge], hashes[k + 1][edge],
                                                          hashes[k + 4][edge], hashes[k + 5][edge]);
        });
    }
};

} // namespace

constinit const CKernels kKernels = {{
    {8 * kPositionsPerBlock, kSamplers<CInstructionSet, EKernelInput::k1D>},
    {4 * kPositionsPerBlock, kSamplers<CInstructionSet, EKernelInput::k2D>},
    {kPositionsPerBlock, kSamplers<CInstructionSet, EKernelInput::k3D>},
    {kPositionsPerBlock, kSamplers<CInstructionSet, EKernelInput::k4D>},
    {kPositionsPerBlock, kSamplers<CInstructionSet, EKernelInput::kPadded3D>},
    {kPositionsPerBlock, kGradients<CInstructionSet>},
}};

} // namespace Vestrel::Internal::Avx2
