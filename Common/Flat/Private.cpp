// Flat functions: private elements.

#include "MDicomDS.h"
#include "MDicomFlat.h"

_DICOMELEMENT *M_DicomFindFirstPrivateCreatorDataElement(MDicomDS *hDS, _DICOMELEMENT *pElement,
                                                         int32_t bSameLevel,
                                                         const wchar_t *pszCreator,
                                                         uint16_t nGroup) {
    return hDS->FindFirstPrivateCreatorDataElement(pElement, bSameLevel, pszCreator, nGroup);
}

_DICOMELEMENT *M_DicomFindNextPrivateCreatorDataElement(MDicomDS *hDS, _DICOMELEMENT *pElement,
                                                        int32_t bSameLevel,
                                                        const wchar_t *pszCreator,
                                                        uint16_t nGroup) {
    return hDS->FindNextPrivateCreatorDataElement(pElement, bSameLevel, pszCreator, nGroup);
}

_DICOMELEMENT *M_DicomFindFirstPrivateElement(MDicomDS *hDS, _DICOMELEMENT *pCreator) {
    return hDS->FindFirstPrivateElement(pCreator);
}

_DICOMELEMENT *M_DicomFindNextPrivateElement(MDicomDS *hDS, _DICOMELEMENT *pElement,
                                             _DICOMELEMENT *pCreator) {
    return hDS->FindNextPrivateElement(pElement, pCreator);
}

uint16_t M_DicomGetNextUnusedPrivateTag(MDicomDS *hDS, _DICOMELEMENT *pCreator, uint32_t *pTag) {
    return hDS->GetNextUnusedPrivateTag(pCreator, pTag);
}

uint16_t M_DicomCreatePrivateCreatorDataElement(MDicomDS *hDS, _DICOMELEMENT *pElement,
                                                uint16_t nGroup, uint16_t nElement,
                                                const wchar_t *pszCreator,
                                                _DICOMELEMENT **ppCreator) {
    return hDS->CreatePrivateCreatorDataElement(pElement, nGroup, nElement, pszCreator, ppCreator);
}
