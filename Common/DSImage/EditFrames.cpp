// Frames without decoding: reading and deleting their stored bytes, inserting native ones, and the
// offset table of encapsulated Pixel Data.

#include <algorithm>
#include <cstring>
#include <vector>

#include "Common/DS/ElementNode.h"
#include "Common/DSImage/Compression.h"
#include "Common/DSImage/FrameData.h"
#include "Common/DSImage/FrameFragments.h"
#include "Common/DSImage/ImageTags.h"
#include "Common/DSImage/PackedPixels.h"
#include "Common/DSImage/UncompressedFrames.h"
#include "Common/DSValue/KeptElements.h"
#include "Common/DSValue/ValueAccess.h"
#include "Common/DSValue/ValueStore.h"
#include "Common/Utils/ByteOrder.h"
#include "Common/Utils/CheckedMath.h"
#include "Common/Utils/Status.h"
#include "MDicomDS.h"

using namespace mdicom;

namespace {

/** Tells how many frames there are, beside their Pixel Data. */
bool WriteFrameCount(MDicomDS &dataSet, _DICOMELEMENT *pixelData, uint32_t frames) {
    return dataSet.FindSetValue(pixelData, kNumberOfFrames, &frames, 1, VALUE_ARRAY_DWORD) !=
           nullptr;
}

} // namespace

uint16_t MDicomDS::GetFrameBinaryData(_DICOMELEMENT *pElement, uint32_t nIndex, void *pData,
                                      uint32_t *pSize) {
    if (!CheckElement(pElement)) return DICOM_ERROR_PARAMETER;
    _IMAGEINFO info;
    const uint16_t status = GetInfoImage(pElement, &info, nIndex, 0);
    if (status != DICOM_SUCCESS) return status;
    if (IsJpegLs(info.nCompression)) return DICOM_ERROR_COMPRESSION;
    if (pSize == nullptr) return DICOM_SUCCESS;
    const uint64_t bytes = CountFrameBytes(&info);
    if (bytes > 0xFFFFFFFF) return DICOM_ERROR_IMAGE;
    if (pData == nullptr) {
        *pSize = static_cast<uint32_t>(bytes);
        return DICOM_SUCCESS;
    }
    const bool isFragment = info.pFrameElement->nTag == TAG_ITEM;
    const bool mayBeCut =
        !isFragment && info.nCompression == IMAGE_COMPRESSION_NONE && !HasPackedPixels(info);
    const uint64_t rest = uint64_t{info.pFrameElement->nLength} - info.nFrameOffset;
    const uint64_t there = mayBeCut ? std::min(bytes, rest) : bytes;
    *pSize = static_cast<uint32_t>(std::min<uint64_t>(*pSize, there));
    return ReadFrame(&info, pData, *pSize);
}

/** Reads the first bytes of a located frame. */
uint16_t MDicomDS::ReadFrame(_IMAGEINFO *pInfo, void *pData, uint32_t nSize) {
    const bool isFragment = pInfo->pFrameElement->nTag == TAG_ITEM;
    if (!isFragment && !HasPackedPixels(*pInfo)) {
        return GetFileBinaryValue(pInfo->pFrameElement, pData, pInfo->nFrameOffset, nSize)
                   ? DICOM_SUCCESS
                   : DICOM_ERROR_WRITE;
    }
    return Guarded<uint16_t>(DICOM_ERROR_MEMORY, [&]() -> uint16_t {
        if (isFragment) {
            FrameData frame;
            const Status status = GatherFrame(pInfo, &frame);
            if (status == DICOM_SUCCESS) std::memcpy(pData, frame.bytes.get(), nSize);
            return status == DICOM_ERROR_READ ? Status{DICOM_ERROR_WRITE} : status;
        }
        if (!ValueIsPresent(pInfo->pFrameElement)) return DICOM_ERROR_WRITE;
        std::vector<uint8_t> value(pInfo->pFrameElement->nLength);
        if (!GetFileBinaryValue(pInfo->pFrameElement, value.data(), 0,
                                static_cast<uint32_t>(value.size()))) {
            return DICOM_ERROR_WRITE;
        }
        std::memcpy(pData, PackedFrame(value, *pInfo).data(), nSize);
        return DICOM_SUCCESS;
    });
}

