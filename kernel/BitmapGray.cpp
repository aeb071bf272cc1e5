// Conversion to gray, and the range of gray samples.

#include <algorithm>
#include <limits>

#include "BitmapRows.h"

using namespace kernel;

namespace {

bool IsGrayDepth(int32_t depth) {
    return depth == 8 || depth == 12 || depth == 16 || depth == 32;
}

/** Samples of one row of depth 12, 16 or 32, as they are stored. */
void ReadSamples(const _BITMAPHANDLE &bitmap, const uint8_t *row, uint32_t *samples,
                 uint16_t *scratch) {
    const auto width = static_cast<size_t>(StoredWidth(bitmap));
    if (bitmap.nBitsPerPixel == 32) {
        std::memcpy(samples, row, width * 4);
        return;
    }
    if (bitmap.nBitsPerPixel == 12) {
        Unpack12(row, scratch, width);
    } else {
        std::memcpy(scratch, row, width * 2);
    }
    std::copy_n(scratch, width, samples);
}

void WriteSamples(const uint32_t *samples, uint8_t *row, size_t width, int32_t depth,
                  uint16_t *scratch) {
    if (depth == 32) {
        std::memcpy(row, samples, width * 4);
        return;
    }
    for (size_t i = 0; i < width; ++i) scratch[i] = static_cast<uint16_t>(samples[i]);
    if (depth == 12) {
        Pack12(scratch, row, width);
    } else {
        std::memcpy(row, scratch, width * 2);
    }
}

/** True if samples can move as they are, shifted down at most. */
bool KeepsValues(const _BITMAPHANDLE &bitmap, int32_t depth) {
    return KindOf(bitmap) == PixelKind::Gray && depth != 8 && BitsOf(bitmap).Count <= depth;
}

int32_t MoveSamples(const _BITMAPHANDLE &source, LocalBitmap &target) {
    const auto width = static_cast<size_t>(StoredWidth(source));
    const SampleBits bits = BitsOf(source);
    const int32_t shift = bits.High < target->nBitsPerPixel ? 0 : bits.Low;
    const Block<uint32_t> samples = MakeBlock<uint32_t>(width);
    const Block<uint16_t> scratch = MakeBlock<uint16_t>(width);
    if (!samples || !scratch) return KERNEL_ERROR_MEMORY;
    for (int32_t row = 0; row < StoredRows(source); ++row) {
        ReadSamples(source, RowOf(source, row), samples.get(), scratch.get());
        for (size_t i = 0; i < width; ++i) samples[i] >>= shift;
        WriteSamples(samples.get(), RowOf(*target, row), width, target->nBitsPerPixel,
                     scratch.get());
    }
    target->nLowBit = bits.Low - shift;
    target->nHighBit = bits.High - shift;
    target->nPaintLowBit = target->nLowBit;
    target->nPaintHighBit = target->nHighBit;
    return KERNEL_SUCCESS;
}

/** Hands on what describes samples that kept their values. */
void MoveDescription(_BITMAPHANDLE &source, _BITMAPHANDLE &target) {
    target.nMinVal = source.nMinVal;
    target.nMaxVal = source.nMaxVal;
    target.nBitmapFlags |= source.nBitmapFlags & (KERNEL_BITMAP_SIGNED | KERNEL_BITMAP_LUT_IN_USE);
    target.pLUT = source.pLUT;
    target.nLUTLength = source.nLUTLength;
    target.pLUT16 = source.pLUT16;
    target.nLUT16Length = source.nLUT16Length;
    source.pLUT = source.pLUT16 = nullptr;
    source.nLUTLength = source.nLUT16Length = 0;
}

void WriteBrightness(uint16_t *values, uint8_t *row, size_t width, int32_t depth) {
    switch (depth) {
        case 8:
            for (size_t i = 0; i < width; ++i) row[i] = static_cast<uint8_t>(values[i] >> 8);
            break;
        case 12:
            for (size_t i = 0; i < width; ++i) values[i] = static_cast<uint16_t>(values[i] >> 4);
            Pack12(values, row, width);
            break;
        case 16:
            std::memcpy(row, values, width * 2);
            break;
        default:
            for (size_t i = 0; i < width; ++i) {
                const uint32_t sample = values[i] * 65537u;
                std::memcpy(row + i * 4, &sample, 4);
            }
    }
}

int32_t SpreadBrightness(const _BITMAPHANDLE &source, LocalBitmap &target) {
    const auto width = static_cast<size_t>(StoredWidth(source));
    RowReader reader(source, Wanted::Brightness);
    const Block<uint16_t> values = MakeBlock<uint16_t>(width);
    if (!reader.IsReady() || !values) return KERNEL_ERROR_MEMORY;
    for (int32_t row = 0; row < StoredRows(source); ++row) {
        reader.ReadBrightness(row, values.get());
        WriteBrightness(values.get(), RowOf(*target, row), width, target->nBitsPerPixel);
    }
    return KERNEL_SUCCESS;
}

struct SampleRange {
    int64_t Low = std::numeric_limits<int64_t>::max();
    int64_t High = std::numeric_limits<int64_t>::min();
};

void WidenRange(SampleRange &range, const uint32_t *samples, size_t width, const SampleBits &bits) {
    int64_t low = range.Low;
    int64_t high = range.High;
    for (size_t i = 0; i < width; ++i) {
        const int64_t value = Extend(samples[i] >> bits.Low & bits.Mask, bits);
        low = std::min(low, value);
        high = std::max(high, value);
    }
    range = {low, high};
}

} // namespace

