// Reads PNG files of 8 or 16 bits without conversion.
#pragma once

#include <gtest/gtest.h>
#include <png.h>

#include <csetjmp>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <vector>

struct CRawPng {
    uint32_t m_Width = 0;
    uint32_t m_Height = 0;
    uint32_t m_Bits = 0;
    uint32_t m_Channels = 0;
    std::vector<uint32_t> m_Levels; // [row][column][channel]

    uint32_t Level(uint32_t x, uint32_t y, uint32_t channel = 0) const {
        return m_Levels[(size_t{y} * m_Width + x) * m_Channels + channel];
    }
};

inline void TakeRows(png_structp png, png_infop info, CRawPng& result) {
    result.m_Width = png_get_image_width(png, info);
    result.m_Height = png_get_image_height(png, info);
    result.m_Bits = png_get_bit_depth(png, info);
    result.m_Channels = png_get_channels(png, info);
    png_bytepp rows = png_get_rows(png, info);
    for (uint32_t y = 0; y < result.m_Height; ++y) {
        for (uint32_t k = 0; k < result.m_Width * result.m_Channels; ++k) {
            const png_bytep two = rows[y] + 2 * k;
            result.m_Levels.push_back(result.m_Bits == 16 ? uint32_t{two[0]} << 8 | two[1] : rows[y][k]);
        }
    }
}

inline CRawPng ReadRawPng(const std::filesystem::path& path) {
    CRawPng result;
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "rb"), std::fclose);
    png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    if (file == nullptr || setjmp(png_jmpbuf(png)) != 0) {
        ADD_FAILURE() << path << " cannot be read";
    } else {
        png_init_io(png, file.get());
        png_read_png(png, info, PNG_TRANSFORM_IDENTITY, nullptr);
        TakeRows(png, info, result);
    }
    png_destroy_read_struct(&png, &info, nullptr);
    return result;
}
