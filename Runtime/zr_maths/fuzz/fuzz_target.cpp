#include "fuzz_target.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace Vestrel::Fuzz {

namespace {

bool s_IsTelling = false;

const uint8_t* s_Data = nullptr;
size_t s_Size = 0;

/// Values that differ from each other as much as they can, in ways that show which ones were taken: those of
/// EvenValues, powers of two down to denormals, and the bounds and zeros of both signs.
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

bool IsTelling() {
    return s_IsTelling;
}

void Tell(const char* format, ...) {
    if (s_IsTelling) {
        va_list values;
        va_start(values, format);
        std::vfprintf(stderr, format, values);
        va_end(values);
    }
}

void Fail(const char* format, ...) {
    if (!s_IsTelling) {
        s_IsTelling = true;
        CInput input(s_Data, s_Size);
        RunInput(input); // fails at the same place again, having told the way there
        std::fputs("The second time, the same input did something else: ", stderr);
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
    Tell("field %u\n", number);
    return fields[number];
}

CBlock::CBlock(size_t size) {
    void* block = nullptr;
    // Unlike the aligned operator new, it does not round the size up.
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
        Vestrel::Fuzz::s_IsTelling |= std::strcmp((*arguments)[k], "--print") == 0;
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
