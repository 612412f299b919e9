#include "options/command_line.h"
#include "preview.h"

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

/// Where a standard stream is closed, the next file to be opened would take its number, and its text.
void OpenStandardStreams() {
    int descriptor = 0;
    while (descriptor >= 0 && descriptor <= STDERR_FILENO) {
        descriptor = open("/dev/null", O_RDWR);
    }
    if (descriptor > STDERR_FILENO) {
        close(descriptor);
    }
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
    // A file that grows beyond a limit, or output that nobody reads, is to fail like any other.
    std::signal(SIGXFSZ, SIG_IGN);
    std::signal(SIGPIPE, SIG_IGN);
    OpenStandardStreams();
    int exitCode = 0;
    const std::optional<COptions> options = ParseCommandLine(argumentCount, arguments, exitCode);
    if (!options) {
        return exitCode;
    }
    try {
        Run(*options);
    } catch (const std::bad_alloc&) {
        std::fprintf(stderr, "noise_preview: a picture of %u x %u pixels does not fit into memory\n",
                     options->m_Width, options->m_Height);
        return 1;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "noise_preview: %s\n", error.what());
        return 1;
    }
    return 0;
}
