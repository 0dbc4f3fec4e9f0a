// Writes an RGBA picture to a PNG file with libpng; the demo programs share it.
#pragma once

#include <png.h>

#include <cstdio>
#include <vector>

// rows are top to bottom, four bytes a pixel, straight (not premultiplied) alpha.
inline bool writePng(const char* path, int width, int height,
                     const std::vector<unsigned char>& rgba) {
    FILE* file = std::fopen(path, "wb");
    if (!file) return false;
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png ? png_create_info_struct(png) : nullptr;
    if (!png || !info || setjmp(png_jmpbuf(png))) {
        png_destroy_write_struct(&png, &info);
        std::fclose(file);
        return false;
    }
    png_init_io(png, file);
    png_set_IHDR(png, info, width, height, 8, PNG_COLOR_TYPE_RGBA, PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    png_write_info(png, info);
    for (int y = 0; y < height; ++y)
        png_write_row(png, const_cast<png_bytep>(&rgba[static_cast<size_t>(y) * width * 4]));
    png_write_end(png, nullptr);
    png_destroy_write_struct(&png, &info);
    return std::fclose(file) == 0;
}
