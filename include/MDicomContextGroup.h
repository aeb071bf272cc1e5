// MDicomContextGroup: the process-wide tree of context groups.

#ifndef MDICOM_CONTEXT_GROUP_H
#define MDICOM_CONTEXT_GROUP_H

#include "MDicomEngine.h"
#include "MDicomTree.h"

/**
 * Context groups (PS 3.16): lists of coded concepts under a context identifier such as "CID 2". The
 * library knows 197 groups; the tree holds those that Load brought and those that the program
 * inserted, with their concepts as children.
 *
 * Text arguments lose white space at both ends, and what is stored are copies of the rest. Reads
 * are safe from any thread; an edit, Load among them, must not overlap any use of the tree.
 */
class MDICOM_API MDicomContextGroup {
  public:
    static MDicomTreeEx m_ContextGroupsTable; ///< the groups, on the root level
    /** Nonzero from the first call of a member on. */
    static int32_t m_bInitialized;

    /** Brings a known group into the tree, unless one with its identifier is there.
     *  @param pszContextIdentifier in any case; null for all known groups
     *  @return 0, DICOM_ERROR_PARAMETER for an identifier that is not known, or
     *          DICOM_ERROR_MEMORY */
    static uint16_t Load(const wchar_t *pszContextIdentifier);
    /** Gives a known group of the tree its original concepts; null for every group of the tree.
     *  Other groups stay as they are. Returns 1, or 0 when memory is short. */
    static int32_t Default(tagDICOMCONTEXTGROUP *pGroup);
    /** Deletes all groups. */
    static void Reset();

    /**
     * Appends a group.
     * @param pVersion version of the group, copied
     * @param nFlags   bit 0 refuses an identifier that is in the tree
     * @return the group; null for an empty identifier or name, a null version, or when memory is
     *         short
     */
    static tagDICOMCONTEXTGROUP *Insert(const wchar_t *pszContextIdentifier, const wchar_t *pszName,
                                        int32_t bExtensible, const _VALUEDATETIME *pVersion,
                                        uint32_t nFlags);
    /** Deletes a group with its concepts. Returns the next group, else the previous one, else
     *  null. */
    static tagDICOMCONTEXTGROUP *Delete(tagDICOMCONTEXTGROUP *pGroup);
    /** The first group of the tree with this identifier, in any case, or null. */
    static tagDICOMCONTEXTGROUP *Find(const wchar_t *pszContextIdentifier);
    /** The group at this 0-based position, or null. */
    static tagDICOMCONTEXTGROUP *FindIndex(uint32_t nIndex);
    /** 1 if the record is a group of the tree. */
    static int32_t Exists(tagDICOMCONTEXTGROUP *pGroup);
    /** First group, or null. */
    static tagDICOMCONTEXTGROUP *GetFirst();
    /** Last group, or null. */
    static tagDICOMCONTEXTGROUP *GetLast();
    /** The group behind this one, or null. */
    static tagDICOMCONTEXTGROUP *GetNext(tagDICOMCONTEXTGROUP *pGroup);
    /** The group before this one, or null. */
    static tagDICOMCONTEXTGROUP *GetPrev(tagDICOMCONTEXTGROUP *pGroup);
    /** Number of groups in the tree. */
    static uint32_t GetCount();

    /**
     * Appends a concept to a group.
     * @param pszVersion     version of the scheme; may be null
     * @param pLocalVersion  local version of the group, copied; may be null
     * @param pszCreatorUID  who extended the group; may be null
     * @param nFlags         bit 0 refuses a concept that FindCodedConcept finds
     * @return the concept; null for a null group, an empty scheme, value or meaning, or when
     *         memory is short
     */
    static tagDICOMCODEDCONCEPT *InsertCodedConcept(
        tagDICOMCONTEXTGROUP *pGroup, const wchar_t *pszScheme, const wchar_t *pszVersion,
        const wchar_t *pszValue, const wchar_t *pszMeaning, const _VALUEDATETIME *pLocalVersion,
        const wchar_t *pszCreatorUID, uint32_t nFlags);
    /** Deletes a concept. Returns the next one, else the previous one, else null. */
    static tagDICOMCODEDCONCEPT *DeleteCodedConcept(tagDICOMCODEDCONCEPT *pConcept);
    /** The first concept of a group with this scheme and value, in any case. The scheme "99SDM" is
     *  taken for "SNM3". */
    static tagDICOMCODEDCONCEPT *FindCodedConcept(tagDICOMCONTEXTGROUP *pGroup,
                                                  const wchar_t *pszScheme,
                                                  const wchar_t *pszValue);
    /** The concept at this 0-based position of a group, or null. */
    static tagDICOMCODEDCONCEPT *FindIndexCodedConcept(tagDICOMCONTEXTGROUP *pGroup,
                                                       uint32_t nIndex);
    /** Replaces a meaning; 1, or 0 for a null concept, an empty text, or when memory is short. */
    static int32_t SetCodeMeaning(tagDICOMCODEDCONCEPT *pConcept, const wchar_t *pszMeaning);
    /** The group that a concept belongs to. */
    static tagDICOMCONTEXTGROUP *GetContextGroup(tagDICOMCODEDCONCEPT *pConcept);
    /** 1 if the record is a concept of a group of the tree. */
    static int32_t ExistsCodedConcept(tagDICOMCODEDCONCEPT *pConcept);
    /** First concept of the group, or null. */
    static tagDICOMCODEDCONCEPT *GetFirstCodedConcept(tagDICOMCONTEXTGROUP *pGroup);
    /** Last concept of the group, or null. */
    static tagDICOMCODEDCONCEPT *GetLastCodedConcept(tagDICOMCONTEXTGROUP *pGroup);
    /** The concept behind this one, or null. */
    static tagDICOMCODEDCONCEPT *GetNextCodedConcept(tagDICOMCODEDCONCEPT *pConcept);
    /** The concept before this one, or null. */
    static tagDICOMCODEDCONCEPT *GetPrevCodedConcept(tagDICOMCODEDCONCEPT *pConcept);
    /** Number of concepts of a group; 0 for null. */
    static uint32_t GetCountCodedConcept(tagDICOMCONTEXTGROUP *pGroup);

  private:
    friend void ::M_DicomEngineShutdown(void);

    static void SetInitialized(int32_t bInitialized);
};

#endif
