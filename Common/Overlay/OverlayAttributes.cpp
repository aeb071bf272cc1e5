// Attributes of overlays (PS 3.3, C.9.2): counting, reading, setting, deleting.

#include <algorithm>
#include <array>
#include <cwchar>
#include <iterator>
#include <optional>

#include "Common/DSImage/ImageTags.h"
#include "Common/DSValue/ValueAccess.h"
#include "Common/Overlay/Overlay.h"
#include "Common/Overlay/OverlayGroups.h"
#include "MDicomDS.h"

using namespace mdicom;

namespace {

/** All that an overlay group can hold, retired attributes included. */
constexpr uint32_t kOverlayTags[] = {
    0x60000010, 0x60000011, 0x60000012, 0x60000015, 0x60000022, 0x60000040, 0x60000045,
    0x60000050, 0x60000051, 0x60000052, 0x60000100, 0x60001001, 0x60000102, 0x60001100,
    0x60001101, 0x60001102, 0x60001103, 0x60001200, 0x60001201, 0x60001202, 0x60001203,
    0x60001301, 0x60001302, 0x60001303, 0x60001500, 0x60003000};

/** What an overlay that is new gets, in any case. */
constexpr uint32_t kBasicTags[] = {
    kOverlayRows,          kOverlayColumns,     kOverlayType,        kOverlayOrigin,
    kOverlayBitsAllocated, kOverlayBitPosition, kOverlayDescription, kOverlaySubtype,
    kOverlayLabel,         kOverlayRoiArea,     kOverlayRoiMean,     kOverlayRoiDeviation};

/** The elements of one group on the top level. Those of an item belong to another image. */
class GroupElements {
  public:
    GroupElements(MDicomDS &dataSet, uint32_t mask) : m_DataSet(dataSet), m_Mask(mask) {}

    _DICOMELEMENT *Find(uint32_t tag) const {
        return m_DataSet.FindFirstElement(nullptr, tag | m_Mask, 1);
    }
    template <typename T>
    uint32_t Read(uint32_t tag, T *numbers, uint32_t count, uint32_t arrayType) const {
        _DICOMELEMENT *element = Find(tag);
        if (element == nullptr) return 0;
        return m_DataSet.FindGetValue(element, tag | m_Mask, numbers, 0, count, arrayType);
    }
    bool ReadShort(uint32_t tag, uint16_t *number) const {
        return Read(tag, number, 1, VALUE_ARRAY_WORD) > 0;
    }
    template <size_t size>
    bool ReadText(uint32_t tag, wchar_t (&text)[size]) const;

    _DICOMELEMENT *Make(uint32_t tag) const {
        _DICOMELEMENT *found = Find(tag);
        if (found != nullptr) return found;
        return m_DataSet.InsertElement(nullptr, 0, tag | m_Mask, 0, 0, 0);
    }
    template <typename T>
    bool Write(uint32_t tag, const T *numbers, uint32_t count, uint32_t arrayType) const {
        return Make(tag) != nullptr &&
               m_DataSet.FindSetValue(nullptr, tag | m_Mask, numbers, count, arrayType) != nullptr;
    }
    bool WriteShort(uint32_t tag, uint16_t number) const {
        return Write(tag, &number, 1, VALUE_ARRAY_WORD);
    }
    /** Empty text writes nothing. */
    template <size_t size>
    bool WriteText(uint32_t tag, const wchar_t (&text)[size]) const;

