// The element tree of a data set: inserting, deleting, walking.

#include <algorithm>

#include "Common/DS/ElementIndex.h"
#include "Common/DS/ElementNode.h"
#include "Common/DSValue/ValueStore.h"
#include "Common/Utils/Vr.h"
#include "MDicomDS.h"
#include "MDicomTag.h"

using namespace mdicom;

namespace {

bool IsRefusedTag(uint32_t tag) {
    return ElementOf(tag) == 0x0000 || IsDelimiter(tag) || tag == kTagTrailingPadding;
}

/** The sibling before which an item with this index goes; null to append it. */
_DICOMELEMENT *ItemPlace(_DICOMLINK *first, uint32_t index) {
    if (index == 0xFFFFFFFF) return nullptr;
    _DICOMLINK *node = first;
    while (node != nullptr && index-- > 0) node = node->pNext;
    return AsElement(node);
}

/** The first sibling with a tag of at least this number, without an index. */
_DICOMELEMENT *LinearLowerBound(_DICOMLINK *first, uint32_t tag) {
    while (first != nullptr && AsElement(first)->nTag < tag) first = first->pNext;
    return AsElement(first);
}

} // namespace

void MDicomDS::ReportDebug(_DICOMELEMENT *pElement, uint16_t nCode) {
    if (m_pfnDebug != nullptr) m_pfnDebug(pElement, nCode, m_pDebugUserData);
}

/** False for a handle that is not in the tree; only looked at while a debug callback is set. */
bool MDicomDS::CheckElement(_DICOMELEMENT *pElement) {
    if (m_pfnDebug == nullptr || pElement == nullptr) return true;
    if (m_Tree.Exists(AsLink(pElement))) return true;
    ReportDebug(pElement, DS_DEBUG_BAD_ELEMENT);
    return false;
}

_DICOMELEMENT *MDicomDS::InsertElement(_DICOMELEMENT *pNeighbor, int32_t bChild, uint32_t nTag,
                                       uint16_t nVR, int32_t bSequence, uint32_t nIndex) {
    if (m_bConforming || !CheckElement(pNeighbor)) return nullptr;
    const bool child = bChild && pNeighbor != nullptr;
    _DICOMELEMENT *parent = child ? pNeighbor : GetParentOrNull(pNeighbor);
    uint16_t refusal = 0;
    _DICOMELEMENT *element = InsertUnder(parent, nTag, nVR, bSequence != 0, nIndex, &refusal);
    if (element == nullptr) ReportDebug(pNeighbor, refusal);
    return element;
}

/** Inserts an element on the level under pParent (null: the top level). Null and a DS_DEBUG_ code
 *  when it is refused. */
_DICOMELEMENT *MDicomDS::InsertUnder(_DICOMELEMENT *pParent, uint32_t nTag, uint16_t nVR,
                                     bool bSequence, uint32_t nIndex, uint16_t *pRefusal) {
    if (IsRefusedTag(nTag)) {
        *pRefusal = DS_DEBUG_BAD_TAG;
        return nullptr;
    }
    _DICOMLINK *first = pParent != nullptr ? pParent->Link.pFirstChild : m_Tree.pFirst;
    _DICOMELEMENT *next = nullptr;
    if (first != nullptr) {
        if (pParent != nullptr && pParent->nLength != kUndefinedLength) {
            *pRefusal = DS_DEBUG_BAD_ELEMENT;
            return nullptr;
        }
        _DICOMLINK *last = pParent != nullptr ? pParent->Link.pLastChild : m_Tree.pLast;
        if (nTag == TAG_ITEM) {
            next = ItemPlace(first, nIndex);
        } else if (m_pIndex == nullptr || !m_pIndex->IsBehind(pParent, AsElement(last), nTag)) {
            next = PlaceOnLevel(pParent, nTag);
            if (FindOnLevel(pParent, nTag, next) != nullptr) {
                *pRefusal = DS_DEBUG_DUPLICATE;
                return nullptr;
            }
        }
    }
    _DICOMLINK *reference = next != nullptr ? AsLink(next) : AsLink(pParent);
    const uint32_t position = next != nullptr ? TREE_PREVIOUS : TREE_LAST_CHILD;
    _DICOMELEMENT *element = AsElement(m_Tree.Insert(reference, sizeof(ElementNode), position));
    if (element == nullptr) {
        *pRefusal = DS_DEBUG_NO_MEMORY;
        return nullptr;
    }
    if (nVR == 0 || nVR == vr::UN) {
        const _DICOMTAG *row = MDicomTag::Find(nTag);
        if (row != nullptr) nVR = row->nVR;
    }
    element->nTag = nTag;
    element->nVR = nVR;
    element->nLength = nVR == vr::SQ || bSequence ? kUndefinedLength : 0;
    element->nValueCount = kUnparsed;
    InitBlocks(element, &m_TempFile);
    if (m_pIndex != nullptr) m_pIndex->Inserted(element);
    return element;
}

