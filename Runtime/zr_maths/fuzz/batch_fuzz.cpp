// Calls a batch sampler with views of any counts, strides, alignments and overlaps that are allowed, and
// coordinates of any bits. Every sample must be that of the reference, every other byte unchanged.

#include "batch_calls.h"
#include "fuzz_target.h"
#include "noise_reference.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <iterator>

/// Defined by MemorySanitizer, null in other builds.
extern "C" [[gnu::weak]] void __msan_unpoison(const volatile void* data, size_t size);

namespace Vestrel::Fuzz {

namespace {

constexpr unsigned char kCanary = 0xC5;
constexpr size_t kMargin = 48;

uint32_t ChooseStride(CInput& input, uint32_t packed) {
    return input.OnceIn(2) ? input.Below(41) : packed;
}

bool TakesTheFastPathOf4D(const CBatchCall& call, const CBatchSampler& sampler) {
    return sampler.m_Dimension == 4 && call.m_PositionOffset == 0 && call.m_PositionStride == 16;
}

bool TakesAFastPath(const CBatchCall& call, const CBatchSampler& sampler) {
    return TakesTheFastPathOf4D(call, sampler) ||
           (sampler.m_Dimension < 4 && (call.m_OutputOffset | call.m_PositionOffset) == 0 &&
            call.m_PositionStride == sampler.PositionSize());
}

CBatchCall ChooseCall(CInput& input, const CBatchSampler& sampler) {
    CBatchCall call = {};
    call.m_Count = input.Below(20);
    call.m_OutputOffset = input.OnceIn(2) ? input.Below(16) : 0;
    call.m_PositionOffset = input.OnceIn(2) ? input.Below(16) : 0;
    call.m_OutputStride = ChooseStride(input, 4);
    call.m_PositionStride = ChooseStride(input, sampler.PositionSize());
    if (input.OnceIn(64)) {
        // Long enough for direct look-ups in 1D and 2D.
        call.m_Count = 250 + input.Below(20);
        call.m_OutputStride = 4;
    }
    if (call.m_OutputStride == 0 && !TakesTheFastPathOf4D(call, sampler)) {
        call.m_OutputStride = 4; // with 0 it would not return
    }
    if (input.OnceIn(8)) {
        // One at a time, a single sample fits any stride.
        CBatchCall single = call;
        single.m_Count = 1;
        single.m_OutputStride = std::max(1u, input.Word());
        single.m_PositionStride = input.Word();
        call = TakesAFastPath(single, sampler) ? call : single;
    }
    if (input.OnceIn(8) && call.m_OutputStride != 0) {
        // Adds a multiple of 4 GiB to the output, which wraps.
        const int shift = std::countr_zero(call.m_OutputStride);
        call.m_Count += shift == 0 ? 0 : input.Word() << (32 - shift);
    }
    return call;
}

/// The places of a call's views, in one block or in two.
struct CLayout {
    bool m_IsOverlapping;
    size_t m_OutputAt;
    size_t m_OutputBlockSize;
    size_t m_PositionAt;
    size_t m_PositionBlockSize;
};

CLayout ChooseLayout(CInput& input, const CBatchCall& call, const CBatchSampler& sampler,
                     const std::vector<CPlace>& places) {
    size_t outputBytes = 0;
    size_t positionBytes = 0;
    size_t distance = 0; // from the output to the positions, so that no sample is above its position
    for (const CPlace& place : places) {
        const size_t output = static_cast<size_t>(place.m_Output);
        const size_t position = static_cast<size_t>(place.m_Position);
        outputBytes = std::max(outputBytes, output + 4);
        positionBytes = std::max(positionBytes, position + sampler.PositionSize());
        distance = std::max(distance, output - std::min(output, position));
    }
    CLayout layout = {};
    layout.m_OutputAt = kMargin + call.m_OutputOffset;
    layout.m_OutputBlockSize = layout.m_OutputAt + outputBytes + kMargin;
    layout.m_IsOverlapping = input.OnceIn(3) && call.m_OutputStride >= 4 && call.m_PositionStride >= 4;
    if (layout.m_IsOverlapping) {
        const size_t least = layout.m_OutputAt + distance;
        layout.m_PositionAt = least + (call.m_PositionOffset - least) % 16 + 16 * input.Below(4);
        layout.m_OutputBlockSize =
            std::max(layout.m_OutputBlockSize, layout.m_PositionAt + positionBytes + kMargin);
    } else {
        // The block ends at the last byte that may be read.
        layout.m_PositionAt = call.m_PositionOffset;
        layout.m_PositionBlockSize = layout.m_PositionAt + positionBytes;
    }
    return layout;
}

/// Writes the coordinates of all positions, and nothing between or behind them.
void FillPositions(CInput& input, unsigned char* positions, const std::vector<CPlace>& places,
                   int dimension) {
    for (const CPlace& place : places) {
        for (int axis = 0; axis < dimension; ++axis) {
            const float coordinate = input.Coordinate();
            std::memcpy(positions + place.m_Position + 4 * axis, &coordinate, 4);
        }
    }
}

void PrintPosition(const unsigned char* position, int dimension, size_t number) {
    Print("position %zu:", number);
    for (int axis = 0; axis < dimension; ++axis) {
        uint32_t bits;
        std::memcpy(&bits, position + 4 * axis, 4);
        Print(" %a (bits %08X)", static_cast<double>(std::bit_cast<float>(bits)), bits);
    }
    Print("\n");
}

/// What the output has to be: written to `expectedBytes`, a copy of the output before the call, sample by
/// sample. Where a sample is not a number, it is the one that is there.
void WriteSamples(unsigned char* expectedBytes, const unsigned char* output,
                  const std::vector<CPlace>& places, const std::vector<float>& expected,
                  uint32_t outputStride) {
    for (size_t k = 0; k < places.size(); ++k) {
        float sample;
        std::memcpy(&sample, output + places[k].m_Output, 4);
        const bool isCovered = outputStride < 4 && k + 1 < places.size(); // by the next sample
        if (!isCovered) {
            ExpectSameBits(sample, expected[k], "sample", k);
        }
        const float stays = std::isnan(expected[k]) ? sample : expected[k];
        std::memcpy(expectedBytes + places[k].m_Output, &stays, 4);
    }
}

} // namespace

void RunInput(CInput& input) {
    const CBatchSampler& sampler = kBatchSamplers[input.Below(std::size(kBatchSamplers))];
    const COpenNoise& noise = ChooseField(input);
    const CBatchCall call = ChooseCall(input, sampler);
    static std::vector<CPlace> places;
    places.clear();
    AppendPlacesOf(call, sampler, places);
    const CLayout layout = ChooseLayout(input, call, sampler, places);
    Print(
        "%s: count %u, strides %u and %u, offsets %zu and %zu from multiples of 16 (output and positions)\n",
        sampler.m_Name, call.m_Count, call.m_OutputStride, call.m_PositionStride, call.m_OutputOffset,
        call.m_PositionOffset);
    Print(layout.m_IsOverlapping ? "%zu samples, positions %zu bytes behind the output\n"
                                 : "%zu samples, output and positions apart\n",
          places.size(), layout.m_PositionAt - layout.m_OutputAt);

    const CBlock outputBlock(layout.m_OutputBlockSize);
    const CBlock positionBlock(layout.m_PositionBlockSize);
    std::memset(outputBlock.Data(), kCanary, layout.m_OutputBlockSize);
    unsigned char* const output = outputBlock.Data() + layout.m_OutputAt;
    unsigned char* const positions =
        (layout.m_IsOverlapping ? outputBlock : positionBlock).Data() + layout.m_PositionAt;
    if (__msan_unpoison != nullptr && sampler.m_Dimension == 3) {
        // It treats the four lanes of a conversion as one value. The lane behind a 3D position is ignored,
        // but may be uninitialised.
        __msan_unpoison(positionBlock.Data(), layout.m_PositionBlockSize);
    }
    FillPositions(input, positions, places, sampler.m_Dimension);

    static std::vector<float> expected;
    expected.clear();
    for (const CPlace& place : places) {
        if (IsPrinting()) {
            PrintPosition(positions + place.m_Position, sampler.m_Dimension, expected.size());
        }
        expected.push_back(Reference::Sample(noise.Basis(), sampler, positions + place.m_Position));
    }
    static std::vector<unsigned char> expectedBytes;
    expectedBytes.assign(outputBlock.Data(), outputBlock.Data() + layout.m_OutputBlockSize);

    // The count of the position view is never read.
    sampler.m_Sample(noise, {reinterpret_cast<float*>(output), call.m_Count, call.m_OutputStride}, positions,
                     0, call.m_PositionStride);

    WriteSamples(expectedBytes.data() + layout.m_OutputAt, output, places, expected, call.m_OutputStride);
    const auto [wrong, right] = std::mismatch(expectedBytes.begin(), expectedBytes.end(), outputBlock.Data());
    if (wrong != expectedBytes.end()) {
        Fail("byte %td from the start of the output is %02x, expected unchanged %02x", right - output, *right,
             *wrong);
    }
    for (size_t k = 0; k < places.size() && !layout.m_IsOverlapping; ++k) {
        // Finds positions that were written, which give other samples.
        ExpectSameBits(Reference::Sample(noise.Basis(), sampler, positions + places[k].m_Position),
                       expected[k], "after the call, the sample of position", k);
    }
}

} // namespace Vestrel::Fuzz
