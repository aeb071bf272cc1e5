// Bytes and bits of a stream that is written into room of a fixed size.

#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>

#include "companions/MFCMPX/BitReader.h"

namespace jpeg {

/** Writes nothing beyond its room; what did not fit is told at the end. */
class BitWriter {
  public:
    explicit BitWriter(std::span<uint8_t> room) : room_(room) {}

    bool Overflowed() const { return overflowed_; }
    size_t Size() const { return size_; }

    void Put8(unsigned value) {
        if (size_ == room_.size()) {
            overflowed_ = true;
        } else {
            room_[size_++] = static_cast<uint8_t>(value);
        }
    }
    void Put16(size_t value) {
        Put8(static_cast<unsigned>(value >> 8 & 255));
        Put8(static_cast<unsigned>(value & 255));
    }

    /** Puts up to 32 bits of entropy-coded data; the value has no others. */
    void PutBits(uint32_t value, unsigned bits) {
        held_ = held_ << bits | value;
        count_ += bits;
        if (count_ >= 32) PutWord();
    }

    /** Fills up the last byte with ones, as it has to be before a marker. */
    void Align() {
        const unsigned missing = (8 - count_ % 8) % 8;
        PutBits((1u << missing) - 1, missing);
        while (count_ > 0) {
            count_ -= 8;
            PutStuffed(static_cast<uint8_t>(held_ >> count_));
        }
    }

  private:
    void PutStuffed(uint8_t byte) {
        Put8(byte);
        if (byte == 0xFF) Put8(0);
    }

    /** The upper 32 of the bits that are held. */
    void PutWord() {
        count_ -= 32;
        const auto word = static_cast<uint32_t>(held_ >> count_);
        if (!HasFF(word) && room_.size() - size_ >= 4) {
            const uint32_t ordered =
                std::endian::native == std::endian::little ? __builtin_bswap32(word) : word;
            std::memcpy(room_.data() + size_, &ordered, sizeof ordered);
            size_ += 4;
            return;
        }
        for (unsigned shift = 32; shift > 0; shift -= 8) {
            PutStuffed(static_cast<uint8_t>(word >> (shift - 8)));
        }
    }

    std::span<uint8_t> room_;
    size_t size_ = 0;
    uint64_t held_ = 0; ///< bits that wait, at the lower end
    unsigned count_ = 0;
    bool overflowed_ = false;
};

} // namespace jpeg
