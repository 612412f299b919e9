#include "files/png_file.h"

#include <png.h>

#include <cerrno>
#include <csetjmp>
#include <cstdio>
#include <cstring>

namespace NoisePreview {

/// libpng's own, and what it says when it gives up.
struct CPngState {
    png_structp m_Png = nullptr;
    png_infop m_Info = nullptr;
    std::jmp_buf m_Return;
    char m_Message[128] = "";
};

namespace {

[[noreturn]] void OnPngError(png_structp png, png_const_charp message) {
    CPngState* const state = static_cast<CPngState*>(png_get_error_ptr(png));
    std::snprintf(state->m_Message, sizeof(state->m_Message), "%s", message);
    std::longjmp(state->m_Return, 1);
}

void OnPngWarning(png_structp, png_const_charp) {}

} // namespace

/// libpng reports errors by jumping out of its functions, so that `call` holds nothing that a destructor
/// would have to clean up.
template <typename TCall>
void CPngFile::_Guarded(const TCall& call) {
    errno = 0;
    if (setjmp(m_State->m_Return) != 0) {
        m_File.Fail(errno != 0 ? std::strerror(errno) : m_State->m_Message);
    }
    call();
}

CPngFile::CPngFile(COutputFile& file, uint32_t width, uint32_t height, uint32_t bits, bool isGrey)
    : m_File(file),
      m_Bits(bits),
      m_IsGrey(isGrey),
      m_Bytes(size_t{width} * (bits / 8) * (isGrey ? 1 : 3)),
      m_State(std::make_unique<CPngState>()) {
    m_State->m_Png = png_create_write_struct(PNG_LIBPNG_VER_STRING, m_State.get(), OnPngError, OnPngWarning);
    m_State->m_Info = m_State->m_Png != nullptr ? png_create_info_struct(m_State->m_Png) : nullptr;
    if (m_State->m_Info == nullptr) {
        throw std::bad_alloc();
    }
    _Guarded([&] {
        png_init_io(m_State->m_Png, m_File.Stream());
        png_set_user_limits(m_State->m_Png, PNG_UINT_31_MAX, PNG_UINT_31_MAX);
        png_set_IHDR(m_State->m_Png, m_State->m_Info, width, height, static_cast<int>(bits),
                     isGrey ? PNG_COLOR_TYPE_GRAY : PNG_COLOR_TYPE_RGB, PNG_INTERLACE_NONE,
                     PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
        png_write_info(m_State->m_Png, m_State->m_Info);
    });
}

CPngFile::~CPngFile() {
    png_destroy_write_struct(&m_State->m_Png, &m_State->m_Info);
}

void CPngFile::AddRow(std::span<const CPixel> pixels) {
    uint8_t* next = m_Bytes.data();
    const auto add = [&](float brightness) {
        const int level = Rounded(brightness, (1 << m_Bits) - 1);
        if (m_Bits == 16) {
            *next++ = static_cast<uint8_t>(level >> 8); // the more significant byte comes first
        }
        *next++ = static_cast<uint8_t>(level & 255);
    };
    for (const CPixel& pixel : pixels) {
        add(pixel.r);
        if (!m_IsGrey) {
            add(pixel.g);
            add(pixel.b);
        }
    }
    _Guarded([&] { png_write_row(m_State->m_Png, m_Bytes.data()); });
}

void CPngFile::Finish() {
    _Guarded([&] { png_write_end(m_State->m_Png, m_State->m_Info); });
    m_File.Finish();
}

} // namespace NoisePreview
