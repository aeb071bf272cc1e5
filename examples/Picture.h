// A picture in memory that becomes a PNG file.

#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

/** Red, green and blue of each pixel, rows from top to bottom. */
struct Picture {
    size_t width = 0;
    size_t height = 0;
    std::vector<uint8_t> pixels;

    Picture() = default;
    /** A picture of one gray. */
    Picture(size_t columns, size_t rows, uint8_t gray);

    uint8_t *At(size_t x, size_t y) { return &pixels[(y * width + x) * 3]; }
    const uint8_t *At(size_t x, size_t y) const { return &pixels[(y * width + x) * 3]; }
};

/** Copies a picture into another one that has room for it. */
void Paste(const Picture &from, size_t x, size_t y, Picture &to);

/** A gray box with a cross, for what cannot be shown. */
Picture CrossedBox(size_t size);

/** Writes a PNG file; false if that fails. */
bool WritePng(const std::string &path, const Picture &picture);
