// VOI LUTs of a data set (PS 3.3, C.11.2): the items of their sequence.

#include "Common/DS/ElementNode.h"
#include "Common/DSImage/FrameFragments.h"
#include "Common/DSImage/ImageTags.h"
#include "Common/DSValue/KeptElements.h"
#include "Common/LUT/FunctionalGroups.h"
#include "Common/LUT/LevelValues.h"
#include "Common/LUT/LutTable.h"
#include "Common/System/ImageProcessing.h"
#include "Common/Utils/Memory.h"
#include "Common/Utils/Vr.h"
#include "MDicomDS.h"

using namespace mdicom;

uint16_t MDicomDS::GetVOILUTCount(uint32_t *pCount) {
    if (pCount == nullptr) return DICOM_ERROR_PARAMETER;
    *pCount = 0;
    const _DICOMELEMENT *sequence = FindFirstElement(nullptr, kVoiLutSequence, 1);
    const _DICOMELEMENT *first = sequence != nullptr ? FirstChildOf(sequence) : nullptr;
    if (first != nullptr && first->nTag == TAG_ITEM) *pCount = GetItemCount(sequence);
    return DICOM_SUCCESS;
}

uint16_t MDicomDS::GetVOILUT(uint32_t nIndex, tagDICOMVOILUTATTRIBS *pAttributes, uint32_t nSize,
                             uint32_t) {
    if (pAttributes == nullptr) return DICOM_ERROR_PARAMETER;
    if (nSize != sizeof *pAttributes) return DICOM_ERROR_STRUCT_SIZE;
    *pAttributes = {};
    pAttributes->nStructSize = sizeof *pAttributes;
    uint32_t count = 0;
    GetVOILUTCount(&count);
    if (nIndex >= count) return DICOM_ERROR_PARAMETER;
    _DICOMELEMENT *item = GetItem(FindFirstElement(nullptr, kVoiLutSequence, 1), nIndex);
    if (item == nullptr) return DICOM_ERROR_NO_VOI_LUT;
    const uint16_t status =
        GetLUTDescriptor(item, kLutDescriptor, &pAttributes->LUTDescriptor, LUT_DESCRIPTOR_VOI);
    if (status != DICOM_SUCCESS) return status;
    ReadText(*this, FirstChildOf(item), kLutExplanation, 0, pAttributes->szLUTExplanation);
    return DICOM_SUCCESS;
}

uint16_t MDicomDS::GetVOILUTData(uint32_t nIndex, uint16_t *pData, uint32_t nEntries, uint32_t) {
    tagDICOMVOILUTATTRIBS attributes;
    const uint16_t status = GetVOILUT(nIndex, &attributes, sizeof attributes, 0);
    if (status != DICOM_SUCCESS) return status;
    const _DICOMLUTDESCRIPTOR &descriptor = attributes.LUTDescriptor;
    if (pData == nullptr || nEntries < descriptor.nNumberOfEntries) return DICOM_ERROR_PARAMETER;
    const _DICOMELEMENT *sequence = FindFirstElement(nullptr, kVoiLutSequence, 1);
    _DICOMELEMENT *table = GetSequenceItem(*this, sequence, nIndex, kLutData);
    if (table == nullptr) return DICOM_ERROR_FILE;
    return ReadTable(*this, table, descriptor, {pData, nEntries});
}

uint16_t MDicomDS::SetVOILUT(uint32_t nIndex, const tagDICOMVOILUTATTRIBS *pAttributes,
                             uint16_t *pData, uint32_t nEntries, uint32_t) {
    if (pAttributes == nullptr || pData == nullptr || nEntries == 0) return DICOM_ERROR_PARAMETER;
    if (pAttributes->nStructSize != sizeof *pAttributes) return DICOM_ERROR_STRUCT_SIZE_SET;
    constexpr uint32_t kTags[] = {kVoiLutSequence};
    return ChangeWhole(*this, m_pIndex, nullptr, kTags, [&]() -> uint16_t {
        _DICOMELEMENT *sequence = FindFirstElement(nullptr, kVoiLutSequence, 1);
        if (sequence != nullptr && sequence->nLength != kUndefinedLength) { // a value
            DeleteElement(sequence);
            sequence = nullptr;
        }
        if (sequence == nullptr)
            sequence = InsertElement(nullptr, 0, kVoiLutSequence, vr::SQ, 1, 0);
        if (sequence == nullptr) return DICOM_ERROR_WRITE;
        _DICOMELEMENT *old = GetItem(sequence, nIndex);
        const uint32_t place = old != nullptr ? PlaceOfItem(old) : 0xFFFFFFFF;
        _DICOMELEMENT *item = InsertElement(sequence, 1, TAG_ITEM, vr::OB, 1, place);
        DeleteElement(old);
        if (item == nullptr) return DICOM_ERROR_WRITE;
        return FillVOILUT(item, *pAttributes, pData, nEntries);
    });
}