_DICOMELEMENT *MDicomDS::GetParentOrNull(_DICOMELEMENT *pElement) {
    return pElement != nullptr ? ParentOf(pElement) : nullptr;
}

/** The first sibling with a tag of at least nTag on the level under pParent (null: top level). */
_DICOMELEMENT *MDicomDS::PlaceOnLevel(_DICOMELEMENT *pParent, uint32_t nTag) {
    _DICOMLINK *first = pParent != nullptr ? pParent->Link.pFirstChild : m_Tree.pFirst;
    _DICOMLINK *last = pParent != nullptr ? pParent->Link.pLastChild : m_Tree.pLast;
    if (m_pIndex == nullptr) return LinearLowerBound(first, nTag);
    return m_pIndex->LowerBound(pParent, AsElement(first), AsElement(last), nTag);
}

_DICOMELEMENT *MDicomDS::DeleteElement(_DICOMELEMENT *pElement) {
    if (pElement == nullptr || m_bConforming || !CheckElement(pElement)) return nullptr;
    const _DICOMLINK &link = pElement->Link;
    _DICOMLINK *result = link.pNext != nullptr   ? link.pNext
                         : link.pPrev != nullptr ? link.pPrev
                                                 : link.pParent;
    _DICOMLINK *node = AsLink(pElement);
    for (bool done = false; !done;) {
        while (node->pFirstChild != nullptr) node = node->pFirstChild;
        done = node == AsLink(pElement);
        _DICOMLINK *parent = node->pParent;
        DeleteNode(AsElement(node));
        node = parent;
    }
    return AsElement(result);
}

/** Deletes one element without children. */
void MDicomDS::DeleteNode(_DICOMELEMENT *pElement) {
    FreeCaches(pElement);
    FreeBlocks(pElement);
    if (m_pExtra != nullptr && m_pExtra->Offsets.pFirst != nullptr) ForgetOffset(pElement);
    if (m_pExtra != nullptr && m_pExtra->nBadElements > 0) ForgetBadElement(pElement);
    if (m_pIndex != nullptr) m_pIndex->Deleting(pElement);
    m_Tree.Delete(AsLink(pElement));
}

/** Takes an element that goes before it is repaired out of the table. */
void MDicomDS::ForgetBadElement(const _DICOMELEMENT *pElement) {
    DICOMBADELEMENT *end = m_pExtra->pBadElements + m_pExtra->nBadElements;
    DICOMBADELEMENT *kept = std::remove_if(
        m_pExtra->pBadElements, end,
        [pElement](const DICOMBADELEMENT &entry) { return entry.pElement == pElement; });
    m_pExtra->nBadElements = static_cast<uint32_t>(kept - m_pExtra->pBadElements);
}

_DICOMELEMENT *MDicomDS::GetFirstElement(_DICOMELEMENT *pElement, int32_t bSameLevel,
                                         int32_t bVolatile) {
    if (!CheckElement(pElement)) return nullptr;
    _DICOMLINK *node = m_Tree.GetFirst(AsLink(pElement), bSameLevel);
    while (!bVolatile && IsVolatile(AsElement(node))) node = m_Tree.GetNext(node, bSameLevel);
    return AsElement(node);
}

