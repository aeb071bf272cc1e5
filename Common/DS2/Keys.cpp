// The key view: steps from record to record of a directory.

#include <cwchar>
#include <memory>
#include <span>
#include <string_view>

#include "Common/DS/ElementIndex.h"
#include "Common/DS/ElementNode.h"
#include "Common/DS2/KeysIndex.h"
#include "Common/DSValue/ValueAccess.h"
#include "MDicomDS.h"

using namespace mdicom;

namespace {

constexpr uint32_t kTopLevelTags[] = {0x00041130,       0x00041141,      0x00041142,
                                      kFirstRootRecord, kLastRootRecord, 0x00041212,
                                      kDirectoryRecords};
constexpr uint32_t kRecordTags[] = {kNextRecord, kRecordInUse,    kLowerRecord,      kRecordType,
                                    0x00041432,  kReferencedFile, kReferencedRecord, 0x00041510,
                                    0x00041511,  0x00041512,      0x00041600};

bool Contains(std::span<const uint32_t> tags, uint32_t tag) {
    for (const uint32_t each : tags) {
        if (each == tag) return true;
    }
    return false;
}

/** Whether a step stays among siblings. */
enum class Scope { Level, Tree };

Scope ScopeOf(int32_t sameLevel) {
    return sameLevel ? Scope::Level : Scope::Tree;
}

_DICOMELEMENT *ItemOf(const KeyNode *node) {
    return node != nullptr ? node->item : nullptr;
}

KeyNode *ParentOf(const KeyNode *node) {
    return node->level->parent;
}

KeyNode *RootOf(KeyNode *node) {
    while (ParentOf(node) != nullptr) node = ParentOf(node);
    return node;
}

KeyNode *LastBelow(KeyNode *node) {
    while (node != nullptr && node->children.last != nullptr) node = node->children.last;
    return node;
}

KeyNode *NextOf(KeyNode *node, Scope scope) {
    if (scope == Scope::Level) return node->next;
    if (node->children.first != nullptr) return node->children.first;
    while (node != nullptr && node->next == nullptr) node = ParentOf(node);
    return node != nullptr ? node->next : nullptr;
}

KeyNode *PrevOf(KeyNode *node, Scope scope) {
    if (scope == Scope::Level) return node->prev;
    return node->prev != nullptr ? LastBelow(node->prev) : ParentOf(node);
}

/** Null stands for the root level. */
KeyLevel &LevelOf(KeyIndex &index, KeyNode *node, Scope scope) {
    if (node == nullptr) return index.Root();
    return *(scope == Scope::Level ? node : RootOf(node))->level;
}

/** Takes white space off both ends of a text in its place. */
wchar_t *TrimInPlace(wchar_t *text) {
    static constexpr std::wstring_view kSpace = L" \t\r\n\v\f";
    const std::wstring_view whole(text);
    const size_t first = whole.find_first_not_of(kSpace);
    if (first == std::wstring_view::npos) {
        *text = L'\0';
        return text;
    }
    const size_t length = whole.find_last_not_of(kSpace) + 1 - first;
    std::wmemmove(text, text + first, length);
    text[length] = L'\0';
    return text;
}

} // namespace

/** The records as a tree, up to date; null when memory is short. */
KeyIndex *MDicomDS::GetKeyIndex() {
    if (m_pIndex == nullptr) return nullptr;
    std::shared_ptr<KeyIndex> &keys = m_pIndex->Keys();
    const uint64_t version = m_pIndex->RecordChanges();
    if (keys && keys->Version() == version) return keys.get();
    keys.reset();
    return Guarded<KeyIndex *>(nullptr, [&] {
        _DICOMELEMENT *first = FindAttachKey(nullptr, kFirstRootRecord);
        keys = std::make_unique<KeyIndex>(FindAttachKey(nullptr, kDirectoryRecords),
                                          first != nullptr ? first->nRecordOffset : 0);
        keys->SetVersion(version);
        return keys.get();
    });
}

/** The place in the tree of records of the record that an element is, or is in; or null. */
KeyNode *MDicomDS::GetKeyNode(_DICOMELEMENT *pKey) {
    const _DICOMELEMENT *item = GetItemKey(pKey);
    KeyIndex *index = item != nullptr ? GetKeyIndex() : nullptr;
    return index != nullptr ? index->Find(item) : nullptr;
}

/** The record that an element is, or is in. Items of sequences in a record have offsets of their
 *  own after a load and are no records. */
_DICOMELEMENT *MDicomDS::GetItemKey(_DICOMELEMENT *pElement) {
    _DICOMELEMENT *item = nullptr;
    for (; GetParentOrNull(pElement) != nullptr; pElement = GetParentOrNull(pElement)) {
        item = pElement;
    }
    if (item == nullptr || pElement->nTag != kDirectoryRecords) return nullptr;
    return item->nTag == TAG_ITEM && item->nRecordOffset > 0 ? item : nullptr;
}

_DICOMELEMENT *MDicomDS::FindChild(_DICOMELEMENT *pParent, uint32_t nTag) {
    return FindOnLevel(pParent, nTag, PlaceOnLevel(pParent, nTag));
}

_DICOMELEMENT *MDicomDS::FindAttachKey(_DICOMELEMENT *pElement, uint32_t nTag) {
    if (Contains(kTopLevelTags, nTag)) return FindChild(nullptr, nTag);
    if (Contains(kRecordTags, nTag)) {
        return pElement != nullptr ? FindChild(pElement, nTag) : nullptr;
    }
    if (nTag != TAG_ITEM) return pElement;
    if (pElement == nullptr) {
        const _DICOMELEMENT *records = FindChild(nullptr, kDirectoryRecords);
        pElement = records != nullptr ? FirstChildOf(records) : nullptr;
    } else {
        pElement = NextOf(pElement);
    }
    while (pElement != nullptr && (pElement->nTag != TAG_ITEM || pElement->nRecordOffset == 0)) {
        pElement = NextOf(pElement);
    }
    return pElement;
}

