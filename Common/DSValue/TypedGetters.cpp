// Typed getters: entries of the value cache.

#include <cstring>

#include "Common/DSValue/ValueAccess.h"
#include "Common/DSValue/ValueText.h"
#include "Common/Utils/NumberText.h"
#include "Common/Utils/Text.h"
#include "Common/Utils/Vr.h"

using namespace mdicom;

namespace {

constexpr uint16_t kNotReadable = 14;

const char *SkipTexts(const char *text, uint32_t count) {
    for (; count != 0; --count) text += std::strlen(text) + 1;
    return text;
}

/** Converts count values from index on; false if the text has fewer. */
bool ParseIntegers(std::string_view text, uint32_t index, uint32_t count, int64_t *out) {
    ValueSplitter values(text);
    for (; index != 0; --index) {
        if (!values.Next()) return false;
    }
    for (; count != 0; --count) {
        const auto value = values.Next();
        if (!value) return false;
        *out++ = ParseInteger(TrimBlanks(*value)).value;
    }
    return true;
}

/** The entry, unless it marks a value that is a range. */
template <typename Record>
Record *WithoutRange(void *entry, bool *isRange) {
    auto *record = static_cast<Record *>(entry);
    *isRange = record != nullptr && IsEmptyRecord(*record);
    return *isRange ? nullptr : record;
}

} // namespace

void *MDicomDS::GetEntry(_DICOMELEMENT *pElement, uint32_t nIndex, uint32_t nCount,
                         uint32_t nKind) {
    if (!CheckElement(pElement) || !VerifyTypeValue(pElement, nIndex, &nCount, nKind)) {
        return nullptr;
    }
    if (nIndex == pElement->nValueCount) return nullptr; // nothing stands there
    return static_cast<char *>(pElement->pValue) + size_t{nIndex} * EntrySizeOf(nKind);
}

uint8_t *MDicomDS::GetCharValue(_DICOMELEMENT *pElement, uint32_t nIndex, uint32_t nCount) {
    return static_cast<uint8_t *>(GetEntry(pElement, nIndex, nCount, VALUE_KIND_CHAR));
}

int16_t *MDicomDS::GetShortValue(_DICOMELEMENT *pElement, uint32_t nIndex, uint32_t nCount) {
    return static_cast<int16_t *>(GetEntry(pElement, nIndex, nCount, VALUE_KIND_SHORT));
}

int32_t *MDicomDS::GetLongValue(_DICOMELEMENT *pElement, uint32_t nIndex, uint32_t nCount) {
    return static_cast<int32_t *>(GetEntry(pElement, nIndex, nCount, VALUE_KIND_LONG));
}

float *MDicomDS::GetFloatValue(_DICOMELEMENT *pElement, uint32_t nIndex, uint32_t nCount) {
    return static_cast<float *>(GetEntry(pElement, nIndex, nCount, VALUE_KIND_FLOAT));
}

double *MDicomDS::GetDoubleValue(_DICOMELEMENT *pElement, uint32_t nIndex, uint32_t nCount) {
    return static_cast<double *>(GetEntry(pElement, nIndex, nCount, VALUE_KIND_DOUBLE));
}

const char *MDicomDS::GetStringValueA(_DICOMELEMENT *pElement, uint32_t nIndex, uint32_t nCount) {
    const void *texts = GetEntry(pElement, nIndex, nCount, VALUE_KIND_STRING);
    return texts == nullptr ? nullptr : SkipTexts(static_cast<const char *>(texts), nIndex);
}

_VALUEAGE *MDicomDS::GetAgeValue(_DICOMELEMENT *pElement, uint32_t nIndex, uint32_t nCount) {
    return static_cast<_VALUEAGE *>(GetEntry(pElement, nIndex, nCount, VALUE_KIND_AGE));
}

_VALUEDATE *MDicomDS::GetDateValue(_DICOMELEMENT *pElement, uint32_t nIndex, uint32_t nCount) {
    bool isRange = false;
    auto *date =
        WithoutRange<_VALUEDATE>(GetEntry(pElement, nIndex, nCount, VALUE_KIND_DATE), &isRange);
    if (isRange) ReportDebug(pElement, DS_DEBUG_BAD_ELEMENT);
    return date;
}

_VALUETIME *MDicomDS::GetTimeValue(_DICOMELEMENT *pElement, uint32_t nIndex, uint32_t nCount) {
    bool isRange = false;
    auto *time =
        WithoutRange<_VALUETIME>(GetEntry(pElement, nIndex, nCount, VALUE_KIND_TIME), &isRange);
    if (isRange) ReportDebug(pElement, DS_DEBUG_BAD_ELEMENT);
    return time;
}

_VALUEDATETIME *MDicomDS::GetDateTimeValue(_DICOMELEMENT *pElement, uint32_t nIndex,
                                           uint32_t nCount) {
    return static_cast<_VALUEDATETIME *>(GetEntry(pElement, nIndex, nCount, VALUE_KIND_DATETIME));
}

uint16_t MDicomDS::GetLong64Value(_DICOMELEMENT *pElement, int64_t *pArray, uint32_t nIndex,
                                  uint32_t nCount) {
    if (!CheckElement(pElement)) return kNotReadable;
    if (pElement == nullptr || pElement->nVR != vr::IS || pArray == nullptr) {
        return DICOM_ERROR_PARAMETER;
    }
    if (pElement->nLength == 0 || pElement->nLength > kLongestValue) return DICOM_ERROR_PARAMETER;
    if (!GetTypeValue(pElement)) return kNotReadable;
    if (!VerifyTypeValue(pElement, nIndex, &nCount, VALUE_KIND_LONG)) return DICOM_ERROR_PARAMETER;
    const auto text = ReadWholeValue(*this, pElement);
    if (!text) return kNotReadable;
    // The store can have changed since the values were counted.
    return ParseIntegers(text.get(), nIndex, nCount, pArray) ? 0 : DICOM_ERROR_PARAMETER;
}
