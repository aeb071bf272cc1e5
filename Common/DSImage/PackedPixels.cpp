// Native pixels of 1 or 12 bits.

#include "Common/DSImage/PackedPixels.h"

#include <algorithm>

#include "Common/DSImage/BitRuns.h"

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

/** Frames of few pixels that take as many bytes either way are of the standard's form. */
bool IsLoose(const _IMAGEINFO &image) {
    const uint64_t loose = LooseRowBits(image) / 8 * image.nRows;
    const uint64_t tight = (TightRowBits(image) * image.nRows + 7) / 8;
    return image.nFrameSize == loose && loose != tight;
}

} // namespace

bool HasPackedPixels(const _IMAGEINFO &image) {
    return image.nSamplesPerPixel == 1 && (image.nBitsAllocated == 1 || image.nBitsAllocated == 12);
}

void SizePackedFrame(uint64_t length, uint32_t numberOfFrames, _IMAGEINFO &image) {
    if (!HasPackedPixels(image) || image.nFrameSize == 0) return;
    const uint64_t loose = image.nFrameSize;
    const uint64_t bits = PackedFrameBits(image);
    // Whole frames of the loose form, though they may be fewer than announced.
    const uint64_t announced = std::max(1u, numberOfFrames);
    const uint64_t tight = (bits * announced + 7) / 8;
    // The filling of an odd value may have the length of what the loose form needs.
    const bool isTight = length == tight + tight % 2;
    if (!isTight && length / loose >= announced) return;
    const bool holdsTight = length * 8 / bits >= announced;
    if (!holdsTight && length >= loose && length % loose == 0) return;
    image.nFrameSize = static_cast<uint32_t>((bits + 7) / 8);
}

uint64_t PackedFrameBits(const _IMAGEINFO &image) {
    return TightRowBits(image) * image.nRows;
}

PixelBits PixelBitsOf(const _IMAGEINFO &image) {
    if (IsLoose(image)) {
        const uint64_t rowBits = LooseRowBits(image);
        return {uint64_t{image.nFrameOffset} * 8, rowBits * image.nRows, rowBits};
    }
    const uint64_t bits = PackedFrameBits(image);
    return {bits * image.nFrameIndex, bits, TightRowBits(image)};
}

bool BeginsWithByte(const _IMAGEINFO &image) {
    return IsLoose(image) || PackedFrameBits(image) % 8 == 0;
}

std::vector<uint8_t> UnpackRows(std::span<const uint8_t> frame, const _IMAGEINFO &image) {
    const uint64_t rowBits = TightRowBits(image);
    const uint64_t rowBytes = (rowBits + 7) / 8;
    std::vector<uint8_t> rows(rowBytes * image.nRows);
    for (uint64_t row = 0; row < image.nRows; ++row) {
        CopyBits(frame, row * rowBits, rowBits, rows.data() + row * rowBytes);
    }
    return rows;
}

uint32_t CountPackedFrames(uint64_t length, uint32_t numberOfFrames, const _IMAGEINFO &image) {
    if (IsLoose(image))
        return static_cast<uint32_t>(std::max<uint64_t>(1, length / image.nFrameSize));
    const uint64_t bits = std::max<uint64_t>(1, PackedFrameBits(image));
    const uint64_t most = std::max<uint64_t>(1, numberOfFrames);
    return static_cast<uint32_t>(std::clamp<uint64_t>(length * 8 / bits, 1, most));
}

std::vector<uint8_t> PackedFrame(std::span<const uint8_t> value, const _IMAGEINFO &image) {
    const PixelBits place = PixelBitsOf(image);
    const uint64_t rowBits = TightRowBits(image);
    std::vector<uint8_t> frame((PackedFrameBits(image) + 7) / 8);
    std::vector<uint8_t> bits((rowBits + 7) / 8);
    for (uint64_t row = 0; row < image.nRows; ++row) {
        CopyBits(value, place.first + row * place.rowStride, rowBits, bits.data());
        StoreBits(bits.data(), rowBits, frame, row * rowBits);
    }
    return frame;
}

std::vector<uint8_t> InsertPackedFrame(std::span<const uint8_t> value, const _IMAGEINFO &image,
                                       uint32_t frames, uint32_t index, const uint8_t *rows) {
    constexpr uint64_t kLongest = 0xFFFFFFFD;
    const uint64_t frameBits = PackedFrameBits(image);
    const uint64_t rowBits = TightRowBits(image);
    const uint64_t bytes = (frameBits * (uint64_t{frames} + 1) + 7) / 8;
    if (bytes > kLongest) return {};
    std::vector<uint8_t> result(bytes);
    _IMAGEINFO place = image;
    for (uint32_t from = 0; from < frames; ++from) {
        place.nFrameIndex = from;
        place.nFrameOffset = from * image.nFrameSize;
        const uint64_t target = from < index ? from : from + uint64_t{1};
        StoreBits(PackedFrame(value, place).data(), frameBits, result, target * frameBits);
    }
    for (uint64_t row = 0; row < image.nRows; ++row) {
        StoreBits(rows + row * ((rowBits + 7) / 8), rowBits, result,
                  index * frameBits + row * rowBits);
    }
    return result;
}

std::vector<uint8_t> RemovePackedFrames(std::span<const uint8_t> value, const _IMAGEINFO &image,
                                        uint32_t frames, uint32_t first, uint32_t count) {
    const uint64_t frameBits = PackedFrameBits(image);
    std::vector<uint8_t> result((frameBits * (frames - count) + 7) / 8);
    _IMAGEINFO place = image;
    uint64_t target = 0;
    for (uint32_t from = 0; from < frames; ++from) {
        if (from >= first && from - first < count) continue;
        place.nFrameIndex = from;
        place.nFrameOffset = from * image.nFrameSize;
        StoreBits(PackedFrame(value, place).data(), frameBits, result, target++ * frameBits);
    }
    return result;
}

} // namespace mdicom
