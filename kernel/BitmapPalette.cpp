// Palettes and LUTs of bitmaps, and whether a bitmap is gray.

#include <algorithm>
#include <cmath>

#include "BitmapRows.h"

namespace kernel {
namespace {

uint32_t PaletteSize(const _BITMAPHANDLE &bitmap) {
    switch (bitmap.nBitsPerPixel) {
        case 1:
            return 2;
        case 8:
            return 256;
        default:
            return 0;
    }
}

template <typename Entry>
bool IsGray(const Entry *entries, size_t count) {
    return std::all_of(entries, entries + count, [](const Entry &entry) {
        return entry.rgbRed == entry.rgbGreen && entry.rgbGreen == entry.rgbBlue;
    });
}

enum Kind { NotGray = 0, Ascending = 1, Descending = 2, NonLinear = 3 };

/**
 * Judges values in the order of the samples. A window is straight too: what is flat at either end
 * does not count. The tolerance allows for rounding to 8 bits, and for a ramp that begins between
 * two samples.
 */
template <typename ValueAt>
Kind KindOfRamp(ValueAt valueAt, size_t count) {
    size_t first = 0;
    while (first + 1 < count && valueAt(first + 1) == valueAt(0)) ++first;
    if (first + 1 >= count) return NonLinear;
    size_t last = count - 1;
    while (last > first + 1 && valueAt(last - 1) == valueAt(count - 1)) --last;
    const double start = valueAt(first);
    const double rise = valueAt(last) - start;
    if (rise == 0) return NonLinear;
    const double step = rise / static_cast<double>(last - first);
    const double tolerance = 1.5 * 257 + std::abs(step);
    for (size_t i = first; i <= last; ++i) {
        const double expected = start + step * static_cast<double>(i - first);
        if (std::abs(valueAt(i) - expected) > tolerance) return NonLinear;
    }
    return rise > 0 ? Ascending : Descending;
}

template <typename Entry>
int32_t KindOfLut(const _BITMAPHANDLE &bitmap, const Entry *entries, uint32_t length,
                  uint32_t scale) {
    if (!IsGray(entries, length)) return NotGray;
    const SampleBits bits = BitsOf(bitmap);
    if (bits.Count > 16) return NonLinear;
    const size_t count = std::min<size_t>(size_t{1} << bits.Count, length);
    const size_t start = bits.Signed && count == size_t{1} << bits.Count ? count / 2 : 0;
    const auto valueAt = [&](size_t i) {
        return static_cast<uint16_t>(entries[(start + i) % count].rgbRed * scale);
    };
    return KindOfRamp(valueAt, count);
}

int32_t KindOfPalette(const _BITMAPHANDLE &bitmap) {
    const auto *colors = static_cast<const _RGBQUAD *>(bitmap.pPalette);
    const uint32_t count = PaletteSize(bitmap);
    if (colors == nullptr || bitmap.nColors < count || !IsGray(colors, count)) return NotGray;
    bool ascending = true;
    bool descending = true;
    for (uint32_t i = 0; i < count; ++i) {
        const uint32_t gray = i * 255 / (count - 1);
        ascending = ascending && colors[i].rgbRed == gray;
        descending = descending && colors[i].rgbRed == 255 - gray;
    }
    return ascending ? Ascending : descending ? Descending : NotGray;
}

} // namespace
} // namespace kernel

using namespace kernel;

extern "C" {

int32_t KernelGetBitmapColors(const _BITMAPHANDLE *pBitmap, uint32_t nFirst, uint32_t nCount,
                              _RGBQUAD *pColors) {
    if (!IsRecord(pBitmap)) return KERNEL_ERROR_STRUCT_SIZE;
    if (pColors == nullptr || pBitmap->pPalette == nullptr) return KERNEL_ERROR_ARGUMENT;
    if (nFirst > pBitmap->nColors || nCount > pBitmap->nColors - nFirst) {
        return KERNEL_ERROR_ARGUMENT;
    }
    std::copy_n(static_cast<const _RGBQUAD *>(pBitmap->pPalette) + nFirst, nCount, pColors);
    return KERNEL_SUCCESS;
}

int32_t KernelSetBitmapPalette(_BITMAPHANDLE *pBitmap, const _RGBQUAD *pColors) {
    if (!IsRecord(pBitmap)) return KERNEL_ERROR_STRUCT_SIZE;
    const uint32_t count = PaletteSize(*pBitmap);
    if (pColors == nullptr || count == 0) return KERNEL_ERROR_ARGUMENT;
    Block<_RGBQUAD> palette = MakeBlock<_RGBQUAD>(count);
    if (!palette) return KERNEL_ERROR_MEMORY;
    std::copy_n(pColors, count, palette.get());
    KernelFree(pBitmap->pPalette, 0, nullptr);
    pBitmap->pPalette = palette.release();
    pBitmap->nColors = count;
    return KERNEL_SUCCESS;
}

int32_t KernelIsGrayScaleBitmap(const _BITMAPHANDLE *pBitmap) {
    if (!IsRecord(pBitmap)) return NotGray;
    const LutView lut = LutOf(*pBitmap);
    if (lut.Wide != nullptr) return KindOfLut(*pBitmap, lut.Wide, lut.Length, 1);
    if (lut.Narrow != nullptr) return KindOfLut(*pBitmap, lut.Narrow, lut.Length, 257);
    switch (KindOf(*pBitmap)) {
        case PixelKind::Indexed:
            return KindOfPalette(*pBitmap);
        case PixelKind::Gray:
            return Ascending;
        default:
            return NotGray;
    }
}

_RGBQUAD16 *KernelGetBitmapLUT16(const _BITMAPHANDLE *pBitmap, uint32_t) {
    if (!IsRecord(pBitmap) || pBitmap->nLUT16Length == 0) return nullptr;
    return static_cast<_RGBQUAD16 *>(pBitmap->pLUT16);
}

} // extern "C"
