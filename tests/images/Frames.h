// Frames for the tests of their way into data sets and out of them.

#pragma once

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "MDicom.h"
#include "MDicomFlat.h"
#include "imageinfo/Image.h"
#include "support/Bitmaps.h"

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
    return M_DicomGetImage(&ds, element, &bitmap, sizeof(_BITMAPHANDLE), frame, depth, 0, flags,
                           nullptr, nullptr);
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
