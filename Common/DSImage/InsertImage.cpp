// Bitmaps as frames.

#include <algorithm>

#include "Common/DS/ElementNode.h"
#include "Common/DSImage/FrameFragments.h"
#include "Common/DSImage/FrameSaver.h"
#include "Common/DSImage/PixelInfoSnapshot.h"
#include "Common/DSValue/ValueAccess.h"
#include "Common/Utils/CheckedMath.h"
#include "Common/Utils/Vr.h"
#include "MDicomDS.h"

using namespace mdicom;

namespace {

constexpr uint32_t kPastAllFrames = 0xFFFFFFFF;
constexpr uint32_t kPerFrameGroups = 0x52009230;
constexpr uint32_t kFrameVoiLut = 0x00289132;
constexpr uint32_t kPixelValueTransformation = 0x00289145;

/** Two places for the same new attributes. */
bool HasConflict(uint32_t flags) {
    constexpr uint32_t kVoi = DICOM_SETIMAGE_VOI_PER_FRAME | DICOM_SETIMAGE_VOI_SHARED;
    constexpr uint32_t kModality =
        DICOM_SETIMAGE_MODALITY_PER_FRAME | DICOM_SETIMAGE_MODALITY_SHARED;
    return (flags & kVoi) == kVoi || (flags & kModality) == kModality;
}

/** Sets the codec flag of a data set for the time of a call. */
class CodecFlag {
  public:
    CodecFlag(DICOMDSEXTRA *extra, bool wanted) : m_Extra(extra) {
        if (m_Extra != nullptr && wanted) m_Extra->bCodecFlag = 1;
    }
    ~CodecFlag() {
        if (m_Extra != nullptr) m_Extra->bCodecFlag = 0;
    }
    CodecFlag(const CodecFlag &) = delete;
    CodecFlag &operator=(const CodecFlag &) = delete;

  private:
    DICOMDSEXTRA *m_Extra;
};

uint32_t CountChildren(const _DICOMELEMENT *element) {
    uint32_t count = 0;
    if (element == nullptr) return 0;
    for (const _DICOMELEMENT *child = FirstChildOf(element); child != nullptr;
         child = NextOf(child)) {
        ++count;
    }
    return count;
}

} // namespace

uint16_t MDicomDS::InsertImage(_DICOMELEMENT *pElement, _BITMAPHANDLE *pBitmap, uint32_t nIndex,
                               uint32_t nCompression, int32_t nPhotometric, int32_t nBitsPerPixel,
                               int32_t nQuality, uint32_t nFlags, MDICOM_SAVE_CALLBACK pfnCallback,
                               void *pUserData) {
    if (pBitmap == nullptr) return DICOM_ERROR_NULL_POINTER;
    if (HasConflict(nFlags) || !CheckElement(pElement)) return DICOM_ERROR_PARAMETER;
    if (pElement != nullptr && pElement->nTag != TAG_PIXEL_DATA) return DICOM_ERROR_PARAMETER;
    const bool isIntact = (m_nFlags & DS_KEEP_PIXEL_DATA_INTACT) != 0;
    if (isIntact) nFlags |= DICOM_SETIMAGE_NO_LUT_ELEMENTS;
    CMyImagePixelInfo snapshot;
    const uint16_t prepared = Guarded<uint16_t>(DICOM_ERROR_MEMORY, [&]() -> uint16_t {
        if (pElement == nullptr) pElement = FindInsertionPoint(&nIndex);
        if (pElement != nullptr) nIndex = std::min(nIndex, CountFrames(*this, pElement));
        return isIntact ? snapshot.Take(*this, nullptr) : Status{DICOM_SUCCESS};
    });
    if (prepared == DICOM_ERROR_MEMORY) return prepared;
    _DICOMELEMENT *groups = FindFirstElement(nullptr, kPerFrameGroups, 1);
    const uint32_t items = CountChildren(groups);
    InsertItemPerFrameMultiFrameFunctionalGroup(nIndex);
    const CodecFlag codecFlag(m_pExtra, (nFlags & DICOM_SETIMAGE_CODEC_FLAG) != 0);
    const uint16_t status = SaveImage(pElement, pBitmap, nIndex, nCompression, nPhotometric,
                                      nBitsPerPixel, nQuality, nFlags, pfnCallback, pUserData);
    if (status != DICOM_SUCCESS && CountChildren(groups) > items) {
        DeleteItemPerFrameMultiFrameFunctionalGroup(nIndex, nIndex);
    }
    if (pElement == nullptr) pElement = FindFirstElement(nullptr, TAG_PIXEL_DATA, 1);
    if (isIntact && pElement != nullptr) snapshot.Restore(*this, pElement);
    return status;
}

/** The Pixel Data element that a frame is inserted in: the one that holds it, else the last one,
 *  behind its frames. Throws std::bad_alloc. */
_DICOMELEMENT *MDicomDS::FindInsertionPoint(uint32_t *pIndex) {
    _DICOMELEMENT *element = FindPixelData(pIndex);
    if (element != nullptr) return element;
    *pIndex = kPastAllFrames;
    return FindLastElement(nullptr, TAG_PIXEL_DATA, 0);
}

