#include "preview.h"

#include "data.h"
#include "field/sampling_record.h"
#include "files/exr_file.h"
#include "files/output_file.h"
#include "files/png_file.h"
#include "files/terminal_picture.h"
#include "files/webp_animation.h"
#include "painting/compare_painter.h"
#include "painting/field_painter.h"
#include "progress.h"
#include "text.h"

#include <zr_maths/maths_noise_fast.h>

#include <algorithm>
#include <new>
#include <unistd.h>
#include <vector>

namespace NoisePreview {

namespace {

using namespace Vestrel;

/// What a column of the picture takes while it is made. Rows are made some at a time, or one by one where
/// they are wide; only a frame of an animation is kept whole.
double BytesPerColumn(const COptions& options) {
    constexpr double kBytesOfPicture = 64.0;
    switch (options.m_Format) {
    case EFormat::kPng:
        return kBytesOfPicture;
    case EFormat::kWebp:
        return kBytesOfPicture +
               CWebpAnimation::kBytesPerPixel * static_cast<double>(SizeOfPicture(options).m_Height);
    case EFormat::kExr:
        return CExrFile::kBytesPerFloat * (options.m_Shade == EShade::kGradient ? 3.0 : 1.0);
    case EFormat::kNpy:
    case EFormat::kRaw:
    case EFormat::kTerminal:
        break;
    }
    return 0.0;
}

/// Refuses a picture that would not fit into this machine, rather than have the system end the program
/// half-way.
void CheckMemory(const COptions& options) {
    const double width = static_cast<double>(SizeOfPicture(options).m_Width);
    const double memory =
        static_cast<double>(sysconf(_SC_PHYS_PAGES)) * static_cast<double>(sysconf(_SC_PAGESIZE));
    if (width * BytesPerColumn(options) > memory) {
        throw std::bad_alloc();
    }
}

/// Paints a picture from the top to the bottom, and calls `use` with each of its rows.
template <typename TUse>
void ForEachRow(CPainter& painter, const CPictureSize& size, const TUse& use) {
    const uint64_t most = std::max<uint64_t>(1, CFieldSampler::kChunk / size.m_Width); // rows at a time
    std::vector<CPixel> pixels(std::min(most, size.m_Height) * size.m_Width);
    for (uint64_t first = 0; first < size.m_Height; first += most) {
        const std::span<CPixel> band(pixels.data(), std::min(most, size.m_Height - first) * size.m_Width);
        painter.Paint(first, band);
        for (uint64_t offset = 0; offset < band.size(); offset += size.m_Width) {
            use(band.subspan(offset, size.m_Width));
        }
    }
}

/// Whether no pixel of a picture has a colour.
bool IsGrey(const COptions& options) {
    return options.m_Colours == EColours::kGrey && !options.m_IsCurve && !options.m_IsTile;
}

void DrawPng(const COptions& options, const CFastNoise3& noise, COutputFile& file, CSamplingRecord& record) {
    const CPictureSize size = SizeOfPicture(options);
    const std::unique_ptr<CPainter> painter = MakePainter(noise, options, record);
    CProgress progress(EProgress::kPercent, "drawing", size.m_Width * size.m_Height, "pixels");
    CPngFile png(file, static_cast<uint32_t>(size.m_Width), static_cast<uint32_t>(size.m_Height),
                 options.m_Bits, IsGrey(options));
    uint64_t pixelCount = 0;
    ForEachRow(*painter, size, [&](std::span<const CPixel> row) {
        png.AddRow(row);
        pixelCount += row.size();
        progress.Show(pixelCount);
    });
    png.Finish();
}

/// No frame but the current one is kept as a picture.
void DrawAnimation(const COptions& options, CRotatableFastNoise3& noise, COutputFile& file,
                   CSamplingRecord& record) {
    const CPictureSize size = SizeOfPicture(options);
    CWebpAnimation animation(file, static_cast<uint32_t>(size.m_Width), static_cast<uint32_t>(size.m_Height));
    CProgress progress(EProgress::kBar, "drawing", options.FrameCount(), "frames");
    for (uint32_t frame = 0; frame < options.FrameCount(); ++frame) {
        const double seconds = static_cast<double>(frame) / options.m_FramesPerSecond;
        noise.RotateBasis(static_cast<float>(seconds / options.m_TurnSeconds));
        const std::unique_ptr<CPainter> painter = MakePainter(noise, options, record);
        ForEachRow(*painter, size, [&](std::span<const CPixel> row) { animation.AddRow(row); });
        animation.FinishFrame(static_cast<double>(frame + 1) / options.m_FramesPerSecond);
        progress.Show(uint64_t{frame} + 1);
    }
    animation.Finish();
}

void DrawOnTerminal(COptions options, const CFastNoise3& noise, CSamplingRecord& record) {
    ShrinkToTerminal(options);
    CTerminalPicture picture(TerminalColours());
    const std::unique_ptr<CPainter> painter = MakePainter(noise, options, record);
    ForEachRow(*painter, SizeOfPicture(options), [&](std::span<const CPixel> row) { picture.AddRow(row); });
    picture.Finish();
}

/// Writes what the options ask for into the file that they name.
void WriteFile(const COptions& options, const CFastNoise3& noise, CSamplingRecord& record) {
    COutputFile file(options.m_Output);
    if (!options.m_Positions.empty()) {
        WriteSamplesAtPositions(options, noise, file, record);
    } else if (options.IsData()) {
        WriteData(options, noise, file, record);
    } else {
        DrawPng(options, noise, file, record);
    }
}

/// What there is to say about a picture.
std::string ReportOf(const COptions& options, const CSamplingRecord& record) {
    const std::string name = options.m_Format == EFormat::kTerminal ? "seed " + std::to_string(options.m_Seed)
                             : options.m_Output == "-"              ? "standard output"
                                                                    : Printable(options.m_Output);
    const double count = static_cast<double>(std::max<uint64_t>(record.m_PositionCount, 1));
    const std::string line =
        Format(": %llu positions, %.2f ns per position\n",
               static_cast<unsigned long long>(record.m_PositionCount), record.m_Seconds * 1e9 / count);
    return name + line + (options.m_HasStatistics ? record.m_Statistics.Text() : "");
}

} // namespace

std::string DrawPreview(const COptions& options) {
    CheckMemory(options);
    CSamplingRecord record;
    record.m_HasStatistics = options.m_HasStatistics;
    CStdRandomGenerator generator(options.m_Seed);
    if (options.IsAnimation()) {
        COutputFile file(options.m_Output);
        CRotatableFastNoise3 noise(&generator);
        noise.SetSpinVariation(options.m_SpinVariation);
        DrawAnimation(options, noise, file, record);
    } else if (options.m_Format == EFormat::kTerminal) {
        DrawOnTerminal(options, CFastNoise3(&generator), record);
    } else {
        WriteFile(options, CFastNoise3(&generator), record);
    }
    return ReportOf(options, record);
}

} // namespace NoisePreview
