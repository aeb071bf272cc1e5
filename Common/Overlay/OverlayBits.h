// Bits of overlay data: where a frame lies among them (PS 3.5, 8.1.2), and their way to and from
// rows of one-bit bitmaps, which have the leftmost pixel in the high bit.

#pragma once

#include <cstddef>
#include <cstdint>

namespace mdicom {

/** Rows and streams are moved eight bytes at a time: room that they need behind their last byte. */
constexpr size_t kBitSlack = 16;

struct OverlaySize {
    uint16_t rows;
    uint16_t columns;
    uint32_t frames;

    uint64_t FrameBits() const { return uint64_t{rows} * columns; }
    /** Bytes of all frames, padded to even. */
    uint64_t DataLength() const;
    /** True if the length is that of data whose frames were padded to whole bytes of rows, as some
     *  writers do. */
    bool IsPaddedLength(uint64_t length) const;
    /** First bit of a frame in data of a length. */
    uint64_t FirstBit(uint32_t frame, uint64_t length) const;
};

/** Takes count pixels out of a stream of which they begin at a bit. The last byte of the row is
 *  filled up with zeroes. */
void UnpackRow(const uint8_t *stream, uint64_t bit, uint32_t count, uint8_t *row);

/** Adds count pixels of a row, each turned over by inversion 0xFF, to a stream that has zeroes from
 *  the bit on. */
void PackRow(const uint8_t *row, uint32_t count, uint8_t inversion, uint8_t *stream, uint64_t bit);

} // namespace mdicom
