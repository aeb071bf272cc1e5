// Values that are noise, and dictionaries that were edited.

#include <gtest/gtest.h>

#include <random>

#include "MDicomVR.h"
#include "Values.h"

namespace {

constexpr const char *kVrs[] = {"AE", "AS", "AT", "CS", "DA", "DS", "DT", "FD", "FL", "IS", "LO",
                                "LT", "OB", "OD", "OF", "OL", "OV", "OW", "PN", "SH", "SL", "SS",
                                "ST", "SV", "TM", "UC", "UI", "UL", "UN", "UR", "US", "UT", "UV"};

/** Everything that reads an element. */
void ReadAll(MDicomDS &ds, _DICOMELEMENT *element, uint32_t index, uint32_t count) {
    _VALUEDATERANGE dates;
    _VALUETIMERANGE times;
    _VALUEDATETIMERANGE moments;
    std::vector<double> numbers(64);
    std::vector<int64_t> wide(64);
    ds.GetCharValue(element, index, count);
    ds.GetShortValue(element, index, count);
    ds.GetLongValue(element, index, count);
    ds.GetFloatValue(element, index, count);
    ds.GetDoubleValue(element, index, count);
    ds.GetAgeValue(element, index, count);
    ds.GetDateValue(element, index, count);
    ds.GetTimeValue(element, index, count);
    ds.GetDateTimeValue(element, index, count);
    ds.GetStringValue(element, index, count);
    ds.GetDateRangeValue(element, index, &dates);
    ds.GetTimeRangeValue(element, index, &times);
    ds.GetDateTimeRangeValue(element, index, &moments);
    if (count <= wide.size()) ds.GetLong64Value(element, wide.data(), index, count);
    for (uint32_t type = VALUE_ARRAY_BYTE; type <= VALUE_ARRAY_DOUBLE; ++type) {
        ds.FindGetValue(nullptr, element->nTag, numbers.data(), index, 64, type);
    }
}

} // namespace

TEST(ValueFault, NoiseReadsAsAnything) {
    std::mt19937 random(4711);
    const std::string letters = "0123456789-+.:\\\\\\  eEDWMY\x1B$()BGI\x81\xE4\xFF";
    for (const char *set : {"", "ISO_IR 192", "GB18030", "\\ISO 2022 IR 87", "ISO 2022 IR 149"}) {
        Values v;
        v.ds.m_nFlags = random() % 2 != 0 ? 37 : 40;
        v.Set(0x00080005, "CS", set);
        v.ds.UpdateSpecificCharacterSet();
        for (int round = 0; round < 2000; ++round) {
            std::string bytes(random() % 48, '\0');
            for (char &c : bytes) {
                c = random() % 40 == 0 ? '\0' : letters[random() % letters.size()];
            }
            _DICOMELEMENT *element = v.Add(kVrs[random() % std::size(kVrs)], bytes);
            ReadAll(v.ds, element, 0, kAll);
            ReadAll(v.ds, element, random() % 8, random() % 8);
        }
    }
}

TEST(ValueFault, EditedVrTableGivesNoForeignEntries) {
    Values v;
    std::vector<_DICOMELEMENT *> elements;
    for (const char *vr : kVrs) elements.push_back(v.Add(vr, "12345678"));
    for (const uint16_t restriction : {VR_NOT_APPLICABLE, VR_BINARY, VR_STRING, VR_TEXT}) {
        MDicomVR::Reset();
        for (const char *vr : kVrs) MDicomVR::Insert(Code(vr), L"edited", 0, restriction, 0);
        for (_DICOMELEMENT *element : elements) {
            v.ds.FreeValue(element);
            for (uint32_t index = 0; index < 8; ++index) ReadAll(v.ds, element, index, kAll);
        }
    }
    MDicomVR::Default();
}
