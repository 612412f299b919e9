// What streams and generator read and write, checked with guard pages.

#include "guarded_memory.h"
#include "stream_test_support.h"

#include <zr_support/simd_streams.h>
#include <zr_support/std_random_generator.h>

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <ostream>

namespace {

using namespace Vestrel;

constexpr uint32_t kLastCount = 260;

void ExpectStreamStaysInside(CStream stream) {
    CWatchedMemory in(kLastCount * sizeof(float));
    CWatchedMemory out(kLastCount * sizeof(float));
    in.MakeReadOnly();
    for (uint32_t count = 0; count <= kLastCount; count += 4) {
        for (const EEdge edge : kEdges) {
            const CFaultReporter reporter([&](std::ostream& text) { text << count << " floats " << edge; });
            const size_t size = count * sizeof(float);
            unsigned char* const results = out.Place(edge, size);
            stream(reinterpret_cast<const float*>(in.Place(edge, size)), reinterpret_cast<float*>(results),
                   count);
            ASSERT_TRUE(out.HasWritten(results, PackedOffsets(count))) << reporter.Text();
        }
    }
}

TEST(MemoryBounds, SinStreamAccessesOnlyItsFloats) {
    ExpectStreamStaysInside(SIMD_Neon::LowPrecision::SinStream_Aligned16);
}

TEST(MemoryBounds, ArcSinStreamAccessesOnlyItsFloats) {
    ExpectStreamStaysInside(SIMD_Neon::FullPrecision::ArcSinStream_Aligned16);
}

TEST(MemoryBounds, GeneratorWritesOnlyTheView) {
    CWatchedMemory view(kLastCount * sizeof(float));
    CStdRandomGenerator generator(1);
    for (uint32_t count = 0; count <= kLastCount; ++count) {
        for (const EEdge edge : kEdges) {
            for (const size_t offset : kFloatOffsets) {
                const CFaultReporter reporter([&](std::ostream& text) {
                    text << count << " floats at offset " << offset << ' ' << edge;
                });
                unsigned char* const values = view.Place(edge, count * sizeof(float), offset);
                generator.FillRandomFloats({reinterpret_cast<float*>(values), count}, -1.0f, 1.0f);
                ASSERT_TRUE(view.HasWritten(values, PackedOffsets(count))) << reporter.Text();
            }
        }
    }
    generator.FillRandomFloats({nullptr, 0}, -1.0f, 1.0f);
}

} // namespace
