// Colours of palettes as bytes.

#include "Common/DSImage/PaletteColors.h"

#include <algorithm>

namespace mdicom {

namespace {

/** First mapped values are signed where the pixels are. */
int32_t FirstOf(const _IMAGEINFO &image, uint32_t first) {
    return image.nPixelRepresentation != 0 ? static_cast<int16_t>(first)
                                           : static_cast<int32_t>(first);
}

/** Bits to drop from the entries of all three tables. Writers of 8-bit tables are known to
 *  announce 16 bits. */
uint32_t ShiftOf(const _IMAGEINFO &image) {
    uint32_t bits = std::max({image.nRedBits, image.nGreenBits, image.nBlueBits});
    if (bits <= 8) return 0;
    uint16_t greatest = 0;
    const auto look = [&greatest](const uint16_t *entries, uint32_t count) {
        if (entries == nullptr || count == 0) return;
        greatest = std::max(greatest, *std::max_element(entries, entries + count));
    };
    look(image.pRedTable, image.nRedEntries);
    look(image.pGreenTable, image.nGreenEntries);
    look(image.pBlueTable, image.nBlueEntries);
    return greatest <= 255 ? 0 : std::min(bits, 16u) - 8;
}

} // namespace

PaletteColors::PaletteColors(const _IMAGEINFO &image) {
    const uint32_t shift = ShiftOf(image);
    const auto make = [&](const uint16_t *entries, uint32_t count, uint32_t first) {
        return Table{entries, entries != nullptr ? static_cast<int32_t>(count) : 0,
                     FirstOf(image, first), shift};
    };
    m_Red = make(image.pRedTable, image.nRedEntries, image.nRedFirstValue);
    m_Green = make(image.pGreenTable, image.nGreenEntries, image.nGreenFirstValue);
    m_Blue = make(image.pBlueTable, image.nBlueEntries, image.nBlueFirstValue);
    m_First = std::min({m_Red.first, m_Green.first, m_Blue.first});
}

uint8_t PaletteColors::Look(const Table &table, int32_t value) {
    if (table.count == 0) return 0;
    const int32_t index = std::clamp(value - table.first, 0, table.count - 1);
    return static_cast<uint8_t>(std::min(table.entries[index] >> table.shift, 255));
}

_RGBQUAD PaletteColors::ColorOf(int32_t value) const {
    return {Look(m_Blue, value), Look(m_Green, value), Look(m_Red, value), 0};
}

std::array<_RGBQUAD, 256> BitmapPaletteOf(const _IMAGEINFO &image) {
    std::array<_RGBQUAD, 256> palette{};
    const PaletteColors colors(image);
    const auto entries = static_cast<int32_t>(std::min(image.nMaxEntries, 256u));
    for (int32_t i = 0; i < entries; ++i) {
        palette[static_cast<size_t>(i)] = colors.ColorOf(i + colors.First());
    }
    return palette;
}

} // namespace mdicom
