// Gray samples of bitmaps: which of their bits count, and rows of them.

#include "companions/MVIMGCORX/Samples.h"

#include "kernel/Packed12.h"

namespace imgcore {

namespace {

bool IsGray(const _BITMAPHANDLE &bitmap) {
    return bitmap.nBitsPerPixel == 12 ||
           (bitmap.nBitsPerPixel == 16 && bitmap.nOrder == KERNEL_ORDER_GRAY);
}

} // namespace

bool HasData(const _BITMAPHANDLE *bitmap) {
    uint8_t byte = 0;
    return bitmap != nullptr && bitmap->nStructSize == sizeof *bitmap &&
           KernelGetBitmapRow(bitmap, &byte, 0, 1) == 1;
}

std::optional<SampleFormat> FormatOf(const _BITMAPHANDLE *bitmap) {
    if (!HasData(bitmap)) return std::nullopt;
    const int32_t depth = bitmap->nBitsPerPixel;
    const bool isSigned = (bitmap->nBitmapFlags & KERNEL_BITMAP_SIGNED) != 0;
    if (depth != 8 && !IsGray(*bitmap)) return std::nullopt;
    const bool named = depth != 8 && bitmap->nLowBit >= 0 && bitmap->nHighBit >= bitmap->nLowBit &&
                       bitmap->nHighBit < depth;
    if (!named) return SampleFormat{depth, 0, depth, isSigned};
    return SampleFormat{depth, bitmap->nLowBit, bitmap->nHighBit - bitmap->nLowBit + 1, isSigned};
}

int32_t StoredWidth(const _BITMAPHANDLE &bitmap) {
    return bitmap.nViewPerspective >= 5 ? bitmap.nHeight : bitmap.nWidth;
}

int32_t StoredRows(const _BITMAPHANDLE &bitmap) {
    return bitmap.nViewPerspective >= 5 ? bitmap.nWidth : bitmap.nHeight;
}

RowBuffer::RowBuffer(const _BITMAPHANDLE &bitmap)
    : m_Depth(bitmap.nBitsPerPixel),
      m_Width(static_cast<size_t>(StoredWidth(bitmap))),
      m_Used((m_Width * static_cast<size_t>(m_Depth) + 7) / 8),
      m_Bytes(MakeBlock<uint8_t>(bitmap.nBytesPerLine)) {
    if (m_Depth == 12) m_Words = MakeBlock<uint16_t>(m_Width);
}

bool RowBuffer::Read(const _BITMAPHANDLE &bitmap, int32_t row) {
    if (KernelGetBitmapRow(&bitmap, m_Bytes.get(), row, m_Used) < 0) return false;
    if (m_Depth == 12) kernel::Unpack12(m_Bytes.get(), m_Words.get(), m_Width);
    return true;
}

bool RowBuffer::Write(_BITMAPHANDLE &bitmap, int32_t row) {
    if (m_Depth == 12) kernel::Pack12(m_Words.get(), m_Bytes.get(), m_Width);
    return KernelPutBitmapRow(&bitmap, m_Bytes.get(), row, m_Used) >= 0;
}

std::span<uint16_t> RowBuffer::Words() {
    if (m_Depth == 12) return {m_Words.get(), m_Width};
    return {reinterpret_cast<uint16_t *>(m_Bytes.get()), m_Width};
}

int32_t MapSamples(_BITMAPHANDLE &bitmap, const uint16_t *table) {
    RowBuffer buffer(bitmap);
    if (!buffer.IsReady()) return KERNEL_ERROR_MEMORY;
    for (int32_t row = 0; row < StoredRows(bitmap); ++row) {
        if (!buffer.Read(bitmap, row)) return KERNEL_ERROR_ARGUMENT;
        if (bitmap.nBitsPerPixel == 8) {
            for (uint8_t &sample : buffer.Bytes()) sample = static_cast<uint8_t>(table[sample]);
        } else {
            for (uint16_t &sample : buffer.Words()) sample = table[sample];
        }
        if (!buffer.Write(bitmap, row)) return KERNEL_ERROR_ARGUMENT;
    }
    return KERNEL_SUCCESS;
}

void SetLuts(_BITMAPHANDLE &bitmap, Block<_RGBQUAD> narrow, Block<_RGBQUAD16> wide,
             uint32_t length) {
    KernelFree(bitmap.pLUT, 0, nullptr);
    KernelFree(bitmap.pLUT16, 0, nullptr);
    bitmap.nLUTLength = narrow != nullptr ? length : 0;
    bitmap.nLUT16Length = wide != nullptr ? length : 0;
    bitmap.nBitmapFlags &= ~uint32_t{KERNEL_BITMAP_LUT_IN_USE};
    if (narrow != nullptr || wide != nullptr) bitmap.nBitmapFlags |= KERNEL_BITMAP_LUT_IN_USE;
    bitmap.pLUT = narrow.release();
    bitmap.pLUT16 = wide.release();
}

} // namespace imgcore
