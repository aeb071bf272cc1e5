// Packed samples of 12 bits: two in three bytes, the first in the low bits.

#pragma once

#include <cstddef>
#include <cstdint>

namespace kernel {

inline void Unpack12(const uint8_t *row, uint16_t *samples, size_t count) {
    for (size_t pair = 0; pair < count / 2; ++pair) {
        const uint8_t *bytes = row + pair * 3;
        samples[pair * 2] = static_cast<uint16_t>(bytes[0] | (bytes[1] & 0x0F) << 8);
        samples[pair * 2 + 1] = static_cast<uint16_t>(bytes[1] >> 4 | bytes[2] << 4);
    }
    if (count % 2 != 0) {
        const uint8_t *bytes = row + count / 2 * 3;
        samples[count - 1] = static_cast<uint16_t>(bytes[0] | (bytes[1] & 0x0F) << 8);
    }
}

inline void Pack12(const uint16_t *samples, uint8_t *row, size_t count) {
    for (size_t pair = 0; pair < count / 2; ++pair) {
        const uint32_t both = (samples[pair * 2] & 0xFFFu) |
                              static_cast<uint32_t>(samples[pair * 2 + 1] & 0xFFF) << 12;
        row[pair * 3] = static_cast<uint8_t>(both);
        row[pair * 3 + 1] = static_cast<uint8_t>(both >> 8);
        row[pair * 3 + 2] = static_cast<uint8_t>(both >> 16);
    }
    if (count % 2 != 0) {
        row[count / 2 * 3] = static_cast<uint8_t>(samples[count - 1]);
        row[count / 2 * 3 + 1] = samples[count - 1] >> 8 & 0x0F;
    }
}

} // namespace kernel
