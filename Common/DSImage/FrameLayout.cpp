// How the samples of a decoded frame lie in memory, and how they become rows of a bitmap.

#include "Common/DSImage/FrameLayout.h"

#include <algorithm>
#include <cstring>

#include "Common/DSImage/BitRuns.h"
#include "Common/DSImage/PaletteColors.h"
#include "Common/Utils/ByteOrder.h"
#include "Common/Utils/CheckedMath.h"

namespace mdicom {

namespace {

bool IsPackedDepth(const _IMAGEINFO &image) {
    const uint32_t bits = image.nBitsAllocated;
    return image.nSamplesPerPixel == 1 && image.nCompression <= IMAGE_COMPRESSION_RLE &&
           (bits == 1 || (bits == 12 && image.nCompression == IMAGE_COMPRESSION_NONE));
}

/** Bytes of a sample; 0 for allocated bits that are no pixel's. */
uint32_t SampleBytes(const _IMAGEINFO &image) {
    switch (image.nBitsAllocated) {
        case 8:
            return 1;
        case 12:
        case 16:
            return 2;
        case 32:
            return image.nSamplesPerPixel == 1 && image.bGray ? 4 : 0;
        default:
            return 0;
    }
}

FrameLayout PackedLayout(const _IMAGEINFO &image) {
    FrameLayout layout;
    layout.rowBits = image.nBitsAllocated;
    layout.rowStride = (uint64_t{image.nColumns} * layout.rowBits + 7) / 8;
    layout.bytes = uint64_t{layout.rowStride} * image.nRows;
    return layout;
}

void PlacePlanes(const _IMAGEINFO &image, FrameLayout &layout) {
    layout.pixelStride = layout.sampleBytes;
    layout.rowStride = size_t{image.nColumns} * layout.sampleBytes;
    const size_t plane = layout.rowStride * image.nRows;
    for (size_t i = 0; i < image.nSamplesPerPixel; ++i) layout.components[i] = i * plane;
    layout.bytes = plane * image.nSamplesPerPixel;
}

void PlacePixels(const _IMAGEINFO &image, bool isBitmapOrder, FrameLayout &layout) {
    const size_t samples = image.nSamplesPerPixel;
    layout.pixelStride = samples * layout.sampleBytes;
    layout.rowStride = image.nColumns * layout.pixelStride;
    const bool isReversed = isBitmapOrder && samples == 3;
    for (size_t i = 0; i < samples; ++i) {
        layout.components[i] = (isReversed ? samples - 1 - i : i) * layout.sampleBytes;
    }
    if (isBitmapOrder) layout.rowStride = PaddedRow(layout.rowStride);
    layout.bytes = uint64_t{layout.rowStride} * image.nRows;
}

uint32_t SampleMask(uint32_t sampleBytes) {
    return sampleBytes == 1 ? 0xFF : 0xFFFF;
}

/** Writes a pixel of three bytes, blue in the low one. */
void PutPixel(uint8_t *row, uint32_t color) {
    row[0] = static_cast<uint8_t>(color);
    row[1] = static_cast<uint8_t>(color >> 8);
    row[2] = static_cast<uint8_t>(color >> 16);
}

uint32_t Combine(_RGBQUAD color) {
    return color.rgbBlue | uint32_t{color.rgbGreen} << 8 | uint32_t{color.rgbRed} << 16;
}

} // namespace

std::optional<FrameLayout> LayoutOf(const _IMAGEINFO &image) {
    if (IsPackedDepth(image)) return PackedLayout(image);
    FrameLayout layout;
    layout.sampleBytes = SampleBytes(image);
    if (layout.sampleBytes == 0) return std::nullopt;
    const bool isNative = image.nCompression == IMAGE_COMPRESSION_NONE;
    const bool isRle = image.nCompression == IMAGE_COMPRESSION_RLE;
    if (isRle || (isNative && image.nPlanarConfiguration != 0)) {
        PlacePlanes(image, layout);
    } else {
        PlacePixels(image, !isNative, layout);
    }
    return layout;
}

FrameLayout TightLayout(const _IMAGEINFO &image, uint32_t sampleBytes) {
    FrameLayout layout;
    layout.sampleBytes = sampleBytes;
    PlacePixels(image, false, layout);
    return layout;
}

FrameLayout BitmapLayout(const _IMAGEINFO &image, uint32_t sampleBytes) {
    FrameLayout layout;
    layout.sampleBytes = sampleBytes;
    PlacePixels(image, true, layout);
    return layout;
}

void SettleBits(_IMAGEINFO &image) {
    if (image.nBitsAllocated == 0) image.nBitsAllocated = 8;
    if (image.nBitsStored == 0 || image.nBitsStored > image.nBitsAllocated) {
        image.nBitsStored = image.nBitsAllocated;
    }
    if (image.nHighBit + 1 < image.nBitsStored || image.nHighBit >= image.nBitsAllocated) {
        image.nHighBit = image.nBitsStored - 1;
    }
}

std::optional<uint32_t> BytewiseFrameSize(const _IMAGEINFO &image) {
    const uint32_t bits = std::max(image.nBitsAllocated, 1u);
    auto size = CheckedMultiply(image.nRows, image.nColumns);
    if (size) size = CheckedMultiply(*size, (bits - 1) / 8 + 1);
    return size ? CheckedMultiply(*size, image.nSamplesPerPixel) : size;
}

RowMaker::RowMaker(const _IMAGEINFO &image, const FrameLayout &layout, bool signedSamples)
    : m_Layout(layout),
      m_Columns(image.nColumns),
      m_RowBytes((uint64_t{image.nColumns} * image.nBitsPerPixel + 7) / 8),
      m_SampleMask(SampleMask(layout.sampleBytes)),
      m_ValueMask(static_cast<uint32_t>((uint64_t{1} << image.nBitsStored) - 1)),
      m_SignOffset(signedSamples ? 1u << image.nHighBit : 0),
      m_LowBit(image.nHighBit + 1 - image.nBitsStored),
      m_Excess(image.nBitsStored > 8 ? image.nBitsStored - 8 : 0) {
    if (image.bGray || image.nBitsPerPixel == 1) {
        m_Make = ChooseGray(image);
    } else if (image.nPhotometric == PHOTOMETRIC_PALETTE_COLOR) {
        m_Make = ChoosePalette(image);
    } else {
        m_Make = ChooseColor(image);
    }
}

RowMaker::MakeRow RowMaker::ChooseGray(const _IMAGEINFO &image) {
    if (m_Layout.rowBits == 1) {
        return image.nBitsPerPixel == 1 ? &RowMaker::ReverseRowBits : &RowMaker::SpreadRowBits;
    }
    if (image.nBitsPerPixel == 12 && m_Layout.rowBits == 0) return &RowMaker::PackRow;
    const bool isRow = m_Layout.rowBits != 0 || m_Layout.pixelStride == m_Layout.sampleBytes;
    if (!isRow) return &RowMaker::PickSamples;
    // Behind the rows there may be planes that no bitmap has room for.
    const bool areRows = PaddedRow(m_RowBytes) == m_Layout.rowStride &&
                         m_Layout.bytes == uint64_t{m_Layout.rowStride} * image.nRows;
    return areRows ? nullptr : &RowMaker::CopyRow;
}

RowMaker::MakeRow RowMaker::ChoosePalette(const _IMAGEINFO &image) {
    if (m_Layout.rowBits != 0) {
        m_Layout.sampleBytes = m_Layout.rowBits == 1 ? 1 : 2;
        m_Layout.pixelStride = m_Layout.sampleBytes;
        m_SampleMask = SampleMask(m_Layout.sampleBytes);
        m_Unpacked.resize(m_Columns * m_Layout.sampleBytes);
    }
    FillTables(image);
    return image.nBitsPerPixel == 8 ? &RowMaker::LookUpIndex : &RowMaker::LookUpColor;
}

RowMaker::MakeRow RowMaker::ChooseColor(const _IMAGEINFO &image) {
    if (image.nPhotometric == PHOTOMETRIC_CMYK) return &RowMaker::SubtractInk;
    if (image.nPhotometric == PHOTOMETRIC_ARGB) {
        FillTables(image);
        return &RowMaker::LookUpOverriddenColor;
    }
    const bool isBytes = m_Layout.sampleBytes == 1 && m_LowBit == 0 && image.nBitsStored == 8;
    if (!isBytes) return &RowMaker::TakeHighBits;
    const auto &places = m_Layout.components;
    if (m_Layout.pixelStride == 3 && places[0] == 2) {
        return PaddedRow(m_RowBytes) == m_Layout.rowStride ? nullptr : &RowMaker::CopyRow;
    }
    return m_Layout.pixelStride == 3 ? &RowMaker::Reverse8 : &RowMaker::Interleave8;
}

/** Works out the colour of each value that a sample can have. */
void RowMaker::FillTables(const _IMAGEINFO &image) {
    const PaletteColors colors(image);
    const auto last = static_cast<int32_t>(image.nMaxEntries) - 1;
    const size_t values = size_t{m_ValueMask} + 1;
    const bool isIndexed = image.nBitsPerPixel == 8;
    isIndexed ? m_Indices.resize(values) : m_Colors.resize(values);
    // A sign was moved to an offset of half the values.
    const int32_t least = m_SignOffset != 0 ? -static_cast<int32_t>(values / 2) : 0;
    for (size_t i = 0; i < values; ++i) {
        const int32_t value = static_cast<int32_t>(i) + least;
        if (isIndexed) {
            m_Indices[i] = static_cast<uint8_t>(std::clamp(value - colors.First(), 0, last));
        } else {
            m_Colors[i] = Combine(colors.ColorOf(value));
        }
    }
}

void RowMaker::SetRange(uint32_t low, uint32_t high) {
    m_Low = low;
    m_High = high;
}

void RowMaker::Make(const uint8_t *samples, uint8_t *row) const {
    if (m_Make != nullptr) {
        (this->*m_Make)(samples, row);
    } else if (samples != row) {
        CopyRow(samples, row);
    }
    if (m_Ybr) ConvertYbrRow(row, m_Columns, *m_Ybr);
}

uint32_t RowMaker::Value(const uint8_t *sample) const {
    const uint32_t stored =
        m_Layout.sampleBytes == 1 ? sample[0] : LoadNative<uint16_t>(sample) & m_SampleMask;
    return (stored + m_SignOffset) >> m_LowBit & m_ValueMask;
}

void RowMaker::CopyRow(const uint8_t *samples, uint8_t *row) const {
    std::memcpy(row, samples, m_RowBytes);
}

void RowMaker::ReverseRowBits(const uint8_t *samples, uint8_t *row) const {
    std::memcpy(row, samples, m_RowBytes);
    ReverseBits({row, m_RowBytes});
}

void RowMaker::SpreadRowBits(const uint8_t *samples, uint8_t *row) const {
    SpreadBits(samples, m_Columns, 255, row);
}

void RowMaker::PackRow(const uint8_t *samples, uint8_t *row) const {
    PackTwelve(samples + m_Layout.components[0], m_Layout.pixelStride, m_Columns, row);
}

/** The first of several components of gray. */
void RowMaker::PickSamples(const uint8_t *samples, uint8_t *row) const {
    const uint8_t *from = samples + m_Layout.components[0];
    const size_t bytes = m_Layout.sampleBytes;
    for (size_t i = 0; i < m_Columns; ++i, from += m_Layout.pixelStride, row += bytes) {
        std::memcpy(row, from, bytes);
    }
}

/** The samples of a row, each with bytes of its own. */
const uint8_t *RowMaker::Unpack(const uint8_t *samples) const {
    if (m_Layout.rowBits == 0) return samples + m_Layout.components[0];
    if (m_Layout.rowBits == 1) SpreadBits(samples, m_Columns, 1, m_Unpacked.data());
    if (m_Layout.rowBits == 12) UnpackTwelve(samples, m_Columns, m_Unpacked.data());
    return m_Unpacked.data();
}

void RowMaker::LookUpIndex(const uint8_t *samples, uint8_t *row) const {
    const uint8_t *from = Unpack(samples);
    for (size_t i = 0; i < m_Columns; ++i, from += m_Layout.pixelStride) {
        row[i] = m_Indices[Value(from)];
    }
}

void RowMaker::LookUpColor(const uint8_t *samples, uint8_t *row) const {
    const uint8_t *from = Unpack(samples);
    for (size_t i = 0; i < m_Columns; ++i, from += m_Layout.pixelStride, row += 3) {
        PutPixel(row, m_Colors[Value(from)]);
    }
}

/** A first component other than 0 is a palette's index; 0 leaves the other three as they are. */
void RowMaker::LookUpOverriddenColor(const uint8_t *samples, uint8_t *row) const {
    const auto &places = m_Layout.components;
    for (size_t i = 0; i < m_Columns; ++i, samples += m_Layout.pixelStride, row += 3) {
        const uint32_t index = Value(samples + places[0]);
        if (index != 0) {
            PutPixel(row, m_Colors[index]);
            continue;
        }
        for (size_t c = 0; c < 3; ++c) row[2 - c] = HighBits(samples + places[c + 1]);
    }
}

void RowMaker::Reverse8(const uint8_t *samples, uint8_t *row) const {
    // Words of four bytes, of which the last belongs to the next pixel.
    size_t i = 0;
    for (; i + 1 < m_Columns; ++i, samples += 3, row += 3) {
        const uint32_t color = __builtin_bswap32(LoadNative<uint32_t>(samples)) >> 8;
        std::memcpy(row, &color, sizeof color);
    }
    for (; i < m_Columns; ++i) {
        row[0] = samples[2];
        row[1] = samples[1];
        row[2] = samples[0];
    }
}

void RowMaker::Interleave8(const uint8_t *samples, uint8_t *row) const {
    const uint8_t *red = samples + m_Layout.components[0];
    const uint8_t *green = samples + m_Layout.components[1];
    const uint8_t *blue = samples + m_Layout.components[2];
    const size_t stride = m_Layout.pixelStride;
    size_t i = 0;
    for (; i + 1 < m_Columns; ++i, row += 3) {
        const uint32_t color =
            blue[i * stride] | uint32_t{green[i * stride]} << 8 | uint32_t{red[i * stride]} << 16;
        std::memcpy(row, &color, sizeof color);
    }
    for (; i < m_Columns; ++i) {
        row[0] = blue[i * stride];
        row[1] = green[i * stride];
        row[2] = red[i * stride];
    }
}

uint8_t RowMaker::HighBits(const uint8_t *sample) const {
    return static_cast<uint8_t>(Value(sample) >> m_Excess);
}

void RowMaker::TakeHighBits(const uint8_t *samples, uint8_t *row) const {
    const auto &places = m_Layout.components;
    for (size_t i = 0; i < m_Columns; ++i, samples += m_Layout.pixelStride, row += 3) {
        for (size_t c = 0; c < 3; ++c) row[2 - c] = HighBits(samples + places[c]);
    }
}

/** A component brought to 0 to 255. */
uint8_t RowMaker::Ink(const uint8_t *sample) const {
    const uint32_t value = Value(sample);
    if (value <= m_Low) return 0;
    if (value >= m_High) return 255;
    return static_cast<uint8_t>((value - m_Low) * 255 / (m_High - m_Low));
}

void RowMaker::SubtractInk(const uint8_t *samples, uint8_t *row) const {
    const auto &places = m_Layout.components;
    for (size_t i = 0; i < m_Columns; ++i, samples += m_Layout.pixelStride, row += 3) {
        const int black = Ink(samples + places[3]);
        for (size_t c = 0; c < 3; ++c) {
            const int ink = std::min(Ink(samples + places[c]) + black, 255);
            row[2 - c] = static_cast<uint8_t>(255 - ink);
        }
    }
}

void FindRange(const _IMAGEINFO &image, const FrameLayout &layout, const RowMaker &maker,
               const uint8_t *frame, uint32_t *low, uint32_t *high) {
    const uint64_t bytes =
        uint64_t{image.nRows} * image.nColumns * image.nSamplesPerPixel * layout.sampleBytes;
    const uint64_t end = std::min<uint64_t>(bytes, layout.bytes);
    uint32_t least = 0xFFFFFFFF;
    uint32_t greatest = 0;
    for (uint64_t i = 0; i < end; i += layout.sampleBytes) {
        const uint32_t value = maker.Value(frame + i);
        least = std::min(least, value);
        greatest = std::max(greatest, value);
    }
    *low = std::min(least, greatest);
    *high = greatest;
}

} // namespace mdicom