uint16_t MDicomDS::SaveImage(_DICOMELEMENT *pElement, _BITMAPHANDLE *pBitmap, uint32_t nIndex,
                             uint32_t nCompression, int32_t nPhotometric, int32_t nBitsPerPixel,
                             int32_t nQuality, uint32_t nFlags, MDICOM_SAVE_CALLBACK pfnCallback,
                             void *pUserData) {
    return Guarded<uint16_t>(DICOM_ERROR_MEMORY, [&] {
        FrameSaver saver(*this, {pElement, pBitmap, nIndex, nCompression, nPhotometric,
                                 nBitsPerPixel, nQuality, nFlags, pfnCallback, pUserData});
        return saver.Save();
    });
}

uint16_t MDicomDS::SetImage(_DICOMELEMENT *pElement, _BITMAPHANDLE *pBitmap, uint32_t nCompression,
                            int32_t nPhotometric, int32_t nBitsPerPixel, int32_t nQuality,
                            uint32_t nFlags, MDICOM_SAVE_CALLBACK pfnCallback, void *pUserData) {
    if (pBitmap == nullptr) return DICOM_ERROR_NULL_POINTER;
    const FrameSaver saver(*this, {pElement, pBitmap, 0, nCompression, nPhotometric, nBitsPerPixel,
                                   nQuality, nFlags, pfnCallback, pUserData});
    uint16_t status = saver.CheckRequest(); // before the old frames go
    if (status == DICOM_SUCCESS) status = EmptyImage(&pElement, nFlags);
    if (status != DICOM_SUCCESS) return status;
    return InsertImage(pElement, pBitmap, 0, nCompression, nPhotometric, nBitsPerPixel, nQuality,
                       nFlags, pfnCallback, pUserData);
}

/** Takes all frames out of an element. For null all Pixel Data but the last is deleted, which is
 *  then the element. */
uint16_t MDicomDS::EmptyImage(_DICOMELEMENT **ppElement, uint32_t nFlags) {
    if (HasConflict(nFlags) || !CheckElement(*ppElement)) return DICOM_ERROR_PARAMETER;
    if (*ppElement == nullptr) {
        *ppElement = FindLastElement(nullptr, TAG_PIXEL_DATA, 0);
        for (_DICOMELEMENT *other = FindFirstElement(nullptr, TAG_PIXEL_DATA, 0);
             other != nullptr && other != *ppElement;
             other = FindFirstElement(nullptr, TAG_PIXEL_DATA, 0)) {
            DeleteElement(other);
        }
    }
    _DICOMELEMENT *element = *ppElement;
    if (element == nullptr) return DICOM_SUCCESS;
    if (element->nTag != TAG_PIXEL_DATA) return DICOM_ERROR_PARAMETER;
    if (element->nLength == kUndefinedLength) {
        while (_DICOMELEMENT *child = FirstChildOf(element)) DeleteElement(child);
        element->nLength = 0;
    } else if (element->nLength > 0) {
        uint8_t nothing = 0;
        if (!SetBinaryValue(element, &nothing, 0)) return DICOM_ERROR_WRITE;
    }
    DeleteItemPerFrameMultiFrameFunctionalGroup(1, kPastAllFrames);
    DeleteMultiFrameSequence(kFrameVoiLut, 0);
    DeleteMultiFrameSequence(kPixelValueTransformation, 0);
    return DICOM_SUCCESS;
}

uint16_t MDicomDS::InsertImageList(_DICOMELEMENT *pElement, HBITMAPLIST__ *hList, uint32_t nIndex,
                                   uint32_t nCompression, int32_t nPhotometric,
                                   int32_t nBitsPerPixel, int32_t nQuality, uint32_t nFlags) {
    uint32_t count = 0;
    if (!CheckElement(pElement)) return DICOM_ERROR_PARAMETER;
    if (hList == nullptr || KernelListItemCount(hList, &count) != KERNEL_SUCCESS) {
        return DICOM_ERROR_IMAGE;
    }
    for (uint32_t i = 0; i < count; ++i) {
        _BITMAPHANDLE bitmap;
        if (KernelListGetItem(hList, i, &bitmap, sizeof bitmap) != KERNEL_SUCCESS) {
            return DICOM_ERROR_IMAGE;
        }
        const uint32_t place = CheckedAdd(nIndex, i).value_or(kPastAllFrames);
        const uint16_t status = InsertImage(pElement, &bitmap, place, nCompression, nPhotometric,
                                            nBitsPerPixel, nQuality, nFlags, nullptr, nullptr);
        if (status != DICOM_SUCCESS) return status;
    }
    if (pElement == nullptr) pElement = FindLastElement(nullptr, TAG_PIXEL_DATA, 0);
    return pElement != nullptr ? RefreshImage(pElement) : Status{DICOM_SUCCESS};
}

uint16_t MDicomDS::SetImageList(_DICOMELEMENT *pElement, HBITMAPLIST__ *hList,
                                uint32_t nCompression, int32_t nPhotometric, int32_t nBitsPerPixel,
                                int32_t nQuality, uint32_t nFlags) {
    uint32_t count = 0;
    if (hList == nullptr || KernelListItemCount(hList, &count) != KERNEL_SUCCESS) {
        return DICOM_ERROR_IMAGE;
    }
    const uint16_t status = EmptyImage(&pElement, nFlags);
    if (status != DICOM_SUCCESS) return status;
    return InsertImageList(pElement, hList, 0, nCompression, nPhotometric, nBitsPerPixel, nQuality,
                           nFlags);
}
