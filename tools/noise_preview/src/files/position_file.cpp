#include "files/position_file.h"

#include "files/csv_positions.h"
#include "files/ending.h"
#include "files/npy_positions.h"

#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <sys/stat.h>

namespace NoisePreview {

std::unique_ptr<CPositionFile> CPositionFile::Open(const std::string& path) {
    const std::string ending = EndingOf(path);
    if (ending == "npy") {
        return std::make_unique<CNpyPositions>(path);
    }
    if (ending == "csv") {
        return std::make_unique<CCsvPositions>(path);
    }
    throw std::runtime_error("positions are read from .npy and .csv files, and '" + path + "' is neither");
}

CPositionFile::CPositionFile(const std::string& path) : m_Path(path) {
    struct stat status = {};
    if (stat(path.c_str(), &status) != 0) {
        _Fail(std::strerror(errno));
    }
    if (!S_ISREG(status.st_mode)) {
        _Fail("it is not a file");
    }
    m_ByteCount = static_cast<uint64_t>(status.st_size);
}

void CPositionFile::_Fail(const std::string& reason) const {
    throw std::runtime_error("'" + m_Path + "' cannot be read: " + reason);
}

} // namespace NoisePreview
