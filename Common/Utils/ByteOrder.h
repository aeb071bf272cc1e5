// Numbers in bytes, in either order.

#pragma once

#include <bit>
#include <cstdint>
#include <cstring>
#include <span>

namespace mdicom {

static_assert(std::endian::native == std::endian::little,
              "the value store hands out little-endian numbers");

template <typename T>
T LoadNative(const uint8_t *bytes) {
    T value;
    std::memcpy(&value, bytes, sizeof(T));
    return value;
}

inline uint16_t Load16(const uint8_t *bytes, bool littleEndian) {
    const auto value = LoadNative<uint16_t>(bytes);
    return littleEndian ? value : __builtin_bswap16(value);
}

inline uint32_t Load32(const uint8_t *bytes, bool littleEndian) {
    const auto value = LoadNative<uint32_t>(bytes);
    return littleEndian ? value : __builtin_bswap32(value);
}

inline void Store16(uint8_t *bytes, uint16_t value, bool littleEndian) {
    if (!littleEndian) value = __builtin_bswap16(value);
    std::memcpy(bytes, &value, sizeof value);
}

inline void Store32(uint8_t *bytes, uint32_t value, bool littleEndian) {
    if (!littleEndian) value = __builtin_bswap32(value);
    std::memcpy(bytes, &value, sizeof value);
}

/** Reverses each whole unit (2, 4 or 8 bytes) in place; a rest shorter than a unit stays. */
void ReverseUnits(std::span<uint8_t> bytes, unsigned unit);

} // namespace mdicom
