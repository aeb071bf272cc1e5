// Native pixels of 1 or 12 bits.

#include "Common/DSImage/PackedPixels.h"

#include <algorithm>

namespace mdicom {

namespace {

/** Bits of a row in the form that has something between its pixels, or behind them. */
uint64_t LooseRowBits(const _IMAGEINFO &image) {
    return image.nBitsAllocated == 1 ? (uint64_t{image.nColumns} + 7) / 8 * 8
                                     : uint64_t{image.nColumns} * 16;
}

/** Bits of a row without. */
uint64_t TightRowBits(const _IMAGEINFO &image) {
    return uint64_t{image.nColumns} * image.nBitsAllocated;
}

bool IsLoose(const _IMAGEINFO &image) {
    return image.nFrameSize == LooseRowBits(image) / 8 * image.nRows;
}

} // namespace

bool HasPackedPixels(const _IMAGEINFO &image) {
    return image.nSamplesPerPixel == 1 && (image.nBitsAllocated == 1 || image.nBitsAllocated == 12);
}

void SizePackedFrame(uint64_t length, uint32_t numberOfFrames, _IMAGEINFO &image) {
    if (!HasPackedPixels(image) || image.nFrameSize == 0) return;
    const uint64_t loose = image.nFrameSize;
    const uint64_t bits = TightRowBits(image) * image.nRows;
    // Whole frames of the loose form, though they may be fewer than announced.
    const uint64_t announced = std::max(1u, numberOfFrames);
    if (length / loose >= announced) return;
    const bool holdsTight = length * 8 / bits >= announced;
    if (!holdsTight && length >= loose && length % loose == 0) return;
    image.nFrameSize = static_cast<uint32_t>((bits + 7) / 8);
}

PixelBits PixelBitsOf(const _IMAGEINFO &image) {
    if (IsLoose(image)) {
        const uint64_t rowBits = LooseRowBits(image);
        return {uint64_t{image.nFrameOffset} * 8, rowBits * image.nRows, rowBits};
    }
    const uint64_t bits = TightRowBits(image) * image.nRows;
    return {bits * image.nFrameIndex, bits, TightRowBits(image)};
}

uint32_t CountPackedFrames(uint64_t length, uint32_t numberOfFrames, const _IMAGEINFO &image) {
    if (IsLoose(image))
        return static_cast<uint32_t>(std::max<uint64_t>(1, length / image.nFrameSize));
    const uint64_t bits = std::max<uint64_t>(1, TightRowBits(image) * image.nRows);
    const uint64_t most = std::max<uint64_t>(1, numberOfFrames);
    return static_cast<uint32_t>(std::clamp<uint64_t>(length * 8 / bits, 1, most));
}

} // namespace mdicom
