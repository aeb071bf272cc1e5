// Private elements: their creators, and the blocks that creators reserve (PS 3.5, 7.8).

#include <string>
#include <string_view>

#include "Common/CharacterSet/CharacterSets.h"
#include "Common/DS/ElementNode.h"
#include "Common/DSValue/ValueAccess.h"
#include "Common/Utils/Vr.h"
#include "MDicomDS.h"

using namespace mdicom;

namespace {

constexpr uint16_t kFirstCreator = 0x0010;
constexpr uint16_t kLastCreator = 0x00FF;
constexpr uint16_t kAnyCreator = 0xFFFF;
constexpr uint32_t kBlockSize = 256;
constexpr size_t kLongestCreator = 64; // of VR LO

bool IsPrivateGroup(uint16_t group) {
    return group % 2 != 0 && group > 0x0007 && group < 0xFFFF;
}

bool IsCreatorNumber(uint16_t number) {
    return number >= kFirstCreator && number <= kLastCreator;
}

bool IsCreator(const _DICOMELEMENT *element) {
    return element != nullptr && IsPrivateGroup(GroupOf(element->nTag)) &&
           IsCreatorNumber(ElementOf(element->nTag));
}

constexpr uint32_t CreatorTag(uint16_t group, uint16_t number) {
    return uint32_t{group} << 16 | number;
}

/** Tag of the first element of the block that a creator reserves. */
uint32_t BlockOf(const _DICOMELEMENT *creator) {
    return (creator->nTag & 0xFFFF0000) | uint32_t{ElementOf(creator->nTag)} << 8;
}

std::wstring WithoutTrailingBlanks(const wchar_t *text) {
    std::wstring_view name(text);
    return std::wstring(name.substr(0, name.find_last_not_of(L' ') + 1));
}

bool IsCreatorName(const wchar_t *text) {
    if (text == nullptr) return false;
    const std::wstring_view name(text);
    return name.size() <= kLongestCreator && name.find(L'\\') == std::wstring_view::npos;
}

} // namespace

/** True for a creator in the group (0: in any) with the name (null: with any). The text that
 *  GetStringValue handed out for it stays. */
bool MDicomDS::MatchesCreator(_DICOMELEMENT *pElement, const std::wstring *pName, uint16_t nGroup) {
    if (!IsCreator(pElement)) return false;
    if (nGroup != 0 && GroupOf(pElement->nTag) != nGroup) return false;
    if (pName == nullptr) return true;
    const char *stored = GetStringValueA(pElement, 0, 1);
    if (stored == nullptr) return false;
    const auto name = DecodeText(stored, SplittingSetsOf(pElement).Span());
    return name && *name == *pName;
}

/** The first creator that matches, from pElement on. */
_DICOMELEMENT *MDicomDS::FindCreatorFrom(_DICOMELEMENT *pElement, int32_t bSameLevel,
                                         const wchar_t *pszCreator, uint16_t nGroup) {
    return Guarded<_DICOMELEMENT *>(nullptr, [&] {
        const std::wstring name = pszCreator != nullptr ? WithoutTrailingBlanks(pszCreator) : L"";
        const std::wstring *wanted = pszCreator != nullptr ? &name : nullptr;
        _DICOMLINK *node = AsLink(pElement);
        while (node != nullptr && !MatchesCreator(AsElement(node), wanted, nGroup)) {
            node = m_Tree.GetNext(node, bSameLevel);
        }
        return AsElement(node);
    });
}

_DICOMELEMENT *MDicomDS::FindFirstPrivateCreatorDataElement(_DICOMELEMENT *pElement,
                                                            int32_t bSameLevel,
                                                            const wchar_t *pszCreator,
                                                            uint16_t nGroup) {
    if (nGroup != 0 && !IsPrivateGroup(nGroup)) return nullptr;
    return FindCreatorFrom(GetFirstElement(pElement, bSameLevel, 0), bSameLevel, pszCreator,
                           nGroup);
}

_DICOMELEMENT *MDicomDS::FindNextPrivateCreatorDataElement(_DICOMELEMENT *pElement,
                                                           int32_t bSameLevel,
                                                           const wchar_t *pszCreator,
                                                           uint16_t nGroup) {
    if (nGroup != 0 && !IsPrivateGroup(nGroup)) return nullptr;
    return FindCreatorFrom(GetNextElement(pElement, bSameLevel, 0), bSameLevel, pszCreator, nGroup);
}

