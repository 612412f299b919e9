#include "strict_arithmetic.h"

// The wide kernels for AVX2: cells are hashed one by one, two hashes at a time, and blended eight side by
// side.

#include "../maths_noise_fast_sample.h"
#include "avx2_lanes.h"
#include "wide_instruction_sets.h"
#include "wide_split.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <type_traits>
#include <utility>

namespace Vestrel::Internal::Avx2 {

namespace {

/// In its lower half the permutation value of every hash, in its upper half that of the next one.
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

/// A hash, or a coordinate as AsNextCoordinate makes it.
struct CHash {
    uint32_t m_Value;
};

/// Two permutation values come with one load, and the next coordinate is added to both with one sum:
/// compilers see that it is the same for both sides.
struct CPermutationPairs {
    template <size_t kSide>
    [[gnu::always_inline]] CHash Next(CHash hash, CHash coordinate) const {
        const uint32_t pair = kPermutationPairs.m_Pairs[hash.m_Value] + coordinate.m_Value;
        return {kSide == 0 ? pair & 0xFFFF : pair >> 16};
    }
};

/// The basis in the order in which hashes lead to it: as it is, or in 1D and 2D a copy that has gone through
/// the permutation once more.
template <int kDimension>
struct TBasisByHash {
    const float* m_Values;

    [[gnu::always_inline]] explicit TBasisByHash(const float* basis) : m_Values(basis) {}
};

struct CPermutedCopy {
    float m_Values[2 * kPeriod];

    [[gnu::always_inline]] explicit CPermutedCopy(const float* basis) {
        for (size_t hash = 0; hash < 2 * kPeriod; ++hash) {
            m_Values[hash] = basis[kPermutationPairs.m_Pairs[hash] & 0xFFFF];
        }
    }
};

template <>
struct TBasisByHash<1> : CPermutedCopy {
    using CPermutedCopy::CPermutedCopy;
};
template <>
struct TBasisByHash<2> : CPermutedCopy {
    using CPermutedCopy::CPermutedCopy;
};

template <int kDimension>
using THashes = std::array<CHash, kEdgeCount<kDimension>>;

template <int kDimension>
[[gnu::always_inline]] inline THashes<kDimension> _HashOf(const uint32_t (&cells)[kDimension][kWideBlock],
                                                          size_t position) {
    CHash cell[kDimension];
    for (size_t axis = 0; axis < kDimension; ++axis) {
        cell[axis] = {cells[axis][position]};
    }
    return HashEdges<kDimension>(cell, CPermutationPairs());
}

template <int kDimension, size_t... kEdges>
[[gnu::always_inline]] inline std::array<FloatX8, sizeof...(kEdges)>
_LoadEdgesOfFour(const float* values, const THashes<kDimension>& hashes0, const THashes<kDimension>& hashes1,
                 const THashes<kDimension>& hashes2, const THashes<kDimension>& hashes3,
                 std::index_sequence<kEdges...>) {
    return {LoadFourPairs(values + hashes0[kEdges].m_Value, values + hashes1[kEdges].m_Value,
                          values + hashes2[kEdges].m_Value, values + hashes3[kEdges].m_Value)...};
}

/// The samples of the eight positions of a block from `first` on.
template <int kDimension>
[[gnu::always_inline]] inline FloatX8
SampleEight(const float* values, const TSplitBlock<FloatX8, kDimension>& block, size_t first) {
    constexpr auto kAllEdges = std::make_index_sequence<kEdgeCount<kDimension>>();
    TPairWeights<kDimension, FloatX8> weights;
    for (size_t axis = 0; axis < kDimension; ++axis) {
        weights.Set(axis, LoadLanes<FloatX8>(block.m_Weights[axis] + first));
    }
    const auto edgesOfFour = [&](size_t k) {
        return _LoadEdgesOfFour<kDimension>(
            values, _HashOf<kDimension>(block.m_Cells, k), _HashOf<kDimension>(block.m_Cells, k + 1),
            _HashOf<kDimension>(block.m_Cells, k + 4), _HashOf<kDimension>(block.m_Cells, k + 5), kAllEdges);
    };
    // Both halves are loaded before either is blended, which in 4D is faster by 7 %.
    const auto loaded01 = edgesOfFour(first);
    const auto loaded23 = edgesOfFour(first + 2);
    const FloatX8 edges01 = BlendEdges(loaded01, &weights.m_Twice01[0]);
    const FloatX8 edges23 = BlendEdges(loaded23, &weights.m_Twice23[0]);
    return LerpPairs(edges01, edges23, weights.m_Each[kDimension - 1]);
}

template <EWideLayout kLayout, ENoiseQuality kQuality>
void SampleBlocks(const float* basis, void* samples, const void* positions, size_t count) noexcept {
    constexpr int kDimension = kDimensionOf<kLayout>;
    const TBasisByHash<kDimension> byHash(basis);
    float* output = static_cast<float*>(samples);
    const float* position = static_cast<const float*>(positions);
    TSplitBlock<FloatX8, kDimension> block;
    for (size_t k = 0; k < count; k += kWideBlock) {
        SplitBlock<kLayout, kQuality>(position, block);
        // Read lane by lane from here on: compilers shall not take the lanes out of the registers instead.
        asm("" : "+m"(block));
        for (size_t first = 0; first < kWideBlock; first += FloatX8::kLanes) {
            Store(output + first, InOrderOf<kLayout>(SampleEight<kDimension>(byHash.m_Values, block, first)));
        }
        position += kFloatsApart<kLayout> * kWideBlock;
        output += kWideBlock;
    }
}

template <EWideLayout kLayout>
constexpr std::array<CWideSampler, 3> AllQualities() {
    return {SampleBlocks<kLayout, ENoiseQuality::kLinear>, SampleBlocks<kLayout, ENoiseQuality::kCubic>,
            SampleBlocks<kLayout, ENoiseQuality::kQuintic>};
}

} // namespace

// clang-format off
constinit const CWideKernels kKernels = {
    "AVX2",
    {8 * kWideBlock, 4 * kWideBlock, kWideBlock, kWideBlock, kWideBlock},
    {AllQualities<EWideLayout::k1D>(), AllQualities<EWideLayout::k2D>(), AllQualities<EWideLayout::k3D>(),
     AllQualities<EWideLayout::k4D>(), AllQualities<EWideLayout::kPadded3D>()},
    0,
    {},
    nullptr};
// clang-format on

} // namespace Vestrel::Internal::Avx2
