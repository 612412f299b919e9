#include "options/command_line.h"
#include "preview.h"
#include "text.h"

#include <csignal>
#include <cstdio>
#include <exception>
#include <fcntl.h>
#include <new>
#include <stdexcept>
#include <string>
#include <unistd.h>

namespace {

using namespace NoisePreview;

/// Opens /dev/null for standard streams that are closed: the next file to be opened would take their number,
/// and what is printed. It is opened for reading, so that printing still fails.
void OpenStandardStreams() {
    int descriptor = 0;
    while (descriptor >= 0 && descriptor <= STDERR_FILENO) {
        descriptor = open("/dev/null", O_RDONLY);
    }
    if (descriptor > STDERR_FILENO) {
        close(descriptor);
    }
}

void PrintFailure(const std::string& message) {
    std::fprintf(stderr, "noise_preview: %s\n", Printable(message).c_str());
}

void Run(const CJob& job) {
    // A file that exceeds a limit, or a closed pipe, is to fail like any other write.
    std::signal(SIGXFSZ, SIG_IGN);
    std::signal(SIGPIPE, SIG_IGN);
    try {
        const std::string report = DrawPreview(job);
        const bool isStandardOutputTaken = job.m_Output == "-";
        if (std::fputs(report.c_str(), isStandardOutputTaken ? stderr : stdout) < 0 ||
            std::fflush(stdout) != 0) {
            throw std::runtime_error("the report cannot be written to standard output");
        }
    } catch (const std::bad_alloc&) {
        throw std::runtime_error(
            job.HasPositions()
                ? "there is not enough memory"
                : Format("a picture of %u x %u pixels does not fit into memory", job.m_Width, job.m_Height));
    }
}

} // namespace

int main(int argumentCount, char** arguments) {
    OpenStandardStreams();
    int exitCode = 0;
    try {
        if (const auto job = ParseCommandLine(argumentCount, arguments, exitCode)) {
            Run(*job);
        }
    } catch (const std::exception& error) {
        PrintFailure(error.what());
        return 1;
    }
    return exitCode;
}
