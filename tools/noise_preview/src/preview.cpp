#include "preview.h"

#include "data.h"
#include "files/output_file.h"
#include "files/picture_file.h"
#include "painting/painter.h"
#include "progress.h"
#include "text.h"

#include <algorithm>
#include <memory>
#include <new>
#include <unistd.h>
#include <vector>

namespace NoisePreview {

namespace {

using namespace Vestrel;

/// Peak memory per column, since pictures and EXR files are written row by row, animations frame by frame.
double BytesPerColumn(const CJob& job) {
    constexpr double kBytesPerPixel = 64.0;     // of a row, with libpng's copies
    constexpr double kFrameBytesPerPixel = 4.5; // RGB, and the encoder's Y (1 byte), U and V (a quarter each)
    constexpr double kBytesPerFloat = 16.0;     // of a row, with OpenEXR's copies
    switch (job.m_Format) {
    case EFormat::kPng:
        return kBytesPerPixel;
    case EFormat::kWebp:
        return kBytesPerPixel + kFrameBytesPerPixel * static_cast<double>(job.Size().m_Height);
    case EFormat::kExr:
        return kBytesPerFloat * (job.IsGradient() ? 3.0 : 1.0);
    case EFormat::kNpy:
    case EFormat::kRaw:
    case EFormat::kTerminal:
        break;
    }
    return 0.0;
}

/// Refuses what does not fit into the machine's memory; the system might kill the program half-way.
void CheckMemory(const CJob& job) {
    const double width = static_cast<double>(job.Size().m_Width);
    const double memory =
        static_cast<double>(sysconf(_SC_PHYS_PAGES)) * static_cast<double>(sysconf(_SC_PAGESIZE));
    if (width * BytesPerColumn(job) > memory) {
        throw std::bad_alloc();
    }
}

/// Paints a picture into `file`; `show` gets the number of pixels after each row.
template <typename TShow>
void Paint(const CPicture& picture, const CFastNoise3& noise, CPictureFile& file, CSamplingRecord& record,
           const TShow& show) {
    const CPictureSize size = picture.Size();
    const CPainterPointer painter = MakePainter(noise, picture, record);
    std::vector<CPixel> pixels(size.m_Width);
    for (uint64_t row = 0; row < size.m_Height; ++row) {
        painter->PaintRow(row, pixels);
        file.AddRow(pixels);
        show((row + 1) * size.m_Width);
    }
}

void DrawPng(const CJob& job, const CFastNoise3& noise, COutputFile& file, CSamplingRecord& record) {
    const CPictureSize size = job.Size();
    const std::unique_ptr<CPictureFile> png = OpenPng(file, job);
    CProgress progress(EProgress::kPercent, "drawing", size.m_Width * size.m_Height, "pixels");
    Paint(job, noise, *png, record, [&](uint64_t pixelCount) { progress.Show(pixelCount); });
    png->Finish();
}

void DrawAnimation(const CJob& job, CStdRandomGenerator& generator, COutputFile& file,
                   CSamplingRecord& record) {
    CRotatableFastNoise3 noise(&generator);
    noise.SetSpinVariation(static_cast<float>(job.m_SpinVariation));
    const std::unique_ptr<CPictureFile> webp = OpenWebp(file, job.Size());
    CProgress progress(EProgress::kBar, "drawing", job.m_FrameCount, "frames");
    for (uint32_t frame = 0; frame < job.m_FrameCount; ++frame) {
        const double seconds = static_cast<double>(frame) / job.m_FramesPerSecond;
        noise.RotateBasis(static_cast<float>(seconds / job.m_TurnSeconds));
        Paint(job, noise, *webp, record, [](uint64_t) {});
        webp->FinishFrame(static_cast<double>(frame + 1) / job.m_FramesPerSecond);
        progress.Show(uint64_t{frame} + 1);
    }
    webp->Finish();
}

void DrawOnTerminal(const CJob& job, const CFastNoise3& noise, CSamplingRecord& record) {
    const std::unique_ptr<CPictureFile> terminal = OpenTerminal(job.m_TerminalColours);
    Paint(job, noise, *terminal, record, [](uint64_t) {});
    terminal->Finish();
}

std::string ReportOf(const CJob& job, const CSamplingRecord& record) {
    const std::string name = job.m_Format == EFormat::kTerminal ? "seed " + std::to_string(job.m_Seed)
                             : job.m_Output == "-"              ? "standard output"
                                                                : Printable(job.m_Output);
    const double count = static_cast<double>(std::max<uint64_t>(record.m_PositionCount, 1));
    const std::string line =
        Format(": %llu positions, %.2f ns per position\n",
               static_cast<unsigned long long>(record.m_PositionCount), record.m_Seconds * 1e9 / count);
    return name + line + (job.m_HasStatistics ? record.m_Statistics.Text() : "");
}

} // namespace

std::string DrawPreview(const CJob& job) {
    CheckMemory(job);
    CSamplingRecord record;
    record.m_HasStatistics = job.m_HasStatistics;
    CStdRandomGenerator generator(job.m_Seed);
    if (job.m_Format == EFormat::kTerminal) {
        DrawOnTerminal(job, CFastNoise3(&generator), record);
        return ReportOf(job, record);
    }
    COutputFile file(job.m_Output);
    if (job.IsAnimation()) {
        DrawAnimation(job, generator, file, record);
    } else if (job.HasPositions()) {
        WriteSamplesAtPositions(job, CFastNoise3(&generator), file, record);
    } else if (job.IsData()) {
        WriteData(job, CFastNoise3(&generator), file, record);
    } else {
        DrawPng(job, CFastNoise3(&generator), file, record);
    }
    return ReportOf(job, record);
}

} // namespace NoisePreview