uint16_t MDicomDS::DeleteImage(_DICOMELEMENT *pElement, uint32_t nIndex, uint32_t nCount) {
    if (!CheckElement(pElement)) return DICOM_ERROR_PARAMETER;
    return Guarded<uint16_t>(DICOM_ERROR_MEMORY, [&]() -> uint16_t {
        const uint32_t wanted = CheckedAdd(nIndex, nCount).value_or(0xFFFFFFFF);
        const uint32_t end = std::min(wanted, CountFrames(*this, pElement));
        for (uint32_t left = end > nIndex ? end - nIndex : 0; left > 0;) {
            uint32_t frame = nIndex;
            _DICOMELEMENT *element = pElement != nullptr ? pElement : FindPixelData(&frame);
            if (element == nullptr) break;
            const uint32_t frames = CountFrames(*this, element);
            const uint32_t count = std::min(left, frames - frame);
            // What is still to go would not stand where it would then be looked for.
            if (DeleteFrames(element, frame, count) != DICOM_SUCCESS) break;
            left -= count;
            if (count == frames && pElement != nullptr) break;
        }
        return DICOM_SUCCESS;
    });
}

uint16_t MDicomDS::DeleteImage(_DICOMELEMENT *pElement, uint32_t nIndex) {
    return DeleteFrames(pElement, nIndex, 1);
}

/** Deletes frames of one element, which goes with the last of its native ones. */
uint16_t MDicomDS::DeleteFrames(_DICOMELEMENT *pElement, uint32_t nFirst, uint32_t nCount) {
    _IMAGEINFO info;
    if (GetInfoImage(pElement, &info, nFirst, 0) != DICOM_SUCCESS) return DICOM_SUCCESS;
    const uint32_t frames = info.nFrameCount;
    const bool isFragment = info.pFrameElement->nTag == TAG_ITEM;
    const uint32_t left = frames - nCount;
    const auto deleteNative = [&]() -> uint16_t {
        if (!WriteFrameCount(*this, pElement, left)) return DICOM_ERROR_WRITE;
        return left > 0 ? DeleteNativeFrames(&info, nCount) : Status{DICOM_SUCCESS};
    };
    constexpr uint32_t kTags[] = {kNumberOfFrames};
    const uint16_t status = isFragment
                                ? DeleteFragments(pElement, &info, nCount)
                                : ChangeWhole(*this, m_pIndex, pElement, kTags, deleteNative);
    if (status != DICOM_SUCCESS) return status;
    const bool isNested = IsNested(pElement);
    if (!isFragment && left == 0) DeleteElement(pElement);
    if (isNested) return DICOM_SUCCESS;
    DeleteItemPerFrameMultiFrameFunctionalGroup(nFirst, nFirst + nCount - 1);
    return DICOM_SUCCESS;
}

/** Deletes all fragments from those of the located frame on, up to the frame behind the last. */
uint16_t MDicomDS::DeleteFragments(_DICOMELEMENT *pElement, _IMAGEINFO *pInfo, uint32_t nCount) {
    _IMAGEINFO next = *pInfo;
    next.pFrameElement = nullptr;
    const Status behind = LocateFrame(pElement, &next, pInfo->nFrameIndex + nCount);
    if (behind == DICOM_ERROR_MEMORY) return behind; // not the end of all frames
    const _DICOMELEMENT *end = next.pFrameElement;
    next.pFrameElement = nullptr;
    if (LocateFrame(pElement, &next, 0) == DICOM_ERROR_MEMORY) return DICOM_ERROR_MEMORY;
    constexpr uint32_t kTags[] = {kNumberOfFrames};
    return ChangeWhole(*this, m_pIndex, pElement, kTags, [&]() -> uint16_t {
        if (!WriteFrameCount(*this, pElement, pInfo->nFrameCount - nCount) ||
            !PrepareOffsetTable(*this, pElement, next.pFrameElement)) {
            return DICOM_ERROR_WRITE;
        }
        for (_DICOMELEMENT *item = pInfo->pFrameElement; item != nullptr && item != end;) {
            _DICOMELEMENT *following = NextOf(item);
            DeleteElement(item);
            item = following;
        }
        return DICOM_SUCCESS;
    });
}

