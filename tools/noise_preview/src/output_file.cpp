#include "output_file.h"

#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace NoisePreview {

namespace {

/// The file to remove when a signal ends the program; empty when there is none.
char s_PartialPath[PATH_MAX] = "";

extern "C" void RemovePartialFile(int signal) {
    unlink(s_PartialPath);
    std::signal(signal, SIG_DFL);
    std::raise(signal);
}

/// Leaves alone what the program was started to ignore, as nohup does.
void RemovePartialFileOnSignals() {
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT}) {
        if (std::signal(signal, RemovePartialFile) == SIG_IGN) {
            std::signal(signal, SIG_IGN);
        }
    }
}

/// The path behind symbolic links, so that they stay, even those to a file that is not there yet.
std::filesystem::path WhereLinksLead(std::filesystem::path path) {
    constexpr int kMaxLinks = 40; // as many as the system follows
    std::error_code error;
    for (int links = 0; links < kMaxLinks && std::filesystem::is_symlink(path, error); ++links) {
        path = path.parent_path() / std::filesystem::read_symlink(path, error);
    }
    return path;
}

} // namespace

COutputFile::COutputFile(const std::filesystem::path& path) : m_Path(WhereLinksLead(path)) {
    struct stat existing = {};
    const bool exists = stat(m_Path.c_str(), &existing) == 0;
    if (exists && !S_ISREG(existing.st_mode)) {
        Fail("it is not a file");
    }
    if (exists && access(m_Path.c_str(), W_OK) != 0) {
        Fail(std::strerror(errno));
    }
    m_PartialPath = (m_Path.parent_path() / ".noise_preview.XXXXXX").string();
    const int descriptor = mkstemp(m_PartialPath.data());
    if (descriptor < 0) {
        Fail(std::strerror(errno));
    }
    m_PartialPath.copy(s_PartialPath, sizeof(s_PartialPath) - 1);
    RemovePartialFileOnSignals();
    const mode_t mask = umask(0);
    umask(mask);
    fchmod(descriptor, exists ? existing.st_mode & 07777 : 0666 & ~mask);
    m_Stream = fdopen(descriptor, "wb");
    if (m_Stream == nullptr) {
        unlink(m_PartialPath.c_str());
        Fail(std::strerror(errno));
    }
}

COutputFile::~COutputFile() {
    if (m_Stream != nullptr) {
        std::fclose(m_Stream);
    }
    if (!m_PartialPath.empty()) {
        unlink(m_PartialPath.c_str());
    }
    s_PartialPath[0] = '\0';
}

void COutputFile::Finish() {
    const bool isFlushed = std::fclose(std::exchange(m_Stream, nullptr)) == 0;
    if (!isFlushed || std::rename(m_PartialPath.c_str(), m_Path.c_str()) != 0) {
        Fail(std::strerror(errno));
    }
    m_PartialPath.clear();
}

void COutputFile::Fail(const std::string& reason) const {
    throw std::runtime_error("'" + m_Path.string() + "' cannot be written: " + reason);
}

} // namespace NoisePreview
