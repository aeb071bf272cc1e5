// MDicomContextGroup: context groups that were loaded from constant tables or inserted.

#include "MDicomContextGroup.h"

#include <atomic>
#include <string_view>

#include "Common/Utils/Status.h"
#include "Mvkrnx.h"
#include "dictionaries/DefaultTables.h"
#include "dictionaries/RowList.h"

constinit MDicomTreeEx MDicomContextGroup::m_ContextGroupsTable;
constinit int32_t MDicomContextGroup::m_bInitialized = 0;

namespace {

using Group = tagDICOMCONTEXTGROUP;
using Concept = tagDICOMCODEDCONCEPT;

/** Comes first in every member. The table starts empty, so that nothing is left to do. */
void Prepare() {
    std::atomic_ref(MDicomContextGroup::m_bInitialized).store(1, std::memory_order_relaxed);
}

mdicom::RowList<Group> Groups() {
    return mdicom::RowList<Group>(MDicomContextGroup::m_ContextGroupsTable);
}

Concept *AsConcept(_DICOMLINK *link) {
    return reinterpret_cast<Concept *>(link);
}

/** A text without white space at both ends; empty for null. */
std::wstring_view Strip(const wchar_t *text) {
    constexpr std::wstring_view blanks = L" \t\n\v\f\r";
    if (text == nullptr) return {};
    std::wstring_view rest = text;
    const size_t first = rest.find_first_not_of(blanks);
    if (first == std::wstring_view::npos) return {};
    return rest.substr(first, rest.find_last_not_of(blanks) - first + 1);
}

/** Identifiers, schemes and values are of ASCII letters. */
wchar_t Fold(wchar_t character) {
    return character >= L'a' && character <= L'z' ? static_cast<wchar_t>(character - 0x20)
                                                  : character;
}

bool IsSameText(std::wstring_view a, std::wstring_view b) {
    if (a.size() != b.size()) return false;
    for (size_t i = 0; i < a.size(); ++i) {
        if (Fold(a[i]) != Fold(b[i])) return false;
    }
    return true;
}

wchar_t *DefaultText(uint32_t offset) {
    return const_cast<wchar_t *>(mdicom::SharedText(offset));
}

_VALUEDATETIME *CopyVersion(const _VALUEDATETIME &version) {
    void *block = KernelHeapAlloc(1, sizeof(version), 0, nullptr);
    auto *copy = static_cast<_VALUEDATETIME *>(block);
    if (copy != nullptr) *copy = version;
    return copy;
}

/** The position of a known group, or the number of known groups. */
size_t FindKnown(std::wstring_view identifier) {
    const auto known = mdicom::DefaultContextGroups();
    size_t position = 0;
    while (position < known.size() &&
           !IsSameText(mdicom::SharedText(known[position].identifier), identifier)) {
        ++position;
    }
    return position;
}

bool IsKnown(size_t position) {
    return position < mdicom::DefaultContextGroups().size();
}

Group *FindGroup(std::wstring_view identifier) {
    return Groups().FindFrom(Groups().First(), [identifier](const Group &group) {
        return IsSameText(group.pszContextIdentifier, identifier);
    });
}

/** Appends a group that takes over what the values point to, or frees it all: null then. */
Group *AppendGroup(const Group &values) {
    const bool complete = values.pszContextIdentifier != nullptr && values.pszName != nullptr &&
                          values.pContextGroupVersion != nullptr;
    Group *group = complete ? Groups().Append() : nullptr;
    if (group == nullptr) {
        mdicom::FreeText(values.pszContextIdentifier);
        mdicom::FreeText(values.pszName);
        KernelHeapFree(values.pContextGroupVersion, 0, nullptr);
        return nullptr;
    }
    const _DICOMLINK link = group->Link;
    *group = values;
    group->Link = link;
    return group;
}

void FreeContent(const Concept &values) {
    mdicom::FreeText(values.pszCodingSchemeDesignator);
    mdicom::FreeText(values.pszCodingSchemeVersion);
    mdicom::FreeText(values.pszCodeValue);
    mdicom::FreeText(values.pszCodeMeaning);
    KernelHeapFree(values.pContextGroupLocalVersion, 0, nullptr);
    mdicom::FreeText(values.pszContextGroupExtensionCreatorUID);
}

/** Appends a concept that takes over what the values point to; null when memory is short. */
Concept *AppendConcept(Group *group, const Concept &values) {
    Concept *row = AsConcept(MDicomContextGroup::m_ContextGroupsTable.Insert(
        &group->Link, sizeof(Concept), TREE_LAST_CHILD));
    if (row == nullptr) return nullptr;
    const _DICOMLINK link = row->Link;
    *row = values;
    row->Link = link;
    return row;
}

void RemoveConcept(Concept *row) {
    FreeContent(*row);
    MDicomContextGroup::m_ContextGroupsTable.Delete(&row->Link);
}

void RemoveConcepts(Group *group) {
    while (group->Link.pFirstChild != nullptr) RemoveConcept(AsConcept(group->Link.pFirstChild));
}

/** Appends the concepts of a known group, then those of the groups that it includes. */
bool AppendKnownConcepts(Group *group, size_t position) {
    const mdicom::DefaultContextGroup &known = mdicom::DefaultContextGroups()[position];
    for (const mdicom::DefaultConcept &values : mdicom::DefaultConcepts(known)) {
        Concept row{};
        row.pszCodingSchemeDesignator = DefaultText(values.scheme);
        row.pszCodingSchemeVersion = DefaultText(values.schemeVersion);
        row.pszCodeValue = DefaultText(values.value);
        row.pszCodeMeaning = DefaultText(values.meaning);
        if (AppendConcept(group, row) == nullptr) return false;
    }
    for (const uint16_t included : mdicom::DefaultIncludes(known)) {
        if (!AppendKnownConcepts(group, included)) return false;
    }
    return true;
}

mdicom::Status LoadKnown(size_t position) {
    const mdicom::DefaultContextGroup &known = mdicom::DefaultContextGroups()[position];
    _VALUEDATETIME version{};
    version.Year = static_cast<uint16_t>(known.version / 10000);
    version.Month = static_cast<uint16_t>(known.version / 100 % 100);
    version.Day = static_cast<uint16_t>(known.version % 100);
    Group *group = AppendGroup({{},
                                DefaultText(known.identifier),
                                DefaultText(known.name),
                                known.extensible,
                                CopyVersion(version)});
    if (group == nullptr) return DICOM_ERROR_MEMORY;
    if (AppendKnownConcepts(group, position)) return 0;
    MDicomContextGroup::Delete(group);
    return DICOM_ERROR_MEMORY;
}

bool IsLoaded(size_t position) {
    const auto &known = mdicom::DefaultContextGroups()[position];
    return FindGroup(mdicom::SharedText(known.identifier)) != nullptr;
}

mdicom::Status LoadAllKnown() {
    for (size_t position = 0; IsKnown(position); ++position) {
        if (IsLoaded(position)) continue;
        const mdicom::Status status = LoadKnown(position);
        if (status != 0) return status;
    }
    return 0;
}

/** Copies the texts of a new concept; false when memory is short, with what was copied so far. */
bool CopyContent(Concept &row, std::wstring_view scheme, std::wstring_view version,
                 std::wstring_view value, std::wstring_view meaning,
                 const _VALUEDATETIME *localVersion, std::wstring_view creator) {
    const struct {
        wchar_t *&place;
        std::wstring_view text;
    } texts[] = {{row.pszCodingSchemeDesignator, scheme},
                 {row.pszCodingSchemeVersion, version},
                 {row.pszCodeValue, value},
                 {row.pszCodeMeaning, meaning},
                 {row.pszContextGroupExtensionCreatorUID, creator}};
    for (const auto &[place, text] : texts) {
        if (text.empty()) continue;
        place = mdicom::CopyText(text);
        if (place == nullptr) return false;
    }
    if (localVersion == nullptr) return true;
    row.pContextGroupLocalVersion = CopyVersion(*localVersion);
    return row.pContextGroupLocalVersion != nullptr;
}

} // namespace

