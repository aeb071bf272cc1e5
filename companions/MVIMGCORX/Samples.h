// Gray samples of bitmaps: which of their bits count, and rows of them.

#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "KernelBlock.h"
#include "Mvkrnx.h"

namespace imgcore {

using kernel::Block;
using kernel::MakeBlock;

/** True for a record of the right size with data behind it. */
bool HasData(const _BITMAPHANDLE *bitmap);

/** The significant bits of gray samples, and whether the highest is a sign. */
struct SampleFormat {
    int32_t Depth; ///< 8, 12 or 16
    int32_t Low;
    int32_t Count;
    bool Signed;

    uint32_t Patterns() const { return 1u << Count; }
    uint32_t IndexOf(uint32_t sample) const { return sample >> Low & (Patterns() - 1); }
    /** The number that a pattern of significant bits stands for. */
    int32_t ValueOf(uint32_t index) const {
        const int32_t sign = Signed ? 1 << (Count - 1) : 0;
        return (static_cast<int32_t>(index) ^ sign) - sign;
    }
    int32_t Least() const { return Signed ? -(1 << (Count - 1)) : 0; }
    int32_t Greatest() const { return Least() + static_cast<int32_t>(Patterns()) - 1; }
};

/** Nothing unless the bitmap is gray, or indexed, of depth 8, 12 or 16. Bits that the record names
 *  count at depths 12 and 16, if they make sense; at depth 8 all do. */
std::optional<SampleFormat> FormatOf(const _BITMAPHANDLE *bitmap);

/** Pixels of a stored row, and their number. */
int32_t StoredWidth(const _BITMAPHANDLE &bitmap);
int32_t StoredRows(const _BITMAPHANDLE &bitmap);

/** A row of a bitmap with one array element a sample, and for other depths with its bytes. */
class RowBuffer {
  public:
    explicit RowBuffer(const _BITMAPHANDLE &bitmap);
    /** False when memory was short. */
    bool IsReady() const { return m_Bytes != nullptr && (m_Depth != 12 || m_Words != nullptr); }
    bool Read(const _BITMAPHANDLE &bitmap, int32_t row);
    bool Write(_BITMAPHANDLE &bitmap, int32_t row);
    /** Bytes of the pixels, without padding; the samples of depth 8. */
    std::span<uint8_t> Bytes() { return {m_Bytes.get(), m_Used}; }
    /** Samples of depths 12 and 16. */
    std::span<uint16_t> Words();

  private:
    const int32_t m_Depth;
    const size_t m_Width;
    const size_t m_Used;
    Block<uint8_t> m_Bytes;
    Block<uint16_t> m_Words;
};

/** Replaces each sample of a bitmap that has a format by its entry in a table, which has one for
 *  every number of the depth. */
int32_t MapSamples(_BITMAPHANDLE &bitmap, const uint16_t *table);

/** Puts LUTs in place of those that the bitmap has. Null blocks leave it without. */
void SetLuts(_BITMAPHANDLE &bitmap, Block<_RGBQUAD> narrow, Block<_RGBQUAD16> wide,
             uint32_t length);

} // namespace imgcore
