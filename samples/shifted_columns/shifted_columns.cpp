// What repeats in a field, and how to avoid it. In a slice at one z, all columns of lattice points along y
// are the same 256 values, each shifted by its own number of cells. Left: 30 columns. Middle: each shifted to
// match the first one, and all are the same. Right: the same attempt with a slice turned in space, where no
// column matches another. The program also prints how strongly slices correlate with themselves, down and
// across.

#include "../support/picture.h"
#include "../support/png_file.h"
#include "../support/sample_program.h"

#include <zr_maths/maths_noise_fast.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <numeric>
#include <stdexcept>
#include <utility>
#include <vector>

namespace {

using namespace Samples;
using namespace Vestrel;
using CPosition = TVector<float, 3>;

constexpr uint32_t kColumns = 30;
constexpr uint32_t kColumnWidth = 7; // in pixels
constexpr uint32_t kCells = 40;
constexpr uint32_t kPixelsPerCell = 8;
constexpr uint32_t kGap = 8;
constexpr uint32_t kPanelWidth = kColumns * kColumnWidth;
constexpr uint32_t kHeight = kCells * kPixelsPerCell;
constexpr uint32_t kPeriod = 256;

/// Along the axes, at depth z.
CPosition Straight(float x, float y, float z) {
    return {x, y, z};
}

/// A rotation: the same shapes and sizes, but along no axis.
CPosition Turned(float x, float y, float z) {
    return {(2.0f * x - 2.0f * y + z) / 3.0f, (2.0f * x + y - 2.0f * z) / 3.0f,
            (x + 2.0f * y + 2.0f * z) / 3.0f};
}

/// Upright, at depth y, with z going down.
CPosition Upright(float x, float y, float z) {
    return {x, z, y};
}

using CPlace = CPosition (*)(float, float, float);

std::vector<float> Sample(const CFastNoise3& noise, const std::vector<CPosition>& positions) {
    const uint32_t count = static_cast<uint32_t>(positions.size());
    std::vector<float> samples(count);
    noise.SampleQuintic3D({samples.data(), count, sizeof(float)},
                          {positions.data(), count, sizeof(CPosition)});
    return samples;
}

/// Samples of a column at y = `first`, `first` + `step` and so on.
std::vector<float> SampleColumn(const CFastNoise3& noise, CPlace place, uint32_t column, uint32_t count,
                                float first, float step) {
    std::vector<CPosition> positions(count);
    for (uint32_t k = 0; k < count; ++k) {
        positions[k] = place(static_cast<float>(column), first + step * static_cast<float>(k), 0.5f);
    }
    return Sample(noise, positions);
}

/// The shift in cells that matches the column best with the first one, and their mean difference then.
std::pair<uint32_t, float> BestFit(const CFastNoise3& noise, CPlace place, uint32_t column) {
    const std::vector<float> first = SampleColumn(noise, place, 0, kCells, 0.0f, 1.0f);
    const std::vector<float> other = SampleColumn(noise, place, column, kPeriod + kCells, 0.0f, 1.0f);
    std::pair<uint32_t, float> best = {0, 4.0f};
    for (uint32_t shift = 0; shift < kPeriod; ++shift) {
        float sum = 0.0f;
        for (uint32_t k = 0; k < kCells; ++k) {
            sum += std::fabs(other[shift + k] - first[k]);
        }
        if (sum / kCells < best.second) {
            best = {shift, sum / kCells};
        }
    }
    return best;
}

/// Samples at the integer positions of a slice, one period wide and high, row by row, minus their mean.
std::vector<float> SampleSlice(const CFastNoise3& noise, CPlace place) {
    std::vector<CPosition> positions(kPeriod * kPeriod);
    for (uint32_t k = 0; k < kPeriod * kPeriod; ++k) {
        positions[k] = place(static_cast<float>(k % kPeriod), static_cast<float>(k / kPeriod), 0.5f);
    }
    std::vector<float> samples = Sample(noise, positions);
    const double mean = std::accumulate(samples.begin(), samples.end(), 0.0) / (kPeriod * kPeriod);
    for (float& sample : samples) {
        sample -= static_cast<float>(mean);
    }
    return samples;
}

/// The correlation of rows of `width` samples with those `right` samples later and `down` rows below.
double Correlation(const std::vector<float>& samples, uint32_t width, uint32_t right, uint32_t down) {
    const uint32_t height = static_cast<uint32_t>(samples.size()) / width;
    double product = 0.0, square = 0.0;
    for (uint32_t y = 0; y + down < height; ++y) {
        for (uint32_t x = 0; x + right < width; ++x) {
            const double sample = static_cast<double>(samples[y * width + x]);
            product += sample * static_cast<double>(samples[(y + down) * width + x + right]);
            square += sample * sample;
        }
    }
    return std::fabs(product / square);
}

/// Samples less than 4 cells apart may share lattice points, and correlate because of that.
void PrintCorrelations(const char* name, const CFastNoise3& noise, CPlace place) {
    const std::vector<float> slice = SampleSlice(noise, place);
    double down = 0.0, across = 0.0;
    for (uint32_t cells = 4; cells <= kPeriod / 2; ++cells) {
        down = std::max(down, Correlation(slice, kPeriod, 0, cells));
        across = std::max(across, Correlation(slice, kPeriod, cells, 0));
    }
    std::printf("%s: %.2f down, %.2f across\n", name, down, across);
}

void Paint(CPicture& picture, uint32_t left, const std::vector<float>& samples) {
    static constexpr CColour kColours[] = {{0.06f, 0.13f, 0.29f},
                                           {0.13f, 0.44f, 0.56f},
                                           {0.95f, 0.93f, 0.82f},
                                           {0.87f, 0.50f, 0.25f},
                                           {0.41f, 0.10f, 0.18f}};
    for (uint32_t y = 0; y < kHeight; ++y) {
        for (uint32_t x = 0; x < kColumnWidth; ++x) {
            picture.Set(left + x, y, RampAt(kColours, 0.5f + 0.6f * samples[y]));
        }
    }
}

std::vector<uint8_t> Draw() {
    CStdRandomGenerator generator(1);
    const CFastNoise3 noise(&generator);
    CPicture picture(3 * kPanelWidth + 2 * kGap, kHeight);
    std::fill(picture.m_Pixels.begin(), picture.m_Pixels.end(), uint8_t{255});
    constexpr float kStep = 1.0f / kPixelsPerCell;

    float straight = 0.0f, turned = 4.0f;
    for (uint32_t column = 0; column < kColumns; ++column) {
        const uint32_t left = column * kColumnWidth;
        Paint(picture, left, SampleColumn(noise, Straight, column, kHeight, 0.5f * kStep, kStep));
        for (const CPlace place : {Straight, Turned}) {
            const auto [shift, difference] = BestFit(noise, place, column);
            const float first = static_cast<float>(shift) + 0.5f * kStep;
            const uint32_t panel = place == Straight ? 1 : 2;
            Paint(picture, panel * (kPanelWidth + kGap) + left,
                  SampleColumn(noise, place, column, kHeight, first, kStep));
            if (place == Straight) {
                straight = std::max(straight, difference);
            } else if (column > 0) {
                turned = std::min(turned, difference);
            }
        }
    }
    std::printf("columns that fit best differ by %.3f at most, in the turned slice by %.3f at least\n",
                static_cast<double>(straight), static_cast<double>(turned));
    PrintCorrelations("x across, y down", noise, Straight);
    PrintCorrelations("x across, z down", noise, Upright);
    PrintCorrelations("turned", noise, Turned);
    if (straight != 0.0f || turned < 0.1f) {
        throw std::runtime_error("columns should be the same in a straight slice alone");
    }
    return PngOf(picture);
}

} // namespace

int main(int argumentCount, char** arguments) {
    return RunSample(argumentCount, arguments, "shifted_columns", "shifted_columns.png", Draw);
}
