// Bitmaps as frames.

#include <algorithm>

#include "Common/DS/ElementExchange.h"
#include "Common/DS/ElementNode.h"
#include "Common/DSImage/CodecFlag.h"
#include "Common/DSImage/FrameFragments.h"
#include "Common/DSImage/FrameSaver.h"
#include "Common/DSImage/PixelInfoSnapshot.h"
#include "Common/DSValue/ValueAccess.h"
#include "Common/LUT/FunctionalGroups.h"
#include "Common/Utils/CheckedMath.h"
#include "Common/Utils/Vr.h"
#include "MDicomDS.h"

using namespace mdicom;

namespace {

constexpr uint32_t kPastAllFrames = 0xFFFFFFFF;

/** Frames of a Pixel Data element that are out of the way, in an element of their own. Unless they
 *  are let go they come back. */
class FramesAside {
  public:
    FramesAside(MDicomDS &dataSet, ElementIndex *index) : m_DataSet(dataSet), m_Index(index) {}
    ~FramesAside() {
        if (m_Holder == nullptr) return;
        if (m_PixelData != nullptr) ExchangeContents(m_PixelData, m_Holder, m_Index);
        m_DataSet.DeleteElement(m_Holder);
    }
    FramesAside(const FramesAside &) = delete;
    FramesAside &operator=(const FramesAside &) = delete;

    /** Leaves the element without a value; false when memory is short. */
    bool Take(_DICOMELEMENT *pixelData) {
        uint32_t tag = 0x7FE11000; // private, and of no other element
        while (m_DataSet.FindFirstElement(nullptr, tag, 1) != nullptr) ++tag;
        m_Holder = m_DataSet.InsertElement(nullptr, 0, tag, pixelData->nVR, 0, kPastAllFrames);
        if (m_Holder == nullptr) return false;
        ExchangeContents(pixelData, m_Holder, m_Index);
        pixelData->nVR = m_Holder->nVR;
        m_PixelData = pixelData;
        return true;
    }
    void LetGo() { m_PixelData = nullptr; }

  private:
    MDicomDS &m_DataSet;
    ElementIndex *m_Index;
    _DICOMELEMENT *m_PixelData = nullptr;
    _DICOMELEMENT *m_Holder = nullptr;
};

} // namespace

uint16_t MDicomDS::InsertImage(_DICOMELEMENT *pElement, _BITMAPHANDLE *pBitmap, uint32_t nIndex,
                               uint32_t nCompression, int32_t nPhotometric, int32_t nBitsPerPixel,
                               int32_t nQuality, uint32_t nFlags, MDICOM_SAVE_CALLBACK pfnCallback,
                               void *pUserData) {
    if (pBitmap == nullptr) return DICOM_ERROR_NULL_POINTER;
    if (HaveTwoPlaces(nFlags) || !CheckElement(pElement)) return DICOM_ERROR_PARAMETER;
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
    const uint32_t items = GetItemCount(groups);
    InsertItemPerFrameMultiFrameFunctionalGroup(nIndex);
    const CodecFlag codecFlag(m_pExtra, (nFlags & DICOM_SETIMAGE_CODEC_FLAG) != 0);
    const uint16_t status = SaveImage(pElement, pBitmap, nIndex, nCompression, nPhotometric,
                                      nBitsPerPixel, nQuality, nFlags, pfnCallback, pUserData);
    if (status != DICOM_SUCCESS && GetItemCount(groups) > items) {
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
    uint16_t status = saver.CheckRequest();
    if (status == DICOM_SUCCESS && !CheckElement(pElement)) status = DICOM_ERROR_PARAMETER;
    if (status != DICOM_SUCCESS) return status;
    FramesAside old(*this, m_pIndex);
    _DICOMELEMENT *taken =
        pElement != nullptr ? pElement : FindLastElement(nullptr, TAG_PIXEL_DATA, 0);
    if (taken != nullptr && taken->nTag != TAG_PIXEL_DATA) return DICOM_ERROR_PARAMETER;
    if (taken != nullptr && !old.Take(taken)) return DICOM_ERROR_MEMORY;
    status = EmptyImage(&pElement, nFlags);
    if (status == DICOM_SUCCESS) {
        status = InsertImage(pElement, pBitmap, 0, nCompression, nPhotometric, nBitsPerPixel,
                             nQuality, nFlags, pfnCallback, pUserData);
    }
    if (status == DICOM_SUCCESS) old.LetGo();
    return status;
}

/** Takes all frames out of an element. For null all Pixel Data but the last is deleted, which is
 *  then the element. */
uint16_t MDicomDS::EmptyImage(_DICOMELEMENT **ppElement, uint32_t nFlags) {
    if (HaveTwoPlaces(nFlags) || !CheckElement(*ppElement)) return DICOM_ERROR_PARAMETER;
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
    DeleteMultiFrameSequence(kVoiMacro.sequence, 0);
    DeleteMultiFrameSequence(kModalityMacro.sequence, 0);
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
