// Flat functions: loading and saving.

#include "MDicomDS.h"
#include "MDicomFlat.h"

uint16_t M_DicomLoadDS(MDicomDS *hDS, const wchar_t *pszName, uint16_t nFlags) {
    return hDS->LoadDS(pszName, nFlags);
}

uint16_t M_DicomLoadDSMemory(MDicomDS *hDS, void *pData, uint64_t nLength, uint16_t nFlags) {
    return hDS->LoadDSMemory(pData, nLength, nFlags);
}

uint16_t M_DicomSaveDS(MDicomDS *hDS, const wchar_t *pszName, uint16_t nFlags) {
    return hDS->SaveDS(pszName, nFlags);
}
