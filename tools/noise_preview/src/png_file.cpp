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

CPngFile::CPngFile(const std::filesystem::path& path) : m_Path(path) {
    // Where a link leads, so that the link itself stays.
    std::error_code error;
    const std::filesystem::path target = std::filesystem::canonical(path, error);
    if (!error) {
        m_Path = target;
        if (!std::filesystem::is_regular_file(m_Path, error)) {
            _Fail("it is not a file");
        }
    }
    m_PartialPath = m_Path.string() + ".XXXXXX";
    const int descriptor = mkstemp(m_PartialPath.data());
    if (descriptor < 0) {
        _Fail(std::strerror(errno));
    }
    m_PartialPath.copy(s_PartialPath, sizeof(s_PartialPath) - 1);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        std::signal(signal, RemovePartialFile);
    }
    const mode_t mask = umask(0);
    umask(mask);
    fchmod(descriptor, 0666 & ~mask);
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
    if (!WriteRows(m_File, picture, progress, error)) {
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
