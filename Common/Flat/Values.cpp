// Flat functions: typed values.

#include "MDicomDS.h"
#include "MDicomFlat.h"

uint8_t *M_DicomGetCharValue(MDicomDS *hDS, _DICOMELEMENT *pElement, uint32_t nIndex,
                             uint32_t nCount) {
    return hDS->GetCharValue(pElement, nIndex, nCount);
}

int16_t *M_DicomGetShortValue(MDicomDS *hDS, _DICOMELEMENT *pElement, uint32_t nIndex,
                              uint32_t nCount) {
    return hDS->GetShortValue(pElement, nIndex, nCount);
}

int32_t *M_DicomGetLongValue(MDicomDS *hDS, _DICOMELEMENT *pElement, uint32_t nIndex,
                             uint32_t nCount) {
    return hDS->GetLongValue(pElement, nIndex, nCount);
}

float *M_DicomGetFloatValue(MDicomDS *hDS, _DICOMELEMENT *pElement, uint32_t nIndex,
                            uint32_t nCount) {
    return hDS->GetFloatValue(pElement, nIndex, nCount);
}

double *M_DicomGetDoubleValue(MDicomDS *hDS, _DICOMELEMENT *pElement, uint32_t nIndex,
                              uint32_t nCount) {
    return hDS->GetDoubleValue(pElement, nIndex, nCount);
}

uint16_t M_DicomGetLong64Value(MDicomDS *hDS, _DICOMELEMENT *pElement, int64_t *pArray,
                               uint32_t nIndex, uint32_t nCount) {
    return hDS->GetLong64Value(pElement, pArray, nIndex, nCount);
}

const wchar_t *M_DicomGetStringValue(MDicomDS *hDS, _DICOMELEMENT *pElement, uint32_t nIndex,
                                     uint32_t nCount) {
    return hDS->GetStringValue(pElement, nIndex, nCount);
}

const char *M_DicomGetStringValueA(MDicomDS *hDS, _DICOMELEMENT *pElement, uint32_t nIndex,
                                   uint32_t nCount) {
    return hDS->GetStringValueA(pElement, nIndex, nCount);
}

_VALUEAGE *M_DicomGetAgeValue(MDicomDS *hDS, _DICOMELEMENT *pElement, uint32_t nIndex,
                              uint32_t nCount) {
    return hDS->GetAgeValue(pElement, nIndex, nCount);
}

_VALUEDATE *M_DicomGetDateValue(MDicomDS *hDS, _DICOMELEMENT *pElement, uint32_t nIndex,
                                uint32_t nCount) {
    return hDS->GetDateValue(pElement, nIndex, nCount);
}

_VALUETIME *M_DicomGetTimeValue(MDicomDS *hDS, _DICOMELEMENT *pElement, uint32_t nIndex,
                                uint32_t nCount) {
    return hDS->GetTimeValue(pElement, nIndex, nCount);
}

_VALUEDATETIME *M_DicomGetDateTimeValue(MDicomDS *hDS, _DICOMELEMENT *pElement, uint32_t nIndex,
                                        uint32_t nCount) {
    return hDS->GetDateTimeValue(pElement, nIndex, nCount);
}

uint32_t M_DicomGetCountValue(MDicomDS *hDS, _DICOMELEMENT *pElement) {
    return hDS->GetCountValue(pElement);
}

void M_DicomFreeValue(MDicomDS *hDS, _DICOMELEMENT *pElement) {
    hDS->FreeValue(pElement);
}

int32_t M_DicomSetCharValue(MDicomDS *hDS, _DICOMELEMENT *pElement, uint8_t *pArray,
                            uint32_t nCount) {
    return hDS->SetCharValue(pElement, pArray, nCount);
}

int32_t M_DicomSetShortValue(MDicomDS *hDS, _DICOMELEMENT *pElement, int16_t *pArray,
                             uint32_t nCount) {
    return hDS->SetShortValue(pElement, pArray, nCount);
}

int32_t M_DicomSetLongValue(MDicomDS *hDS, _DICOMELEMENT *pElement, int32_t *pArray,
                            uint32_t nCount) {
    return hDS->SetLongValue(pElement, pArray, nCount);
}

int32_t M_DicomSetFloatValue(MDicomDS *hDS, _DICOMELEMENT *pElement, float *pArray,
                             uint32_t nCount) {
    return hDS->SetFloatValue(pElement, pArray, nCount);
}

int32_t M_DicomSetDoubleValue(MDicomDS *hDS, _DICOMELEMENT *pElement, double *pArray,
                              uint32_t nCount) {
    return hDS->SetDoubleValue(pElement, pArray, nCount);
}

int32_t M_DicomSetStringValue(MDicomDS *hDS, _DICOMELEMENT *pElement, const wchar_t *pszText,
                              uint32_t nCount, uint32_t nCharacterSet) {
    return hDS->SetStringValue(pElement, pszText, nCount, nCharacterSet);
}

int32_t M_DicomSetAgeValue(MDicomDS *hDS, _DICOMELEMENT *pElement, const _VALUEAGE *pArray,
                           uint32_t nCount) {
    return hDS->SetAgeValue(pElement, pArray, nCount);
}

int32_t M_DicomSetDateValue(MDicomDS *hDS, _DICOMELEMENT *pElement, const _VALUEDATE *pArray,
                            uint32_t nCount) {
    return hDS->SetDateValue(pElement, pArray, nCount);
}

int32_t M_DicomSetTimeValue(MDicomDS *hDS, _DICOMELEMENT *pElement, const _VALUETIME *pArray,
                            uint32_t nCount) {
    return hDS->SetTimeValue(pElement, pArray, nCount);
}

int32_t M_DicomSetDateTimeValue(MDicomDS *hDS, _DICOMELEMENT *pElement,
                                const _VALUEDATETIME *pArray, uint32_t nCount) {
    return hDS->SetDateTimeValue(pElement, pArray, nCount);
}

uint32_t M_DicomFindGetValue(MDicomDS *hDS, _DICOMELEMENT *pElement, uint32_t nTag, void *pArray,
                             uint32_t nIndex, uint32_t nCount, uint32_t nArrayType) {
    return hDS->FindGetValue(pElement, nTag, pArray, nIndex, nCount, nArrayType);
}
