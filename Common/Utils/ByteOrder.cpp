// Reversal of units in place.

#include "Common/Utils/ByteOrder.h"

namespace mdicom {

namespace {

template <typename T, T (*Swap)(T)>
void ReverseAll(std::span<uint8_t> bytes) {
    const size_t count = bytes.size() / sizeof(T);
    for (size_t i = 0; i < count; ++i) {
        T value;
        std::memcpy(&value, bytes.data() + i * sizeof(T), sizeof(T));
        value = Swap(value);
        std::memcpy(bytes.data() + i * sizeof(T), &value, sizeof(T));
    }
}

uint16_t Swap16(uint16_t value) {
    return __builtin_bswap16(value);
}

uint32_t Swap32(uint32_t value) {
    return __builtin_bswap32(value);
}

uint64_t Swap64(uint64_t value) {
    return __builtin_bswap64(value);
}

} // namespace

void ReverseUnits(std::span<uint8_t> bytes, unsigned unit) {
    switch (unit) {
        case 2:
            return ReverseAll<uint16_t, Swap16>(bytes);
        case 4:
            return ReverseAll<uint32_t, Swap32>(bytes);
        case 8:
            return ReverseAll<uint64_t, Swap64>(bytes);
        default:
            return;
    }
}

} // namespace mdicom
