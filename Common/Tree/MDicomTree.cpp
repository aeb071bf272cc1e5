// MDicomTree and MDicomTreeEx: linking, walking and checking of an ordered forest.

#include "MDicomTree.h"

#include <cstring>

#include "Common/Utils/Memory.h"
#include "Mvkrnx.h"

_DICOMLINK *MDicomTree::Insert(_DICOMLINK *pLink, uint32_t nSize, uint32_t nPosition) {
    if (nSize < sizeof(_DICOMLINK)) return nullptr;
    auto *node = static_cast<_DICOMLINK *>(mdicom::DataAlloc(1, nSize));
    if (node == nullptr) return nullptr;
    std::memset(node, 0, nSize);
    if (Link(node, pLink, nPosition)) return node;
    mdicom::DataFree(node);
    return nullptr;
}

void MDicomTree::Delete(_DICOMLINK *pLink) {
    if (pLink == nullptr) return;
    Unlink(pLink);
    mdicom::DataFree(pLink);
}

bool MDicomTree::Link(_DICOMLINK *pNode, _DICOMLINK *pLink, uint32_t nPosition) {
    if (nPosition > TREE_PREVIOUS) return false;
    if (pLink == nullptr && nPosition >= TREE_NEXT) return false;
    const bool asChild = nPosition <= TREE_LAST_CHILD;
    _DICOMLINK *parent = asChild ? pLink : GetParent(pLink);
    _DICOMLINK *first = parent != nullptr ? parent->pFirstChild : pFirst;
    _DICOMLINK *last = parent != nullptr ? parent->pLastChild : pLast;
    _DICOMLINK *prev = nullptr;
    _DICOMLINK *next = nullptr;
    switch (nPosition) {
        case TREE_FIRST_CHILD:
        case TREE_FIRST_SIBLING:
            next = first;
            break;
        case TREE_LAST_CHILD:
        case TREE_LAST_SIBLING:
            prev = last;
            break;
        case TREE_NEXT:
            prev = pLink;
            next = pLink->pNext;
            break;
        default:
            prev = pLink->pPrev;
            next = pLink;
            break;
    }
    pNode->pParent = parent;
    pNode->pPrev = prev;
    pNode->pNext = next;
    (prev != nullptr ? prev->pNext : parent != nullptr ? parent->pFirstChild : pFirst) = pNode;
    (next != nullptr ? next->pPrev : parent != nullptr ? parent->pLastChild : pLast) = pNode;
    return true;
}

void MDicomTree::Unlink(_DICOMLINK *pNode) {
    _DICOMLINK *parent = pNode->pParent;
    _DICOMLINK *prev = pNode->pPrev;
    _DICOMLINK *next = pNode->pNext;
    (prev != nullptr ? prev->pNext : parent != nullptr ? parent->pFirstChild : pFirst) = next;
    (next != nullptr ? next->pPrev : parent != nullptr ? parent->pLastChild : pLast) = prev;
}

_DICOMLINK *MDicomTree::GetFirst(_DICOMLINK *pLink, int32_t bSameLevel) {
    if (bSameLevel && pLink != nullptr && pLink->pParent != nullptr) {
        return pLink->pParent->pFirstChild;
    }
    return pFirst;
}

_DICOMLINK *MDicomTree::GetLast(_DICOMLINK *pLink, int32_t bSameLevel) {
    if (bSameLevel) {
        const bool nested = pLink != nullptr && pLink->pParent != nullptr;
        return nested ? pLink->pParent->pLastChild : pLast;
    }
    _DICOMLINK *last = pLast;
    while (last != nullptr && last->pLastChild != nullptr) last = last->pLastChild;
    return last;
}

_DICOMLINK *MDicomTree::GetNext(_DICOMLINK *pLink, int32_t bSameLevel) {
    if (pLink == nullptr) return nullptr;
    if (bSameLevel) return pLink->pNext;
    if (pLink->pFirstChild != nullptr) return pLink->pFirstChild;
    while (pLink != nullptr && pLink->pNext == nullptr) pLink = pLink->pParent;
    return pLink != nullptr ? pLink->pNext : nullptr;
}

