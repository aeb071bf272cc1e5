// Range getters: one value of a date, time or date-time element as a range record.

#include "Common/DSValue/ValueAccess.h"
#include "Common/DSValue/ValueText.h"

using namespace mdicom;

namespace {

void ParseRangeRecord(std::string_view text, void *record, uint32_t kind) {
    switch (kind) {
        case VALUE_KIND_DATE:
            *static_cast<_VALUEDATERANGE *>(record) = ParseDateRange(text);
            return;
        case VALUE_KIND_TIME:
            *static_cast<_VALUETIMERANGE *>(record) = ParseTimeRange(text);
            return;
        default:
            *static_cast<_VALUEDATETIMERANGE *>(record) = ParseDateTimeRange(text);
    }
}

} // namespace

uint16_t MDicomDS::GetRange(_DICOMELEMENT *pElement, uint32_t nIndex, void *pRange,
                            uint32_t nKind) {
    uint32_t count = 1;
    if (pRange == nullptr || !CheckElement(pElement)) return DICOM_ERROR_PARAMETER;
    if (!VerifyTypeValue(pElement, nIndex, &count, nKind)) return DICOM_ERROR_PARAMETER;
    const auto bytes = ReadWholeValue(*this, pElement);
    if (!bytes) return DICOM_ERROR_MEMORY;
    ValueSplitter values(TrimWhiteSpace(bytes.get()));
    auto value = values.Next();
    for (; value && nIndex != 0; --nIndex) value = values.Next();
    if (value) ParseRangeRecord(TrimWhiteSpace(*value), pRange, nKind);
    return 0;
}

int32_t MDicomDS::GetDateRangeValue(_DICOMELEMENT *pElement, uint32_t nIndex,
                                    _VALUEDATERANGE *pRange) {
    return GetRange(pElement, nIndex, pRange, VALUE_KIND_DATE);
}

int16_t MDicomDS::GetTimeRangeValue(_DICOMELEMENT *pElement, uint32_t nIndex,
                                    _VALUETIMERANGE *pRange) {
    return static_cast<int16_t>(GetRange(pElement, nIndex, pRange, VALUE_KIND_TIME));
}

int16_t MDicomDS::GetDateTimeRangeValue(_DICOMELEMENT *pElement, uint32_t nIndex,
                                        _VALUEDATETIMERANGE *pRange) {
    return static_cast<int16_t>(GetRange(pElement, nIndex, pRange, VALUE_KIND_DATETIME));
}