uint16_t MDicomDS::FillVOILUT(_DICOMELEMENT *pItem, const tagDICOMVOILUTATTRIBS &Attributes,
                              uint16_t *pData, uint32_t nEntries) {
    const uint32_t bits = Attributes.LUTDescriptor.nEntryBits;
    _DICOMELEMENT *level = InsertElement(pItem, 1, kLutDescriptor, 0, 0, 0);
    if (level == nullptr) return DICOM_ERROR_WRITE;
    const uint16_t status = SetLUTDescriptor(level, &Attributes.LUTDescriptor, kLutDescriptor);
    if (status != DICOM_SUCCESS) return status;
    if (!WriteText(*this, level, kLutExplanation, Attributes.szLUTExplanation)) {
        return DICOM_ERROR_WRITE;
    }
    _DICOMELEMENT *table = InsertElement(level, 0, kLutData, TableVr(nEntries, bits), 0, 0);
    return SetLUTTable(table, pData, nEntries, bits);
}

uint16_t MDicomDS::DeleteVOILUT(uint32_t) {
    DeleteTopLevel(*this, kVoiLutSequence);
    return DICOM_SUCCESS;
}

namespace {

/** What a bitmap's LUT says for the pixel values from Attributes' first on. */
struct BitmapTable {
    tagDICOMVOILUTATTRIBS Attributes{};
    DataBlock<uint16_t> Entries;
    uint32_t Count = 0; ///< 0 for a LUT that says nothing
    Status Result = DICOM_SUCCESS;
};

/** Places of a LUT that its bitmap's samples can reach. Those of signed samples have to be
 *  complete, as the negative ones stand behind the others. */
uint32_t UsablePlaces(const _BITMAPHANDLE &bitmap, uint32_t length) {
    const bool bytes = bitmap.nBitsPerPixel == 8; // all bits of a byte count
    const int64_t bits = bytes ? 8 : int64_t{bitmap.nHighBit} - bitmap.nLowBit + 1;
    if (bits < 1 || bits > 16) return 0;
    const uint32_t patterns = 1u << bits;
    if (length >= patterns) return patterns;
    return (bitmap.nBitmapFlags & KERNEL_BITMAP_SIGNED) != 0 ? 0 : length;
}

template <typename Entry>
BitmapTable ReadBitmapTable(const _BITMAPHANDLE &bitmap, const Entry *lut, uint32_t length) {
    BitmapTable table;
    const uint32_t places = UsablePlaces(bitmap, length);
    const bool isSigned = (bitmap.nBitmapFlags & KERNEL_BITMAP_SIGNED) != 0;
    const uint32_t flags = isSigned ? MVIMGCORX_COUNT_SIGNED : MVIMGCORX_COUNT_UNSIGNED;
    int32_t first = 0;
    uint32_t number = 0;
    if (image_processing::CountLutColors(lut, places, &first, &number, flags) != KERNEL_SUCCESS ||
        number > places) {
        return table;
    }
    table.Entries = MakeDataBlock<uint16_t>(number);
    if (!table.Entries) {
        table.Result = DICOM_ERROR_MEMORY;
        return table;
    }
    for (uint32_t i = 0; i < number; ++i) {
        table.Entries[i] = lut[(static_cast<uint32_t>(first) + i) % places].rgbRed;
    }
    table.Count = number;
    table.Attributes.nStructSize = sizeof table.Attributes;
    table.Attributes.LUTDescriptor = {sizeof(_DICOMLUTDESCRIPTOR), number, first,
                                      static_cast<uint32_t>(8 * sizeof lut->rgbRed)};
    return table;
}

} // namespace

uint16_t MDicomDS::SetNonLinearVOILUT(uint32_t nFrame, _DICOMELEMENT *, _BITMAPHANDLE *pBitmap) {
    if (pBitmap == nullptr) return DICOM_ERROR_NULL_POINTER;
    if (!image_processing::Has("M_CountLUTColors")) return DICOM_ERROR_IMAGE_LIBRARY;
    BitmapTable table;
    if (const _RGBQUAD16 *wide = KernelGetBitmapLUT16(pBitmap, 0)) {
        table = ReadBitmapTable(*pBitmap, wide, pBitmap->nLUT16Length);
    } else if (pBitmap->pLUT != nullptr) {
        const auto *narrow = static_cast<const _RGBQUAD *>(pBitmap->pLUT);
        table = ReadBitmapTable(*pBitmap, narrow, pBitmap->nLUTLength);
    }
    if (table.Result != DICOM_SUCCESS || table.Count == 0) return table.Result;
    DeleteVOILUT(0);
    DeleteWindow(nFrame, 0);
    return SetVOILUT(0, &table.Attributes, table.Entries.get(), table.Count, 0);
}
