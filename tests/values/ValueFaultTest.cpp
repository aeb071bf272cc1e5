// Memory that fails at every place of typed accesses, and values that are noise.

#include <gtest/gtest.h>

#include <functional>
#include <random>

#include "FailingMemory.h"
#include "MDicomVR.h"
#include "Values.h"

namespace {

constexpr const char *kVrs[] = {"AE", "AS", "AT", "CS", "DA", "DS", "DT", "FD", "FL", "IS", "LO",
                                "LT", "OB", "OD", "OF", "OL", "OV", "OW", "PN", "SH", "SL", "SS",
                                "ST", "SV", "TM", "UC", "UI", "UL", "UN", "UR", "US", "UT", "UV"};

/** Runs an operation with each of its allocations failing in turn. It reports success itself. */
void FailEachAllocation(const char *name, const std::function<bool()> &operation,
                        const std::function<void()> &verify) {
    for (int place = 0;; ++place) {
        ASSERT_LT(place, 1000) << name;
        FailAllocation(place);
        const bool succeeded = operation();
        const bool reached = AllocationFailed();
        FailAllocation(-1);
        if (!succeeded) verify();
        EXPECT_TRUE(succeeded || reached) << name << place;
        if (!reached) return;
    }
}

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

TEST(ValueFault, ShortMemoryChangesNothing) {
    Values v;
    v.Set(0x00080005, "CS", "ISO_IR 192");
    v.ds.UpdateSpecificCharacterSet();
    _DICOMELEMENT *name = v.Add("PN", "one value of a length\\and a second one of another ");
    const std::string before = v.Bytes(name);
    const auto unchanged = [&] { EXPECT_EQ(v.Bytes(name), before); };
    FailEachAllocation(
        "GetStringValue",
        [&] {
            v.ds.FreeValue(name);
            return v.ds.GetStringValue(name, 0, 2) != nullptr;
        },
        unchanged);
    const std::wstring text(100, L'\u00E4');
    FailEachAllocation(
        "SetStringValue", [&] { return v.ds.SetStringValue(name, text.c_str(), 1, 13) != 0; },
        unchanged);

    _DICOMELEMENT *dates = v.Add("DT", "20200101120000.5+0130\\20200101-20200102 ");
    _VALUEDATETIMERANGE range;
    FailEachAllocation(
        "GetDateTimeRangeValue", [&] { return v.ds.GetDateTimeRangeValue(dates, 1, &range) == 0; },
        [] {});
    const uint16_t words[] = {1, 2, 3};
    FailEachAllocation(
        "FindSetValue",
        [&] { return v.ds.FindSetValue(nullptr, 0x00280009, words, 3, 1) != nullptr; },
        [&] { EXPECT_EQ(v.ds.FindFirstElement(nullptr, 0x00280009, 0), nullptr); });
}

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
