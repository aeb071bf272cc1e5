// Multi-frame functional groups (PS 3.3, C.7.6.16): elements of a frame, and the place for new
// ones.

#include "Common/LUT/FunctionalGroups.h"

#include <algorithm>
#include <string_view>

#include "Common/DS/ElementNode.h"
#include "Common/LUT/LevelValues.h"
#include "Common/Utils/Vr.h"
#include "MDicomDS.h"

namespace mdicom {

namespace {

constexpr uint32_t kMediaStorageClass = 0x00020002;

/** Classes whose objects have functional groups. */
constexpr std::wstring_view kGroupClasses[] = {
    L"1.2.840.10008.5.1.4.1.1.2.1",    L"1.2.840.10008.5.1.4.1.1.4.1",
    L"1.2.840.10008.5.1.4.1.1.12.1.1", L"1.2.840.10008.5.1.4.1.1.12.2.1",
    L"1.2.840.10008.5.1.4.1.1.7.2",    L"1.2.840.10008.5.1.4.1.1.7.3",
    L"1.2.840.10008.5.1.4.1.1.7.4",    L"1.2.840.10008.5.1.4.1.1.4.2",
    L"1.2.840.10008.5.1.4.1.1.66.4",   L"1.2.840.10008.5.1.4.1.1.77.1.5.4",
    L"1.2.840.10008.5.1.4.1.1.13.1.1", L"1.2.840.10008.5.1.4.1.1.13.1.2",
    L"1.2.840.10008.5.1.4.1.1.130",
};

constexpr uint32_t kTopLevelAttributes[] = {kWindowCenter, kWindowWidth, kRescaleIntercept,
                                            kRescaleSlope, kRescaleType};

_DICOMELEMENT *NextItem(_DICOMELEMENT *element) {
    while (element != nullptr && element->nTag != TAG_ITEM) element = NextOf(element);
    return element;
}

bool HasTag(MDicomDS &dataSet, uint32_t tag) {
    return dataSet.FindFirstElement(nullptr, tag, 0) != nullptr;
}

bool IsOfGroupClass(MDicomDS &dataSet) {
    _DICOMELEMENT *element = dataSet.FindFirstElement(nullptr, kMediaStorageClass, 0);
    const wchar_t *uid = element != nullptr ? dataSet.GetStringValue(element, 0, 1) : nullptr;
    return uid != nullptr && std::find(std::begin(kGroupClasses), std::end(kGroupClasses), uid) !=
                                 std::end(kGroupClasses);
}

/** Keeps a wrong frame number from filling the memory with items. Frames may come before
 *  (0028,0008) counts them, and that number may be wrong itself. */
bool IsLikelyFrame(MDicomDS &dataSet, uint32_t frame, uint32_t items) {
    constexpr uint32_t kAhead = 1024;
    constexpr uint32_t kMostFrames = 1 << 20;
    const uint32_t declared = std::min(ReadCardinal(dataSet, kNumberOfFrames), kMostFrames);
    return frame < std::max(declared, items + kAhead);
}

_DICOMELEMENT *AppendItem(MDicomDS &dataSet, _DICOMELEMENT *sequence, uint32_t index) {
    return dataSet.InsertElement(sequence, 1, TAG_ITEM, vr::OB, 1, index);
}

/** The item of a frame, with all items before it. */
_DICOMELEMENT *MakeItem(MDicomDS &dataSet, _DICOMELEMENT *group, uint32_t index, bool insert) {
    uint32_t count = GetItemCount(group);
    if (index < count) {
        return insert ? AppendItem(dataSet, group, index) : GetItem(group, index);
    }
    if (!IsLikelyFrame(dataSet, index, count)) return nullptr;
    _DICOMELEMENT *item = nullptr;
    for (; count <= index; ++count) {
        item = AppendItem(dataSet, group, 0xFFFFFFFF);
        if (item == nullptr) return nullptr;
    }
    return item;
}

_DICOMELEMENT *FindOrAddChild(MDicomDS &dataSet, _DICOMELEMENT *item, uint32_t tag, uint16_t vr) {
    _DICOMELEMENT *child = FindChildElement(dataSet, item, tag);
    if (child != nullptr) return child;
    return dataSet.InsertElement(item, 1, tag, vr, vr == vr::SQ ? 1 : 0, 0xFFFFFFFF);
}

/** An attribute among the children of an item; a number that is new is 0. */
_DICOMELEMENT *MakeAttribute(MDicomDS &dataSet, _DICOMELEMENT *item, uint32_t tag) {
    _DICOMELEMENT *element = FindChildElement(dataSet, item, tag);
    if (element != nullptr) return element;
    element = FindOrAddChild(dataSet, item, tag, 0);
    double zero = 0;
    const bool isNumber = tag >= kWindowCenter && tag <= kRescaleSlope;
    if (element == nullptr || !isNumber) return element;
    return dataSet.SetDoubleValue(element, &zero, 1) ? element : nullptr;
}

} // namespace

_DICOMELEMENT *GetItem(const _DICOMELEMENT *sequence, uint32_t index) {
    if (sequence == nullptr) return nullptr;
    _DICOMELEMENT *item = NextItem(FirstChildOf(sequence));
    for (; item != nullptr && index > 0; --index) item = NextItem(NextOf(item));
    return item;
}

uint32_t GetItemCount(const _DICOMELEMENT *sequence) {
    uint32_t count = 0;
    if (sequence == nullptr) return count;
    for (_DICOMELEMENT *item = NextItem(FirstChildOf(sequence)); item != nullptr;
         item = NextItem(NextOf(item))) {
        ++count;
    }
    return count;
}

_DICOMELEMENT *FindChildElement(MDicomDS &dataSet, const _DICOMELEMENT *item, uint32_t tag) {
    _DICOMELEMENT *child = item != nullptr ? FirstChildOf(item) : nullptr;
    return child != nullptr ? dataSet.FindFirstElement(child, tag, 1) : nullptr;
}

_DICOMELEMENT *GetSequenceItem(MDicomDS &dataSet, const _DICOMELEMENT *sequence, uint32_t index,
                               uint32_t tag) {
    return FindChildElement(dataSet, GetItem(sequence, index), tag);
}

_DICOMELEMENT *FindFunctionalGroupElement(MDicomDS &dataSet, uint32_t groupTag, uint32_t macroTag,
                                          uint32_t tag, uint32_t index) {
    const _DICOMELEMENT *group = dataSet.FindFirstElement(nullptr, groupTag, 1);
    const _DICOMELEMENT *macro = GetSequenceItem(dataSet, group, index, macroTag);
    return GetSequenceItem(dataSet, macro, 0, tag);
}

_DICOMELEMENT *FindFrameElement(MDicomDS &dataSet, uint32_t macroTag, uint32_t tag,
                                uint32_t frame) {
    _DICOMELEMENT *own = FindFunctionalGroupElement(dataSet, kPerFrameGroups, macroTag, tag, frame);
    if (own != nullptr) return own;
    return FindFunctionalGroupElement(dataSet, kSharedGroups, macroTag, tag, 0);
}

_DICOMELEMENT *FindMacro(MDicomDS &dataSet, const LutMacro &macro, uint32_t frame) {
    for (const uint32_t tag : macro.tags) {
        if (tag == 0) break;
        if (auto *element = FindFrameElement(dataSet, macro.sequence, tag, frame)) return element;
    }
    return nullptr;
}

bool IsInGroup(const _DICOMELEMENT *element, uint32_t groupTag) {
    for (int level = 0; level < 4 && element != nullptr; ++level) element = ParentOf(element);
    return element != nullptr && element->nTag == groupTag;
}

bool MayUseGroups(MDicomDS &dataSet) {
    if (IsOfGroupClass(dataSet)) return true;
    if (HasTag(dataSet, kSharedGroups) || HasTag(dataSet, kPerFrameGroups)) return true;
    return std::none_of(std::begin(kTopLevelAttributes), std::end(kTopLevelAttributes),
                        [&](uint32_t tag) { return HasTag(dataSet, tag); });
}

_DICOMELEMENT *CreateGroupElement(MDicomDS &dataSet, uint32_t groupTag, uint32_t macroTag,
                                  uint32_t tag, uint32_t frame, bool insert) {
    if (groupTag != kSharedGroups && groupTag != kPerFrameGroups) return nullptr;
    const uint32_t index = groupTag == kSharedGroups ? 0 : frame;
    _DICOMELEMENT *group = dataSet.FindFirstElement(nullptr, groupTag, 1);
    if (group == nullptr && !IsLikelyFrame(dataSet, index, 0)) return nullptr;
    if (group == nullptr) group = dataSet.InsertElement(nullptr, 0, groupTag, vr::SQ, 1, 0);
    if (group == nullptr) return nullptr;
    _DICOMELEMENT *item = MakeItem(dataSet, group, index, insert);
    _DICOMELEMENT *macro =
        item != nullptr ? FindOrAddChild(dataSet, item, macroTag, vr::SQ) : nullptr;
    if (macro == nullptr) return nullptr;
    _DICOMELEMENT *content = GetItem(macro, 0);
    if (content == nullptr) content = AppendItem(dataSet, macro, 0xFFFFFFFF);
    return content != nullptr ? MakeAttribute(dataSet, content, tag) : nullptr;
}

LutPlace PlaceOf(MDicomDS &dataSet, const LutMacro &macro, uint32_t flags, uint32_t frame) {
    if (!MayUseGroups(dataSet)) return {};
    if (_DICOMELEMENT *found = FindMacro(dataSet, macro, frame)) {
        return {found, IsInGroup(found, kSharedGroups)};
    }
    uint32_t group = 0;
    if ((flags & macro.sharedFlag) != 0) group = kSharedGroups;
    if ((flags & macro.perFrameFlag) != 0) group = kPerFrameGroups;
    // What frame 0 has of its own, the others have of their own, too.
    if (FindMacro(dataSet, macro, 0) != nullptr) group = kPerFrameGroups;
    if (group == 0) return {};
    _DICOMELEMENT *made =
        CreateGroupElement(dataSet, group, macro.sequence, macro.tags[0], frame, false);
    const Status status = made != nullptr ? DICOM_SUCCESS : DICOM_ERROR_WRITE;
    return {made, false, status};
}

void KeepPlace(KeptElements &old, MDicomDS &dataSet, const LutMacro &macro, uint32_t frame) {
    for (const uint32_t groupTag : {kSharedGroups, kPerFrameGroups}) {
        _DICOMELEMENT *group = dataSet.FindFirstElement(nullptr, groupTag, 1);
        _DICOMELEMENT *item = GetItem(group, groupTag == kSharedGroups ? 0 : frame);
        if (item != nullptr) {
            old.Keep(item, macro.sequence);
        } else if (group != nullptr) {
            old.KeepEnd(group);
        } else {
            old.Keep(nullptr, groupTag);
        }
    }
    for (const uint32_t tag : macro.tags) {
        if (tag != 0) old.Keep(nullptr, tag);
    }
}

bool DeleteAttribute(MDicomDS &dataSet, const LutMacro &macro, uint32_t tag, uint32_t flags,
                     uint32_t frame) {
    _DICOMELEMENT *element = dataSet.FindFirstElement(nullptr, tag, 1);
    if (element == nullptr) element = FindFrameElement(dataSet, macro.sequence, tag, frame);
    if (element == nullptr) return true;
    const bool mayChange = (flags & DICOM_SETIMAGE_UPDATE_SHARED) != 0;
    if (!mayChange && IsInGroup(element, kSharedGroups)) return false;
    dataSet.DeleteElement(element);
    return true;
}

} // namespace mdicom

