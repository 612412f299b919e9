#include "files/position_file.h"

#include "job/format.h"

#include <cerrno>
#include <cstring>
#include <iostream>
#include <stdexcept>
#include <sys/stat.h>

namespace NoisePreview {

std::unique_ptr<CPositionFile> CPositionFile::Open(const std::string& path) {
    if (path == "-") {
        std::ios::sync_with_stdio(false); // reads faster
    }
    const std::string type = path != "-" ? ExtensionOf(path) : std::cin.peek() == 0x93 ? "npy" : "csv";
    if (type == "npy") {
        return OpenNpyPositions(path);
    }
    if (type == "csv") {
        return OpenCsvPositions(path);
    }
    throw std::runtime_error("positions are read from .npy and .csv files, and '" + path + "' is neither");
}

CPositionFile::CPositionFile(const std::string& path)
    : m_Name(path == "-" ? "standard input" : "'" + path + "'"), m_File(path == "-" ? std::cin : m_OwnFile) {
    if (path == "-") {
        return;
    }
    struct stat status = {};
    if (stat(path.c_str(), &status) != 0) {
        _Fail(std::strerror(errno));
    }
    if (!S_ISREG(status.st_mode)) {
        _Fail("it is not a file");
    }
    m_ByteCount = static_cast<uint64_t>(status.st_size);
    m_OwnFile.open(path, std::ios::binary);
    if (!m_OwnFile) {
        _Fail(std::strerror(errno));
    }
}

void CPositionFile::_Fail(const std::string& reason) const {
    throw std::runtime_error(m_Name + " cannot be read: " + reason);
}

} // namespace NoisePreview
