#include "fuzz_target.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace Vestrel::Fuzz {

namespace {

bool s_IsPrinting = false;

const uint8_t* s_Data = nullptr;
size_t s_Size = 0;

/// Fields whose values differ strongly, so that a wrong value is detected: EvenValues, powers of two down to
/// denormals, and +-1 with zeros of both signs.
COpenNoise MakeField(size_t number) {
    CListGenerator generator(EvenValues());
    for (size_t k = 0; k < generator.m_Values.size(); ++k) {
        const float sign = k % 3 == 0 ? -1.0f : 1.0f;
        if (number == 1) {
            generator.m_Values[k] = std::ldexp(sign, -static_cast<int>(k * 7 % 149));
        } else if (number == 2) {
            generator.m_Values[k] = k % 2 == 0 ? sign : sign * 0.0f;
        }
    }
    return COpenNoise(&generator);
}

} // namespace

bool IsPrinting() {
    return s_IsPrinting;
}

void Print(const char* format, ...) {
    if (s_IsPrinting) {
        va_list values;
        va_start(values, format);
        std::vfprintf(stderr, format, values);
        va_end(values);
    }
}

void Fail(const char* format, ...) {
    if (!s_IsPrinting) {
        s_IsPrinting = true;
        CInput input(s_Data, s_Size);
        RunInput(input); // prints the steps and fails again at the same place
        std::fputs("Not deterministic, the second run of this input passed: ", stderr);
    }
    std::fputs("WRONG: ", stderr);
    va_list values;
    va_start(values, format);
    std::vfprintf(stderr, format, values);
    va_end(values);
    std::fputs("\nThe input:", stderr);
    for (size_t k = 0; k < s_Size; ++k) {
        std::fprintf(stderr, " %02x", s_Data[k]);
    }
    std::fputs("\n", stderr);
    std::abort();
}

const COpenNoise& ChooseField(CInput& input) {
    static const COpenNoise fields[] = {MakeField(0), MakeField(1), MakeField(2)};
    const uint32_t number = input.Below(3);
    Print("field %u\n", number);
    return fields[number];
}

CBlock::CBlock(size_t size) {
    void* block = nullptr;
    // The aligned operator new rounds sizes up.
    if (posix_memalign(&block, 16, size) != 0) {
        std::fputs("out of memory\n", stderr);
        std::abort();
    }
    m_Data = static_cast<unsigned char*>(block);
}

CBlock::~CBlock() {
    std::free(m_Data);
}

} // namespace Vestrel::Fuzz

// What libFuzzer calls.

extern "C" int LLVMFuzzerInitialize(int* count, char*** arguments) {
    for (int k = 1; k < *count; ++k) {
        Vestrel::Fuzz::s_IsPrinting |= std::strcmp((*arguments)[k], "--print") == 0;
    }
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Vestrel::Fuzz::s_Data = data;
    Vestrel::Fuzz::s_Size = size;
    Vestrel::Fuzz::CInput input(data, size);
    Vestrel::Fuzz::RunInput(input);
    return 0;
}
