// Palettes of a data set (PS 3.3, C.7.6.3.1.5, C.7.6.3.1.6, C.7.9): three tables of colours.

#include <algorithm>

#include "Common/DSImage/ImageInfoPalette.h"
#include "Common/DSImage/ImageTags.h"
#include "Common/DSValue/KeptElements.h"
#include "Common/DSValue/ValueStore.h"
#include "Common/LUT/LevelValues.h"
#include "Common/LUT/LutTable.h"
#include "Common/Utils/Memory.h"
#include "Common/Utils/Vr.h"
#include "MDicomDS.h"

using namespace mdicom;

namespace {

/** The attributes of one colour, by PALETTE_LUT_ value. */
struct Colour {
    uint32_t descriptorTag;
    uint32_t tableTag;
    uint32_t segmentsTag;
    _DICOMLUTDESCRIPTOR tagDICOMPALCOLORLUTATTRIBS::*descriptor;
};

constexpr Colour kColours[] = {
    {kPaletteDescriptors[0], kPaletteTables[0], kPaletteSegments[0],
     &tagDICOMPALCOLORLUTATTRIBS::RedDescriptor},
    {kPaletteDescriptors[1], kPaletteTables[1], kPaletteSegments[1],
     &tagDICOMPALCOLORLUTATTRIBS::GreenDescriptor},
    {kPaletteDescriptors[2], kPaletteTables[2], kPaletteSegments[2],
     &tagDICOMPALCOLORLUTATTRIBS::BlueDescriptor},
};

Status VerifyPaletteColorLUT(const tagDICOMPALCOLORLUTATTRIBS &attributes) {
    for (const Colour &colour : kColours) {
        if (!HasCommonBits(attributes.*colour.descriptor)) return DICOM_ERROR_PARAMETER;
    }
    return DICOM_SUCCESS;
}

Status ReadSegments(MDicomDS &dataSet, _DICOMELEMENT *element, std::span<uint16_t> table) {
    // What is longer than the longest sensible list of segments is none.
    constexpr uint32_t kMostWords = 4 * kMostEntries;
    const uint32_t count = element->nLength / 2;
    std::ranges::fill(table, uint16_t{0});
    if (count == 0 || !ValueIsPresent(element)) return DICOM_ERROR_READ;
    if (count > kMostWords) return DICOM_ERROR_FILE;
    const auto words = MakeDataBlock<uint16_t>(count);
    if (!words) return DICOM_ERROR_MEMORY;
    if (!dataSet.GetBinaryValue(element, words.get(), 0, count * 2)) return DICOM_ERROR_READ;
    return ExpandSegments({words.get(), count}, table) ? DICOM_SUCCESS : DICOM_ERROR_FILE;
}

void DeleteInTree(MDicomDS &dataSet, uint32_t tag) {
    _DICOMELEMENT *element = dataSet.FindFirstElement(nullptr, tag, 0);
    if (element != nullptr) dataSet.DeleteElement(element);
}

} // namespace

uint16_t MDicomDS::GetPaletteColorLUTAttributes(tagDICOMPALCOLORLUTATTRIBS *pAttributes,
                                                uint32_t nSize, uint32_t) {
    if (pAttributes == nullptr) return DICOM_ERROR_NULL_POINTER;
    if (nSize != sizeof *pAttributes) return DICOM_ERROR_STRUCT_SIZE;
    *pAttributes = {};
    pAttributes->nStructSize = sizeof *pAttributes;
    for (const Colour &colour : kColours) {
        const uint16_t status =
            GetLUTDescriptor(nullptr, colour.descriptorTag, &(pAttributes->*colour.descriptor),
                             LUT_DESCRIPTOR_PALETTE);
        if (status != DICOM_SUCCESS) return status;
        if (FindFirstElement(nullptr, colour.segmentsTag, 1)) pAttributes->bIsSegmented = 1;
    }
    ReadText(*this, nullptr, kPaletteUid, 0, pAttributes->szPaletteColorLUTUID);
    return DICOM_SUCCESS;
}

