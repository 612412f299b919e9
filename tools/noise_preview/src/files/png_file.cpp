#include "files/picture_file.h"

#include <png.h>

#include <cerrno>
#include <csetjmp>
#include <cstdio>
#include <cstring>
#include <vector>

namespace NoisePreview {

namespace {

class CPngFile final : public CPictureFile {
public:
    CPngFile(COutputFile& file, const CJob& job)
        : m_File(file),
          m_Bits(job.m_Bits),
          m_IsGrey(job.IsGrey()),
          m_Bytes(job.Size().m_Width * job.BytesPerPixel()) {
        m_Png = png_create_write_struct(PNG_LIBPNG_VER_STRING, this, _OnError, _OnWarning);
        m_Info = m_Png != nullptr ? png_create_info_struct(m_Png) : nullptr;
        if (m_Info == nullptr) {
            throw std::bad_alloc();
        }
        _Guarded([&] {
            png_init_io(m_Png, m_File.Stream());
            png_set_user_limits(m_Png, PNG_UINT_31_MAX, PNG_UINT_31_MAX);
            png_set_IHDR(m_Png, m_Info, static_cast<uint32_t>(job.Size().m_Width),
                         static_cast<uint32_t>(job.Size().m_Height), static_cast<int>(m_Bits),
                         m_IsGrey ? PNG_COLOR_TYPE_GRAY : PNG_COLOR_TYPE_RGB, PNG_INTERLACE_NONE,
                         PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
            png_write_info(m_Png, m_Info);
        });
    }

    ~CPngFile() override {
        png_destroy_write_struct(&m_Png, &m_Info);
    }

    void AddRow(std::span<const CPixel> pixels) override {
        uint8_t* next = m_Bytes.data();
        const auto add = [&](float brightness) {
            const int level = Rounded(brightness, (1 << m_Bits) - 1);
            if (m_Bits == 16) {
                *next++ = static_cast<uint8_t>(level >> 8); // big-endian
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
        _Guarded([&] { png_write_row(m_Png, m_Bytes.data()); });
    }

    void Finish() override {
        _Guarded([&] { png_write_end(m_Png, m_Info); });
        m_File.Finish();
    }

private:
    [[noreturn]] static void _OnError(png_structp png, png_const_charp message) {
        CPngFile* const file = static_cast<CPngFile*>(png_get_error_ptr(png));
        std::snprintf(file->m_Message, sizeof(file->m_Message), "%s", message);
        std::longjmp(file->m_Return, 1);
    }

    static void _OnWarning(png_structp, png_const_charp) {}

    /// libpng reports errors by longjmp, so `call` must hold nothing that needs a destructor.
    template <typename TCall>
    void _Guarded(const TCall& call) {
        errno = 0;
        if (setjmp(m_Return) != 0) {
            m_File.Fail(errno != 0 ? std::strerror(errno) : m_Message);
        }
        call();
    }

    COutputFile& m_File;
    uint32_t m_Bits;
    bool m_IsGrey;
    std::vector<uint8_t> m_Bytes; // of a row
    png_structp m_Png = nullptr;
    png_infop m_Info = nullptr;
    std::jmp_buf m_Return;
    char m_Message[128] = "";
};

} // namespace

std::unique_ptr<CPictureFile> OpenPng(COutputFile& file, const CJob& job) {
    return std::make_unique<CPngFile>(file, job);
}

} // namespace NoisePreview
