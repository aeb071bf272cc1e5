// Elements as they were before a change.

#include "Common/DSValue/KeptElements.h"

#include <algorithm>
#include <new>

#include "Common/DS/ElementExchange.h"
#include "Common/DS/ElementIndex.h"
#include "Common/DSValue/ValueStore.h"
#include "Common/Utils/Memory.h"
#include "MDicomDS.h"

namespace mdicom {

namespace {

/** Gives a copy, which is all zero, what an element has but for its children and caches. */
void CopyRecord(const _DICOMELEMENT *element, _DICOMELEMENT *copy) {
    InitBlocks(copy, element->nBlockCount > 0 ? element->pBlockFiles[0] : nullptr);
    copy->nTag = element->nTag;
    copy->nVR = element->nVR;
    copy->nLength = element->nLength;
    copy->nValueCount = kUnparsed;
    if (!ReserveBlocks(copy, std::max(1u, element->nBlockCount))) throw std::bad_alloc();
    copy->nBlockCount = 0;
    for (uint32_t i = 0; i < element->nBlockCount; ++i) InsertBlock(copy, i, BlockAt(element, i));
}

} // namespace

KeptElements::~KeptElements() {
    while (_DICOMLINK *last = m_Copies.GetLast(nullptr, 0)) {
        _DICOMELEMENT *element = AsElement(last);
        DataFree(element->pValue);
        DataFree(element->pText);
        FreeBlocks(element);
        m_Copies.Delete(last);
    }
}

_DICOMELEMENT *KeptElements::Find(_DICOMELEMENT *parent, uint32_t tag) const {
    if (parent == nullptr) return m_DataSet.FindFirstElement(nullptr, tag, 1);
    _DICOMELEMENT *child = FirstChildOf(parent);
    return child != nullptr ? m_DataSet.FindFirstElement(child, tag, 1) : nullptr;
}

/** Copies an element with all below it. */
_DICOMELEMENT *KeptElements::Copy(const _DICOMELEMENT *element) {
    _DICOMLINK *root = nullptr;
    _DICOMLINK *parent = nullptr;
    for (const _DICOMELEMENT *from = element;;) {
        _DICOMLINK *copy = m_Copies.Insert(parent, sizeof(ElementNode), TREE_LAST_CHILD);
        if (copy == nullptr) throw std::bad_alloc();
        if (root == nullptr) root = copy;
        CopyRecord(from, AsElement(copy));
        if (FirstChildOf(from) != nullptr) {
            from = FirstChildOf(from);
            parent = copy;
            continue;
        }
        for (; from != element && NextOf(from) == nullptr; from = ParentOf(from)) {
            parent = parent->pParent;
        }
        if (from == element) return AsElement(root);
        from = NextOf(from);
    }
}

void KeptElements::Keep(_DICOMELEMENT *parent, uint32_t tag) {
    const _DICOMELEMENT *element = Find(parent, tag);
    m_Kept.push_back({parent, tag, element != nullptr ? Copy(element) : nullptr, nullptr});
}

void KeptElements::KeepEnd(_DICOMELEMENT *sequence) {
    m_Kept.push_back({sequence, 0, nullptr, AsElement(sequence->Link.pLastChild)});
}

void KeptElements::Restore() noexcept {
    for (const Kept &kept : m_Kept) {
        if (kept.tag != 0) {
            Exchange(kept);
            continue;
        }
        while (kept.parent->Link.pLastChild != AsLink(kept.last)) {
            m_DataSet.DeleteElement(AsElement(kept.parent->Link.pLastChild));
        }
    }
    m_Kept.clear();
}

void KeptElements::Exchange(const Kept &kept) noexcept {
    _DICOMELEMENT *now = Find(kept.parent, kept.tag);
    if (kept.old == nullptr) {
        m_DataSet.DeleteElement(now);
        return;
    }
    if (now == nullptr) {
        now = m_DataSet.InsertElement(kept.parent, 1, kept.tag, kept.old->nVR, 0, 0);
        if (now == nullptr) return;
    }
    while (FirstChildOf(now) != nullptr) m_DataSet.DeleteElement(FirstChildOf(now));
    ExchangeContents(now, kept.old, m_Index);
    // The children are new to the data set.
    if (m_Index == nullptr || FirstChildOf(now) == nullptr) return;
    for (_DICOMELEMENT *below = FirstChildOf(now); below != now;) {
        m_Index->Inserted(below);
        if (FirstChildOf(below) != nullptr) {
            below = FirstChildOf(below);
            continue;
        }
        while (below != now && NextOf(below) == nullptr) below = ParentOf(below);
        if (below != now) below = NextOf(below);
    }
}

} // namespace mdicom
