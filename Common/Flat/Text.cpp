// Flat functions: text form of values.

#include "MDicomDS.h"
#include "MDicomFlat.h"

uint32_t M_DicomGetConvertValue(MDicomDS *hDS, _DICOMELEMENT *pElement, wchar_t *pszBuffer,
                                uint32_t nSize) {
    return hDS->GetConvertValue(pElement, pszBuffer, nSize);
}

int32_t M_DicomSetConvertValue(MDicomDS *hDS, _DICOMELEMENT *pElement, const wchar_t *pszText,
                               uint32_t nCount) {
    return hDS->SetConvertValue(pElement, pszText, nCount);
}