  private:
    MDicomDS &m_DataSet;
    uint32_t m_Mask;
};

template <size_t size>
bool GroupElements::ReadText(uint32_t tag, wchar_t (&text)[size]) const {
    _DICOMELEMENT *element = Find(tag);
    if (element == nullptr || element->nLength == 0) return false;
    if (const wchar_t *value = m_DataSet.GetStringValue(element, 0, 1)) {
        std::copy_n(value, wcsnlen(value, size - 1), text);
        return true;
    }
    // Of another VR than text, unknown for example.
    char bytes[size] = {};
    if (Read(tag, bytes, size - 1, VALUE_ARRAY_BYTE) == 0) return false;
    std::transform(bytes, bytes + size, text,
                   [](char c) { return static_cast<wchar_t>(static_cast<uint8_t>(c)); });
    return true;
}

template <size_t size>
bool GroupElements::WriteText(uint32_t tag, const wchar_t (&text)[size]) const {
    wchar_t value[size] = {};
    std::copy_n(text, wcsnlen(text, size - 1), value);
    if (value[0] == L'\0') return true;
    _DICOMELEMENT *element = Make(tag);
    return element != nullptr && m_DataSet.SetStringValue(element, value, 1, 0) != 0;
}

bool ReadRequired(const GroupElements &group, _OVERLAYATTRIBUTES &attributes) {
    return group.ReadShort(kOverlayRows, &attributes.nRows) &&
           group.ReadShort(kOverlayColumns, &attributes.nColumns) &&
           group.ReadText(kOverlayType, attributes.szType) &&
           group.ReadShort(kOverlayBitsAllocated, &attributes.nBitsAllocated) &&
           group.ReadShort(kOverlayBitPosition, &attributes.nBitPosition);
}

/** Row and column count from 1; they may lie outside of the image, so they are signed. */
void ReadOrigin(const GroupElements &group, _OVERLAYATTRIBUTES &attributes) {
    uint32_t origin[2] = {1, 1};
    group.Read(kOverlayOrigin, origin, 2, VALUE_ARRAY_DWORD);
    attributes.nOriginY = static_cast<int16_t>(origin[0]) - 1;
    attributes.nOriginX = static_cast<int16_t>(origin[1]) - 1;
}

void ReadOptional(const GroupElements &group, _OVERLAYATTRIBUTES &attributes) {
    ReadOrigin(group, attributes);
    group.ReadText(kOverlayDescription, attributes.szDescription);
    group.ReadText(kOverlaySubtype, attributes.szSubtype);
    group.ReadText(kOverlayLabel, attributes.szLabel);
    group.ReadText(kOverlayActivationLayer, attributes.szActivationLayer);
    group.Read(kOverlayRoiArea, &attributes.nROIArea, 1, VALUE_ARRAY_DWORD);
    group.Read(kOverlayRoiMean, &attributes.fROIMean, 1, VALUE_ARRAY_DOUBLE);
    group.Read(kOverlayRoiDeviation, &attributes.fROIStandardDeviation, 1, VALUE_ARRAY_DOUBLE);
    uint32_t frames = 1;
    group.Read(kOverlayFrames, &frames, 1, VALUE_ARRAY_DWORD);
    const bool isCount = frames > 0 && frames <= 0x7FFFFFFF;
    attributes.nFramesInOverlay = isCount ? frames : 1;
    group.ReadShort(kOverlayFrameOrigin, &attributes.nImageFrameOrigin);
}

bool FitsOrigin(int32_t origin) {
    return origin >= -0x8001 && origin < 0x7FFF;
}

bool WriteGeometry(const GroupElements &group, const _OVERLAYATTRIBUTES &attributes) {
    const uint16_t origin[] = {static_cast<uint16_t>(attributes.nOriginY + 1),
                               static_cast<uint16_t>(attributes.nOriginX + 1)};
    // Required to have a value.
    const bool isTyped = attributes.szType[0] != L'\0';
    return group.WriteShort(kOverlayRows, attributes.nRows) &&
           group.WriteShort(kOverlayColumns, attributes.nColumns) &&
           (isTyped ? group.WriteText(kOverlayType, attributes.szType)
                    : group.WriteText(kOverlayType, L"G")) &&
           group.Write(kOverlayOrigin, origin, 2, VALUE_ARRAY_WORD);
}

bool WriteDescription(const GroupElements &group, const _OVERLAYATTRIBUTES &attributes) {
    return group.WriteText(kOverlayDescription, attributes.szDescription) &&
           group.WriteText(kOverlaySubtype, attributes.szSubtype) &&
           group.WriteText(kOverlayLabel, attributes.szLabel) &&
           group.WriteText(kOverlayActivationLayer, attributes.szActivationLayer) &&
           group.Write(kOverlayRoiArea, &attributes.nROIArea, 1, VALUE_ARRAY_DWORD) &&
           group.Write(kOverlayRoiMean, &attributes.fROIMean, 1, VALUE_ARRAY_DOUBLE) &&
           group.Write(kOverlayRoiDeviation, &attributes.fROIStandardDeviation, 1,
                       VALUE_ARRAY_DOUBLE);
}

/** One frame on the first of the image is the default, unless something else stood there. */
bool WriteFrames(const GroupElements &group, const _OVERLAYATTRIBUTES &attributes) {
    const uint32_t frames = std::max(1u, attributes.nFramesInOverlay);
    const bool isDefault = frames == 1 && attributes.nImageFrameOrigin <= 1;
    if (isDefault && group.Find(kOverlayFrames) == nullptr) return true;
    return group.Write(kOverlayFrames, &frames, 1, VALUE_ARRAY_DWORD) &&
           group.WriteShort(kOverlayFrameOrigin, attributes.nImageFrameOrigin);
}

bool WriteAttributes(const GroupElements &group, const _OVERLAYATTRIBUTES &attributes,
                     uint16_t bitsAllocated) {
    const bool inPlane = (attributes.nOverlayFlags & OVERLAY_IN_BIT_PLANE) != 0;
    const bool made = std::ranges::all_of(
        kBasicTags, [&group](uint32_t tag) { return group.Make(tag) != nullptr; });
    return made && WriteGeometry(group, attributes) &&
           group.WriteShort(kOverlayBitsAllocated, bitsAllocated) &&
           group.WriteShort(kOverlayBitPosition, inPlane ? attributes.nBitPosition : uint16_t{0}) &&
           WriteDescription(group, attributes) && WriteFrames(group, attributes);
}

} // namespace

