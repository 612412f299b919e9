#pragma once

// What the fuzz targets share: the input as a stream of numbers, and how a failure is told.

#include "noise_test_support.h"

#include <cstddef>
#include <cstdint>

namespace Vestrel::Fuzz {

/// The bytes of an input as an endless stream. Behind the last one it goes on with random bytes that depend
/// on all before, so that few bytes make a call with many positions, and every input means something.
class CInput {
public:
    CInput(const uint8_t* data, size_t size) : m_Next(data), m_End(data + size) {}

    bool IsAtEnd() const {
        return m_Next == m_End;
    }

    uint8_t Byte() {
        const uint8_t byte = IsAtEnd() ? static_cast<uint8_t>(m_Random >> 56) : *m_Next++;
        m_Random = (m_Random ^ byte) * 6364136223846793005u + 1442695040888963407u;
        return byte;
    }

    uint32_t Word() {
        uint32_t word = 0;
        for (int k = 0; k < 4; ++k) {
            word = word << 8 | Byte();
        }
        return word;
    }

    /// A number below `limit`, which is at most 256.
    uint32_t Below(uint32_t limit) {
        return Byte() % limit;
    }

    /// True once in `count` times, and not for a byte of 0.
    bool OnceIn(uint32_t count) {
        return Below(count) == count - 1;
    }

    float Coordinate() {
        const uint32_t kind = Byte();
        return CoordinateOf(kind, Word());
    }

private:
    const uint8_t* m_Next;
    const uint8_t* m_End;
    uint64_t m_Random = 0;
};

/// Carries out what an input says, and compares. Each target defines it; an input always does the same.
void RunInput(CInput& input);

/// Whether the target is to tell what it does.
bool IsTelling();

/// Tells a step of the input, if it is to be told.
[[gnu::format(printf, 1, 2)]] void Tell(const char* format, ...);

/// Tells the whole input, step by step, and what is wrong, and ends the program.
[[noreturn, gnu::format(printf, 1, 2)]] void Fail(const char* format, ...);

/// Fails unless both have the same bits, all not-a-numbers being one. `what` and its number name them.
inline void ExpectSameBits(float actual, float expected, const char* what, size_t number) {
    if (CanonicalBits(actual) != CanonicalBits(expected)) {
        Fail("%s %zu is %a (bits %08X), and should be %a (bits %08X)", what, number,
             static_cast<double>(actual), CanonicalBits(actual), static_cast<double>(expected),
             CanonicalBits(expected));
    }
}

/// A field to sample, of a few.
const COpenNoise& ChooseField(CInput& input);

/// Memory with unspecified contents, that begins at a multiple of 16 and behind whose last byte a tool that
/// watches memory finds nothing.
class CBlock {
public:
    explicit CBlock(size_t size);
    ~CBlock();

    CBlock(const CBlock&) = delete;
    CBlock& operator=(const CBlock&) = delete;

    unsigned char* Data() const {
        return m_Data;
    }

private:
    unsigned char* m_Data;
};

} // namespace Vestrel::Fuzz
