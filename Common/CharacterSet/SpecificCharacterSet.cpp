// The character sets of a data set: Specific Character Set and the text under it.

#include <algorithm>
#include <array>
#include <cstring>
#include <new>

#include "Common/CharacterSet/CharacterSets.h"
#include "Common/DS/ElementNode.h"
#include "Common/DSValue/ValueStore.h"
#include "Common/Utils/Memory.h"
#include "Common/Utils/Status.h"
#include "Common/Utils/Vr.h"
#include "MDicomDS.h"

using mdicom::CharacterSetList;
using mdicom::HasValue;
using mdicom::kTagSpecificCharacterSet;
using mdicom::Status;

namespace {

// Room for declarations that are longer than what a data set may use.
constexpr uint32_t kLongestDeclaration = 12;

/** True for a value that is there, but could not be read. */
bool IsUnreadable(const _DICOMELEMENT *element) {
    return HasValue(element) && element->nVR == mdicom::vr::CS &&
           element->nValueCount == mdicom::kUnparsed && mdicom::ValueIsPresent(element);
}

/** Identifiers of the names in an element, the default repertoire if it names none. */
Status ReadNames(MDicomDS &dataSet, _DICOMELEMENT *element, std::span<uint32_t> table,
                 uint32_t &count) {
    std::ranges::fill(table, mdicom::charset::Default);
    count = 0;
    const uint32_t values = HasValue(element) ? dataSet.GetCountValue(element) : 0;
    if (IsUnreadable(element)) return DICOM_ERROR_MEMORY;
    for (uint32_t i = 0; i < values; ++i) {
        const char *name = dataSet.GetStringValueA(element, i, 1);
        if (name == nullptr && i != 0) continue;
        if (count == table.size()) return DICOM_ERROR_PARAMETER;
        if (name != nullptr) {
            table[count] = mdicom::FindCharacterSet(name).value_or(mdicom::charset::Default);
        }
        ++count;
    }
    count = std::max<uint32_t>(count, 1);
    return 0;
}

} // namespace

_DICOMELEMENT *mdicom::FindNestedDeclaration(MDicomDS &dataSet, _DICOMELEMENT *element) {
    while (element->Link.pParent != nullptr) {
        // Among the items of a sequence there is nothing to find.
        _DICOMELEMENT *found = element->nTag != TAG_ITEM
                                   ? dataSet.FindFirstElement(element, kTagSpecificCharacterSet, 1)
                                   : nullptr;
        if (HasValue(found)) return found;
        element = ParentOf(element);
    }
    return nullptr;
}

int32_t MDicomDS::IsElementAffectedByCharacterSet(_DICOMELEMENT *pElement) {
    if (pElement == nullptr) return 0;
    switch (pElement->nVR) {
        case mdicom::vr::SH:
        case mdicom::vr::LO:
        case mdicom::vr::ST:
        case mdicom::vr::LT:
        case mdicom::vr::PN:
        case mdicom::vr::UC:
        case mdicom::vr::UT:
            return 1;
        default:
            return 0;
    }
}

uint16_t MDicomDS::ReadCharacterSets(uint32_t *pTable, uint32_t nCapacity, uint32_t *pCount) {
    if (pTable == nullptr || nCapacity == 0 || pCount == nullptr) return DICOM_ERROR_PARAMETER;
    _DICOMELEMENT *element = FindFirstElement(nullptr, kTagSpecificCharacterSet, 1);
    if (element == nullptr) element = FindFirstElement(nullptr, kTagSpecificCharacterSet, 0);
    return ReadNames(*this, element, {pTable, nCapacity}, *pCount);
}

uint16_t MDicomDS::RefreshCharacterSet() {
    if (m_pCharacterSets == nullptr) {
        m_pCharacterSets = mdicom::MakeDataBlock<uint32_t>(mdicom::kMaxCharacterSets).release();
        if (m_pCharacterSets == nullptr) return DICOM_ERROR_MEMORY;
    }
    return ReadCharacterSets(m_pCharacterSets, mdicom::kMaxCharacterSets, &m_nCharacterSets);
}

uint16_t MDicomDS::UpdateSpecificCharacterSet() {
    return RefreshCharacterSet();
}

