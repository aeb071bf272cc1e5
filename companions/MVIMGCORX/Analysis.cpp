// What can be read off a bitmap and its LUT.

#include <algorithm>
#include <cmath>

#include "companions/MVIMGCORX/MVIMGCORX.h"
#include "companions/MVIMGCORX/SampleRange.h"
#include "companions/MVIMGCORX/Samples.h"
#include "companions/MVIMGCORX/Window.h"

namespace imgcore {

namespace {

/** Takes all rows of a bitmap with so many samples in each; as one where nothing lies between. */
template <typename Sample, typename Key>
void TakeRows(const _BITMAPHANDLE &bitmap, size_t count, SampleRange<Sample, Key> &range) {
    const uint8_t *row = KernelLendBitmapRow(&bitmap, 0);
    const auto rows = static_cast<size_t>(StoredRows(bitmap));
    if (count * sizeof(Sample) == bitmap.nBytesPerLine) return range.Take(row, count * rows);
    for (size_t i = 0; i < rows; ++i, row += bitmap.nBytesPerLine) range.Take(row, count);
}

int32_t RangeOfBytes(const _BITMAPHANDLE &bitmap, bool isSigned, int32_t *min, int32_t *max) {
    const size_t pixelBytes = bitmap.nBitsPerPixel == 24 ? 3 : 1;
    const size_t count = static_cast<size_t>(StoredWidth(bitmap)) * pixelBytes;
    const auto flip = static_cast<uint8_t>(isSigned ? 0x80 : 0);
    SampleRange<uint8_t, uint8_t> range(0, flip);
    TakeRows(bitmap, count, range);
    const auto value = [isSigned](uint8_t sample) {
        return isSigned ? static_cast<int8_t>(sample) : int32_t{sample};
    };
    *min = value(range.Least());
    *max = value(range.Greatest());
    return KERNEL_SUCCESS;
}

int32_t RangeOfWords(const _BITMAPHANDLE &bitmap, const SampleFormat &format, int32_t *min,
                     int32_t *max) {
    // The significant bits go to the top; those below do not change their order.
    const int up = 16 - format.Low - format.Count;
    SampleRange<uint16_t, int16_t> range(up, static_cast<uint16_t>(format.Signed ? 0 : 0x8000));
    const auto count = static_cast<size_t>(StoredWidth(bitmap));
    std::optional<RowBuffer> packed;
    if (format.Depth == 12) packed.emplace(bitmap);
    if (packed && !packed->IsReady()) return KERNEL_ERROR_MEMORY;
    for (int32_t row = 0; packed && row < StoredRows(bitmap); ++row) {
        if (!packed->Read(bitmap, row)) return KERNEL_ERROR_ARGUMENT;
        range.Take(reinterpret_cast<const uint8_t *>(packed->Words().data()), count);
    }
    if (!packed) TakeRows(bitmap, count, range);
    const auto value = [&](uint16_t sample) {
        return format.ValueOf(format.IndexOf(static_cast<uint32_t>(sample) >> up));
    };
    *min = value(range.Least());
    *max = value(range.Greatest());
    return KERNEL_SUCCESS;
}

/** The levels of a gray LUT in the order of the values that they belong to. */
struct Ramp {
    Block<double> Levels; ///< 0 to 1
    uint32_t Count = 0;
    int32_t First = 0; ///< value of the first level
    double Unit = 0;   ///< the step between two levels of the LUT
};

template <typename Entry>
bool ReadRamp(const SampleFormat &format, const void *lut, uint32_t length, double top,
              Ramp *ramp) {
    const uint32_t count = format.Patterns();
    const auto *entries = static_cast<const Entry *>(lut);
    if (entries == nullptr || length < count) return false;
    ramp->Levels = MakeBlock<double>(count);
    if (!ramp->Levels) return false;
    for (uint32_t i = 0; i < count; ++i) {
        const auto value = static_cast<uint32_t>(format.Least() + static_cast<int32_t>(i));
        const Entry &entry = entries[value & (count - 1)];
        if (entry.rgbRed != entry.rgbGreen || entry.rgbRed != entry.rgbBlue) return false;
        ramp->Levels[i] = entry.rgbRed / top;
    }
    ramp->Count = count;
    ramp->First = format.Least();
    ramp->Unit = 1 / top;
    return true;
}

bool IsWithin(double level) {
    return level > 0 && level < 1;
}

/** The line through the levels that are neither black nor white, by least squares. */
struct Line {
    double Slope;
    double Middle; ///< value at which the level is one half
};

std::optional<Line> FitLine(const Ramp &ramp) {
    double count = 0;
    double x = 0;
    double y = 0;
    for (uint32_t i = 0; i < ramp.Count; ++i) {
        if (!IsWithin(ramp.Levels[i])) continue;
        ++count;
        x += i;
        y += ramp.Levels[i];
    }
    if (count == 0) return std::nullopt;
    x /= count;
    y /= count;
    double xx = 0;
    double xy = 0;
    for (uint32_t i = 0; i < ramp.Count; ++i) {
        if (!IsWithin(ramp.Levels[i])) continue;
        xx += (i - x) * (i - x);
        xy += (i - x) * (ramp.Levels[i] - y);
    }
    // A single point lies between black and white, one value apart.
    const double slope = xx > 0                                          ? xy / xx
                         : ramp.Levels[0] <= ramp.Levels[ramp.Count - 1] ? 1.0
                                                                         : -1.0;
    if (slope == 0) return std::nullopt;
    return Line{slope, ramp.First + x + (0.5 - y) / slope};
}

/** The value from which on a LUT of black and white has its other colour. */
std::optional<double> FindStep(const Ramp &ramp) {
    for (uint32_t i = 1; i < ramp.Count; ++i) {
        if (ramp.Levels[i] != ramp.Levels[0]) return ramp.First + static_cast<double>(i);
    }
    return std::nullopt;
}

/** True if the window gives the LUT, within a tolerance. */
bool Reproduces(const Ramp &ramp, const Window &window, bool descending, double tolerance) {
    for (uint32_t i = 0; i < ramp.Count; ++i) {
        const double level = window.Of(ramp.First + static_cast<double>(i));
        const double expected = descending ? 1 - level : level;
        if (std::abs(expected - ramp.Levels[i]) > tolerance) return false;
    }
    return true;
}

std::optional<Window> FitWindow(const Ramp &ramp) {
    const auto line = FitLine(ramp);
    const bool descending = ramp.Levels[0] > ramp.Levels[ramp.Count - 1];
    if (!line) {
        const auto step = FindStep(ramp);
        const Window window{step.value_or(0), 1};
        if (!step || !Reproduces(ramp, window, descending, ramp.Unit / 2)) return std::nullopt;
        return window;
    }
    const Window window{line->Middle + 0.5, 1 / std::abs(line->Slope) + 1};
    if (descending != (line->Slope < 0)) return std::nullopt;
    // Windows are whole numbers as a rule: where those give the same LUT, they were it.
    const Window whole{std::round(window.Center), std::round(window.Width)};
    if (Reproduces(ramp, whole, descending, ramp.Unit * 0.501)) return whole;
    // Levels are rounded, and so is the fit; it is the worse, the fewer levels there are.
    if (!Reproduces(ramp, window, descending, 1.5 / 255)) return std::nullopt;
    return window;
}

template <typename Entry>
bool SameColour(const Entry &a, const Entry &b) {
    return a.rgbRed == b.rgbRed && a.rgbGreen == b.rgbGreen && a.rgbBlue == b.rgbBlue;
}

template <typename Entry>
int32_t CountColours(const Entry *entries, uint32_t count, int32_t *first, uint32_t *number,
                     uint32_t flags) {
    if (entries == nullptr || first == nullptr || number == nullptr || count == 0) {
        return KERNEL_ERROR_ARGUMENT;
    }
    const bool isSigned = (flags & MVIMGCORX_COUNT_SIGNED) != 0;
    if (count > 0x10000 || (isSigned && count % 2 != 0)) return KERNEL_ERROR_ARGUMENT;
    const uint32_t start = isSigned ? count / 2 : 0;
    const auto at = [&](uint32_t place) -> const Entry & {
        return entries[(start + place) % count];
    };
    uint32_t from = 0;
    while (from + 1 < count && SameColour(at(from), at(from + 1))) ++from;
    if (from + 1 == count) from = 0; // one colour for all: the first value alone has it
    uint32_t to = count - 1;
    while (to > from && SameColour(at(to), at(to - 1))) --to;
    *first = static_cast<int32_t>(from) - static_cast<int32_t>(start);
    *number = to - from + 1;
    return KERNEL_SUCCESS;
}

} // namespace

} // namespace imgcore

