#include "png_file.h"

#include "progress.h"

#include <png.h>

#include <cerrno>
#include <csetjmp>
#include <cstring>

namespace NoisePreview {

namespace {

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

void WritePng(COutputFile& file, const CPicture& picture) {
    CProgress progress(EProgress::kPercent, "writing ", picture.m_Height);
    CPngError error;
    errno = 0;
    if (!WriteRows(file.Stream(), picture, progress, error)) {
        file.Fail(errno != 0 ? std::strerror(errno) : error.m_Message);
    }
    file.Finish();
}

} // namespace NoisePreview