using namespace mdicom;

int32_t MDicomDS::CanAddMultiFrameFunctionalGroup() {
    return MayUseGroups(*this) ? 1 : 0;
}

int32_t MDicomDS::IsPerFrameMultiFrameFunctionalGroup(_DICOMELEMENT *pElement) {
    return IsInGroup(pElement, kPerFrameGroups) ? 1 : 0;
}

int32_t MDicomDS::IsSharedMultiFrameFunctionalGroup(_DICOMELEMENT *pElement) {
    return IsInGroup(pElement, kSharedGroups) ? 1 : 0;
}

_DICOMELEMENT *MDicomDS::FindMultiFrameFunctionalGroupElement(uint32_t nMacroTag, uint32_t nTag,
                                                              uint32_t nFrame) {
    return FindFrameElement(*this, nMacroTag, nTag, nFrame);
}

_DICOMELEMENT *MDicomDS::FindMultiFrameFunctionGroupVOILUT(uint32_t nFrame) {
    return FindMacro(*this, kVoiMacro, nFrame);
}

_DICOMELEMENT *MDicomDS::FindMultiFrameFunctionGroupModalityLUT(uint32_t nFrame) {
    return FindMacro(*this, kModalityMacro, nFrame);
}

void MDicomDS::GetMultiFrameFunctionGroupLutElements(uint32_t nFlags, uint32_t nFrame,
                                                     _DICOMELEMENT **ppVOI, int32_t *pVOIShared,
                                                     _DICOMELEMENT **ppModality,
                                                     int32_t *pModalityShared) {
    // A side that nobody asks for is not made.
    const bool wantsVoi = ppVOI != nullptr || pVOIShared != nullptr;
    const bool wantsModality = ppModality != nullptr || pModalityShared != nullptr;
    const LutPlace voi = wantsVoi ? PlaceOf(*this, kVoiMacro, nFlags, nFrame) : LutPlace{};
    const LutPlace modality =
        wantsModality ? PlaceOf(*this, kModalityMacro, nFlags, nFrame) : LutPlace{};
    if (ppVOI != nullptr) *ppVOI = voi.element;
    if (pVOIShared != nullptr) *pVOIShared = voi.isShared ? 1 : 0;
    if (ppModality != nullptr) *ppModality = modality.element;
    if (pModalityShared != nullptr) *pModalityShared = modality.isShared ? 1 : 0;
}

