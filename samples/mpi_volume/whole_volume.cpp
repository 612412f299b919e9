// The volume of mpi_volume.cpp with a single process and without MPI, for comparison: the same bits. Draws a
// cut through it, and writes all of it if a second argument names a file.

#include "volume.h"

#include "../support/png_file.h"
#include "../support/sample_program.h"

#include <cstdint>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <stdexcept>
#include <vector>

namespace {

using namespace Samples;

void Run(const std::filesystem::path& pictureFile, const std::filesystem::path& volumeFile) {
    CheckWritable(pictureFile);
    if (!volumeFile.empty()) {
        CheckWritable(volumeFile);
    }
    const Vestrel::CFastNoise3 noise = VolumeNoise();
    std::vector<float> volume(size_t{kSide} * kSliceCount);
    CCutPicture cut;
    for (uint32_t z = 0; z < kSide; ++z) {
        SampleSlice(noise, z, volume.data() + size_t{z} * kSliceCount);
        cut.SetRow(z, volume.data() + RowOfCut(z));
    }
    if (!volumeFile.empty()) {
        WriteWholeFile(volumeFile, volume.data(), volume.size() * sizeof(float));
    }
    const std::vector<uint8_t> png = PngOf(cut.Picture());
    WriteWholeFile(pictureFile, png.data(), png.size());
    std::printf("%u x %u x %u samples by one process\n", kSide, kSide, kSide);
    if (std::fflush(stdout) != 0) {
        throw std::runtime_error("standard output cannot be written");
    }
}

} // namespace

int main(int argumentCount, char** arguments) {
    if (!AreFileNames(argumentCount, arguments, 2, "volume.png")) {
        return Fail("whole_volume",
                    "the arguments are the names of the picture's file, in .png, and of the volume's", 2);
    }
    try {
        Run(argumentCount > 1 ? arguments[1] : "whole_volume.png", argumentCount > 2 ? arguments[2] : "");
    } catch (const std::exception& error) {
        return Fail("whole_volume", error.what());
    }
    return 0;
}