using namespace imgcore;

extern "C" {

int32_t M_GetMinMaxVal(const _BITMAPHANDLE *pBitmap, int32_t *pMin, int32_t *pMax) {
    if (!HasData(pBitmap) || pMin == nullptr || pMax == nullptr) return KERNEL_ERROR_ARGUMENT;
    if (pBitmap->nBitsPerPixel == 1) {
        *pMin = 0;
        *pMax = 1;
        return KERNEL_SUCCESS;
    }
    if (pBitmap->nBitsPerPixel == 24) return RangeOfBytes(*pBitmap, false, pMin, pMax);
    const auto format = FormatOf(pBitmap);
    if (!format) return KERNEL_ERROR_FORMAT;
    if (format->Depth == 8) return RangeOfBytes(*pBitmap, format->Signed, pMin, pMax);
    return RangeOfWords(*pBitmap, *format, pMin, pMax);
}

int32_t M_GetLinearVOILUT(const _BITMAPHANDLE *pBitmap, double *pCenter, double *pWidth, uint32_t) {
    const auto format = FormatOf(pBitmap);
    if (!format || pCenter == nullptr || pWidth == nullptr) return KERNEL_ERROR_ARGUMENT;
    if ((pBitmap->nBitmapFlags & KERNEL_BITMAP_LUT_IN_USE) == 0) return KERNEL_ERROR_FORMAT;
    Ramp ramp;
    const bool isRamp =
        pBitmap->pLUT16 != nullptr
            ? ReadRamp<_RGBQUAD16>(*format, pBitmap->pLUT16, pBitmap->nLUT16Length, 0xFFFF, &ramp)
            : ReadRamp<_RGBQUAD>(*format, pBitmap->pLUT, pBitmap->nLUTLength, 0xFF, &ramp);
    const auto window = isRamp ? FitWindow(ramp) : std::nullopt;
    if (!window) return KERNEL_ERROR_FORMAT;
    *pCenter = window->Center;
    *pWidth = window->Width;
    return KERNEL_SUCCESS;
}

int32_t M_CountLUTColors(const _RGBQUAD *pColors, uint32_t nCount, int32_t *pFirst,
                         uint32_t *pNumber, uint32_t nFlags) {
    return CountColours(pColors, nCount, pFirst, pNumber, nFlags);
}

int32_t M_CountLUTColorsExt(const _RGBQUAD16 *pColors, uint32_t nCount, int32_t *pFirst,
                            uint32_t *pNumber, uint32_t nFlags) {
    return CountColours(pColors, nCount, pFirst, pNumber, nFlags);
}

} // extern "C"