namespace mdicom {

uint16_t ReadOverlayAttributes(MDicomDS &dataSet, uint32_t mask, _OVERLAYATTRIBUTES &attributes) {
    const GroupElements group(dataSet, mask);
    attributes = {};
    attributes.nStructSize = sizeof attributes;
    if (!ReadRequired(group, attributes)) return DICOM_ERROR_OVERLAY_ATTRIBUTE;
    ReadOptional(group, attributes);
    if (group.Find(kOverlayData) == nullptr) attributes.nOverlayFlags = OVERLAY_IN_BIT_PLANE;
    return DICOM_SUCCESS;
}

void KeepOverlays(KeptElements &old) {
    for (uint32_t i = 0; i < kOverlayGroupCount; ++i) {
        for (const uint32_t tag : kOverlayTags) old.Keep(nullptr, tag | OverlayMaskOf(i));
    }
}

void DeleteOverlayGroup(MDicomDS &dataSet, uint32_t mask) {
    for (const uint32_t tag : kOverlayTags) {
        _DICOMELEMENT *element = dataSet.FindFirstElement(nullptr, tag | mask, 1);
        if (element != nullptr) dataSet.DeleteElement(element);
    }
}

} // namespace mdicom

uint16_t MDicomDS::GetOverlayCount(uint32_t *pCount) {
    if (pCount == nullptr) return DICOM_ERROR_PARAMETER;
    *pCount = OverlayGroups(*this).Count();
    return DICOM_SUCCESS;
}

/** What the tags of the overlay's group have more than those of group 6000; 0xFFFFFFFF for none. */
uint32_t MDicomDS::GetOverlayGroupMaskByIndex(uint32_t nIndex, int32_t *pActivationOnly) {
    if (pActivationOnly == nullptr) return 0xFFFFFFFF;
    const OverlayGroups groups(*this);
    const std::optional<uint32_t> position = groups.Find(nIndex);
    if (!position) return 0xFFFFFFFF;
    *pActivationOnly = groups.IsLayerOnly(*position) ? 1 : 0;
    return OverlayMaskOf(*position);
}

uint32_t MDicomDS::GetOverlayGroupMaskByIndexActLayer(uint32_t nIndex) {
    const std::optional<uint32_t> position = OverlayGroups(*this).FindLayer(nIndex);
    return position ? OverlayMaskOf(*position) : 0xFFFFFFFF;
}

uint16_t MDicomDS::GetOverlayActivationLayer(uint32_t nIndex, wchar_t *pText, uint32_t nLength) {
    if (pText == nullptr || nLength == 0 || nIndex >= OverlayGroups(*this).Count()) {
        return DICOM_ERROR_PARAMETER;
    }
    const uint32_t mask = GetOverlayGroupMaskByIndexActLayer(nIndex);
    if (mask == 0xFFFFFFFF) return DICOM_ERROR_OVERLAY_LAYER;
    std::fill_n(pText, nLength, L'\0');
    wchar_t layer[std::size(_OVERLAYATTRIBUTES{}.szActivationLayer)] = {};
    if (!GroupElements(*this, mask).ReadText(kOverlayActivationLayer, layer)) {
        return DICOM_ERROR_OVERLAY_LAYER;
    }
    std::copy_n(layer, std::min<size_t>(nLength - 1, std::size(layer) - 1), pText);
    return DICOM_SUCCESS;
}

