// Modules of a data set: inserting, finding and deleting what the IOD tree says belongs to one.

#include <algorithm>
#include <functional>
#include <iterator>

#include "Common/DS/ElementNode.h"
#include "Common/DS2/IodWalk.h"
#include "Common/Utils/Vr.h"
#include "MDicomDS.h"
#include "MDicomIOD.h"

using namespace mdicom;

namespace {

_DICOMIOD *FindAnywhere(uint32_t module) {
    return MDicomIOD::Find(nullptr, module, IOD_TYPE_MODULE, 0);
}

/** Modules of directory records: those of a number that no class before the directory has. */
bool IsDirectoryModule(uint32_t module) {
    _DICOMIOD *row = FindAnywhere(module);
    return row != nullptr && MDicomIOD::GetRoot(row)->nCode == kDirectoryClass;
}

bool IsLeftOut(const _DICOMIOD *row, int32_t optional) {
    return !optional && !IsMandatory(row);
}

const _DICOMIOD *ElementRowAround(const _DICOMIOD *row) {
    do {
        row = ParentRowOf(row);
    } while (row != nullptr && row->nType != IOD_TYPE_ELEMENT);
    return row;
}

} // namespace

/** The class of the data set; null for an unknown one and for directories, whose modules describe
 *  records. */
_DICOMIOD *MDicomDS::FindOwnClass() {
    uint32_t iodClass = 0;
    GetClass(&iodClass, nullptr);
    return iodClass != kDirectoryClass ? MDicomIOD::FindClass(iodClass) : nullptr;
}

_DICOMMODULE *MDicomDS::FindModule(uint32_t nModule) {
    const _DICOMIOD *iodClass = FindOwnClass();
    if (iodClass == nullptr) return nullptr;
    const _DICOMIOD *module = MDicomIOD::FindModule(iodClass->nCode, nModule);
    if (module == nullptr) return nullptr;
    m_Module.nModule = nModule;
    m_Module.nCount = 0;
    for (const _DICOMIOD *row = FirstRowOf(module); row != nullptr; row = NextRowOf(row)) {
        if (m_Module.nCount == std::size(m_Module.pElement)) break;
        _DICOMELEMENT *element = FindFirstElement(nullptr, row->nCode, 1);
        if (element == nullptr || IsVolatile(element)) continue;
        m_Module.pElement[m_Module.nCount++] = element;
    }
    return m_Module.nCount > 0 ? &m_Module : nullptr;
}

_DICOMMODULE *MDicomDS::FindIndexModule(uint32_t nIndex) {
    const _DICOMIOD *iodClass = FindOwnClass();
    if (iodClass == nullptr) return nullptr;
    for (const _DICOMIOD *row = FirstRowOf(iodClass); row != nullptr; row = NextRowOf(row)) {
        _DICOMMODULE *module = FindModule(row->nCode);
        if (module != nullptr && nIndex-- == 0) return module;
    }
    return nullptr;
}

uint32_t MDicomDS::GetCountModule() {
    const _DICOMIOD *iodClass = FindOwnClass();
    if (iodClass == nullptr) return 0;
    uint32_t count = 0;
    for (const _DICOMIOD *row = FirstRowOf(iodClass); row != nullptr; row = NextRowOf(row)) {
        count += FindModule(row->nCode) != nullptr;
    }
    return count;
}

_DICOMMODULE *MDicomDS::InsertModule(uint32_t nModule, int32_t bOptional) {
    if (IsDirectoryModule(nModule)) return nullptr;
    if (!InsertModule(nullptr, nModule, 0xFFFFFFFF, bOptional)) return nullptr;
    return FindModule(nModule);
}

void MDicomDS::DeleteModule(uint32_t nModule) {
    if (m_bConforming || IsDirectoryModule(nModule) || FindModule(nModule) == nullptr) return;
    // A module may name a tag twice.
    _DICOMELEMENT **const first = m_Module.pElement;
    _DICOMELEMENT **const end = first + m_Module.nCount;
    std::sort(first, end, std::less<>());
    std::for_each(first, std::unique(first, end),
                  [this](_DICOMELEMENT *element) { DeleteElement(element); });
    m_Module.nCount = 0;
}

/** The row of a module, if the module may stand under this element: one that the tree nests in a
 *  sequence only there, any other one on the top level only. */