uint16_t MDicomDS::ApplyCharacterSet(uint32_t nCharacterSet) {
    const std::string_view name = mdicom::CharacterSetName(nCharacterSet);
    if (name.empty() && nCharacterSet != mdicom::charset::Default) return DICOM_ERROR_PARAMETER;
    // What an item declares does not hold here.
    _DICOMELEMENT *element = FindFirstElement(nullptr, kTagSpecificCharacterSet, 1);
    const bool declared = HasValue(element);
    if (nCharacterSet == mdicom::charset::Default) {
        const char *first = declared ? GetStringValueA(element, 0, 1) : nullptr;
        if (first == nullptr || *first == '\0') return 0;
    }
    std::array<uint32_t, kLongestDeclaration> table;
    uint32_t count = 0;
    const Status status = ReadNames(*this, element, table, count);
    if (status != 0) return status;
    const bool unnamed = count == 1 && table[0] == mdicom::charset::Default;
    if (declared && !(unnamed && nCharacterSet == mdicom::charset::Utf8)) {
        const auto end = table.begin() + count;
        const bool included = std::find(table.begin(), end, nCharacterSet) != end;
        if (!included) return DICOM_ERROR_CHARACTER_SET;
        return RefreshCharacterSet();
    }
    const bool isNew =
        !VerifyVR(element, VALUE_KIND_STRING) || element->nLength == mdicom::kUndefinedLength;
    if (isNew) {
        DeleteElement(element);
        element = InsertElement(nullptr, 0, kTagSpecificCharacterSet, mdicom::vr::CS, 0, 0);
    }
    if (element == nullptr || !SetStringValueA(element, name.data(), 1)) {
        if (isNew) DeleteElement(element);
        return DICOM_ERROR_MEMORY;
    }
    element->nVR = mdicom::vr::CS;
    return RefreshCharacterSet();
}

CharacterSetList MDicomDS::CharacterSetsOf(_DICOMELEMENT *pElement) {
    CharacterSetList list;
    // Its own text is in no set, and to look for one would not end.
    if (pElement != nullptr && pElement->nTag == kTagSpecificCharacterSet) return list;
    _DICOMELEMENT *nested =
        pElement != nullptr ? mdicom::FindNestedDeclaration(*this, pElement) : nullptr;
    if (nested != nullptr) {
        // To take the text for another one would be worse than none.
        const Status status = ReadNames(*this, nested, list.ids, list.count);
        if (status == DICOM_ERROR_MEMORY) throw std::bad_alloc();
    } else if (m_pCharacterSets != nullptr) {
        list.count = std::min(m_nCharacterSets, mdicom::kMaxCharacterSets);
        std::copy_n(m_pCharacterSets, list.count, list.ids.begin());
    }
    return list;
}

uint16_t MDicomDS::ConvertToWide(const char *pszText, const uint32_t *pTable, uint32_t nCount,
                                 wchar_t *pszOut, uint32_t nOutSize) {
    if (pszOut == nullptr || nOutSize == 0) return DICOM_ERROR_PARAMETER;
    std::fill_n(pszOut, nOutSize, L'\0');
    if (pszText == nullptr || (pTable == nullptr && nCount > 0)) return DICOM_ERROR_PARAMETER;
    const auto text = mdicom::DecodeText(pszText, {pTable, nCount});
    if (!text) return DICOM_ERROR_PARAMETER;
    text->copy(pszOut, nOutSize - 1);
    return 0;
}

uint32_t MDicomDS::ConvertStringValue(const char *pszText, uint32_t nLength, wchar_t *pszOut,
                                      uint32_t nOutSize) {
    if (pszOut != nullptr && nOutSize == 0) return 0;
    if (pszOut != nullptr) std::fill_n(pszOut, nOutSize, L'\0');
    const size_t length = pszText != nullptr ? strnlen(pszText, nLength) : 0;
    const CharacterSetList sets = CharacterSetsOf(nullptr);
    const auto text = mdicom::DecodeText({pszText, length}, sets.Span());
    if (pszOut == nullptr) return text ? static_cast<uint32_t>(text->size() + 1) : 0;
    if (!text) return 1;
    return static_cast<uint32_t>(text->copy(pszOut, nOutSize - 1) + 1);
}
