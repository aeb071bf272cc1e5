// Typed values: what stored text and numbers read as, what arrays are stored as, and the cache.

#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <limits>
#include <tuple>
#include <vector>

#include "Values.h"

static bool operator==(const _VALUEDATE &a, const _VALUEDATE &b) {
    return std::tie(a.Year, a.Month, a.Day) == std::tie(b.Year, b.Month, b.Day);
}

static bool operator==(const _VALUETIME &a, const _VALUETIME &b) {
    return std::tie(a.Hours, a.Minutes, a.Seconds, a.Fractions) ==
           std::tie(b.Hours, b.Minutes, b.Seconds, b.Fractions);
}

static bool operator==(const _VALUEDATETIME &a, const _VALUEDATETIME &b) {
    return std::tie(a.Year, a.Month, a.Day, a.Hours, a.Minutes, a.Seconds, a.Fractions, a.Offset) ==
           std::tie(b.Year, b.Month, b.Day, b.Hours, b.Minutes, b.Seconds, b.Fractions, b.Offset);
}

static bool operator==(const _VALUEAGE &a, const _VALUEAGE &b) {
    return a.Number == b.Number && a.Reference == b.Reference;
}

TEST(TypedValue, ReadsNumbersInText) {
    Values v;
    _DICOMELEMENT *integers = v.Add("IS", " 1\\-2 \\+3\\\\99999999999\\-99999999999\\x\\7.9 ");
    ASSERT_EQ(v.ds.GetCountValue(integers), 8u);
    const int32_t *number = v.ds.GetLongValue(integers, 0, kAll);
    ASSERT_NE(number, nullptr);
    const std::vector<int32_t> expected = {1, -2, 3, 0, 0x7FFFFFFF, -0x7FFFFFFF - 1, 0, 7};
    EXPECT_EQ(std::vector<int32_t>(number, number + 8), expected);

    std::array<int64_t, 3> wide{};
    EXPECT_EQ(v.ds.GetLong64Value(integers, wide.data(), 4, 2), 0);
    EXPECT_EQ(wide, (std::array<int64_t, 3>{99999999999, -99999999999, 0}));
    EXPECT_EQ(v.ds.GetLong64Value(integers, wide.data(), 7, 2), 9);
    EXPECT_EQ(v.ds.GetLong64Value(v.Add("SL", "abcd"), wide.data(), 0, 1), 9);

    _DICOMELEMENT *decimals = v.Add("DS", "1.5\\ -2e3 \\.25\\+4\\inf\\\\0x10\\1e999 ");
    ASSERT_EQ(v.ds.GetCountValue(decimals), 8u);
    const double *decimal = v.ds.GetDoubleValue(decimals, 0, 8);
    ASSERT_NE(decimal, nullptr);
    const double infinity = std::numeric_limits<double>::infinity();
    EXPECT_EQ(std::vector<double>(decimal, decimal + 8),
              (std::vector<double>{1.5, -2000, .25, 4, 0, 0, 0, infinity}));
}

TEST(TypedValue, ReadsAges) {
    Values v;
    _DICOMELEMENT *ages = v.Add("AS", "018M\\5Y\\Y\\");
    const _VALUEAGE *age = v.ds.GetAgeValue(ages, 0, 4);
    ASSERT_NE(age, nullptr);
    EXPECT_EQ(age[0], (_VALUEAGE{18, 'M'}));
    EXPECT_EQ(age[1], (_VALUEAGE{5, 'Y'}));
    EXPECT_EQ(age[2], (_VALUEAGE{0, 'Y'}));
    EXPECT_EQ(age[3], (_VALUEAGE{0, '\0'}));
}

TEST(TypedValue, ReadsDates) {
    const std::pair<const char *, _VALUEDATE> cases[] = {
        {"19970815", {1997, 8, 15}}, {"1997.08.15", {1997, 8, 15}},
        {"199708", {1997, 8, 0}},    {"1997081", {1997, 8, 0}},
        {"97", {0, 0, 0}},           {"  ", {0, 0, 0}},
        {"abcdefgh", {0, 0, 0}},
    };
    Values v;
    for (const auto &[text, expected] : cases) {
        const _VALUEDATE *date = v.ds.GetDateValue(v.Add("DA", text), 0, 1);
        ASSERT_NE(date, nullptr) << text;
        EXPECT_EQ(*date, expected) << text;
    }
}

