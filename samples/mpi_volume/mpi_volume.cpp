// A volume by several processes, on one machine or many: each computes a slab of slices, and all write into
// one file, by MPI-IO. The file has the same bits for any number of processes, since a field depends only on
// its seed. Draws a cut through all slabs, read back from that file.
//
//     mpirun -n 4 mpi_volume [PICTURE [VOLUME]]

#include "volume.h"

#include "../support/png_file.h"
#include "../support/sample_program.h"

#include <mpi.h>

#include <cstdint>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using namespace Samples;

constexpr const char* kProgram = "mpi_volume";

struct CProcess {
    int m_Rank = 0;
    int m_Count = 1;

    bool IsFirst() const {
        return m_Rank == 0;
    }

    /// The first slice of this process, or with 1 of the next one.
    uint32_t FirstSlice(int next = 0) const {
        return static_cast<uint32_t>(m_Rank + next) * kSide / static_cast<uint32_t>(m_Count);
    }
};

/// Deletes the partial file.
[[noreturn]] void Discard(const std::string& partial, const char* reason) {
    std::remove(partial.c_str());
    FailToWrite(partial, reason);
}

void Check(int error, const std::string& partial) {
    if (error != MPI_SUCCESS) {
        char reason[MPI_MAX_ERROR_STRING] = "";
        int length = 0;
        MPI_Error_string(error, reason, &length);
        Discard(partial, reason);
    }
}

std::vector<float> SampleSlab(const CProcess& process) {
    const Vestrel::CFastNoise3 noise = VolumeNoise();
    const uint32_t first = process.FirstSlice(), end = process.FirstSlice(1);
    std::vector<float> slab(size_t{end - first} * kSliceCount);
    for (uint32_t z = first; z < end; ++z) {
        SampleSlice(noise, z, slab.data() + size_t{z - first} * kSliceCount);
    }
    return slab;
}

/// Writes the slab to its place in the file. All processes must call it.
void WriteSlab(const CProcess& process, const std::vector<float>& slab, const std::string& partial) {
    const MPI_Offset sliceSize = MPI_Offset{kSliceCount} * MPI_Offset{sizeof(float)};
    const int count = static_cast<int>(slab.size());
    MPI_File file;
    Check(MPI_File_open(MPI_COMM_WORLD, partial.c_str(), MPI_MODE_CREATE | MPI_MODE_WRONLY, MPI_INFO_NULL,
                        &file),
          partial);
    Check(MPI_File_set_size(file, kSide * sliceSize), partial);
    MPI_Status status;
    Check(
        MPI_File_write_at_all(file, process.FirstSlice() * sliceSize, slab.data(), count, MPI_FLOAT, &status),
        partial);
    // Open MPI does not report a full disk.
    int writtenCount = 0;
    MPI_Get_count(&status, MPI_FLOAT, &writtenCount);
    if (writtenCount != count) {
        Discard(partial, "there is room for a part of it only");
    }
    Check(MPI_File_close(&file), partial);
}

CPicture ReadCut(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::vector<float> row(kSide);
    CCutPicture cut;
    for (uint32_t z = 0; z < kSide; ++z) {
        file.seekg(static_cast<std::streamoff>(RowOfCut(z) * sizeof(float)));
        if (!file.read(reinterpret_cast<char*>(row.data()), kSide * sizeof(float))) {
            throw std::runtime_error("'" + path + "' cannot be read");
        }
        cut.SetRow(z, row.data());
    }
    return cut.Picture();
}

/// Whether all files can be written, as checked by the first process.
bool AreWritable(const CProcess& process, const std::string& picture, const std::string& volume) {
    int areWritable = 1;
    if (process.IsFirst()) {
        try {
            CheckWritable(picture);
            CheckWritable(volume);
        } catch (const std::exception& error) {
            areWritable = 0;
            Fail(kProgram, error.what());
        }
    }
    MPI_Bcast(&areWritable, 1, MPI_INT, 0, MPI_COMM_WORLD);
    return areWritable != 0;
}

int Run(const CProcess& process, int argumentCount, char** arguments) {
    if (!AreFileNames(argumentCount, arguments, 2, "volume.png")) {
        return process.IsFirst()
                   ? Fail(kProgram,
                          "the arguments are the names of the picture's file, in .png, and of the volume's",
                          2)
                   : 2;
    }
    const std::string picture = argumentCount > 1 ? arguments[1] : "mpi_volume.png";
    const std::string volume = argumentCount > 2 ? arguments[2] : "mpi_volume.raw";
    if (!AreWritable(process, picture, volume)) {
        return 1;
    }
    const std::string partial = PartialPathOf(volume);
    WriteSlab(process, SampleSlab(process), partial);
    // The file is complete once the last process has closed it.
    MPI_Barrier(MPI_COMM_WORLD);
    if (process.IsFirst()) {
        std::filesystem::rename(partial, volume);
        const std::vector<uint8_t> png = PngOf(ReadCut(volume));
        WriteWholeFile(picture, png.data(), png.size());
        std::printf("%u x %u x %u samples by %d process%s\n", kSide, kSide, kSide, process.m_Count,
                    process.m_Count == 1 ? "" : "es");
        if (std::fflush(stdout) != 0) {
            throw std::runtime_error("standard output cannot be written");
        }
    }
    return 0;
}

} // namespace

int main(int argumentCount, char** arguments) {
    MPI_Init(&argumentCount, &arguments);
    CProcess process;
    MPI_Comm_rank(MPI_COMM_WORLD, &process.m_Rank);
    MPI_Comm_size(MPI_COMM_WORLD, &process.m_Count);
    int exitCode = 1;
    try {
        exitCode = Run(process, argumentCount, arguments);
    } catch (const std::exception& error) {
        // Others may be waiting for this one.
        MPI_Abort(MPI_COMM_WORLD, Fail(kProgram, error.what()));
    }
    MPI_Finalize();
    return exitCode;
}
