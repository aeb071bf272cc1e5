// Typed setters: arrays of values to the bytes of the value store.
//
// A value is encoded in full before the store is touched, so that it stands unchanged after a
// failure, and so that an array may lie in the cache of the element that is set.

#include <algorithm>
#include <cstring>
#include <iterator>
#include <string>

#include "Common/DSValue/NumberConversion.h"
#include "Common/DSValue/ValueAccess.h"
#include "Common/DSValue/ValueText.h"
#include "Common/Utils/NumberText.h"
#include "Common/Utils/Vr.h"

using namespace mdicom;

namespace {

using Encoder = std::string (*)(const void *array, uint32_t count);

std::string FormatDouble(const double &value) {
    return FormatDecimalString(value);
}

std::string FormatInteger(const int32_t &value) {
    return std::to_string(value);
}

template <typename Entry, std::string (*Format)(const Entry &)>
std::string JoinEntries(const void *array, uint32_t count) {
    const auto *entry = static_cast<const Entry *>(array);
    std::string text = Format(*entry);
    while (--count != 0) {
        text += '\\';
        text += Format(*++entry);
    }
    return text;
}

struct EncoderRow {
    uint16_t vr;
    Encoder values;
    Encoder ranges;
};

constexpr EncoderRow kEncoders[] = {
    {vr::AS, JoinEntries<_VALUEAGE, FormatAge>, nullptr},
    {vr::DA, JoinEntries<_VALUEDATE, FormatDate>, JoinEntries<_VALUEDATERANGE, FormatDateRange>},
    {vr::DS, JoinEntries<double, FormatDouble>, nullptr},
    {vr::DT, JoinEntries<_VALUEDATETIME, FormatDateTime>,
     JoinEntries<_VALUEDATETIMERANGE, FormatDateTimeRange>},
    {vr::IS, JoinEntries<int32_t, FormatInteger>, nullptr},
    {vr::TM, JoinEntries<_VALUETIME, FormatTime>, JoinEntries<_VALUETIMERANGE, FormatTimeRange>},
};

/** Encoder of a text VR whose entries are not texts; null for the others. */
Encoder EncoderOf(uint16_t code, bool range) {
    const auto *row = std::find_if(std::begin(kEncoders), std::end(kEncoders),
                                   [code](const EncoderRow &entry) { return entry.vr == code; });
    if (row == std::end(kEncoders)) return nullptr;
    return range ? row->ranges : row->values;
}

void TrimEnd(std::string &text) {
    text.erase(text.find_last_not_of(' ') + 1);
}

/** Joins texts that stand back to back. With trim the blanks behind every value go, and those in
 *  front of the first. */
std::string JoinTexts(const char *text, uint32_t count, bool trim) {
    std::string joined;
    if (trim) text += std::strspn(text, " ");
    for (uint32_t i = 0; i < count; ++i) {
        if (i != 0) joined += '\\';
        const size_t length = std::strlen(text);
        joined.append(text, length);
        if (trim) TrimEnd(joined);
        text += length + 1;
    }
    return joined;
}

int32_t SetUnits(MDicomDS &dataSet, _DICOMELEMENT *element, const void *array, uint32_t count) {
    const uint64_t length = uint64_t{count} * ValueUnitOf(element->nVR);
    if (length > kLongestValue) return 0;
    if (element->nVR != vr::AT) return ReplaceValue(dataSet, element, array, length);
    auto tags = MakeDataBlock<uint32_t>(count);
    if (!tags) return 0;
    const auto *tag = static_cast<const uint32_t *>(array);
    for (uint32_t i = 0; i < count; ++i) tags[i] = ExchangeTagHalves(tag[i]);
    return ReplaceValue(dataSet, element, tags.get(), length);
}

std::string EncodeTexts(uint16_t code, const void *array, uint32_t count, bool range) {
    if (const Encoder encode = EncoderOf(code, range)) return encode(array, count);
    const bool trim = LayoutOf(code) == ValueLayout::Texts;
    return JoinTexts(static_cast<const char *>(array), count, trim);
}

bool IsAgeReference(char reference) {
    return reference == 'D' || reference == 'W' || reference == 'M' || reference == 'Y';
}

template <typename Range>
bool AreRanges(const Range *array, uint32_t count) {
    if (array == nullptr || IsAllValues(count)) return false;
    return std::all_of(array, array + count,
                       [](const Range &range) { return range.Type <= VALUE_RANGE_BOTH; });
}

} // namespace

