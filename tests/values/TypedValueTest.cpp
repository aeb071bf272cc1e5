// Typed values: what stored text and numbers read as, what arrays are stored as, and the cache.

#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <limits>
#include <tuple>
#include <vector>

#include "MDicomFlat.h"
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
    ASSERT_EQ(M_DicomGetCountValue(&v.ds, integers), 8u);
    const int32_t *number = M_DicomGetLongValue(&v.ds, integers, 0, kAll);
    ASSERT_NE(number, nullptr);
    const std::vector<int32_t> expected = {1, -2, 3, 0, 0x7FFFFFFF, -0x7FFFFFFF - 1, 0, 7};
    EXPECT_EQ(std::vector<int32_t>(number, number + 8), expected);

    std::array<int64_t, 3> wide{};
    EXPECT_EQ(M_DicomGetLong64Value(&v.ds, integers, wide.data(), 4, 2), 0);
    EXPECT_EQ(wide, (std::array<int64_t, 3>{99999999999, -99999999999, 0}));
    EXPECT_EQ(M_DicomGetLong64Value(&v.ds, integers, wide.data(), 7, 2), 9);
    EXPECT_EQ(M_DicomGetLong64Value(&v.ds, v.Add("SL", "abcd"), wide.data(), 0, 1), 9);

    _DICOMELEMENT *decimals = v.Add("DS", "1.5\\ -2e3 \\.25\\+4\\inf\\\\0x10\\1e999 ");
    ASSERT_EQ(M_DicomGetCountValue(&v.ds, decimals), 8u);
    const double *decimal = v.ds.GetDoubleValue(decimals, 0, 8);
    ASSERT_NE(decimal, nullptr);
    const double infinity = std::numeric_limits<double>::infinity();
    EXPECT_EQ(std::vector<double>(decimal, decimal + 8),
              (std::vector<double>{1.5, -2000, .25, 4, 0, 0, 0, infinity}));
}

namespace {

template <typename T>
using Getter = T *(*)(MDicomDS *, _DICOMELEMENT *, uint32_t, uint32_t);

template <typename T>
void ExpectReads(const char *vr, Getter<T> get,
                 const std::vector<std::pair<const char *, T>> &cases) {
    Values v;
    for (const auto &[text, expected] : cases) {
        const T *value = get(&v.ds, v.Add(vr, text), 0, 1);
        ASSERT_NE(value, nullptr) << text;
        EXPECT_EQ(*value, expected) << text;
    }
}

} // namespace

TEST(TypedValue, ReadsAgesDatesAndTimes) {
    ExpectReads<_VALUEDATE>("DA", M_DicomGetDateValue,
                            {{"19970815", {1997, 8, 15}},
                             {"1997.08.15", {1997, 8, 15}},
                             {"1997081", {1997, 8, 0}},
                             {"97", {0, 0, 0}},
                             {"  ", {0, 0, 0}},
                             {"abcdefgh", {0, 0, 0}}});
    ExpectReads<_VALUEAGE>(
        "AS", M_DicomGetAgeValue,
        {{"018M", {18, 'M'}}, {"5Y", {5, 'Y'}}, {"Y", {0, 'Y'}}, {" ", {0, '\0'}}});
    ExpectReads<_VALUETIME>("TM", M_DicomGetTimeValue,
                            {{"123005", {12, 30, 5, 0}},
                             {"12:30:05.25", {12, 30, 5, 250000}},
                             {"123005.123456789", {12, 30, 5, 123456}},
                             {"12305", {12, 30, 0, 0}},
                             {"123005.000005", {12, 30, 5, 5}},
                             {"123005.065535", {12, 30, 5, 0xFFFF}}}); // the mark of no value
    ExpectReads<_VALUEDATETIME>(
        "DT", M_DicomGetDateTimeValue,
        {{"19970815123005.25+0130", {1997, 8, 15, 12, 30, 5, 25, 130}},
         {"19970815123005.000025-0500", {1997, 8, 15, 12, 30, 5, 25, -500}},
         {"1997.08.15.12:30:05.25", {1997, 8, 15, 12, 30, 5, 25, 0}},
         {"19970815+0100", {1997, 8, 15, 0, 0, 0, 0, 100}},
         {"1997081512", {1997, 8, 15, 12, 0, 0, 0, 0}},
         {"19970815123005.99999999999999999999",
          {1997, 8, 15, 12, 30, 5, std::numeric_limits<uint32_t>::max(), 0}}});
}

