// Exchange of what two elements hold.

#include "Common/DS/ElementExchange.h"

#include <utility>

#include "Common/DS/ElementIndex.h"
#include "Common/DS/ElementNode.h"
#include "Common/DSValue/ValueStore.h"

namespace mdicom {

namespace {

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

} // namespace mdicom
