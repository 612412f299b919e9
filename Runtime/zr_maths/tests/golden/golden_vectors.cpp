// Writes the golden vectors, docs/golden/vectors.json, or compares a file with them:
//   golden_vectors FILE
//   golden_vectors --check FILE
// docs/guarantees.md describes the format. Operations and their inputs are those of the table of pinned bits,
// except for the rotation and the generator, whose inputs are calls and seeds.

#include "lattice/permutations.h"
#include "noise_test_support.h"
#include "pinned_bits/pinned_bits.h"
#include "pinned_bits/pinned_operations.h"

#include <zr_support/std_random_generator.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>
#include <limits>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

namespace {

using namespace Vestrel;

constexpr uint32_t kFieldSeed = 42; // that of the README's first program
constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr float kNan = std::numeric_limits<float>::quiet_NaN();

/// Zeros, whole numbers and their neighbours, denormals, the limits of 32-bit integers, infinities and NaN.
constexpr float kSpecialCoordinates[] = {
    0.0f,          -0.0f,          1.0f,     -1.0f,          256.0f,     -257.0f,     0x1.fffffep-1f,
    0x1.000002p0f, -0x1.000002p1f, -1e-10f,  0x1p-126f,      -0x1p-149f, 0x1.8p-130f, 0x1p23f,
    -0x1p23f,      0x1p30f,        -0x1p30f, 0x1.fffffep30f, 0x1p31f,    -0x1p31f,    -0x1.000002p31f,
    3e9f,          -3e9f,          1e38f,    -1e38f,         kInfinity,  -kInfinity,  kNan};
constexpr size_t kEverySpecial = 5; // one in five coordinates is special

constexpr size_t kOrdinaryItems = 64;
constexpr size_t kMixedItems = 144;
static_assert(kMixedItems >= kEverySpecial * std::size(kSpecialCoordinates), "each is there in 1D, too");

/// Zero, or of a magnitude at which no operation reaches a denormal, an infinity or a coordinate beyond 2^31.
bool IsOrdinary(float value) {
    const float magnitude = std::fabs(value);
    return value == 0.0f || (magnitude >= 0x1p-40f && magnitude <= 0x1p20f);
}

class COrdinaryCoordinates : public CCoordinates {
public:
    using CCoordinates::CCoordinates;

    float Next() override {
        float value = CCoordinates::Next();
        while (!IsOrdinary(value)) {
            value = CCoordinates::Next();
        }
        return value;
    }
};

/// Of five coordinates one is the next special one, one is of any kind, and the others are ordinary. No
/// operation has a multiple of five coordinates, so every axis gets special ones.
class CMixedCoordinates final : public COrdinaryCoordinates {
public:
    using COrdinaryCoordinates::COrdinaryCoordinates;

    float Next() override {
        const size_t round = m_Count / kEverySpecial;
        switch (m_Count++ % kEverySpecial) {
        case 0:
            return kSpecialCoordinates[round % std::size(kSpecialCoordinates)];
        case 2: {
            const float value = CCoordinates::Next();
            return std::isnan(value) ? kNan : value; // the same bits on processors that change a NaN's
        }
        default:
            return COrdinaryCoordinates::Next();
        }
    }

private:
    size_t m_Count = 0;
};

std::string HexOf(float value) {
    char text[16];
    std::snprintf(text, sizeof(text), "\"%08x\"", static_cast<unsigned>(CanonicalBits(value)));
    return text;
}

std::string Joined(const std::vector<std::string>& parts, const char* separator) {
    std::string joined;
    for (const std::string& part : parts) {
        joined += (joined.empty() ? "" : separator) + part;
    }
    return joined;
}

std::string ListOf(const std::vector<std::string>& parts) {
    return std::string("[").append(Joined(parts, ", ")).append("]");
}

std::string ListOf(const float* values, size_t count) {
    std::vector<std::string> parts(count);
    std::transform(values, values + count, parts.begin(), HexOf);
    return ListOf(parts);
}

/// The vectors of an operation.
class CVectors {
public:
    explicit CVectors(const std::string& name) : m_Name(name) {}

