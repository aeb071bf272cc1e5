// Pixels of fewer bits than their bytes have, one behind the other (PS 3.5, 8.1.1).

#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace mdicom {

/** Copies bits from any place in a stream, lowest bit of a byte first, to the start of a target.
 *  Bits behind the source's end are zero, as are those that fill the target's last byte. */
void CopyBits(std::span<const uint8_t> source, uint64_t firstBit, uint64_t bits, uint8_t *target);

/** Writes the first bits of a source to any place in a stream, and leaves the bits around. */
void StoreBits(const uint8_t *source, uint64_t bits, std::span<uint8_t> target, uint64_t firstBit);

/** Turns the order of the bits in each byte. */
void ReverseBits(std::span<uint8_t> bytes);

/** Spreads bits, lowest first, over a byte each: 0, or the value of a set bit. */
void SpreadBits(const uint8_t *bits, size_t count, uint8_t set, uint8_t *target);

/** Packs samples of 12 bits, a stride apart in words, two in three bytes, the first in the low
 * bits.
 */
void PackTwelve(const uint8_t *words, size_t stride, size_t count, uint8_t *target);

/** Gives packed samples of 12 bits words of their own. */
void UnpackTwelve(const uint8_t *packed, size_t count, uint8_t *words);

} // namespace mdicom
