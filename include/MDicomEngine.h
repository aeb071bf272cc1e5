// Process-wide operations that belong to no object.

#ifndef MDICOM_ENGINE_H
#define MDICOM_ENGINE_H

#include "MDicomApi.h"
#include "MDicomTypes.h"

#ifdef __cplusplus
extern "C" {
#endif

/** Loads the dictionaries, and selects allocation family 1. Runs by itself with flags 3 when the
 *  library is loaded; a program may call it after a shutdown, while no data set exists.
 *  @param nFlags DICOM_ENGINE_ bits */
MDICOM_API void M_DicomEngineStartup(uint16_t nFlags);
/** Empties the dictionaries: no file can be read or written until they are loaded again. Runs by
 *  itself when the library is unloaded. */
MDICOM_API void M_DicomEngineShutdown(void);
/** Selects the allocation family of data set memory: 1, the plain heap (start value), or 2, blocks
 *  that know their size (KernelAlloc). Set it while no data set exists. Returns the previous mode,
 *  or 0 for a mode that does not exist. */
MDICOM_API uint16_t M_DicomSetMemoryAllocation(uint16_t nMode);

#ifdef __cplusplus
}
#endif

#endif
