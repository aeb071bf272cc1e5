// Flat functions: data sets and their elements.

#include "MDicomFlat.h"

#include <new>

#include "MDicomDS.h"

MDicomDS *M_DicomCreateDS(const wchar_t *pszTempPath) {
    try {
        return new (std::nothrow) MDicomDS(pszTempPath);
    } catch (...) {
        return nullptr;
    }
}

void M_DicomFreeDS(MDicomDS *hDS) {
    delete hDS;
}

_DICOMELEMENT *M_DicomInsertElement(MDicomDS *hDS, _DICOMELEMENT *pNeighbor, int32_t bChild,
                                    uint32_t nTag, uint16_t nVR, int32_t bSequence,
                                    uint32_t nIndex) {
    return hDS->InsertElement(pNeighbor, bChild, nTag, nVR, bSequence, nIndex);
}

_DICOMELEMENT *M_DicomDeleteElement(MDicomDS *hDS, _DICOMELEMENT *pElement) {
    return hDS->DeleteElement(pElement);
}

_DICOMELEMENT *M_DicomGetFirstElement(MDicomDS *hDS, _DICOMELEMENT *pElement, int32_t bSameLevel,
                                      int32_t bVolatile) {
    return hDS->GetFirstElement(pElement, bSameLevel, bVolatile);
}

_DICOMELEMENT *M_DicomGetLastElement(MDicomDS *hDS, _DICOMELEMENT *pElement, int32_t bSameLevel,
                                     int32_t bVolatile) {
    return hDS->GetLastElement(pElement, bSameLevel, bVolatile);
}

_DICOMELEMENT *M_DicomGetNextElement(MDicomDS *hDS, _DICOMELEMENT *pElement, int32_t bSameLevel,
                                     int32_t bVolatile) {
    return hDS->GetNextElement(pElement, bSameLevel, bVolatile);
}

_DICOMELEMENT *M_DicomGetPrevElement(MDicomDS *hDS, _DICOMELEMENT *pElement, int32_t bSameLevel,
                                     int32_t bVolatile) {
    return hDS->GetPrevElement(pElement, bSameLevel, bVolatile);
}

_DICOMELEMENT *M_DicomGetChildElement(MDicomDS *hDS, _DICOMELEMENT *pElement, int32_t bVolatile) {
    return hDS->GetChildElement(pElement, bVolatile);
}

_DICOMELEMENT *M_DicomGetParentElement(MDicomDS *hDS, _DICOMELEMENT *pElement) {
    return hDS->GetParentElement(pElement);
}

_DICOMELEMENT *M_DicomGetRootElement(MDicomDS *hDS, _DICOMELEMENT *pElement) {
    return hDS->GetRootElement(pElement);
}

uint32_t M_DicomGetLevelElement(MDicomDS *hDS, _DICOMELEMENT *pElement) {
    return hDS->GetLevelElement(pElement);
}

int32_t M_DicomExistsElement(MDicomDS *hDS, _DICOMELEMENT *pElement) {
    return hDS->ExistsElement(pElement);
}

int32_t M_DicomIsVolatileElement(MDicomDS *hDS, _DICOMELEMENT *pElement) {
    return hDS->IsVolatileElement(pElement);
}

_DICOMELEMENT *M_DicomFindFirstElement(MDicomDS *hDS, _DICOMELEMENT *pElement, uint32_t nTag,
                                       int32_t bSameLevel) {
    return hDS->FindFirstElement(pElement, nTag, bSameLevel);
}

_DICOMELEMENT *M_DicomFindLastElement(MDicomDS *hDS, _DICOMELEMENT *pElement, uint32_t nTag,
                                      int32_t bSameLevel) {
    return hDS->FindLastElement(pElement, nTag, bSameLevel);
}

_DICOMELEMENT *M_DicomFindNextElement(MDicomDS *hDS, _DICOMELEMENT *pElement, int32_t bSameLevel) {
    return hDS->FindNextElement(pElement, bSameLevel);
}

_DICOMELEMENT *M_DicomFindPrevElement(MDicomDS *hDS, _DICOMELEMENT *pElement, int32_t bSameLevel) {
    return hDS->FindPrevElement(pElement, bSameLevel);
}

void M_DicomSetDebugDS(MDicomDS *hDS, MDICOM_DEBUG_CALLBACK pfnDebug, void *pUserData) {
    hDS->SetDebugDS(pfnDebug, pUserData);
}

int32_t M_DicomGetKeepPixelDataIntactFlag(MDicomDS *hDS) {
    return hDS->GetKeepPixelDataIntactFlag();
}

int32_t M_DicomSetKeepPixelDataIntactFlag(MDicomDS *hDS, int32_t bKeep) {
    return hDS->SetKeepPixelDataIntactFlag(bKeep);
}

void M_DicomGetPreamble(MDicomDS *hDS, uint8_t *pBuffer, uint32_t nLength) {
    hDS->GetPreamble(pBuffer, nLength);
}

void M_DicomSetPreamble(MDicomDS *hDS, const uint8_t *pBuffer, uint32_t nLength) {
    hDS->SetPreamble(pBuffer, nLength);
}

void M_DicomResetDS(MDicomDS *hDS) {
    hDS->ResetDS();
}
