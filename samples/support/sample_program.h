#pragma once

#include "whole_file.h"

#include <cstdint>
#include <cstdio>
#include <exception>
#include <stdexcept>
#include <string>
#include <vector>

namespace Samples {

/// What a program says that goes wrong: one line, and the exit code for it.
inline int Fail(const char* program, const char* reason, int exitCode = 1) {
    std::fflush(stdout); // what was said before comes first
    std::fprintf(stderr, "%s: %s\n", program, reason);
    return exitCode;
}

/// Whether the arguments are names of files, at most `mostFiles`, and the first of them, which is that of a
/// picture, ends as `ending` does.
inline bool AreFileNames(int argumentCount, char** arguments, int mostFiles,
                         const std::filesystem::path& ending) {
    for (int k = 1; k < argumentCount; ++k) {
        if (arguments[k][0] == '\0' || arguments[k][0] == '-') {
            return false;
        }
    }
    const bool isPicture =
        argumentCount < 2 || std::filesystem::path(arguments[1]).extension() == ending.extension();
    return argumentCount <= 1 + mostFiles && isPicture;
}

/// The main function of a program that takes the name of its picture's file. `draw` returns the file's
/// content, and throws what is wrong.
template <typename TDraw>
int RunSample(int argumentCount, char** arguments, const char* program, const char* defaultFile,
              const TDraw& draw) {
    if (!AreFileNames(argumentCount, arguments, 1, defaultFile)) {
        const std::string ending = std::filesystem::path(defaultFile).extension();
        return Fail(program,
                    ("the only argument is the name of the picture's file, which ends in " + ending).c_str(),
                    2);
    }
    const std::filesystem::path file = argumentCount > 1 ? arguments[1] : defaultFile;
    try {
        CheckWritable(file);
        const std::vector<uint8_t> content = draw();
        WriteWholeFile(file, content.data(), content.size());
        if (std::fflush(stdout) != 0) {
            throw std::runtime_error("standard output cannot be written");
        }
    } catch (const std::exception& error) {
        return Fail(program, error.what());
    }
    return 0;
}

} // namespace Samples
