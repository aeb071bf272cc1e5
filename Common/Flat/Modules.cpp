// Flat functions: modules of a data set.

#include "MDicomDS.h"
#include "MDicomFlat.h"

void M_DicomGetInfoDS(MDicomDS *hDS, uint32_t *pClass, uint16_t *pFlags) {
    hDS->GetInfoDS(pClass, pFlags);
}

void M_DicomInitDS(MDicomDS *hDS, uint32_t nClass, uint16_t nFlags) {
    hDS->InitDS(nClass, nFlags);
}

void M_DicomInitCS(MDicomDS *hDS, uint16_t nCommand, int32_t bRequest) {
    hDS->InitCS(nCommand, bRequest);
}

void M_DicomGetInfoCS(MDicomDS *hDS, uint16_t *pCommand, int32_t *pRequest) {
    hDS->GetInfoCS(pCommand, pRequest);
}

_DICOMMODULE *M_DicomFindModule(MDicomDS *hDS, uint32_t nModule) {
    return hDS->FindModule(nModule);
}

_DICOMMODULE *M_DicomFindIndexModule(MDicomDS *hDS, uint32_t nIndex) {
    return hDS->FindIndexModule(nIndex);
}

uint32_t M_DicomGetCountModule(MDicomDS *hDS) {
    return hDS->GetCountModule();
}

_DICOMMODULE *M_DicomInsertModule(MDicomDS *hDS, uint32_t nModule, int32_t bOptional) {
    return hDS->InsertModule(nModule, bOptional);
}

void M_DicomDeleteModule(MDicomDS *hDS, uint32_t nModule) {
    hDS->DeleteModule(nModule);
}

int32_t M_DicomConformanceDS(MDicomDS *hDS, MDICOM_DEBUG_CALLBACK pfnCallback, void *pUserData) {
    return hDS->ConformanceDS(pfnCallback, pUserData);
}
