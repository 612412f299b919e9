#include "data.h"

#include "field/field_sampler.h"
#include "files/float_file.h"
#include "files/position_file.h"
#include "progress.h"

#include <span>
#include <stdexcept>
#include <vector>

namespace NoisePreview {

namespace {

using namespace Vestrel;

std::vector<uint64_t> ShapeOf(const CJob& job) {
    std::vector<uint64_t> shape;
    if (job.m_Dimension > 1) {
        shape.push_back(job.m_Height);
    }
    shape.push_back(job.m_Width);
    if (job.IsGradient()) {
        shape.push_back(3);
    }
    return shape;
}

} // namespace

void WriteData(const CJob& job, const CFastNoise3& noise, COutputFile& file, CSamplingRecord& record) {
    const uint64_t total = job.SampleCount();
    if (job.m_Format != EFormat::kExr) { // which is compressed
        file.CheckSpace(total * job.BytesPerPixel());
    }
    const std::unique_ptr<CFloatFile> floats =
        job.m_Format == EFormat::kExr ? OpenExr(file, job.m_Width, job.RowCount(), job.IsGradient())
                                      : OpenNumpyOrRaw(file, job.m_Format == EFormat::kNpy);
    const ESamples kind = !job.IsGradient()     ? ESamples::kValues
                          : job.m_HasStatistics ? ESamples::kBoth
                                                : ESamples::kGradients;
    CFieldSampler sampler(noise, job, kind, record);
    CProgress progress(EProgress::kPercent, "sampling", total, "positions");
    std::vector<float> components(size_t{3} * CFieldSampler::kChunk);
    for (uint64_t done = 0; done < total;) {
        const CSamples samples = sampler.Next(total - done);
        for (size_t k = 0; job.IsGradient() && k < samples.m_Count; ++k) {
            components[3 * k] = samples.m_Gradients[k].x;
            components[3 * k + 1] = samples.m_Gradients[k].y;
            components[3 * k + 2] = samples.m_Gradients[k].z;
        }
        floats->Add(job.IsGradient() ? std::span<const float>(components.data(), 3 * samples.m_Count)
                                     : std::span<const float>(samples.m_Values, samples.m_Count));
        done += samples.m_Count;
        progress.Show(done);
    }
    floats->Finish(ShapeOf(job));
}

void WriteSamplesAtPositions(const CJob& job, const CFastNoise3& noise, COutputFile& file,
                             CSamplingRecord& record) {
    const std::unique_ptr<CPositionFile> positions = CPositionFile::Open(job.m_Positions);
    const uint32_t dimension = positions->Dimension();
    if (job.m_Dimension != 0 && job.m_Dimension != dimension) {
        throw std::runtime_error("'" + job.m_Positions + "' has positions in " + std::to_string(dimension) +
                                 "D, not in --dimension " + std::to_string(job.m_Dimension));
    }
    file.CheckSpace(positions->Count() * sizeof(float));
    const std::unique_ptr<CFloatFile> floats = OpenNumpyOrRaw(file, job.m_Format == EFormat::kNpy);
    CProgress progress(EProgress::kPercent, "sampling", positions->ByteCount(), "bytes");
    std::vector<float> coordinates(size_t{CFieldSampler::kChunk} * dimension);
    std::vector<float> samples(CFieldSampler::kChunk);
    for (size_t count = positions->Read(coordinates); count > 0; count = positions->Read(coordinates)) {
        const TMemoryView<float> values(samples.data(), static_cast<uint32_t>(count));
        record.AddTime(values.m_Count, SampleAt(noise, dimension, job.m_Quality, coordinates.data(), values));
        record.AddStatistics(values);
        floats->Add({samples.data(), count});
        if (positions->ByteCount() > 0) {
            progress.Show(positions->ReadByteCount());
        }
    }
    const uint64_t shape[] = {record.m_PositionCount};
    floats->Finish(shape);
}

} // namespace NoisePreview
