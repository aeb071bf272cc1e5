// How the samples of a decoded frame lie in memory, and how they become rows of a bitmap.

#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "Common/DSImage/Ybr.h"
#include "MDicomTypes.h"

namespace mdicom {

/** Samples of a decoded frame. */
struct FrameLayout {
    uint32_t rowBits = 0;     ///< 1 or 12: rows of packed pixels, lowest bit first; else 0
    uint32_t sampleBytes = 0; ///< 1, 2 or 4
    size_t pixelStride = 0;   ///< bytes from pixel to pixel
    size_t rowStride = 0;     ///< bytes from row to row
    uint64_t bytes = 0;       ///< of the whole frame
    std::array<size_t, 4> components{}; ///< where the components of the first pixel are
};

/** The layout that the decoder of the image's compression makes; nothing for allocated bits that
 *  no decoder knows. */
std::optional<FrameLayout> LayoutOf(const _IMAGEINFO &image);

/** Pixels one behind the other, components in their order, rows without padding. */
FrameLayout TightLayout(const _IMAGEINFO &image, uint32_t sampleBytes);

/** Pixels as bitmaps have them: rows padded, the last of three components first. */
FrameLayout BitmapLayout(const _IMAGEINFO &image, uint32_t sampleBytes);

/** Makes bits of a description agree that are missing or contradict each other. */
void SettleBits(_IMAGEINFO &image);

/** Bytes of a row that is padded as those of bitmaps are. */
constexpr size_t PaddedRow(size_t bytes) {
    return (bytes + 3) / 4 * 4;
}

/** Bytes of a frame with whole bytes for each sample; nothing if they pass 32 bits. */
std::optional<uint32_t> BytewiseFrameSize(const _IMAGEINFO &image);

/** Turns rows of samples into rows of a bitmap. */
class RowMaker {
  public:
    /** Throws std::bad_alloc. @param signedSamples whether a sign bit counts, where one is */
    RowMaker(const _IMAGEINFO &image, const FrameLayout &layout, bool signedSamples);

    /** What has to be known of CMYK before its rows can be made. */
    void SetRange(uint32_t low, uint32_t high);
    void SetYbr(YbrRange range) { m_Ybr = range; }

    /** True if the samples are the row already; Make then works in place, too. */
    bool IsIdentity() const { return m_Make == nullptr; }
    /** True if Make would leave samples in place as they are. */
    bool LeavesRows() const { return IsIdentity() && !m_Ybr; }
    /** Makes a row from its first sample: every byte but those of the padding. */
    void Make(const uint8_t *samples, uint8_t *row) const;
    void ClearPadding(uint8_t *row) const {
        std::fill(row + m_RowBytes, row + PaddedRow(m_RowBytes), uint8_t{0});
    }

    /** A component's value: the stored bits alone, a sign moved to the offset that makes the least
     *  value 0. */
    uint32_t Value(const uint8_t *sample) const;

  private:
    using MakeRow = void (RowMaker::*)(const uint8_t *samples, uint8_t *row) const;

    MakeRow ChooseGray(const _IMAGEINFO &image);
    MakeRow ChoosePalette(const _IMAGEINFO &image);
    MakeRow ChooseColor(const _IMAGEINFO &image);
    void FillTables(const _IMAGEINFO &image);

    void CopyRow(const uint8_t *samples, uint8_t *row) const;
    void ReverseRowBits(const uint8_t *samples, uint8_t *row) const;
    void SpreadRowBits(const uint8_t *samples, uint8_t *row) const;
    void PackRow(const uint8_t *samples, uint8_t *row) const;
    void PickSamples(const uint8_t *samples, uint8_t *row) const;
    void LookUpIndex(const uint8_t *samples, uint8_t *row) const;
    void LookUpColor(const uint8_t *samples, uint8_t *row) const;
    void LookUpOverriddenColor(const uint8_t *samples, uint8_t *row) const;
    void Reverse8(const uint8_t *samples, uint8_t *row) const;
    void Interleave8(const uint8_t *samples, uint8_t *row) const;
    void TakeHighBits(const uint8_t *samples, uint8_t *row) const;
    void SubtractInk(const uint8_t *samples, uint8_t *row) const;

    const uint8_t *Unpack(const uint8_t *samples) const;
    uint8_t HighBits(const uint8_t *sample) const;
    uint8_t Ink(const uint8_t *sample) const;

    FrameLayout m_Layout;
    size_t m_Columns;
    size_t m_RowBytes;
    uint32_t m_SampleMask;
    uint32_t m_ValueMask;
    uint32_t m_SignOffset;
    uint32_t m_LowBit;
    uint32_t m_Excess; ///< stored bits above 8
    uint32_t m_Low = 0;
    uint32_t m_High = 255;
    MakeRow m_Make = nullptr;
    std::optional<YbrRange> m_Ybr;
    std::vector<uint8_t> m_Indices;          ///< of the bitmap's palette, for each value
    std::vector<uint32_t> m_Colors;          ///< blue in the low byte, for each value
    mutable std::vector<uint8_t> m_Unpacked; ///< samples of a row of packed indices
};

/** The least and the greatest value of all samples of a frame. */
void FindRange(const _IMAGEINFO &image, const FrameLayout &layout, const RowMaker &maker,
               const uint8_t *frame, uint32_t *low, uint32_t *high);

} // namespace mdicom
