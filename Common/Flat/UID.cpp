// Flat functions: the UID registry.

#include "MDicomFlat.h"
#include "MDicomUID.h"

void M_DicomDefaultUID() {
    MDicomUID::Default();
}

void M_DicomResetUID() {
    MDicomUID::Reset();
}

_DICOMUID *M_DicomInsertUID(const wchar_t *pszCode, const wchar_t *pszName, uint32_t nType) {
    return MDicomUID::Insert(pszCode, pszName, nType);
}

_DICOMUID *M_DicomDeleteUID(_DICOMUID *pRecord) {
    return MDicomUID::Delete(pRecord);
}

int32_t M_DicomSetNameUID(_DICOMUID *pRecord, const wchar_t *pszName) {
    return MDicomUID::SetName(pRecord, pszName);
}

_DICOMUID *M_DicomFindUID(const wchar_t *pszCode) {
    return MDicomUID::Find(pszCode);
}

_DICOMUID *M_DicomFindIndexUID(uint32_t nIndex) {
    return MDicomUID::FindIndex(nIndex);
}

int32_t M_DicomExistsUID(_DICOMUID *pRecord) {
    return MDicomUID::Exists(pRecord);
}

_DICOMUID *M_DicomGetFirstUID() {
    return MDicomUID::GetFirst();
}

_DICOMUID *M_DicomGetLastUID() {
    return MDicomUID::GetLast();
}

_DICOMUID *M_DicomGetNextUID(_DICOMUID *pRecord) {
    return MDicomUID::GetNext(pRecord);
}

_DICOMUID *M_DicomGetPrevUID(_DICOMUID *pRecord) {
    return MDicomUID::GetPrev(pRecord);
}

uint32_t M_DicomGetCountUID() {
    return MDicomUID::GetCount();
}
