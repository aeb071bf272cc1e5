// Flat functions: images.

#include "Common/DSImage/UncompressedFrames.h"
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

uint16_t M_DicomInsertImage(MDicomDS *hDS, _DICOMELEMENT *pElement, _BITMAPHANDLE *pBitmap,
                            uint32_t nIndex, uint32_t nCompression, int32_t nPhotometric,
                            int32_t nBitsPerPixel, int32_t nQuality, uint32_t nFlags,
                            MDICOM_SAVE_CALLBACK pfnCallback, void *pUserData) {
    return hDS->InsertImage(pElement, pBitmap, nIndex, nCompression, nPhotometric, nBitsPerPixel,
                            nQuality, nFlags, pfnCallback, pUserData);
}

uint16_t M_DicomSetImage(MDicomDS *hDS, _DICOMELEMENT *pElement, _BITMAPHANDLE *pBitmap,
                         uint32_t nCompression, int32_t nPhotometric, int32_t nBitsPerPixel,
                         int32_t nQuality, uint32_t nFlags, MDICOM_SAVE_CALLBACK pfnCallback,
                         void *pUserData) {
    return hDS->SetImage(pElement, pBitmap, nCompression, nPhotometric, nBitsPerPixel, nQuality,
                         nFlags, pfnCallback, pUserData);
}

uint16_t M_DicomInsertImageList(MDicomDS *hDS, _DICOMELEMENT *pElement, HBITMAPLIST__ *hList,
                                uint32_t nIndex, uint32_t nCompression, int32_t nPhotometric,
                                int32_t nBitsPerPixel, int32_t nQuality, uint32_t nFlags) {
    return hDS->InsertImageList(pElement, hList, nIndex, nCompression, nPhotometric, nBitsPerPixel,
                                nQuality, nFlags);
}

uint16_t M_DicomSetImageList(MDicomDS *hDS, _DICOMELEMENT *pElement, HBITMAPLIST__ *hList,
                             uint32_t nCompression, int32_t nPhotometric, int32_t nBitsPerPixel,
                             int32_t nQuality, uint32_t nFlags) {
    return hDS->SetImageList(pElement, hList, nCompression, nPhotometric, nBitsPerPixel, nQuality,
                             nFlags);
}

uint16_t M_DicomDeleteImage(MDicomDS *hDS, _DICOMELEMENT *pElement, uint32_t nIndex,
                            uint32_t nCount) {
    return hDS->DeleteImage(pElement, nIndex, nCount);
}

uint16_t M_DicomSetJ2KOptions(MDicomDS *hDS, const _FILEJ2KOPTIONS *pOptions) {
    return hDS->SetJ2KOptions(pOptions);
}

uint16_t M_DicomGetJ2KOptions(MDicomDS *hDS, _FILEJ2KOPTIONS *pOptions, uint32_t nSize) {
    return hDS->GetJ2KOptions(pOptions, nSize);
}

uint16_t M_DicomGetDefaultJ2KOptions(MDicomDS *hDS, _FILEJ2KOPTIONS *pOptions, uint32_t nSize) {
    return hDS->GetDefaultJ2KOptions(pOptions, nSize);
}

uint16_t M_DicomChangeTransferSyntax(MDicomDS *hDS, const wchar_t *pszTransferSyntaxUID,
                                     int32_t nQuality, uint32_t nFlags) {
    return hDS->ChangeTransferSyntax(pszTransferSyntaxUID, nQuality, nFlags);
}

int32_t M_DicomInsertUncompressedFrame(MDicomDS *hDS, _DICOMELEMENT *pElement, void *pData,
                                       uint32_t nSize, uint32_t nIndex) {
    return mdicom::UncompressedFrames::Insert(*hDS, pElement, pData, nSize, nIndex);
}
