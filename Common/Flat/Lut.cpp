// Flat functions: LUTs and windows.

#include "MDicomDS.h"
#include "MDicomFlat.h"

uint16_t M_DicomGetModalityLUTAttributes(MDicomDS *hDS, uint32_t nFrame,
                                         tagDICOMMLUTATTRIBS *pAttributes, uint32_t nSize,
                                         uint32_t nFlags) {
    return hDS->GetModalityLUTAttributes(nFrame, pAttributes, nSize, nFlags);
}

uint16_t M_DicomGetModalityLUTData(MDicomDS *hDS, uint16_t *pData, uint32_t nEntries,
                                   uint32_t nFlags) {
    return hDS->GetModalityLUTData(pData, nEntries, nFlags);
}

uint16_t M_DicomSetModalityLUT(MDicomDS *hDS, uint32_t nFrame,
                               const tagDICOMMLUTATTRIBS *pAttributes, uint16_t *pData,
                               uint32_t nEntries, uint32_t nFlags) {
    return hDS->SetModalityLUT(nFrame, pAttributes, pData, nEntries, nFlags);
}

uint16_t M_DicomDeleteModalityLUT(MDicomDS *hDS, uint32_t nFrame, uint32_t nFlags) {
    return hDS->DeleteModalityLUT(nFrame, nFlags);
}

uint16_t M_DicomGetVOILUTCount(MDicomDS *hDS, uint32_t *pCount) {
    return hDS->GetVOILUTCount(pCount);
}

uint16_t M_DicomGetVOILUT(MDicomDS *hDS, uint32_t nIndex, tagDICOMVOILUTATTRIBS *pAttributes,
                          uint32_t nSize, uint32_t nFlags) {
    return hDS->GetVOILUT(nIndex, pAttributes, nSize, nFlags);
}

uint16_t M_DicomGetVOILUTData(MDicomDS *hDS, uint32_t nIndex, uint16_t *pData, uint32_t nEntries,
                              uint32_t nFlags) {
    return hDS->GetVOILUTData(nIndex, pData, nEntries, nFlags);
}

uint16_t M_DicomSetVOILUT(MDicomDS *hDS, uint32_t nIndex, const tagDICOMVOILUTATTRIBS *pAttributes,
                          uint16_t *pData, uint32_t nEntries, uint32_t nFlags) {
    return hDS->SetVOILUT(nIndex, pAttributes, pData, nEntries, nFlags);
}

uint16_t M_DicomDeleteVOILUT(MDicomDS *hDS, uint32_t nFlags) {
    return hDS->DeleteVOILUT(nFlags);
}

uint16_t M_DicomGetWindowCount(MDicomDS *hDS, uint32_t nFrame, uint32_t *pCount) {
    return hDS->GetWindowCount(nFrame, pCount);
}

uint16_t M_DicomGetWindow(MDicomDS *hDS, uint32_t nFrame, uint32_t nIndex,
                          tagDICOMWINDOWATTRIBS *pAttributes, uint32_t nSize, uint32_t nFlags) {
    return hDS->GetWindow(nFrame, nIndex, pAttributes, nSize, nFlags);
}

uint16_t M_DicomSetWindow(MDicomDS *hDS, uint32_t nFrame, uint32_t nIndex,
                          const tagDICOMWINDOWATTRIBS *pAttributes, uint32_t nFlags) {
    return hDS->SetWindow(nFrame, nIndex, pAttributes, nFlags);
}

uint16_t M_DicomDeleteWindow(MDicomDS *hDS, uint32_t nFrame, uint32_t nFlags) {
    return hDS->DeleteWindow(nFrame, nFlags);
}

uint16_t M_DicomGetPaletteColorLUTAttributes(MDicomDS *hDS, tagDICOMPALCOLORLUTATTRIBS *pAttributes,
                                             uint32_t nSize, uint32_t nFlags) {
    return hDS->GetPaletteColorLUTAttributes(pAttributes, nSize, nFlags);
}

uint16_t M_DicomSetPaletteColorLUTAttributes(MDicomDS *hDS,
                                             const tagDICOMPALCOLORLUTATTRIBS *pAttributes,
                                             uint32_t nFlags) {
    return hDS->SetPaletteColorLUTAttributes(pAttributes, nFlags);
}

uint16_t M_DicomGetPaletteColorLUTData(MDicomDS *hDS, uint16_t *pData, uint32_t nEntries,
                                       uint32_t nType, uint32_t nFlags) {
    return hDS->GetPaletteColorLUTData(pData, nEntries, nType, nFlags);
}

uint16_t M_DicomSetPaletteColorLUTData(MDicomDS *hDS, uint16_t *pData, uint32_t nEntries,
                                       uint32_t nType, uint32_t nFlags) {
    return hDS->SetPaletteColorLUTData(pData, nEntries, nType, nFlags);
}

uint16_t M_DicomDeletePaletteColorLUT(MDicomDS *hDS, uint32_t nFlags) {
    return hDS->DeletePaletteColorLUT(nFlags);
}
