// Calls samplers of single positions, of four positions in a cell, and of split positions, with coordinates
// of any bits and any allowed arrangement in memory. Results must be those of the reference.

#include "fuzz_target.h"
#include "noise_reference.h"

#include <algorithm>
#include <cstring>

namespace Vestrel::Fuzz {

namespace {

using SIMD_Neon::Float4;

struct CPoint {
    TVector<float, 3> m_Position;
    Float4 m_Lanes; // with anything in lane 3
};

CPoint ChoosePoint(CInput& input, const char* what) {
    const float lanes[4] = {input.Coordinate(), input.Coordinate(), input.Coordinate(), input.Coordinate()};
    Print("%s: (%a, %a, %a), %a in lane 3\n", what, static_cast<double>(lanes[0]),
          static_cast<double>(lanes[1]), static_cast<double>(lanes[2]), static_cast<double>(lanes[3]));
    return {{lanes[0], lanes[1], lanes[2]}, Float4(lanes[0], lanes[1], lanes[2], lanes[3])};
}

TVector<float, 4> LanesOf(Float4 value) {
    TVector<float, 4> lanes;
    SIMD_Neon::StoreUnaligned(&lanes, value);
    return lanes;
}

void ExpectGradient(const TVector<float, 4>& actual, const TVector<float, 3>& expected, size_t number) {
    ExpectSameBits(actual.x, expected.x, "the derivative along x of gradient", number);
    ExpectSameBits(actual.y, expected.y, "the derivative along y of gradient", number);
    ExpectSameBits(actual.z, expected.z, "the derivative along z of gradient", number);
    ExpectSameBits(actual.w, 0.0f, "lane 3 of gradient", number);
}

void RunSample(CInput& input, const CPointSamplers& samplers, const COpenNoise& noise) {
    const CPoint point = ChoosePoint(input, "sample at");
    ExpectSameBits((noise.*samplers.m_Sample)(point.m_Lanes),
                   Reference::Sample(noise.Basis(), samplers.m_Quality, point.m_Position), "sample", 0);
}

/// A coordinate in the cell of `first`, or any.
float ChooseNear(CInput& input, float first) {
    return input.OnceIn(4) ? input.Coordinate()
                           : std::floor(first) + static_cast<float>(input.Byte()) * 0x1p-8f;
}

void RunCoherent(CInput& input, const CPointSamplers& samplers, const COpenNoise& noise) {
    const CPoint first = ChoosePoint(input, "four samples in the cell of");
    TVector<float, 3> positions[4] = {first.m_Position};
    Float4 lanes[4] = {first.m_Lanes};
    for (size_t k = 1; k < 4; ++k) {
        positions[k] = {ChooseNear(input, positions[0].x), ChooseNear(input, positions[0].y),
                        ChooseNear(input, positions[0].z)};
        lanes[k] = Float4(positions[k].x, positions[k].y, positions[k].z, input.Coordinate());
        Print("and at (%a, %a, %a)\n", static_cast<double>(positions[k].x),
              static_cast<double>(positions[k].y), static_cast<double>(positions[k].z));
    }
    const TVector<float, 4> samples = LanesOf((noise.*samplers.m_Coherent)(lanes));
    const float actual[4] = {samples.x, samples.y, samples.z, samples.w};
    for (size_t k = 0; k < 4; ++k) {
        ExpectSameBits(actual[k], Reference::SampleCoherent(noise.Basis(), samplers.m_Quality, positions, k),
                       "sample", k);
    }
}

void RunGradient(CInput& input, const CPointSamplers& samplers, const COpenNoise& noise) {
    const CPoint point = ChoosePoint(input, "gradient at");
    const auto& [x, y, z] = point.m_Position;
    ExpectGradient(
        LanesOf((noise.*samplers.m_Gradient)(point.m_Lanes)),
        Reference::Gradient(noise.Basis(), samplers.m_Quality, false, Reference::RecordOf(x, y, z)), 0);
}

float ChooseFraction(CInput& input) {
    return input.OnceIn(4) ? input.Coordinate() : static_cast<float>(input.Byte()) / 255.0f;
}

/// Fills a record except its fourth components, which are ignored.
void FillRecord(CInput& input, CRecord& record) {
    record.first.x = ChooseFraction(input);
    record.first.y = ChooseFraction(input);
    record.first.z = ChooseFraction(input);
    record.second.x = input.Byte();
    record.second.y = input.Byte();
    record.second.z = input.Byte();
    Print("fractions (%a, %a, %a) in cell (%d, %d, %d)\n", static_cast<double>(record.first.x),
          static_cast<double>(record.first.y), static_cast<double>(record.first.z), record.second.x,
          record.second.y, record.second.z);
}

constexpr uint32_t kMaxRecords = 10;

/// Gradients of split positions, with the output in place over the records or in another block.
void RunGradientBatch(CInput& input, const CPointSamplers& samplers, const COpenNoise& noise) {
    constexpr unsigned char kCanary = 0xC5;
    constexpr size_t kMargin = 48;
    const uint32_t count = input.Below(kMaxRecords + 1);
    const bool isOverlapping = input.OnceIn(2);
    const size_t outputAt = kMargin + 4 * input.Below(4);
    const size_t recordsAt = isOverlapping ? outputAt + 4 * input.Below(16) : 4 * input.Below(4);
    const size_t recordsEnd = recordsAt + count * sizeof(CRecord);
    const size_t outputEnd = outputAt + count * sizeof(TVector<float, 4>);
    const size_t outputBlockSize = std::max(outputEnd, isOverlapping ? recordsEnd : 0) + kMargin;
    Print("gradients of %u split positions, output at %zu, records at %zu of %s\n", count, outputAt,
          recordsAt, isOverlapping ? "the same block" : "another block");

    const CBlock outputBlock(outputBlockSize);
    const CBlock recordBlock(isOverlapping ? 0 : recordsEnd);
    std::memset(outputBlock.Data(), kCanary, outputBlockSize);
    unsigned char* const output = outputBlock.Data() + outputAt;
    CRecord* const records =
        reinterpret_cast<CRecord*>((isOverlapping ? outputBlock : recordBlock).Data() + recordsAt);
    TVector<float, 3> expected[kMaxRecords];
    for (uint32_t k = 0; k < count; ++k) {
        CRecord& record = records[k];
        FillRecord(input, record);
        expected[k] = Reference::Gradient(noise.Basis(), samplers.m_Quality, true, record);
    }
    unsigned char expectedBytes[kMargin + 64 + 64 + kMaxRecords * sizeof(CRecord) + kMargin];
    std::memcpy(expectedBytes, outputBlock.Data(), outputBlockSize);

    // The count of the output is never read.
    (noise.*samplers.m_GradientBatch)({records, count}, {reinterpret_cast<TVector<float, 4>*>(output), 0});

    for (uint32_t k = 0; k < count; ++k) {
        TVector<float, 4> gradient;
        std::memcpy(&gradient, output + k * sizeof(gradient), sizeof(gradient));
        ExpectGradient(gradient, expected[k], k);
        std::memcpy(expectedBytes + outputAt + k * sizeof(gradient), &gradient, sizeof(gradient));
    }
    const auto [wrong, right] =
        std::mismatch(expectedBytes, expectedBytes + outputBlockSize, outputBlock.Data());
    if (wrong != expectedBytes + outputBlockSize) {
        Fail("byte %td from the start of the output is %02x, expected unchanged %02x", right - output, *right,
             *wrong);
    }
}

} // namespace

void RunInput(CInput& input) {
    const auto run = {&RunSample, &RunCoherent, &RunGradient, &RunGradientBatch};
    const auto operation = run.begin()[input.Below(4)];
    const CPointSamplers& samplers = kPointSamplers[input.Below(3)];
    Print("%s\n", samplers.m_Name);
    operation(input, samplers, ChooseField(input));
}

} // namespace Vestrel::Fuzz