    /// Adds a vector with the numbers `inputs`, written to the file as `shown`.
    void Add(const std::vector<float>& inputs, const std::string& shown, const float* results,
             size_t resultCount) {
        const bool isOrdinary = std::all_of(inputs.begin(), inputs.end(), IsOrdinary) &&
                                std::all_of(results, results + resultCount, IsOrdinary);
        std::vector<std::string>& lines = isOrdinary ? m_Ordinary : m_Other;
        lines.push_back("{\"in\": " + shown + ", \"out\": " + ListOf(results, resultCount) + "}");
    }

    std::string Text() const {
        return "\"" + m_Name + "\": {\"ordinary\": [\n" + Joined(m_Ordinary, ",\n") + "\n], \"other\": [\n" +
               Joined(m_Other, ",\n") + "\n]}";
    }

private:
    std::string m_Name;
    std::vector<std::string> m_Ordinary;
    std::vector<std::string> m_Other;
};

struct CSubjects {
    CStdRandomGenerator m_NoiseGenerator{kFieldSeed};
    CStdRandomGenerator m_RotatableGenerator{kFieldSeed};
    COpenNoise m_Noise{&m_NoiseGenerator};
    COpenRotatable m_Rotatable{&m_RotatableGenerator};
    CPinnedSubjects m_Pinned{m_Noise, m_Rotatable, m_Rotatable.m_Basis, m_NoiseGenerator};
};

// For the streams, which need multiples of four.
// clang-format off
constexpr float kSineInputs[] = {
    0x1.921fb6p0f, 0x1.921fb6p1f, -0x1.921fb6p1f, 0x1.921fb6p2f,        // quarter, half and whole turns
    0x1.fffffep13f, 0x1p14f, -0x1p14f, 0x1.b8652cp13f,                  // where near ends; the largest error
    0x1p24f, 0x1.fffffep126f, 0x1.fffffep127f, -0x1.fffffep127f,
    0x1p-149f, -0x1p-126f, 0x1p-12f, 1e6f,
};
constexpr float kArcSineInputs[] = {
    0.0f, -0.0f, 1.0f, -1.0f,
    0.5f, -0.5f, 0x1.000002p-1f, 0x1.fffffep-2f,                        // around the end of the polynomial's range
    0x1.fffffep-13f, 0x1p-12f, 0x1.fffffep-12f, 0x1p-11f,               // around the end of asin(x) = x
    0x1p-149f, -0x1p-126f, 0.25f, 0x1.fffffep-1f,
    0x1.000002p0f, -2.0f, 0x1p31f, kInfinity, -kInfinity, kNan, -0.75f, // no sines, except the last
    // Arcsines almost halfway between two floats, so that another polynomial shows.
    0x1.107434p-1f, 0x1.e5af18p-2f, 0x1.18bb94p-1f, 0x1.f46be6p-2f, 0x1.12d9p-1f,
    0x1.f1a2e4p-2f, 0x1.1de124p-1f, 0x1.da794ep-2f, 0x1.c3adbcp-2f,
};
// clang-format on
static_assert(std::size(kSineInputs) % 4 == 0 && std::size(kArcSineInputs) % 4 == 0);

std::vector<float> MoreInputs(std::string_view name) {
    if (name == "SinStream") {
        return {std::begin(kSineInputs), std::end(kSineInputs)};
    }
    if (name == "ArcSinStream") {
        return {std::begin(kArcSineInputs), std::end(kArcSineInputs)};
    }
    return {};
}

void AddItems(CVectors& vectors, size_t index, const CSubjects& subjects, const std::vector<float>& inputs,
              size_t itemCount) {
    const size_t resultCount = PinnedResultCount(index);
    std::vector<float> results(itemCount * resultCount);
    PinnedResults(index, subjects.m_Pinned, inputs, itemCount, results.data());
    const size_t inputCount = inputs.size() / itemCount;
    for (size_t item = 0; item < itemCount; ++item) {
        const auto first = inputs.begin() + static_cast<std::ptrdiff_t>(item * inputCount);
        const std::vector<float> itemInputs(first, first + static_cast<std::ptrdiff_t>(inputCount));
        vectors.Add(itemInputs, ListOf(itemInputs.data(), inputCount), &results[item * resultCount],
                    resultCount);
    }
}

std::string PinnedVectors(size_t index, const CSubjects& subjects) {
    CVectors vectors(PinnedName(index));
    const uint32_t seed = static_cast<uint32_t>(index);
    COrdinaryCoordinates ordinary(seed);
    AddItems(vectors, index, subjects, PinnedInputs(index, ordinary, kOrdinaryItems), kOrdinaryItems);
    CMixedCoordinates mixed(seed);
    AddItems(vectors, index, subjects, PinnedInputs(index, mixed, kMixedItems), kMixedItems);
    const std::vector<float> more = MoreInputs(PinnedName(index));
    if (!more.empty()) {
        AddItems(vectors, index, subjects, more, more.size());
    }
    return vectors.Text();
}

enum class ECall { kSetSpinVariation, kRotateBasis };

struct CCall {
    ECall m_Call;
    float m_Value;
};

constexpr CCall Spin(float variation) {
    return {ECall::kSetSpinVariation, variation};
}

constexpr CCall Rotate(float time) {
    return {ECall::kRotateBasis, time};
}

/// Sequences of calls, each for a field as drawn.
std::vector<std::vector<CCall>> RotationCalls() {
    return {
        {Rotate(0.0f)}, // the current time: the values as drawn
        {Rotate(0.25f)},
        {Rotate(1.0f)},
        {Rotate(-0.37f)},
        {Rotate(12.75f)},
        {Rotate(1000.5f)}, // near and far angles
        {Rotate(1e5f)},
        {Rotate(1.0f), Rotate(0.0f)}, // the values as drawn, except for rounding
        {Rotate(7.5f), Rotate(0.3f)}, // depends on 0.3 only
        {Spin(0.0f), Rotate(0.5f)},   // all at one speed
        {Spin(1.5f), Rotate(0.5f)},
        {Spin(1.5f), Rotate(-3.25f)},
        {Spin(3.0f), Rotate(2.5f)},                              // some turn backwards
        {Spin(-1.0f), Rotate(0.5f)},                             // as 0
        {Spin(0.0f), Spin(0.4f), Rotate(1.0f)},                  // restores the spread
        {Spin(0.7f), Spin(0.2f), Rotate(1.0f)},                  // the initial spread, except for rounding
        {Rotate(0.5f), Spin(1.5f)},                              // no effect before the next rotation
        {Rotate(0.5f), Spin(1.5f), Rotate(0.5f)},                // no effect at the same time
        {Rotate(0.5f), Spin(1.5f), Rotate(0.75f), Rotate(0.5f)}, // takes effect at another time
        {Spin(0x1.4f8b58p-17f), Rotate(0.5f)},                   // 1e-5, the smallest that differs from 0
        {Spin(0x1.4f8b56p-17f), Rotate(0.5f)},
        {Spin(0x1.4f8b58p-17f), Spin(0.2f), Rotate(1.0f)}, // speeds have merged
        {Rotate(0x1p-149f)},
        {Rotate(1e10f)},
        {Rotate(1e37f)},
        {Rotate(-1e37f)},
        {Rotate(1e38f)}, // angles overflow
        {Rotate(kInfinity)},
        {Rotate(kNan)},
        {Rotate(kNan), Rotate(0.3f)}, // NaN has no lasting effect
    };
}

std::string RotationVectors(const CSubjects& subjects) {
    CVectors vectors("RotateBasis");
    for (const std::vector<CCall>& calls : RotationCalls()) {
        COpenRotatable field(subjects.m_Rotatable);
        std::vector<float> inputs;
        std::vector<std::string> shown;
        for (const CCall& call : calls) {
            inputs.push_back(call.m_Value);
            const bool isRotation = call.m_Call == ECall::kRotateBasis;
            isRotation ? field.RotateBasis(call.m_Value) : field.SetSpinVariation(call.m_Value);
            shown.push_back(
                ListOf({isRotation ? "\"RotateBasis\"" : "\"SetSpinVariation\"", HexOf(call.m_Value)}));
        }
        vectors.Add(inputs, ListOf(shown), field.m_Basis, 256);
    }
    return vectors.Text();
}

struct CDraw {
    uint32_t m_Seed;
    float m_Min;
    float m_Max;
    uint32_t m_Count = 16;
};

constexpr CDraw kDraws[] = {
    {0, -1.0f, 1.0f},
    {1, -1.0f, 1.0f},
    {kFieldSeed, -1.0f, 1.0f, 640}, // the engine generates 624 numbers at a time
    {5489, -1.0f, 1.0f},
    {0x80000000u, -1.0f, 1.0f},
    {0xFFFFFFFFu, -1.0f, 1.0f},
    {kFieldSeed, 0.0f, 1.0f},
    {kFieldSeed, -0.7f, 6.9115f}, // no product is exact
    {kFieldSeed, 5.0f, 5.0f},
    {kFieldSeed, 0.1f, 0.1f}, // rounding leaves the bounds
    {kFieldSeed, -0x1.fffffep127f, 0x1.fffffep127f},
    {kFieldSeed, -0x1p-140f, 0x1p-140f},
};

std::string GeneratorVectors() {
    CVectors vectors("CStdRandomGenerator");
    for (const CDraw& draw : kDraws) {
        CStdRandomGenerator generator(draw.m_Seed);
        std::vector<float> numbers(draw.m_Count);
        generator.FillRandomFloats({numbers.data(), draw.m_Count}, draw.m_Min, draw.m_Max);
        const std::string shown = ListOf({std::to_string(draw.m_Seed), HexOf(draw.m_Min), HexOf(draw.m_Max)});
        vectors.Add({draw.m_Min, draw.m_Max}, shown, numbers.data(), numbers.size());
    }
    return vectors.Text();
}

/// Whether the vectors of an operation come from the table: not for a second path of the same operation, nor
/// if inputs are not floats.
bool IsFromTable(std::string_view name) {
    return !name.ends_with("OneAtATime") && !name.starts_with("RotateBasis") && name != "StdRandomGenerator";
}

std::string PermutationText() {
    std::vector<std::string> entries;
    for (size_t k = 0; k < 256; ++k) {
        entries.push_back(std::to_string(Internal::kFastNoisePermutations[k]));
    }
    return ListOf(entries);
}

std::string GoldenVectors() {
    const CSubjects subjects;
    std::vector<std::string> operations;
    for (size_t index = 0; index < PinnedCount(); ++index) {
        if (IsFromTable(PinnedName(index))) {
            operations.push_back(PinnedVectors(index, subjects));
        }
    }
    operations.push_back(RotationVectors(subjects));
    operations.push_back(GeneratorVectors());
    return "{\n\"format\": 1,\n\"seed\": " + std::to_string(kFieldSeed) +
           ",\n\"permutation\": " + PermutationText() +
           ",\n\"basis\": " + ListOf(subjects.m_Noise.Basis(), 256) +
           ",\n\"phases\": " + ListOf(subjects.m_Rotatable.m_Phases, 256) +
           ",\n\"speeds\": " + ListOf(subjects.m_Rotatable.m_SpinSpeeds, 256) + ",\n\"operations\": {\n" +
           Joined(operations, ",\n") + "\n}\n}\n";
}

int Check(const char* path, const std::string& text) {
    std::ifstream file(path, std::ios::binary);
    std::istringstream library(text);
    std::string found;
    std::string expected;
    for (int number = 1; std::getline(library, expected); ++number) {
        if (!std::getline(file, found) || found != expected) {
            std::fprintf(stderr, "%s:%d: other bits than this library's\nfile:    %s\nlibrary: %s\n", path,
                         number, found.c_str(), expected.c_str());
            return 1;
        }
    }
    if (std::getline(file, found)) {
        std::fprintf(stderr, "%s: more than this library's bits: %s\n", path, found.c_str());
        return 1;
    }
    std::printf("%s has the bits of this library\n", path);
    return 0;
}

int Write(const char* path, const std::string& text) {
    std::ofstream file(path, std::ios::binary);
    if (!(file << text).flush()) {
        std::fprintf(stderr, "golden_vectors: '%s' cannot be written\n", path);
        return 1;
    }
    return 0;
}

} // namespace

int main(int argumentCount, char** arguments) {
    const bool isCheck = argumentCount == 3 && std::strcmp(arguments[1], "--check") == 0;
    if (argumentCount != 2 && !isCheck) {
        std::fputs("golden_vectors: expected FILE, or --check FILE\n", stderr);
        return 2;
    }
    const std::string text = GoldenVectors();
    return isCheck ? Check(arguments[2], text) : Write(arguments[1], text);
}
