// Overlay data (PS 3.5, 8.1.2) to and from one-bit bitmaps.

#include <algorithm>
#include <cstring>
#include <optional>

#include "Common/DSImage/BitmapColors.h"
#include "Common/DSImage/ScopedBitmap.h"
#include "Common/DSValue/ValueAccess.h"
#include "Common/DSValue/ValueStore.h"
#include "Common/Overlay/Overlay.h"
#include "Common/Overlay/OverlayBits.h"
#include "Common/Overlay/OverlayGroups.h"
#include "Common/Utils/ByteOrder.h"
#include "MDicomDS.h"

using namespace mdicom;

namespace {

constexpr uint32_t kTopLeft = 1;
constexpr uint32_t kBottomLeft = 4;
constexpr uint32_t kLongestRow = 0x10000 / 8;

OverlaySize SizeOf(const _OVERLAYATTRIBUTES &attributes) {
    return {attributes.nRows, attributes.nColumns, attributes.nFramesInOverlay};
}

/** Bytes of whole words around a run of bits. The words of OW data turn over as a whole in big
 *  endian, so an access may not begin or end within one. */
struct WordRange {
    uint64_t begin;
    uint64_t end;

    WordRange(uint64_t firstBit, uint64_t count)
        : begin(firstBit / 16 * 2), end((firstBit + count + 15) / 16 * 2) {}
    uint64_t Length() const { return end - begin; }
};

/** Rows of a frame from a value that holds all its bits, in pieces. */
class FrameReader {
  public:
    FrameReader(MDicomDS &dataSet, _DICOMELEMENT *element, const OverlaySize &size,
                uint64_t firstBit)
        : m_DataSet(dataSet),
          m_Element(element),
          m_Size(size),
          m_FirstBit(firstBit),
          m_RowsPerPiece(std::clamp<uint32_t>(kPieceBits / std::max<uint32_t>(1, size.columns), 1,
                                              std::max<uint32_t>(1, size.rows))),
          m_Piece(MakeDataBlock<uint8_t>(
              WordRange(15, uint64_t{m_RowsPerPiece} * size.columns).end + kBitSlack)) {}

    uint16_t CopyTo(_BITMAPHANDLE &bitmap) {
        if (!m_Piece) return DICOM_ERROR_MEMORY;
        for (uint32_t row = 0; row < m_Size.rows; row += m_RowsPerPiece) {
            const uint16_t status =
                CopyRows(bitmap, row, std::min(m_RowsPerPiece, m_Size.rows - row));
            if (status != DICOM_SUCCESS) return status;
        }
        return DICOM_SUCCESS;
    }

  private:
    static constexpr uint32_t kPieceBits = 8 << 18;

    uint16_t CopyRows(_BITMAPHANDLE &bitmap, uint32_t first, uint32_t count) {
        uint64_t bit = m_FirstBit + uint64_t{first} * m_Size.columns;
        const WordRange range(bit, uint64_t{count} * m_Size.columns);
        const uint64_t end = std::min<uint64_t>(range.end, m_Element->nLength);
        if (!m_DataSet.GetBinaryValue(m_Element, m_Piece.get(), static_cast<uint32_t>(range.begin),
                                      static_cast<uint32_t>(end - range.begin))) {
            return DICOM_ERROR_READ;
        }
        bit -= range.begin * 8;
        const auto rowBytes = (m_Size.columns + 7u) / 8;
        for (uint32_t i = 0; i < count; ++i, bit += m_Size.columns) {
            uint8_t row[kLongestRow + kBitSlack];
            UnpackRow(m_Piece.get(), bit, m_Size.columns, row);
            const auto stored =
                KernelPutBitmapRow(&bitmap, row, static_cast<int32_t>(first + i), rowBytes);
            if (stored != rowBytes) return DICOM_ERROR_MEMORY;
        }
        return DICOM_SUCCESS;
    }

    MDicomDS &m_DataSet;
    _DICOMELEMENT *m_Element;
    OverlaySize m_Size;
    uint64_t m_FirstBit;
    uint32_t m_RowsPerPiece;
    DataBlock<uint8_t> m_Piece;
};

/** A view of a bitmap whose stored rows are those of the picture, from the top or the bottom. */
class UprightBitmap {
  public:
    explicit UprightBitmap(const _BITMAPHANDLE &bitmap) : m_View(&bitmap) {
        if (bitmap.nViewPerspective == kTopLeft || bitmap.nViewPerspective == kBottomLeft) return;
        const auto copied = KernelCopyBitmapView(m_Copy.Get(), &bitmap, sizeof bitmap);
        m_View = copied == KERNEL_SUCCESS ? m_Copy.Get() : nullptr;
    }

