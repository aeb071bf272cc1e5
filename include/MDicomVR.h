// MDicomVR: the process-wide table of value representations.

#ifndef MDICOM_VR_H
#define MDICOM_VR_H

#include "MDicomTree.h"

/**
 * Value representations (PS 3.5, 6.2): a list of rows, filled when the library is loaded. Reads
 * are safe from any thread; an edit must not overlap any use of the library.
 */
class MDICOM_API MDicomVR {
  public:
    static MDicomTreeEx m_InfoVR; ///< the rows, on the root level

    /** Empties the table and fills it with the 27 default rows. */
    static void Default();
    /** Deletes all rows. Files cannot be read or written while the table is empty. */
    static void Reset();
    /** Appends a row. Null for a null name or when memory is short. A second row with a code
     *  stays behind the first and is not found. */
    static _DICOMVR *Insert(uint16_t nCode, const wchar_t *pszName, uint32_t nLength,
                            uint16_t nRestrict, uint16_t nUnitSize);
    /** Deletes a row. Returns the next row, else the previous one, else null. */
    static _DICOMVR *Delete(_DICOMVR *pRecord);
    /** Replaces a name; 1, or 0 for a null argument or when memory is short. */
    static int32_t SetName(_DICOMVR *pRecord, const wchar_t *pszName);
    /** The first row with this code, or null. */
    static _DICOMVR *Find(uint16_t nCode);
    /** The row at this 0-based position, or null. */
    static _DICOMVR *FindIndex(uint32_t nIndex);
    /** 1 if the record is a row of the table. */
    static int32_t Exists(_DICOMVR *pRecord);
    /** First row, or null. */
    static _DICOMVR *GetFirst();
    /** Last row, or null. */
    static _DICOMVR *GetLast();
    /** The row behind this one, or null. */
    static _DICOMVR *GetNext(_DICOMVR *pRecord);
    /** The row before this one, or null. */
    static _DICOMVR *GetPrev(_DICOMVR *pRecord);
    /** Number of rows. */
    static uint32_t GetCount();
};

#endif
