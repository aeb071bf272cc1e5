// VOI transformations (PS 3.3, C.11.2): how the values of a bitmap are shown.

#include <algorithm>
#include <cmath>

#include "companions/MVIMGCORX/MVIMGCORX.h"
#include "companions/MVIMGCORX/Samples.h"
#include "companions/MVIMGCORX/Window.h"

namespace imgcore {

namespace {

template <typename Entry, typename Number>
Entry Gray(Number level) {
    return {level, level, level, 0};
}

/** Entries of a table spread from their own bits to others. */
class Spread {
  public:
    explicit Spread(uint32_t bits) : m_Top((1u << std::min(bits, 16u)) - 1) {}
    uint32_t Of(uint16_t entry, uint32_t top) const {
        // At most 0xFFFF x 0xFFFF + 0x7FFF, which 32 bits hold.
        return (std::min<uint32_t>(entry, m_Top) * top + m_Top / 2) / m_Top;
    }

  private:
    uint32_t m_Top;
};

} // namespace

} // namespace imgcore

using namespace imgcore;

extern "C" {

int32_t M_ApplyVOILUT(_BITMAPHANDLE *pBitmap, const uint16_t *pTable,
                      const _DICOMLUTDESCRIPTOR *pDescriptor, uint32_t nFlags) {
    const auto format = FormatOf(pBitmap);
    if (!format || pTable == nullptr || pDescriptor == nullptr) return KERNEL_ERROR_ARGUMENT;
    if (pDescriptor->nNumberOfEntries == 0 || pDescriptor->nEntryBits == 0) {
        return KERNEL_ERROR_ARGUMENT;
    }
    const uint32_t patterns = format->Patterns();
    Block<_RGBQUAD> narrow = MakeBlock<_RGBQUAD>(patterns);
    Block<_RGBQUAD16> wide = MakeBlock<_RGBQUAD16>(patterns);
    if (!narrow || !wide) return KERNEL_ERROR_MEMORY;
    const int64_t first = pDescriptor->nFirstStoredPixelValueMapped;
    const int64_t last = int64_t{pDescriptor->nNumberOfEntries} - 1;
    const bool invert = (nFlags & MVIMGCORX_INVERT) != 0;
    const Spread spread(pDescriptor->nEntryBits);
    for (uint32_t i = 0; i < patterns; ++i) {
        const uint16_t entry = pTable[std::clamp<int64_t>(format->ValueOf(i) - first, 0, last)];
        const uint32_t low = spread.Of(entry, 0xFF);
        const uint32_t high = spread.Of(entry, 0xFFFF);
        narrow[i] = Gray<_RGBQUAD>(static_cast<uint8_t>(invert ? 0xFF - low : low));
        wide[i] = Gray<_RGBQUAD16>(static_cast<uint16_t>(invert ? 0xFFFF - high : high));
    }
    SetLuts(*pBitmap, std::move(narrow), std::move(wide), patterns);
    return KERNEL_SUCCESS;
}

int32_t M_ApplyLinearVOILUT(_BITMAPHANDLE *pBitmap, double fCenter, double fWidth,
                            uint32_t nFlags) {
    const auto format = FormatOf(pBitmap);
    if (!format || !std::isfinite(fCenter) || !std::isfinite(fWidth)) return KERNEL_ERROR_ARGUMENT;
    const uint32_t patterns = format->Patterns();
    Block<_RGBQUAD> lut = MakeBlock<_RGBQUAD>(patterns);
    if (!lut) return KERNEL_ERROR_MEMORY;
    const Window window{fCenter, fWidth};
    const bool invert = (nFlags & MVIMGCORX_INVERT) != 0;
    for (uint32_t i = 0; i < patterns; ++i) {
        const auto level = static_cast<uint8_t>(std::lround(window.Of(format->ValueOf(i)) * 255));
        lut[i] = Gray<_RGBQUAD>(static_cast<uint8_t>(invert ? 255 - level : level));
    }
    SetLuts(*pBitmap, std::move(lut), nullptr, patterns);
    return KERNEL_SUCCESS;
}

} // extern "C"
