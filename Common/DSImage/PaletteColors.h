// Colours of palettes (PS 3.3, C.7.9) as bytes.

#pragma once

#include <array>
#include <cstdint>

#include "MDicomTypes.h"

namespace mdicom {

/** The tables of an image, ready to be asked for a value's colour. */
class PaletteColors {
  public:
    /** Takes an image description whose tables are loaded, and that outlives this. */
    explicit PaletteColors(const _IMAGEINFO &image);

    /** Least pixel value that any table maps. */
    int32_t First() const { return m_First; }
    /** Colour of a pixel value; one outside of a table has the colour of its nearest end. */
    _RGBQUAD ColorOf(int32_t value) const;

  private:
    struct Table {
        const uint16_t *entries;
        int32_t count;
        int32_t first;
        uint32_t shift; ///< from an entry to a byte
    };
    static uint8_t Look(const Table &table, int32_t value);

    Table m_Red;
    Table m_Green;
    Table m_Blue;
    int32_t m_First;
};

/** The palette of an image whose tables have at most 256 entries: index 0 is First. Entries that
 *  are not in use are black. */
std::array<_RGBQUAD, 256> BitmapPaletteOf(const _IMAGEINFO &image);

} // namespace mdicom
