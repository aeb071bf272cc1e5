// Windows of a data set (PS 3.3, C.11.2.1.2): centre and width, several of them or by frame.

#include <algorithm>
#include <array>
#include <cmath>

#include "Common/DSValue/KeptElements.h"
#include "Common/LUT/FunctionalGroups.h"
#include "Common/LUT/LevelValues.h"
#include "MDicomDS.h"

using namespace mdicom;

namespace {

constexpr uint32_t kMostWindows = 30;

} // namespace

uint16_t MDicomDS::GetWindowCount(uint32_t nFrame, uint32_t *pCount) {
    if (pCount == nullptr) return DICOM_ERROR_PARAMETER;
    *pCount = 0;
    _DICOMELEMENT *centers = FindFirstElement(nullptr, kWindowCenter, 1);
    if (centers == nullptr) {
        centers = FindFrameElement(*this, kVoiMacro.sequence, kWindowCenter, nFrame);
    }
    if (centers != nullptr) {
        *pCount = FindGetValue(centers, kWindowCenter, nullptr, 0, 0xFFFFFFFE, VALUE_ARRAY_DOUBLE);
    }
    return DICOM_SUCCESS;
}

uint16_t MDicomDS::GetWindow(uint32_t nFrame, uint32_t nIndex, tagDICOMWINDOWATTRIBS *pAttributes,
                             uint32_t nSize, uint32_t) {
    if (pAttributes == nullptr) return DICOM_ERROR_PARAMETER;
    if (nSize != sizeof *pAttributes) return DICOM_ERROR_STRUCT_SIZE;
    *pAttributes = {};
    pAttributes->nStructSize = sizeof *pAttributes;
    uint32_t count = 0;
    GetWindowCount(nFrame, &count);
    if (nIndex >= count) return DICOM_ERROR_PARAMETER;
    if (SearchWindowCenterWidth(nullptr, nIndex, pAttributes)) return DICOM_SUCCESS;
    for (const uint32_t group : {kPerFrameGroups, kSharedGroups}) {
        const uint32_t index = group == kPerFrameGroups ? nFrame : 0;
        _DICOMELEMENT *found =
            FindFunctionalGroupElement(*this, group, kVoiMacro.sequence, kWindowCenter, index);
        if (found != nullptr && SearchWindowCenterWidth(found, nIndex, pAttributes)) {
            return DICOM_SUCCESS;
        }
    }
    return DICOM_ERROR_NO_VOI_LUT;
}

int32_t MDicomDS::SearchWindowCenterWidth(_DICOMELEMENT *pStart, uint32_t nIndex,
                                          tagDICOMWINDOWATTRIBS *pAttributes) {
    const auto center = ReadNumber(*this, pStart, kWindowCenter, nIndex);
    const auto width = ReadNumber(*this, pStart, kWindowWidth, nIndex);
    if (!center || !width) return 0;
    pAttributes->fCenter = *center;
    pAttributes->fWidth = *width;
    ReadText(*this, pStart, kWindowExplanation, nIndex,
             pAttributes->szWindowCenterWidthExplanation);
    return 1;
}

uint16_t MDicomDS::SetWindow(uint32_t nFrame, uint32_t nIndex,
                             const tagDICOMWINDOWATTRIBS *pAttributes, uint32_t nFlags) {
    if (pAttributes == nullptr) return DICOM_ERROR_NULL_POINTER;
    if (pAttributes->nStructSize != sizeof *pAttributes) return DICOM_ERROR_STRUCT_SIZE_SET;
    if (HaveTwoPlaces(nFlags)) return DICOM_ERROR_PARAMETER;
    if (!std::isfinite(pAttributes->fCenter) || !std::isfinite(pAttributes->fWidth)) {
        return DICOM_ERROR_PARAMETER;
    }
    const auto keep = [&](KeptElements &old) {
        KeepPlace(old, *this, kVoiMacro, nFrame);
        old.Keep(nullptr, kWindowExplanation);
    };
    return ChangeWhole(*this, m_pIndex, keep, [&]() -> uint16_t {
        const LutPlace place = PlaceOf(*this, kVoiMacro, nFlags, nFrame);
        if (place.status != DICOM_SUCCESS) return place.status;
        const bool mayChange = (nFlags & DICOM_SETIMAGE_UPDATE_SHARED) != 0;
        if (place.isShared && !mayChange) return DICOM_SUCCESS;
        uint16_t status =
            UpdateWindowElement(place.element, nIndex, pAttributes->fCenter, kWindowCenter);
        if (status != DICOM_SUCCESS) return status;
        status = UpdateWindowElement(place.element, nIndex, pAttributes->fWidth, kWindowWidth);
        if (status != DICOM_SUCCESS) return status;
        const bool explained = WriteText(*this, place.element, kWindowExplanation,
                                         pAttributes->szWindowCenterWidthExplanation);
        return explained ? DICOM_SUCCESS : DICOM_ERROR_WRITE;
    });
}

uint16_t MDicomDS::UpdateWindowElement(_DICOMELEMENT *pStart, uint32_t nIndex, double fValue,
                                       uint32_t nTag) {
    _DICOMELEMENT *element = FindOrInsert(*this, pStart, nTag, 0);
    if (element == nullptr) return DICOM_ERROR_WRITE;
    uint32_t count = FindGetValue(element, nTag, nullptr, 0, 0xFFFFFFFE, VALUE_ARRAY_DOUBLE);
    if (count >= kMostWindows) return DICOM_ERROR_FILE;
    std::array<double, kMostWindows> values{};
    if (count > 0 &&
        FindGetValue(element, nTag, values.data(), 0, count, VALUE_ARRAY_DOUBLE) != count) {
        return DICOM_ERROR_READ;
    }
    nIndex = std::min(nIndex, count);
    values[nIndex] = fValue;
    if (nIndex == count) ++count;
    return WriteNumbers(*this, element, nTag, values.data(), count) ? DICOM_SUCCESS
                                                                    : DICOM_ERROR_WRITE;
}

uint16_t MDicomDS::DeleteWindow(uint32_t nFrame, uint32_t nFlags) {
    for (const uint32_t tag : {kWindowCenter, kWindowWidth, kWindowExplanation}) {
        if (!DeleteAttribute(*this, kVoiMacro, tag, nFlags, nFrame)) break;
    }
    return DICOM_SUCCESS;
}