_DICOMIOD *MDicomDS::VerifyModule(_DICOMELEMENT *pElement, uint32_t nModule) {
    uint32_t iodClass = 0;
    GetClass(&iodClass, nullptr);
    _DICOMIOD *row = MDicomIOD::FindModule(iodClass, nModule);
    if (row == nullptr) row = FindAnywhere(nModule);
    if (row == nullptr || !CheckElement(pElement)) return nullptr;
    const bool isItem = pElement != nullptr && pElement->nTag == TAG_ITEM;
    const _DICOMELEMENT *owner = isItem ? ParentOf(pElement) : pElement;
    const _DICOMIOD *sequence = ElementRowAround(row);
    if (owner == nullptr || sequence == nullptr) {
        return owner == nullptr && sequence == nullptr ? row : nullptr;
    }
    return owner->nTag == sequence->nCode ? row : nullptr;
}

/** Inserts a module: on the top level for null, into an item, or into a new item of a sequence. */
int32_t MDicomDS::InsertModule(_DICOMELEMENT *pElement, uint32_t nModule, uint32_t nIndex,
                               int32_t bOptional) {
    _DICOMIOD *module = VerifyModule(pElement, nModule);
    if (module == nullptr) return 0;
    if (GetCountElementIOD(module, bOptional) == 0) return 1;
    if (pElement != nullptr && pElement->nTag != TAG_ITEM &&
        pElement->nLength == kUndefinedLength) {
        const uint16_t itemVr = GetDefaultVR(pElement, TAG_ITEM, 1);
        pElement = InsertElement(pElement, 1, TAG_ITEM, itemVr, 1, nIndex);
        if (pElement == nullptr) return 0;
    }
    InsertModule(pElement, module, bOptional);
    return 1;
}

/** Inserts the elements of the rows below pIOD, and in new sequences an item with its elements. */
void MDicomDS::InsertModule(_DICOMELEMENT *pElement, _DICOMIOD *pIOD, int32_t bOptional) {
    const auto leave = [&pElement](const _DICOMIOD *row) {
        if (row->nType == IOD_TYPE_ELEMENT) pElement = ParentOf(ParentOf(pElement));
    };
    _DICOMIOD *row = FirstRowOf(pIOD);
    while (row != nullptr) {
        bool into = !IsLeftOut(row, bOptional);
        if (into && row->nType == IOD_TYPE_ELEMENT) {
            _DICOMELEMENT *item = InsertRow(pElement, row, bOptional);
            into = item != nullptr;
            if (into) pElement = item;
        }
        row = NextRowBelow(row, pIOD, into, leave);
    }
}

/** Inserts the element of a row if it is missing. If it is a sequence without items whose row has
 *  elements for one, the result is a new item. */
_DICOMELEMENT *MDicomDS::InsertRow(_DICOMELEMENT *pParent, _DICOMIOD *pRow, int32_t bOptional) {
    const uint32_t tag = pRow->nCode;
    _DICOMELEMENT *element = FindOnLevel(pParent, tag, PlaceOnLevel(pParent, tag));
    if (element == nullptr) {
        const uint16_t elementVr = GetDefaultVR(pParent, tag, 1);
        element = InsertElement(pParent, 1, tag, elementVr, elementVr == vr::SQ, 0xFFFFFFFF);
    }
    if (element == nullptr || GetCountElementIOD(pRow, bOptional) == 0) return nullptr;
    const bool takesItem = element->nLength == kUndefinedLength && FirstChildOf(element) == nullptr;
    if (!takesItem) return nullptr;
    const uint16_t itemVr = GetDefaultVR(element, TAG_ITEM, 1);
    return InsertElement(element, 1, TAG_ITEM, itemVr, 1, 0xFFFFFFFF);
}

/** Number of elements that the rows below pIOD stand for, without those inside of sequences. */
uint32_t MDicomDS::GetCountElementIOD(_DICOMIOD *pIOD, int32_t bOptional) {
    uint32_t count = 0;
    const auto leave = [](const _DICOMIOD *) {};
    _DICOMIOD *row = FirstRowOf(pIOD);
    while (row != nullptr) {
        const bool counts = !IsLeftOut(row, bOptional);
        const bool isElement = row->nType == IOD_TYPE_ELEMENT;
        count += counts && isElement;
        row = NextRowBelow(row, pIOD, counts && !isElement, leave);
    }
    return count;
}