uint16_t MDicomContextGroup::Load(const wchar_t *pszContextIdentifier) {
    Prepare();
    if (pszContextIdentifier == nullptr) return LoadAllKnown();
    const std::wstring_view identifier = Strip(pszContextIdentifier);
    if (FindGroup(identifier) != nullptr) return 0;
    const size_t position = FindKnown(identifier);
    if (!IsKnown(position)) return DICOM_ERROR_PARAMETER;
    return LoadKnown(position);
}

int32_t MDicomContextGroup::Default(tagDICOMCONTEXTGROUP *pGroup) {
    Prepare();
    if (pGroup == nullptr) {
        Group *group = Groups().First();
        while (group != nullptr && Default(group)) group = Groups().Next(group);
        return group == nullptr;
    }
    const size_t position = FindKnown(pGroup->pszContextIdentifier);
    if (!IsKnown(position)) return 1;
    RemoveConcepts(pGroup);
    return AppendKnownConcepts(pGroup, position);
}

void MDicomContextGroup::Reset() {
    Prepare();
    while (Group *group = Groups().First()) Delete(group);
}

tagDICOMCONTEXTGROUP *MDicomContextGroup::Insert(const wchar_t *pszContextIdentifier,
                                                 const wchar_t *pszName, int32_t bExtensible,
                                                 const _VALUEDATETIME *pVersion, uint32_t nFlags) {
    Prepare();
    const std::wstring_view identifier = Strip(pszContextIdentifier);
    const std::wstring_view name = Strip(pszName);
    if (identifier.empty() || name.empty() || pVersion == nullptr) return nullptr;
    if ((nFlags & 1) != 0 && FindGroup(identifier) != nullptr) return nullptr;
    return AppendGroup({{},
                        mdicom::CopyText(identifier),
                        mdicom::CopyText(name),
                        bExtensible,
                        CopyVersion(*pVersion)});
}

