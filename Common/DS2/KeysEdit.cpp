// The key view: adding and deleting records of a directory.

#include <algorithm>
#include <iterator>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "Common/DS/ElementIndex.h"
#include "Common/DS/ElementNode.h"
#include "Common/DS2/IodWalk.h"
#include "Common/DS2/KeysIndex.h"
#include "Common/DSValue/ValueAccess.h"
#include "Common/Utils/Vr.h"
#include "MDicomDS.h"
#include "MDicomIOD.h"

using namespace mdicom;

namespace {

constexpr uint32_t kPatientModule = 0;

/** A record type with the module of its elements (PS 3.3, F.5). */
struct TypeRow {
    std::wstring_view type;
    uint32_t module;
};

constexpr TypeRow kTypes[] = {
    {L"PATIENT", 150},
    {L"STUDY", 151},
    {L"SERIES", 152},
    {L"IMAGE", 153},
    {L"OVERLAY", 154},
    {L"MODALITY LUT", 155},
    {L"VOI LUT", 156},
    {L"CURVE", 157},
    {L"STORED PRINT", 158},
    {L"RT DOSE", 159},
    {L"RT STRUCTURE SET", 160},
    {L"RT PLAN", 161},
    {L"RT TREAT RECORD", 162},
    {L"TOPIC", 163},
    {L"VISIT", 164},
    {L"RESULTS", 165},
    {L"INTERPRETATION", 166},
    {L"STUDY COMPONENT", 167},
    {L"PRIVATE", 168},
    {L"SR DOCUMENT", 199},
    {L"PRESENTATION", 217},
    {L"WAVEFORM", 218},
    {L"KEY OBJECT DOC", 243},
    {L"SPECTROSCOPY", 328},
    {L"RAW DATA", 329},
    {L"REGISTRATION", 330},
    {L"FIDUCIAL", 331},
    {L"HANGING PROTOCOL", 332},
    {L"ENCAP DOC", 333},
    {L"HL7 STRUC DOC", 334},
    {L"VALUE MAP", 335},
    {L"STEREOMETRIC", 336},
};

/** The row of the module that a type of record takes its elements from. */
_DICOMIOD *ModuleOf(std::wstring_view type) {
    const auto *row = std::find_if(std::begin(kTypes), std::end(kTypes),
                                   [type](const TypeRow &each) { return each.type == type; });
    const uint32_t module = row != std::end(kTypes) ? row->module : kPatientModule;
    // Modules of records stand in the directory alone; a walk over all classes would be long.
    _DICOMIOD *found = nullptr;
    if (module != kPatientModule) found = MDicomIOD::FindModule(kDirectoryClass, module);
    return found != nullptr ? found : MDicomIOD::Find(nullptr, module, IOD_TYPE_MODULE, 0);
}

} // namespace

_DICOMELEMENT *MDicomDS::InsertKey(_DICOMELEMENT *pParent, const wchar_t *pszType,
                                   int32_t bOptional) {
    if (m_bConforming || !CheckElement(pParent)) return nullptr;
    return Guarded<_DICOMELEMENT *>(nullptr, [&] { return AddKey(pParent, pszType, bOptional); });
}

_DICOMELEMENT *MDicomDS::AddKey(_DICOMELEMENT *pParent, const wchar_t *pszType, int32_t bOptional) {
    KeyIndex *index = GetKeyIndex();
    KeyNode *parent = GetKeyNode(pParent);
    if (index == nullptr || (pParent != nullptr && parent == nullptr)) return nullptr;
    KeyLevel &level = parent != nullptr ? parent->children : index->Root();
    const wchar_t *levelType = level.first != nullptr ? GetValueKey(level.first->item) : nullptr;
    if (levelType != nullptr && *levelType != L'\0') pszType = levelType;
    const std::wstring type(pszType != nullptr ? pszType : L"");

    const uint32_t identity = index->FreeIdentity(m_Tree);
    _DICOMELEMENT *item = AddRecord();
    if (item == nullptr) return nullptr;
    item->nRecordOffset = identity;
    const bool done = Guarded(false, [&] {
        index->Reserve(item);
        return FillRecord(item, type.c_str()) && LinkRecord(level, identity);
    });
    if (!done) {
        DeleteElement(item);
        return nullptr;
    }
    index->Append(level, item);
    index->SetVersion(m_pIndex->RecordChanges());
    if (bOptional == 1 && !type.empty()) {
        _DICOMIOD *module = ModuleOf(type);
        if (module != nullptr) InsertModuleKey(item, module, 1);
    }
    return item;
}

