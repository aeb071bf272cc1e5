// MDicomUID: the process-wide registry of UIDs.

#ifndef MDICOM_UID_H
#define MDICOM_UID_H

#include "MDicomTree.h"

/**
 * Known UIDs (PS 3.6, A): a list of rows, filled when the library is loaded. Reads are safe from
 * any thread; an edit must not overlap any use of the library.
 */
class MDICOM_API MDicomUID {
  public:
    static MDicomTreeEx m_InfoUID; ///< the rows, on the root level

    /** Empties the table and fills it with the 295 default rows. */
    static void Default();
    /** Deletes all rows. */
    static void Reset();
    /** Appends a row. Null for a null text or when memory is short. A second row with a UID
     *  stays behind the first and is not found. */
    static _DICOMUID *Insert(const wchar_t *pszCode, const wchar_t *pszName, uint32_t nType);
    /** Deletes a row. Returns the next row, else the previous one, else null. */
    static _DICOMUID *Delete(_DICOMUID *pRecord);
    /** Replaces a name; 1, or 0 for a null argument or when memory is short. */
    static int32_t SetName(_DICOMUID *pRecord, const wchar_t *pszName);
    /** The first row with exactly this UID, or null. */
    static _DICOMUID *Find(const wchar_t *pszCode);
    /** The row at this 0-based position, or null. */
    static _DICOMUID *FindIndex(uint32_t nIndex);
    /** 1 if the record is a row of the table. */
    static int32_t Exists(_DICOMUID *pRecord);
    /** First row, or null. */
    static _DICOMUID *GetFirst();
    /** Last row, or null. */
    static _DICOMUID *GetLast();
    /** The row behind this one, or null. */
    static _DICOMUID *GetNext(_DICOMUID *pRecord);
    /** The row before this one, or null. */
    static _DICOMUID *GetPrev(_DICOMUID *pRecord);
    /** Number of rows. */
    static uint32_t GetCount();
};

#endif
