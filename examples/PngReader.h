// PNG files as pictures that become bitmaps: gray of 8 and 16 bits, palettes, and colour.

#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "Mvkrnx.h"

/** A picture in the layout of the kernel's bitmaps. */
struct PngPicture {
    int32_t width = 0;
    int32_t height = 0;
    int32_t bitsPerPixel = 0; ///< 8 gray or palette, 16 gray, 24 with blue first
    bool isGray = false;
    std::vector<_RGBQUAD> palette; ///< 256 entries, or none
    std::vector<uint8_t> rows;     ///< each padded to four bytes
};

/**
 * Reads a file. Gray of fewer than 8 bits is spread over 8, colour of 16 bits a channel is cut to
 * 8, and what is transparent is laid on white.
 * @return empty, or the reason why the picture cannot be had
 */
std::string ReadPng(const std::string &path, PngPicture &picture);
