// Rows of bitmaps as samples, brightness or colours, whatever the depth.

#include "BitmapRows.h"

#include <algorithm>

namespace kernel {

PixelKind KindOf(const _BITMAPHANDLE &bitmap) {
    if (bitmap.nBitsPerPixel <= 8) return PixelKind::Indexed;
    if (bitmap.nBitsPerPixel == 12) return PixelKind::Gray;
    return bitmap.nOrder == KERNEL_ORDER_GRAY ? PixelKind::Gray : PixelKind::Colour;
}

SampleBits BitsOf(const _BITMAPHANDLE &bitmap) {
    const bool named = KindOf(bitmap) == PixelKind::Gray && bitmap.nLowBit >= 0 &&
                       bitmap.nHighBit >= bitmap.nLowBit && bitmap.nHighBit < bitmap.nBitsPerPixel;
    SampleBits bits{0, bitmap.nBitsPerPixel - 1, 0, 0, false};
    if (named) {
        bits.Low = bitmap.nLowBit;
        bits.High = bitmap.nHighBit;
    }
    bits.Count = std::clamp(bits.High - bits.Low + 1, 1, 32);
    bits.Mask = ~uint32_t{0} >> (32 - bits.Count);
    bits.Signed = (bitmap.nBitmapFlags & KERNEL_BITMAP_SIGNED) != 0;
    return bits;
}

LutView LutOf(const _BITMAPHANDLE &bitmap) {
    LutView view;
    if ((bitmap.nBitmapFlags & KERNEL_BITMAP_LUT_IN_USE) == 0) return view;
    if (KindOf(bitmap) == PixelKind::Colour || BitsOf(bitmap).Count > 16) return view;
    if (bitmap.pLUT16 != nullptr && bitmap.nLUT16Length > 0) {
        view.Wide = static_cast<const _RGBQUAD16 *>(bitmap.pLUT16);
        view.Length = bitmap.nLUT16Length;
    } else if (bitmap.pLUT != nullptr && bitmap.nLUTLength > 0) {
        view.Narrow = static_cast<const _RGBQUAD *>(bitmap.pLUT);
        view.Length = bitmap.nLUTLength;
    }
    return view;
}

void UnpackBits(const uint8_t *row, uint8_t *samples, size_t count) {
    for (size_t i = 0; i < count; ++i) samples[i] = row[i / 8] >> (7 - i % 8) & 1;
}

void PackBits(const uint8_t *samples, uint8_t *row, size_t count) {
    for (size_t first = 0; first < count; first += 8) {
        uint32_t byte = 0;
        const size_t end = std::min(first + 8, count);
        for (size_t i = first; i < end; ++i) byte |= (samples[i] & 1u) << (7 - (i - first));
        row[first / 8] = static_cast<uint8_t>(byte);
    }
}

size_t UnitBytes(const _BITMAPHANDLE &bitmap) {
    return static_cast<size_t>(bitmap.nBitsPerPixel + 7) / 8;
}

void ReadUnits(const _BITMAPHANDLE &bitmap, int32_t row, uint8_t *units) {
    const auto width = static_cast<size_t>(StoredWidth(bitmap));
    const uint8_t *source = RowOf(bitmap, row);
    if (bitmap.nBitsPerPixel == 1) {
        UnpackBits(source, units, width);
    } else if (bitmap.nBitsPerPixel == 12) {
        Unpack12(source, reinterpret_cast<uint16_t *>(units), width);
    } else {
        std::memcpy(units, source, width * UnitBytes(bitmap));
    }
}

void WriteUnits(const _BITMAPHANDLE &bitmap, int32_t row, const uint8_t *units) {
    const auto width = static_cast<size_t>(StoredWidth(bitmap));
    uint8_t *target = RowOf(bitmap, row);
    if (bitmap.nBitsPerPixel == 1) {
        PackBits(units, target, width);
    } else if (bitmap.nBitsPerPixel == 12) {
        Pack12(reinterpret_cast<const uint16_t *>(units), target, width);
    } else {
        std::memcpy(target, units, width * UnitBytes(bitmap));
    }
}

namespace {

/** BT.601 weights that add up to 65536, so that gray stays what it is. */
uint16_t BrightnessOf(uint32_t blue, uint32_t green, uint32_t red) {
    return static_cast<uint16_t>((red * 19595u + green * 38470u + blue * 7471u + 32768u) >> 16);
}

_RGBQUAD16 Widen(const _RGBQUAD &color) {
    return {static_cast<uint16_t>(color.rgbBlue * 257), static_cast<uint16_t>(color.rgbGreen * 257),
            static_cast<uint16_t>(color.rgbRed * 257), 0};
}

struct Range {
    double Low;
    double High;
};

Range DisplayRange(const _BITMAPHANDLE &bitmap, const SampleBits &bits) {
    if (bitmap.nMaxVal > bitmap.nMinVal) {
        return {static_cast<double>(bitmap.nMinVal), static_cast<double>(bitmap.nMaxVal)};
    }
    const int64_t low = bits.Signed ? -(int64_t{1} << (bits.Count - 1)) : 0;
    return {static_cast<double>(low), static_cast<double>(low + bits.Mask)};
}

/** How an index, the significant bits of a pixel, is seen. */
class Appearance {
  public:
    Appearance(const _BITMAPHANDLE &bitmap, const SampleBits &bits)
        : m_Bitmap(bitmap),
          m_Bits(bits),
          m_Lut(LutOf(bitmap)),
          m_Range(DisplayRange(bitmap, bits)),
          m_Indexed(KindOf(bitmap) == PixelKind::Indexed) {}

