// FindSetValue: the value of an element, which is added if it is missing, from an array.

#include <string>

#include "Common/DSValue/NumberConversion.h"
#include "Common/DSValue/ValueAccess.h"
#include "Common/Utils/NumberText.h"

using namespace mdicom;

namespace {

constexpr size_t kDecimalStringLength = 16;

/** A decimal string that shows by its point that it is no integer string. */
std::string FormatWithPoint(double value) {
    std::string text = FormatDecimalString(value);
    const bool plain = text.find_first_of(".e") == std::string::npos;
    if (plain && text.size() < kDecimalStringLength) text += '.';
    return text;
}

template <typename From, typename Format>
int32_t StoreText(MDicomDS &dataSet, _DICOMELEMENT *element, const From *array, uint32_t count,
                  Format format) {
    std::string text = format(array[0]);
    for (uint32_t i = 1; i < count; ++i) {
        text += '\\';
        text += format(array[i]);
    }
    return ReplaceValue(dataSet, element, text.data(), text.size());
}

template <typename Unit, typename From>
int32_t StoreUnits(MDicomDS &dataSet, _DICOMELEMENT *element, const From *array, uint32_t count) {
    const uint64_t length = uint64_t{count} * sizeof(Unit);
    if (length > kLongestValue) return 0;
    auto units = MakeDataBlock<Unit>(count);
    if (!units) return 0;
    for (uint32_t i = 0; i < count; ++i) units[i] = ConvertNumber<Unit>(array[i]);
    if constexpr (std::is_same_v<Unit, uint32_t>) {
        if (element->nVR == vr::AT) {
            for (uint32_t i = 0; i < count; ++i) units[i] = ExchangeTagHalves(units[i]);
        }
    }
    return ReplaceValue(dataSet, element, units.get(), length);
}

template <typename From>
int32_t StoreArray(MDicomDS &dataSet, _DICOMELEMENT *element, const From *array, uint32_t count) {
    switch (element->nVR) {
        case vr::IS:
            return StoreText(dataSet, element, array, count, [](From value) {
                return std::to_string(ConvertNumber<int32_t>(value));
            });
        case vr::DS:
            return StoreText(dataSet, element, array, count, [](From value) {
                return FormatWithPoint(ConvertNumber<double>(value));
            });
        default:
            return WithUnitOf(element->nVR, [&](auto unit) {
                return StoreUnits<decltype(unit)>(dataSet, element, array, count);
            });
    }
}

/** The element whose value is meant. Beside an element only its own level counts, so that an
 *  attribute of an item is never taken for that of the data set. */
_DICOMELEMENT *FindTarget(MDicomDS &dataSet, _DICOMELEMENT *neighbor, uint32_t tag) {
    _DICOMELEMENT *found = dataSet.FindFirstElement(neighbor, tag, 1);
    if (found != nullptr || neighbor != nullptr) return found;
    return dataSet.FindFirstElement(nullptr, tag, 0);
}

} // namespace

_DICOMELEMENT *MDicomDS::FindSetValue(_DICOMELEMENT *pElement, uint32_t nTag, const void *pArray,
                                      uint32_t nCount, uint32_t nArrayType) {
    if (!CheckElement(pElement)) return nullptr;
    if (nCount != 0 && (pArray == nullptr || IsAllValues(nCount))) return nullptr;
    _DICOMELEMENT *found = FindTarget(*this, pElement, nTag);
    const bool isNew = found == nullptr;
    if (isNew) {
        const uint16_t vr = GetDefaultVR(pElement, nTag, 0);
        found = InsertElement(pElement, 0, nTag, vr, 0, 0xFFFFFFFF);
    }
    if (found == nullptr || nCount == 0) return found;
    const int32_t stored = Guarded(0, [&]() -> int32_t {
        if (found->nLength == kUndefinedLength) return 0;
        return WithArrayType(nArrayType, [&](auto sample) {
            return StoreArray(*this, found, static_cast<const decltype(sample) *>(pArray), nCount);
        });
    });
    if (!stored && isNew) DeleteElement(found);
    return stored ? found : nullptr;
}
