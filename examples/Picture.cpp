// Pictures through libpng.

#include "Picture.h"

#include <png.h>

#include <algorithm>

Picture::Picture(size_t columns, size_t rows, uint8_t gray)
    : width(columns), height(rows), pixels(columns * rows * 3, gray) {}

void Paste(const Picture &from, size_t x, size_t y, Picture &to) {
    for (size_t row = 0; row < from.height; ++row) {
        std::copy_n(from.At(0, row), from.width * 3, to.At(x, y + row));
    }
}

Picture CrossedBox(size_t size) {
    constexpr uint8_t kBox = 128;
    constexpr uint8_t kCross = 200;
    Picture box(size, size, kBox);
    for (size_t i = 0; i < size; ++i) {
        std::fill_n(box.At(i, i), 3, kCross);
        std::fill_n(box.At(size - 1 - i, i), 3, kCross);
    }
    return box;
}

bool WritePng(const std::string &path, const Picture &picture) {
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    image.width = static_cast<png_uint_32>(picture.width);
    image.height = static_cast<png_uint_32>(picture.height);
    image.format = PNG_FORMAT_RGB;
    return png_image_write_to_file(&image, path.c_str(), 0, picture.pixels.data(), 0, nullptr) != 0;
}
