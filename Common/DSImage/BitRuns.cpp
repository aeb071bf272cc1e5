// Pixels of fewer bits than their bytes have.

#include "Common/DSImage/BitRuns.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "Common/Utils/ByteOrder.h"

namespace mdicom {

namespace {

constexpr auto kReversed = [] {
    std::array<uint8_t, 256> table{};
    for (unsigned i = 0; i < table.size(); ++i) {
        for (unsigned bit = 0; bit < 8; ++bit) {
            if ((i >> bit & 1) != 0) table[i] |= static_cast<uint8_t>(0x80u >> bit);
        }
    }
    return table;
}();

/** The low bits of a byte that are set up to a count of 8. */
uint8_t LowBits(uint64_t count) {
    return static_cast<uint8_t>((1u << count) - 1);
}

} // namespace

void CopyBits(std::span<const uint8_t> source, uint64_t firstBit, uint64_t bits, uint8_t *target) {
    const uint64_t bytes = (bits + 7) / 8;
    const unsigned shift = firstBit % 8;
    const uint64_t begin = std::min<uint64_t>(firstBit / 8, source.size());
    const uint8_t *from = source.data() + begin;
    const uint64_t there = std::min<uint64_t>(bytes, source.size() - begin);
    if (shift == 0) {
        std::copy_n(from, there, target);
    } else {
        // The byte behind the last whole one may not be there.
        const uint64_t pairs = std::min<uint64_t>(there, source.size() - begin - (there > 0));
        for (uint64_t i = 0; i < pairs; ++i) {
            target[i] = static_cast<uint8_t>(from[i] >> shift | from[i + 1] << (8 - shift));
        }
        for (uint64_t i = pairs; i < there; ++i) target[i] = static_cast<uint8_t>(from[i] >> shift);
    }
    std::fill(target + there, target + bytes, uint8_t{0});
    if (bits % 8 != 0) target[bytes - 1] &= LowBits(bits % 8);
}

void StoreBits(const uint8_t *source, uint64_t bits, std::span<uint8_t> target, uint64_t firstBit) {
    const unsigned shift = firstBit % 8;
    uint8_t *to = target.data() + firstBit / 8;
    for (uint64_t left = bits; left > 0; ++source, ++to) {
        const uint64_t count = std::min<uint64_t>(left, 8);
        const unsigned mask = LowBits(count);
        const unsigned value = *source & mask;
        to[0] = static_cast<uint8_t>((to[0] & ~(mask << shift)) | value << shift);
        if (shift + count > 8) {
            to[1] = static_cast<uint8_t>((to[1] & ~(mask >> (8 - shift))) | value >> (8 - shift));
        }
        left -= count;
    }
}

void ReverseBits(std::span<uint8_t> bytes) {
    for (uint8_t &byte : bytes) byte = kReversed[byte];
}

void SpreadBits(const uint8_t *bits, size_t count, uint8_t set, uint8_t *target) {
    for (size_t i = 0; i < count; ++i) {
        target[i] = (bits[i / 8] >> (i % 8) & 1) != 0 ? set : uint8_t{0};
    }
}

void PackTwelve(const uint8_t *words, size_t stride, size_t count, uint8_t *target) {
    for (size_t i = 0; i < count; ++i, words += stride) {
        const uint32_t value = LoadNative<uint16_t>(words) & 0xFFF;
        uint8_t *to = target + i / 2 * 3;
        if (i % 2 == 0) {
            to[0] = static_cast<uint8_t>(value);
            to[1] = static_cast<uint8_t>(value >> 8);
        } else {
            to[1] = static_cast<uint8_t>(to[1] | value << 4);
            to[2] = static_cast<uint8_t>(value >> 4);
        }
    }
}

void UnpackTwelve(const uint8_t *packed, size_t count, uint8_t *words) {
    for (size_t i = 0; i < count; ++i, words += 2) {
        const uint8_t *from = packed + i / 2 * 3;
        const unsigned value =
            i % 2 == 0 ? from[0] | (from[1] & 0xFu) << 8 : from[1] >> 4 | from[2] << 4;
        Store16(words, static_cast<uint16_t>(value), true);
    }
}

} // namespace mdicom
