// Flat functions: the tree of object definitions.

#include "MDicomFlat.h"
#include "MDicomIOD.h"

void M_DicomDefaultIOD() {
    MDicomIOD::Default();
}

void M_DicomResetIOD() {
    MDicomIOD::Reset();
}

_DICOMIOD *M_DicomInsertIOD(_DICOMIOD *pNeighbor, int32_t bChild, uint32_t nCode,
                            const wchar_t *pszName, uint8_t nType, uint16_t nUsage,
                            const wchar_t *pszDescription) {
    return MDicomIOD::Insert(pNeighbor, bChild, nCode, pszName, nType, nUsage, pszDescription);
}

_DICOMIOD *M_DicomDeleteIOD(_DICOMIOD *pIOD) {
    return MDicomIOD::Delete(pIOD);
}

int32_t M_DicomSetNameIOD(_DICOMIOD *pIOD, const wchar_t *pszName) {
    return MDicomIOD::SetName(pIOD, pszName);
}

int32_t M_DicomSetDescriptionIOD(_DICOMIOD *pIOD, const wchar_t *pszDescription) {
    return MDicomIOD::SetDescription(pIOD, pszDescription);
}

_DICOMIOD *M_DicomFindIOD(_DICOMIOD *pIOD, uint32_t nCode, uint8_t nType, int32_t bSameLevel) {
    return MDicomIOD::Find(pIOD, nCode, nType, bSameLevel);
}

_DICOMIOD *M_DicomFindClassIOD(uint32_t nClass) {
    return MDicomIOD::FindClass(nClass);
}

_DICOMIOD *M_DicomFindModuleIOD(uint32_t nClass, uint32_t nModule) {
    return MDicomIOD::FindModule(nClass, nModule);
}

_DICOMIOD *M_DicomFindIndexModuleIOD(uint32_t nClass, uint32_t nIndex) {
    return MDicomIOD::FindIndexModule(nClass, nIndex);
}

uint32_t M_DicomGetCountModuleIOD(uint32_t nClass) {
    return MDicomIOD::GetCountModule(nClass);
}

_DICOMIOD *M_DicomGetFirstIOD(_DICOMIOD *pIOD, int32_t bSameLevel) {
    return MDicomIOD::GetFirst(pIOD, bSameLevel);
}

_DICOMIOD *M_DicomGetLastIOD(_DICOMIOD *pIOD, int32_t bSameLevel) {
    return MDicomIOD::GetLast(pIOD, bSameLevel);
}

_DICOMIOD *M_DicomGetNextIOD(_DICOMIOD *pIOD, int32_t bSameLevel) {
    return MDicomIOD::GetNext(pIOD, bSameLevel);
}

_DICOMIOD *M_DicomGetPrevIOD(_DICOMIOD *pIOD, int32_t bSameLevel) {
    return MDicomIOD::GetPrev(pIOD, bSameLevel);
}

_DICOMIOD *M_DicomGetChildIOD(_DICOMIOD *pIOD) {
    return MDicomIOD::GetChild(pIOD);
}

_DICOMIOD *M_DicomGetParentIOD(_DICOMIOD *pIOD) {
    return MDicomIOD::GetParent(pIOD);
}

_DICOMIOD *M_DicomGetRootIOD(_DICOMIOD *pIOD) {
    return MDicomIOD::GetRoot(pIOD);
}

int32_t M_DicomExistsIOD(_DICOMIOD *pIOD) {
    return MDicomIOD::Exists(pIOD);
}
