// Finding elements by their tag.

#include "Common/DS/ElementIndex.h"
#include "Common/DS/ElementNode.h"
#include "MDicomDS.h"

using namespace mdicom;

namespace {

/** A node of the tree of recorded file offsets. */
struct OffsetNode {
    _DICOMLINK link;
    _DICOMELEMENT *element;
    uint32_t offset;
};

OffsetNode *AsOffset(_DICOMLINK *link) {
    return reinterpret_cast<OffsetNode *>(link);
}

} // namespace

_DICOMELEMENT *MDicomDS::FindFirstElement(_DICOMELEMENT *pElement, uint32_t nTag,
                                          int32_t bSameLevel) {
    if (!CheckElement(pElement)) return nullptr;
    if (m_pIndex != nullptr && !m_pIndex->MayHold(nTag)) return nullptr;
    if (!bSameLevel) return FindInTree(nTag);
    _DICOMELEMENT *parent = GetParentOrNull(pElement);
    return FindOnLevel(parent, nTag, PlaceOnLevel(parent, nTag));
}

/** The element with this tag on the level under pParent; pPlace is its place by number. */
_DICOMELEMENT *MDicomDS::FindOnLevel(_DICOMELEMENT *pParent, uint32_t nTag, _DICOMELEMENT *pPlace) {
    const bool ordered = m_pIndex != nullptr && m_pIndex->HasOrder(pParent);
    if (ordered) return pPlace != nullptr && pPlace->nTag == nTag ? pPlace : nullptr;
    uint64_t steps = 0;
    for (; pPlace != nullptr && pPlace->nTag != nTag; pPlace = NextOf(pPlace)) ++steps;
    if (m_pIndex != nullptr) m_pIndex->CountSteps(steps);
    return pPlace;
}

_DICOMELEMENT *MDicomDS::FindInTree(uint32_t nTag) {
    if (m_pIndex != nullptr) {
        _DICOMELEMENT *known = m_pIndex->KnownFirst(nTag);
        if (known != nullptr) return known;
    }
    _DICOMLINK *node = m_Tree.pFirst;
    while (node != nullptr && AsElement(node)->nTag != nTag) node = m_Tree.GetNext(node, 0);
    if (node != nullptr && m_pIndex != nullptr) m_pIndex->RememberFirst(AsElement(node));
    return AsElement(node);
}

_DICOMELEMENT *MDicomDS::FindLastElement(_DICOMELEMENT *pElement, uint32_t nTag,
                                         int32_t bSameLevel) {
    if (!CheckElement(pElement)) return nullptr;
    if (m_pIndex != nullptr && !m_pIndex->MayHold(nTag)) return nullptr;
    _DICOMLINK *node = m_Tree.GetLast(AsLink(pElement), bSameLevel);
    while (node != nullptr && AsElement(node)->nTag != nTag) {
        node = m_Tree.GetPrev(node, bSameLevel);
    }
    return AsElement(node);
}

_DICOMELEMENT *MDicomDS::FindNextElement(_DICOMELEMENT *pElement, int32_t bSameLevel) {
    if (pElement == nullptr || !CheckElement(pElement)) return nullptr;
    const uint32_t tag = pElement->nTag;
    _DICOMLINK *node = m_Tree.GetNext(AsLink(pElement), bSameLevel);
    while (node != nullptr && AsElement(node)->nTag != tag) node = m_Tree.GetNext(node, bSameLevel);
    return AsElement(node);
}

_DICOMELEMENT *MDicomDS::FindPrevElement(_DICOMELEMENT *pElement, int32_t bSameLevel) {
    if (pElement == nullptr || !CheckElement(pElement)) return nullptr;
    const uint32_t tag = pElement->nTag;
    _DICOMLINK *node = m_Tree.GetPrev(AsLink(pElement), bSameLevel);
    while (node != nullptr && AsElement(node)->nTag != tag) node = m_Tree.GetPrev(node, bSameLevel);
    return AsElement(node);
}

/** Notes where an element begins in its file; without memory it is not noted. */
void MDicomDS::RecordOffset(_DICOMELEMENT *pElement, uint32_t nOffset) {
    if (m_pExtra == nullptr || m_pIndex == nullptr) return;
    MDicomTree &offsets = m_pExtra->Offsets;
    OffsetNode *node = AsOffset(offsets.Insert(nullptr, sizeof(OffsetNode), TREE_LAST_SIBLING));
    if (node == nullptr) return;
    node->element = pElement;
    node->offset = nOffset;
    m_pIndex->RememberOffset(pElement, &node->link);
}

/** A record must not outlive its element: the address may come back with another one. */
void MDicomDS::ForgetOffset(_DICOMELEMENT *pElement) {
    m_pExtra->Offsets.Delete(m_pIndex->KnownOffset(pElement));
}

uint32_t MDicomDS::GetElementOffset(_DICOMELEMENT *pElement) {
    if (m_pIndex == nullptr || pElement == nullptr || !CheckElement(pElement)) return 0;
    _DICOMLINK *node = m_pIndex->KnownOffset(pElement);
    return node != nullptr ? AsOffset(node)->offset : 0;
}
