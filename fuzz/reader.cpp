// Loads any bytes, uses all that the data set says of them, and checks that what is saved loads
// as the same elements again. The first byte chooses the load flags.

#include <cstdlib>
#include <string>

#include "MDicom.h"

namespace {

void Visit(MDicomDS &ds) {
    uint8_t bytes[64];
    for (_DICOMELEMENT *element = ds.GetFirstElement(nullptr, 0, 1); element != nullptr;
         element = ds.GetNextElement(element, 0, 1)) {
        ds.GetBinaryValue(element, bytes, sizeof bytes);
        if (ds.GetCountValue(element) > 0) {
            ds.GetStringValue(element, 0, 1);
            ds.GetLongValue(element, 0, 0xFFFFFFFF);
            ds.GetDoubleValue(element, 0, 1);
            ds.GetDateValue(element, 0, 1);
            ds.GetDateTimeValue(element, 0, 1);
        }
        ds.FreeValue(element);
        if (element->nLength <= 4096) {
            std::wstring text(ds.GetConvertValue(element, nullptr, 0), L'\0');
            ds.GetConvertValue(element, text.data(), static_cast<uint32_t>(text.size()));
        }
    }
}

/** What stands on the elements: records, frames, conformance, copies. */
void UseAsAWhole(MDicomDS &ds) {
    for (_DICOMELEMENT *key = ds.GetFirstKey(nullptr, 0); key != nullptr;
         key = ds.GetNextKey(key, 0)) {
        ds.GetValueKey(key);
        ds.GetParentKey(key);
    }
    uint32_t bad = 0;
    uint32_t good = 0;
    ds.IsBadPixelData(&bad, &good);
    ds.ConformanceDS(nullptr, nullptr);
    MDicomDS copy(nullptr);
    copy.CopyDS(nullptr, &ds, nullptr);
}

bool IsWhole(MDicomDS &ds) {
    uint8_t last;
    for (_DICOMELEMENT *element = ds.GetFirstElement(nullptr, 0, 1); element != nullptr;
         element = ds.GetNextElement(element, 0, 1)) {
        if (element->nLength == 0 || element->nLength == 0xFFFFFFFF) continue;
        if (!ds.GetBinaryValue(element, &last, element->nLength - 1, 1)) return false;
    }
    return true;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    static constexpr uint16_t kFlags[] = {0, DS_METAHEADER_ABSENT, DS_LOAD_CLOSE,
                                          DS_METAHEADER_PRESENT | DS_RECORD_OFFSETS};
    if (size < 2) return 0;
    MDicomDS ds(nullptr);
    const uint16_t flags = kFlags[data[0] % 4];
    const uint16_t status = ds.LoadDSMemory(const_cast<uint8_t *>(data + 1), size - 1, flags);
    if (status != DICOM_SUCCESS) {
        if (ds.GetFirstElement(nullptr, 0, 1) != nullptr) std::abort();
        return 0;
    }
    Visit(ds);
    UseAsAWhole(ds);
    MDicomFile saved;
    saved.Open(nullptr, FILE_MODE_MEMORY);
    const bool whole = IsWhole(ds);
    const uint16_t written = ds.SaveDS(&saved, 0);
    if (written == DICOM_SUCCESS && !whole) std::abort();
    saved.Close(1);
    return 0;
}
