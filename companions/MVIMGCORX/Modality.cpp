// Modality transformations (PS 3.3, C.11.1): pixels become the values of another scale.

#include <algorithm>
#include <bit>
#include <cmath>

#include "companions/MVIMGCORX/MVIMGCORX.h"
#include "companions/MVIMGCORX/Samples.h"

namespace imgcore {

namespace {

/** What the numbers of a transformed bitmap may be. */
struct Limits {
    bool Signed;
    int32_t Least;
    int32_t Greatest;
};

Limits LimitsOf(int32_t depth, bool isSigned) {
    const int32_t patterns = 1 << depth;
    const int32_t least = isSigned ? -patterns / 2 : 0;
    return {isSigned, least, least + patterns - 1};
}

/** A straight line, rounded, within limits. */
struct Rescale {
    double Slope;
    double Intercept;

    double Of(int32_t value) const { return value * Slope + Intercept; }
    int32_t Of(int32_t value, const Limits &limits) const {
        const auto clamped = std::clamp(Of(value), static_cast<double>(limits.Least),
                                        static_cast<double>(limits.Greatest));
        return static_cast<int32_t>(std::lround(clamped));
    }
};

/**
 * Whether results have a sign. By what the samples could be, not by what they are: the frames of
 * an image are to agree. Only where numbers without sign would lose less do the samples decide. At
 * depth 8 pixels go on as places of a palette, so nothing changes.
 */
Limits ChooseLimits(const SampleFormat &format, const Rescale &rescale, int32_t min, int32_t max,
                    bool mayBecomeSigned) {
    bool isSigned = format.Signed;
    if (format.Depth != 8) {
        const double least = std::min(rescale.Of(format.Least()), rescale.Of(format.Greatest()));
        const auto [low, high] = std::minmax({rescale.Of(min), rescale.Of(max)});
        if (mayBecomeSigned && least <= -0.5) isSigned = true;
        if (low >= 0 && high > LimitsOf(format.Depth, true).Greatest) isSigned = false;
    }
    return LimitsOf(format.Depth, isSigned);
}

/** Maps samples by what resultOf gives for their values. */
template <typename ResultOf>
int32_t MapValues(_BITMAPHANDLE &bitmap, const SampleFormat &format, ResultOf resultOf) {
    const uint32_t patterns = format.Patterns();
    const uint32_t samples = 1u << format.Depth;
    const Block<uint16_t> results = MakeBlock<uint16_t>(patterns);
    const Block<uint16_t> table = MakeBlock<uint16_t>(samples);
    if (!results || !table) return KERNEL_ERROR_MEMORY;
    for (uint32_t i = 0; i < patterns; ++i) {
        results[i] = static_cast<uint16_t>(resultOf(format.ValueOf(i)) & (samples - 1));
    }
    for (uint32_t i = 0; i < samples; ++i) table[i] = results[format.IndexOf(i)];
    return MapSamples(bitmap, table.get());
}

/** Describes samples that are results: all bits up to the highest that is needed count. */
void Describe(_BITMAPHANDLE &bitmap, const SampleFormat &before, const Limits &limits, int32_t min,
              int32_t max) {
    const auto needed = static_cast<int32_t>(std::bit_width(static_cast<uint32_t>(max)));
    const int32_t count = limits.Signed ? before.Depth : std::max(before.Count, needed);
    bitmap.nLowBit = bitmap.nPaintLowBit = 0;
    bitmap.nHighBit = bitmap.nPaintHighBit = count - 1;
    bitmap.nMinVal = min;
    bitmap.nMaxVal = max;
    bitmap.nBitmapFlags &= ~uint32_t{KERNEL_BITMAP_SIGNED};
    if (limits.Signed) bitmap.nBitmapFlags |= KERNEL_BITMAP_SIGNED;
    SetLuts(bitmap, nullptr, nullptr, 0); // those were for other numbers
}

/** The table of a modality LUT. Values outside it take its first or its last entry. */
class Table {
  public:
    Table(const uint16_t *entries, const _DICOMLUTDESCRIPTOR &descriptor)
        : m_Entries(entries),
          m_First(descriptor.nFirstStoredPixelValueMapped),
          m_Last(int64_t{descriptor.nNumberOfEntries} - 1) {}

    int32_t Of(int32_t value) const {
        return m_Entries[std::clamp<int64_t>(value - m_First, 0, m_Last)];
    }

  private:
    const uint16_t *m_Entries;
    int64_t m_First;
    int64_t m_Last;
};

} // namespace

} // namespace imgcore

using namespace imgcore;

extern "C" {

int32_t M_ApplyModalityLUT(_BITMAPHANDLE *pBitmap, const uint16_t *pTable,
                           const _DICOMLUTDESCRIPTOR *pDescriptor, uint32_t) {
    const auto format = FormatOf(pBitmap);
    if (!format || pTable == nullptr || pDescriptor == nullptr) return KERNEL_ERROR_ARGUMENT;
    if (pDescriptor->nNumberOfEntries == 0) return KERNEL_ERROR_ARGUMENT;
    const Limits limits = LimitsOf(format->Depth, false);
    const Table table(pTable, *pDescriptor);
    const int32_t result = MapValues(*pBitmap, *format, [&](int32_t value) {
        return std::min(table.Of(value), limits.Greatest);
    });
    if (result != KERNEL_SUCCESS) return result;
    int32_t min = 0;
    int32_t max = 0;
    Describe(*pBitmap, *format, limits, 0, limits.Greatest);
    const int32_t ranged = M_GetMinMaxVal(pBitmap, &min, &max);
    if (ranged == KERNEL_SUCCESS) Describe(*pBitmap, *format, limits, min, max);
    return KERNEL_SUCCESS;
}

int32_t M_ApplyLinearModalityLUT(_BITMAPHANDLE *pBitmap, double fIntercept, double fSlope,
                                 uint32_t nFlags) {
    const auto format = FormatOf(pBitmap);
    if (!format || !std::isfinite(fSlope) || !std::isfinite(fIntercept)) {
        return KERNEL_ERROR_ARGUMENT;
    }
    int32_t min = 0;
    int32_t max = 0;
    const int32_t ranged = M_GetMinMaxVal(pBitmap, &min, &max);
    if (ranged != KERNEL_SUCCESS) return ranged;
    const Rescale rescale{fSlope, fIntercept};
    const Limits limits =
        ChooseLimits(*format, rescale, min, max, (nFlags & MVIMGCORX_SIGNED) != 0);
    const int32_t result =
        MapValues(*pBitmap, *format, [&](int32_t value) { return rescale.Of(value, limits); });
    if (result != KERNEL_SUCCESS) return result;
    const auto [low, high] = std::minmax({rescale.Of(min, limits), rescale.Of(max, limits)});
    Describe(*pBitmap, *format, limits, low, high);
    return KERNEL_SUCCESS;
}

} // extern "C"