TEST(TypedValue, SplitsAndTrimsTexts) {
    Values v;
    _DICOMELEMENT *codes = v.Add("CS", " ORIGINAL \\\\ PRIMARY\\   ");
    ASSERT_EQ(M_DicomGetCountValue(&v.ds, codes), 4u);
    EXPECT_STREQ(M_DicomGetStringValueA(&v.ds, codes, 0, 1), "ORIGINAL");
    EXPECT_STREQ(M_DicomGetStringValueA(&v.ds, codes, 1, 1), "");
    EXPECT_STREQ(M_DicomGetStringValueA(&v.ds, codes, 2, kAll), "PRIMARY");
    EXPECT_STREQ(M_DicomGetStringValueA(&v.ds, codes, 3, 1), "");
    EXPECT_EQ(M_DicomGetStringValueA(&v.ds, codes, 4, kAll), nullptr);
    EXPECT_EQ(M_DicomGetStringValueA(&v.ds, codes, 3, 2), nullptr);

    _DICOMELEMENT *uid = v.Add("UI", "1.2.3");
    EXPECT_EQ(v.Bytes(uid), std::string("1.2.3\0", 6));
    EXPECT_STREQ(M_DicomGetStringValueA(&v.ds, uid, 0, 1), "1.2.3");

    for (const char *vr : {"LT", "ST", "UT", "UR"}) {
        _DICOMELEMENT *text = v.Add(vr, " a\\b ");
        EXPECT_EQ(M_DicomGetCountValue(&v.ds, text), 1u) << vr;
        EXPECT_EQ(std::string(M_DicomGetStringValueA(&v.ds, text, 0, 1)).substr(0, 5), " a\\b ")
            << vr;
    }
    EXPECT_STREQ(M_DicomGetStringValueA(&v.ds, v.Add("UC", "a \\ b"), 1, 1), "b");
}

TEST(TypedValue, WritesStoredForms) {
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
    ASSERT_TRUE(M_DicomSetLongValue(&v.ds, element, integers, 3));
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

    element = v.Add("AT");
    int32_t tag = 0x00280010; // its group comes first
    ASSERT_TRUE(M_DicomSetLongValue(&v.ds, element, &tag, 1));
    EXPECT_EQ(v.Bytes(element), std::string("\x28\x00\x10\x00", 4));

    element = v.Add("LO");
    ASSERT_TRUE(v.ds.SetStringValueA(element, "  a  \0 b \0\0c ", 4));
    EXPECT_EQ(v.Bytes(element), "a\\ b\\\\c ");
    element = v.Add("LT");
    ASSERT_TRUE(v.ds.SetStringValueA(element, " a ", 1));
    EXPECT_EQ(v.Bytes(element), " a  ");
}

namespace {

template <typename T, typename Setter>
void ExpectRoundTrip(const char *vr, Setter set, Getter<T> get, std::vector<T> values) {
    for (const uint16_t flags : {37, 40}) {
        Values v;
        v.ds.m_nFlags = flags;
        _DICOMELEMENT *element = v.Add(vr);
        const std::vector<T> before = values;
        const auto count = static_cast<uint32_t>(values.size());
        ASSERT_TRUE(set(&v.ds, element, values.data(), count)) << vr << flags;
        EXPECT_EQ(values, before) << "the caller's array changed: " << vr << flags;
        ASSERT_EQ(M_DicomGetCountValue(&v.ds, element), count) << vr << flags;
        const T *read = get(&v.ds, element, 0, kAll);
        ASSERT_NE(read, nullptr) << vr << flags;
        EXPECT_EQ(std::vector<T>(read, read + count), before) << vr << flags;
        // The array may lie in the cache itself.
        T *own = get(&v.ds, element, 1, 1);
        ASSERT_TRUE(set(&v.ds, element, own, 1)) << vr << flags;
        EXPECT_EQ(*get(&v.ds, element, 0, 1), before[1]) << vr << flags;
    }
}

} // namespace

