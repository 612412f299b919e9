#include "preview.h"

#include "field_painter.h"
#include "output_file.h"
#include "png_file.h"
#include "progress.h"
#include "webp_animation.h"

#include <zr_maths/maths_noise_fast.h>

#include <cstdio>
#include <new>
#include <unistd.h>

namespace NoisePreview {

namespace {

using namespace Vestrel;

/// Refuses a picture that would not fit into this machine, rather than have the system end the program
/// half-way.
void CheckMemory(const COptions& options) {
    const double curve =
        options.m_Dimension == 1 ? sizeof(float) * static_cast<double>(options.m_Width) : 0.0;
    const double frame = options.IsAnimation() ? CWebpAnimation::kBytesPerPixel : 0.0;
    const double bytes = (1.0 + frame) * options.m_Width * options.m_Height + curve;
    const double memory =
        static_cast<double>(sysconf(_SC_PHYS_PAGES)) * static_cast<double>(sysconf(_SC_PAGESIZE));
    if (bytes > memory) {
        throw std::bad_alloc();
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
std::string DrawStill(const COptions& options, const CFastNoise3& noise, COutputFile& file) {
    CPicture picture(options.m_Width, options.m_Height);
    std::string report;
    {
        CProgress progress(EProgress::kPercent, "sampling", SampleCount(options));
        CFieldPainter painter(noise, options, progress);
        painter.Draw(picture);
        report = ReportOf(options, painter);
    }
    WritePng(file, picture);
    return report;
}

/// Likewise an animation. No frame but the current one is kept as a picture.
std::string DrawAnimation(const COptions& options, CRotatableFastNoise3& noise, COutputFile& file) {
    CPicture picture(options.m_Width, options.m_Height);
    CWebpAnimation animation(file, options.m_Width, options.m_Height);
    CProgress progress(EProgress::kBar, "drawing", SampleCount(options) * options.FrameCount());
    CFieldPainter painter(noise, options, progress);
    for (uint32_t frame = 0; frame < options.FrameCount(); ++frame) {
        const double seconds = static_cast<double>(frame) / options.m_FramesPerSecond;
        noise.RotateBasis(static_cast<float>(seconds / options.m_TurnSeconds));
        painter.Draw(picture);
        animation.Add(picture, static_cast<double>(frame + 1) / options.m_FramesPerSecond);
    }
    animation.Finish();
    return ReportOf(options, painter);
}

} // namespace

std::string DrawPreview(const COptions& options) {
    CheckMemory(options);
    COutputFile file(options.m_Output);
    CStdRandomGenerator generator(options.m_Seed);
    if (options.IsAnimation()) {
        CRotatableFastNoise3 noise(&generator);
        noise.SetSpinVariation(options.m_SpinVariation);
        return DrawAnimation(options, noise, file);
    }
    return DrawStill(options, CFastNoise3(&generator), file);
}

} // namespace NoisePreview