_DICOMLINK *MDicomTree::GetPrev(_DICOMLINK *pLink, int32_t bSameLevel) {
    if (pLink == nullptr) return nullptr;
    if (bSameLevel) return pLink->pPrev;
    if (pLink->pPrev == nullptr) return pLink->pParent;
    _DICOMLINK *prev = pLink->pPrev;
    while (prev->pLastChild != nullptr) prev = prev->pLastChild;
    return prev;
}

_DICOMLINK *MDicomTree::GetChild(_DICOMLINK *pLink) {
    return pLink != nullptr ? pLink->pFirstChild : nullptr;
}

_DICOMLINK *MDicomTree::GetParent(_DICOMLINK *pLink) {
    return pLink != nullptr ? pLink->pParent : nullptr;
}

_DICOMLINK *MDicomTree::GetRoot(_DICOMLINK *pLink) {
    while (pLink != nullptr && pLink->pParent != nullptr) pLink = pLink->pParent;
    return pLink;
}

uint32_t MDicomTree::GetLevel(_DICOMLINK *pLink) {
    uint32_t level = 0;
    if (pLink == nullptr) return 0;
    while ((pLink = pLink->pParent) != nullptr) ++level;
    return level;
}

uint32_t MDicomTree::GetCount(_DICOMLINK *pLink, int32_t bSameLevel) {
    uint32_t count = 0;
    for (_DICOMLINK *node = GetFirst(pLink, bSameLevel); node != nullptr;
         node = GetNext(node, bSameLevel)) {
        ++count;
    }
    return count;
}

_DICOMLINK *MDicomTree::FindIndex(_DICOMLINK *pLink, int32_t bSameLevel, uint32_t nIndex) {
    _DICOMLINK *node = GetFirst(pLink, bSameLevel);
    while (node != nullptr && nIndex-- > 0) node = GetNext(node, bSameLevel);
    return node;
}

int32_t MDicomTree::Exists(_DICOMLINK *pLink) {
    if (pLink == nullptr) return 0;
    for (_DICOMLINK *node = pFirst; node != nullptr; node = GetNext(node, 0)) {
        if (node == pLink) return 1;
    }
    return 0;
}

_DICOMLINK *MDicomTree::Verify() {
    for (_DICOMLINK *node = pFirst; node != nullptr; node = GetNext(node, 0)) {
        const _DICOMLINK *parent = node->pParent;
        const _DICOMLINK *child = node->pFirstChild;
        if (!Exists(node)) return node;
        if (parent != nullptr && GetFirst(node, 1) != parent->pFirstChild) return node;
        if (child != nullptr && (child->pParent != node || child->pPrev != nullptr)) return node;
        if (node->pPrev != nullptr && node->pPrev->pNext != node) return node;
        if (node->pNext != nullptr && node->pNext->pPrev != node) return node;
    }
    return nullptr;
}

_DICOMLINK *MDicomTreeEx::Insert(_DICOMLINK *pLink, uint32_t nSize, uint32_t nPosition) {
    if (nSize < sizeof(_DICOMLINK)) return nullptr;
    auto *node = static_cast<_DICOMLINK *>(KernelHeapAlloc(1, nSize, __LINE__, nullptr));
    if (node == nullptr) return nullptr;
    std::memset(node, 0, nSize);
    if (Link(node, pLink, nPosition)) return node;
    KernelHeapFree(node, __LINE__, nullptr);
    return nullptr;
}

void MDicomTreeEx::Delete(_DICOMLINK *pLink) {
    if (pLink == nullptr) return;
    Unlink(pLink);
    const uintptr_t offset =
        reinterpret_cast<uintptr_t>(pLink) - reinterpret_cast<uintptr_t>(m_pBlock);
    if (offset >= m_nBlockSize) KernelHeapFree(pLink, __LINE__, nullptr);
}

void MDicomTreeEx::SetBlock(const void *pBlock, size_t nSize) {
    m_pBlock = pBlock;
    m_nBlockSize = nSize;
}
