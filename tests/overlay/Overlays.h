// Overlays for tests, and their data worked out pixel by pixel.

#pragma once

#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "MDicom.h"
#include "MDicomFlat.h"
#include "support/Images.h"

struct mdicom::DataSetAccess {
    static uint16_t Load(MDicomDS &ds, _BITMAPHANDLE *bitmap) {
        return ds.LoadOverlaysIntoBitmap(bitmap, sizeof *bitmap, 0);
    }
    static uint16_t Save(MDicomDS &ds, _BITMAPHANDLE *bitmap) {
        return ds.SaveOverlaysFromBitmap(bitmap, 0);
    }
    static uint16_t GetFrame(MDicomDS &ds, uint32_t index, _BITMAPHANDLE *bitmap, uint32_t frame) {
        return ds.GetOverlayBitmap(index, bitmap, sizeof *bitmap, frame, 0);
    }
    static uint16_t SetFrame(MDicomDS &ds, uint32_t index, _BITMAPHANDLE *bitmap, uint32_t frame) {
        return ds.SetOverlayBitmap(index, bitmap, frame, 0);
    }
};

using mdicom::DataSetAccess;
using support::SetNumber;
using Pixels = std::vector<bool>; ///< in row order, frame after frame

inline _OVERLAYATTRIBUTES OverlayOf(uint16_t rows, uint16_t columns, uint32_t frames = 1) {
    _OVERLAYATTRIBUTES attributes{};
    attributes.nStructSize = sizeof attributes;
    attributes.nRows = rows;
    attributes.nColumns = columns;
    attributes.szType[0] = L'G';
    attributes.nFramesInOverlay = frames;
    return attributes;
}

inline void SetOverlay(MDicomDS &ds, uint32_t index, const _OVERLAYATTRIBUTES &attributes) {
    ASSERT_EQ(ds.SetOverlayAttributes(index, &attributes, 0), 0);
}

inline Pixels RandomPixels(std::mt19937 &random, size_t count) {
    Pixels pixels(count);
    for (size_t i = 0; i < count; ++i) pixels[i] = random() & 1;
    return pixels;
}

/** Pixels at their place in a value: pixel k is bit k % 8 of byte k / 8. */
inline void PutPixels(const Pixels &pixels, size_t firstBit, Bytes &value) {
    for (size_t k = 0; k < pixels.size(); ++k) {
        const size_t bit = firstBit + k;
        if (pixels[k]) value[bit / 8] = static_cast<uint8_t>(value[bit / 8] | 1 << bit % 8);
    }
}

/** The pixels of a top left one-bit bitmap. */
inline Pixels PixelsOf(const TestBitmap &bitmap) {
    const std::vector<int> samples = SamplesOf(bitmap);
    return Pixels(samples.begin(), samples.end());
}

/** Draws a picture into the stored rows of a bitmap of view 1, 2, 3, 4 or 5. */
inline void Draw(TestBitmap &bitmap, const Pixels &pixels, size_t first = 0) {
    const int view = bitmap.nViewPerspective;
    const int rows = view == 5 ? bitmap.nWidth : bitmap.nHeight;
    const int columns = view == 5 ? bitmap.nHeight : bitmap.nWidth;
    for (int r = 0; r < rows; ++r) {
        Bytes row(bitmap.nBytesPerLine, 0xFF); // what is no pixel must not matter
        for (int c = 0; c < columns; ++c) {
            int y = view == 5 ? c : view >= 3 ? rows - 1 - r : r;
            int x = view == 5 ? r : view == 2 || view == 3 ? columns - 1 - c : c;
            const auto k = first + static_cast<size_t>(y * bitmap.nWidth + x);
            const auto bit = static_cast<uint8_t>(0x80 >> c % 8);
            auto &byte = row[static_cast<size_t>(c) / 8];
            byte = static_cast<uint8_t>(pixels[k] ? byte | bit : byte & ~bit);
        }
        bitmap.PutBytes(r, row);
    }
}

inline Bytes DataOf(MDicomDS &ds, uint32_t tag = 0x60003000) {
    _DICOMELEMENT *element = ds.FindFirstElement(nullptr, tag, 1);
    Bytes value(element != nullptr ? element->nLength : 0);
    if (!value.empty()) ds.GetBinaryValue(element, value.data(), element->nLength);
    return value;
}

inline void SetData(MDicomDS &ds, Bytes value, const char *vr = "OW", uint32_t tag = 0x60003000) {
    const auto code = static_cast<uint16_t>(vr[0] << 8 | vr[1]);
    _DICOMELEMENT *element = ds.InsertElement(nullptr, 0, tag, code, 0, 0);
    ds.SetBinaryValue(element, value.data(), static_cast<uint32_t>(value.size()));
}