_DICOMELEMENT *MDicomDS::GetLastElement(_DICOMELEMENT *pElement, int32_t bSameLevel,
                                        int32_t bVolatile) {
    if (!CheckElement(pElement)) return nullptr;
    _DICOMLINK *node = m_Tree.GetLast(AsLink(pElement), bSameLevel);
    while (!bVolatile && IsVolatile(AsElement(node))) node = m_Tree.GetPrev(node, bSameLevel);
    return AsElement(node);
}

_DICOMELEMENT *MDicomDS::GetNextElement(_DICOMELEMENT *pElement, int32_t bSameLevel,
                                        int32_t bVolatile) {
    if (!CheckElement(pElement)) return nullptr;
    _DICOMLINK *node = m_Tree.GetNext(AsLink(pElement), bSameLevel);
    while (!bVolatile && IsVolatile(AsElement(node))) node = m_Tree.GetNext(node, bSameLevel);
    return AsElement(node);
}

_DICOMELEMENT *MDicomDS::GetPrevElement(_DICOMELEMENT *pElement, int32_t bSameLevel,
                                        int32_t bVolatile) {
    if (!CheckElement(pElement)) return nullptr;
    _DICOMLINK *node = m_Tree.GetPrev(AsLink(pElement), bSameLevel);
    while (!bVolatile && IsVolatile(AsElement(node))) node = m_Tree.GetPrev(node, bSameLevel);
    return AsElement(node);
}

_DICOMELEMENT *MDicomDS::GetChildElement(_DICOMELEMENT *pElement, int32_t bVolatile) {
    if (!CheckElement(pElement)) return nullptr;
    _DICOMLINK *node = m_Tree.GetChild(AsLink(pElement));
    while (!bVolatile && IsVolatile(AsElement(node))) node = node->pNext;
    return AsElement(node);
}

_DICOMELEMENT *MDicomDS::GetParentElement(_DICOMELEMENT *pElement) {
    return CheckElement(pElement) ? GetParentOrNull(pElement) : nullptr;
}

_DICOMELEMENT *MDicomDS::GetRootElement(_DICOMELEMENT *pElement) {
    return CheckElement(pElement) ? AsElement(m_Tree.GetRoot(AsLink(pElement))) : nullptr;
}

uint32_t MDicomDS::GetLevelElement(_DICOMELEMENT *pElement) {
    return CheckElement(pElement) ? m_Tree.GetLevel(AsLink(pElement)) : 0;
}

int32_t MDicomDS::ExistsElement(_DICOMELEMENT *pElement) {
    return m_Tree.Exists(AsLink(pElement));
}

int32_t MDicomDS::IsVolatileElement(_DICOMELEMENT *pElement) {
    if (!CheckElement(pElement)) return 1;
    return IsVolatile(pElement) ? 1 : 0;
}

bool MDicomDS::IsVolatile(const _DICOMELEMENT *pElement) {
    if (pElement == nullptr) return false;
    switch (pElement->nTag) {
        case 0x00020010:
        case 0x00041200:
        case 0x00041202:
        case 0x00041400:
        case 0x00041420:
        case 0x00280002:
        case 0x00280004:
        case 0x00280006:
        case 0x00280008:
        case 0x00280010:
        case 0x00280011:
        case 0x00280030:
        case 0x00280034:
        case 0x00280100:
        case 0x00280101:
        case 0x00280102:
        case 0x00280103:
        case 0x00280106:
        case 0x00280107:
        case 0x00281101:
        case 0x00281102:
        case 0x00281103:
        case 0x00281199:
        case 0x00281201:
        case 0x00281202:
        case 0x00281203:
        case 0x00540070:
        case 0x00540080:
        case 0x00540081:
            return true;
        case TAG_ITEM: {
            const _DICOMELEMENT *parent = ParentOf(pElement);
            return parent != nullptr && parent->nTag == TAG_PIXEL_DATA;
        }
        default:
            return false;
    }
}
