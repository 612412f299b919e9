#include "files/output_file.h"

#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <sstream>
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

/// What ends the program early.
constexpr int kSignals[] = {SIGINT, SIGTERM, SIGHUP, SIGQUIT};

/// Holds these signals back while it lives: what is made meanwhile is not left behind.
class CSignalsHeldBack {
public:
    CSignalsHeldBack() {
        sigset_t signals;
        sigemptyset(&signals);
        for (const int signal : kSignals) {
            sigaddset(&signals, signal);
        }
        sigprocmask(SIG_BLOCK, &signals, &m_Before);
    }

    ~CSignalsHeldBack() {
        sigprocmask(SIG_SETMASK, &m_Before, nullptr);
    }

    CSignalsHeldBack(const CSignalsHeldBack&) = delete;
    CSignalsHeldBack& operator=(const CSignalsHeldBack&) = delete;

private:
    sigset_t m_Before;
};

/// Leaves alone what the program was started to ignore, as nohup does.
void RemovePartialFileOnSignals() {
    for (const int signal : kSignals) {
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

COutputFile::COutputFile(const std::filesystem::path& path)
    : m_IsStandardOutput(path == "-"), m_Path(m_IsStandardOutput ? path : WhereLinksLead(path)) {
    if (m_IsStandardOutput) {
        _OpenUnnamed();
    } else {
        _OpenBeside();
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

void COutputFile::Write(const void* bytes, size_t count) const {
    if (std::fwrite(bytes, 1, count, m_Stream) != count) {
        Fail(std::strerror(errno));
    }
}

void COutputFile::Finish() {
    if (std::fflush(m_Stream) != 0) {
        Fail(std::strerror(errno));
    }
    if (m_IsStandardOutput) {
        _CopyToStandardOutput();
        return;
    }
    const bool isClosed = std::fclose(std::exchange(m_Stream, nullptr)) == 0;
    if (!isClosed || std::rename(m_PartialPath.c_str(), m_Path.c_str()) != 0) {
        Fail(std::strerror(errno));
    }
    m_PartialPath.clear();
}

void COutputFile::Fail(const std::string& reason) const {
    std::ostringstream message;
    if (m_IsStandardOutput) {
        message << "standard output";
    } else {
        message << '\'' << m_Path.string() << '\'';
    }
    message << " cannot be written: " << reason;
    throw std::runtime_error(message.str());
}

/// A file in the same folder, so that it can be renamed.
void COutputFile::_OpenBeside() {
    struct stat existing = {};
    const bool exists = stat(m_Path.c_str(), &existing) == 0;
    if (!exists && errno != ENOENT) {
        Fail(std::strerror(errno)); // such as a name that is too long, or a link to itself
    }
    if (exists && !S_ISREG(existing.st_mode)) {
        Fail(S_ISDIR(existing.st_mode) ? "it is a folder; with / behind its name, it gets the file"
                                       : "it is not a file");
    }
    if (exists && access(m_Path.c_str(), W_OK) != 0) {
        Fail(std::strerror(errno));
    }
    const CSignalsHeldBack heldBack;
    m_PartialPath = (m_Path.parent_path() / ".noise_preview.XXXXXX").string();
    const int descriptor = mkstemp(m_PartialPath.data());
    if (descriptor < 0) {
        Fail(errno == ENOENT ? "there is no such folder" : std::strerror(errno));
    }
    m_PartialPath.copy(s_PartialPath, sizeof(s_PartialPath) - 1);
    RemovePartialFileOnSignals();
    const mode_t mask = umask(0);
    umask(mask);
    fchmod(descriptor, exists ? existing.st_mode & 07777 : 0666 & ~mask);
    m_Stream = fdopen(descriptor, "w+b");
    if (m_Stream == nullptr) {
        unlink(m_PartialPath.c_str());
        Fail(std::strerror(errno));
    }
}

/// Standard output need not be able to go back, which some formats want, and is to get all or nothing.
void COutputFile::_OpenUnnamed() {
    const CSignalsHeldBack heldBack;
    std::error_code error;
    std::string path = (std::filesystem::temp_directory_path(error) / "noise_preview.XXXXXX").string();
    const int descriptor = error ? -1 : mkstemp(path.data());
    if (descriptor < 0) {
        Fail(std::string("a temporary file cannot be made: ") +
             (error ? error.message() : std::string(std::strerror(errno))));
    }
    unlink(path.c_str());
    m_Stream = fdopen(descriptor, "w+b");
    if (m_Stream == nullptr) {
        Fail(std::strerror(errno));
    }
}

void COutputFile::_CopyToStandardOutput() const {
    std::rewind(m_Stream);
    char bytes[65536];
    for (size_t count = 1; count > 0;) {
        count = std::fread(bytes, 1, sizeof(bytes), m_Stream);
        if (std::ferror(m_Stream) != 0 || std::fwrite(bytes, 1, count, stdout) != count) {
            Fail(std::strerror(errno));
        }
    }
    if (std::fflush(stdout) != 0) {
        Fail(std::strerror(errno));
    }
}

} // namespace NoisePreview
