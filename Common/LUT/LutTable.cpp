// Tables of LUTs and their descriptors (PS 3.3, C.11.1.1.1, C.7.6.3.1.5).

#include "Common/LUT/LutTable.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "Common/DSImage/ImageInfoPalette.h"
#include "Common/DSImage/ImageTags.h"
#include "Common/LUT/FunctionalGroups.h"
#include "Common/LUT/LevelValues.h"
#include "Common/Utils/Memory.h"
#include "Common/Utils/Vr.h"
#include "MDicomDS.h"

namespace mdicom {

Status ReadTable(MDicomDS &dataSet, _DICOMELEMENT *element, const _DICOMLUTDESCRIPTOR &descriptor,
                 std::span<uint16_t> table) {
    std::ranges::fill(table, uint16_t{0});
    const auto length =
        static_cast<uint32_t>(std::min<uint64_t>(table.size_bytes(), element->nLength));
    if (!dataSet.GetBinaryValue(element, table.data(), 0, length)) return DICOM_ERROR_READ;
    if (descriptor.nEntryBits > 8) return DICOM_SUCCESS;
    // Entries of 8 bits may have words of their own (PS 3.3, C.7.6.3.1.5): the length tells.
    const bool packed = element->nLength < uint64_t{descriptor.nNumberOfEntries} * 2;
    if (packed) SpreadBytes(table);
    for (uint16_t &entry : table) entry &= 0xFF;
    return DICOM_SUCCESS;
}

uint16_t TableVr(uint32_t entries, uint32_t entryBits) {
    constexpr uint64_t kLongestShortValue = 0xFFFE;
    const uint64_t length = uint64_t{entries} * (entryBits == 8 ? 1 : 2);
    return length > kLongestShortValue ? vr::OW : uint16_t{0};
}

bool IsDescribable(const _DICOMLUTDESCRIPTOR &descriptor) {
    return descriptor.nNumberOfEntries > 0 && descriptor.nNumberOfEntries <= kMostEntries &&
           descriptor.nEntryBits <= 16;
}

bool HasCommonBits(const _DICOMLUTDESCRIPTOR &descriptor) {
    return descriptor.nEntryBits == 8 || descriptor.nEntryBits == 16;
}

namespace {

/** Whether values behind a rescale can be negative. Their first mapped value has that sign. */
bool IsNegative(MDicomDS &dataSet, const tagDICOMMLUTATTRIBS &rescale, bool signedPixels) {
    const uint32_t bits = std::min(ReadCardinal(dataSet, kBitsStored), 32u);
    const double least =
        signedPixels && bits > 0 ? -std::ldexp(1.0, static_cast<int>(bits) - 1) : 0;
    return std::trunc(least * rescale.fRescaleSlope + rescale.fRescaleIntercept) < 0;
}

} // namespace

} // namespace mdicom

using namespace mdicom;

uint16_t MDicomDS::GetLUTDescriptor(_DICOMELEMENT *pItem, uint32_t nTag,
                                    _DICOMLUTDESCRIPTOR *pDescriptor, uint32_t nType) {
    if (pDescriptor == nullptr || nType > LUT_DESCRIPTOR_PALETTE) return DICOM_ERROR_PARAMETER;
    _DICOMELEMENT *element = pItem != nullptr ? FindChildElement(*this, pItem, nTag)
                                              : FindFirstElement(nullptr, nTag, 1);
    std::array<uint32_t, 3> words{};
    if (element == nullptr) return DICOM_ERROR_LUT_CONTENT;
    const uint32_t read = FindGetValue(element, nTag, words.data(), 0, 3, VALUE_ARRAY_DWORD);
    if (read != words.size()) return DICOM_ERROR_LUT_CONTENT;
    for (uint32_t &word : words) word &= 0xFFFF; // SS is in use, too
    const uint32_t representation = ReadCardinal(*this, kPixelRepresentation);
    if (representation > 1) return DICOM_ERROR_PIXEL_REPRESENTATION;
    bool isSigned = representation == 1;
    if (nType == LUT_DESCRIPTOR_VOI) {
        tagDICOMMLUTATTRIBS modality{};
        const uint16_t status = GetModalityLUTAttributes(0xFFFFFFFF, &modality, sizeof modality, 0);
        if (status == DICOM_SUCCESS && modality.bIsRescaleSlopeIntercept) {
            isSigned = IsNegative(*this, modality, isSigned);
        }
    }
    pDescriptor->nStructSize = sizeof *pDescriptor;
    pDescriptor->nNumberOfEntries = words[0] != 0 ? words[0] : kMostEntries;
    pDescriptor->nFirstStoredPixelValueMapped =
        isSigned ? static_cast<int16_t>(words[1]) : static_cast<int32_t>(words[1]);
    pDescriptor->nEntryBits = words[2];
    return DICOM_SUCCESS;
}

uint16_t MDicomDS::SetLUTDescriptor(_DICOMELEMENT *pStart, const _DICOMLUTDESCRIPTOR *pDescriptor,
                                    uint32_t nTag) {
    const uint32_t representation = ReadCardinal(*this, kPixelRepresentation);
    if (representation > 1) return DICOM_ERROR_PIXEL_REPRESENTATION;
    if (pDescriptor == nullptr || !IsDescribable(*pDescriptor)) return DICOM_ERROR_PARAMETER;
    const int32_t least = representation == 1 ? INT16_MIN : 0;
    const int32_t first = pDescriptor->nFirstStoredPixelValueMapped;
    if (first < least || first > least + 0xFFFF) return DICOM_ERROR_PARAMETER;
    const std::array<uint16_t, 3> words{static_cast<uint16_t>(pDescriptor->nNumberOfEntries),
                                        static_cast<uint16_t>(first),
                                        static_cast<uint16_t>(pDescriptor->nEntryBits)};
    _DICOMELEMENT *neighbor = pStart != nullptr ? pStart : GetFirstElement(nullptr, 1, 1);
    const bool stored = FindSetValue(neighbor, nTag, words.data(), 3, VALUE_ARRAY_WORD) != nullptr;
    return stored ? DICOM_SUCCESS : DICOM_ERROR_WRITE;
}

uint16_t MDicomDS::Set8BitLUT(_DICOMELEMENT *pElement, const uint16_t *pData, uint32_t nEntries) {
    if (pElement == nullptr || pData == nullptr || nEntries == 0) return DICOM_ERROR_PARAMETER;
    if (nEntries > kMostEntries) return DICOM_ERROR_PARAMETER;
    const uint32_t length = nEntries + nEntries % 2;
    const auto bytes = MakeDataBlock<uint8_t>(length);
    if (!bytes) return DICOM_ERROR_MEMORY;
    bytes[length - 1] = 0; // the pad byte of word VRs is a blank, which here would be an entry
    for (uint32_t i = 0; i < nEntries; ++i) bytes[i] = static_cast<uint8_t>(pData[i]);
    return SetBinaryValue(pElement, bytes.get(), length) ? DICOM_SUCCESS : DICOM_ERROR_WRITE;
}

uint16_t MDicomDS::SetLUTTable(_DICOMELEMENT *pElement, uint16_t *pData, uint32_t nEntries,
                               uint32_t nEntryBits) {
    if (pElement == nullptr) return DICOM_ERROR_WRITE;
    FreeValue(pElement);
    if (nEntryBits == 8) return Set8BitLUT(pElement, pData, nEntries);
    if (nEntries > kMostEntries) return DICOM_ERROR_PARAMETER;
    return SetBinaryValue(pElement, pData, nEntries * 2) ? DICOM_SUCCESS : DICOM_ERROR_WRITE;
}
