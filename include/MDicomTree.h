// MDicomTree and MDicomTreeEx: the ordered forest under data sets and dictionaries.

#ifndef MDICOM_TREE_H
#define MDICOM_TREE_H

#include "MDicomApi.h"
#include "MDicomTypes.h"

/**
 * An ordered forest of nodes of any size, each of which begins with a _DICOMLINK. The tree owns
 * its nodes but frees none on destruction: the owner deletes them first. Nodes come from the
 * allocation family that M_DicomSetMemoryAllocation selected.
 *
 * Arguments named bSameLevel: nonzero walks among siblings, zero walks the whole tree depth
 * first. A null pLink stands for the root level.
 */
class MDICOM_API MDicomTree {
  public:
    _DICOMLINK *pFirst = nullptr; ///< first node of the root level
    _DICOMLINK *pLast = nullptr;  ///< last node of the root level

    MDicomTree() = default;
    ~MDicomTree() = default;
    MDicomTree(const MDicomTree &) = delete;
    MDicomTree &operator=(const MDicomTree &) = delete;

    /**
     * Makes a node of nSize bytes, filled with zeros.
     * @param pLink     reference node; null for the root level
     * @param nSize     bytes of the node, at least sizeof(_DICOMLINK)
     * @param nPosition TREE_ value; TREE_NEXT and TREE_PREVIOUS need a reference node
     * @return the node; null when memory is short or an argument is out of range
     */
    _DICOMLINK *Insert(_DICOMLINK *pLink, uint32_t nSize, uint32_t nPosition);
    /** Unlinks and frees this node alone; its children have to be gone. Null is ignored. */
    void Delete(_DICOMLINK *pLink);

    /** First sibling of pLink, or the first node of the tree. */
    _DICOMLINK *GetFirst(_DICOMLINK *pLink, int32_t bSameLevel);
    /** Last sibling of pLink, or the last node of a depth-first walk. */
    _DICOMLINK *GetLast(_DICOMLINK *pLink, int32_t bSameLevel);
    /** Next sibling, or the successor in a depth-first walk; null at the end and for null. */
    _DICOMLINK *GetNext(_DICOMLINK *pLink, int32_t bSameLevel);
    /** Previous sibling, or the predecessor in a depth-first walk; null at the start. */
    _DICOMLINK *GetPrev(_DICOMLINK *pLink, int32_t bSameLevel);
    /** First child; null for null. */
    _DICOMLINK *GetChild(_DICOMLINK *pLink);
    /** Parent; null on the root level and for null. */
    _DICOMLINK *GetParent(_DICOMLINK *pLink);
    /** Ancestor on the root level, or the node itself. */
    _DICOMLINK *GetRoot(_DICOMLINK *pLink);
    /** Number of ancestors; 0 for null. */
    uint32_t GetLevel(_DICOMLINK *pLink);
    /** Nodes from GetFirst(pLink, bSameLevel) to the end of that walk. */
    uint32_t GetCount(_DICOMLINK *pLink, int32_t bSameLevel);
    /** The node nIndex steps behind GetFirst(pLink, bSameLevel); null past the end. */
    _DICOMLINK *FindIndex(_DICOMLINK *pLink, int32_t bSameLevel, uint32_t nIndex);
    /** 1 if this address is a node of the tree; walks the whole tree. */
    int32_t Exists(_DICOMLINK *pLink);
    /** Consistency test, for diagnosis: the first node whose links do not fit; null if sound. */
    _DICOMLINK *Verify();

  protected:
    /** Puts a node into its place; false for a position that does not exist. */
    bool Link(_DICOMLINK *pNode, _DICOMLINK *pLink, uint32_t nPosition);
    /** Takes a node out of its level. */
    void Unlink(_DICOMLINK *pNode);
};

/** The same tree with nodes from the plain system heap, for process-wide tables. */
class MDICOM_API MDicomTreeEx : public MDicomTree {
  public:
    MDicomTreeEx() = default;
    ~MDicomTreeEx() = default;

    /** As MDicomTree::Insert. */
    _DICOMLINK *Insert(_DICOMLINK *pLink, uint32_t nSize, uint32_t nPosition);
    /** As MDicomTree::Delete. Nodes of the tree's block are taken out only. */
    void Delete(_DICOMLINK *pLink);

  private:
    friend class MDicomIOD;

    /** Names the memory of nodes that were made together and are freed together by their owner;
     *  null and 0 for none. */
    void SetBlock(const void *pBlock, size_t nSize);

    const void *m_pBlock = nullptr;
    size_t m_nBlockSize = 0;
};

#endif
