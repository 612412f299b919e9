#include "job/format.h"
#include "job/job.h"

#include <gtest/gtest.h>

namespace {

using namespace NoisePreview;

struct CCase {
    EFormat m_Format;
    uint64_t m_PixelSize; // in bytes
    uint64_t m_Width;     // the largest, for one row of pixels
    uint64_t m_Height;    // the largest, for one pixel a row
};

constexpr uint64_t kMaxPngSide = 0x7FFFFFFF;
constexpr uint64_t kMaxFileSize = 0x7FFFFFFFFFFFFFFF;

TEST(NoisePreviewFormat, SizesJustWithinALimitAreHeldAndThoseJustBeyondAreNot) {
    const CCase cases[] = {
        // 8 and 16 bits, grey and coloured.
        {EFormat::kPng, 1, kMaxPngSide, kMaxPngSide},
        {EFormat::kPng, 2, kMaxPngSide, kMaxPngSide},
        {EFormat::kPng, 3, kMaxPngSide, kMaxPngSide},
        {EFormat::kPng, 6, kMaxPngSide, kMaxPngSide},
        {EFormat::kWebp, 3, 16383, 16383},
        // A row of fewer than 2^31 bytes, of values and of gradients.
        {EFormat::kExr, 4, 0x80000000 / 4 - 1, 0x40000000 - 2},
        {EFormat::kExr, 12, 178956970, 0x40000000 - 2},
        // Files of fewer than 2^63 bytes, with a header of 128.
        {EFormat::kNpy, 4, (kMaxFileSize - 128) / 4, (kMaxFileSize - 128) / 4},
        {EFormat::kNpy, 12, (kMaxFileSize - 128) / 12, (kMaxFileSize - 128) / 12},
        {EFormat::kRaw, 4, (kMaxFileSize - 128) / 4, (kMaxFileSize - 128) / 4},
        {EFormat::kRaw, 12, (kMaxFileSize - 128) / 12, (kMaxFileSize - 128) / 12},
    };
    for (const CCase& limit : cases) {
        const auto isHeld = [&](uint64_t width, uint64_t height) {
            return ExceededLimit(limit.m_Format, width, height, limit.m_PixelSize).empty();
        };
        const std::string what = std::string(FormatOf(limit.m_Format).m_Name) + ", " +
                                 std::to_string(limit.m_PixelSize) + " bytes";
        EXPECT_TRUE(isHeld(limit.m_Width, 1)) << what;
        EXPECT_FALSE(isHeld(limit.m_Width + 1, 1)) << what;
        EXPECT_TRUE(isHeld(1, limit.m_Height)) << what;
        EXPECT_FALSE(isHeld(1, limit.m_Height + 1)) << what;
    }
    // Neither side is large; the product is.
    EXPECT_TRUE(ExceededLimit(EFormat::kNpy, 3037000499, 759250125, 4).empty());
    EXPECT_FALSE(ExceededLimit(EFormat::kNpy, 3037000499, 759250126, 4).empty());
}

TEST(NoisePreviewFormat, PixelsHaveAsManyBytesAsTheFileHoldsForThem) {
    CJob job;
    EXPECT_EQ(job.BytesPerPixel(), 1u);
    job.m_Bits = 16;
    EXPECT_EQ(job.BytesPerPixel(), 2u);
    job.m_Colours = EColours::kMagma;
    EXPECT_EQ(job.BytesPerPixel(), 6u);
    job.m_Bits = 8;
    EXPECT_EQ(job.BytesPerPixel(), 3u);
    for (const EFormat format : {EFormat::kExr, EFormat::kNpy, EFormat::kRaw}) {
        job.m_Format = format;
        job.m_Shade = EShade::kValue;
        EXPECT_EQ(job.BytesPerPixel(), 4u);
        job.m_Shade = EShade::kGradient;
        EXPECT_EQ(job.BytesPerPixel(), 12u);
    }
}

} // namespace