TEST(TypedValue, ReadsTimes) {
    const std::pair<const char *, _VALUETIME> cases[] = {
        {"123005", {12, 30, 5, 0}},
        {"123005.5", {12, 30, 5, 500000}},
        {"12:30:05.25", {12, 30, 5, 250000}},
        {"123005.123456789", {12, 30, 5, 123456}},
        {"1230", {12, 30, 0, 0}},
        {"12305", {12, 30, 0, 0}},
        {"123005.000005", {12, 30, 5, 5}},
    };
    Values v;
    for (const auto &[text, expected] : cases) {
        const _VALUETIME *time = v.ds.GetTimeValue(v.Add("TM", text), 0, 1);
        ASSERT_NE(time, nullptr) << text;
        EXPECT_EQ(*time, expected) << text;
    }
}

TEST(TypedValue, ReadsDateTimes) {
    const std::pair<const char *, _VALUEDATETIME> cases[] = {
        {"19970815123005.25+0130", {1997, 8, 15, 12, 30, 5, 25, 130}},
        {"19970815123005.000025-0500", {1997, 8, 15, 12, 30, 5, 25, -500}},
        {"1997.08.15.12:30:05.25", {1997, 8, 15, 12, 30, 5, 25, 0}},
        {"19970815123005-0500", {1997, 8, 15, 12, 30, 5, 0, -500}},
        {"19970815+0100", {1997, 8, 15, 0, 0, 0, 0, 100}},
        {"1997081512", {1997, 8, 15, 12, 0, 0, 0, 0}},
        {"19970815123005.99999999999999999999",
         {1997, 8, 15, 12, 30, 5, std::numeric_limits<uint32_t>::max(), 0}},
    };
    Values v;
    for (const auto &[text, expected] : cases) {
        const _VALUEDATETIME *value = v.ds.GetDateTimeValue(v.Add("DT", text), 0, 1);
        ASSERT_NE(value, nullptr) << text;
        EXPECT_EQ(*value, expected) << text;
    }
}

TEST(TypedValue, SplitsAndTrimsTexts) {
    Values v;
    _DICOMELEMENT *codes = v.Add("CS", " ORIGINAL \\\\ PRIMARY\\   ");
    ASSERT_EQ(v.ds.GetCountValue(codes), 4u);
    EXPECT_STREQ(v.ds.GetStringValueA(codes, 0, 1), "ORIGINAL");
    EXPECT_STREQ(v.ds.GetStringValueA(codes, 1, 1), "");
    EXPECT_STREQ(v.ds.GetStringValueA(codes, 2, kAll), "PRIMARY");
    EXPECT_STREQ(v.ds.GetStringValueA(codes, 3, 1), "");
    EXPECT_EQ(v.ds.GetStringValueA(codes, 4, kAll), nullptr);
    EXPECT_EQ(v.ds.GetStringValueA(codes, 3, 2), nullptr);

    _DICOMELEMENT *uid = v.Add("UI", "1.2.3");
    EXPECT_EQ(v.Bytes(uid), std::string("1.2.3\0", 6));
    EXPECT_STREQ(v.ds.GetStringValueA(uid, 0, 1), "1.2.3");

    for (const char *vr : {"LT", "ST", "UT", "UR"}) {
        _DICOMELEMENT *text = v.Add(vr, " a\\b ");
        EXPECT_EQ(v.ds.GetCountValue(text), 1u) << vr;
        EXPECT_EQ(std::string(v.ds.GetStringValueA(text, 0, 1)).substr(0, 5), " a\\b ") << vr;
    }
    EXPECT_STREQ(v.ds.GetStringValueA(v.Add("UC", "a \\ b"), 1, 1), "b");
}