_DICOMELEMENT *MDicomDS::CreateMultiFrameFunctionalGroupElement(uint32_t nGroupTag,
                                                                uint32_t nMacroTag, uint32_t nTag,
                                                                uint32_t nFrame, int32_t bInsert) {
    return CreateGroupElement(*this, nGroupTag, nMacroTag, nTag, nFrame, bInsert != 0);
}

uint16_t MDicomDS::InsertItemPerFrameMultiFrameFunctionalGroup(uint32_t nIndex) {
    const _DICOMELEMENT *group = FindFirstElement(nullptr, kPerFrameGroups, 1);
    if (group == nullptr) return DICOM_SUCCESS;
    nIndex = std::min(nIndex, GetItemCount(group));
    const auto firstFrameHas = [&](uint32_t macroTag, uint32_t tag) {
        return FindFunctionalGroupElement(*this, kPerFrameGroups, macroTag, tag, 0) != nullptr;
    };
    // Both are looked for before the new item can be the first, and one item is for both.
    const bool voi = firstFrameHas(kVoiMacro.sequence, kWindowCenter);
    const bool modality = firstFrameHas(kModalityMacro.sequence, kRescaleIntercept);
    const auto make = [&](const LutMacro &macro, bool insert) {
        return CreateGroupElement(*this, kPerFrameGroups, macro.sequence, macro.tags[0], nIndex,
                                  insert) != nullptr;
    };
    const bool made = (!voi || make(kVoiMacro, true)) && (!modality || make(kModalityMacro, !voi));
    return made ? DICOM_SUCCESS : DICOM_ERROR_WRITE;
}

uint16_t MDicomDS::DeleteItemPerFrameMultiFrameFunctionalGroup(uint32_t nFirst, uint32_t nLast) {
    const _DICOMELEMENT *group = FindFirstElement(nullptr, kPerFrameGroups, 1);
    const uint32_t count = GetItemCount(group);
    if (nFirst >= count || nLast < nFirst) return DICOM_SUCCESS;
    _DICOMELEMENT *item = GetItem(group, nFirst);
    for (uint32_t left = std::min(nLast, count - 1) - nFirst + 1; left > 0; --left) {
        _DICOMELEMENT *next = NextItem(NextOf(item));
        DeleteElement(item);
        item = next;
    }
    return DICOM_SUCCESS;
}

int32_t MDicomDS::DeleteMultiFrameSequence(uint32_t nMacroTag, uint32_t nItem) {
    int32_t deleted = 0;
    for (const uint32_t groupTag : {kSharedGroups, kPerFrameGroups}) {
        const _DICOMELEMENT *group = FindFirstElement(nullptr, groupTag, 1);
        _DICOMELEMENT *macro = GetSequenceItem(*this, group, nItem, nMacroTag);
        if (macro == nullptr) continue;
        DeleteElement(macro);
        deleted = 1;
    }
    return deleted;
}