    /** Null without memory for it. */
    const _BITMAPHANDLE *Get() const { return m_View; }

  private:
    ScopedBitmap m_Copy;
    const _BITMAPHANDLE *m_View;
};

/** Adds all rows to a stream of zeroes, from a bit on. */
bool PackRows(const _BITMAPHANDLE &bitmap, uint8_t *stream, uint64_t bit) {
    const auto columns = static_cast<uint32_t>(bitmap.nWidth);
    const uint32_t rowBytes = (columns + 7) / 8;
    const uint8_t inversion = HasInvertedColors(bitmap) ? 0xFF : 0;
    const bool upward = bitmap.nViewPerspective == kBottomLeft;
    for (int32_t i = 0; i < bitmap.nHeight; ++i, bit += columns) {
        uint8_t row[kLongestRow + kBitSlack];
        const int32_t place = upward ? bitmap.nHeight - 1 - i : i;
        if (KernelGetBitmapRow(&bitmap, row, place, rowBytes) != rowBytes) return false;
        PackRow(row, columns, inversion, stream, bit);
    }
    return true;
}

bool IsBitmapOf(const _BITMAPHANDLE &bitmap, const _OVERLAYATTRIBUTES &attributes) {
    return bitmap.nStructSize == sizeof bitmap && bitmap.nWidth == attributes.nColumns &&
           bitmap.nHeight == attributes.nRows && bitmap.nBitsPerPixel == 1 &&
           (bitmap.nBitmapFlags & KERNEL_BITMAP_ALLOCATED) != 0;
}

/** A frame in the words that hold it. */
struct PackedFrame {
    DataBlock<uint8_t> words;
    WordRange range;
    uint64_t firstBit;
    uint64_t endBit;

    PackedFrame(const OverlaySize &size, uint32_t frame, uint64_t length)
        : range(size.FirstBit(frame, length), size.FrameBits()),
          firstBit(size.FirstBit(frame, length)),
          endBit(firstBit + size.FrameBits()) {}

    uint16_t Pack(const _BITMAPHANDLE &bitmap);
    void KeepNeighbours(MDicomDS &dataSet, _DICOMELEMENT *element, bool isLast);

  private:
    void Keep(MDicomDS &dataSet, _DICOMELEMENT *element, uint64_t place, uint16_t mask);
};

uint16_t PackedFrame::Pack(const _BITMAPHANDLE &bitmap) {
    const UprightBitmap upright(bitmap);
    const size_t room = range.Length() + kBitSlack;
    words = MakeDataBlock<uint8_t>(room);
    if (!words || upright.Get() == nullptr) return DICOM_ERROR_MEMORY;
    std::memset(words.get(), 0, room);
    const bool packed = PackRows(*upright.Get(), words.get(), firstBit - range.begin * 8);
    return packed ? DICOM_SUCCESS : DICOM_ERROR_IMAGE;
}

void PackedFrame::Keep(MDicomDS &dataSet, _DICOMELEMENT *element, uint64_t place, uint16_t mask) {
    uint8_t word[2] = {};
    if (mask == 0 || place + 2 > element->nLength) return;
    if (!dataSet.GetBinaryValue(element, word, static_cast<uint32_t>(place), 2)) return;
    uint8_t *target = words.get() + (place - range.begin);
    Store16(target, static_cast<uint16_t>(Load16(target, true) | (Load16(word, true) & mask)),
            true);
}

/** Frames are not padded, so that the one before and the next one share words with this one. */
void PackedFrame::KeepNeighbours(MDicomDS &dataSet, _DICOMELEMENT *element, bool isLast) {
    const auto bitsBefore = static_cast<uint16_t>((1u << firstBit % 16) - 1);
    const auto bitsBehind = static_cast<uint16_t>(endBit % 16 == 0 ? 0 : 0xFFFFu << endBit % 16);
    Keep(dataSet, element, range.begin, bitsBefore);
    if (!isLast) Keep(dataSet, element, range.end - 2, bitsBehind);
}

/** The element with a value that reaches at least up to a place. */
_DICOMELEMENT *MakeData(MDicomDS &dataSet, uint32_t tag, uint64_t place) {
    _DICOMELEMENT *element = dataSet.FindFirstElement(nullptr, tag, 1);
    if (element == nullptr) element = dataSet.InsertElement(nullptr, 0, tag, 0, 0, 0);
    if (element == nullptr || element->nLength == kUndefinedLength) return nullptr;
    if (element->nLength >= place) return element;
    const auto missing = static_cast<uint32_t>(place - element->nLength);
    return dataSet.InsertBinaryValue(element, nullptr, kUndefinedLength - 1, missing) ? element
                                                                                      : nullptr;
}

} // namespace