TEST(TypedValue, WritesTextForms) {
    Values v;
    const double decimals[] = {1.0, -0.5, 1.0 / 3, 123456789012345678.0, 1e-300};
    _DICOMELEMENT *element = v.Add("DS");
    ASSERT_TRUE(v.ds.SetDoubleValue(element, const_cast<double *>(decimals), 5));
    const std::string text = v.Bytes(element);
    EXPECT_EQ(text.substr(0, 7), "1\\-0.5\\");
    for (uint32_t i = 0; i < 5; ++i) {
        EXPECT_NEAR(*v.ds.GetDoubleValue(element, i, 1) / decimals[i], 1.0, 1e-9) << text;
    }

    element = v.Add("IS");
    int32_t integers[] = {0, -7, std::numeric_limits<int32_t>::min()};
    ASSERT_TRUE(v.ds.SetLongValue(element, integers, 3));
    EXPECT_EQ(v.Bytes(element), "0\\-7\\-2147483648");

    element = v.Add("AS");
    const _VALUEAGE ages[] = {{5, 'Y'}, {1234, 'D'}};
    ASSERT_EQ(v.ds.SetAgeValue(element, ages, 2), 1);
    EXPECT_EQ(v.Bytes(element), "005Y\\1234D");
    const _VALUEAGE bad[] = {{5, 'Y'}, {5, 'y'}};
    EXPECT_EQ(v.ds.SetAgeValue(element, bad, 2), 9);
    EXPECT_EQ(v.Bytes(element), "005Y\\1234D");

    element = v.Add("DT");
    const _VALUEDATETIME value = {1997, 8, 15, 12, 30, 5, 25, 12000};
    ASSERT_TRUE(v.ds.SetDateTimeValue(element, &value, 1));
    EXPECT_EQ(v.Bytes(element), "19970815123005.000025+0000");

    element = v.Add("LO");
    ASSERT_TRUE(v.ds.SetStringValueA(element, "  a  \0 b \0\0c ", 4));
    EXPECT_EQ(v.Bytes(element), "a\\ b\\\\c ");
    element = v.Add("LT");
    ASSERT_TRUE(v.ds.SetStringValueA(element, " a ", 1));
    EXPECT_EQ(v.Bytes(element), " a  ");
}

namespace {

template <typename T>
using Getter = T *(MDicomDS::*)(_DICOMELEMENT *, uint32_t, uint32_t);

template <typename T, typename Setter>
void ExpectRoundTrip(const char *vr, Setter set, Getter<T> get, std::vector<T> values) {
    for (const uint16_t flags : {37, 40}) {
        Values v;
        v.ds.m_nFlags = flags;
        _DICOMELEMENT *element = v.Add(vr);
        const std::vector<T> before = values;
        const auto count = static_cast<uint32_t>(values.size());
        ASSERT_TRUE((v.ds.*set)(element, values.data(), count)) << vr << flags;
        EXPECT_EQ(values, before) << "the caller's array changed: " << vr << flags;
        ASSERT_EQ(v.ds.GetCountValue(element), count) << vr << flags;
        const T *read = (v.ds.*get)(element, 0, kAll);
        ASSERT_NE(read, nullptr) << vr << flags;
        EXPECT_EQ(std::vector<T>(read, read + count), before) << vr << flags;
        // The array may lie in the cache itself.
        T *own = (v.ds.*get)(element, 1, 1);
        ASSERT_TRUE((v.ds.*set)(element, own, 1)) << vr << flags;
        EXPECT_EQ(*(v.ds.*get)(element, 0, 1), before[1]) << vr << flags;
    }
}

} // namespace

TEST(TypedValue, RoundTripsInBothByteOrders) {
    using DS = MDicomDS;
    for (const char *vr : {"OB", "UN"}) {
        ExpectRoundTrip<uint8_t>(vr, &DS::SetCharValue, &DS::GetCharValue, {1, 0, 255, 7});
    }
    for (const char *vr : {"OV", "SV", "UV"}) {
        ExpectRoundTrip<uint8_t>(vr, &DS::SetCharValue, &DS::GetCharValue,
                                 {1, 2, 3, 4, 5, 6, 7, 8});
    }
    for (const char *vr : {"OW", "SS", "US"}) {
        ExpectRoundTrip<int16_t>(vr, &DS::SetShortValue, &DS::GetShortValue, {0x102, -1, 7});
    }
    for (const char *vr : {"AT", "IS", "OL", "SL", "UL"}) {
        ExpectRoundTrip<int32_t>(vr, &DS::SetLongValue, &DS::GetLongValue,
                                 {0x00280010, -1, 0x7FE00010});
    }
    for (const char *vr : {"FL", "OF"}) {
        ExpectRoundTrip<float>(vr, &DS::SetFloatValue, &DS::GetFloatValue, {1.5f, -1e30f});
    }
    for (const char *vr : {"DS", "FD", "OD"}) {
        ExpectRoundTrip<double>(vr, &DS::SetDoubleValue, &DS::GetDoubleValue, {1.5, -1e30});
    }
    ExpectRoundTrip<_VALUEAGE>("AS", &DS::SetAgeValue, &DS::GetAgeValue, {{3, 'D'}, {99, 'Y'}});
    ExpectRoundTrip<_VALUEDATE>("DA", &DS::SetDateValue, &DS::GetDateValue,
                                {{1997, 8, 15}, {1, 2, 3}});
    ExpectRoundTrip<_VALUETIME>("TM", &DS::SetTimeValue, &DS::GetTimeValue,
                                {{12, 30, 5, 5}, {0, 0, 0, 999999}});
    ExpectRoundTrip<_VALUEDATETIME>(
        "DT", &DS::SetDateTimeValue, &DS::GetDateTimeValue,
        {{1997, 8, 15, 12, 30, 5, 25, -130}, {2026, 12, 31, 23, 59, 59, 0, 1400}});
}