TEST(TypedValue, RoundTripsInBothByteOrders) {
    for (const char *vr : {"OB", "UN"}) {
        ExpectRoundTrip<uint8_t>(vr, M_DicomSetCharValue, M_DicomGetCharValue, {1, 0, 255, 7});
    }
    for (const char *vr : {"OV", "SV", "UV"}) {
        ExpectRoundTrip<uint8_t>(vr, M_DicomSetCharValue, M_DicomGetCharValue,
                                 {1, 2, 3, 4, 5, 6, 7, 8});
    }
    for (const char *vr : {"OW", "SS", "US"}) {
        ExpectRoundTrip<int16_t>(vr, M_DicomSetShortValue, M_DicomGetShortValue, {0x102, -1, 7});
    }
    for (const char *vr : {"AT", "IS", "OL", "SL", "UL"}) {
        ExpectRoundTrip<int32_t>(vr, M_DicomSetLongValue, M_DicomGetLongValue,
                                 {0x00280010, -1, 0x7FE00010});
    }
    for (const char *vr : {"FL", "OF"}) {
        ExpectRoundTrip<float>(vr, M_DicomSetFloatValue, M_DicomGetFloatValue, {1.5f, -1e30f});
    }
    for (const char *vr : {"DS", "FD", "OD"}) {
        ExpectRoundTrip<double>(vr, M_DicomSetDoubleValue, M_DicomGetDoubleValue, {1.5, -1e30});
    }
    ExpectRoundTrip<_VALUEAGE>("AS", M_DicomSetAgeValue, M_DicomGetAgeValue, {{3, 'D'}, {99, 'Y'}});
    ExpectRoundTrip<_VALUEDATE>("DA", M_DicomSetDateValue, M_DicomGetDateValue,
                                {{1997, 8, 15}, {1, 2, 3}});
    ExpectRoundTrip<_VALUETIME>("TM", M_DicomSetTimeValue, M_DicomGetTimeValue,
                                {{12, 30, 5, 5}, {0, 0, 0, 999999}});
    ExpectRoundTrip<_VALUEDATETIME>(
        "DT", M_DicomSetDateTimeValue, M_DicomGetDateTimeValue,
        {{1997, 8, 15, 12, 30, 5, 25, -130}, {2026, 12, 31, 23, 59, 59, 0, 1400}});
}

TEST(TypedValue, RefusesWhatDoesNotFit) {
    Values v;
    const std::string stored("\1\0\2\0", 4);
    _DICOMELEMENT *shorts = v.Add("US", stored);
    uint8_t bytes[] = {1, 2};
    EXPECT_FALSE(v.ds.SetCharValue(shorts, bytes, 2));
    EXPECT_FALSE(v.ds.SetShortValue(shorts, nullptr, 2));
    EXPECT_FALSE(v.ds.SetShortValue(shorts, reinterpret_cast<int16_t *>(bytes), 0x80000000u));
    const _VALUEAGE age{5, 'Y'};
    const _VALUEDATERANGE range{};
    EXPECT_FALSE(v.ds.SetAgeValue(v.Add("AS"), &age, 0xFFFFFFFF)); // arrays have an end
    EXPECT_FALSE(v.ds.SetDateRangeValue(v.Add("DA"), &range, 0xFFFFFFFF));
    EXPECT_EQ(v.Bytes(shorts), stored);
    EXPECT_EQ(M_DicomGetLongValue(&v.ds, shorts, 0, 1), nullptr);
    EXPECT_EQ(v.ds.GetShortValue(shorts, 1, 2), nullptr);
    EXPECT_EQ(v.ds.GetShortValue(shorts, 3, 0), nullptr);
    EXPECT_EQ(v.ds.GetShortValue(shorts, 2, 0xFFFFFFF0u), nullptr);
    EXPECT_EQ(v.ds.GetShortValue(nullptr, 0, 1), nullptr);
    EXPECT_TRUE(v.ds.SetShortValue(shorts, nullptr, 0)) << "no value is a value";
    EXPECT_EQ(shorts->nLength, 0u);
    EXPECT_EQ(v.ds.GetShortValue(shorts, 0, kAll), nullptr);
    _DICOMELEMENT *sequence = v.Add("SQ");
    EXPECT_EQ(v.ds.GetCharValue(sequence, 0, 1), nullptr);
    EXPECT_FALSE(v.ds.SetCharValue(sequence, bytes, 2));
}

