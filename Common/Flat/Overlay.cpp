// Flat functions: overlays.

#include "MDicomDS.h"
#include "MDicomFlat.h"

uint16_t M_DicomGetOverlayCount(MDicomDS *hDS, uint32_t *pCount) {
    return hDS->GetOverlayCount(pCount);
}

uint16_t M_DicomGetOverlayAttributes(MDicomDS *hDS, uint32_t nIndex,
                                     _OVERLAYATTRIBUTES *pAttributes, uint32_t nSize,
                                     uint32_t *pGroup, int32_t *pIsOverlay, uint32_t nFlags) {
    return hDS->GetOverlayAttributes(nIndex, pAttributes, nSize, pGroup, pIsOverlay, nFlags);
}

uint16_t M_DicomSetOverlayAttributes(MDicomDS *hDS, uint32_t nIndex,
                                     const _OVERLAYATTRIBUTES *pAttributes, uint32_t nFlags) {
    return hDS->SetOverlayAttributes(nIndex, pAttributes, nFlags);
}

uint16_t M_DicomGetOverlayActivationLayer(MDicomDS *hDS, uint32_t nIndex, wchar_t *pText,
                                          uint32_t nLength) {
    return hDS->GetOverlayActivationLayer(nIndex, pText, nLength);
}

uint16_t M_DicomGetOverlayBitmap(MDicomDS *hDS, uint32_t nIndex, _BITMAPHANDLE *pBitmap,
                                 uint32_t nSize, uint32_t nFlags) {
    return hDS->GetOverlayBitmap(nIndex, pBitmap, nSize, nFlags);
}

uint16_t M_DicomSetOverlayBitmap(MDicomDS *hDS, uint32_t nIndex, _BITMAPHANDLE *pBitmap,
                                 uint32_t nFlags) {
    return hDS->SetOverlayBitmap(nIndex, pBitmap, nFlags);
}

uint16_t M_DicomGetOverlayBitmapList(MDicomDS *hDS, uint32_t nIndex, HBITMAPLIST__ *hList,
                                     uint32_t nFirst, uint32_t nCount, uint32_t nFlags) {
    return hDS->GetOverlayBitmapList(nIndex, hList, nFirst, nCount, nFlags);
}

uint16_t M_DicomSetOverlayBitmapList(MDicomDS *hDS, uint32_t nIndex, HBITMAPLIST__ *hList,
                                     uint32_t nFlags) {
    return hDS->SetOverlayBitmapList(nIndex, hList, nFlags);
}

uint16_t M_DicomDeleteOverlay(MDicomDS *hDS, uint32_t nIndex, uint32_t nFlags) {
    return hDS->DeleteOverlay(nIndex, nFlags);
}
