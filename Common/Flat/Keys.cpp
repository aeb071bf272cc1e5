// Flat functions: directory records.

#include "MDicomDS.h"
#include "MDicomFlat.h"

_DICOMELEMENT *M_DicomInsertKey(MDicomDS *hDS, _DICOMELEMENT *pParent, const wchar_t *pszType,
                                int32_t bOptional) {
    return hDS->InsertKey(pParent, pszType, bOptional);
}

void M_DicomDeleteKey(MDicomDS *hDS, _DICOMELEMENT *pKey) {
    hDS->DeleteKey(pKey);
}

_DICOMELEMENT *M_DicomGetRootKey(MDicomDS *hDS, _DICOMELEMENT *pKey) {
    return hDS->GetRootKey(pKey);
}

_DICOMELEMENT *M_DicomGetParentKey(MDicomDS *hDS, _DICOMELEMENT *pKey) {
    return hDS->GetParentKey(pKey);
}

_DICOMELEMENT *M_DicomGetChildKey(MDicomDS *hDS, _DICOMELEMENT *pKey) {
    return hDS->GetChildKey(pKey);
}

_DICOMELEMENT *M_DicomGetFirstKey(MDicomDS *hDS, _DICOMELEMENT *pKey, int32_t bSameLevel) {
    return hDS->GetFirstKey(pKey, bSameLevel);
}

_DICOMELEMENT *M_DicomGetLastKey(MDicomDS *hDS, _DICOMELEMENT *pKey, int32_t bSameLevel) {
    return hDS->GetLastKey(pKey, bSameLevel);
}

_DICOMELEMENT *M_DicomGetNextKey(MDicomDS *hDS, _DICOMELEMENT *pKey, int32_t bSameLevel) {
    return hDS->GetNextKey(pKey, bSameLevel);
}

_DICOMELEMENT *M_DicomGetPrevKey(MDicomDS *hDS, _DICOMELEMENT *pKey, int32_t bSameLevel) {
    return hDS->GetPrevKey(pKey, bSameLevel);
}

const wchar_t *M_DicomGetValueKey(MDicomDS *hDS, _DICOMELEMENT *pKey) {
    return hDS->GetValueKey(pKey);
}

_DICOMELEMENT *M_DicomFindFirstKey(MDicomDS *hDS, _DICOMELEMENT *pKey, const wchar_t *pszType,
                                   int32_t bSameLevel) {
    return hDS->FindFirstKey(pKey, pszType, bSameLevel);
}

_DICOMELEMENT *M_DicomFindLastKey(MDicomDS *hDS, _DICOMELEMENT *pKey, const wchar_t *pszType,
                                  int32_t bSameLevel) {
    return hDS->FindLastKey(pKey, pszType, bSameLevel);
}

_DICOMELEMENT *M_DicomFindNextKey(MDicomDS *hDS, _DICOMELEMENT *pKey, int32_t bSameLevel) {
    return hDS->FindNextKey(pKey, bSameLevel);
}

_DICOMELEMENT *M_DicomFindPrevKey(MDicomDS *hDS, _DICOMELEMENT *pKey, int32_t bSameLevel) {
    return hDS->FindPrevKey(pKey, bSameLevel);
}
