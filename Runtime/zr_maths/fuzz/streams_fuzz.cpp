// Calls the streams with floats of any bits. They must write exactly `count` results, each equal to that of
// the single function, within the promised error, and odd.

#include "fuzz_target.h"

#include <zr_support/simd_streams.h>

#include <algorithm>
#include <cmath>
#include <iterator>

namespace Vestrel::Fuzz {

namespace {

using SIMD_Neon::FullPrecision::ArcSin;
using SIMD_Neon::FullPrecision::ArcSinStream_Aligned16;
using SIMD_Neon::LowPrecision::Sin;
using SIMD_Neon::LowPrecision::SinStream_Aligned16;

constexpr uint32_t kMaxCount = 32;
constexpr float kCanary = -7.0f; // neither a sine nor an arcsine
constexpr uint32_t kMargin = 4;

/// Takes the C library's double as the true value; its error is negligible here.
void ExpectSine(float x, float sine) {
    if (!std::isfinite(x)) {
        if (!std::isnan(sine)) {
            Fail("the sine of %a is %a", static_cast<double>(x), static_cast<double>(sine));
        }
    } else if (!(std::fabs(static_cast<double>(sine) - std::sin(static_cast<double>(x))) <= 3.06e-7) ||
               std::fabs(sine) > 1.0f) {
        Fail("the sine of %a is %a", static_cast<double>(x), static_cast<double>(sine));
    }
}

void ExpectArcSine(float x, float arc) {
    if (!(std::fabs(x) <= 1.0f)) {
        if (!std::isnan(arc)) {
            Fail("the arcsine of %a is %a", static_cast<double>(x), static_cast<double>(arc));
        }
        return;
    }
    // The true arcsine is within these bounds of the double, so it may round to either float.
    const double near = std::asin(static_cast<double>(x));
    const bool isRounded = arc == static_cast<float>(near * (1.0 - 0x1p-50)) ||
                           arc == static_cast<float>(near * (1.0 + 0x1p-50));
    if (!isRounded || std::signbit(arc) != std::signbit(x)) {
        Fail("the arcsine of %a is %a", static_cast<double>(x), static_cast<double>(arc));
    }
}

float ChooseArgument(CInput& input) {
    // Few bit patterns are in [-1, 1] and not tiny, so half of the arguments are chosen there.
    return input.OnceIn(2) ? static_cast<float>(static_cast<int32_t>(input.Word())) * 0x1p-31f
                           : input.Coordinate();
}

} // namespace

void RunInput(CInput& input) {
    const bool isSine = input.OnceIn(2);
    const uint32_t count = 4 * input.Below(kMaxCount / 4 + 1);
    Print("%s of %u floats\n", isSine ? "sines" : "arcsines", count);
    const CBlock block(count * sizeof(float)); // ends at the last float that may be read
    float* const in = reinterpret_cast<float*>(block.Data());
    alignas(16) float outWithMargins[kMargin + kMaxCount + kMargin];
    std::fill(std::begin(outWithMargins), std::end(outWithMargins), kCanary);
    float* const out = outWithMargins + kMargin;
    float inputs[kMaxCount];
    for (uint32_t k = 0; k < count; ++k) {
        inputs[k] = in[k] = ChooseArgument(input);
        Print("float %u: %a (bits %08X)\n", k, static_cast<double>(in[k]), std::bit_cast<uint32_t>(in[k]));
    }
    (isSine ? SinStream_Aligned16 : ArcSinStream_Aligned16)(in, out, count);
    for (uint32_t k = 0; k < count; ++k) {
        ExpectSameBits(in[k], inputs[k], "float", k);
        const float negated = isSine ? Sin(-in[k]) : ArcSin(-in[k]);
        ExpectSameBits(out[k], isSine ? Sin(in[k]) : ArcSin(in[k]), "result", k);
        ExpectSameBits(negated, -out[k], "the negated result of float", k);
        isSine ? ExpectSine(in[k], out[k]) : ExpectArcSine(in[k], out[k]);
        out[k] = kCanary;
    }
    for (size_t k = 0; k < std::size(outWithMargins); ++k) {
        ExpectSameBits(outWithMargins[k], kCanary, "beside the results, in a margin of 4, float", k);
    }
}

} // namespace Vestrel::Fuzz
