// Which images are worth decoding.

#pragma once

#include "Support.h"

namespace fuzz {

/** Bigger pictures are no other ones, and only cost time. */
inline bool IsSmall(const _DICOMIMAGE &image) {
    constexpr uint64_t kMostBytes = 16 << 20;
    const uint64_t bits = std::max(image.nBitsAllocated, image.nBitsPerPixel);
    const uint64_t samples = std::max(image.nSamplesPerPixel, 1u);
    return uint64_t{image.nRows} * image.nColumns <=
               kMostBytes / std::max<uint64_t>(bits, 8) * 8 / std::max<uint64_t>(samples, 3) &&
           samples <= 4 && bits <= 64;
}

/** True if all images of a data set are, and its frames are few. */
inline bool AreImagesSmall(MDicomDS &ds) {
    uint64_t pixels = 0;
    for (_DICOMELEMENT *element = ds.FindFirstElement(nullptr, TAG_PIXEL_DATA, 0);
         element != nullptr; element = ds.FindNextElement(element, 0)) {
        _DICOMIMAGE image{};
        if (ds.GetInfoImage(element, &image, 0) != DICOM_SUCCESS) continue;
        if (!IsSmall(image)) return false;
        pixels += uint64_t{image.nRows} * image.nColumns * image.nFrameCount;
    }
    return pixels <= 1 << 20;
}

} // namespace fuzz
