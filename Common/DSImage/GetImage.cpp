// Frames as bitmaps.

#include <algorithm>

#include "Common/DSImage/FrameFragments.h"
#include "Common/DSImage/FrameLoader.h"
#include "Common/DSValue/ValueAccess.h"
#include "Common/Utils/CheckedMath.h"
#include "MDicomDS.h"

using namespace mdicom;

uint16_t MDicomDS::GetImage(_DICOMELEMENT *pElement, _BITMAPHANDLE *pBitmap, uint32_t nStructSize,
                            uint32_t nIndex, int32_t nBitsPerPixel, int32_t, uint32_t nFlags,
                            MDICOM_LOAD_CALLBACK pfnCallback, void *pUserData) {
    if (pBitmap == nullptr || nStructSize != sizeof *pBitmap) return DICOM_ERROR_PARAMETER;
    *pBitmap = {};
    if (!CheckElement(pElement)) return DICOM_ERROR_PARAMETER;
    return Guarded<uint16_t>(DICOM_ERROR_MEMORY, [&]() -> uint16_t {
        if (pElement == nullptr) pElement = FindPixelData(&nIndex);
        if (pElement == nullptr) return DICOM_ERROR_IMAGE;
        const FrameRequest request{nIndex, nBitsPerPixel, nFlags, pfnCallback, pUserData};
        FrameLoader loader(*this, pElement, request);
        const Status status = loader.Load();
        if (status == DICOM_SUCCESS) *pBitmap = loader.Take();
        return status;
    });
}

/** The Pixel Data element that holds a frame, counted through all of them; what is left is the
 *  frame within it. Null past the last one. Throws std::bad_alloc. */
_DICOMELEMENT *MDicomDS::FindPixelData(uint32_t *pIndex) {
    _DICOMELEMENT *element = FindFirstElement(nullptr, TAG_PIXEL_DATA, 0);
    while (element != nullptr) {
        const uint32_t frames = CountFrames(*this, element);
        if (*pIndex < frames) break;
        *pIndex -= frames;
        element = FindNextElement(element, 0);
    }
    return element;
}

uint16_t MDicomDS::GetImageList(_DICOMELEMENT *pElement, HBITMAPLIST__ *hList, uint32_t nIndex,
                                uint32_t nCount, int32_t nBitsPerPixel, int32_t nOrder,
                                uint32_t nFlags) {
    constexpr uint32_t kAppend = 0xFFFFFFFF;
    if (hList == nullptr || !CheckElement(pElement)) return DICOM_ERROR_PARAMETER;
    return Guarded<uint16_t>(DICOM_ERROR_MEMORY, [&]() -> uint16_t {
        const uint32_t wanted = CheckedAdd(nIndex, nCount).value_or(0xFFFFFFFF);
        const uint32_t end = std::min(wanted, CountFrames(*this, pElement));
        for (uint32_t i = nIndex; i < end; ++i) {
            _BITMAPHANDLE bitmap;
            const uint16_t status = GetImage(pElement, &bitmap, sizeof bitmap, i, nBitsPerPixel,
                                             nOrder, nFlags, nullptr, nullptr);
            if (status != DICOM_SUCCESS) return status;
            if (KernelListInsertItem(hList, kAppend, &bitmap, sizeof bitmap) != KERNEL_SUCCESS) {
                KernelFreeBitmap(&bitmap);
                return DICOM_ERROR_MEMORY;
            }
        }
        return DICOM_SUCCESS;
    });
}
