// A main for fuzz targets without libFuzzer, for memory checkers. It runs the inputs of files and folders,
// and random inputs.
//
// PROGRAM [--print] [--random COUNT] FILE_OR_FOLDER...

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <random>
#include <vector>

#if __has_include(<valgrind/valgrind.h>)
#include <valgrind/valgrind.h>
#else
#define VALGRIND_COUNT_ERRORS 0u
#endif

extern "C" int LLVMFuzzerInitialize(int* count, char*** arguments);
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

/// Defined by sanitizers, null in other builds.
extern "C" [[gnu::weak]] void __sanitizer_set_death_callback(void (*callback)());

namespace {

/// Longer inputs find nothing new.
constexpr size_t kLongestRandom = 96;

char s_Name[4096] = "none";
const std::vector<uint8_t>* s_Input = nullptr;
unsigned long s_RunCount = 0;

void PrintInput() {
    std::fprintf(stderr, "The input was %s:", s_Name);
    for (const uint8_t byte : *s_Input) {
        std::fprintf(stderr, " %02x", byte);
    }
    std::fputs("\n", stderr);
}

void Run(const std::vector<uint8_t>& input) {
    s_Input = &input;
    // A separate array, so that tools detect reads behind it.
    const std::vector<uint8_t> exact(input);
    LLVMFuzzerTestOneInput(exact.data(), exact.size());
    ++s_RunCount;
    if (VALGRIND_COUNT_ERRORS != 0) {
        PrintInput();
        std::exit(1);
    }
}

[[noreturn]] void Stop(const char* what, const char* which) {
    std::fprintf(stderr, "%s '%s'\n", what, which);
    std::exit(1);
}

void RunFile(const char* name) {
    std::FILE* const file = std::fopen(name, "rb");
    if (file == nullptr) {
        Stop("cannot read", name);
    }
    uint8_t bytes[4096];
    const size_t size = std::fread(bytes, 1, sizeof(bytes), file);
    std::fclose(file);
    std::snprintf(s_Name, sizeof(s_Name), "%s", name);
    Run(std::vector<uint8_t>(bytes, bytes + size));
}

int IsVisible(const dirent* entry) {
    return entry->d_name[0] != '.' ? 1 : 0;
}

/// Runs the files of a folder in the order of their names, or a single file.
void RunPath(const char* path) {
    dirent** entries = nullptr;
    const int count = scandir(path, &entries, IsVisible, alphasort);
    if (count < 0) {
        return RunFile(path);
    }
    if (count == 0) {
        Stop("there is no input in", path);
    }
    for (int k = 0; k < count; ++k) {
        char name[4096];
        std::snprintf(name, sizeof(name), "%s/%s", path, entries[k]->d_name);
        std::free(entries[k]);
        RunFile(name);
    }
    std::free(entries);
}

void RunRandom(unsigned long count) {
    std::mt19937 random(1);
    std::vector<uint8_t> input;
    for (unsigned long k = 0; k < count; ++k) {
        input.resize(random() % (kLongestRandom + 1));
        for (uint8_t& byte : input) {
            byte = static_cast<uint8_t>(random());
        }
        std::snprintf(s_Name, sizeof(s_Name), "random input %lu", k);
        Run(input);
    }
}

} // namespace

int main(int count, char** arguments) {
    LLVMFuzzerInitialize(&count, &arguments);
    if (__sanitizer_set_death_callback != nullptr) {
        __sanitizer_set_death_callback(PrintInput);
    }
    for (int k = 1; k < count; ++k) {
        if (std::strcmp(arguments[k], "--random") == 0 && k + 1 < count) {
            RunRandom(std::strtoul(arguments[++k], nullptr, 10));
        } else if (std::strcmp(arguments[k], "--print") != 0) {
            RunPath(arguments[k]);
        }
    }
    std::printf("%lu inputs\n", s_RunCount);
    return s_RunCount > 0 ? 0 : 1;
}
