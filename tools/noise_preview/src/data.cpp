#include "data.h"

#include "field/field_sampler.h"
#include "files/exr_file.h"
#include "files/float_file.h"
#include "files/position_file.h"
#include "progress.h"

#include <span>
#include <stdexcept>
#include <vector>

namespace NoisePreview {

namespace {

using namespace Vestrel;

/// How many rows of samples there are; the curve of a 1D field has one.
uint32_t RowCount(const COptions& options) {
    return options.m_Dimension == 1 ? 1 : options.m_Height;
}

/// Samples the first of `values`, `count` gradients, in three floats each.
void SampleGradients(CFieldSampler& sampler, uint64_t first, uint32_t count, std::vector<float>& values) {
    std::vector<TVector<float, 4>> gradients(count);
    sampler.SampleGradients(first, {gradients.data(), count});
    if (sampler.Options().m_HasStatistics) {
        sampler.SampleValuesBeside(first, {values.data(), count});
    }
    for (size_t k = 0; k < count; ++k) {
        values[3 * k] = gradients[k].x;
        values[3 * k + 1] = gradients[k].y;
        values[3 * k + 2] = gradients[k].z;
    }
}

/// Calls `use` with all floats, in their order, some at a time.
template <typename TUse>
void ForEachPiece(const COptions& options, const CFastNoise3& noise, CSamplingRecord& record,
                  const TUse& use) {
    const uint64_t total = uint64_t{options.m_Width} * RowCount(options);
    CFieldSampler sampler(noise, options, record);
    CProgress progress(EProgress::kPercent, "sampling", total, "positions");
    std::vector<float> values(size_t{3} * CFieldSampler::kChunk);
    ForEachChunk(total, [&](uint64_t first, uint32_t count) {
        if (options.m_Shade == EShade::kGradient) {
            SampleGradients(sampler, first, count, values);
            use(std::span<const float>(values.data(), size_t{3} * count));
        } else {
            sampler.SampleValues(first, {values.data(), count});
            use(std::span<const float>(values.data(), count));
        }
        progress.Show(first + count);
    });
}

std::vector<uint64_t> ShapeOf(const COptions& options) {
    std::vector<uint64_t> shape;
    if (options.m_Dimension > 1) {
        shape.push_back(options.m_Height);
    }
    shape.push_back(options.m_Width);
    if (options.m_Shade == EShade::kGradient) {
        shape.push_back(3);
    }
    return shape;
}

/// Gives `options` the dimension of the positions, unless they ask for another.
void TakeDimension(COptions& options, const CPositionFile& positions) {
    if (options.m_Dimension != 0 && options.m_Dimension != positions.Dimension()) {
        throw std::runtime_error("'" + options.m_Positions + "' has positions in " +
                                 std::to_string(positions.Dimension()) + "D, not in --dimension " +
                                 std::to_string(options.m_Dimension));
    }
    options.m_Dimension = positions.Dimension();
}

} // namespace

void WriteData(const COptions& options, const CFastNoise3& noise, COutputFile& file,
               CSamplingRecord& record) {
    if (options.m_Format == EFormat::kExr) {
        CExrFile exr(file, options.m_Width, RowCount(options), options.m_Shade == EShade::kGradient);
        ForEachPiece(options, noise, record, [&](std::span<const float> values) { exr.Add(values); });
        exr.Finish();
        return;
    }
    CFloatFile floats(file, options.m_Format);
    ForEachPiece(options, noise, record, [&](std::span<const float> values) { floats.Add(values); });
    floats.Finish(ShapeOf(options));
}

void WriteSamplesAtPositions(const COptions& options, const CFastNoise3& noise, COutputFile& file,
                             CSamplingRecord& record) {
    const std::unique_ptr<CPositionFile> positions = CPositionFile::Open(options.m_Positions);
    COptions completed = options;
    TakeDimension(completed, *positions);
    CFieldSampler sampler(noise, completed, record);
    CFloatFile floats(file, options.m_Format);
    CProgress progress(EProgress::kPercent, "sampling", positions->ByteCount(), "bytes");
    std::vector<float> coordinates(size_t{CFieldSampler::kChunk} * positions->Dimension());
    std::vector<float> values(CFieldSampler::kChunk);
    for (size_t count = positions->Read(coordinates); count > 0; count = positions->Read(coordinates)) {
        sampler.SampleAt(coordinates.data(), {values.data(), static_cast<uint32_t>(count)});
        floats.Add({values.data(), count});
        progress.Show(positions->ReadByteCount());
    }
    const uint64_t shape[] = {record.m_PositionCount};
    floats.Finish(shape);
}

} // namespace NoisePreview
