// Bits of entropy-coded data (ISO/IEC 10918-1, F.2.2.5), 64 at a time.

#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
#include <span>

#include "companions/MFCMPX/JpegMarkers.h"

namespace jpeg {

/** Eight bytes of a stream as a number, the first of them highest. */
inline uint64_t LoadBigEndian(const uint8_t *bytes) {
    uint64_t word = 0;
    std::memcpy(&word, bytes, sizeof word);
    return std::endian::native == std::endian::little ? __builtin_bswap64(word) : word;
}

/** Whether a byte of the word is 0xFF: marker, or a byte with a stuffed zero behind it. */
constexpr bool HasFF(uint64_t word) {
    return ((~word - 0x0101010101010101) & word & 0x8080808080808080) != 0;
}

/**
 * Reads up to the next marker; zeros follow then, and Overrun tells whether any of them was used.
 * The bits stand at the upper end of a word. Those below the valid ones are zero or what is going
 * to stand there anyway, so that filling up is an OR.
 */
class BitReader {
  public:
    explicit BitReader(std::span<const uint8_t> data)
        : begin_(data.data()), next_(data.data()), end_(data.data() + data.size()) {}

    /** Makes 56 to 63 bits valid. */
    void Refill() {
        if (end_ - next_ >= 8) {
            const uint64_t word = LoadBigEndian(next_);
            if (!HasFF(word)) {
                bits_ |= word >> count_;
                next_ += (63 - count_) >> 3;
                count_ |= 56;
                return;
            }
        }
        RefillBytes();
    }

    /** The next 1 to 32 bits. */
    uint32_t Peek(unsigned bits) const { return static_cast<uint32_t>(bits_ >> (64 - bits)); }
    void Skip(unsigned bits) {
        bits_ <<= bits;
        count_ -= bits;
    }
    /** Takes 1 to 16 bits. */
    uint32_t Take(unsigned bits) {
        if (count_ < bits) Refill();
        const uint32_t value = Peek(bits);
        Skip(bits);
        return value;
    }

    bool Overrun() const { return padding_ > count_; }

    /** Goes behind the restart marker that has to come next; false if another marker does. */
    bool Restart(unsigned number) {
        Cursor cursor = AtNext();
        const std::optional<uint8_t> marker = cursor.NextMarker();
        if (marker != RST0 + (number & 7)) return false;
        next_ += cursor.Position();
        bits_ = 0;
        count_ = 0;
        padding_ = 0;
        return true;
    }

    /** Whether nothing or EOI comes next. */
    bool AtEnd() const { return AtNext().NextMarker().value_or(EOI) == EOI; }

    /** Bytes read; a marker that ended the data is not among them. */
    size_t Position() const { return static_cast<size_t>(next_ - begin_); }

  private:
    Cursor AtNext() const { return Cursor({next_, end_}); }

    bool NextByte(uint8_t *byte) {
        if (next_ == end_) return false;
        *byte = *next_;
        if (*byte != 0xFF) {
            ++next_;
            return true;
        }
        if (end_ - next_ < 2 || next_[1] != 0) return false;
        next_ += 2;
        return true;
    }

    void RefillBytes() {
        while (count_ < 56) {
            uint8_t byte = 0;
            if (!NextByte(&byte)) {
                byte = 0;
                padding_ += 8;
            }
            bits_ |= uint64_t{byte} << (56 - count_);
            count_ += 8;
        }
    }

    const uint8_t *begin_;
    const uint8_t *next_;
    const uint8_t *end_;
    uint64_t bits_ = 0;
    unsigned count_ = 0;
    uint64_t padding_ = 0; ///< zero bits that were put behind the data
};

} // namespace jpeg