extern "C" {

int32_t KernelGrayScaleBitmap(_BITMAPHANDLE *pBitmap, int32_t nBitsPerPixel) {
    if (!HasRows(pBitmap)) return KERNEL_ERROR_ARGUMENT;
    if (!IsGrayDepth(nBitsPerPixel)) return KERNEL_ERROR_FORMAT;
    if (pBitmap->nBitsPerPixel == nBitsPerPixel && KernelIsGrayScaleBitmap(pBitmap) != 0) {
        return KERNEL_SUCCESS;
    }
    LocalBitmap target;
    int32_t result = CreateLike(target, *pBitmap, nBitsPerPixel, KERNEL_ORDER_GRAY, nullptr);
    if (result != KERNEL_SUCCESS) return result;
    const bool keeps =
        KeepsValues(*pBitmap, nBitsPerPixel) && pBitmap->nBitsPerPixel != nBitsPerPixel;
    result = keeps ? MoveSamples(*pBitmap, target) : SpreadBrightness(*pBitmap, target);
    if (result != KERNEL_SUCCESS) return result;
    if (keeps) MoveDescription(*pBitmap, *target);
    Replace(*pBitmap, target);
    return KERNEL_SUCCESS;
}

int32_t KernelGetBitmapRange(const _BITMAPHANDLE *pBitmap, int64_t *pLow, int64_t *pHigh) {
    if (pLow == nullptr || pHigh == nullptr || !HasRows(pBitmap)) return KERNEL_ERROR_ARGUMENT;
    if (KindOf(*pBitmap) != PixelKind::Gray) return KERNEL_ERROR_FORMAT;
    const auto width = static_cast<size_t>(StoredWidth(*pBitmap));
    const Block<uint32_t> samples = MakeBlock<uint32_t>(width);
    const Block<uint16_t> scratch = MakeBlock<uint16_t>(width);
    if (!samples || !scratch) return KERNEL_ERROR_MEMORY;
    const SampleBits bits = BitsOf(*pBitmap);
    SampleRange range;
    for (int32_t row = 0; row < StoredRows(*pBitmap); ++row) {
        ReadSamples(*pBitmap, RowOf(*pBitmap, row), samples.get(), scratch.get());
        WidenRange(range, samples.get(), width, bits);
    }
    *pLow = range.Low;
    *pHigh = range.High;
    return KERNEL_SUCCESS;
}

} // extern "C"
