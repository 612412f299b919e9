#pragma once

#include "whole_file.h"

#include <cstdint>
#include <cstdio>
#include <exception>
#include <stdexcept>
#include <string>
#include <vector>

namespace Samples {

/// Prints one line about an error, and returns the exit code.
inline int Fail(const char* program, const char* reason, int exitCode = 1) {
    std::fflush(stdout); // keep the order of messages
    std::fprintf(stderr, "%s: %s\n", program, reason);
    return exitCode;
}

/// Whether the arguments are at most `mostFiles` file names, and the first one, the picture's, ends in
/// `ending`.
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
/// content, and throws on errors.
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
