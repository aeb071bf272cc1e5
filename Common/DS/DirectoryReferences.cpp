// File references of directory records that stand on a record of their own (PS 3.3, F.3.2.2).

#include <new>
#include <unordered_map>

#include "Common/DS/DirectoryTags.h"
#include "Common/DS/ElementIndex.h"
#include "Common/DS/ElementNode.h"
#include "Common/DSValue/ValueStore.h"
#include "Common/Utils/Memory.h"
#include "MDicomDS.h"

using namespace mdicom;

/** Gives each record that names a multi-referenced record the file reference itself. */
uint16_t MDicomDS::RefreshKeys() {
    if (m_pIndex != nullptr) m_pIndex->RecordsChanged();
    if (FindFirstElement(nullptr, kReferencedRecord, 0) == nullptr) return DICOM_SUCCESS;
    _DICOMELEMENT *records = FindFirstElement(nullptr, kDirectoryRecords, 1);
    if (records == nullptr) return DICOM_SUCCESS;
    try {
        std::unordered_map<uint32_t, _DICOMELEMENT *> byIdentity;
        for (_DICOMELEMENT *item = FirstChildOf(records); item != nullptr; item = NextOf(item)) {
            if (item->nRecordOffset > 0) byIdentity.emplace(item->nRecordOffset, item);
        }
        for (_DICOMELEMENT *item = FirstChildOf(records); item != nullptr; item = NextOf(item)) {
            _DICOMELEMENT *reference =
                FindOnLevel(item, kReferencedRecord, PlaceOnLevel(item, kReferencedRecord));
            if (reference == nullptr) continue;
            const auto target = byIdentity.find(reference->nRecordOffset);
            if (target != byIdentity.end() && !CopyFileReference(item, target->second)) {
                return DICOM_ERROR_MEMORY;
            }
            DeleteElement(reference);
        }
    } catch (const std::bad_alloc &) {
        return DICOM_ERROR_MEMORY;
    }
    return DICOM_SUCCESS;
}

/** False when a reference that is there could not be copied. */
bool MDicomDS::CopyFileReference(_DICOMELEMENT *pRecord, _DICOMELEMENT *pSource) {
    _DICOMELEMENT *source =
        FindOnLevel(pSource, kReferencedFile, PlaceOnLevel(pSource, kReferencedFile));
    if (!HasValue(source) || !ValueIsPresent(source)) return true;
    _DICOMELEMENT *target =
        FindOnLevel(pRecord, kReferencedFile, PlaceOnLevel(pRecord, kReferencedFile));
    if (target == source) return true;
    const DataBlock<uint8_t> bytes = MakeDataBlock<uint8_t>(source->nLength);
    if (!bytes || !GetBinaryValue(source, bytes.get(), 0, source->nLength)) return false;
    if (target == nullptr) target = InsertElement(pRecord, 1, kReferencedFile, 0, 0, 0);
    return target != nullptr && SetBinaryValue(target, bytes.get(), source->nLength) != 0;
}
