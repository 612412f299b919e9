#include "files/output_file.h"

#include "text.h"

#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <random>
#include <sstream>
#include <stdexcept>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace NoisePreview {

namespace {

/// The file to remove when a signal ends the program; its name is empty when there is none.
int s_PartialFolder = -1;
char s_PartialName[NAME_MAX + 1] = "";

extern "C" void RemovePartialFile(int signal) {
    unlinkat(s_PartialFolder, s_PartialName, 0);
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

/// Makes an empty file of a new name, which nobody else can read. Returns -1 with errno on failure.
int MakePartialFile(int folder, std::string& name) {
    std::random_device random;
    int descriptor = -1;
    do {
        name = Format(".noise_preview.%08x", random());
        descriptor = openat(folder, name.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    } while (descriptor < 0 && errno == EEXIST);
    return descriptor;
}

/// The reason for the errno of a path.
std::string ReasonForPath(int error) {
    return error == ENOENT ? "there is no such folder" : std::strerror(error);
}

} // namespace

COutputFile::COutputFile(const std::filesystem::path& path) : m_IsStandardOutput(path == "-"), m_Path(path) {
    if (m_IsStandardOutput) {
        _OpenUnnamed();
    } else {
        _OpenFolder(path);
        _FollowLink();
        _OpenBeside();
    }
}

COutputFile::~COutputFile() {
    if (m_Stream != nullptr) {
        std::fclose(m_Stream);
    }
    if (!m_PartialName.empty()) {
        unlinkat(m_Folder.Get(), m_PartialName.c_str(), 0);
    }
    s_PartialName[0] = '\0';
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
    const int folder = m_Folder.Get();
    if (!isClosed || renameat(folder, m_PartialName.c_str(), folder, m_Name.c_str()) != 0) {
        Fail(std::strerror(errno));
    }
    m_PartialName.clear();
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

/// Holds on to the folder itself, since other users may exchange what its path names.
void COutputFile::_OpenFolder(const std::filesystem::path& path) {
    const std::filesystem::path folder = path.has_parent_path() ? path.parent_path() : ".";
    m_Folder = CDescriptor(open(folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    if (m_Folder.Get() < 0) {
        Fail(ReasonForPath(errno));
    }
    m_Name = path.filename();
}

/// The file replaced is the one behind a symbolic link. The kernel follows the link, because it refuses some
/// (fs.protected_symlinks), and then says where it has arrived.
void COutputFile::_FollowLink() {
    struct stat entry = {};
    if (fstatat(m_Folder.Get(), m_Name.c_str(), &entry, AT_SYMLINK_NOFOLLOW) != 0 ||
        !S_ISLNK(entry.st_mode)) {
        return;
    }
    const CSignalsHeldBack heldBack;
    CDescriptor target(openat(m_Folder.Get(), m_Name.c_str(), O_PATH | O_CLOEXEC));
    const bool isMissing = target.Get() < 0 && errno == ENOENT;
    if (isMissing) { // only a file that is there has a place to be asked for
        constexpr int kNewFile = O_WRONLY | O_CREAT | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;
        target = CDescriptor(openat(m_Folder.Get(), m_Name.c_str(), kNewFile, 0600));
    }
    struct stat followed = {};
    if (target.Get() < 0 || fstat(target.Get(), &followed) != 0) {
        Fail(ReasonForPath(errno));
    }
    _RefuseAllButFiles(followed.st_mode);
    std::error_code error;
    _OpenFolder(std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(target.Get()), error));
    if (fstatat(m_Folder.Get(), m_Name.c_str(), &entry, AT_SYMLINK_NOFOLLOW) != 0 ||
        entry.st_dev != followed.st_dev || entry.st_ino != followed.st_ino) {
        Fail("the file behind the link has no name"); // it was deleted, or there is no /proc
    }
    if (isMissing) {
        unlinkat(m_Folder.Get(), m_Name.c_str(), 0);
    }
}

void COutputFile::_RefuseAllButFiles(mode_t mode) const {
    if (!S_ISREG(mode)) {
        Fail(S_ISDIR(mode) ? "it is a folder; with / behind its name, it gets the file" : "it is not a file");
    }
}

/// Opens a file in the same folder, so that it can be renamed. It gets the permissions of the file that it
/// replaces, but for set-uid, set-gid and sticky: it may belong to another user than that.
void COutputFile::_OpenBeside() {
    struct stat existing = {};
    const bool exists = fstatat(m_Folder.Get(), m_Name.c_str(), &existing, AT_SYMLINK_NOFOLLOW) == 0;
    if (!exists && errno != ENOENT) {
        Fail(std::strerror(errno)); // such as a name that is too long
    }
    if (exists) {
        _RefuseAllButFiles(existing.st_mode);
    }
    if (exists && faccessat(m_Folder.Get(), m_Name.c_str(), W_OK, 0) != 0) {
        Fail(std::strerror(errno));
    }
    const CSignalsHeldBack heldBack;
    const int descriptor = MakePartialFile(m_Folder.Get(), m_PartialName);
    if (descriptor < 0) {
        Fail(ReasonForPath(errno));
    }
    s_PartialFolder = m_Folder.Get();
    m_PartialName.copy(s_PartialName, sizeof(s_PartialName) - 1);
    RemovePartialFileOnSignals();
    const mode_t mask = umask(0);
    umask(mask);
    fchmod(descriptor, exists ? existing.st_mode & 0777 : 0666 & ~mask);
    m_Stream = fdopen(descriptor, "w+b");
    if (m_Stream == nullptr) {
        unlinkat(m_Folder.Get(), m_PartialName.c_str(), 0);
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
