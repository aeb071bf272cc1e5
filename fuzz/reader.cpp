// Loads any bytes from memory and uses all that the data set says of them. What is not whole is
// not saved. The first byte chooses the load flags.

#include "Support.h"

namespace {

void Visit(MDicomDS &ds) {
    uint8_t bytes[64];
    fuzz::ForEachElement(ds, [&](_DICOMELEMENT *element) {
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
    });
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
    const bool whole = fuzz::IsWhole(ds);
    const bool saved = fuzz::Save(ds, 0).status == DICOM_SUCCESS;
    fuzz::Require(whole || !saved);
    return 0;
}
