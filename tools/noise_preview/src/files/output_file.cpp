#include "files/output_file.h"

#include "text.h"

#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <random>
#include <stdexcept>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>
#include <utility>

namespace NoisePreview {

namespace {

/// The temporary file that a signal handler removes; the name is empty if there is none.
int s_TemporaryFolder = -1;
char s_TemporaryName[NAME_MAX + 1] = "";

extern "C" void RemoveTemporaryFile(int signal) {
    unlinkat(s_TemporaryFolder, s_TemporaryName, 0);
    std::signal(signal, SIG_DFL);
    std::raise(signal);
}

constexpr int kFatalSignals[] = {SIGINT, SIGTERM, SIGHUP, SIGQUIT};

/// Blocks these signals while it lives, so that none comes between making a file and noting its name.
class CSignalBlock {
public:
    CSignalBlock() {
        sigset_t signals;
        sigemptyset(&signals);
        for (const int signal : kFatalSignals) {
            sigaddset(&signals, signal);
        }
        sigprocmask(SIG_BLOCK, &signals, &m_Before);
    }

    ~CSignalBlock() {
        sigprocmask(SIG_SETMASK, &m_Before, nullptr);
    }

    CSignalBlock(const CSignalBlock&) = delete;
    CSignalBlock& operator=(const CSignalBlock&) = delete;

private:
    sigset_t m_Before;
};

/// Signals that the program was started to ignore, as by nohup, stay ignored.
void RemoveOnSignals(int folder, const std::string& name) {
    s_TemporaryFolder = folder;
    name.copy(s_TemporaryName, sizeof(s_TemporaryName) - 1);
    for (const int signal : kFatalSignals) {
        if (std::signal(signal, RemoveTemporaryFile) == SIG_IGN) {
            std::signal(signal, SIG_IGN);
        }
    }
}

/// Calls `make` with random names until one is free. `make` returns false with errno on failure.
template <typename TMake>
bool MakeTemporary(std::string& name, const TMake& make) {
    std::random_device random;
    bool isMade = false;
    do {
        name = Format(".noise_preview.%08x", random());
        isMade = make();
    } while (!isMade && errno == EEXIST);
    return isMade;
}

std::string ProcPath(int descriptor) {
    return "/proc/self/fd/" + std::to_string(descriptor);
}

std::string ReasonForPath(int error) {
    return error == ENOENT ? "there is no such folder" : std::strerror(error);
}

} // namespace

COutputFile::COutputFile(const std::filesystem::path& path) : m_IsStandardOutput(path == "-"), m_Path(path) {
    if (m_IsStandardOutput) {
        std::error_code error;
        const std::filesystem::path folder = std::filesystem::temp_directory_path(error);
        if (error) {
            Fail("a temporary file cannot be made: " + error.message());
        }
        _OpenFolder(folder / "");
        _OpenTemporary(0600);
    } else {
        _OpenFolder(path);
        _ResolveLink();
        _OpenTemporary(_Permissions());
    }
}

COutputFile::~COutputFile() {
    if (m_Stream != nullptr) {
        std::fclose(m_Stream);
    }
    if (!m_TemporaryName.empty()) {
        unlinkat(m_Folder.Get(), m_TemporaryName.c_str(), 0);
    }
    s_TemporaryName[0] = '\0';
}

void COutputFile::CheckSpace(uint64_t byteCount) const {
    struct statvfs system = {};
    if (fstatvfs(fileno(m_Stream), &system) != 0 || system.f_blocks == 0) {
        return; // unknown
    }
    const double needed = static_cast<double>(byteCount);
    const double left = static_cast<double>(system.f_bavail) * static_cast<double>(system.f_frsize);
    if (needed > left) {
        Fail(Format("it takes %.1f MB, and there are %.1f MB left", needed / 1e6, left / 1e6) +
             (m_IsStandardOutput ? " for temporary files (TMPDIR)" : " on its file system"));
    }
}

void COutputFile::Write(const void* bytes, size_t count) const {
    if (std::fwrite(bytes, 1, count, m_Stream) != count) {
        Fail(std::strerror(errno));
    }
}

void COutputFile::Seek(uint64_t offset) const {
    if (fseeko(m_Stream, static_cast<off_t>(offset), SEEK_SET) != 0) {
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
    const CDescriptor file(dup(fileno(m_Stream))); // an unnamed file lives as long as it is open
    const bool isClosed = std::fclose(std::exchange(m_Stream, nullptr)) == 0;
    if (file.Get() < 0 || !isClosed || !_Publish(file.Get())) {
        Fail(std::strerror(errno));
    }
}

void COutputFile::Fail(const std::string& reason) const {
    const std::string name = m_IsStandardOutput ? "standard output" : "'" + m_Path.string() + "'";
    throw std::runtime_error(name + " cannot be written: " + reason);
}

/// Keeps the folder open, as other users may replace what is at its path.
void COutputFile::_OpenFolder(const std::filesystem::path& path) {
    const std::filesystem::path folder = path.has_parent_path() ? path.parent_path() : ".";
    m_Folder = CDescriptor(open(folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    if (m_Folder.Get() < 0) {
        Fail(ReasonForPath(errno));
    }
    m_Name = path.filename();
}

/// Replaces the target of a symbolic link. The kernel follows the link, since it refuses some
/// (fs.protected_symlinks); /proc then tells where the target is.
void COutputFile::_ResolveLink() {
    struct stat entry = {};
    if (fstatat(m_Folder.Get(), m_Name.c_str(), &entry, AT_SYMLINK_NOFOLLOW) != 0 ||
        !S_ISLNK(entry.st_mode)) {
        return;
    }
    const CSignalBlock block;
    CDescriptor target(openat(m_Folder.Get(), m_Name.c_str(), O_PATH | O_CLOEXEC));
    const bool isMissing = target.Get() < 0 && errno == ENOENT;
    if (isMissing) { // only an existing file has a path to ask for
        constexpr int kNewFile = O_WRONLY | O_CREAT | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;
        target = CDescriptor(openat(m_Folder.Get(), m_Name.c_str(), kNewFile, 0600));
    }
    struct stat followed = {};
    if (target.Get() < 0 || fstat(target.Get(), &followed) != 0) {
        Fail(ReasonForPath(errno));
    }
    _RefuseAllButFiles(followed.st_mode);
    std::error_code error;
    _OpenFolder(std::filesystem::read_symlink(ProcPath(target.Get()), error));
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
        Fail(S_ISDIR(mode) ? "it is a folder; with a / at the end, the file goes into it"
                           : "it is not a file");
    }
}

/// Those of the file that is replaced, without set-uid, set-gid and sticky, as the new file may have another
/// owner.
mode_t COutputFile::_Permissions() const {
    struct stat existing = {};
    if (fstatat(m_Folder.Get(), m_Name.c_str(), &existing, AT_SYMLINK_NOFOLLOW) == 0) {
        _RefuseAllButFiles(existing.st_mode);
        if (faccessat(m_Folder.Get(), m_Name.c_str(), W_OK, 0) != 0) {
            Fail(std::strerror(errno));
        }
        return existing.st_mode & 0777;
    }
    if (errno != ENOENT) {
        Fail(std::strerror(errno)); // such as a name that is too long
    }
    const mode_t mask = umask(0);
    umask(mask);
    return 0666 & ~mask;
}

/// In the folder of the output, so that it can be linked or renamed there.
void COutputFile::_OpenTemporary(mode_t permissions) {
    const CSignalBlock block;
    CDescriptor file(openat(m_Folder.Get(), ".", O_TMPFILE | O_RDWR | O_CLOEXEC, 0600));
    // Not every file system has O_TMPFILE, and an unnamed file gets its name through /proc.
    if (file.Get() < 0 || access(ProcPath(file.Get()).c_str(), F_OK) != 0) {
        const bool isMade = MakeTemporary(m_TemporaryName, [&] {
            constexpr int kNewFile = O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC;
            file = CDescriptor(openat(m_Folder.Get(), m_TemporaryName.c_str(), kNewFile, 0600));
            return file.Get() >= 0;
        });
        if (!isMade) {
            Fail(ReasonForPath(errno));
        }
        if (m_IsStandardOutput) {
            unlinkat(m_Folder.Get(), std::exchange(m_TemporaryName, "").c_str(), 0);
        } else {
            RemoveOnSignals(m_Folder.Get(), m_TemporaryName);
        }
    }
    fchmod(file.Get(), permissions);
    m_Stream = fdopen(file.Get(), "w+b");
    if (m_Stream == nullptr) {
        unlinkat(m_Folder.Get(), m_TemporaryName.c_str(), 0);
        Fail(std::strerror(errno));
    }
    file.Release();
}

/// Gives the temporary file the name of the output; false with errno on failure.
bool COutputFile::_Publish(int file) {
    const CSignalBlock block;
    const auto link = [&](const std::string& name) {
        return linkat(AT_FDCWD, ProcPath(file).c_str(), m_Folder.Get(), name.c_str(), AT_SYMLINK_FOLLOW) == 0;
    };
    if (m_TemporaryName.empty()) {
        if (link(m_Name)) {
            return true;
        }
        // linkat does not replace a file, as renameat does.
        if (errno != EEXIST || !MakeTemporary(m_TemporaryName, [&] { return link(m_TemporaryName); })) {
            return false;
        }
    }
    if (renameat(m_Folder.Get(), m_TemporaryName.c_str(), m_Folder.Get(), m_Name.c_str()) != 0) {
        return false;
    }
    m_TemporaryName.clear();
    return true;
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