    _RGBQUAD16 Of(uint32_t index) const {
        if (m_Lut.Wide != nullptr) return m_Lut.Wide[std::min(index, m_Lut.Length - 1)];
        if (m_Lut.Narrow != nullptr) return Widen(m_Lut.Narrow[std::min(index, m_Lut.Length - 1)]);
        if (m_Indexed) return OfPalette(index);
        const double place = (static_cast<double>(Extend(index, m_Bits)) - m_Range.Low) /
                             (m_Range.High - m_Range.Low);
        const auto gray = static_cast<uint16_t>(std::clamp(place, 0.0, 1.0) * 65535 + 0.5);
        return {gray, gray, gray, 0};
    }

  private:
    _RGBQUAD16 OfPalette(uint32_t index) const {
        const auto *palette = static_cast<const _RGBQUAD *>(m_Bitmap.pPalette);
        if (palette != nullptr && index < m_Bitmap.nColors) return Widen(palette[index]);
        const auto gray =
            static_cast<uint16_t>(index * (m_Bitmap.nBitsPerPixel == 1 ? 65535 : 257));
        return {gray, gray, gray, 0};
    }

    const _BITMAPHANDLE &m_Bitmap;
    const SampleBits &m_Bits;
    const LutView m_Lut;
    const Range m_Range;
    const bool m_Indexed;
};

struct Layout565 {
    int Blue;
    int Red;
};

void Read565(const uint8_t *row, uint8_t *out, size_t count, Layout565 layout) {
    for (size_t i = 0; i < count; ++i) {
        const uint32_t pixel = row[i * 2] | static_cast<uint32_t>(row[i * 2 + 1]) << 8;
        const uint32_t blue = pixel >> layout.Blue & 31;
        const uint32_t green = pixel >> 5 & 63;
        const uint32_t red = pixel >> layout.Red & 31;
        out[i * 3] = static_cast<uint8_t>(blue << 3 | blue >> 2);
        out[i * 3 + 1] = static_cast<uint8_t>(green << 2 | green >> 4);
        out[i * 3 + 2] = static_cast<uint8_t>(red << 3 | red >> 2);
    }
}

/** Pixels of Step bytes, with blue at byte Blue and red at byte 2 - Blue. */
template <size_t Step, size_t Blue>
void ReadTriples(const uint8_t *row, uint8_t *out, size_t count) {
    for (size_t i = 0; i < count; ++i) {
        out[i * 3] = row[i * Step + Blue];
        out[i * 3 + 1] = row[i * Step + 1];
        out[i * 3 + 2] = row[i * Step + 2 - Blue];
    }
}

} // namespace

RowReader::RowReader(const _BITMAPHANDLE &bitmap, Wanted wanted)
    : m_Bitmap(bitmap),
      m_Kind(KindOf(bitmap)),
      m_Bits(BitsOf(bitmap)),
      m_Width(static_cast<size_t>(StoredWidth(bitmap))) {
    if (m_Kind == PixelKind::Colour) {
        m_Bytes = MakeBlock<uint8_t>(m_Width * 3);
        m_Ready = m_Bytes != nullptr;
        return;
    }
    m_Indexes = MakeBlock<uint16_t>(m_Width);
    m_Ready =
        m_Indexes != nullptr && (bitmap.nBitsPerPixel == 32 ? FindRange() : FillTables(wanted));
}

bool RowReader::FindRange() {
    int64_t low = 0;
    int64_t high = 0;
    if (KernelGetBitmapRange(&m_Bitmap, &low, &high) != KERNEL_SUCCESS) return false;
    m_Low = static_cast<double>(low);
    m_Scale = 65535 / static_cast<double>(std::max<int64_t>(high - low, 1));
    return true;
}

bool RowReader::FillTables(Wanted wanted) {
    const size_t count = size_t{1} << m_Bits.Count;
    const Appearance appearance(m_Bitmap, m_Bits);
    if (wanted == Wanted::Brightness) {
        m_Brightness = MakeBlock<uint16_t>(count);
        if (!m_Brightness) return false;
        for (size_t i = 0; i < count; ++i) {
            const _RGBQUAD16 color = appearance.Of(static_cast<uint32_t>(i));
            m_Brightness[i] = BrightnessOf(color.rgbBlue, color.rgbGreen, color.rgbRed);
        }
        return true;
    }
    m_Colours = MakeBlock<_RGBQUAD>(count);
    if (!m_Colours) return false;
    for (size_t i = 0; i < count; ++i) {
        const _RGBQUAD16 color = appearance.Of(static_cast<uint32_t>(i));
        m_Colours[i] = {static_cast<uint8_t>(color.rgbBlue >> 8),
                        static_cast<uint8_t>(color.rgbGreen >> 8),
                        static_cast<uint8_t>(color.rgbRed >> 8), 0};
    }
    return true;
}

void RowReader::ReadIndexes(const uint8_t *row) {
    uint16_t *indexes = m_Indexes.get();
    switch (m_Bitmap.nBitsPerPixel) {
        case 1:
            for (size_t i = 0; i < m_Width; ++i) indexes[i] = row[i / 8] >> (7 - i % 8) & 1;
            return;
        case 8:
            for (size_t i = 0; i < m_Width; ++i) indexes[i] = row[i];
            return;
        case 12:
            Unpack12(row, indexes, m_Width);
            break;
        default:
            std::memcpy(indexes, row, m_Width * 2);
    }
    const auto mask = static_cast<uint16_t>(m_Bits.Mask);
    for (size_t i = 0; i < m_Width; ++i) {
        indexes[i] = static_cast<uint16_t>(indexes[i] >> m_Bits.Low & mask);
    }
}

void RowReader::ReadGray32(const uint8_t *row, uint16_t *out) const {
    for (size_t i = 0; i < m_Width; ++i) {
        uint32_t sample = 0;
        std::memcpy(&sample, row + i * 4, 4);
        const auto value = static_cast<double>(Extend(sample >> m_Bits.Low & m_Bits.Mask, m_Bits));
        out[i] = static_cast<uint16_t>((value - m_Low) * m_Scale + 0.5);
    }
}

void RowReader::ReadStoredColours(const uint8_t *row, uint8_t *out) const {
    const bool bgr = m_Bitmap.nOrder == KERNEL_ORDER_BGR;
    switch (m_Bitmap.nBitsPerPixel) {
        case 16:
            Read565(row, out, m_Width, bgr ? Layout565{0, 11} : Layout565{11, 0});
            break;
        case 24:
            if (bgr) {
                std::memcpy(out, row, m_Width * 3);
            } else {
                ReadTriples<3, 2>(row, out, m_Width);
            }
            break;
        default:
            bgr ? ReadTriples<4, 0>(row, out, m_Width) : ReadTriples<4, 2>(row, out, m_Width);
    }
}

void RowReader::ReadBrightness(int32_t row, uint16_t *out) {
    const uint8_t *source = RowOf(m_Bitmap, row);
    if (m_Kind == PixelKind::Colour) {
        const uint8_t *bytes = m_Bytes.get();
        ReadStoredColours(source, m_Bytes.get());
        for (size_t i = 0; i < m_Width; ++i) {
            out[i] =
                BrightnessOf(bytes[i * 3] * 257u, bytes[i * 3 + 1] * 257u, bytes[i * 3 + 2] * 257u);
        }
    } else if (m_Bitmap.nBitsPerPixel == 32) {
        ReadGray32(source, out);
    } else {
        ReadIndexes(source);
        for (size_t i = 0; i < m_Width; ++i) out[i] = m_Brightness[m_Indexes[i]];
    }
}

void RowReader::ReadColours(int32_t row, uint8_t *out) {
    const uint8_t *source = RowOf(m_Bitmap, row);
    if (m_Kind == PixelKind::Colour) {
        ReadStoredColours(source, out);
    } else if (m_Bitmap.nBitsPerPixel == 32) {
        ReadGray32(source, m_Indexes.get());
        for (size_t i = 0; i < m_Width; ++i) {
            out[i * 3] = out[i * 3 + 1] = out[i * 3 + 2] = static_cast<uint8_t>(m_Indexes[i] >> 8);
        }
    } else {
        ReadIndexes(source);
        for (size_t i = 0; i < m_Width; ++i) {
            std::memcpy(out + i * 3, &m_Colours[m_Indexes[i]], 3);
        }
    }
}

} // namespace kernel
