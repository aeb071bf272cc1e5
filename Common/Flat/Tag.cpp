// Flat functions: the data dictionary.

#include "MDicomFlat.h"
#include "MDicomTag.h"

void M_DicomDefaultTag() {
    MDicomTag::Default();
}

void M_DicomResetTag() {
    MDicomTag::Reset();
}

_DICOMTAG *M_DicomInsertTag(uint32_t nCode, uint32_t nMask, const wchar_t *pszName, uint16_t nVR,
                            uint32_t nMinVM, uint32_t nMaxVM, uint32_t nDivideVM) {
    return MDicomTag::Insert(nCode, nMask, pszName, nVR, nMinVM, nMaxVM, nDivideVM);
}

_DICOMTAG *M_DicomDeleteTag(_DICOMTAG *pRecord) {
    return MDicomTag::Delete(pRecord);
}

int32_t M_DicomSetNameTag(_DICOMTAG *pRecord, const wchar_t *pszName) {
    return MDicomTag::SetName(pRecord, pszName);
}

_DICOMTAG *M_DicomFindTag(uint32_t nCode) {
    return MDicomTag::Find(nCode);
}

_DICOMTAG *M_DicomFindIndexTag(uint32_t nIndex) {
    return MDicomTag::FindIndex(nIndex);
}

int32_t M_DicomExistsTag(_DICOMTAG *pRecord) {
    return MDicomTag::Exists(pRecord);
}

_DICOMTAG *M_DicomGetFirstTag() {
    return MDicomTag::GetFirst();
}

_DICOMTAG *M_DicomGetLastTag() {
    return MDicomTag::GetLast();
}

_DICOMTAG *M_DicomGetNextTag(_DICOMTAG *pRecord) {
    return MDicomTag::GetNext(pRecord);
}

_DICOMTAG *M_DicomGetPrevTag(_DICOMTAG *pRecord) {
    return MDicomTag::GetPrev(pRecord);
}

uint32_t M_DicomGetCountTag() {
    return MDicomTag::GetCount();
}