tagDICOMCONTEXTGROUP *MDicomContextGroup::Delete(tagDICOMCONTEXTGROUP *pGroup) {
    Prepare();
    if (pGroup == nullptr) return nullptr;
    Group *next = Groups().Next(pGroup);
    Group *neighbor = next != nullptr ? next : Groups().Previous(pGroup);
    RemoveConcepts(pGroup);
    mdicom::FreeText(pGroup->pszContextIdentifier);
    mdicom::FreeText(pGroup->pszName);
    KernelHeapFree(pGroup->pContextGroupVersion, 0, nullptr);
    m_ContextGroupsTable.Delete(&pGroup->Link);
    return neighbor;
}

tagDICOMCONTEXTGROUP *MDicomContextGroup::Find(const wchar_t *pszContextIdentifier) {
    Prepare();
    return FindGroup(Strip(pszContextIdentifier));
}

tagDICOMCONTEXTGROUP *MDicomContextGroup::FindIndex(uint32_t nIndex) {
    Prepare();
    return Groups().At(nIndex);
}

int32_t MDicomContextGroup::Exists(tagDICOMCONTEXTGROUP *pGroup) {
    Prepare();
    if (pGroup == nullptr) return 0;
    return Groups().FindFrom(Groups().First(),
                             [pGroup](const Group &group) { return &group == pGroup; }) != nullptr;
}

tagDICOMCONTEXTGROUP *MDicomContextGroup::GetFirst() {
    Prepare();
    return Groups().First();
}

tagDICOMCONTEXTGROUP *MDicomContextGroup::GetLast() {
    Prepare();
    return Groups().Last();
}

tagDICOMCONTEXTGROUP *MDicomContextGroup::GetNext(tagDICOMCONTEXTGROUP *pGroup) {
    Prepare();
    return Groups().Next(pGroup);
}

tagDICOMCONTEXTGROUP *MDicomContextGroup::GetPrev(tagDICOMCONTEXTGROUP *pGroup) {
    Prepare();
    return Groups().Previous(pGroup);
}

uint32_t MDicomContextGroup::GetCount() {
    Prepare();
    return Groups().Count();
}

tagDICOMCODEDCONCEPT *MDicomContextGroup::InsertCodedConcept(
    tagDICOMCONTEXTGROUP *pGroup, const wchar_t *pszScheme, const wchar_t *pszVersion,
    const wchar_t *pszValue, const wchar_t *pszMeaning, const _VALUEDATETIME *pLocalVersion,
    const wchar_t *pszCreatorUID, uint32_t nFlags) {
    Prepare();
    const std::wstring_view scheme = Strip(pszScheme);
    const std::wstring_view value = Strip(pszValue);
    const std::wstring_view meaning = Strip(pszMeaning);
    if (pGroup == nullptr || scheme.empty() || value.empty() || meaning.empty()) return nullptr;
    if ((nFlags & 1) != 0 && FindCodedConcept(pGroup, pszScheme, pszValue) != nullptr) {
        return nullptr;
    }
    Concept values{};
    const bool complete = CopyContent(values, scheme, Strip(pszVersion), value, meaning,
                                      pLocalVersion, Strip(pszCreatorUID));
    Concept *row = complete ? AppendConcept(pGroup, values) : nullptr;
    if (row == nullptr) FreeContent(values);
    return row;
}