uint16_t MDicomDS::GetOverlayAttributes(uint32_t nIndex, _OVERLAYATTRIBUTES *pAttributes,
                                        uint32_t nSize, uint32_t *pGroup, int32_t *pIsOverlay,
                                        uint32_t /*nFlags*/) {
    if (pAttributes == nullptr || pIsOverlay == nullptr) return DICOM_ERROR_PARAMETER;
    if (nIndex >= OverlayGroups(*this).Count()) return DICOM_ERROR_PARAMETER;
    if (nSize != sizeof(_OVERLAYATTRIBUTES)) return DICOM_ERROR_STRUCT_SIZE;
    *pAttributes = {};
    pAttributes->nStructSize = nSize;
    *pIsOverlay = 0;
    int32_t layerOnly = 0;
    const uint32_t mask = GetOverlayGroupMaskByIndex(nIndex, &layerOnly);
    if (mask == 0xFFFFFFFF) return DICOM_ERROR_OVERLAY_ATTRIBUTE;
    if (pGroup != nullptr) *pGroup = mask >> 16;
    if (layerOnly) {
        const GroupElements group(*this, mask);
        group.ReadText(kOverlayActivationLayer, pAttributes->szActivationLayer);
        return DICOM_SUCCESS;
    }
    *pIsOverlay = 1;
    return ReadOverlayAttributes(*this, mask, *pAttributes);
}

uint16_t MDicomDS::SetOverlayAttributes(uint32_t nIndex, const _OVERLAYATTRIBUTES *pAttributes,
                                        uint32_t nFlags) {
    if (pAttributes == nullptr || nIndex >= kOverlayGroupCount) return DICOM_ERROR_PARAMETER;
    if (pAttributes->nStructSize != sizeof(_OVERLAYATTRIBUTES)) return DICOM_ERROR_STRUCT_SIZE;
    if (!FitsOrigin(pAttributes->nOriginX) || !FitsOrigin(pAttributes->nOriginY)) {
        return DICOM_ERROR_PARAMETER;
    }
    const std::optional<uint32_t> position = OverlayGroups(*this).FindForAttributes(nIndex);
    if (!position) return DICOM_ERROR_PARAMETER;
    const uint32_t mask = OverlayMaskOf(*position);
    _OVERLAYATTRIBUTES present;
    if (nFlags == 1 && ReadOverlayAttributes(*this, mask, present) == DICOM_SUCCESS &&
        present.nRows > 0 && present.nColumns > 0) {
        return DICOM_SUCCESS;
    }
    std::array<uint32_t, std::size(kOverlayTags)> tags;
    std::ranges::transform(kOverlayTags, tags.begin(), [mask](uint32_t tag) { return tag | mask; });
    return ChangeWhole(*this, m_pIndex, nullptr, tags, [&]() -> uint16_t {
        const GroupElements group(*this, mask);
        const bool inPlane = (pAttributes->nOverlayFlags & OVERLAY_IN_BIT_PLANE) != 0;
        uint16_t allocated = inPlane ? 0 : 1;
        if (inPlane) FindGetValue(nullptr, kBitsAllocated, &allocated, 0, 1, VALUE_ARRAY_WORD);
        const bool written = WriteAttributes(group, *pAttributes, allocated);
        return written ? DICOM_SUCCESS : DICOM_ERROR_WRITE;
    });
}

uint16_t MDicomDS::DeleteOverlay(uint32_t nIndex, uint32_t /*nFlags*/) {
    const std::optional<uint32_t> position = OverlayGroups(*this).Find(nIndex);
    if (position) DeleteOverlayGroup(*this, OverlayMaskOf(*position));
    return DICOM_SUCCESS;
}

/** Also those whose rows and columns do not pair up. */
uint16_t MDicomDS::DeleteAllOverlays(uint32_t /*nFlags*/) {
    for (uint32_t i = 0; i < kOverlayGroupCount; ++i) DeleteOverlayGroup(*this, OverlayMaskOf(i));
    return DICOM_SUCCESS;
}