_DICOMELEMENT *MDicomDS::GetRootKey(_DICOMELEMENT *pKey) {
    if (!CheckElement(pKey)) return nullptr;
    KeyNode *node = GetKeyNode(pKey);
    return node != nullptr ? RootOf(node)->item : nullptr;
}

_DICOMELEMENT *MDicomDS::GetParentKey(_DICOMELEMENT *pKey) {
    if (!CheckElement(pKey)) return nullptr;
    const KeyNode *node = GetKeyNode(pKey);
    return node != nullptr ? ItemOf(ParentOf(node)) : nullptr;
}

_DICOMELEMENT *MDicomDS::GetChildKey(_DICOMELEMENT *pKey) {
    if (!CheckElement(pKey)) return nullptr;
    const KeyNode *node = GetKeyNode(pKey);
    return node != nullptr ? ItemOf(node->children.first) : nullptr;
}

_DICOMELEMENT *MDicomDS::GetFirstKey(_DICOMELEMENT *pKey, int32_t bSameLevel) {
    if (!CheckElement(pKey)) return nullptr;
    KeyIndex *index = GetKeyIndex();
    KeyNode *node = GetKeyNode(pKey);
    if (index == nullptr || (pKey != nullptr && node == nullptr)) return nullptr;
    return ItemOf(LevelOf(*index, node, ScopeOf(bSameLevel)).first);
}

_DICOMELEMENT *MDicomDS::GetLastKey(_DICOMELEMENT *pKey, int32_t bSameLevel) {
    if (!CheckElement(pKey)) return nullptr;
    KeyIndex *index = GetKeyIndex();
    KeyNode *node = GetKeyNode(pKey);
    if (index == nullptr || (pKey != nullptr && node == nullptr)) return nullptr;
    KeyNode *last = LevelOf(*index, node, ScopeOf(bSameLevel)).last;
    return ItemOf(bSameLevel ? last : LastBelow(last));
}

_DICOMELEMENT *MDicomDS::GetNextKey(_DICOMELEMENT *pKey, int32_t bSameLevel) {
    if (!CheckElement(pKey)) return nullptr;
    KeyNode *node = GetKeyNode(pKey);
    return node != nullptr ? ItemOf(NextOf(node, ScopeOf(bSameLevel))) : nullptr;
}

_DICOMELEMENT *MDicomDS::GetPrevKey(_DICOMELEMENT *pKey, int32_t bSameLevel) {
    if (!CheckElement(pKey)) return nullptr;
    KeyNode *node = GetKeyNode(pKey);
    return node != nullptr ? ItemOf(PrevOf(node, ScopeOf(bSameLevel))) : nullptr;
}

const wchar_t *MDicomDS::GetValueKey(_DICOMELEMENT *pKey) {
    if (!CheckElement(pKey)) return nullptr;
    _DICOMELEMENT *type = FindAttachKey(GetItemKey(pKey), kRecordType);
    if (type == nullptr || GetStringValue(type, 0, 1) == nullptr) return nullptr;
    return TrimInPlace(static_cast<wchar_t *>(type->pText));
}

_DICOMELEMENT *MDicomDS::FindFirstKey(_DICOMELEMENT *pKey, const wchar_t *pszType,
                                      int32_t bSameLevel) {
    _DICOMELEMENT *key = pszType != nullptr ? GetFirstKey(pKey, bSameLevel) : nullptr;
    while (key != nullptr && !IsKeyOfType(key, pszType)) key = GetNextKey(key, bSameLevel);
    return key;
}

_DICOMELEMENT *MDicomDS::FindLastKey(_DICOMELEMENT *pKey, const wchar_t *pszType,
                                     int32_t bSameLevel) {
    _DICOMELEMENT *key = pszType != nullptr ? GetLastKey(pKey, bSameLevel) : nullptr;
    while (key != nullptr && !IsKeyOfType(key, pszType)) key = GetPrevKey(key, bSameLevel);
    return key;
}

_DICOMELEMENT *MDicomDS::FindNextKey(_DICOMELEMENT *pKey, int32_t bSameLevel) {
    const wchar_t *type = GetValueKey(pKey);
    _DICOMELEMENT *key = type != nullptr ? GetNextKey(pKey, bSameLevel) : nullptr;
    while (key != nullptr && !IsKeyOfType(key, type)) key = GetNextKey(key, bSameLevel);
    return key;
}

_DICOMELEMENT *MDicomDS::FindPrevKey(_DICOMELEMENT *pKey, int32_t bSameLevel) {
    const wchar_t *type = GetValueKey(pKey);
    _DICOMELEMENT *key = type != nullptr ? GetPrevKey(pKey, bSameLevel) : nullptr;
    while (key != nullptr && !IsKeyOfType(key, type)) key = GetPrevKey(key, bSameLevel);
    return key;
}

bool MDicomDS::IsKeyOfType(_DICOMELEMENT *pKey, const wchar_t *pszType) {
    const wchar_t *type = GetValueKey(pKey);
    return type != nullptr && std::wcscmp(type, pszType) == 0;
}

/** A number for a new record; 0 when memory is short. */
uint32_t MDicomDS::GetAvailableKey() {
    KeyIndex *index = GetKeyIndex();
    if (index == nullptr) return 0;
    return Guarded(uint32_t{0}, [&] { return index->FreeIdentity(m_Tree); });
}