namespace mdicom {

uint16_t ReadOverlayFrame(MDicomDS &dataSet, uint32_t mask, const _OVERLAYATTRIBUTES &attributes,
                          uint32_t frame, _BITMAPHANDLE &bitmap) {
    KernelInitBitmap(&bitmap, sizeof bitmap, 0, 0, 0);
    _DICOMELEMENT *element = dataSet.FindFirstElement(nullptr, kOverlayData | mask, 1);
    if (element == nullptr) return DICOM_ERROR_OVERLAY_DATA;
    if (frame >= attributes.nFramesInOverlay) return DICOM_ERROR_PARAMETER;
    const OverlaySize size = SizeOf(attributes);
    const uint64_t first = size.FirstBit(frame, element->nLength);
    const bool isThere = element->nLength != kUndefinedLength && ValueIsPresent(element) &&
                         first + size.FrameBits() <= uint64_t{element->nLength} * 8;
    if (!isThere) return DICOM_ERROR_READ;
    const auto created =
        KernelCreateBitmap(&bitmap, sizeof bitmap, KERNEL_MEMORY_OWN, size.columns, size.rows, 1,
                           KERNEL_ORDER_BGR, nullptr, kTopLeft, nullptr, 0);
    if (created != KERNEL_SUCCESS) return DICOM_ERROR_MEMORY;
    uint16_t status = DICOM_ERROR_MEMORY;
    if (KernelAccessBitmap(&bitmap) == KERNEL_SUCCESS) {
        status = FrameReader(dataSet, element, size, first).CopyTo(bitmap);
        KernelReleaseBitmap(&bitmap);
    }
    if (status != DICOM_SUCCESS) KernelFreeBitmap(&bitmap);
    return status;
}

} // namespace mdicom

uint16_t MDicomDS::GetOverlayBitmap(uint32_t nIndex, _BITMAPHANDLE *pBitmap, uint32_t nSize,
                                    uint32_t nFlags) {
    return GetOverlayBitmap(nIndex, pBitmap, nSize, 0, nFlags);
}

uint16_t MDicomDS::GetOverlayBitmap(uint32_t nIndex, _BITMAPHANDLE *pBitmap, uint32_t nSize,
                                    uint32_t nFrame, uint32_t /*nFlags*/) {
    const OverlayGroups groups(*this);
    if (pBitmap == nullptr || nSize != sizeof(_BITMAPHANDLE) || nIndex >= groups.Count()) {
        return DICOM_ERROR_PARAMETER;
    }
    KernelInitBitmap(pBitmap, nSize, 0, 0, 0);
    const std::optional<uint32_t> position = groups.Find(nIndex);
    if (!position || groups.IsLayerOnly(*position)) return DICOM_ERROR_OVERLAY_DATA;
    const uint32_t mask = OverlayMaskOf(*position);
    _OVERLAYATTRIBUTES attributes;
    const uint16_t status = ReadOverlayAttributes(*this, mask, attributes);
    if (status != DICOM_SUCCESS) return status;
    if (nFrame >= attributes.nFramesInOverlay) return DICOM_ERROR_PARAMETER;
    return ReadOverlayFrame(*this, mask, attributes, nFrame, *pBitmap);
}

uint16_t MDicomDS::SetOverlayBitmap(uint32_t nIndex, _BITMAPHANDLE *pBitmap, uint32_t nFlags) {
    return SetOverlayBitmap(nIndex, pBitmap, 0, nFlags);
}