/** An empty item at the end of (0004,1220), which is inserted if it is missing. Null where a value
 *  stands in its place. */
_DICOMELEMENT *MDicomDS::AddRecord() {
    _DICOMELEMENT *records = FindChild(nullptr, kDirectoryRecords);
    if (records == nullptr) records = InsertElement(nullptr, 0, kDirectoryRecords, vr::SQ, 1, 0);
    const bool holdsItems = records != nullptr && records->nLength == kUndefinedLength;
    return holdsItems ? InsertElement(records, 1, TAG_ITEM, vr::OB, 1, 0xFFFFFFFF) : nullptr;
}

/** Gives a new record the elements that every record has. */
bool MDicomDS::FillRecord(_DICOMELEMENT *pRecord, const wchar_t *pszType) {
    constexpr uint32_t kEmptyTags[] = {0x00041432, kReferencedFile, 0x00041510, 0x00041511,
                                       0x00041512};
    const bool linked =
        SetReference(pRecord, kNextRecord, 0) && SetReference(pRecord, kLowerRecord, 0);
    if (!linked) return false;
    for (const uint32_t tag : kEmptyTags) {
        if (InsertElement(pRecord, 1, tag, 0, 0, 0) == nullptr) return false;
    }
    int16_t inUse = 0;
    _DICOMELEMENT *flag = InsertElement(pRecord, 1, kRecordInUse, vr::US, 0, 0);
    if (flag == nullptr || !SetShortValue(flag, &inUse, 1)) return false;
    _DICOMELEMENT *type = InsertElement(pRecord, 1, kRecordType, vr::CS, 0, 0);
    if (type == nullptr) return false;
    return *pszType == L'\0' || SetStringValue(type, pszType, 1, 0) != 0;
}

/** Lets the end of a level refer to a record that is to come behind it. */
bool MDicomDS::LinkRecord(const KeyLevel &Level, uint32_t nIdentity) {
    _DICOMELEMENT *holder = nullptr;
    uint32_t tag = kFirstRootRecord;
    if (Level.last != nullptr) {
        holder = Level.last->item;
        tag = kNextRecord;
    } else if (Level.parent != nullptr) {
        holder = Level.parent->item;
        tag = kLowerRecord;
    }
    if (Level.parent != nullptr) return SetReference(holder, tag, nIdentity);
    if (!SetReference(nullptr, kLastRootRecord, nIdentity)) return false;
    if (SetReference(holder, tag, nIdentity)) return true;
    TurnReference(nullptr, kLastRootRecord, holder != nullptr ? holder->nRecordOffset : 0);
    return false;
}

/** Lets a reference of a record (null: of the directory) name a record; 0 for none. */
bool MDicomDS::SetReference(_DICOMELEMENT *pRecord, uint32_t nTag, uint32_t nIdentity) {
    _DICOMELEMENT *reference = FindChild(pRecord, nTag);
    if (reference == nullptr) {
        reference = InsertElement(pRecord, pRecord != nullptr ? 1 : 0, nTag, vr::UL, 0, 0);
    }
    if (reference == nullptr) return false;
    auto value = static_cast<int32_t>(nIdentity);
    reference->nVR = vr::UL;
    if (!SetLongValue(reference, &value, 1)) return false;
    reference->nRecordOffset = nIdentity;
    return true;
}

/** As SetReference, but an existing reference never keeps the record that it named: what a save
 *  writes is its identity, not the value. */
