// Flat functions: the VR table.

#include "MDicomFlat.h"
#include "MDicomVR.h"

void M_DicomDefaultVR() {
    MDicomVR::Default();
}

void M_DicomResetVR() {
    MDicomVR::Reset();
}

_DICOMVR *M_DicomInsertVR(uint16_t nCode, const wchar_t *pszName, uint32_t nLength,
                          uint16_t nRestrict, uint16_t nUnitSize) {
    return MDicomVR::Insert(nCode, pszName, nLength, nRestrict, nUnitSize);
}

_DICOMVR *M_DicomDeleteVR(_DICOMVR *pRecord) {
    return MDicomVR::Delete(pRecord);
}

int32_t M_DicomSetNameVR(_DICOMVR *pRecord, const wchar_t *pszName) {
    return MDicomVR::SetName(pRecord, pszName);
}

_DICOMVR *M_DicomFindVR(uint16_t nCode) {
    return MDicomVR::Find(nCode);
}

_DICOMVR *M_DicomFindIndexVR(uint32_t nIndex) {
    return MDicomVR::FindIndex(nIndex);
}

int32_t M_DicomExistsVR(_DICOMVR *pRecord) {
    return MDicomVR::Exists(pRecord);
}

_DICOMVR *M_DicomGetFirstVR() {
    return MDicomVR::GetFirst();
}

_DICOMVR *M_DicomGetLastVR() {
    return MDicomVR::GetLast();
}

_DICOMVR *M_DicomGetNextVR(_DICOMVR *pRecord) {
    return MDicomVR::GetNext(pRecord);
}

_DICOMVR *M_DicomGetPrevVR(_DICOMVR *pRecord) {
    return MDicomVR::GetPrev(pRecord);
}

uint32_t M_DicomGetCountVR() {
    return MDicomVR::GetCount();
}