TEST(TypedValue, StoresTagsAsGroupThenElement) {
    Values v;
    int32_t tag = 0x00280010;
    _DICOMELEMENT *element = v.Add("AT");
    ASSERT_TRUE(v.ds.SetLongValue(element, &tag, 1));
    EXPECT_EQ(v.Bytes(element), std::string("\x28\x00\x10\x00", 4));
}

TEST(TypedValue, RefusesWhatDoesNotFit) {
    Values v;
    _DICOMELEMENT *shorts = v.Add("US", std::string("\1\0\2\0", 4));
    uint8_t bytes[] = {1, 2};
    EXPECT_FALSE(v.ds.SetCharValue(shorts, bytes, 2));
    EXPECT_FALSE(v.ds.SetShortValue(shorts, nullptr, 2));
    EXPECT_FALSE(v.ds.SetShortValue(shorts, reinterpret_cast<int16_t *>(bytes), 0x80000000u));
    EXPECT_EQ(v.Bytes(shorts), std::string("\1\0\2\0", 4));
    const _VALUEAGE age{5, 'Y'};
    const _VALUEDATERANGE range{};
    EXPECT_FALSE(v.ds.SetAgeValue(v.Add("AS"), &age, 0xFFFFFFFF)); // arrays have an end
    EXPECT_FALSE(v.ds.SetDateRangeValue(v.Add("DA"), &range, 0xFFFFFFFF));
    EXPECT_EQ(v.ds.GetLongValue(shorts, 0, 1), nullptr);
    EXPECT_EQ(v.ds.GetShortValue(shorts, 1, 2), nullptr);
    EXPECT_EQ(v.ds.GetShortValue(shorts, 3, 0), nullptr);
    EXPECT_EQ(v.ds.GetShortValue(shorts, 2, 0xFFFFFFF0u), nullptr);
    EXPECT_EQ(v.ds.GetShortValue(nullptr, 0, 1), nullptr);
    EXPECT_EQ(v.ds.GetCountValue(nullptr), 0u);
    _DICOMELEMENT *sequence = v.Add("SQ");
    EXPECT_EQ(v.ds.GetCharValue(sequence, 0, 1), nullptr);
    EXPECT_FALSE(v.ds.SetCharValue(sequence, bytes, 2));
}

TEST(TypedValue, EmptyValueHasNoEntries) {
    Values v;
    for (const char *vr : {"US", "LO", "DA", "IS"}) {
        _DICOMELEMENT *element = v.Add(vr);
        EXPECT_EQ(v.ds.GetCountValue(element), 0u);
        EXPECT_EQ(element->nValueCount, 0u);
    }
    _DICOMELEMENT *element = v.Add("US", "abcd");
    EXPECT_TRUE(v.ds.SetShortValue(element, nullptr, 0));
    EXPECT_EQ(element->nLength, 0u);
    EXPECT_EQ(v.ds.GetShortValue(element, 0, kAll), nullptr);
}

TEST(TypedValue, CacheLivesUntilSetOrFreed) {
    Values v;
    _DICOMELEMENT *element = v.Add("IS", "1\\2\\3 ");
    EXPECT_EQ(element->nValueCount, kAll);
    const int32_t *first = v.ds.GetLongValue(element, 2, 1);
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(*first, 3);
    EXPECT_EQ(v.ds.GetLongValue(element, 2, 1), first);
    v.ds.FreeValue(element);
    EXPECT_EQ(element->nValueCount, kAll);
    EXPECT_EQ(element->pValue, nullptr);
    v.ds.GetLongValue(element, 0, 1);
    int32_t number = 9;
    ASSERT_TRUE(v.ds.SetLongValue(element, &number, 1));
    EXPECT_EQ(v.ds.GetCountValue(element), 1u);
    EXPECT_EQ(*v.ds.GetLongValue(element, 0, 1), 9);
}