void MDicomDS::TurnReference(_DICOMELEMENT *pRecord, uint32_t nTag, uint32_t nIdentity) {
    if (SetReference(pRecord, nTag, nIdentity)) return;
    _DICOMELEMENT *reference = FindChild(pRecord, nTag);
    if (reference != nullptr) reference->nRecordOffset = nIdentity;
}

void MDicomDS::DeleteKey(_DICOMELEMENT *pKey) {
    if (m_bConforming || !CheckElement(pKey)) return;
    KeyNode *node = GetKeyNode(pKey);
    if (node == nullptr) return;
    Guarded(0, [&] {
        const std::vector<KeyNode *> subtree = KeyIndex::Subtree(node);
        std::vector<_DICOMELEMENT *> items;
        items.reserve(subtree.size());
        for (const KeyNode *each : subtree) items.push_back(each->item);
        Unlink(*node);
        std::shared_ptr<KeyIndex> &keys = m_pIndex->Keys();
        if (!keys->Remove(subtree)) keys.reset();
        for (_DICOMELEMENT *item : items) DeleteElement(item);
        if (keys) keys->SetVersion(m_pIndex->RecordChanges());
        return 0;
    });
}

/** Closes the gap in the references that a record is going to leave. */
void MDicomDS::Unlink(const KeyNode &Node) {
    const KeyNode *parent = Node.level->parent;
    const bool inRoot = Node.level == &m_pIndex->Keys()->Root();
    const uint32_t next = Node.next != nullptr ? Node.next->item->nRecordOffset : 0;
    const uint32_t previous = Node.prev != nullptr ? Node.prev->item->nRecordOffset : 0;
    if (Node.prev != nullptr) {
        TurnReference(Node.prev->item, kNextRecord, next);
    } else if (parent != nullptr) {
        TurnReference(parent->item, kLowerRecord, next);
    } else if (inRoot) {
        TurnReference(nullptr, kFirstRootRecord, next);
    }
    if (inRoot && next == 0) TurnReference(nullptr, kLastRootRecord, previous);
}

/** Inserts the elements of a module into an element (null: the top level). A sequence whose row
 *  has elements below it gets a new item with them. */
void MDicomDS::InsertModuleKey(_DICOMELEMENT *pElement, _DICOMIOD *pIOD, int32_t bOptional) {
    struct Open {
        _DICOMELEMENT *element;
        _DICOMIOD *row; ///< the next to insert
    };
    if (pIOD == nullptr) return;
    Guarded(0, [&] {
        std::vector<Open> open{{pElement, FirstRowOf(pIOD)}};
        while (!open.empty()) {
            _DICOMIOD *row = open.back().row;
            _DICOMELEMENT *target = open.back().element;
            if (row == nullptr) {
                open.pop_back();
                continue;
            }
            open.back().row = NextRowOf(row);
            if (!bOptional && !IsMandatory(row)) continue;
            if (row->nType == IOD_TYPE_ELEMENT) {
                target =
                    InsertRowElement(target, row->nCode, GetCountElementIOD(row, bOptional) > 0);
                if (target == nullptr) continue;
            }
            open.push_back({target, FirstRowOf(row)});
        }
        return 0;
    });
}

/** Finds or inserts the element of a row, with a new item in it if asked. Returns where elements
 *  below the row go: the item, or null. */
_DICOMELEMENT *MDicomDS::InsertRowElement(_DICOMELEMENT *pElement, uint32_t nTag, bool bWithItem) {
    const int32_t child = pElement != nullptr ? 1 : 0;
    _DICOMELEMENT *element = FindChild(pElement, nTag);
    if (element == nullptr) {
        const uint16_t vr = GetDefaultVR(pElement, nTag, 1);
        element = InsertElement(pElement, child, nTag, vr, vr == vr::SQ ? 1 : 0, 0xFFFFFFFF);
    }
    if (element == nullptr || !bWithItem) return nullptr;
    const uint16_t vr = GetDefaultVR(element, TAG_ITEM, 1);
    return InsertElement(element, 1, TAG_ITEM, vr, 1, 0xFFFFFFFF);
}