tagDICOMCODEDCONCEPT *MDicomContextGroup::DeleteCodedConcept(tagDICOMCODEDCONCEPT *pConcept) {
    Prepare();
    if (pConcept == nullptr) return nullptr;
    const _DICOMLINK &link = pConcept->Link;
    Concept *neighbor = AsConcept(link.pNext != nullptr ? link.pNext : link.pPrev);
    RemoveConcept(pConcept);
    return neighbor;
}

tagDICOMCODEDCONCEPT *MDicomContextGroup::FindCodedConcept(tagDICOMCONTEXTGROUP *pGroup,
                                                           const wchar_t *pszScheme,
                                                           const wchar_t *pszValue) {
    Prepare();
    std::wstring_view scheme = Strip(pszScheme);
    const std::wstring_view value = Strip(pszValue);
    if (scheme.empty() || value.empty()) return nullptr;
    // Both name SNOMED; the first is the older private designator.
    if (IsSameText(scheme, L"99SDM")) scheme = L"SNM3";
    Concept *row = GetFirstCodedConcept(pGroup);
    while (row != nullptr && (!IsSameText(row->pszCodingSchemeDesignator, scheme) ||
                              !IsSameText(row->pszCodeValue, value))) {
        row = AsConcept(row->Link.pNext);
    }
    return row;
}

tagDICOMCODEDCONCEPT *MDicomContextGroup::FindIndexCodedConcept(tagDICOMCONTEXTGROUP *pGroup,
                                                                uint32_t nIndex) {
    Concept *row = GetFirstCodedConcept(pGroup);
    while (row != nullptr && nIndex-- > 0) row = AsConcept(row->Link.pNext);
    return row;
}

int32_t MDicomContextGroup::SetCodeMeaning(tagDICOMCODEDCONCEPT *pConcept,
                                           const wchar_t *pszMeaning) {
    Prepare();
    const std::wstring_view meaning = Strip(pszMeaning);
    if (pConcept == nullptr || meaning.empty()) return 0;
    wchar_t *copy = mdicom::CopyText(meaning);
    if (copy == nullptr) return 0;
    mdicom::FreeText(pConcept->pszCodeMeaning);
    pConcept->pszCodeMeaning = copy;
    return 1;
}

tagDICOMCONTEXTGROUP *MDicomContextGroup::GetContextGroup(tagDICOMCODEDCONCEPT *pConcept) {
    Prepare();
    return pConcept != nullptr ? reinterpret_cast<Group *>(pConcept->Link.pParent) : nullptr;
}

int32_t MDicomContextGroup::ExistsCodedConcept(tagDICOMCODEDCONCEPT *pConcept) {
    Prepare();
    for (Group *group = Groups().First(); group != nullptr; group = Groups().Next(group)) {
        Concept *row = AsConcept(group->Link.pFirstChild);
        while (row != nullptr && row != pConcept) row = AsConcept(row->Link.pNext);
        if (row != nullptr) return 1;
    }
    return 0;
}

tagDICOMCODEDCONCEPT *MDicomContextGroup::GetFirstCodedConcept(tagDICOMCONTEXTGROUP *pGroup) {
    Prepare();
    return pGroup != nullptr ? AsConcept(pGroup->Link.pFirstChild) : nullptr;
}

tagDICOMCODEDCONCEPT *MDicomContextGroup::GetLastCodedConcept(tagDICOMCONTEXTGROUP *pGroup) {
    Prepare();
    return pGroup != nullptr ? AsConcept(pGroup->Link.pLastChild) : nullptr;
}

tagDICOMCODEDCONCEPT *MDicomContextGroup::GetNextCodedConcept(tagDICOMCODEDCONCEPT *pConcept) {
    Prepare();
    return pConcept != nullptr ? AsConcept(pConcept->Link.pNext) : nullptr;
}

tagDICOMCODEDCONCEPT *MDicomContextGroup::GetPrevCodedConcept(tagDICOMCODEDCONCEPT *pConcept) {
    Prepare();
    return pConcept != nullptr ? AsConcept(pConcept->Link.pPrev) : nullptr;
}

uint32_t MDicomContextGroup::GetCountCodedConcept(tagDICOMCONTEXTGROUP *pGroup) {
    uint32_t count = 0;
    for (Concept *row = GetFirstCodedConcept(pGroup); row != nullptr;
         row = AsConcept(row->Link.pNext)) {
        ++count;
    }
    return count;
}

void MDicomContextGroup::SetInitialized(int32_t bInitialized) {
    std::atomic_ref(m_bInitialized).store(bInitialized, std::memory_order_relaxed);
}
