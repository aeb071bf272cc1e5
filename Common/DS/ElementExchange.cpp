// Exchange of what two elements hold.

#include "Common/DS/ElementExchange.h"

#include <utility>

#include "Common/DS/ElementIndex.h"
#include "Common/DS/ElementNode.h"
#include "Common/DSValue/ValueStore.h"

namespace mdicom {

namespace {

ElementNode *NodeOf(_DICOMELEMENT *element) {
    return reinterpret_cast<ElementNode *>(element);
}

bool IsInline(_DICOMELEMENT *element) {
    return element->pBlockFiles == &NodeOf(element)->file;
}

/** Lets the arrays of an element be those behind its own record. */
void PointInline(_DICOMELEMENT *element) {
    ElementNode *node = NodeOf(element);
    element->pBlockFiles = &node->file;
    element->pBlockOffsets = &node->offset;
    element->pBlockLengths = &node->length;
}

void ExchangeBlocks(_DICOMELEMENT *first, _DICOMELEMENT *second) {
    const bool firstInline = IsInline(first);
    const bool secondInline = IsInline(second);
    std::swap(first->pBlockFiles, second->pBlockFiles);
    std::swap(first->pBlockOffsets, second->pBlockOffsets);
    std::swap(first->pBlockLengths, second->pBlockLengths);
    std::swap(first->nBlockCount, second->nBlockCount);
    std::swap(NodeOf(first)->file, NodeOf(second)->file);
    std::swap(NodeOf(first)->offset, NodeOf(second)->offset);
    std::swap(NodeOf(first)->length, NodeOf(second)->length);
    if (secondInline) PointInline(first);
    if (firstInline) PointInline(second);
}

void AdoptChildren(_DICOMELEMENT *parent) {
    for (_DICOMELEMENT *child = FirstChildOf(parent); child != nullptr; child = NextOf(child)) {
        child->Link.pParent = AsLink(parent);
    }
}

} // namespace

void ExchangeContents(_DICOMELEMENT *first, _DICOMELEMENT *second, ElementIndex *index) noexcept {
    std::swap(first->nVR, second->nVR);
    std::swap(first->nLength, second->nLength);
    std::swap(first->nValueCount, second->nValueCount);
    std::swap(first->pValue, second->pValue);
    std::swap(first->pText, second->pText);
    ExchangeBlocks(first, second);
    std::swap(first->Link.pFirstChild, second->Link.pFirstChild);
    std::swap(first->Link.pLastChild, second->Link.pLastChild);
    AdoptChildren(first);
    AdoptChildren(second);
    if (index != nullptr) index->Exchanged(first, second);
}

void ReplaceBlocks(_DICOMELEMENT *element, MDicomFile *file, uint32_t offset,
                   uint32_t length) noexcept {
    FreeBlocks(element);
    InitBlocks(element, file);
    element->pBlockOffsets[0] = offset;
    element->pBlockLengths[0] = length;
    element->nLength = length;
}

} // namespace mdicom
