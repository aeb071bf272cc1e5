// The key view of any directory: walks end and agree in both directions, also after records came
// and went, and a saved directory has the same tree. An input is: number of edits, edits, file.

#include "Support.h"

namespace {

using namespace fuzz;

constexpr size_t kMostStarts = 48; // records from which all ways are walked
constexpr size_t kMostEdits = 16;

std::vector<_DICOMELEMENT *> KeysOf(MDicomDS &ds) {
    std::vector<_DICOMELEMENT *> keys;
    for (_DICOMELEMENT *key = ds.GetFirstKey(nullptr, 0); key != nullptr;
         key = ds.GetNextKey(key, 0)) {
        keys.push_back(key);
    }
    return keys;
}

/** Each step back undoes a step forward, each step up one down. */
void CheckSteps(MDicomDS &ds, _DICOMELEMENT *key, size_t records) {
    for (const int32_t sameLevel : {0, 1}) {
        size_t steps = 0;
        for (_DICOMELEMENT *at = key; at != nullptr; ++steps) {
            Require(steps <= records);
            _DICOMELEMENT *next = ds.GetNextKey(at, sameLevel);
            Require(next == nullptr || ds.GetPrevKey(next, sameLevel) == at);
            at = next;
        }
        Require(ds.GetNextKey(ds.GetLastKey(key, sameLevel), sameLevel) == nullptr);
        Require(ds.GetPrevKey(ds.GetFirstKey(key, sameLevel), sameLevel) == nullptr);
    }
    _DICOMELEMENT *child = ds.GetChildKey(key);
    Require(child == nullptr || ds.GetParentKey(child) == key);
    Require(ds.GetParentKey(ds.GetRootKey(key)) == nullptr);
    const wchar_t *type = ds.GetValueKey(key);
    if (type == nullptr) return;
    const std::wstring same(type);
    ds.FindFirstKey(key, same.c_str(), 0);
    ds.FindLastKey(key, same.c_str(), 1);
    ds.FindNextKey(key, 0);
    ds.FindPrevKey(key, 1);
}

void CheckAllSteps(MDicomDS &ds) {
    const auto keys = KeysOf(ds);
    const size_t starts = std::min(keys.size(), kMostStarts);
    for (size_t i = 0; i < starts; ++i) CheckSteps(ds, keys[i], keys.size());
}

size_t CountBelow(MDicomDS &ds, _DICOMELEMENT *key) {
    size_t count = 0;
    _DICOMELEMENT *root = key;
    for (_DICOMELEMENT *at = ds.GetNextKey(key, 0); at != nullptr; at = ds.GetNextKey(at, 0)) {
        _DICOMELEMENT *up = ds.GetParentKey(at);
        while (up != nullptr && up != root) up = ds.GetParentKey(up);
        if (up == nullptr) break;
        ++count;
    }
    return count;
}

/** Edits through the key view change what they say and nothing else. */
void EditKeys(MDicomDS &ds, uint8_t edit) {
    const auto keys = KeysOf(ds);
    _DICOMELEMENT *key = keys.empty() ? nullptr : keys[edit / 4 % keys.size()];
    if (edit % 4 == 0 || key == nullptr) {
        _DICOMELEMENT *made = ds.InsertKey(edit & 0x80 ? nullptr : key, L"IMAGE", edit >> 6 & 1);
        Require(KeysOf(ds).size() == keys.size() + (made != nullptr ? 1 : 0));
    } else if (edit % 4 == 1) {
        const size_t below = CountBelow(ds, key);
        ds.DeleteKey(key);
        Require(KeysOf(ds).size() + 1 + below == keys.size());
    }
}

/** General edits of records, which the key view has to notice. */
void EditElements(MDicomDS &ds, uint8_t edit) {
    static constexpr uint32_t kReferences[] = {0x00041200, 0x00041202, 0x00041400, 0x00041420};
    const auto keys = KeysOf(ds);
    if (edit % 4 == 2 && !keys.empty()) {
        ds.DeleteElement(keys[edit / 4 % keys.size()]);
    } else if (edit % 4 == 3) {
        _DICOMELEMENT *reference = ds.FindFirstElement(nullptr, kReferences[edit / 4 % 4], 0);
        int32_t number = edit;
        if (reference != nullptr) ds.SetLongValue(reference, &number, 1);
    }
}

/** The depths of all records, which tell the shape of the tree. */
std::vector<size_t> ShapeOf(MDicomDS &ds) {
    std::vector<size_t> depths;
    for (_DICOMELEMENT *key : KeysOf(ds)) {
        size_t depth = 0;
        for (_DICOMELEMENT *up = key; up != nullptr; up = ds.GetParentKey(up)) ++depth;
        depths.push_back(depth);
    }
    return depths;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    Input input(data, size);
    const std::vector<uint8_t> edits = input.Bytes(input.Byte() % (kMostEdits + 1));
    std::vector<uint8_t> bytes = input.Rest();
    MDicomDS ds(nullptr);
    if (!bytes.empty()) ds.LoadDSMemory(bytes.data(), bytes.size(), 0);
    CheckAllSteps(ds);
    for (const uint8_t edit : edits) {
        EditKeys(ds, edit);
        EditElements(ds, edit);
    }
    CheckAllSteps(ds);
    if (!IsTold(ds)) return 0;
    Saved saved = Save(ds, DS_METAHEADER_PRESENT | DS_EXPLICIT_VR | DS_LITTLE_ENDIAN);
    if (saved.status != DICOM_SUCCESS) return 0;
    MDicomDS again(nullptr);
    Require(again.LoadDSMemory(saved.bytes.data(), saved.bytes.size(), 0) == DICOM_SUCCESS);
    Require(ShapeOf(again) == ShapeOf(ds));
    return 0;
}
