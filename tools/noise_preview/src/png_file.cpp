#include "png_file.h"

#include "progress.h"

#include <png.h>

#include <cerrno>
#include <climits>
#include <csetjmp>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <string>
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

/// What libpng says when it gives up; kept outside the function that it jumps back into.
struct CPngError {
    std::jmp_buf m_Return;
    char m_Message[128] = "";
};

[[noreturn]] void OnPngError(png_structp png, png_const_charp message) {
    CPngError* const error = static_cast<CPngError*>(png_get_error_ptr(png));
    std::snprintf(error->m_Message, sizeof(error->m_Message), "%s", message);
    std::longjmp(error->m_Return, 1);
}

void OnPngWarning(png_structp, png_const_charp) {}

/// Writes the rows of a picture. libpng reports errors by jumping out of its functions, so that this one
/// holds nothing that a destructor would have to clean up.
bool WriteRows(std::FILE* file, const CPicture& picture, CProgress& progress, CPngError& error) {
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, &error, OnPngError, OnPngWarning);
    png_infop info = png != nullptr ? png_create_info_struct(png) : nullptr;
    if (info == nullptr || setjmp(error.m_Return) != 0) {
        png_destroy_write_struct(&png, &info);
        return false;
    }
    png_init_io(png, file);
    png_set_user_limits(png, PNG_UINT_31_MAX, PNG_UINT_31_MAX);
    png_set_IHDR(png, info, picture.m_Width, picture.m_Height, 8, PNG_COLOR_TYPE_GRAY, PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    png_write_info(png, info);
    for (uint32_t y = 0; y < picture.m_Height; ++y) {
        png_write_row(png, picture.Row(y));
        progress.Show(uint64_t{y} + 1);
    }
    png_write_end(png, info);
    png_destroy_write_struct(&png, &info);
    return true;
}

} // namespace

CPngFile::CPngFile(const std::filesystem::path& path) : m_Path(WhereLinksLead(path)) {
    struct stat existing = {};
    const bool exists = stat(m_Path.c_str(), &existing) == 0;
    if (exists && !S_ISREG(existing.st_mode)) {
        _Fail("it is not a file");
    }
    if (exists && access(m_Path.c_str(), W_OK) != 0) {
        _Fail(std::strerror(errno));
    }
    m_PartialPath = (m_Path.parent_path() / ".noise_preview.XXXXXX").string();
    const int descriptor = mkstemp(m_PartialPath.data());
    if (descriptor < 0) {
        _Fail(std::strerror(errno));
    }
    m_PartialPath.copy(s_PartialPath, sizeof(s_PartialPath) - 1);
    RemovePartialFileOnSignals();
    const mode_t mask = umask(0);
    umask(mask);
    fchmod(descriptor, exists ? existing.st_mode & 07777 : 0666 & ~mask);
    m_File = fdopen(descriptor, "wb");
}

CPngFile::~CPngFile() {
    if (m_File != nullptr) {
        std::fclose(m_File);
    }
    if (!m_PartialPath.empty()) {
        unlink(m_PartialPath.c_str());
    }
    s_PartialPath[0] = '\0';
}

void CPngFile::Write(const CPicture& picture) {
    CProgress progress("writing ", picture.m_Height);
    CPngError error;
    errno = 0;
    if (m_File == nullptr || !WriteRows(m_File, picture, progress, error)) {
        _Fail(errno != 0 ? std::strerror(errno) : error.m_Message);
    }
    const bool isFlushed = std::fclose(std::exchange(m_File, nullptr)) == 0;
    if (!isFlushed || std::rename(m_PartialPath.c_str(), m_Path.c_str()) != 0) {
        _Fail(std::strerror(errno));
    }
    m_PartialPath.clear();
}

void CPngFile::_Fail(const std::string& reason) const {
    throw std::runtime_error("'" + m_Path.string() + "' cannot be written: " + reason);
}

} // namespace NoisePreview
