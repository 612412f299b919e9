#pragma once

// Shared by the fuzz targets: the input as a stream of numbers, and reports of failures.

#include "noise_test_support.h"

#include <cstddef>
#include <cstdint>

namespace Vestrel::Fuzz {

/// The bytes of an input as an endless stream. After the last one it continues with pseudo-random bytes that
/// depend on all previous ones, so that few bytes make a call with many positions and every input is valid.
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

    /// True once in `count` times, never for a byte of 0.
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

/// Executes an input and checks the results. Each target defines it, deterministically.
void RunInput(CInput& input);

/// Whether to print the steps of the input.
bool IsPrinting();

/// Prints a step of the input if IsPrinting().
[[gnu::format(printf, 1, 2)]] void Print(const char* format, ...);

/// Prints all steps of the input and the failure, and aborts.
[[noreturn, gnu::format(printf, 1, 2)]] void Fail(const char* format, ...);

/// Fails unless both have the same bits, with one canonical NaN. `what` and `number` name the value.
inline void ExpectSameBits(float actual, float expected, const char* what, size_t number) {
    if (CanonicalBits(actual) != CanonicalBits(expected)) {
        Fail("%s %zu is %a (bits %08X), expected %a (bits %08X)", what, number, static_cast<double>(actual),
             CanonicalBits(actual), static_cast<double>(expected), CanonicalBits(expected));
    }
}

/// One of a few fields.
const COpenNoise& ChooseField(CInput& input);

/// Memory with unspecified contents that begins at a multiple of 16 and has exactly the requested size, so
/// that memory checkers detect accesses behind it.
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