TEST(TypedValue, SurvivesHostileText) {
    Values v;
    const std::string manyValues(200001, '\\');
    for (const char *vr : {"IS", "DS", "AS", "DA", "TM", "DT", "LO", "UI", "PN"}) {
        EXPECT_EQ(v.ds.GetCountValue(v.Add(vr, manyValues)), 200002u + 0u) << vr;
        EXPECT_EQ(v.ds.GetCountValue(v.Add(vr, std::string("1\0\\2", 4))), 1u) << vr;
        EXPECT_EQ(v.ds.GetCountValue(v.Add(vr, std::string(2, '\0'))), 1u) << vr;
        EXPECT_EQ(v.ds.GetCountValue(v.Add(vr, "\xFF\xFE\x1B$")), 1u) << vr;
    }
    EXPECT_EQ(v.ds.GetCountValue(v.Add("US", "abc")), 2u); // padded
    _DICOMELEMENT *odd = v.Add("FD", "abcdefghij");
    EXPECT_EQ(v.ds.GetCountValue(odd), 1u);
    EXPECT_EQ(v.ds.GetDoubleValue(odd, 1, 1), nullptr);
}

TEST(TypedValue, LengthBeyondTheFileFails) {
    for (const uint32_t length : {0x7FFFFFF0u, 0xFFFFFFFDu, 0xFFFFFFFEu}) {
        for (const char *vr : {"US", "IS", "LO", "UT", "DA", "OB"}) {
            Values v;
            _DICOMELEMENT *element = v.Add(vr, "abcd");
            element->nLength = length;
            element->pBlockLengths[0] = length;
            EXPECT_EQ(v.ds.GetCountValue(element), 0u) << vr;
            EXPECT_EQ(v.ds.GetStringValue(element, 0, 1), nullptr) << vr;
            _VALUEDATERANGE range;
            EXPECT_EQ(v.ds.GetDateRangeValue(element, 0, &range), 9) << vr;
            uint16_t number = 0;
            EXPECT_EQ(v.ds.FindGetValue(nullptr, element->nTag, &number, 0, 1, VALUE_ARRAY_WORD),
                      0u)
                << vr;
        }
    }
}

namespace {

int32_t CountCalls(_DICOMELEMENT *, uint16_t code, void *data) {
    if (code == DS_DEBUG_BAD_ELEMENT) ++*static_cast<int *>(data);
    return 0;
}

} // namespace

TEST(TypedValue, DebugHookHearsOfStrangersAndRanges) {
    Values v;
    Values other;
    _DICOMELEMENT *stranger = other.Add("US", "ab");
    int calls = 0;
    v.ds.SetDebugDS(CountCalls, &calls);
    int16_t number = 1;
    int64_t wide = 0;
    _VALUEDATERANGE range;
    EXPECT_EQ(v.ds.GetShortValue(stranger, 0, 1), nullptr);
    EXPECT_FALSE(v.ds.SetShortValue(stranger, &number, 1));
    EXPECT_EQ(v.ds.GetLong64Value(stranger, &wide, 0, 1), 14);
    EXPECT_EQ(v.ds.GetDateRangeValue(stranger, 0, &range), 9);
    v.ds.FreeValue(stranger);
    EXPECT_EQ(calls, 5);
    EXPECT_EQ(v.ds.GetDateValue(v.Add("DA", "19970815-"), 0, 1), nullptr);
    EXPECT_EQ(calls, 6);
    // A handle that is not in the tree is not looked at: it may lead nowhere.
    auto *nowhere = reinterpret_cast<_DICOMELEMENT *>(uintptr_t{0x1000});
    uint32_t tag = 0;
    EXPECT_FALSE(v.ds.SetConvertValue(nowhere, L"1", 1));
    EXPECT_EQ(v.ds.FindFirstPrivateElement(nowhere), nullptr);
    EXPECT_EQ(v.ds.FindNextPrivateElement(nowhere, nowhere), nullptr);
    EXPECT_EQ(v.ds.GetNextUnusedPrivateTag(nowhere, &tag), DICOM_ERROR_PARAMETER);
    EXPECT_EQ(v.ds.CreatePrivateCreatorDataElement(nowhere, 9, 0x10, L"x", nullptr),
              DICOM_ERROR_PARAMETER);
    EXPECT_EQ(v.ds.GetElementOffset(nowhere), 0u);
    EXPECT_EQ(calls, 12);
}