TEST(TypedValue, CacheLivesUntilSetOrFreed) {
    Values v;
    _DICOMELEMENT *element = v.Add("IS", "1\\2\\3 ");
    EXPECT_EQ(element->nValueCount, kAll);
    const int32_t *first = M_DicomGetLongValue(&v.ds, element, 2, 1);
    EXPECT_EQ(M_DicomGetLongValue(&v.ds, element, 2, 1), first);
    M_DicomFreeValue(&v.ds, element);
    EXPECT_EQ(element->nValueCount, kAll);
    EXPECT_EQ(element->pValue, nullptr);
    M_DicomGetLongValue(&v.ds, element, 0, 1);
    int32_t number = 9;
    ASSERT_TRUE(M_DicomSetLongValue(&v.ds, element, &number, 1));
    EXPECT_EQ(M_DicomGetCountValue(&v.ds, element), 1u);
    EXPECT_EQ(*M_DicomGetLongValue(&v.ds, element, 0, 1), 9);
}

TEST(TypedValue, SplitsHostileText) {
    Values v;
    const std::string manyValues(200001, '\\');
    for (const char *vr : {"IS", "DS", "AS", "DA", "TM", "DT", "LO", "UI", "PN"}) {
        EXPECT_EQ(M_DicomGetCountValue(&v.ds, v.Add(vr, manyValues)), 200002u) << vr;
        EXPECT_EQ(M_DicomGetCountValue(&v.ds, v.Add(vr, std::string("1\0\\2", 4))), 1u) << vr;
        EXPECT_EQ(M_DicomGetCountValue(&v.ds, v.Add(vr, std::string(2, '\0'))), 1u) << vr;
    }
    EXPECT_EQ(M_DicomGetCountValue(&v.ds, v.Add("US", "abc")), 2u) << "padded";
    EXPECT_EQ(M_DicomGetCountValue(&v.ds, v.Add("FD", "abcdefghij")), 1u);
}

TEST(TypedValue, LengthBeyondTheFileFails) {
    for (const char *vr : {"US", "IS", "LO", "UT", "DA", "OB"}) {
        for (const uint32_t length : {0x7FFFFFF0u, 0xFFFFFFFDu, 0xFFFFFFFEu}) {
            Values v;
            _DICOMELEMENT *element = v.Add(vr, "abcd");
            element->nLength = element->pBlockLengths[0] = length;
            EXPECT_EQ(v.ds.GetCountValue(element), 0u) << vr;
            EXPECT_EQ(v.ds.GetStringValue(element, 0, 1), nullptr) << vr;
            _VALUEDATERANGE range;
            EXPECT_EQ(v.ds.GetDateRangeValue(element, 0, &range), 9) << vr;
            uint16_t word;
            EXPECT_EQ(v.ds.FindGetValue(element, element->nTag, &word, 0, 1, VALUE_ARRAY_WORD), 0u);
            EXPECT_EQ(v.ds.GetConvertValueA(element, nullptr), 0u) << vr;
            wchar_t text[8];
            EXPECT_EQ(v.ds.GetConvertValue(element, text, 8), 0u) << vr;
        }
    }
}

TEST(TypedValue, DebugHookHearsOfStrangersAndRanges) {
    Values v;
    Values other;
    _DICOMELEMENT *stranger = other.Add("US", "ab");
    int calls = 0;
    const auto count = [](_DICOMELEMENT *, uint16_t code, void *data) {
        *static_cast<int *>(data) += code == DS_DEBUG_BAD_ELEMENT;
        return 0;
    };
    v.ds.SetDebugDS(count, &calls);
    int16_t number = 1;
    int64_t wide = 0;
    _VALUEDATERANGE range;
    EXPECT_EQ(v.ds.GetShortValue(stranger, 0, 1), nullptr);
    EXPECT_FALSE(v.ds.SetShortValue(stranger, &number, 1));
    EXPECT_EQ(M_DicomGetLong64Value(&v.ds, stranger, &wide, 0, 1), 14);
    EXPECT_EQ(v.ds.GetDateRangeValue(stranger, 0, &range), 9);
    M_DicomFreeValue(&v.ds, stranger);
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
