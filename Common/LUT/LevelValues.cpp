// Values of attributes on one level of a data set, without a look at other levels.

#include "Common/LUT/LevelValues.h"

#include <algorithm>
#include <cwchar>
#include <string>

#include "Common/DSValue/ValueAccess.h"
#include "MDicomDS.h"

namespace mdicom {

namespace {

/** An element of the level to work beside. Without one, functions of the data set would look
 *  through the whole tree. */
_DICOMELEMENT *NeighborOf(MDicomDS &dataSet, _DICOMELEMENT *level) {
    return level != nullptr ? level : dataSet.GetFirstElement(nullptr, 1, 1);
}

} // namespace

std::optional<double> ReadNumber(MDicomDS &dataSet, _DICOMELEMENT *level, uint32_t tag,
                                 uint32_t index) {
    _DICOMELEMENT *element = dataSet.FindFirstElement(level, tag, 1);
    double number = 0;
    if (element == nullptr) return std::nullopt;
    if (dataSet.FindGetValue(element, tag, &number, index, 1, VALUE_ARRAY_DOUBLE) == 0) {
        return std::nullopt;
    }
    return number;
}

uint32_t ReadCardinal(MDicomDS &dataSet, uint32_t tag) {
    _DICOMELEMENT *element = dataSet.FindFirstElement(nullptr, tag, 1);
    uint32_t number = 0;
    if (element != nullptr) {
        dataSet.FindGetValue(element, tag, &number, 0, 1, VALUE_ARRAY_DWORD);
    }
    return number;
}

void ReadText(MDicomDS &dataSet, _DICOMELEMENT *level, uint32_t tag, uint32_t index,
              Explanation &text) {
    _DICOMELEMENT *element = dataSet.FindFirstElement(level, tag, 1);
    const wchar_t *value = element != nullptr ? dataSet.GetStringValue(element, index, 1) : nullptr;
    if (value == nullptr) return;
    const size_t length = std::min(std::wcslen(value), kExplanationSize - 1);
    std::copy_n(value, length, text);
    text[length] = L'\0';
}

_DICOMELEMENT *FindOrInsert(MDicomDS &dataSet, _DICOMELEMENT *level, uint32_t tag, uint16_t vr) {
    _DICOMELEMENT *element = dataSet.FindFirstElement(level, tag, 1);
    if (element != nullptr) return element;
    return dataSet.InsertElement(NeighborOf(dataSet, level), 0, tag, vr, 0, 0xFFFFFFFF);
}

bool WriteNumbers(MDicomDS &dataSet, _DICOMELEMENT *level, uint32_t tag, const double *numbers,
                  uint32_t count) {
    return dataSet.FindSetValue(NeighborOf(dataSet, level), tag, numbers, count,
                                VALUE_ARRAY_DOUBLE) != nullptr;
}

bool WriteText(MDicomDS &dataSet, _DICOMELEMENT *level, uint32_t tag, const Explanation &text) {
    return Guarded(false, [&] {
        const std::wstring value(text, std::find(text, text + kExplanationSize - 1, L'\0'));
        _DICOMELEMENT *element = FindOrInsert(dataSet, level, tag, 0);
        return element != nullptr && dataSet.SetStringValue(element, value.c_str(), 1, 0) != 0;
    });
}

void DeleteTopLevel(MDicomDS &dataSet, uint32_t tag) {
    _DICOMELEMENT *element = dataSet.FindFirstElement(nullptr, tag, 1);
    if (element != nullptr) dataSet.DeleteElement(element);
}

} // namespace mdicom
