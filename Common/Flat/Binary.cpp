// Flat functions: binary values.

#include "MDicomDS.h"
#include "MDicomFlat.h"

int32_t M_DicomGetBinaryValue(MDicomDS *hDS, _DICOMELEMENT *pElement, void *pBuffer,
                              uint32_t nLength) {
    return hDS->GetBinaryValue(pElement, pBuffer, nLength);
}

int32_t M_DicomSetBinaryValue(MDicomDS *hDS, _DICOMELEMENT *pElement, void *pData,
                              uint32_t nLength) {
    return hDS->SetBinaryValue(pElement, pData, nLength);
}

int32_t M_DicomInsertBinaryValue(MDicomDS *hDS, _DICOMELEMENT *pElement, void *pData,
                                 uint32_t nOffset, uint32_t nLength) {
    return hDS->InsertBinaryValue(pElement, pData, nOffset, nLength);
}
