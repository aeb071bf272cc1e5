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
