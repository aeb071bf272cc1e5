// Native pixels of 1 or 12 bits (PS 3.5, 8.1.1): the standard leaves nothing between any two of
// them, frames included. Some writers begin each row of single bits with a byte, or give each
// sample of 12 bits a word.

#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "MDicomTypes.h"

namespace mdicom {

/** True for an image whose native frames have such pixels. */
bool HasPackedPixels(const _IMAGEINFO &image);

/** Gives an image the frame size of pixels without anything between them, unless its value has
 *  the length of frames in the other form. */
void SizePackedFrame(uint64_t length, uint32_t numberOfFrames, _IMAGEINFO &image);

/** Where the pixels of a frame lie in the value, in bits. */
struct PixelBits {
    uint64_t first;     ///< of the frame
    uint64_t count;     ///< up to the end of its last row
    uint64_t rowStride; ///< from row to row
};

/** Bits of a frame without anything between its pixels. */
uint64_t PackedFrameBits(const _IMAGEINFO &image);

/** The place of the frame that a description was made for. */
PixelBits PixelBitsOf(const _IMAGEINFO &image);

/** True if each frame begins with a byte, in the form of the value. */
bool BeginsWithByte(const _IMAGEINFO &image);

/** The rows of a frame without anything between its pixels, each beginning with a byte. Throws
 *  std::bad_alloc. */
std::vector<uint8_t> UnpackRows(std::span<const uint8_t> frame, const _IMAGEINFO &image);

/** Frames in a value of so many bytes. */
uint32_t CountPackedFrames(uint64_t length, uint32_t numberOfFrames, const _IMAGEINFO &image);

/** A value with a frame more, whose rows begin with bytes. Nothing if no element holds it. Throws
 *  std::bad_alloc. */
std::vector<uint8_t> InsertPackedFrame(std::span<const uint8_t> value, const _IMAGEINFO &image,
                                       uint32_t frames, uint32_t index, const uint8_t *rows);

/** A value without some of its frames. Throws std::bad_alloc. */
std::vector<uint8_t> RemovePackedFrames(std::span<const uint8_t> value, const _IMAGEINFO &image,
                                        uint32_t frames, uint32_t first, uint32_t count);

/** The bits of the located frame, from the first byte on. Throws std::bad_alloc. */
std::vector<uint8_t> PackedFrame(std::span<const uint8_t> value, const _IMAGEINFO &image);

} // namespace mdicom
