#include "command_line.h"
#include "field_painter.h"
#include "output_file.h"
#include "png_file.h"
#include "progress.h"

#include <zr_maths/maths_noise_fast.h>

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

/// Refuses a picture that would not fit into this machine, rather than have the system end the program
/// half-way.
void CheckMemory(const COptions& options) {
    const double curve =
        options.m_Dimension == 1 ? sizeof(float) * static_cast<double>(options.m_Width) : 0.0;
    const double bytes = static_cast<double>(options.m_Width) * options.m_Height + curve;
    const double memory =
        static_cast<double>(sysconf(_SC_PHYS_PAGES)) * static_cast<double>(sysconf(_SC_PAGESIZE));
    if (bytes > memory) {
        throw std::bad_alloc();
    }
}

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

/// What there is to say about a picture.
std::string ReportOf(const COptions& options, const CFieldPainter& painter) {
    const CSamplingCost& cost = painter.Cost();
    char line[64];
    std::snprintf(line, sizeof(line), ": %llu positions, %.2f ns per position\n",
                  static_cast<unsigned long long>(cost.m_PositionCount),
                  cost.m_Seconds * 1e9 / static_cast<double>(cost.m_PositionCount));
    return options.m_Output + line + (options.m_HasStatistics ? painter.Statistics().Text() : "");
}

/// Draws a picture, puts it into the file, and returns what there is to say about it.
std::string DrawStill(const COptions& options, const Vestrel::CFastNoise3& noise, COutputFile& file) {
    CPicture picture(options.m_Width, options.m_Height);
    std::string report;
    {
        CProgress progress("sampling", SampleCount(options));
        CFieldPainter painter(noise, options, progress);
        painter.Draw(picture);
        report = ReportOf(options, painter);
    }
    WritePng(file, picture);
    return report;
}

void Run(const COptions& options) {
    CheckMemory(options);
    COutputFile file(options.m_Output);
    Vestrel::CStdRandomGenerator generator(options.m_Seed);
    const Vestrel::CFastNoise3 noise(&generator);
    const std::string report = DrawStill(options, noise, file);
    if (std::fputs(report.c_str(), stdout) < 0 || std::fflush(stdout) != 0) {
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