/** Frames behind the end of the data make it longer. */
uint16_t MDicomDS::SetOverlayBitmap(uint32_t nIndex, _BITMAPHANDLE *pBitmap, uint32_t nFrame,
                                    uint32_t /*nFlags*/) {
    if (pBitmap == nullptr) return DICOM_ERROR_PARAMETER;
    const std::optional<uint32_t> position = OverlayGroups(*this).FindForData(nIndex);
    if (!position) return DICOM_ERROR_PARAMETER;
    const uint32_t mask = OverlayMaskOf(*position);
    _OVERLAYATTRIBUTES attributes;
    uint16_t status = ReadOverlayAttributes(*this, mask, attributes);
    if (status != DICOM_SUCCESS) return status;
    if (nFrame >= attributes.nFramesInOverlay || !IsBitmapOf(*pBitmap, attributes)) {
        return DICOM_ERROR_PARAMETER;
    }
    const OverlaySize size = SizeOf(attributes);
    _DICOMELEMENT *element = FindFirstElement(nullptr, kOverlayData | mask, 1);
    PackedFrame frame(size, nFrame, element != nullptr ? element->nLength : 0);
    if (frame.range.end > kLongestValue) return DICOM_ERROR_WRITE;
    status = frame.Pack(*pBitmap);
    if (status != DICOM_SUCCESS) return status;
    element = MakeData(*this, kOverlayData | mask, frame.range.begin);
    if (element == nullptr) return DICOM_ERROR_WRITE;
    frame.KeepNeighbours(*this, element, nFrame + 1 == size.frames);
    const auto begin = static_cast<uint32_t>(frame.range.begin);
    const auto length = static_cast<uint32_t>(frame.range.Length());
    int32_t stored = SetFileBinaryValue(element, frame.words.get(), begin, length);
    // What is left of data of another size would be taken for frames.
    const uint64_t end = size.DataLength();
    if (stored && element->nLength > end && !size.IsPaddedLength(element->nLength)) {
        stored = DeleteFileBinaryValue(element, static_cast<uint32_t>(end), kUndefinedLength);
    }
    FreeValue(element);
    return stored ? DICOM_SUCCESS : DICOM_ERROR_WRITE;
}

uint16_t MDicomDS::GetOverlayBitmapList(uint32_t nIndex, HBITMAPLIST__ *hList, uint32_t nFirst,
                                        uint32_t nCount, uint32_t nFlags) {
    if (hList == nullptr || nIndex >= OverlayGroups(*this).Count()) return DICOM_ERROR_PARAMETER;
    if (nCount > 0xFFFFFFFF - nFirst) return DICOM_ERROR_PARAMETER;
    for (uint32_t i = 0; i < nCount; ++i) {
        _BITMAPHANDLE bitmap;
        const uint16_t status =
            GetOverlayBitmap(nIndex, &bitmap, sizeof bitmap, nFirst + i, nFlags);
        if (status != DICOM_SUCCESS) return status;
        if (KernelListInsertItem(hList, 0xFFFFFFFF, &bitmap, sizeof bitmap) != KERNEL_SUCCESS) {
            KernelFreeBitmap(&bitmap);
            return DICOM_ERROR_MEMORY;
        }
    }
    return DICOM_SUCCESS;
}

uint16_t MDicomDS::SetOverlayBitmapList(uint32_t nIndex, HBITMAPLIST__ *hList, uint32_t nFlags) {
    uint32_t count = 0;
    const OverlayGroups groups(*this);
    if (hList == nullptr || nIndex >= groups.Count()) return DICOM_ERROR_PARAMETER;
    if (KernelListItemCount(hList, &count) != KERNEL_SUCCESS || count == 0) {
        return DICOM_ERROR_PARAMETER;
    }
    const std::optional<uint32_t> position = groups.Find(nIndex);
    if (!position) return DICOM_ERROR_OVERLAY_ATTRIBUTE;
    const uint32_t mask = OverlayMaskOf(*position);
    _OVERLAYATTRIBUTES attributes;
    uint16_t status = ReadOverlayAttributes(*this, mask, attributes);
    _BITMAPHANDLE bitmap;
    for (uint32_t i = 0; status == DICOM_SUCCESS && i < count; ++i) {
        if (KernelListGetItem(hList, i, &bitmap, sizeof bitmap) != KERNEL_SUCCESS) {
            status = DICOM_ERROR_IMAGE;
        } else if (!IsBitmapOf(bitmap, attributes)) {
            status = DICOM_ERROR_PARAMETER;
        }
    }
    if (status != DICOM_SUCCESS) return status;
    const uint32_t framesTag = kOverlayFrames | mask;
    return ChangeWhole(*this, m_pIndex, nullptr, {&framesTag, 1}, [&]() -> uint16_t {
        if (count > attributes.nFramesInOverlay &&
            FindSetValue(nullptr, framesTag, &count, 1, VALUE_ARRAY_DWORD) == nullptr) {
            return DICOM_ERROR_WRITE;
        }
        for (uint32_t i = 0; i < count; ++i) {
            KernelListGetItem(hList, i, &bitmap, sizeof bitmap);
            const uint16_t stored = SetOverlayBitmap(nIndex, &bitmap, i, nFlags);
            if (stored != DICOM_SUCCESS) return stored;
        }
        return DICOM_SUCCESS;
    });
}
