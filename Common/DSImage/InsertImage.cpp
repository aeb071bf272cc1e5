// Bitmaps as frames.

#include <algorithm>
#include <new>
#include <vector>

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

/** An image that other frames take the place of: its frames, in a sequence that is no part of the
 *  content, and copies of all else that they may change. Unless it is let go it comes back. */
class ReplacedImage {
  public:
    ReplacedImage(MDicomDS &dataSet, ElementIndex *index)
        : m_DataSet(dataSet), m_Index(index), m_Old(dataSet, index) {}
    ~ReplacedImage() {
        for (const Frames &each : m_Frames) {
            if (!m_IsGone) ExchangeContents(each.pixelData, each.item, m_Index);
        }
        m_DataSet.DeleteElement(m_Holder);
        if (!m_IsGone) m_Old.Restore();
    }
    ReplacedImage(const ReplacedImage &) = delete;
    ReplacedImage &operator=(const ReplacedImage &) = delete;

    /// These throw std::bad_alloc.
    ///@{
    /** Keeps the attributes of Pixel Data; null stands for one that is still to come. */
    void Keep(const _DICOMELEMENT *pixelData) {
        _DICOMELEMENT *parent = pixelData != nullptr ? ParentOf(pixelData) : nullptr;
        if (pixelData == nullptr) m_Old.Keep(nullptr, TAG_PIXEL_DATA);
        KeepImage(m_Old, parent);
        if (parent != nullptr) return;
        m_Old.Keep(nullptr, kSharedGroups);
        m_Old.Keep(nullptr, kPerFrameGroups);
    }
    /** Leaves an element without a value. */
    void TakeFrames(_DICOMELEMENT *pixelData) {
        uint32_t tag = 0x7FE11000; // private, and of no other element
        while (m_Holder == nullptr && m_DataSet.FindFirstElement(nullptr, tag, 1) != nullptr) ++tag;
        if (m_Holder == nullptr) m_Holder = m_DataSet.InsertElement(nullptr, 0, tag, vr::SQ, 1, 0);
        if (m_Holder == nullptr) throw std::bad_alloc();
        _DICOMELEMENT *item =
            m_DataSet.InsertElement(m_Holder, 1, TAG_ITEM, pixelData->nVR, 0, kPastAllFrames);
        if (item == nullptr) throw std::bad_alloc();
        m_Frames.push_back({pixelData, item});
        ExchangeContents(pixelData, item, m_Index);
        pixelData->nVR = item->nVR;
    }
    ///@}
    void LetGo() { m_IsGone = true; }

  private:
    struct Frames {
        _DICOMELEMENT *pixelData;
        _DICOMELEMENT *item;
    };

    MDicomDS &m_DataSet;
    ElementIndex *m_Index;
    KeptElements m_Old;
    _DICOMELEMENT *m_Holder = nullptr;
    std::vector<Frames> m_Frames;
    bool m_IsGone = false;
};

std::vector<_DICOMELEMENT *> AllPixelData(MDicomDS &dataSet) {
    std::vector<_DICOMELEMENT *> all;
    for (_DICOMELEMENT *each = dataSet.FindFirstElement(nullptr, TAG_PIXEL_DATA, 0);
         each != nullptr; each = dataSet.FindNextElement(each, 0)) {
        all.push_back(each);
    }
    return all;
}

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
        return isIntact ? snapshot.Take(*this, pElement) : Status{DICOM_SUCCESS};
    });
    if (prepared == DICOM_ERROR_MEMORY) return prepared;
    const _DICOMELEMENT *groups =
        IsNested(pElement) ? nullptr : FindFirstElement(nullptr, kPerFrameGroups, 1);
    const uint32_t items = GetItemCount(groups);
    uint16_t status = DICOM_SUCCESS;
    if (groups != nullptr) status = InsertItemPerFrameMultiFrameFunctionalGroup(nIndex);
    const CodecFlag codecFlag(m_pExtra, (nFlags & DICOM_SETIMAGE_CODEC_FLAG) != 0);
    if (status == DICOM_SUCCESS) {
        status = SaveImage(pElement, pBitmap, nIndex, nCompression, nPhotometric, nBitsPerPixel,
                           nQuality, nFlags, pfnCallback, pUserData);
    }
    if (status != DICOM_SUCCESS) {
        if (GetItemCount(groups) > items) {
            DeleteItemPerFrameMultiFrameFunctionalGroup(std::min(nIndex, items), nIndex);
        }
        return status;
    }
    if (pElement == nullptr) pElement = FindFirstElement(nullptr, TAG_PIXEL_DATA, 1);
    if (isIntact && pElement != nullptr) snapshot.Restore(*this, pElement);
    return DICOM_SUCCESS;
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
    if (!CheckElement(pElement)) return DICOM_ERROR_PARAMETER;
    const FrameSaver saver(*this, {pElement, pBitmap, 0, nCompression, nPhotometric, nBitsPerPixel,
                                   nQuality, nFlags, pfnCallback, pUserData});
    const uint16_t status = saver.CheckRequest();
    if (status != DICOM_SUCCESS) return status;
    return ReplaceImage(pElement, nFlags, [&](_DICOMELEMENT *emptied) {
        return InsertImage(emptied, pBitmap, 0, nCompression, nPhotometric, nBitsPerPixel, nQuality,
                           nFlags, pfnCallback, pUserData);
    });
}

/** Takes all frames out of an element and lets a function store others there; a failure brings the
 *  old ones back. For null all Pixel Data but the last goes, which is then the element. */
template <typename Store>
uint16_t MDicomDS::ReplaceImage(_DICOMELEMENT *pElement, uint32_t nFlags, Store store) {
    if (HaveTwoPlaces(nFlags) || !CheckElement(pElement)) return DICOM_ERROR_PARAMETER;
    if (pElement != nullptr && pElement->nTag != TAG_PIXEL_DATA) return DICOM_ERROR_PARAMETER;
    return Guarded<uint16_t>(DICOM_ERROR_MEMORY, [&] {
        std::vector<_DICOMELEMENT *> taken = {pElement};
        if (pElement == nullptr) taken = AllPixelData(*this);
        if (!taken.empty()) pElement = taken.back();
        ReplacedImage old(*this, m_pIndex);
        old.Keep(pElement);
        for (_DICOMELEMENT *each : taken) old.TakeFrames(each);
        if (!IsNested(pElement)) {
            DeleteItemPerFrameMultiFrameFunctionalGroup(1, kPastAllFrames);
            DeleteMultiFrameSequence(kVoiMacro.sequence, 0);
            DeleteMultiFrameSequence(kModalityMacro.sequence, 0);
        }
        const uint16_t status = store(pElement);
        if (status != DICOM_SUCCESS) return status;
        old.LetGo();
        if (!taken.empty()) taken.pop_back();
        for (_DICOMELEMENT *other : taken) DeleteElement(other);
        return status;
    });
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
    return ReplaceImage(pElement, nFlags, [&](_DICOMELEMENT *emptied) {
        return InsertImageList(emptied, hList, 0, nCompression, nPhotometric, nBitsPerPixel,
                               nQuality, nFlags);
    });
}
