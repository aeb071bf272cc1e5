// Bitmaps for tests.

#pragma once

#include <cstring>
#include <initializer_list>
#include <vector>

#include "kernel/Mvkrnx.h"

/** A bitmap that frees itself. */
struct TestBitmap : _BITMAPHANDLE {
    TestBitmap() { KernelInitBitmap(this, sizeof(_BITMAPHANDLE), 0, 0, 0); }
    TestBitmap(int width, int height, int depth, int order = KERNEL_ORDER_GRAY, int view = 1,
               const _RGBQUAD *palette = nullptr) {
        KernelCreateBitmap(this, sizeof(_BITMAPHANDLE), KERNEL_MEMORY_OWN, width, height, depth,
                           order, palette, view, nullptr, 0);
    }
    ~TestBitmap() { KernelFreeBitmap(this); }
    TestBitmap(const TestBitmap &) = delete;
    TestBitmap &operator=(const TestBitmap &) = delete;

    void PutBytes(int row, std::vector<uint8_t> bytes) {
        KernelPutBitmapRow(this, bytes.data(), row, bytes.size());
    }
    void PutWords(int row, std::vector<uint16_t> words) {
        KernelPutBitmapRow(this, words.data(), row, words.size() * 2);
    }
    std::vector<uint8_t> Bytes(int row, size_t count) const {
        std::vector<uint8_t> bytes(count);
        KernelGetBitmapRow(this, bytes.data(), row, count);
        return bytes;
    }
    std::vector<uint16_t> Words(int row, size_t count) const {
        std::vector<uint16_t> words(count);
        KernelGetBitmapRow(this, words.data(), row, count * 2);
        return words;
    }
    /** A LUT of 16 bits in use, gray. */
    void UseLut16(const std::vector<uint16_t> &grays) {
        auto *lut =
            static_cast<_RGBQUAD16 *>(KernelAlloc(grays.size(), sizeof(_RGBQUAD16), 0, nullptr));
        for (size_t i = 0; i < grays.size(); ++i) lut[i] = {grays[i], grays[i], grays[i], 0};
        pLUT16 = lut;
        nLUT16Length = static_cast<uint32_t>(grays.size());
        nBitmapFlags |= KERNEL_BITMAP_LUT_IN_USE;
    }
    void SetBits(int low, int high, bool isSigned) {
        nLowBit = low;
        nHighBit = high;
        if (isSigned) nBitmapFlags |= KERNEL_BITMAP_SIGNED;
    }
};

using Bytes = std::vector<uint8_t>;
using Words = std::vector<uint16_t>;