int32_t MDicomDS::SetTypeValue(_DICOMELEMENT *pElement, const void *pArray, uint32_t nCount,
                               int32_t bRange) {
    if (pElement == nullptr || pElement->nLength == kUndefinedLength) return 0;
    if (nCount == 0) return ReplaceValue(*this, pElement, "", 0);
    if (pArray == nullptr || IsAllValues(nCount)) return 0;
    if (LayoutOf(pElement->nVR) == ValueLayout::Units) {
        return SetUnits(*this, pElement, pArray, nCount);
    }
    return Guarded(0, [&] {
        const std::string text = EncodeTexts(pElement->nVR, pArray, nCount, bRange != 0);
        return ReplaceValue(*this, pElement, text.data(), text.size());
    });
}

int32_t MDicomDS::SetEntries(_DICOMELEMENT *pElement, const void *pArray, uint32_t nCount,
                             uint32_t nKind) {
    if (!CheckElement(pElement) || !VerifyVR(pElement, nKind)) return 0;
    return SetTypeValue(pElement, pArray, nCount, 0);
}

int32_t MDicomDS::SetCharValue(_DICOMELEMENT *pElement, uint8_t *pArray, uint32_t nCount) {
    return SetEntries(pElement, pArray, nCount, VALUE_KIND_CHAR);
}

int32_t MDicomDS::SetShortValue(_DICOMELEMENT *pElement, int16_t *pArray, uint32_t nCount) {
    return SetEntries(pElement, pArray, nCount, VALUE_KIND_SHORT);
}

int32_t MDicomDS::SetLongValue(_DICOMELEMENT *pElement, int32_t *pArray, uint32_t nCount) {
    return SetEntries(pElement, pArray, nCount, VALUE_KIND_LONG);
}

int32_t MDicomDS::SetFloatValue(_DICOMELEMENT *pElement, float *pArray, uint32_t nCount) {
    return SetEntries(pElement, pArray, nCount, VALUE_KIND_FLOAT);
}

int32_t MDicomDS::SetDoubleValue(_DICOMELEMENT *pElement, double *pArray, uint32_t nCount) {
    return SetEntries(pElement, pArray, nCount, VALUE_KIND_DOUBLE);
}

int32_t MDicomDS::SetStringValueA(_DICOMELEMENT *pElement, const char *pszText, uint32_t nCount) {
    return SetEntries(pElement, pszText, nCount, VALUE_KIND_STRING);
}

int32_t MDicomDS::SetAgeValue(_DICOMELEMENT *pElement, const _VALUEAGE *pArray, uint32_t nCount) {
    if (!CheckElement(pElement) || !VerifyVR(pElement, VALUE_KIND_AGE)) return 0;
    if (pArray == nullptr || IsAllValues(nCount)) return SetTypeValue(pElement, pArray, nCount, 0);
    const bool valid = std::all_of(pArray, pArray + nCount, [](const _VALUEAGE &age) {
        return IsAgeReference(age.Reference);
    });
    return valid ? SetTypeValue(pElement, pArray, nCount, 0) : DICOM_ERROR_PARAMETER;
}

int32_t MDicomDS::SetDateValue(_DICOMELEMENT *pElement, const _VALUEDATE *pArray, uint32_t nCount) {
    return SetEntries(pElement, pArray, nCount, VALUE_KIND_DATE);
}

int32_t MDicomDS::SetTimeValue(_DICOMELEMENT *pElement, const _VALUETIME *pArray, uint32_t nCount) {
    return SetEntries(pElement, pArray, nCount, VALUE_KIND_TIME);
}

int32_t MDicomDS::SetDateTimeValue(_DICOMELEMENT *pElement, const _VALUEDATETIME *pArray,
                                   uint32_t nCount) {
    return SetEntries(pElement, pArray, nCount, VALUE_KIND_DATETIME);
}

int32_t MDicomDS::SetDateRangeValue(_DICOMELEMENT *pElement, const _VALUEDATERANGE *pArray,
                                    uint32_t nCount) {
    if (!CheckElement(pElement) || !VerifyVR(pElement, VALUE_KIND_DATE)) return 0;
    return AreRanges(pArray, nCount) ? SetTypeValue(pElement, pArray, nCount, 1) : 0;
}

int32_t MDicomDS::SetTimeRangeValue(_DICOMELEMENT *pElement, const _VALUETIMERANGE *pArray,
                                    uint32_t nCount) {
    if (!CheckElement(pElement) || !VerifyVR(pElement, VALUE_KIND_TIME)) return 0;
    return AreRanges(pArray, nCount) ? SetTypeValue(pElement, pArray, nCount, 1)
                                     : DICOM_ERROR_PARAMETER;
}

int32_t MDicomDS::SetDateTimeRangeValue(_DICOMELEMENT *pElement, const _VALUEDATETIMERANGE *pArray,
                                        uint32_t nCount) {
    if (!CheckElement(pElement) || !VerifyVR(pElement, VALUE_KIND_DATETIME)) return 0;
    return AreRanges(pArray, nCount) ? SetTypeValue(pElement, pArray, nCount, 1)
                                     : DICOM_ERROR_PARAMETER;
}
