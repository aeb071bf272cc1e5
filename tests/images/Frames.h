// Frames for the tests of their way into data sets and out of them.

#pragma once

#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "MDicom.h"
#include "imageinfo/Image.h"
#include "kernel/Bitmap.h"

constexpr const char *kExplicit = "1.2.840.10008.1.2.1";
constexpr uint32_t kNone = IMAGE_COMPRESSION_NONE;
constexpr uint32_t kRleClass = IMAGE_COMPRESSION_RLE;
constexpr uint32_t kJpegLossless = IMAGE_COMPRESSION_JPEG_LOSSLESS;
constexpr uint32_t kJpegLossy = IMAGE_COMPRESSION_JPEG_LOSSY;
constexpr uint32_t kJ2kLossless = IMAGE_COMPRESSION_J2K_LOSSLESS;
constexpr uint32_t kJ2kLossy = IMAGE_COMPRESSION_J2K_LOSSY;

inline _DICOMELEMENT *PutValue(Image &image, Bytes bytes, uint32_t tag = TAG_PIXEL_DATA) {
    _DICOMELEMENT *element = image.ds.FindFirstElement(nullptr, tag, 1);
    if (element != nullptr) image.ds.DeleteElement(element);
    element = image.ds.InsertElement(nullptr, 0, tag, 'O' << 8 | 'W', 0, 0);
    if (!bytes.empty()) {
        image.ds.SetBinaryValue(element, bytes.data(), static_cast<uint32_t>(bytes.size()));
    }
    if (tag == TAG_PIXEL_DATA) image.pixels = element;
    return element;
}

inline Bytes ToBytes(const Words &words) {
    Bytes bytes(words.size() * 2);
    std::memcpy(bytes.data(), words.data(), bytes.size());
    return bytes;
}

/** Status of GetImage; the bitmap holds nothing before. */
inline uint16_t Get(MDicomDS &ds, TestBitmap &bitmap, uint32_t frame = 0, int32_t depth = 0,
                    uint32_t flags = 0, _DICOMELEMENT *element = nullptr) {
    KernelFreeBitmap(&bitmap);
    return ds.GetImage(element, &bitmap, sizeof(_BITMAPHANDLE), frame, depth, 0, flags, nullptr,
                       nullptr);
}

/** All rows without their padding. */
inline Bytes RowsOf(const _BITMAPHANDLE &bitmap) {
    const auto bits =
        static_cast<size_t>(bitmap.nWidth) * static_cast<size_t>(bitmap.nBitsPerPixel);
    const size_t row = (bits + 7) / 8;
    Bytes rows(row * static_cast<size_t>(bitmap.nHeight));
    for (int32_t y = 0; y < bitmap.nHeight; ++y) {
        KernelGetBitmapRow(&bitmap, rows.data() + static_cast<size_t>(y) * row, y, row);
    }
    return rows;
}

/** A frame as one fragment of RLE: planes of literals alone, or of long runs too. */
inline Bytes RleOf(const std::vector<Bytes> &planes) {
    Bytes frame(64);
    frame[0] = static_cast<uint8_t>(planes.size());
    for (size_t i = 0; i < planes.size(); ++i) {
        const auto place = static_cast<uint32_t>(frame.size());
        std::memcpy(&frame[4 * (i + 1)], &place, sizeof place);
        for (size_t at = 0; at < planes[i].size(); at += 128) {
            const size_t count = std::min<size_t>(128, planes[i].size() - at);
            frame.push_back(static_cast<uint8_t>(count - 1));
            frame.insert(frame.end(), planes[i].begin() + static_cast<std::ptrdiff_t>(at),
                         planes[i].begin() + static_cast<std::ptrdiff_t>(at + count));
        }
    }
    return frame;
}

inline std::string TextOf(const Bytes &bytes) {
    return {bytes.begin(), bytes.end()};
}

/** A slow wave, as samples of a number of bits; signed ones are below 0 for half of it. Numbers
 *  tell pictures apart. */
inline uint32_t WaveSample(uint32_t x, uint32_t y, uint32_t number, uint32_t bits) {
    const uint32_t place = (3 * x + 2 * y + 37 * number) % 256;
    const uint32_t wave = place < 128 ? place : 255 - place;
    const uint32_t most = (1u << bits) - 1;
    return wave * most / 127;
}

struct Kind {
    int depth;     ///< of the bitmap
    uint32_t bits; ///< significant ones
    bool isSigned = false;
    bool isPalette = false;
};

inline std::unique_ptr<TestBitmap> MakeBitmap(int width, int height, const Kind &kind,
                                              uint32_t number = 0) {
    _RGBQUAD palette[256];
    for (uint32_t i = 0; i < 256; ++i) {
        palette[i] = {static_cast<uint8_t>(i * 7), static_cast<uint8_t>(i), 9, 0};
    }
    const int order = kind.depth == 24 ? KERNEL_ORDER_BGR
                      : kind.depth > 8 ? KERNEL_ORDER_GRAY
                                       : KERNEL_ORDER_RGB;
    auto bitmap = std::make_unique<TestBitmap>(width, height, kind.depth, order, 1,
                                               kind.isPalette ? palette : nullptr);
    if (kind.depth > 8 && kind.depth < 24) {
        bitmap->SetBits(0, static_cast<int>(kind.bits) - 1, kind.isSigned);
    }
    for (int32_t y = 0; y < height; ++y) {
        uint8_t *row = KernelLendBitmapRow(bitmap.get(), y);
        for (uint32_t x = 0; x < static_cast<uint32_t>(width); ++x) {
            const auto sample = [&](uint32_t i) {
                return WaveSample(x + 20 * i, static_cast<uint32_t>(y), number, kind.bits);
            };
            if (kind.depth == 1) {
                row[x / 8] = static_cast<uint8_t>(row[x / 8] | sample(0) << (7 - x % 8));
            } else if (kind.depth == 12) {
                const uint32_t shifted = sample(0) << x % 2 * 4;
                row[x / 2 * 3 + x % 2] = static_cast<uint8_t>(row[x / 2 * 3 + x % 2] | shifted);
                row[x / 2 * 3 + x % 2 + 1] = static_cast<uint8_t>(shifted >> 8);
            } else if (kind.depth == 24) {
                for (uint32_t i = 0; i < 3; ++i) row[3 * x + i] = static_cast<uint8_t>(sample(i));
            } else {
                // A sign is in all bits above those that are significant.
                const uint32_t least = kind.isSigned ? 1u << (kind.bits - 1) : 0;
                const uint32_t value = sample(0) - least;
                std::memcpy(row + x * static_cast<uint32_t>(kind.depth) / 8, &value,
                            static_cast<size_t>(kind.depth) / 8);
            }
        }
    }
    return bitmap;
}

struct Encoding {
    uint32_t compression;
    const char *name;
    bool isLossy;
};

constexpr Encoding kEncodings[] = {
    {kNone, "native", false},
    {kRleClass, "RLE", false},
    {kJpegLossless, "JPEG lossless", false},
    {kJpegLossy, "JPEG", true},
    {kJ2kLossless, "J2K lossless", false},
    {kJ2kLossy, "J2K", true},
};
