// The bits of every operation, pinned: all configurations, compilers, processors and backends have to come to
// the values of one table. What is wrong where they do not is found by comparing with the scalar reference.

#include "batch_samplers.h"
#include "noise_test_support.h"
#include "rotatable_test_support.h"

#include <zr_support/simd_streams.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <ostream>
#include <sstream>
#include <string>
#include <vector>

namespace {

using namespace Vestrel;
using SIMD_Neon::Float4;

constexpr size_t kItems = 4096; // in a block

/// Results that the first hash is over, for where all is slow, and the second.
constexpr size_t kFewResults = 65536;
#if VESTREL_TESTS_ARE_EMULATED || defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr size_t kManyResults = kFewResults;
#else
constexpr size_t kManyResults = 4194304;
#endif

/// A block of inputs and what an operation and the reference make of them: equally many of each for every
/// item.
struct CBlock {
    size_t m_ItemCount = kItems;
    std::vector<float> m_Inputs;
    std::vector<float> m_Results;
    std::vector<float> m_Expected;
};

/// What stays the same from block to block.
struct CContext {
    COpenNoise m_Noise = EvenNoise();
    CCoordinates m_Coordinates{20261121};
    CRecordingGenerator m_Generator;
    COpenRotatable m_Rotatable{&m_Generator};
    CStdRandomGenerator m_Random{20261121};
    uint32_t m_BlockNumber = 0;

