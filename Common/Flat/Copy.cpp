// Flat functions: copying.

#include "MDicomDS.h"
#include "MDicomFlat.h"

uint16_t M_DicomCopyDS(MDicomDS *hDS, _DICOMELEMENT *pTarget, MDicomDS *pSourceDS,
                       _DICOMELEMENT *pSource) {
    return hDS->CopyDS(pTarget, pSourceDS, pSource);
}

uint16_t M_DicomCopyDSExt(MDicomDS *hDS, _DICOMELEMENT *pTarget, MDicomDS *pSourceDS,
                          _DICOMELEMENT *pSource, MDICOM_DEBUG_CALLBACK pfnCallback,
                          void *pUserData) {
    return hDS->CopyDS(pTarget, pSourceDS, pSource, pfnCallback, pUserData);
}
