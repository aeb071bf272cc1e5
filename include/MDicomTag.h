// MDicomTag: the process-wide data dictionary.

#ifndef MDICOM_TAG_H
#define MDICOM_TAG_H

#include "MDicomTree.h"

/**
 * The data dictionary (PS 3.6, and the command dictionary of PS 3.7, E): a list of rows, filled
 * when the library is loaded. Reads are safe from any thread; an edit must not overlap any use
 * of the library.
 */
class MDICOM_API MDicomTag {
  public:
    static MDicomTreeEx m_InfoTag; ///< the rows, on the root level

    /** Empties the table and fills it with the 2,989 default rows. */
    static void Default();
    /** Deletes all rows. */
    static void Reset();
    /** Appends a row. Null for a null name or when memory is short. A row that matches a tag
     *  which an earlier row matches too stays behind that row and is not found. */
    static _DICOMTAG *Insert(uint32_t nCode, uint32_t nMask, const wchar_t *pszName, uint16_t nVR,
                             uint32_t nMinVM, uint32_t nMaxVM, uint32_t nDivideVM);
    /** Deletes a row. Returns the next row, else the previous one, else null. */
    static _DICOMTAG *Delete(_DICOMTAG *pRecord);
    /** Replaces a name; 1, or 0 for a null argument or when memory is short. */
    static int32_t SetName(_DICOMTAG *pRecord, const wchar_t *pszName);
    /** The first row in list order whose nCode equals nCode under the row's mask, or null. */
    static _DICOMTAG *Find(uint32_t nCode);
    /** The row at this 0-based position, or null. */
    static _DICOMTAG *FindIndex(uint32_t nIndex);
    /** 1 if the record is a row of the table. */
    static int32_t Exists(_DICOMTAG *pRecord);
    /** First row, or null. */
    static _DICOMTAG *GetFirst();
    /** Last row, or null. */
    static _DICOMTAG *GetLast();
    /** The row behind this one, or null. */
    static _DICOMTAG *GetNext(_DICOMTAG *pRecord);
    /** The row before this one, or null. */
    static _DICOMTAG *GetPrev(_DICOMTAG *pRecord);
    /** Number of rows. */
    static uint32_t GetCount();
};

#endif
