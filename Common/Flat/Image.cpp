// Flat functions: images.

#include "MDicomDS.h"
#include "MDicomFlat.h"

int32_t M_DicomIsBadPixelData(MDicomDS *hDS, uint32_t *pBadCount, uint32_t *pGoodCount) {
    return hDS->IsBadPixelData(pBadCount, pGoodCount);
}

uint16_t M_DicomGetInfoImage(MDicomDS *hDS, _DICOMELEMENT *pElement, _DICOMIMAGE *pImage,
                             uint32_t nIndex) {
    return hDS->GetInfoImage(pElement, pImage, nIndex);
}

uint32_t M_DicomGetCountImage(MDicomDS *hDS, _DICOMELEMENT *pElement) {
    return hDS->GetCountImage(pElement);
}

uint16_t M_DicomGetImage(MDicomDS *hDS, _DICOMELEMENT *pElement, _BITMAPHANDLE *pBitmap,
                         uint32_t nStructSize, uint32_t nIndex, int32_t nBitsPerPixel,
                         int32_t nOrder, uint32_t nFlags, MDICOM_LOAD_CALLBACK pfnCallback,
                         void *pUserData) {
    return hDS->GetImage(pElement, pBitmap, nStructSize, nIndex, nBitsPerPixel, nOrder, nFlags,
                         pfnCallback, pUserData);
}

uint16_t M_DicomGetImageList(MDicomDS *hDS, _DICOMELEMENT *pElement, HBITMAPLIST__ *hList,
                             uint32_t nIndex, uint32_t nCount, int32_t nBitsPerPixel,
                             int32_t nOrder, uint32_t nFlags) {
    return hDS->GetImageList(pElement, hList, nIndex, nCount, nBitsPerPixel, nOrder, nFlags);
}