/** Throws std::bad_alloc. */
uint16_t MDicomDS::DeleteNativeFrames(_IMAGEINFO *pInfo, uint32_t nCount) {
    _DICOMELEMENT *element = pInfo->pFrameElement;
    if (!HasPackedPixels(*pInfo)) {
        if (!DeleteFileBinaryValue(element, pInfo->nFrameOffset, pInfo->nFrameSize * nCount)) {
            return DICOM_ERROR_WRITE;
        }
        const uint32_t end = (pInfo->nFrameCount - nCount) * pInfo->nFrameSize;
        if (HasRest(element->nLength, end)) DeleteFileBinaryValue(element, end, kUndefinedLength);
        return DICOM_SUCCESS;
    }
    if (!ValueIsPresent(element)) return DICOM_ERROR_WRITE;
    std::vector<uint8_t> value(element->nLength);
    if (!GetFileBinaryValue(element, value.data(), 0, static_cast<uint32_t>(value.size()))) {
        return DICOM_ERROR_WRITE;
    }
    value = RemovePackedFrames(value, *pInfo, pInfo->nFrameCount, pInfo->nFrameIndex, nCount);
    return ReplaceValue(*this, element, value.data(), value.size()) ? DICOM_SUCCESS
                                                                    : DICOM_ERROR_WRITE;
}

/** Bytes of a located frame as it is stored. */
uint64_t MDicomDS::CountFrameBytes(_IMAGEINFO *pInfo) {
    if (pInfo->pFrameElement->nTag != TAG_ITEM) {
        const bool isNative = pInfo->nCompression == IMAGE_COMPRESSION_NONE;
        return isNative ? pInfo->nFrameSize : pInfo->pFrameElement->nLength;
    }
    _IMAGEINFO next = *pInfo;
    next.pFrameElement = nullptr;
    LocateFrame(ParentOf(pInfo->pFrameElement), &next, pInfo->nFrameIndex + 1);
    uint64_t bytes = 0;
    for (const _DICOMELEMENT *item = pInfo->pFrameElement;
         item != nullptr && item != next.pFrameElement; item = NextOf(item)) {
        bytes += item->nLength;
    }
    return bytes;
}

/** Writes the Basic Offset Table (PS 3.5, A.4) of frames that are all there. It stays empty where
 *  an offset passes 32 bits. */
uint16_t MDicomDS::RefreshImage(_DICOMELEMENT *pElement) {
    constexpr uint64_t kItemHeader = 8;
    if (pElement == nullptr || pElement->nTag != TAG_PIXEL_DATA) return DICOM_ERROR_PARAMETER;
    _DICOMELEMENT *table = FirstChildOf(pElement);
    const bool isEncapsulated = pElement->nLength == kUndefinedLength;
    const bool isEmpty =
        isEncapsulated ? table == nullptr || NextOf(table) == nullptr : pElement->nLength == 0;
    if (isEmpty) DeleteElement(pElement);
    if (isEmpty || !isEncapsulated) return DICOM_SUCCESS;
    return Guarded<uint16_t>(DICOM_ERROR_MEMORY, [&]() -> uint16_t {
        std::vector<uint32_t> offsets;
        uint64_t place = 0;
        _IMAGEINFO frame;
        uint32_t count = 0;
        const uint16_t described = DescribeImage(pElement, &frame, 0);
        if (described == DICOM_ERROR_MEMORY) return described;
        if (described != DICOM_SUCCESS) return DICOM_SUCCESS;
        for (_DICOMELEMENT *item = NextOf(table); item != nullptr; item = NextOf(item)) {
            frame.pFrameElement = nullptr;
            const uint16_t located = LocateFrame(pElement, &frame, count);
            if (located == DICOM_ERROR_MEMORY) return located;
            const bool isStart = located == DICOM_SUCCESS && frame.pFrameElement == item;
            if (isStart && place > 0xFFFFFFFF) return DICOM_SUCCESS;
            if (isStart) offsets.push_back(static_cast<uint32_t>(place));
            if (isStart) ++count;
            place += kItemHeader + item->nLength + item->nLength % 2;
        }
        if (offsets.empty()) return DICOM_SUCCESS;
        const auto size = static_cast<uint32_t>(offsets.size() * sizeof(uint32_t));
        return SetBinaryValue(table, offsets.data(), size) ? DICOM_SUCCESS : DICOM_ERROR_WRITE;
    });
}

