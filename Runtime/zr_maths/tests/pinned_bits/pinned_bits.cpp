#include "pinned_bits.h"

#include "instruction_sets.h"
#include "noise_reference.h"
#include "pinned_operations.h"
#include "rotatable_reference.h"

#include <zr_support/simd_streams.h>

#include <bit>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <vector>

namespace Vestrel {

namespace {

constexpr uint32_t kSeed = 20261121;

struct CFields {
    COpenNoise m_Noise = EvenNoise();
    CRecordingGenerator m_Speeds;
    COpenRotatable m_Rotatable{&m_Speeds};
    CStdRandomGenerator m_Generator{kSeed};
};

/// Makes the inputs of a block from coordinates of every kind.
using CFillInputs = void (*)(CCoordinates& coordinates, size_t row, size_t itemCount,
                             std::vector<float>& inputs);

/// The results of the reference for one item.
using CExpect = void (*)(const CFields& fields, size_t row, const float* inputs, float* expected);

/// Inputs and results of a call.
struct CKind {
    size_t m_ItemCount;   // in a block
    size_t m_ResultCount; // of an item
    CFillInputs m_Fill;
    CExpect m_Expect; // null without a reference
};

struct CPinned {
    const char* m_Name;
    EPinnedCall m_Call;
    size_t m_Row;
    uint64_t m_HashOfFew;
    uint64_t m_HashOfMany;
};

constexpr float kSpinVariations[] = {0.0f, 0.2f, 1.5f}; // the rows of rotations

template <size_t kPerItem>
void FillCoordinates(CCoordinates& coordinates, size_t, size_t itemCount, std::vector<float>& inputs) {
    inputs = coordinates.Fill(kPerItem * itemCount);
}

/// Skips one coordinate after each block.
void FillPositions(CCoordinates& coordinates, size_t row, size_t itemCount, std::vector<float>& inputs) {
    inputs = coordinates.Fill(static_cast<size_t>(kBatchSamplers[row].m_Dimension) * itemCount + 1);
    inputs.pop_back();
}

void ExpectBatch(const CFields& fields, size_t row, const float* inputs, float* expected) {
    *expected = Reference::Sample(fields.m_Noise.Basis(), kBatchSamplers[row], inputs);
}

TVector<float, 3> PositionAt(const float* inputs) {
    return {inputs[0], inputs[1], inputs[2]};
}

void ExpectSample(const CFields& fields, size_t row, const float* inputs, float* expected) {
    *expected = Reference::Sample(fields.m_Noise.Basis(), kPointSamplers[row].m_Quality, PositionAt(inputs));
}

/// In half of the items, moves the other three positions close to the first.
void FillCoherent(CCoordinates& coordinates, size_t, size_t itemCount, std::vector<float>& inputs) {
    inputs = coordinates.Fill(12 * itemCount);
    for (size_t item = 0; item < 12 * itemCount; item += 12) {
        float* const first = &inputs[item];
        const bool isClose = (std::bit_cast<uint32_t>(first[11]) & 1) != 0;
        for (size_t k = 3; isClose && k < 12; ++k) {
            first[k] = first[k % 3] + static_cast<float>(k / 3) * 0.0625f;
        }
    }
}

void ExpectCoherent(const CFields& fields, size_t row, const float* inputs, float* expected) {
    const TVector<float, 3> positions[4] = {PositionAt(inputs), PositionAt(inputs + 3),
                                            PositionAt(inputs + 6), PositionAt(inputs + 9)};
    for (size_t k = 0; k < 4; ++k) {
        expected[k] =
            Reference::SampleCoherent(fields.m_Noise.Basis(), kPointSamplers[row].m_Quality, positions, k);
    }
}

/// Records as eight floats: fractions and cell, each with a 0 behind.
void FillRecords(CCoordinates& coordinates, size_t, size_t itemCount, std::vector<float>& inputs) {
    const std::vector<float> positions = coordinates.Fill(3 * itemCount);
    inputs.clear();
    for (size_t k = 0; k < positions.size(); k += 3) {
        const auto& [fractions, cell] = Reference::RecordOf(positions[k], positions[k + 1], positions[k + 2]);
        inputs.insert(inputs.end(), {fractions.x, fractions.y, fractions.z, 0.0f, static_cast<float>(cell.x),
                                     static_cast<float>(cell.y), static_cast<float>(cell.z), 0.0f});
    }
}

void StoreGradient(const TVector<float, 3>& gradient, float* expected) {
    expected[0] = gradient.x;
    expected[1] = gradient.y;
    expected[2] = gradient.z;
    expected[3] = 0.0f;
}

void ExpectGradient(const CFields& fields, size_t row, const float* inputs, float* expected) {
    StoreGradient(Reference::Gradient(fields.m_Noise.Basis(), kPointSamplers[row].m_Quality, false,
                                      Reference::RecordOf(inputs[0], inputs[1], inputs[2])),
                  expected);
}

void ExpectGradientBatch(const CFields& fields, size_t row, const float* inputs, float* expected) {
    StoreGradient(Reference::Gradient(fields.m_Noise.Basis(), kPointSamplers[row].m_Quality, true,
                                      PositionAt(inputs), static_cast<uint32_t>(inputs[4]),
                                      static_cast<uint32_t>(inputs[5]), static_cast<uint32_t>(inputs[6])),
                  expected);
}

void ExpectRotation(const CFields& fields, size_t, const float* inputs, float* expected) {
    const CTable basis = ExpectedBasis(fields.m_Rotatable, *inputs);
    std::memcpy(expected, basis.data(), sizeof(basis));
}

/// Coordinates of which seven in eight become numbers in [-1, 1], the domain of the arcsine.
void FillSines(CCoordinates& coordinates, size_t, size_t itemCount, std::vector<float>& inputs) {
    inputs = coordinates.Fill(itemCount);
    uint32_t mixed = 0;
    for (float& input : inputs) {
        mixed = (mixed ^ std::bit_cast<uint32_t>(input)) * 0x9E3779B1u;
        mixed ^= mixed >> 15;
        if (mixed % 8 != 0) {
            input = static_cast<float>(static_cast<int32_t>(mixed)) * 0x1p-31f;
        }
    }
}

template <auto kOne>
void ExpectOne(const CFields&, size_t, const float* inputs, float* expected) {
    *expected = kOne(*inputs);
}

/// In the order of EPinnedCall.
constexpr CKind kKinds[] = {
    {kMaxPinnedItems, 1, FillPositions, ExpectBatch},
    {kMaxPinnedItems, 1, FillPositions, ExpectBatch},
    {kMaxPinnedItems, 1, FillCoordinates<4>, ExpectSample},
    {kMaxPinnedItems, 4, FillCoherent, ExpectCoherent},
    {kMaxPinnedItems, 4, FillCoordinates<4>, ExpectGradient},
    {kMaxPinnedItems, 4, FillRecords, ExpectGradientBatch},
    {16, 256, FillCoordinates<1>, ExpectRotation},
    {kMaxPinnedItems, 1, FillSines, ExpectOne<&SIMD_Neon::FullPrecision::ArcSin>},
    {kMaxPinnedItems, 1, FillCoordinates<1>, ExpectOne<&SIMD_Neon::LowPrecision::Sin>},
    {kMaxPinnedItems, 1, FillCoordinates<1>, nullptr},
};

const CKind& KindOf(const CPinned& pinned) {
    return kKinds[static_cast<size_t>(pinned.m_Call)];
}

using enum EPinnedCall;

// clang-format off
constexpr CPinned kPinned[] = {
#include "pinned_bits.inc"
};
// clang-format on

/// Describes the first result of a block that differs from the reference; empty if none does.
std::string FirstDifference(const CFields& fields, const CPinned& pinned, const std::vector<float>& inputs,
                            const std::vector<float>& results) {
    const CKind& kind = KindOf(pinned);
    const size_t inputCount = inputs.size() / kind.m_ItemCount;
    std::vector<float> expected(kind.m_ResultCount);
    for (size_t k = 0; k < results.size() && kind.m_Expect != nullptr; ++k) {
        const size_t item = k / kind.m_ResultCount;
        const size_t place = k % kind.m_ResultCount;
        if (place == 0) {
            kind.m_Expect(fields, pinned.m_Row, &inputs[item * inputCount], expected.data());
        }
        if (CanonicalBits(results[k]) != CanonicalBits(expected[place])) {
            char text[120];
            std::snprintf(text, sizeof(text),
                          "result %zu of an item is %a where the reference has %a, of the inputs", place,
                          static_cast<double>(results[k]), static_cast<double>(expected[place]));
            std::string difference = text;
            for (size_t input = 0; input < inputCount; ++input) {
                std::snprintf(text, sizeof(text), " %a",
                              static_cast<double>(inputs[item * inputCount + input]));
                difference += text;
            }
            return difference;
        }
    }
    return "";
}

struct COutcome {
    uint64_t m_HashOfFew = 0;
    uint64_t m_Hash = kEmptyHash;
    std::string m_Difference;
};

/// Compares the blocks of the first `comparedCount` results with the reference.
COutcome Run(const CPinned& pinned, size_t resultCount, size_t comparedCount) {
    const CKind& kind = KindOf(pinned);
    CFields fields;
    if (pinned.m_Call == kRotation) {
        fields.m_Rotatable.SetSpinVariation(kSpinVariations[pinned.m_Row]);
    }
    const CPinnedSubjects subjects = {fields.m_Noise, fields.m_Rotatable, fields.m_Rotatable.m_Basis,
                                      fields.m_Generator};
    CCoordinates coordinates(kSeed);
    COutcome outcome;
    std::vector<float> inputs;
    std::vector<float> results(kind.m_ItemCount * kind.m_ResultCount);
    for (size_t done = 0; done < resultCount;) {
        kind.m_Fill(coordinates, pinned.m_Row, kind.m_ItemCount, inputs);
        MakePinnedResults(pinned.m_Call, pinned.m_Row, subjects, inputs.data(), kind.m_ItemCount,
                          results.data());
        if (done < comparedCount && outcome.m_Difference.empty()) {
            outcome.m_Difference = FirstDifference(fields, pinned, inputs, results);
        }
        for (const float result : results) {
            outcome.m_Hash = HashWith(outcome.m_Hash, result);
            ++done;
            outcome.m_HashOfFew = done == kFewPinnedResults ? outcome.m_Hash : outcome.m_HashOfFew;
        }
    }
    return outcome;
}

} // namespace

size_t PinnedKernelsCount() {
    return SupportedInstructionSets().size();
}

const char* UsePinnedKernels(size_t index) {
    return Internal::NameOf(LimitInstructionSet(SupportedInstructionSets()[index]));
}

size_t PinnedCount() {
    return std::size(kPinned);
}

const char* PinnedName(size_t index) {
    return kPinned[index].m_Name;
}

std::vector<float> PinnedInputs(size_t index, CCoordinates& coordinates, size_t itemCount) {
    std::vector<float> inputs;
    KindOf(kPinned[index]).m_Fill(coordinates, kPinned[index].m_Row, itemCount, inputs);
    return inputs;
}

void PinnedResults(size_t index, const CPinnedSubjects& subjects, const std::vector<float>& inputs,
                   size_t itemCount, float* results) {
    const CPinned& pinned = kPinned[index];
    MakePinnedResults(pinned.m_Call, pinned.m_Row, subjects, inputs.data(), itemCount, results);
}

size_t PinnedResultCount(size_t index) {
    return KindOf(kPinned[index]).m_ResultCount;
}

std::string PinnedMismatch(size_t index, size_t resultCount) {
    const CPinned& pinned = kPinned[index];
    const auto isPinned = [&](const COutcome& outcome) {
        return outcome.m_Difference.empty() && outcome.m_HashOfFew == pinned.m_HashOfFew &&
               (resultCount == kFewPinnedResults || outcome.m_Hash == pinned.m_HashOfMany);
    };
    if (isPinned(Run(pinned, resultCount, kFewPinnedResults))) {
        return "";
    }
    const COutcome outcome = Run(pinned, kManyPinnedResults, kManyPinnedResults);
    char line[64];
    std::snprintf(line, sizeof(line), " 0x%016llX, 0x%016llX},",
                  static_cast<unsigned long long>(outcome.m_HashOfFew),
                  static_cast<unsigned long long>(outcome.m_Hash));
    return std::string(pinned.m_Name) + ": " +
           (outcome.m_Difference.empty() ? "no result differs from the reference" : outcome.m_Difference) +
           "\n" + pinned.m_Name + ": the line for the table is now\n" + line + "\n";
}

} // namespace Vestrel