    float* FillInputs(CBlock& block, size_t count) {
        block.m_Inputs = m_Coordinates.Fill(count);
        return block.m_Inputs.data();
    }
};

using CRunBlock = void (*)(CContext& context, CBlock& block);

/// FNV-1a, by words.
uint64_t Hashed(uint64_t hash, float value) {
    return (hash ^ FoldedBits(value)) * 1099511628211u;
}

/// Packed and aligned, or with every position and sample on its own.
template <size_t kSampler, bool kIsPacked>
void RunBatch(CContext& context, CBlock& block) {
    const CBatchSampler& sampler = kBatchSamplers[kSampler];
    const size_t floats = static_cast<size_t>(sampler.m_Dimension);
    const float* const inputs = context.FillInputs(block, kItems * floats + 1);
    alignas(16) static std::array<float, 4 * kItems + 8> positions;
    alignas(16) static std::array<float, kItems + 4> samples;
    const size_t shift = kIsPacked ? 0 : 1;
    std::copy_n(inputs, kItems * floats + 1, positions.begin() + static_cast<std::ptrdiff_t>(shift));
    sampler.m_Sample(context.m_Noise, {samples.data() + shift, kItems, 4}, positions.data() + shift, kItems,
                     sampler.PositionSize());
    block.m_Results.assign(samples.data() + shift, samples.data() + shift + kItems);
    block.m_Expected.clear();
    for (size_t k = 0; k < kItems; ++k) {
        block.m_Expected.push_back(sampler.m_Expected(context.m_Noise.Basis(), inputs + k * floats));
    }
}

using Reference::EQuality;

template <EQuality kQuality, auto kSample>
void RunFourLane(CContext& context, CBlock& block) {
    const float* const inputs = context.FillInputs(block, 4 * kItems);
    block.m_Results.clear();
    block.m_Expected.clear();
    for (const float* p = inputs; p < inputs + 4 * kItems; p += 4) {
        block.m_Results.push_back((context.m_Noise.*kSample)(Float4(p[0], p[1], p[2], p[3])));
        block.m_Expected.push_back(
            Reference::Sample(context.m_Noise.Basis(), kQuality, TVector<float, 3>{p[0], p[1], p[2]}));
    }
}

/// Three further positions, half of the time close to the first.
template <EQuality kQuality, auto kSample>
void RunCoherent(CContext& context, CBlock& block) {
    float* const inputs = context.FillInputs(block, 12 * kItems);
    block.m_Results.clear();
    block.m_Expected.clear();
    for (float* p = inputs; p < inputs + 12 * kItems; p += 12) {
        Float4 values[4];
        TVector<float, 3> positions[4];
        for (size_t k = 0; k < 4; ++k) {
            const float* const own = p + 3 * k;
            const float step = static_cast<float>(k) * 0.0625f;
            const bool isClose = (std::bit_cast<uint32_t>(p[11]) & 1) != 0;
            positions[k] = isClose ? TVector<float, 3>{p[0] + step, p[1] + step, p[2] + step}
                                   : TVector<float, 3>{own[0], own[1], own[2]};
            values[k] = Float4(positions[k].x, positions[k].y, positions[k].z, 0.0f);
        }
        alignas(16) float samples[4];
        SIMD_Neon::StoreAligned(samples, (context.m_Noise.*kSample)(values));
        for (size_t k = 0; k < 4; ++k) {
            block.m_Results.push_back(samples[k]);
            block.m_Expected.push_back(
                Reference::SampleCoherent(context.m_Noise.Basis(), kQuality, positions, k));
        }
    }
}

using CRecord = TPair<TVector<float, 4>, TVector<int, 4>>;
using CGradient = TVector<float, 4>;
using CSingleGradient = Float4 (CFastNoise3::*)(Float4) const noexcept;
using CBatchGradient = void (CFastNoise3::*)(const TMemoryView<const CRecord>&,
                                             const TMemoryView<CGradient>&) const noexcept;

CRecord RecordOf(const float* position) {
    const Reference::CCell x = Reference::Split(position[0]);
    const Reference::CCell y = Reference::Split(position[1]);
    const Reference::CCell z = Reference::Split(position[2]);
    return {{x.m_Fraction, y.m_Fraction, z.m_Fraction, 0.0f},
            {static_cast<int>(x.m_Coordinate), static_cast<int>(y.m_Coordinate),
             static_cast<int>(z.m_Coordinate), 0}};
}

void AddExpectedGradient(const CContext& context, CBlock& block, EQuality quality, bool isBatch,
                         const CRecord& record) {
    const auto& [fractions, cell] = record;
    const TVector<float, 3> gradient = Reference::Gradient(
        context.m_Noise.Basis(), quality, isBatch, {fractions.x, fractions.y, fractions.z},
        static_cast<uint32_t>(cell.x), static_cast<uint32_t>(cell.y), static_cast<uint32_t>(cell.z));
    block.m_Expected.insert(block.m_Expected.end(), {gradient.x, gradient.y, gradient.z, 0.0f});
}

template <EQuality kQuality, CSingleGradient kSample>
void RunGradient(CContext& context, CBlock& block) {
    const float* const inputs = context.FillInputs(block, 4 * kItems);
    block.m_Results.resize(4 * kItems);
    block.m_Expected.clear();
    for (size_t k = 0; k < kItems; ++k) {
        const float* const p = inputs + 4 * k;
        SIMD_Neon::StoreUnaligned(&block.m_Results[4 * k],
                                  (context.m_Noise.*kSample)(Float4(p[0], p[1], p[2], p[3])));
        AddExpectedGradient(context, block, kQuality, false, RecordOf(p));
    }
}

template <EQuality kQuality, CBatchGradient kSample>
void RunGradientBatch(CContext& context, CBlock& block) {
    const float* const inputs = context.FillInputs(block, 3 * kItems);
    std::vector<CRecord> records(kItems);
    std::vector<CGradient> gradients(kItems);
    block.m_Expected.clear();
    for (size_t k = 0; k < kItems; ++k) {
        records[k] = RecordOf(inputs + 3 * k);
        AddExpectedGradient(context, block, kQuality, true, records[k]);
    }
    (context.m_Noise.*kSample)({records.data(), kItems}, {gradients.data(), kItems});
    block.m_Results.resize(4 * kItems);
    std::memcpy(block.m_Results.data(), gradients.data(), kItems * sizeof(CGradient));
}

/// Sixteen times; the input of a result is its time.
template <int kVariationInTenths>
void RunRotation(CContext& context, CBlock& block) {
    if (context.m_BlockNumber == 0) {
        context.m_Rotatable.SetSpinVariation(static_cast<float>(kVariationInTenths) / 10.0f);
    }
    block.m_ItemCount = 16;
    block.m_Inputs.clear();
    block.m_Results.clear();
    block.m_Expected.clear();
    for (size_t k = 0; k < block.m_ItemCount; ++k) {
        const float time = context.m_Coordinates.Next();
        context.m_Rotatable.RotateBasis(time);
        block.m_Inputs.push_back(time);
        block.m_Results.insert(block.m_Results.end(), context.m_Rotatable.m_Basis,
                               context.m_Rotatable.m_Basis + 256);
        for (const uint32_t bits : ExpectedBasis(context.m_Rotatable, context.m_Rotatable.m_LastTime)) {
            block.m_Expected.push_back(std::bit_cast<float>(bits));
        }
    }
}

template <auto kStream, auto kOne>
void RunStream(CContext& context, CBlock& block) {
    const float* const inputs = context.FillInputs(block, kItems);
    alignas(16) static std::array<float, kItems> in;
    alignas(16) static std::array<float, kItems> out;
    std::copy_n(inputs, kItems, in.begin());
    kStream(in.data(), out.data(), kItems);
    block.m_Results.assign(out.begin(), out.end());
    block.m_Expected.resize(kItems);
    std::transform(in.begin(), in.end(), block.m_Expected.begin(), [](float x) { return kOne(x); });
}

/// There is nothing to compare with.
void RunGenerator(CContext& context, CBlock& block) {
    block.m_ItemCount = 1;
    block.m_Inputs.assign(1, static_cast<float>(context.m_BlockNumber));
    block.m_Results.resize(kItems);
    context.m_Random.FillRandomFloats({block.m_Results.data(), kItems}, -1.0f, 1.0f);
    block.m_Expected = block.m_Results;
}

struct CPinnedBits {
    const char* m_Name;
    CRunBlock m_Run;
    uint64_t m_HashOfFew;
    uint64_t m_HashOfMany;