/** Inserts a native frame whose rows stand one behind the other, or are padded to 32 bits. */
int32_t MDicomDS::InsertUncompressedFrame(_DICOMELEMENT *pElement, void *pData, uint32_t nSize,
                                          uint32_t nIndex) {
    if (pElement == nullptr || pData == nullptr || !CheckElement(pElement)) return 0;
    const bool isUndefined = pElement->nLength == kUndefinedLength;
    if (isUndefined && FirstChildOf(pElement) != nullptr) return 0;
    _IMAGEINFO info;
    if (DescribeImage(pElement, &info, 0) != DICOM_SUCCESS) return 0;
    if (info.nCompression != IMAGE_COMPRESSION_NONE) return 0;
    if (isUndefined) pElement->nLength = 0;
    LocateFrame(pElement, &info, 0);
    const uint64_t rowBits = uint64_t{info.nBitsAllocated} * info.nSamplesPerPixel * info.nColumns;
    const uint64_t rowBytes = (rowBits + 7) / 8;
    const uint64_t stride = (rowBits + 31) / 32 * 4;
    const bool isTight = nSize == info.nFrameSize;
    const int32_t done = Guarded(0, [&]() -> int32_t {
        if (!isTight && nSize != stride * info.nRows) return 0;
        std::vector<uint8_t> frame(static_cast<uint8_t *>(pData),
                                   static_cast<uint8_t *>(pData) + nSize);
        for (uint64_t row = 1; !isTight && row < info.nRows; ++row) {
            std::memmove(frame.data() + row * rowBytes, frame.data() + row * stride, rowBytes);
        }
        if (!isTight) frame.resize(rowBytes * info.nRows);
        return InsertNativeFrame(pElement, &info, frame.data(), static_cast<uint32_t>(frame.size()),
                                 nIndex);
    });
    if (!done && isUndefined) pElement->nLength = kUndefinedLength;
    return done;
}

/** Inserts the bytes of a frame. Throws std::bad_alloc. */
int32_t MDicomDS::InsertNativeFrame(_DICOMELEMENT *pElement, _IMAGEINFO *pInfo, uint8_t *pFrame,
                                    uint32_t nSize, uint32_t nIndex) {
    const uint32_t frames = pElement->nLength > 0 ? pInfo->nFrameCount : 0;
    if (!HasPackedPixels(*pInfo) || (nSize == pInfo->nFrameSize && BeginsWithByte(*pInfo))) {
        const uint64_t offset = uint64_t{std::min(nIndex, frames)} * pInfo->nFrameSize;
        if (offset > pElement->nLength) return 0;
        if (!InsertFileBinaryValue(pElement, pFrame, static_cast<uint32_t>(offset), nSize))
            return 0;
        const uint64_t end = (uint64_t{frames} + 1) * pInfo->nFrameSize;
        if (HasRest(pElement->nLength, end)) {
            DeleteFileBinaryValue(pElement, static_cast<uint32_t>(end), kUndefinedLength);
        }
        return 1;
    }
    if (!ValueIsPresent(pElement)) return 0;
    std::vector<uint8_t> old(pElement->nLength);
    if (!old.empty() && !GetFileBinaryValue(pElement, old.data(), 0, pElement->nLength)) return 0;
    const std::vector<uint8_t> rows =
        nSize == pInfo->nFrameSize ? UnpackRows({pFrame, nSize}, *pInfo) : std::vector<uint8_t>();
    const std::vector<uint8_t> value = InsertPackedFrame(
        old, *pInfo, frames, std::min(nIndex, frames), rows.empty() ? pFrame : rows.data());
    return value.empty() ? 0 : ReplaceValue(*this, pElement, value.data(), value.size());
}

int32_t UncompressedFrames::Insert(MDicomDS &dataSet, _DICOMELEMENT *pixelData, void *data,
                                   uint32_t size, uint32_t index) {
    return dataSet.InsertUncompressedFrame(pixelData, data, size, index);
}
