// Native pixels of 1 or 12 bits (PS 3.5, 8.1.1): the standard leaves nothing between any two of
// them, frames included. Some writers begin each row of single bits with a byte, or give each
// sample of 12 bits a word.

#pragma once

#include <cstdint>

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

/** The place of the frame that a description was made for. */
PixelBits PixelBitsOf(const _IMAGEINFO &image);

/** Frames in a value of so many bytes. */
uint32_t CountPackedFrames(uint64_t length, uint32_t numberOfFrames, const _IMAGEINFO &image);

} // namespace mdicom
