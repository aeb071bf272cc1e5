// MDicomIOD: the process-wide tree of information object definitions.

#ifndef MDICOM_IOD_H
#define MDICOM_IOD_H

#include "MDicomEngine.h"
#include "MDicomTree.h"

/**
 * Information object definitions (PS 3.3) and service object tables (PS 3.4) as a tree: classes on
 * the root level, their modules below them, the attributes of a module below that, and below a
 * sequence the attributes of its items. The query levels hold attributes without modules.
 *
 * The tree builds itself on the first call of any member but SetInitialized; threads that come at
 * the same time wait until it is complete. After that reads are safe from any thread; an edit must
 * not overlap any use of the tree.
 */
class MDICOM_API MDicomIOD {
  public:
    /** The tree. Empty until the first call of a member. */
    static MDicomTreeEx m_InfoIOD;
    /** Nonzero when the tree has been built, emptied, or is being built. */
    static int32_t m_bInitialized;

    /** Empties the tree and fills it with the default rows. When memory is short it stays empty,
     *  and the next use tries again. */
    static void Default();
    /** Deletes all rows. The tree stays empty until Default or Insert. */
    static void Reset();
    /**
     * Inserts a row. A class always goes to the root level, a module whose neighbour is a class
     * always below it; both become the last there.
     * @param pNeighbor      reference row; may be null for a class only
     * @param bChild         nonzero: last child of the neighbour; zero: its last sibling
     * @param nCode          number of the class or module, or tag
     * @param pszName        name, copied
     * @param nType          IOD_TYPE_ value
     * @param nUsage         IOD_USAGE_ value
     * @param pszDescription text, copied; of a class its SOP Class UIDs, with backslashes between
     * @return the row; null for a null text, a missing neighbour, or when memory is short
     */
    static _DICOMIOD *Insert(_DICOMIOD *pNeighbor, int32_t bChild, uint32_t nCode,
                             const wchar_t *pszName, uint8_t nType, uint16_t nUsage,
                             const wchar_t *pszDescription);
    /** Deletes a row with all rows below it. Returns the next sibling, else the previous one,
     *  else the parent; null for null. */
    static _DICOMIOD *Delete(_DICOMIOD *pIOD);
    /** Replaces a name; 1, or 0 for a null argument or when memory is short. */
    static int32_t SetName(_DICOMIOD *pIOD, const wchar_t *pszName);
    /** Replaces a description; 1, or 0 for a null argument or when memory is short. */
    static int32_t SetDescription(_DICOMIOD *pIOD, const wchar_t *pszDescription);

    /** The first row of this type and code in the walk from GetFirst(pIOD, bSameLevel) on. */
    static _DICOMIOD *Find(_DICOMIOD *pIOD, uint32_t nCode, uint8_t nType, int32_t bSameLevel);
    /** The first class with this number, or null. */
    static _DICOMIOD *FindClass(uint32_t nClass);
    /** The first module with this number in a class, depth first; modules inside of sequences
     *  count. Null if there is none. */
    static _DICOMIOD *FindModule(uint32_t nClass, uint32_t nModule);
    /** The module at a 0-based position among the modules directly below a class, or null. */
    static _DICOMIOD *FindIndexModule(uint32_t nClass, uint32_t nIndex);
    /** Number of modules directly below a class; 0 for a class that does not exist. */
    static uint32_t GetCountModule(uint32_t nClass);

    /** First sibling of a row (bSameLevel nonzero), or the first row of the tree. */
    static _DICOMIOD *GetFirst(_DICOMIOD *pIOD, int32_t bSameLevel);
    /** Last sibling of a row, or the last row of a depth-first walk. */
    static _DICOMIOD *GetLast(_DICOMIOD *pIOD, int32_t bSameLevel);
    /** Next sibling, or the successor in a depth-first walk; null at the end. */
    static _DICOMIOD *GetNext(_DICOMIOD *pIOD, int32_t bSameLevel);
    /** Previous sibling, or the predecessor in a depth-first walk; null at the start. */
    static _DICOMIOD *GetPrev(_DICOMIOD *pIOD, int32_t bSameLevel);
    /** First row below a row, or null. */
    static _DICOMIOD *GetChild(_DICOMIOD *pIOD);
    /** The row above a row; null for a class. */
    static _DICOMIOD *GetParent(_DICOMIOD *pIOD);
    /** The class that a row belongs to, or the row itself if it is a class. */
    static _DICOMIOD *GetRoot(_DICOMIOD *pIOD);
    /** 1 if the record is a row of the tree. */
    static int32_t Exists(_DICOMIOD *pIOD);

    /** Sets m_bInitialized: with 0 the next use builds the tree anew. */
    static void SetInitialized(int32_t bInitialized);
};

#endif
