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
}

TEST(RangeValue, RoundTripsAllTypes) {
    Values v;
    const _VALUEDATE date1 = {1997, 8, 15};
    const _VALUEDATE date2 = {1998, 1, 2};
    const _VALUETIME time1 = {12, 30, 5, 25};
    const _VALUETIME time2 = {13, 0, 0, 999999};
    const _VALUEDATETIME moment1 = {1997, 8, 15, 12, 30, 5, 25, -500};
    const _VALUEDATETIME moment2 = {1998, 1, 2, 13, 0, 0, 999999, 130};
    std::vector<_VALUEDATERANGE> dates;
    std::vector<_VALUETIMERANGE> times;
    std::vector<_VALUEDATETIMERANGE> moments;
    for (uint32_t type = 0; type < 4; ++type) {
        dates.push_back({type, date1, date2});
        times.push_back({type, time1, time2});
        moments.push_back({type, moment1, moment2});
    }
    _DICOMELEMENT *da = v.Add("DA");
    _DICOMELEMENT *tm = v.Add("TM");
    _DICOMELEMENT *dt = v.Add("DT");
    ASSERT_EQ(v.ds.SetDateRangeValue(da, dates.data(), 4), 1);
    ASSERT_EQ(v.ds.SetTimeRangeValue(tm, times.data(), 4), 1);
    ASSERT_EQ(v.ds.SetDateTimeRangeValue(dt, moments.data(), 4), 1);
    EXPECT_EQ(v.Bytes(da), "19970815\\19970815-\\-19970815\\19970815-19980102");
    for (uint32_t type = 0; type < 4; ++type) {
        // What is read differs in the second half only, which the mark fills.
        const size_t half = type == VALUE_RANGE_BOTH ? 2 : 1;
        const auto expectSame = [half](std::vector<int64_t> read, std::vector<int64_t> set) {
            read.resize(1 + (read.size() - 1) / 2 * half);
            set.resize(read.size());
            EXPECT_EQ(read, set);
        };
        _VALUEDATERANGE date;
        ASSERT_EQ(v.ds.GetDateRangeValue(da, type, &date), 0);
        expectSame(Fields(date), Fields(dates[type]));
        _VALUETIMERANGE time;
        ASSERT_EQ(v.ds.GetTimeRangeValue(tm, type, &time), 0);
        expectSame(Fields(time), Fields(times[type]));
        _VALUEDATETIMERANGE moment;
        ASSERT_EQ(v.ds.GetDateTimeRangeValue(dt, type, &moment), 0);
        expectSame(Fields(moment), Fields(moments[type]));
    }
    dates[3].Type = 4;
    times[0].Type = 4;
    moments[0].Type = 4;
    EXPECT_EQ(v.ds.SetDateRangeValue(da, dates.data(), 4), 0);
    EXPECT_EQ(v.ds.SetTimeRangeValue(tm, times.data(), 1), 9);
    EXPECT_EQ(v.ds.SetDateTimeRangeValue(dt, moments.data(), 1), 9);
    EXPECT_EQ(v.ds.SetTimeRangeValue(tm, nullptr, 1), 9);
    EXPECT_EQ(v.ds.GetCountValue(tm), 4u);
}
