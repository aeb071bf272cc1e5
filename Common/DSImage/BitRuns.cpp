// Pixels of fewer bits than their bytes have.

#include "Common/DSImage/BitRuns.h"

#include <algorithm>
#include <array>
#include <cstring>

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

} // namespace mdicom
