// Rows of a codec's depth turned into rows of a bitmap's.

#include "Common/CompUtil/RowConversion.h"

#include <cstring>

namespace mdicom {

namespace {

uint16_t WordAt(const uint8_t *row, uint32_t index) {
    uint16_t word = 0;
    std::memcpy(&word, row + size_t{index} * 2, sizeof word);
    return word;
}

/** Bytes into wider samples of the host's order. */
template <typename Wide>
void Widen8(const uint8_t *row, uint8_t *out, uint32_t width, bool isSigned) {
    for (uint32_t i = 0; i < width; ++i) {
        const int32_t value = isSigned ? static_cast<int8_t>(row[i]) : row[i];
        const auto wide = static_cast<Wide>(value);
        std::memcpy(out + size_t{i} * sizeof wide, &wide, sizeof wide);
    }
}

void Widen16(const uint8_t *row, uint8_t *out, uint32_t width, bool isSigned) {
    for (uint32_t i = 0; i < width; ++i) {
        const uint16_t word = WordAt(row, i);
        const int32_t value = isSigned ? static_cast<int16_t>(word) : word;
        std::memcpy(out + size_t{i} * sizeof value, &value, sizeof value);
    }
}

void Narrow16(const uint8_t *row, uint8_t *out, uint32_t width, bool) {
    for (uint32_t i = 0; i < width; ++i) out[i] = static_cast<uint8_t>(WordAt(row, i));
}

/** Two samples in three bytes, the first in the low bits. */
void StoreTwelve(uint8_t *out, uint32_t first, uint32_t second) {
    out[0] = static_cast<uint8_t>(first);
    out[1] = static_cast<uint8_t>((first >> 8 & 0xF) | second << 4);
    out[2] = static_cast<uint8_t>(second >> 4);
}

template <typename Sample>
void Pack12(Sample sampleAt, uint8_t *out, uint32_t width) {
    uint32_t i = 0;
    for (; i + 1 < width; i += 2, out += 3) StoreTwelve(out, sampleAt(i), sampleAt(i + 1));
    if (i == width) return;
    const uint32_t last = sampleAt(i);
    out[0] = static_cast<uint8_t>(last);
    out[1] = static_cast<uint8_t>(last >> 8 & 0xF);
}

void Pack16To12(const uint8_t *row, uint8_t *out, uint32_t width, bool) {
    Pack12([row](uint32_t i) { return uint32_t{WordAt(row, i)}; }, out, width);
}

void Pack8To12(const uint8_t *row, uint8_t *out, uint32_t width, bool isSigned) {
    Pack12(
        [=](uint32_t i) {
            return static_cast<uint32_t>(isSigned ? static_cast<int8_t>(row[i]) : row[i]);
        },
        out, width);
}

/** The leftmost pixel goes to the high bit. */
void PackBits(const uint8_t *row, uint8_t *out, uint32_t width, bool) {
    std::memset(out, 0, width / 8 + (width % 8 != 0 ? 1 : 0));
    for (uint32_t i = 0; i < width; ++i) {
        out[i / 8] = static_cast<uint8_t>(out[i / 8] | (row[i] & 1) << (7 - i % 8));
    }
}

} // namespace

std::optional<RowConversion> RowConversion::Choose(int32_t from, int32_t to,
                                                   int32_t significantBits) {
    struct Row {
        int32_t from;
        int32_t to;
        Function convert;
    };
    static constexpr Row kRows[] = {
        {8, 1, PackBits},         {8, 12, Pack8To12}, {8, 16, Widen8<uint16_t>},
        {8, 32, Widen8<int32_t>}, {16, 8, Narrow16},  {16, 12, Pack16To12},
        {16, 32, Widen16},
    };
    if (significantBits > to) return std::nullopt;
    for (const Row &row : kRows) {
        if (row.from == from && row.to == to) return RowConversion(row.convert);
    }
    return std::nullopt;
}

} // namespace mdicom