uint16_t MDicomDS::SetPaletteColorLUTAttributes(const tagDICOMPALCOLORLUTATTRIBS *pAttributes,
                                                uint32_t) {
    if (pAttributes == nullptr) return DICOM_ERROR_NULL_POINTER;
    if (pAttributes->nStructSize != sizeof *pAttributes) return DICOM_ERROR_STRUCT_SIZE_SET;
    const Status verified = VerifyPaletteColorLUT(*pAttributes);
    if (verified != DICOM_SUCCESS) return verified;
    constexpr uint32_t kTags[] = {kPaletteDescriptors[0], kPaletteDescriptors[1],
                                  kPaletteDescriptors[2], kPaletteUid};
    return ChangeWhole(*this, m_pIndex, nullptr, kTags, [&]() -> uint16_t {
        for (const Colour &colour : kColours) {
            const uint16_t status =
                SetLUTDescriptor(nullptr, &(pAttributes->*colour.descriptor), colour.descriptorTag);
            if (status != DICOM_SUCCESS) return status;
        }
        // An empty UID would be worse than none.
        if (pAttributes->szPaletteColorLUTUID[0] == L'\0') {
            DeleteTopLevel(*this, kPaletteUid);
            return DICOM_SUCCESS;
        }
        const bool stored =
            WriteText(*this, nullptr, kPaletteUid, pAttributes->szPaletteColorLUTUID);
        return stored ? DICOM_SUCCESS : DICOM_ERROR_WRITE;
    });
}

uint16_t MDicomDS::GetPaletteColorLUTData(uint16_t *pData, uint32_t nEntries, uint32_t nType,
                                          uint32_t) {
    tagDICOMPALCOLORLUTATTRIBS attributes;
    const uint16_t status = GetPaletteColorLUTAttributes(&attributes, sizeof attributes, 0);
    if (status != DICOM_SUCCESS) return status;
    if (nType > PALETTE_LUT_BLUE || pData == nullptr) return DICOM_ERROR_PARAMETER;
    const Colour &colour = kColours[nType];
    const _DICOMLUTDESCRIPTOR &descriptor = attributes.*colour.descriptor;
    _DICOMELEMENT *segments = FindFirstElement(nullptr, colour.segmentsTag, 1);
    _DICOMELEMENT *plain = FindFirstElement(nullptr, colour.tableTag, 1);
    if (segments == nullptr && plain == nullptr) return DICOM_ERROR_NO_PALETTE_DATA;
    if (nEntries < descriptor.nNumberOfEntries) return DICOM_ERROR_PARAMETER;
    const std::span table(pData, nEntries);
    if (segments == nullptr) return ReadTable(*this, plain, descriptor, table);
    if (descriptor.nEntryBits <= 8) return DICOM_ERROR_UNSUPPORTED;
    return ReadSegments(*this, segments, table.first(descriptor.nNumberOfEntries));
}

uint16_t MDicomDS::SetPaletteColorLUTData(uint16_t *pData, uint32_t nEntries, uint32_t nType,
                                          uint32_t) {
    if (pData == nullptr || nEntries == 0) return DICOM_ERROR_PARAMETER;
    tagDICOMPALCOLORLUTATTRIBS attributes;
    uint16_t status = GetPaletteColorLUTAttributes(&attributes, sizeof attributes, 0);
    if (status != DICOM_SUCCESS) return status;
    if (nType > PALETTE_LUT_BLUE) return DICOM_ERROR_PARAMETER;
    const Colour &colour = kColours[nType];
    const _DICOMLUTDESCRIPTOR &descriptor = attributes.*colour.descriptor;
    status = ChangeWhole(*this, m_pIndex, nullptr, {&colour.tableTag, 1}, [&] {
        DeleteTopLevel(*this, colour.tableTag); // its VR may be too short
        _DICOMELEMENT *table =
            FindOrInsert(*this, nullptr, colour.tableTag, TableVr(nEntries, descriptor.nEntryBits));
        return SetLUTTable(table, pData, std::min(nEntries, descriptor.nNumberOfEntries),
                           descriptor.nEntryBits);
    });
    // A segmented one would go before the new table.
    if (status == DICOM_SUCCESS) DeleteTopLevel(*this, colour.segmentsTag);
    return status;
}

uint16_t MDicomDS::DeletePaletteColorLUT(uint32_t) {
    for (const Colour &colour : kColours) {
        DeleteInTree(*this, colour.descriptorTag);
        DeleteInTree(*this, colour.tableTag);
        DeleteInTree(*this, colour.segmentsTag);
    }
    DeleteInTree(*this, kPaletteUid);
    return DICOM_SUCCESS;
}