    friend std::ostream& operator<<(std::ostream& stream, const CPinnedBits& pinned) {
        return stream << pinned.m_Name;
    }
};

constexpr EQuality kLinear = EQuality::kLinear;
constexpr EQuality kCubic = EQuality::kCubic;
constexpr EQuality kQuintic = EQuality::kQuintic;

// clang-format off
constexpr CPinnedBits kPinnedBits[] = {
#include "pinned_bits.inc"
};
// clang-format on

class PinnedBits : public testing::TestWithParam<CPinnedBits> {};

INSTANTIATE_TEST_SUITE_P(All, PinnedBits, testing::ValuesIn(kPinnedBits), CNameOfInstance());

/// The first result of a block that differs from the reference, with the inputs of its item; empty where none
/// does.
std::string FirstDifference(const CBlock& block) {
    for (size_t k = 0; k < block.m_Results.size(); ++k) {
        if (FoldedBits(block.m_Results[k]) != FoldedBits(block.m_Expected[k])) {
            std::ostringstream text;
            text << std::hexfloat << "result " << block.m_Results[k] << " where the reference has "
                 << block.m_Expected[k] << ", of the inputs";
            const size_t inputCount = block.m_Inputs.size() / block.m_ItemCount;
            const size_t item = k / (block.m_Results.size() / block.m_ItemCount);
            for (size_t input = 0; input < inputCount; ++input) {
                text << ' ' << block.m_Inputs[item * inputCount + input];
            }
            return text.str();
        }
    }
    return "";
}

TEST_P(PinnedBits, AreThoseOfTheTable) {
    CContext context;
    CBlock block;
    uint64_t hash = 14695981039346656037u;
    uint64_t hashOfFew = 0;
    std::string difference;
    for (size_t done = 0; done < kManyResults; ++context.m_BlockNumber) {
        GetParam().m_Run(context, block);
        for (const float result : block.m_Results) {
            hash = Hashed(hash, result);
            ++done;
            hashOfFew = done == kFewResults ? hash : hashOfFew;
            if (done == kManyResults) {
                break;
            }
        }
        difference = difference.empty() ? FirstDifference(block) : difference;
    }
    EXPECT_EQ(difference, "");
    char line[160];
    std::snprintf(line, sizeof(line), "0x%016llX, 0x%016llX", static_cast<unsigned long long>(hashOfFew),
                  static_cast<unsigned long long>(hash));
    EXPECT_EQ(hashOfFew, GetParam().m_HashOfFew) << GetParam().m_Name << " now has " << line;
    if (kManyResults > kFewResults) {
        EXPECT_EQ(hash, GetParam().m_HashOfMany) << GetParam().m_Name << " now has " << line;
    }
}

} // namespace
