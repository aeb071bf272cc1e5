// Bitmaps with made-up pictures, and their samples.

#pragma once

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>
#include <vector>

#include "kernel/Bitmap.h"

/** Bits of a sample in rows of a depth. */
constexpr size_t SampleBits(size_t depth) {
    return depth == 48 ? 16 : depth == 24 ? 8 : depth;
}

/** Samples of a pixel in rows of a depth. */
constexpr size_t SamplesOfPixel(size_t depth) {
    return depth / SampleBits(depth);
}

constexpr uint32_t MaskOf(size_t bits) {
    return static_cast<uint32_t>((uint64_t{1} << bits) - 1);
}

/** Sample i of a row. Single bits begin with the highest of a byte, others with the lowest. */
inline uint32_t GetSample(const uint8_t *row, size_t i, size_t bits) {
    if (bits == 1) return row[i / 8] >> (7 - i % 8) & 1;
    uint64_t word = 0;
    std::memcpy(&word, row + i * bits / 8, (i * bits % 8 + bits + 7) / 8);
    return static_cast<uint32_t>(word >> i * bits % 8) & MaskOf(bits);
}

/** Puts sample i into a row whose bits there are zero. */
inline void PutSample(uint8_t *row, size_t i, size_t bits, uint32_t value) {
    if (bits == 1) {
        row[i / 8] = static_cast<uint8_t>(row[i / 8] | value << (7 - i % 8));
        return;
    }
    uint64_t word = 0;
    const size_t bytes = (i * bits % 8 + bits + 7) / 8;
    std::memcpy(&word, row + i * bits / 8, bytes);
    word |= uint64_t{value & MaskOf(bits)} << i * bits % 8;
    std::memcpy(row + i * bits / 8, &word, bytes);
}

/** All rows without their padding. */
inline Bytes RowsOf(const _BITMAPHANDLE &bitmap) {
    const auto row = static_cast<size_t>((bitmap.nWidth * bitmap.nBitsPerPixel + 7) / 8);
    Bytes rows;
    for (int32_t y = 0; y < bitmap.nHeight; ++y) {
        const uint8_t *data = KernelLendBitmapRow(&bitmap, y);
        rows.insert(rows.end(), data, data + row);
    }
    return rows;
}

/** The samples of all rows, signed ones of words by their value. */
inline std::vector<int> SamplesOf(const _BITMAPHANDLE &bitmap) {
    const auto depth = static_cast<size_t>(bitmap.nBitsPerPixel);
    const bool isSigned = depth == 16 && (bitmap.nBitmapFlags & KERNEL_BITMAP_SIGNED) != 0;
    std::vector<int> samples;
    for (int32_t y = 0; y < bitmap.nHeight; ++y) {
        const uint8_t *row = KernelLendBitmapRow(&bitmap, y);
        const size_t count = static_cast<size_t>(bitmap.nWidth) * SamplesOfPixel(depth);
        for (size_t i = 0; i < count; ++i) {
            const auto sample = static_cast<int>(GetSample(row, i, SampleBits(depth)));
            samples.push_back(isSigned ? static_cast<int16_t>(sample) : sample);
        }
    }
    return samples;
}

/** Peak signal to noise ratio. */
template <typename Samples>
double Decibels(const Samples &a, const Samples &b, size_t bits) {
    double error = a.size() == b.size() ? 1e-9 : HUGE_VAL;
    for (size_t i = 0; i < std::min(a.size(), b.size()); ++i) error += std::pow(a[i] - b[i], 2);
    const double most = MaskOf(bits);
    return 10 * std::log10(most * most * static_cast<double>(a.size()) / error);
}

/** Draws a slow wave over a blank bitmap. Numbers tell pictures apart; half of signed ones is below
 *  0. */
inline void DrawWave(_BITMAPHANDLE &bitmap, uint32_t bits, uint32_t number = 0) {
    const auto depth = static_cast<size_t>(bitmap.nBitsPerPixel);
    const bool isSigned = (bitmap.nBitmapFlags & KERNEL_BITMAP_SIGNED) != 0;
    const uint32_t least = isSigned ? 1u << (bits - 1) : 0;
    const size_t channels = SamplesOfPixel(depth);
    for (int32_t y = 0; y < bitmap.nHeight; ++y) {
        uint8_t *row = KernelLendBitmapRow(&bitmap, y);
        for (size_t i = 0; i < static_cast<size_t>(bitmap.nWidth) * channels; ++i) {
            const size_t place =
                3 * (i / channels) + 60 * (i % channels) + 2 * static_cast<size_t>(y) + 37 * number;
            const uint64_t wave = std::min(place % 256, 255 - place % 256);
            const auto value = static_cast<uint32_t>(wave * MaskOf(bits) / 127);
            PutSample(row, i, SampleBits(depth), value - least);
        }
    }
}

constexpr int OrderOf(int depth) {
    return depth == 24 ? KERNEL_ORDER_BGR : depth > 8 ? KERNEL_ORDER_GRAY : KERNEL_ORDER_RGB;
}

struct Kind {
    int depth;     ///< of the bitmap
    uint32_t bits; ///< significant ones
    bool isSigned = false;
    bool isPalette = false;
};

/** A bitmap with a wave. */
inline std::unique_ptr<TestBitmap> MakeBitmap(int width, int height, const Kind &kind,
                                              uint32_t number = 0) {
    _RGBQUAD palette[256];
    for (uint32_t i = 0; i < 256; ++i) {
        palette[i] = {static_cast<uint8_t>(i * 7), static_cast<uint8_t>(i), 9, 0};
    }
    auto bitmap = std::make_unique<TestBitmap>(width, height, kind.depth, OrderOf(kind.depth), 1,
                                               kind.isPalette ? palette : nullptr);
    if (kind.depth > 8 && kind.depth < 24) {
        bitmap->SetBits(0, static_cast<int>(kind.bits) - 1, kind.isSigned);
    }
    DrawWave(*bitmap, kind.bits, number);
    return bitmap;
}
