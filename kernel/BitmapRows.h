// Rows of bitmaps as samples, brightness or colours, whatever the depth.

#pragma once

#include "BitmapStorage.h"
#include "Packed12.h"

namespace kernel {

enum class PixelKind {
    Indexed, ///< depths 1 and 8
    Gray,    ///< depths 12, 16 and 32
    Colour   ///< depths 16, 24 and 32
};
PixelKind KindOf(const _BITMAPHANDLE &bitmap);

/** The significant bits of a gray sample. */
struct SampleBits {
    int32_t Low;
    int32_t High;
    int32_t Count;
    uint32_t Mask; ///< of Count bits, from bit 0
    bool Signed;
};
/** The bits that the record names, or all where those make no sense. */
SampleBits BitsOf(const _BITMAPHANDLE &bitmap);

/** The LUT that is in use; both pointers are null without one. */
struct LutView {
    const _RGBQUAD *Narrow = nullptr;
    const _RGBQUAD16 *Wide = nullptr;
    uint32_t Length = 0;
};
LutView LutOf(const _BITMAPHANDLE &bitmap);

void UnpackBits(const uint8_t *row, uint8_t *samples, size_t count);
/** Takes bit 0 of each sample; the bits of a last byte that is not full become 0. */
void PackBits(const uint8_t *samples, uint8_t *row, size_t count);

/** Bytes of a pixel that stands by itself: bits take one byte, 12-bit samples two. */
size_t UnitBytes(const _BITMAPHANDLE &bitmap);
/** Takes a stored row apart into units. */
void ReadUnits(const _BITMAPHANDLE &bitmap, int32_t row, uint8_t *units);
/** Stores a row of units. */
void WriteUnits(const _BITMAPHANDLE &bitmap, int32_t row, const uint8_t *units);
/** Picks units of another row; the indexes are in units. */
template <size_t Bytes, typename Index>
void GatherUnits(const uint8_t *units, uint8_t *out, size_t count, Index indexOf) {
    for (size_t i = 0; i < count; ++i) {
        std::memcpy(out + i * Bytes, units + indexOf(i) * Bytes, Bytes);
    }
}
template <typename Index>
void GatherUnits(size_t bytes, const uint8_t *units, uint8_t *out, size_t count, Index indexOf) {
    switch (bytes) {
        case 1:
            return GatherUnits<1>(units, out, count, indexOf);
        case 2:
            return GatherUnits<2>(units, out, count, indexOf);
        case 3:
            return GatherUnits<3>(units, out, count, indexOf);
        default:
            return GatherUnits<4>(units, out, count, indexOf);
    }
}

/** Turns values of a sample's significant bits, at bit 0, into numbers with sign. */
inline int64_t Extend(uint32_t value, const SampleBits &bits) {
    const int64_t sign = bits.Signed ? int64_t{1} << (bits.Count - 1) : 0;
    return (static_cast<int64_t>(value) ^ sign) - sign;
}

/** What a reader is to give. */
enum class Wanted { Brightness, Colours };

/** Reads rows as they are seen on a display: through LUT, palette and value range. */
class RowReader {
  public:
    RowReader(const _BITMAPHANDLE &bitmap, Wanted wanted);
    /** False when memory was short. */
    bool IsReady() const { return m_Ready; }
    /** Brightness from 0 to 65535 a pixel. */
    void ReadBrightness(int32_t row, uint16_t *out);
    /** Blue, green and red a pixel. */
    void ReadColours(int32_t row, uint8_t *out);

  private:
    bool FillTables(Wanted wanted);
    bool FindRange();
    void ReadIndexes(const uint8_t *row);
    void ReadGray32(const uint8_t *row, uint16_t *out) const;
    void ReadStoredColours(const uint8_t *row, uint8_t *out) const;

    const _BITMAPHANDLE &m_Bitmap;
    const PixelKind m_Kind;
    const SampleBits m_Bits;
    const size_t m_Width;
    bool m_Ready = false;
    double m_Low = 0;
    double m_Scale = 0;
    Block<uint16_t> m_Indexes;    ///< significant bits of a row
    Block<uint16_t> m_Brightness; ///< by index
    Block<_RGBQUAD> m_Colours;    ///< by index
    Block<uint8_t> m_Bytes;       ///< a row of colours on the way to brightness
};

} // namespace kernel
