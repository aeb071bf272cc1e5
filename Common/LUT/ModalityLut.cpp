// Modality transformations of a data set (PS 3.3, C.11.1): a rescale or a table.

#include <cmath>

#include "Common/DS/ElementNode.h"
#include "Common/DSValue/KeptElements.h"
#include "Common/LUT/FunctionalGroups.h"
#include "Common/LUT/LevelValues.h"
#include "Common/LUT/LutTable.h"
#include "Common/Utils/Vr.h"
#include "MDicomDS.h"

using namespace mdicom;

namespace {

constexpr uint32_t kModalityLutType = 0x00283004;

void Reset(tagDICOMMLUTATTRIBS *attributes) {
    *attributes = {};
    attributes->nStructSize = sizeof *attributes;
    attributes->fRescaleSlope = 1.0;
}

Status VerifyModalityLUT(const tagDICOMMLUTATTRIBS &attributes) {
    const bool table = attributes.bIsModalityLUT != 0;
    const bool rescale = attributes.bIsRescaleSlopeIntercept != 0;
    if (table == rescale) return DICOM_ERROR_PARAMETER;
    const bool good = table ? HasCommonBits(attributes.LUTDescriptor)
                            : std::isfinite(attributes.fRescaleIntercept) &&
                                  std::isfinite(attributes.fRescaleSlope);
    return good ? DICOM_SUCCESS : DICOM_ERROR_PARAMETER;
}

} // namespace

uint16_t MDicomDS::GetModalityLUTAttributes(uint32_t nFrame, tagDICOMMLUTATTRIBS *pAttributes,
                                            uint32_t nSize, uint32_t) {
    if (pAttributes == nullptr) return DICOM_ERROR_NULL_POINTER;
    if (nSize != sizeof *pAttributes) return DICOM_ERROR_STRUCT_SIZE;
    Reset(pAttributes);
    if (SearchModalityLUT(nullptr, pAttributes)) return DICOM_SUCCESS;
    for (const uint32_t group : {kPerFrameGroups, kSharedGroups}) {
        if (nFrame == 0xFFFFFFFF) break;
        const uint32_t index = group == kPerFrameGroups ? nFrame : 0;
        _DICOMELEMENT *found = FindFunctionalGroupElement(*this, group, kModalityMacro.sequence,
                                                          kRescaleIntercept, index);
        if (found != nullptr && SearchModalityLUT(found, pAttributes)) return DICOM_SUCCESS;
    }
    const _DICOMELEMENT *sequence = FindFirstElement(nullptr, kModalityLutSequence, 1);
    if (sequence == nullptr) return DICOM_ERROR_NO_MODALITY_LUT;
    _DICOMELEMENT *item = FirstChildOf(sequence);
    if (item == nullptr || item->nTag != TAG_ITEM) return DICOM_ERROR_FILE;
    pAttributes->bIsModalityLUT = 1;
    _DICOMELEMENT *content = FirstChildOf(item);
    if (content == nullptr) return DICOM_ERROR_LUT_CONTENT;
    const uint16_t status = GetLUTDescriptor(item, kLutDescriptor, &pAttributes->LUTDescriptor,
                                             LUT_DESCRIPTOR_MODALITY);
    if (status != DICOM_SUCCESS) return status;
    ReadText(*this, content, kLutExplanation, 0, pAttributes->szLUTExplanation);
    ReadText(*this, content, kModalityLutType, 0, pAttributes->szLUTType);
    return DICOM_SUCCESS;
}

int32_t MDicomDS::SearchModalityLUT(_DICOMELEMENT *pStart, tagDICOMMLUTATTRIBS *pAttributes) {
    const auto intercept = ReadNumber(*this, pStart, kRescaleIntercept);
    if (!intercept) return 0;
    const auto slope = ReadNumber(*this, pStart, kRescaleSlope);
    pAttributes->bIsModalityLUT = 0;
    pAttributes->bIsRescaleSlopeIntercept = 1;
    // Half a rescale is none.
    pAttributes->fRescaleIntercept = slope ? *intercept : 0;
    pAttributes->fRescaleSlope = slope.value_or(1.0);
    ReadText(*this, pStart, kRescaleType, 0, pAttributes->szRescaleType);
    return 1;
}

uint16_t MDicomDS::GetModalityLUTAttributes(uint32_t nFrame, tagDICOMMLUTATTRIBS *pAttributes,
                                            uint32_t nSize, _BITMAPHANDLE *pBitmap,
                                            uint32_t nFlags) {
    const uint16_t status = GetModalityLUTAttributes(nFrame, pAttributes, nSize, nFlags);
    const bool scales = (nFlags & DICOM_GETIMAGE_AUTOSCALE_MODALITY) != 0;
    if (status == DICOM_SUCCESS && scales) AutoScaleModalityLUT(pAttributes, pBitmap, nFlags);
    return status;
}

uint16_t MDicomDS::GetModalityLUTData(uint16_t *pData, uint32_t nEntries, uint32_t) {
    tagDICOMMLUTATTRIBS attributes;
    const uint16_t status = GetModalityLUTAttributes(0xFFFFFFFF, &attributes, sizeof attributes, 0);
    if (status != DICOM_SUCCESS) return status;
    const _DICOMLUTDESCRIPTOR &descriptor = attributes.LUTDescriptor;
    if (!attributes.bIsModalityLUT || nEntries < descriptor.nNumberOfEntries || !pData) {
        return DICOM_ERROR_PARAMETER;
    }
    const _DICOMELEMENT *sequence = FindFirstElement(nullptr, kModalityLutSequence, 1);
    _DICOMELEMENT *table = GetSequenceItem(*this, sequence, 0, kLutData);
    if (table == nullptr) return DICOM_ERROR_FILE;
    return ReadTable(*this, table, descriptor, {pData, nEntries});
}

