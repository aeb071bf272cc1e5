// Ranges of dates, times and date-times.

#include <gtest/gtest.h>

#include <tuple>
#include <vector>

#include "Values.h"

namespace {

constexpr uint16_t kMark = 0xFFFF;

std::vector<int64_t> Fields(const _VALUEDATERANGE &r) {
    return {r.Type,       r.Date1.Year,  r.Date1.Month, r.Date1.Day,
            r.Date2.Year, r.Date2.Month, r.Date2.Day};
}

std::vector<int64_t> Fields(const _VALUETIMERANGE &r) {
    const auto &[a, b] = std::tie(r.Time1, r.Time2);
    return {r.Type,  a.Hours,   a.Minutes, a.Seconds,  a.Fractions,
            b.Hours, b.Minutes, b.Seconds, b.Fractions};
}

std::vector<int64_t> Fields(const _VALUEDATETIMERANGE &r) {
    std::vector<int64_t> fields = {r.Type};
    for (const auto &d : {r.DateTime1, r.DateTime2}) {
        fields.insert(fields.end(), {d.Year, d.Month, d.Day, d.Hours, d.Minutes, d.Seconds,
                                     int64_t{d.Fractions}, int64_t{d.Offset}});
    }
    return fields;
}

struct Case {
    const char *text;
    std::vector<int64_t> fields; ///< without a second half the mark stands there
};

template <typename Range, typename Getter>
void ExpectCases(const char *vr, Getter get, const std::vector<Case> &cases) {
    Values v;
    for (const auto &[text, expected] : cases) {
        Range range{};
        ASSERT_EQ((v.ds.*get)(v.Add(vr, text), 0, &range), 0) << text;
        std::vector<int64_t> fields = expected;
        fields.resize(Fields(range).size(), kMark);
        EXPECT_EQ(Fields(range), fields) << text;
    }
}

} // namespace

TEST(RangeValue, ReadsDateRanges) {
    ExpectCases<_VALUEDATERANGE>("DA", &MDicomDS::GetDateRangeValue,
                                 {{"19970815", {0, 1997, 8, 15}},
                                  {" 19970815- ", {1, 1997, 8, 15}},
                                  {"-19970815", {2, 1997, 8, 15}},
                                  {"19970815-19970820", {3, 1997, 8, 15, 1997, 8, 20}},
                                  {"1997-1998", {3, 1997, 0, 0, 1998, 0, 0}},
                                  {"-", {2, 0, 0, 0}},
                                  {"--", {2, 0, 0, 0}},
                                  {"a-b-c-d", {3, 0, 0, 0, 0, 0, 0}}});
}

TEST(RangeValue, ReadsTimeRanges) {
    ExpectCases<_VALUETIMERANGE>("TM", &MDicomDS::GetTimeRangeValue,
                                 {{"123005.25-", {1, 12, 30, 5, 250000}},
                                  {"-1230", {2, 12, 30, 0, 0}},
                                  {"12-133000.000005", {3, 12, 0, 0, 0, 13, 30, 0, 5}},
                                  {"123005.1234567-123006.", {3, 12, 30, 5, 0, 12, 30, 6, 0}}});
}

TEST(RangeValue, TellsOffsetsFromRanges) {
    ExpectCases<_VALUEDATETIMERANGE>(
        "DT", &MDicomDS::GetDateTimeRangeValue,
        {{"20200101120000-0500", {0, 2020, 1, 1, 12, 0, 0, 0, -500}},
         {"20200101120000.5+0130-", {1, 2020, 1, 1, 12, 0, 0, 500000, 130}},
         {"20200101120000-0500-", {1, 2020, 1, 1, 12, 0, 0, 0, -500}},
         {"-20200101-0500", {2, 2020, 1, 1, 0, 0, 0, 0, -500}},
         {"2019-2020", {3, 2019, 0, 0, 0, 0, 0, 0, 0, 2020, 0, 0, 0, 0, 0, 0, 0}},
         {"20200101-20200102120000-0500",
          {3, 2020, 1, 1, 0, 0, 0, 0, 0, 2020, 1, 2, 12, 0, 0, 0, -500}},
         {"20200101-0500-20200102+0100",
          {3, 2020, 1, 1, 0, 0, 0, 0, -500, 2020, 1, 2, 0, 0, 0, 0, 100}}});
}

TEST(RangeValue, PicksValueByIndex) {
    Values v;
    _DICOMELEMENT *element = v.Add("DA", "19970815\\\\19970815-19970820");
    ASSERT_EQ(v.ds.GetCountValue(element), 3u);
    EXPECT_NE(v.ds.GetDateValue(element, 0, kAll), nullptr);
    EXPECT_EQ(v.ds.GetDateValue(element, 2, 1), nullptr);
    _VALUEDATERANGE range{};
    EXPECT_EQ(v.ds.GetDateRangeValue(element, 2, &range), 0);
    EXPECT_EQ(Fields(range), (std::vector<int64_t>{3, 1997, 8, 15, 1997, 8, 20}));
    EXPECT_EQ(v.ds.GetDateRangeValue(element, 3, &range), 9);
    EXPECT_EQ(v.ds.GetDateRangeValue(element, 0, nullptr), 9);
    _VALUETIMERANGE time{};
    EXPECT_EQ(v.ds.GetTimeRangeValue(element, 0, &time), 9);
    EXPECT_EQ(v.ds.GetTimeValue(v.Add("TM", "1230-"), 0, 1), nullptr);
}

template <typename Range, typename Getter, typename Setter>
void ExpectRoundTrip(const char *vr, Getter get, Setter set, int32_t failure, const std::string &a,
                     const std::string &b) {
    Values v;
    _DICOMELEMENT *element = v.Add(vr, a + "\\" + a + "-\\-" + b + "\\" + a + "-" + b);
    std::vector<Range> ranges(4);
    for (uint32_t i = 0; i < 4; ++i) ASSERT_EQ((v.ds.*get)(element, i, &ranges[i]), 0) << vr;
    _DICOMELEMENT *copy = v.Add(vr);
    ASSERT_EQ((v.ds.*set)(copy, ranges.data(), 4), 1) << vr;
    EXPECT_EQ(v.Bytes(copy), v.Bytes(element));
    ranges[1].Type = 4;
    EXPECT_EQ((v.ds.*set)(copy, ranges.data(), 4), failure) << vr;
    EXPECT_EQ((v.ds.*set)(copy, nullptr, 1), failure) << vr;
    EXPECT_EQ(v.Bytes(copy), v.Bytes(element));
}

TEST(RangeValue, RoundTripsAllTypes) {
    using DS = MDicomDS;
    ExpectRoundTrip<_VALUEDATERANGE>("DA", &DS::GetDateRangeValue, &DS::SetDateRangeValue, 0,
                                     "19970815", "19980102");
    ExpectRoundTrip<_VALUETIMERANGE>("TM", &DS::GetTimeRangeValue, &DS::SetTimeRangeValue, 9,
                                     "123005.000025", "130000.999999");
    ExpectRoundTrip<_VALUEDATETIMERANGE>(
        "DT", &DS::GetDateTimeRangeValue, &DS::SetDateTimeRangeValue, 9,
        "19970815123005.000025-0500", "19980102130000.999999+0130");
}
