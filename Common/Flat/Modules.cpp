// Flat functions: modules of a data set.

#include "MDicomDS.h"
#include "MDicomFlat.h"

void M_DicomGetInfoDS(MDicomDS *hDS, uint32_t *pClass, uint16_t *pFlags) {
    hDS->GetInfoDS(pClass, pFlags);
}