_DICOMELEMENT *MDicomDS::FindFirstPrivateElement(_DICOMELEMENT *pCreator) {
    if (!CheckElement(pCreator) || !IsCreator(pCreator)) return nullptr;
    if (FindFirstElement(pCreator, pCreator->nTag, 1) == nullptr) return nullptr;
    const uint32_t block = BlockOf(pCreator);
    for (uint32_t i = 0; i < kBlockSize; ++i) {
        _DICOMELEMENT *element = FindFirstElement(pCreator, block + i, 1);
        if (element != nullptr) return element;
    }
    return nullptr;
}

_DICOMELEMENT *MDicomDS::FindNextPrivateElement(_DICOMELEMENT *pElement, _DICOMELEMENT *pCreator) {
    if (pElement == nullptr || !CheckElement(pElement)) return nullptr;
    if (!CheckElement(pCreator) || !IsCreator(pCreator)) return nullptr;
    if (FindFirstElement(pElement, pCreator->nTag, 1) == nullptr) return nullptr;
    const uint32_t block = BlockOf(pCreator);
    _DICOMELEMENT *next = NextOf(pElement);
    for (; next != nullptr && GroupOf(next->nTag) == GroupOf(block); next = NextOf(next)) {
        if (next->nTag - block < kBlockSize) return next;
    }
    return nullptr;
}

uint16_t MDicomDS::GetNextUnusedPrivateTag(_DICOMELEMENT *pCreator, uint32_t *pTag) {
    if (!CheckElement(pCreator) || !IsCreator(pCreator)) return DICOM_ERROR_PARAMETER;
    if (pTag == nullptr) return DICOM_ERROR_PARAMETER;
    if (FindFirstElement(pCreator, pCreator->nTag, 1) == nullptr) {
        return DICOM_ERROR_PRIVATE_CREATOR_MISSING;
    }
    const uint32_t block = BlockOf(pCreator);
    for (uint32_t i = 0; i < kBlockSize; ++i) {
        if (FindFirstElement(pCreator, block + i, 1) != nullptr) continue;
        *pTag = block + i;
        return DICOM_SUCCESS;
    }
    return DICOM_ERROR_PRIVATE_BLOCK_FULL;
}

/** Number for a new creator on the level of pElement: the one that is asked for, or the first
 *  that is free. */
uint16_t MDicomDS::ChooseCreator(_DICOMELEMENT *pElement, uint16_t nGroup, uint16_t *pNumber) {
    const auto taken = [&](uint16_t number) {
        return FindFirstElement(pElement, CreatorTag(nGroup, number), 1) != nullptr;
    };
    if (*pNumber != kAnyCreator) {
        if (!IsCreatorNumber(*pNumber)) return DICOM_ERROR_PRIVATE_ELEMENT;
        return taken(*pNumber) ? DICOM_ERROR_PRIVATE_CREATOR_EXISTS : DICOM_SUCCESS;
    }
    uint16_t number = kFirstCreator;
    while (number < kLastCreator && taken(number)) ++number;
    *pNumber = number;
    return number < kLastCreator ? DICOM_SUCCESS : DICOM_ERROR_PRIVATE_CREATOR_EXISTS;
}

uint16_t MDicomDS::CreatePrivateCreatorDataElement(_DICOMELEMENT *pElement, uint16_t nGroup,
                                                   uint16_t nElement, const wchar_t *pszCreator,
                                                   _DICOMELEMENT **ppCreator) {
    if (!CheckElement(pElement)) return DICOM_ERROR_PARAMETER;
    if (!IsPrivateGroup(nGroup)) return DICOM_ERROR_PRIVATE_GROUP;
    const uint16_t status = ChooseCreator(pElement, nGroup, &nElement);
    if (status != DICOM_SUCCESS) return status;
    if (!IsCreatorName(pszCreator)) return DICOM_ERROR_PARAMETER;
    _DICOMELEMENT *creator = InsertElement(pElement, 0, CreatorTag(nGroup, nElement), vr::LO, 0, 0);
    if (creator == nullptr) return DICOM_ERROR_MEMORY;
    if (!SetStringValue(creator, pszCreator, 1, 0)) {
        DeleteElement(creator);
        return DICOM_ERROR_MEMORY;
    }
    if (ppCreator != nullptr) *ppCreator = creator;
    return DICOM_SUCCESS;
}
