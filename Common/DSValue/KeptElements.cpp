// Elements as they were before a change.

#include "Common/DSValue/KeptElements.h"

#include <algorithm>
#include <new>

#include "Common/DS/ElementExchange.h"
#include "Common/DSValue/ValueStore.h"
#include "Common/Utils/Memory.h"
#include "MDicomDS.h"

namespace mdicom {

void KeptElements::NodeFreer::operator()(ElementNode *node) const {
    DataFree(node->element.pValue);
    DataFree(node->element.pText);
    FreeBlocks(&node->element);
    delete node;
}

void KeptElements::Keep(_DICOMELEMENT *neighbor, uint32_t tag) {
    const _DICOMELEMENT *element = m_DataSet.FindFirstElement(neighbor, tag, 1);
    if (element != nullptr && element->nLength == kUndefinedLength) return;
    Kept kept{neighbor, tag, nullptr};
    if (element != nullptr) {
        kept.old.reset(new ElementNode{});
        _DICOMELEMENT *copy = &kept.old->element;
        InitBlocks(copy, element->nBlockCount > 0 ? element->pBlockFiles[0] : nullptr);
        copy->nTag = tag;
        copy->nVR = element->nVR;
        copy->nLength = element->nLength;
        copy->nValueCount = kUnparsed;
        if (!ReserveBlocks(copy, std::max(1u, element->nBlockCount))) throw std::bad_alloc();
        copy->nBlockCount = 0;
        for (uint32_t i = 0; i < element->nBlockCount; ++i) {
            InsertBlock(copy, i, BlockAt(element, i));
        }
    }
    m_Kept.push_back(std::move(kept));
}

void KeptElements::Restore() noexcept {
    for (const Kept &kept : m_Kept) {
        _DICOMELEMENT *now = m_DataSet.FindFirstElement(kept.neighbor, kept.tag, 1);
        if (!kept.old) {
            m_DataSet.DeleteElement(now);
            continue;
        }
        _DICOMELEMENT *old = &kept.old->element;
        if (now == nullptr)
            now = m_DataSet.InsertElement(kept.neighbor, 0, kept.tag, old->nVR, 0, 0);
        if (now != nullptr) ExchangeContents(now, old, m_Index);
    }
    m_Kept.clear();
}

} // namespace mdicom