uint16_t MDicomDS::SetModalityLUT(uint32_t nFrame, const tagDICOMMLUTATTRIBS *pAttributes,
                                  uint16_t *pData, uint32_t nEntries, uint32_t nFlags) {
    if (HaveTwoPlaces(nFlags)) return DICOM_ERROR_PARAMETER;
    if (pAttributes == nullptr) return DICOM_ERROR_NULL_POINTER;
    if (pAttributes->nStructSize != sizeof *pAttributes) return DICOM_ERROR_STRUCT_SIZE_SET;
    const uint16_t status = VerifyModalityLUT(*pAttributes);
    if (status != DICOM_SUCCESS) return status;
    if (!pAttributes->bIsModalityLUT) return SetRescale(nFrame, *pAttributes, nFlags);
    if (pData == nullptr || nEntries != pAttributes->LUTDescriptor.nNumberOfEntries) {
        return DICOM_ERROR_PARAMETER;
    }
    return InsertModalityLUTSequence(pAttributes, pData, nEntries);
}

uint16_t MDicomDS::SetRescale(uint32_t nFrame, const tagDICOMMLUTATTRIBS &Attributes,
                              uint32_t nFlags) {
    const auto keep = [&](KeptElements &old) { KeepPlace(old, *this, kModalityMacro, nFrame); };
    const uint16_t status = ChangeWhole(*this, m_pIndex, keep, [&]() -> uint16_t {
        const LutPlace place = PlaceOf(*this, kModalityMacro, nFlags, nFrame);
        if (place.status != DICOM_SUCCESS) return place.status;
        if (place.isShared && (nFlags & DICOM_SETIMAGE_UPDATE_SHARED) == 0) return DICOM_SUCCESS;
        _DICOMELEMENT *level = place.element;
        const bool stored =
            WriteNumbers(*this, level, kRescaleIntercept, &Attributes.fRescaleIntercept, 1) &&
            WriteNumbers(*this, level, kRescaleSlope, &Attributes.fRescaleSlope, 1) &&
            WriteText(*this, level, kRescaleType, Attributes.szRescaleType);
        return stored ? DICOM_SUCCESS : DICOM_ERROR_WRITE;
    });
    if (status == DICOM_SUCCESS) DeleteTopLevel(*this, kModalityLutSequence);
    return status;
}

uint16_t MDicomDS::InsertModalityLUTSequence(const tagDICOMMLUTATTRIBS *pAttributes,
                                             uint16_t *pData, uint32_t nEntries) {
    constexpr uint32_t kTags[] = {kModalityLutSequence};
    const uint16_t status = ChangeWhole(*this, m_pIndex, nullptr, kTags, [&]() -> uint16_t {
        DeleteTopLevel(*this, kModalityLutSequence);
        _DICOMELEMENT *sequence = InsertElement(nullptr, 0, kModalityLutSequence, vr::SQ, 1, 0);
        if (sequence == nullptr) return DICOM_ERROR_WRITE;
        return FillModalityLUT(sequence, *pAttributes, pData, nEntries);
    });
    if (status != DICOM_SUCCESS) return status;
    for (const uint32_t tag : {kRescaleIntercept, kRescaleSlope, kRescaleType}) {
        DeleteTopLevel(*this, tag);
    }
    return DICOM_SUCCESS;
}

uint16_t MDicomDS::FillModalityLUT(_DICOMELEMENT *pSequence, const tagDICOMMLUTATTRIBS &Attributes,
                                   uint16_t *pData, uint32_t nEntries) {
    const uint32_t bits = Attributes.LUTDescriptor.nEntryBits;
    _DICOMELEMENT *item = InsertElement(pSequence, 1, TAG_ITEM, vr::OB, 1, 0);
    if (item == nullptr) return DICOM_ERROR_WRITE;
    const uint16_t status = SetModalityLUTDescriptor(item, &Attributes.LUTDescriptor);
    if (status != DICOM_SUCCESS) return status;
    _DICOMELEMENT *level = FirstChildOf(item);
    const bool explained = Attributes.szLUTExplanation[0] == L'\0' ||
                           WriteText(*this, level, kLutExplanation, Attributes.szLUTExplanation);
    const bool typed = Attributes.szLUTType[0] == L'\0' ||
                       WriteText(*this, level, kModalityLutType, Attributes.szLUTType);
    if (!explained || !typed) return DICOM_ERROR_WRITE;
    _DICOMELEMENT *table = InsertElement(level, 0, kLutData, TableVr(nEntries, bits), 0, 0);
    return SetLUTTable(table, pData, nEntries, bits);
}

uint16_t MDicomDS::SetModalityLUTDescriptor(_DICOMELEMENT *pItem,
                                            const _DICOMLUTDESCRIPTOR *pDescriptor) {
    _DICOMELEMENT *element = InsertElement(pItem, 1, kLutDescriptor, 0, 0, 0);
    if (element == nullptr) return DICOM_ERROR_WRITE;
    return SetLUTDescriptor(element, pDescriptor, kLutDescriptor);
}

uint16_t MDicomDS::DeleteModalityLUT(uint32_t nFrame, uint32_t nFlags) {
    if (HaveTwoPlaces(nFlags)) return DICOM_ERROR_PARAMETER;
    for (const uint32_t tag :
         {kRescaleIntercept, kRescaleSlope, kRescaleType, kModalityLutSequence}) {
        if (!DeleteAttribute(*this, kModalityMacro, tag, nFlags, nFrame)) break;
    }
    return DICOM_SUCCESS;
}
