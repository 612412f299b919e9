#include "options/command_line.h"
#include "preview.h"
#include "text.h"

#include <csignal>
#include <cstdio>
#include <exception>
#include <fcntl.h>
#include <new>
#include <optional>
#include <stdexcept>
#include <string>
#include <unistd.h>

namespace {

using namespace NoisePreview;

/// Where a standard stream is closed, the next file to be opened would take its number, and its text. What
/// is written to it fails as before.
void OpenStandardStreams() {
    int descriptor = 0;
    while (descriptor >= 0 && descriptor <= STDERR_FILENO) {
        descriptor = open("/dev/null", O_RDONLY);
    }
    if (descriptor > STDERR_FILENO) {
        close(descriptor);
    }
}

/// In one line, whatever is in it of files and their names.
void PrintFailure(const std::string& message) {
    std::fprintf(stderr, "noise_preview: %s\n", Printable(message).c_str());
}

void Run(const COptions& options) {
    const std::string report = DrawPreview(options);
    const bool isForFile = options.m_Output == "-";
    if (std::fputs(report.c_str(), isForFile ? stderr : stdout) < 0 || std::fflush(stdout) != 0) {
        throw std::runtime_error("the report cannot be written to standard output");
    }
}

} // namespace

int main(int argumentCount, char** arguments) {
    OpenStandardStreams();
    int exitCode = 0;
    const std::optional<COptions> options = ParseCommandLine(argumentCount, arguments, exitCode);
    if (!options) {
        return exitCode;
    }
    // A file that grows beyond a limit, or output that nobody reads, is to fail like any other.
    std::signal(SIGXFSZ, SIG_IGN);
    std::signal(SIGPIPE, SIG_IGN);
    try {
        Run(*options);
        return 0;
    } catch (const std::bad_alloc&) {
        PrintFailure(options->m_Positions.empty()
                         ? Format("a picture of %u x %u pixels does not fit into memory", options->m_Width,
                                  options->m_Height)
                         : "there is not enough memory");
    } catch (const std::exception& error) {
        PrintFailure(error.what());
    }
    return 1;
}
